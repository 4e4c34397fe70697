#ifndef TOOLS_CHARACTERS_H
#define TOOLS_CHARACTERS_H

// Internal to the runtime; not part of the toolkit's interface. ASCII only, whatever the locale.

#include <QChar>

/// Value of a hexadecimal digit in either case, -1 for any other character.
inline int digitValue(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

/// Whether the character is one of the decimal digits.
inline bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

inline bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

inline bool isLetter(char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

inline bool isLetter(QChar character)
{
    return character.unicode() < 128 && isLetter(character.toLatin1());
}

#endif
