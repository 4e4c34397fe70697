#ifndef SIGNALS_TAG_ADDRESS_H
#define SIGNALS_TAG_ADDRESS_H

#include <QByteArray>
#include <QString>

#include <optional>

/// The address of a tag, taken apart: [STATION-]AREA NUMBER[.BIT][SW], letters in any case.
struct TagAddress
{
    int station = -1; ///< 0 to 255; -1: the default station
    int area = 0;     ///< DI, DO, FN5DO, HR, FN6HR, IR count from 0
    int number = 0;   ///< 1 to 65536
    int bit = -1;     ///< 0 to 255 inside the registers from number on; -1: none
    bool highWordFirst = false;

    /// Different for addresses that differ in more than case and leading zeros.
    quint64 key() const;
};

/// Takes an address apart that the driver serves. The result is empty, and problem holds a sentence that
/// quotes the text and says what would be right, when the driver would not know the area, or would take
/// another element than the one that is written.
std::optional<TagAddress> parseTagAddress(const QByteArray& text, QString& problem);

#endif
