#include "commands/read.h"

#include "signals/element_address.h"
#include "signals/element_report.h"

int runRead(const ReadOptions& options, Console& console)
{
    const CommandDataType type = options.type.value_or(typeOfArea(options.address));
    const QString problem = notationProblem(type, options.notation);
    if (!problem.isEmpty())
        return reportError(console, WrongCommandLine, QStringLiteral("--as: ") + problem);

    QString error;
    const auto session = Session::start(options.link, console.err, error);
    if (!session)
        return reportError(console, WrongCommandLine, error);
    const CommunicatorCommand command(type, options.count, options.address);
    const CommandOutcome outcome = session->read(command);
    return reportOutcome({command, options.notation, options.link.format}, outcome.data, outcome, console);
}
