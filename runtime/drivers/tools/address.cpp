#include "address.h"

#include <climits>

namespace {

bool isLetterUpTo(char c, char lastLower, char lastUpper)
{
    return (c >= 'a' && c <= lastLower) || (c >= 'A' && c <= lastUpper);
}

bool isSymbol(char c)
{
    return c == '_' || isLetterUpTo(c, 'z', 'Z');
}

unsigned int codeOf(char c)
{
    return static_cast<unsigned char>(c);
}

unsigned int codeOf(QChar c)
{
    return c.unicode();
}

// -1 for a character that is no digit of the base.
template<typename Character>
int digitValue(Character c, int base)
{
    const unsigned int code = codeOf(c);
    int value = -1;
    if (code >= '0' && code <= '9')
        value = static_cast<int>(code - '0');
    else if ((code >= 'a' && code <= 'f') || (code >= 'A' && code <= 'F'))
        value = static_cast<int>(code % 16 + 9);
    return value < base ? value : -1;
}

// The number that the characters write with digits only, 0 when there are none; -1 for anything else.
template<typename Character>
int plainNumber(const Character* next, const Character* end, int base)
{
    qint64 number = 0;
    for (; next != end; ++next) {
        const int digit = digitValue(*next, base);
        number = number * base + digit;
        if (digit < 0 || number > INT_MAX)
            return -1;
    }
    return static_cast<int>(number);
}

// Numbers of digits only, which is most of them, are read in place; the rest is QByteArray's to judge.
template<typename Character>
int numberIn(const Character* text, int size, int base)
{
    if (base != 8 && base != 10 && base != 16)
        return -1;
    const Character* const end = text + size;
    while (text != end && digitValue(*text, base) < 0)
        ++text;
    const int number = plainNumber(text, end, base);
    if (number >= 0)
        return number;
    QByteArray rest;
    for (; text != end; ++text)
        rest.append(static_cast<char>(codeOf(*text) < 256 ? codeOf(*text) : '?'));
    return rest.toInt(nullptr, base);
}

} // namespace

QByteArray ExtractPrefixSymbol(const QString& text)
{
    return ExtractPrefixSymbol(text.toLatin1());
}

QByteArray ExtractPrefixSymbol(const QByteArray& text)
{
    int length = 0;
    while (length < text.size() && isSymbol(text.at(length)))
        ++length;
    return text.left(length);
}

int ExtractPLCDeviceAddress(const QByteArray& text, int base)
{
    return numberIn(text.constData(), text.size(), base);
}

int ExtractPLCDeviceAddress(const QString& text, int base)
{
    return numberIn(text.constData(), text.size(), base);
}
