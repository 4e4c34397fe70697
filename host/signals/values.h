#ifndef SIGNALS_VALUES_H
#define SIGNALS_VALUES_H

#include "signals/item.h"

#include <QByteArray>
#include <QJsonArray>

// Converts values of items. data has the layout of the item's command (see CommandDataType), and at least as
// many bytes as the item covers.

/// The values of a write command and their bytes.
struct CommandData
{
    int count = 0; ///< values
    QByteArray bytes;
    std::optional<Notation> notation; ///< best for printing them; without one: the item's
};

/// Converts values from the command line to the data of a write command. The type alone decides between whole
/// numbers and floats, not the way in which a value is written.
///
/// Whole numbers are decimal, or hexadecimal with 0x; the driver's own types take negative ones too. Numbers
/// of a scaled signal are in its unit; the registers must be able to hold them exactly. Strings are padded
/// with zero bytes. Bytes with the notation Text take one value; its UTF-8 bytes are the elements.
///
/// If a value does not fit, or if the data would zero the other half of a register, the result is empty, and
/// error names the value, its position and what would be right.
std::optional<CommandData> encodeValues(const Item& item, const QStringList& values, QString& error);

/// Text of each value, without unit; scaled and with decimals unless the item has a notation. Control
/// characters, and bytes that are not UTF-8, appear as \xNN. A string ends before its first zero byte. Bytes
/// with the notation Text form one text.
QStringList valueTexts(const Item& item, const QByteArray& data);

/// The values as numbers, scaled unless the item has a notation; strings as texts. With Bits each value gives
/// its bits, the least significant first; bytes with Text give numbers. A float that is not finite gives
/// null; whole numbers beyond 2^53 are rounded to a double.
QJsonArray valueNumbers(const Item& item, const QByteArray& data);

/// The data of each value alone.
QVector<QByteArray> valueData(const Item& item, const QByteArray& data);

/// "-12.3 °C": a text of valueTexts with the unit of the signal. A value in a notation has no unit.
QString withUnit(const Item& item, const QString& text);

#endif
