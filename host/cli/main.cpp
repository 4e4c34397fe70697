#include "cli/command_line.h"
#include "session/interrupt.h"

#include <QCoreApplication>

#include <csignal>
#include <new>

namespace {

/// Runs the command line and reports it if the system runs out of something.
int run(Console& console)
{
    try {
        return runCommandLine(QCoreApplication::arguments().mid(1), console);
    } catch (const std::bad_alloc&) {
        return reportError(console, Refused, QStringLiteral("the system has no memory left"));
    } catch (const std::exception& problem) {
        return reportError(console, Refused,
                           QStringLiteral("the system gives no more: ") +
                               QString::fromLocal8Bit(problem.what()));
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    out.setCodec("UTF-8");
    err.setCodec("UTF-8");
    Console console{out, err};
    interrupt::catchSignals();
    std::signal(SIGXFSZ, SIG_IGN); // at the size limit of a file, let the write fail
    const int status = run(console);
    out.flush();
    if (out.status() != QTextStream::Ok && status == Done)
        return reportError(console, Refused, QStringLiteral("the output cannot be written"));
    return status;
}
