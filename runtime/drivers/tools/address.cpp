#include "address.h"

#include "characters.h"

static int numberIn(QByteArray text, int base)
{
    if (base != 8 && base != 10 && base != 16)
        return -1;
    int start = 0;
    while (start < text.size() && (digitValue(text.at(start)) < 0 || digitValue(text.at(start)) >= base))
        ++start;
    return text.remove(0, start).toInt(nullptr, base);
}

QByteArray ExtractPrefixSymbol(const QString& text)
{
    return ExtractPrefixSymbol(text.toLatin1());
}

QByteArray ExtractPrefixSymbol(const QByteArray& text)
{
    int length = 0;
    while (length < text.size() && (isLetter(text.at(length)) || text.at(length) == '_'))
        ++length;
    return text.left(length);
}

int ExtractPLCDeviceAddress(const QByteArray& text, int base)
{
    return numberIn(text, base);
}

int ExtractPLCDeviceAddress(const QString& text, int base)
{
    return numberIn(text.toLatin1(), base);
}
