#ifndef SIGNALS_VALUES_H
#define SIGNALS_VALUES_H

#include "session/data_type.h"

#include <QByteArray>
#include <QJsonArray>

/// How values are written.
enum class Notation
{
    Unsigned, ///< decimal, 0 and up
    Signed,   ///< decimal, two's complement
    Hex,      ///< hexadecimal
    Float,    ///< IEEE 754 single precision; double words only
    Bits,     ///< binary digits, the most significant first
    Text      ///< bytes and blocks only: one text, UTF-8
};

/// The names on the command line, in the order in which it lists them: uint, int, hex, float, bits, text.
const QStringList& notationNames();
std::optional<Notation> notationFromName(const QString& name);

/// Why this type cannot be written in this notation, as a phrase that says what would be right. Empty if it
/// can.
QString notationProblem(CommandDataType type, Notation notation);

/// The elements of a write command and their bytes, laid out as CommandDataType says.
struct CommandData
{
    int count = 0;
    QByteArray bytes;
    Notation notation = Notation::Unsigned; ///< best for printing them
};

/// Converts values from the command line to the data of a write command.
///
/// Without a notation a value is decimal, or hexadecimal with 0x in front, negative or not; a double word may
/// also be a number with a decimal point or an exponent, which makes it single precision. With Text there
/// must be one value; its UTF-8 bytes are the elements.
///
/// If a value does not fit, the result is empty, and error names the value, its position and what would be
/// right.
std::optional<CommandData> encodeValues(CommandDataType type, std::optional<Notation> notation,
                                        const QStringList& values, QString& error);

/// Text of each element of data, which holds at least dataLength(type, count) bytes. With Text it is one text
/// for all elements; control characters and bytes that are not UTF-8 appear as \xNN.
QStringList valueTexts(CommandDataType type, Notation notation, int count, const QByteArray& data);

/// The elements as numbers. With Bits each element gives its bits, the least significant first; with Text,
/// its bytes. A float that is not finite gives null; numbers beyond 2^53 are rounded to a double.
QJsonArray valueNumbers(CommandDataType type, Notation notation, int count, const QByteArray& data);

#endif
