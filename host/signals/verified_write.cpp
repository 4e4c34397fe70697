#include "signals/verified_write.h"

#include "signals/values.h"

CommandOutcome writeAndVerify(Session& session, const Item& item, const QByteArray& data)
{
    const CommunicatorCommand command = item.command();
    CommandOutcome outcome = session.write(command, data, item.address.station);
    if (!outcome.done())
        return outcome;
    const CommandOutcome back = session.read(command, item.address.station);
    if (!back.done())
        outcome.error = QStringLiteral("written, but cannot be read back: ") + back.error;
    else if (back.data.left(data.size()) != data)
        outcome.error = QStringLiteral("%1 holds %2 after %3 was written")
                            .arg(item.signal.address, valueTexts(item, back.data).join(QLatin1Char(' ')),
                                 valueTexts(item, data).join(QLatin1Char(' ')));
    return outcome;
}
