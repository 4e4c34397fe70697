#include "cli/command_line.h"
#include "session/interrupt.h"

#include <QCoreApplication>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    out.setCodec("UTF-8");
    err.setCodec("UTF-8");
    Console console{out, err};
    interrupt::catchSignals();
    const int status = runCommandLine(QCoreApplication::arguments().mid(1), console);
    out.flush();
    if (out.status() != QTextStream::Ok && status == Done)
        return reportError(console, Refused, QStringLiteral("the output can not be written"));
    return status;
}
