#ifndef ELEMENT_REPORT_H
#define ELEMENT_REPORT_H

#include "console.h"
#include "options.h"
#include "session.h"

// How the outcome of a read or write command is printed.

/// A command and the notation of its values in print.
struct ReportedCommand
{
    CommunicatorCommand command;
    Notation notation;
    OutputFormat format;
};

/// Prints the outcome: as text a line with address and value for each element of data, as JSON one object
/// with address, type, count, values, data, attempts and milliseconds, or error in place of values and data.
/// Errors go to stderr too. data is what was read or written.
///
/// Returns the exit status that belongs to the outcome.
int reportOutcome(const ReportedCommand& reported, const QByteArray& data, const CommandOutcome& outcome,
                  Console& console);

#endif
