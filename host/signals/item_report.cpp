#include "signals/item_report.h"

#include "session/interrupt.h"
#include "text/json_line.h"

QJsonObject outcomeObject(const Item& item, const QByteArray& data, const CommandOutcome& outcome)
{
    QJsonObject object{{QStringLiteral("address"), item.signal.address},
                       {QStringLiteral("type"), signalTypeName(item.type())},
                       {QStringLiteral("count"), item.count},
                       {QStringLiteral("attempts"), outcome.attempts},
                       {QStringLiteral("milliseconds"), roundedMilliseconds(outcome.milliseconds)}};
    if (!item.signal.name.isEmpty())
        object.insert(QStringLiteral("name"), item.signal.name);
    if (!item.signal.unit.isEmpty() && !item.notation)
        object.insert(QStringLiteral("unit"), item.signal.unit);
    if (!outcome.done()) {
        object.insert(QStringLiteral("error"), outcome.error);
        return object;
    }
    object.insert(QStringLiteral("values"), valueNumbers(item, data));
    object.insert(QStringLiteral("data"), QString::fromLatin1(data.toHex()));
    if (item.notation == Notation::Text)
        object.insert(QStringLiteral("text"), valueTexts(item, data).join(QString()));
    return object;
}

ItemReport::ItemReport(OutputFormat format, Console& console)
    : m_format(format), m_console(console), m_table({TextTable::Left, TextTable::Right})
{
}

void ItemReport::add(const Item& item, const QByteArray& data, const CommandOutcome& outcome)
{
    if (m_format == OutputFormat::Json)
        printJsonLine(m_console.out, outcomeObject(item, data, outcome));
    if (!outcome.done()) {
        m_status = reportError(m_console, interrupt::flag() ? Interrupted : Refused, outcome.error);
        return;
    }
    if (m_format == OutputFormat::Json)
        return;
    const QStringList names = item.elementNames();
    const QStringList texts = valueTexts(item, data);
    for (int i = 0; i < texts.size(); ++i)
        m_table.addRow({names.at(i), withUnit(item, texts.at(i))});
}

int ItemReport::finish()
{
    m_table.print(m_console.out);
    return m_status;
}
