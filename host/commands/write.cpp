#include "commands/write.h"

#include "commands/project_hints.h"
#include "project/project_signals.h"
#include "project/tag_row.h"
#include "signals/item_report.h"
#include "signals/verified_write.h"

namespace {

struct Write
{
    Item item;
    CommandData data;
};

/// Whether the text says by itself what is meant. A pattern that fits one signal now may fit another later.
bool isNameOrAddress(const QString& text, const Item& item)
{
    const QString name = item.signal.name.toCaseFolded();
    const QString asked = nameAsTyped(text).toCaseFolded();
    return name.isEmpty() || asked == name || asked.startsWith(name + QLatin1Char(':'));
}

/// What is to be written. Empty, with a sentence in error, when it does not fit.
std::optional<Write> prepare(const WriteOptions& options, Session& session, QString& error)
{
    ItemContext context = contextOf(session.driver(), options.options,
                                    findProjectSignals(options.link, session.link().stationId()));
    if (!context.options.count)
        context.options.count = options.values.size();
    const QVector<Item> items = parseItems(options.item, context, error);
    if (error.isEmpty() && (items.size() != 1 || !isNameOrAddress(options.item, items.first())))
        error =
            QStringLiteral("%1 can mean more than one command; write takes one address or the whole name of "
                           "one signal")
                .arg(quoted(options.item));
    const auto data = error.isEmpty() ? encodeValues(items.first(), options.values, error) : std::nullopt;
    if (!data)
        return std::nullopt;
    Write write{items.first(), *data};
    if (write.item.count != data->count && write.item.count != options.values.size()) {
        error = QStringLiteral("%1 values are given, not %2").arg(data->count).arg(write.item.count);
        return std::nullopt;
    }
    write.item.count = data->count;
    write.item.notation = data->notation;
    write.item.signal.decimals.reset(); // the report shows what is written, not rounded
    return write;
}

} // namespace

int runWrite(const WriteOptions& options, Console& console)
{
    QString error;
    const auto session = Session::start(options.link, console.err, error);
    if (!session)
        return reportError(console, WrongCommandLine, error);
    const auto write = prepare(options, *session, error);
    if (!write)
        return reportError(console, WrongCommandLine, error);
    explainStation({write->item}, options.link, session->link().stationId(), console);
    const CommandOutcome outcome = options.verify ? writeAndVerify(*session, write->item, write->data.bytes)
                                                  : session->write(write->item.command(), write->data.bytes,
                                                                   write->item.address.station);
    ItemReport report(options.link.format, console);
    report.add(write->item, write->data.bytes, outcome);
    explainProjectError(outcome.error, console);
    return report.finish();
}
