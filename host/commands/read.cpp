#include "commands/read.h"

#include "commands/missing_project.h"
#include "session/interrupt.h"
#include "signals/item_report.h"

int runRead(const ReadOptions& options, Console& console)
{
    QString error;
    const auto session = Session::start(options.link, console.err, error);
    if (!session)
        return reportError(console, WrongCommandLine, error);
    const ItemContext context = contextOf(session->driver(), options.options);
    QVector<Item> items;
    for (const QString& text : options.items) {
        items += parseItems(text, context, error);
        if (!error.isEmpty())
            return reportError(console, WrongCommandLine, error);
    }
    ItemReport report(options.link.format, console);
    for (const Item& item : items) {
        const CommandOutcome outcome = session->read(item.command(), item.address.station);
        report.add(item, outcome.data, outcome);
        if (interrupt::flag() || explainMissingProject(outcome, console))
            break;
    }
    return report.finish();
}
