#ifndef TEXT_CONSOLE_H
#define TEXT_CONSOLE_H

#include "text/shown.h"

#include <QTextStream>

/// The program's exit statuses.
enum ExitStatus
{
    Done = 0,
    Refused = 1,          ///< the driver, the device or the system refused; the text is on stderr
    WrongCommandLine = 2, ///< nothing was sent; stderr says what would be right
    Interrupted = 130     ///< Ctrl-C; the shell's convention for signal 2
};

enum class OutputFormat
{
    Text,
    Json ///< one object per line
};

/// Where a command writes: results to out, everything else to err.
struct Console
{
    QTextStream& out;
    QTextStream& err;
};

/// Writes "error: " and the text, as shown() makes it, to stderr. Returns status.
inline int reportError(Console& console, ExitStatus status, const QString& text)
{
    console.out.flush();
    console.err << "error: " << shown(text) << '\n';
    console.err.flush();
    return status;
}

#endif
