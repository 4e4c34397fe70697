#ifndef AREA_PREFIX_H
#define AREA_PREFIX_H

#include <QByteArray>
#include <QString>

// Area prefixes such as "HR" or "FN5DO", of commands (8-bit) and of tags (QString), in upper or lower case;
// area is in upper case.

inline ushort codeOf(char character)
{
    return static_cast<unsigned char>(character);
}

inline ushort codeOf(QChar character)
{
    return character.unicode();
}

inline int upperCase(ushort code)
{
    return code >= 'a' && code <= 'z' ? code - 'a' + 'A' : code;
}

template<typename Text>
bool beginsWith(const Text& text, const char* area)
{
    int i = 0; // both end with a zero character
    while (area[i] != '\0' && upperCase(codeOf(text.constData()[i])) == area[i])
        ++i;
    return area[i] == '\0';
}

inline bool isArea(const QByteArray& prefix, const char* area)
{
    return qstricmp(prefix.constData(), area) == 0;
}

#endif
