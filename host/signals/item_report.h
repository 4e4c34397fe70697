#ifndef SIGNALS_ITEM_REPORT_H
#define SIGNALS_ITEM_REPORT_H

#include "session/session.h"
#include "signals/values.h"
#include "text/console.h"
#include "text/text_table.h"

#include <QJsonObject>

/// The outcome of an item's command as JSON: address, type, count, values, data, attempts and milliseconds,
/// with error instead of values and data after a failure, and with name and unit if the item has them. data
/// is what was read or written.
QJsonObject outcomeObject(const Item& item, const QByteArray& data, const CommandOutcome& outcome);

/// Prints the outcomes of read and write commands: JSON line by line, text as one table at the end with a
/// line per value. Errors go to stderr at once.
class ItemReport
{
public:
    ItemReport(OutputFormat format, Console& console);

    /// data is what was read or written.
    void add(const Item& item, const QByteArray& data, const CommandOutcome& outcome);

    /// Returns the exit status of all outcomes together.
    int finish();

private:
    const OutputFormat m_format;
    Console& m_console;
    TextTable m_table;
    int m_status = Done;
};

#endif
