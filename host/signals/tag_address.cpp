#include "signals/tag_address.h"

#include <cstring>
#include <strings.h>

namespace {

struct AreaName
{
    const char* prefix;
    bool isBitArea;
};

constexpr AreaName areas[] = {{"DI", true},  {"DO", true},     {"FN5DO", true},
                              {"HR", false}, {"FN6HR", false}, {"IR", false}};
constexpr int areaCount = sizeof areas / sizeof areas[0];
constexpr int largestNumber = 65536;
constexpr int largestByte = 255;
constexpr int beyondAll = 1000000; ///< numbers with more digits count as this

/// Reads a text from left to right.
class Cursor
{
public:
    explicit Cursor(const QByteArray& text) : m_text(text) {}

    bool atEnd() const { return m_next == m_text.size(); }

    bool skip(const char* word)
    {
        const int length = static_cast<int>(std::strlen(word));
        if (m_text.size() - m_next < length ||
            ::strncasecmp(m_text.constData() + m_next, word, static_cast<std::size_t>(length)) != 0)
            return false;
        m_next += length;
        return true;
    }

    /// A decimal number; -1 if there is no digit.
    int number()
    {
        int value = -1;
        for (; !atEnd() && m_text.at(m_next) >= '0' && m_text.at(m_next) <= '9'; ++m_next)
            value = std::min(std::max(value, 0) * 10 + (m_text.at(m_next) - '0'), beyondAll);
        return value;
    }

private:
    const QByteArray& m_text;
    int m_next = 0;
};

/// The text for a message, shortened and printable.
QString quoted(const QByteArray& text)
{
    constexpr int longest = 40;
    QString shown = QString::fromUtf8(text.left(longest));
    for (QChar& character : shown)
        character = character.isPrint() ? character : QLatin1Char('?');
    return QStringLiteral("\"%1%2\"").arg(shown, text.size() > longest ? QStringLiteral("...") : QString());
}

int skipArea(Cursor& cursor)
{
    for (int i = 0; i < areaCount; ++i) {
        if (cursor.skip(areas[i].prefix))
            return i;
    }
    return -1;
}

/// Returns what is wrong; empty if address is all of the text.
QString parse(Cursor& cursor, TagAddress& address)
{
    address.station = cursor.number();
    if (address.station >= 0 && !cursor.skip("-"))
        return QStringLiteral("is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR)");
    if (address.station > largestByte)
        return QStringLiteral("names a station beyond 255");
    address.area = skipArea(cursor);
    if (address.area < 0)
        return QStringLiteral("is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR)");
    address.number = cursor.number();
    if (address.number < 1 || address.number > largestNumber)
        return QStringLiteral("must have a number from 1 to 65536 behind the area");
    if (areas[address.area].isBitArea)
        return cursor.atEnd() ? QString() : QStringLiteral("must end with the number of the bit");
    if (cursor.skip(".")) {
        address.bit = cursor.number();
        if (address.bit < 0 || address.bit > largestByte)
            return QStringLiteral("must have a bit number from 0 to 255 behind the point");
    }
    address.highWordFirst = cursor.skip("SW");
    return cursor.atEnd() ? QString() : QStringLiteral("has more behind the number than .BIT or SW");
}

} // namespace

quint64 TagAddress::key() const
{
    const auto part = [](int value, int shift) { return static_cast<quint64>(value) << shift; };
    return part(number, 0) | part(bit + 1, 17) | part(station + 1, 26) | part(area, 35) |
           part(highWordFirst ? 1 : 0, 38);
}

std::optional<TagAddress> parseTagAddress(const QByteArray& text, QString& problem)
{
    Cursor cursor(text);
    TagAddress address;
    const QString wrong = text.isEmpty() ? QStringLiteral("is no address") : parse(cursor, address);
    if (wrong.isEmpty())
        return address;
    problem = quoted(text) + QLatin1Char(' ') + wrong;
    return std::nullopt;
}
