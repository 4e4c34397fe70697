#ifndef BIT_TAG_H
#define BIT_TAG_H

#include <QRegExp>
#include <QString>

/// Which bit a tag of the project stands for.
struct BitTag
{
    unsigned char station;
    bool isInput;           ///< a discrete input; otherwise a coil
    unsigned short address; ///< zero-based; 65535 when the tag has no proper number
};

/// Reads the address text of a tag: "DI7", "DO7" or "FN5DO7" of the default station, or one that qualified
/// matches at its start, such as "2-DO7"; in any case. qualified captures station, area and number. Returns
/// false for every other text: registers, and what is no address at all.
bool readBitTag(const QString& text, unsigned char defaultStation, const QRegExp& qualified, BitTag& tag);

#endif
