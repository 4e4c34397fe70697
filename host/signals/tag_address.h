#ifndef SIGNALS_TAG_ADDRESS_H
#define SIGNALS_TAG_ADDRESS_H

#include <QByteArray>
#include <QString>

#include <optional>

/// The parts of a tag address: [STATION-]AREA NUMBER[.BIT][SW], in upper or lower case.
struct TagAddress
{
    int station = -1; ///< 0 to 255; -1: the default station
    int area = 0;     ///< DI, DO, FN5DO, HR, FN6HR, IR numbered from 0
    int number = 0;   ///< 1 to 65536
    int bit = -1;     ///< 0 to 255, counted from register number on; -1: none
    bool highWordFirst = false;

    /// Different for addresses that differ in more than case and leading zeros.
    quint64 key() const;
};

/// Parses an address that the driver serves. If the driver would not know the area, or would take another
/// element than the one written, the result is empty, and problem holds a sentence that quotes the text and
/// says what would be right.
std::optional<TagAddress> parseTagAddress(const QByteArray& text, QString& problem);

#endif
