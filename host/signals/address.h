#ifndef SIGNALS_ADDRESS_H
#define SIGNALS_ADDRESS_H

#include <QStringList>

#include <optional>

// HMI addresses are parsed here and nowhere else.

/// Which driver's addresses.
enum class Grammar
{
    ModbusTcp, ///< [STATION-]AREA NUMBER[.BIT][SW], letters in any case: 3-HR100.15, FN6HR7SW, DO1
    Foreign    ///< another driver's: any text, with unknown meaning
};

/// The grammar of the driver that calls itself so.
Grammar grammarOfDriver(const QString& driverName);

constexpr int largestNumber = 65536; ///< of an element of an area; the first one has the number 1
constexpr int bitsOfRegister = 16;

/// A parsed address. A foreign one has only text, and perhaps a station.
struct Address
{
    QString text;               ///< for the driver: as written, without the station
    std::optional<int> station; ///< 0 to 255; without one: the station of the link
    int area = -1;              ///< 0 to 5: DI, DO, FN5DO, HR, FN6HR, IR; -1: foreign
    int number = 0;             ///< 1 to 65536
    std::optional<int> bit;     ///< 0 to 255, inside the registers from number on
    bool highWordFirst = false; ///< it has the mark SW

    bool isForeign() const { return area < 0; }

    /// It is in an area of bits, not registers.
    bool isInBitArea() const;

    /// It is in an area of bits, or has a point.
    bool isBit() const { return isInBitArea() || bit.has_value(); }

    /// Offset in its area in bits, from 0; a register has 16.
    int position() const;

    /// The address at this offset in bits, with the same station and mark, in capital letters. In an area of
    /// registers it has a point if withBit is true.
    Address at(int position, bool withBit) const;

    /// The text with the station in front: "3-HR1".
    QString fullText() const;

    /// The same for all ways to write one address: upper case, no leading zeros, a bit below 16. A foreign
    /// address as it is.
    QString plainText() const;
};

/// Parses an address. If the driver does not know the area, or would read another element than the one that
/// is written, the result is empty, and problem quotes the text and says what would be right.
std::optional<Address> parseAddress(const QString& text, Grammar grammar, QString& problem);

/// Whether the address of a project's tag begins with STATION-, 0 to 255.
bool hasStation(const QString& tag);

/// Parses the address of a project's tag, which may begin with STATION- for any driver.
std::optional<Address> parseTag(const QString& text, Grammar grammar, QString& problem);

/// One area for each kind of elements that a device has: HR, IR, DO, DI.
const QStringList& areasToScan();

/// The first address of an area of the driver: HR1.
Address firstAddress(const QString& area);

/// The text in quotation marks for a message, shortened and without control characters.
QString quoted(const QString& text);

#endif
