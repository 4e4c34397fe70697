#include "project/tag_row.h"

#include "signals/address.h"
#include "text/shown.h"

#include <QLocale>

#include <algorithm>
#include <cmath>

namespace {

enum Column
{
    AddressColumn,
    NameColumn,
    TypeColumn,
    OrderColumn,
    ScaleColumn,
    OffsetColumn,
    UnitColumn,
    DecimalsColumn,
    CommentColumn
};

QString textOf(double number, double usual)
{
    return number == usual ? QString() : QString::number(number, 'g', QLocale::FloatingPointShortest);
}

QString wrong(const QString& text, Column column, const QString& right)
{
    return QStringLiteral("the %1 %2 must be %3").arg(tagColumns().at(column), quoted(text), right);
}

/// Keeps value if the text is empty.
void readNumber(const QStringList& row, Column column, double& value, QString& problem)
{
    const QString& text = row.at(column);
    if (text.isEmpty())
        return;
    bool isNumber = false;
    value = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(value))
        problem = wrong(text, column, QStringLiteral("a number, such as 0.1 or -40"));
}

void readDecimals(const QString& text, std::optional<int>& decimals, QString& problem)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (isNumber && number >= 0 && number <= mostDecimals)
        decimals = number;
    else if (!text.isEmpty())
        problem = wrong(text, DecimalsColumn, QStringLiteral("0 to %1").arg(mostDecimals));
}

} // namespace

QString nameAsTyped(const QString& name)
{
    QString typed = name.normalized(QString::NormalizationForm_C);
    return typed.replace(QChar(QChar::Nbsp), QLatin1Char(' '));
}

const QStringList& tagColumns()
{
    static const QStringList names =
        QStringLiteral("address name type order scale offset unit decimals comment").split(QLatin1Char(' '));
    return names;
}

QStringList rowOfSignal(const Signal& signal)
{
    return {signal.address,
            signal.name,
            signal.type ? signalTypeName(*signal.type) : QString(),
            signal.order ? byteOrderName(*signal.order) : QString(),
            textOf(signal.scale, 1),
            textOf(signal.offset, 0),
            signal.unit,
            signal.decimals ? QString::number(*signal.decimals) : QString(),
            signal.comment};
}

std::optional<Signal> signalOfRow(const QStringList& row, QString& problem)
{
    const QString comma = QStringLiteral(", ");
    Signal signal;
    signal.address = row.at(AddressColumn);
    signal.name = nameAsTyped(row.at(NameColumn));
    signal.unit = row.at(UnitColumn);
    signal.comment = row.at(CommentColumn);
    signal.type = parseSignalType(row.at(TypeColumn).toLower());
    signal.order = parseByteOrder(row.at(OrderColumn));
    problem.clear();
    if (!signal.type && !row.at(TypeColumn).isEmpty())
        problem = wrong(row.at(TypeColumn), TypeColumn, signalTypeNames().join(comma));
    if (!signal.order && !row.at(OrderColumn).isEmpty())
        problem = wrong(row.at(OrderColumn), OrderColumn, byteOrderNames().join(comma));
    const QString printed = signal.name + signal.unit;
    if (!std::all_of(printed.begin(), printed.end(), mayBeShown))
        problem = QStringLiteral("the name or unit of %1 has a control character or an invisible one")
                      .arg(quoted(signal.name));
    readNumber(row, ScaleColumn, signal.scale, problem);
    readNumber(row, OffsetColumn, signal.offset, problem);
    readDecimals(row.at(DecimalsColumn), signal.decimals, problem);
    return problem.isEmpty() ? std::optional(signal) : std::nullopt;
}
