#include "commands/read.h"

#include "commands/project_hints.h"
#include "project/project_signals.h"
#include "session/interrupt.h"
#include "signals/item_report.h"

#include <unistd.h>

namespace {

/// Whoever waits at a terminal hears of a silent device before all attempts are over.
void reportSilence(Session& session, const LinkOptions& options, Console& console)
{
    if (::isatty(STDERR_FILENO) != 1)
        return;
    const int attempts = effectiveSetting(session.driver(), options).retry + 1;
    session.link().setOnSilence([attempts, &console](int attempt) {
        console.err << "no answer, attempt " << attempt << " of " << attempts << '\n';
        console.err.flush();
    });
}

} // namespace

int runRead(const ReadOptions& options, Console& console)
{
    QString error;
    const auto session = Session::start(options.link, console.err, error);
    if (!session)
        return reportError(console, WrongCommandLine, error);
    const ItemContext context = contextOf(session->driver(), options.options,
                                          findProjectSignals(options.link, session->link().stationId()));
    QVector<Item> items;
    for (const QString& text : options.items) {
        items += parseItems(text, context, error);
        if (!error.isEmpty())
            return reportError(console, WrongCommandLine, error);
    }
    explainStation(items, options.link, session->link().stationId(), console);
    reportSilence(*session, options.link, console);
    ItemReport report(options.link.format, console);
    for (const Item& item : items) {
        const CommandOutcome outcome = session->read(item.command(), item.address.station);
        report.add(item, outcome.data, outcome);
        if (interrupt::flag() || explainProjectError(outcome.error, console))
            break;
    }
    return report.finish();
}
