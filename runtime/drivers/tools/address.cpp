#include "address.h"

namespace {

bool isLetterUpTo(char c, char lastLower, char lastUpper)
{
    return (c >= 'a' && c <= lastLower) || (c >= 'A' && c <= lastUpper);
}

bool isSymbol(char c)
{
    return c == '_' || isLetterUpTo(c, 'z', 'Z');
}

bool isDigit(char c, int base)
{
    if (base == 16 && isLetterUpTo(c, 'f', 'F'))
        return true;
    return c >= '0' && c <= (base == 8 ? '7' : '9');
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
    if (base != 8 && base != 10 && base != 16)
        return -1;
    int start = 0;
    while (start < text.size() && !isDigit(text.at(start), base))
        ++start;
    return text.mid(start).toInt(nullptr, base);
}

int ExtractPLCDeviceAddress(const QString& text, int base)
{
    return ExtractPLCDeviceAddress(text.toLatin1(), base);
}
