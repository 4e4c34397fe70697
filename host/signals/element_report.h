#ifndef SIGNALS_ELEMENT_REPORT_H
#define SIGNALS_ELEMENT_REPORT_H

#include "session/session.h"
#include "signals/values.h"
#include "text/console.h"

#include <QJsonObject>

// How the outcome of a read or write command is printed.

/// A command and the notation in which its values are printed.
struct ReportedCommand
{
    CommunicatorCommand command;
    Notation notation;
    OutputFormat format;
};

/// The outcome as JSON: address, type, count, values, data, attempts and milliseconds; on failure error in
/// place of values and data. data is what was read or written.
QJsonObject outcomeObject(const ReportedCommand& reported, const QByteArray& data,
                          const CommandOutcome& outcome);

/// Prints the outcome: as text, one line with address and value for each element of data; as JSON, one line
/// with outcomeObject. Errors also go to stderr.
///
/// Returns the exit status for the outcome.
int reportOutcome(const ReportedCommand& reported, const QByteArray& data, const CommandOutcome& outcome,
                  Console& console);

#endif
