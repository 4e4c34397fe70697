#ifndef CLI_COMMAND_LINE_H
#define CLI_COMMAND_LINE_H

#include "text/console.h"

#include <QStringList>

/// Parses the program's arguments (without its name), runs the command that they name and returns the exit
/// status. A wrong command line gives WrongCommandLine and a sentence on stderr that says what is wrong and
/// what would be right; --help and --version print to console.out.
///
/// A QCoreApplication must exist: drivers look for their project next to the executable.
int runCommandLine(const QStringList& arguments, Console& console);

#endif
