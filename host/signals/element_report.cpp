#include "signals/element_report.h"

#include "session/interrupt.h"
#include "signals/element_address.h"
#include "text/json_line.h"
#include "text/text_table.h"

namespace {

void printTable(const ReportedCommand& reported, const QByteArray& data, QTextStream& out)
{
    const CommunicatorCommand& command = reported.command;
    const ElementAddresses addresses(command.address, command.dataType);
    const QStringList values = valueTexts(command.dataType, reported.notation, command.count, data);
    const bool isText = reported.notation == Notation::Text;
    TextTable table({TextTable::Left, isText ? TextTable::Left : TextTable::Right});
    for (int i = 0; i < values.size(); ++i)
        table.addRow({isText ? command.address : addresses.at(i), values.at(i)});
    table.print(out);
}

} // namespace

QJsonObject outcomeObject(const ReportedCommand& reported, const QByteArray& data,
                          const CommandOutcome& outcome)
{
    const CommunicatorCommand& command = reported.command;
    QJsonObject object{{QStringLiteral("address"), command.address},
                       {QStringLiteral("type"), dataTypeName(command.dataType)},
                       {QStringLiteral("count"), command.count},
                       {QStringLiteral("attempts"), outcome.attempts},
                       {QStringLiteral("milliseconds"), roundedMilliseconds(outcome.milliseconds)}};
    if (!outcome.done()) {
        object.insert(QStringLiteral("error"), outcome.error);
        return object;
    }
    object.insert(QStringLiteral("values"),
                  valueNumbers(command.dataType, reported.notation, command.count, data));
    object.insert(QStringLiteral("data"), QString::fromLatin1(data.toHex()));
    if (reported.notation == Notation::Text)
        object.insert(QStringLiteral("text"),
                      valueTexts(command.dataType, reported.notation, command.count, data).constFirst());
    return object;
}

int reportOutcome(const ReportedCommand& reported, const QByteArray& data, const CommandOutcome& outcome,
                  Console& console)
{
    if (reported.format == OutputFormat::Json)
        printJsonLine(console.out, outcomeObject(reported, data, outcome));
    else if (outcome.done())
        printTable(reported, data, console.out);
    if (outcome.done())
        return Done;
    return reportError(console, interrupt::flag() ? Interrupted : Refused, outcome.error);
}
