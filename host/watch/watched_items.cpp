#include "watch/watched_items.h"

#include "signals/element_address.h"

#include <QRegularExpression>

#include <algorithm>
#include <tuple>

namespace {

/// The parts of a tag address, for joining neighbours.
struct Tag
{
    QString area;
    int number = 0;
    QString rest; ///< a bit number or a word-order mark
    QString text;

    bool operator<(const Tag& other) const
    {
        return std::tie(area, number, rest) < std::tie(other.area, other.number, other.rest);
    }
    bool operator==(const Tag& other) const { return !(*this < other) && !(other < *this); }
};

Tag takeApart(const QString& address)
{
    static const QRegularExpression parts(QStringLiteral("^(F..[A-Z]*|[A-Z]*)([0-9]{1,9})(.*)$"));
    const QRegularExpressionMatch match = parts.match(address.toUpper());
    if (!match.hasMatch())
        return {address.toUpper(), 0, QString(), address};
    return {match.captured(1), match.captured(2).toInt(), match.captured(3), address};
}

bool isBitInRegister(const Tag& tag)
{
    return tag.rest.startsWith(QLatin1Char('.'));
}

CommandDataType typeOfTag(const Tag& tag)
{
    return isBitInRegister(tag) ? Bit : typeOfArea(tag.text);
}

bool continues(const Tag& next, const Tag& first, int count)
{
    return next.rest.isEmpty() && first.rest.isEmpty() && next.area == first.area &&
           next.number == first.number + count;
}

} // namespace

std::optional<WatchedItem> parseWatchedItem(const QString& text, Notation preferred, QString& error)
{
    const QStringList parts = text.split(QLatin1Char(':'));
    const QString& address = parts.first();
    const auto type = parts.size() > 1 ? dataTypeFromName(parts.at(1)) : typeOfArea(address);
    bool isNumber = true;
    const int count = parts.size() > 2 ? parts.at(2).toInt(&isNumber) : 1;
    if (address.isEmpty() || parts.size() > 3)
        error =
            QStringLiteral("\"%1\" is not ADDRESS[:TYPE[:COUNT]], such as HR100, HR100:dword or DO1:bit:8")
                .arg(text);
    else if (!type)
        error = QStringLiteral("\"%1\" names no type: \"%2\" is none of %3")
                    .arg(text, parts.at(1), dataTypeNames().join(QStringLiteral(", ")));
    else if (!isNumber || count < 1 || count > mostWatchedElements)
        error = QStringLiteral("\"%1\": the count must be a whole number from 1 to %2")
                    .arg(text)
                    .arg(mostWatchedElements);
    if (!error.isEmpty())
        return std::nullopt;
    const bool fits = notationProblem(*type, preferred).isEmpty();
    return WatchedItem{CommunicatorCommand(*type, count, address), fits ? preferred : Notation::Unsigned};
}

QString columnName(const QString& address, CommandDataType type)
{
    return type == typeOfArea(address) ? address : address + QLatin1Char(':') + dataTypeName(type);
}

QStringList elementNames(const WatchedItem& item)
{
    const ElementAddresses addresses(item.command.address, item.command.dataType);
    QStringList names;
    for (int i = 0; i < item.command.count; ++i)
        names += addresses.at(i);
    return names;
}

QStringList decimalTexts(const WatchedItem& item, const QByteArray& data)
{
    const bool isDecimal = item.notation == Notation::Signed || item.notation == Notation::Float;
    return valueTexts(item.command.dataType, isDecimal ? item.notation : Notation::Unsigned,
                      item.command.count, data);
}

QVector<WatchedItem> itemsOfTags(const QStringList& addresses, const CommandLimits& limits)
{
    std::vector<Tag> tags;
    for (const QString& address : addresses)
        tags.push_back(takeApart(address));
    std::sort(tags.begin(), tags.end());
    tags.erase(std::unique(tags.begin(), tags.end()), tags.end());

    QVector<WatchedItem> items;
    Tag first;
    for (const Tag& tag : tags) {
        const CommandDataType type = typeOfTag(tag);
        const int limit = type == Bit ? limits.bits : limits.registers;
        const int count = items.isEmpty() ? 0 : items.last().command.count;
        if (count > 0 && count < limit && continues(tag, first, count)) {
            ++items.last().command.count;
            continue;
        }
        items += {CommunicatorCommand(type, 1, tag.text), Notation::Unsigned};
        first = tag;
    }
    return items;
}
