#ifndef SIGNALS_SIGNAL_H
#define SIGNALS_SIGNAL_H

#include "communicator_command.h"

#include <QStringList>

#include <optional>

// What a person calls a value of a device, and how its registers become a number with a unit.

/// How the registers or bits at an address are interpreted.
///
/// The host assembles Bool to String itself, from bits or from registers in the given byte order. DriverBit
/// to DriverBitBlock are the driver's element types, in the order of CommandDataType; they have no byte
/// order.
struct SignalType
{
    enum Kind
    {
        Bool,
        Int16,
        UInt16,
        Int32,
        UInt32,
        Int64,
        UInt64,
        Float32,
        Float64,
        String,
        DriverBit,
        DriverByte,
        DriverWord,
        DriverDoubleWord,
        DriverQuadWord,
        DriverBlock,
        DriverBitBlock
    };

    Kind kind = UInt16;
    int length = 0; ///< of a String: its bytes, 1 to longestString; otherwise 0

    bool operator==(const SignalType& other) const { return kind == other.kind && length == other.length; }
    bool operator!=(const SignalType& other) const { return !(*this == other); }
};

/// A string must fit into one read.
constexpr int longestString = 250;

/// The names, in the order in which they are listed: bool, int16, uint16, int32, uint32, int64, uint64,
/// float32, float64, string(N), bit, byte, word, dword, qword, block, bitblock.
const QStringList& signalTypeNames();

/// "float32", "string(20)"; lower case only. Nothing if the text names no type, or a length that is not 1 to
/// longestString.
std::optional<SignalType> parseSignalType(const QString& text);

/// The name that parseSignalType takes.
QString signalTypeName(SignalType type);

/// How values are written.
enum class Notation
{
    Unsigned, ///< decimal, 0 and up
    Signed,   ///< decimal, two's complement
    Hex,      ///< hexadecimal
    Float,    ///< IEEE 754, of 32 or 64 bits
    Bits,     ///< binary digits, the most significant first
    Text      ///< UTF-8
};

/// The names on the command line, in the order in which it lists them: uint, int, hex, float, bits, text.
const QStringList& notationNames();
std::optional<Notation> notationFromName(const QString& name);

/// What the driver reads and writes for the values of a type.
struct TypeLayout
{
    CommandDataType element; ///< type of the driver's elements
    int elements;            ///< per value
    int width;               ///< bits per value
    Notation notation;       ///< of a value unless somebody asks for another one

    bool isBit() const { return width == 1; }
};

TypeLayout layoutOf(SignalType type);

/// Why this type cannot be written in this notation, as a phrase that says what would be right. Empty if it
/// can.
QString notationProblem(SignalType type, Notation notation);

/// The order of a value's bytes in its registers; A is the most significant byte. For 64 bits the names stand
/// for ABCDEFGH, GHEFCDAB, BADCFEHG and HGFEDCBA. A string runs from register to register in any order: ABCD
/// and CDAB put the first of two characters into a register's high byte, BADC and DCBA into the low byte.
enum class ByteOrder
{
    ABCD,
    CDAB,
    BADC,
    DCBA
};

const QStringList& byteOrderNames();

/// "ABCD" and so on, in upper or lower case. Nothing for any other text.
std::optional<ByteOrder> parseByteOrder(const QString& text);
QString byteOrderName(ByteOrder order);

/// A value of a device with its name: one row of a tag list. Value in the unit = number in the registers *
/// scale + offset.
struct Signal
{
    QString name;                   ///< not an address; empty: no name
    QString address;                ///< an HMI address or STATION-ADDRESS, as written; never empty
    std::optional<SignalType> type; ///< without one: bit for the address of a bit, else word
    std::optional<ByteOrder> order; ///< without one: ABCD for an address with SW, else CDAB
    double scale = 1;               ///< finite and not 0; 1 for bool and string
    double offset = 0;              ///< finite; 0 for bool and string
    QString unit;                   ///< printed after the value, such as "°C"; may be empty
    std::optional<int> decimals;    ///< printed digits after the point, 0 to mostDecimals; without: as many
                                    ///< as the value has
    QString comment;                ///< for people; no program uses it
};

constexpr int mostDecimals = 15;

/// A signal of which nothing is known but its address.
inline Signal signalAt(const QString& address)
{
    Signal signal;
    signal.address = address;
    return signal;
}

#endif
