#include "commands/write.h"

#include "signals/element_address.h"
#include "signals/element_report.h"

namespace {

QString countProblem(const WriteOptions& options, int given)
{
    if (!options.count || *options.count == given)
        return QString();
    return QStringLiteral("--count: %1 values are given, not %2").arg(given).arg(*options.count);
}

} // namespace

int runWrite(const WriteOptions& options, Console& console)
{
    const CommandDataType type = options.type.value_or(typeOfArea(options.address));
    QString problem = options.notation ? notationProblem(type, *options.notation) : QString();
    if (!problem.isEmpty())
        return reportError(console, WrongCommandLine, QStringLiteral("--as: ") + problem);
    const auto data = encodeValues(type, options.notation, options.values, problem);
    if (data)
        problem = countProblem(options, data->count);
    if (!problem.isEmpty())
        return reportError(console, WrongCommandLine, problem);

    const auto session = Session::start(options.link, console.err, problem);
    if (!session)
        return reportError(console, WrongCommandLine, problem);
    const CommunicatorCommand command(type, data->count, options.address);
    const CommandOutcome outcome = session->write(command, data->bytes);
    return reportOutcome({command, data->notation, options.link.format}, data->bytes, outcome, console);
}
