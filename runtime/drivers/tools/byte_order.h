#ifndef TOOLS_BYTE_ORDER_H
#define TOOLS_BYTE_ORDER_H

#include <QByteArray>

// Field protocols send the high byte of a register first, the runtime wants the low byte first. The functions
// on arrays reverse the bytes of each element, whatever the host's own order is. UShort stands for elements
// of 2 bytes, ULong for elements of 4 bytes on every host. Bytes are unsigned everywhere.

/// Whether this machine stores the high byte of a number first.
Q_DECL_EXPORT bool isBigEndian();

/// New array of the count elements at data, each with its bytes reversed: 12 34 56 78 gives 34 12 78 56, and
/// as ULong 78 56 34 12. data must hold them, at any alignment. A count of 0 or less, or one too large for
/// any array, gives an empty array.
Q_DECL_EXPORT QByteArray fromBigEndianUShortArray(const unsigned char* data, int count);
Q_DECL_EXPORT QByteArray fromBigEndianULongArray(const unsigned char* data, int count);

/// New array with the bytes of each element reversed; an incomplete last element is padded with zero bytes
/// first: as UShort, 34 12 78 gives 12 34 00 78.
Q_DECL_EXPORT QByteArray toBigEndianUShortArray(const QByteArray& data);
Q_DECL_EXPORT QByteArray toBigEndianULongArray(const QByteArray& data);

/// Reverses the bytes of each element in place. An incomplete last element stays as it is.
Q_DECL_EXPORT void toLittleEndianUShortArray(QByteArray& data);
Q_DECL_EXPORT void toLittleEndianULongArray(QByteArray& data);

/// New array with the same bytes, the last one first.
Q_DECL_EXPORT QByteArray reverseArray(const QByteArray& data);

/// Little-endian number in the first 4 (int) or 2 bytes. Missing bytes count as 0, so an empty array gives 0
/// and a single byte 0 to 255. Bytes that follow are ignored.
Q_DECL_EXPORT int QByteArrayToInt(const QByteArray& bytes);
Q_DECL_EXPORT unsigned short QByteArrayToWord(const QByteArray& bytes);
Q_DECL_EXPORT short QByteArrayToShort(const QByteArray& bytes);

/// The 4 (int) or 2 bytes of value, least significant byte first.
Q_DECL_EXPORT QByteArray intToByteArray(int value);
Q_DECL_EXPORT QByteArray wordToByteArray(unsigned short value);
Q_DECL_EXPORT QByteArray shortToByteArray(short value);

#endif
