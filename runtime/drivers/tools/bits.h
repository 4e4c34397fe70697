#ifndef TOOLS_BITS_H
#define TOOLS_BITS_H

#include <QByteArray>
#include <algorithm>

// An array of bytes holding bits is a little-endian bit string: bit n is bit n % 8 of byte n / 8, and bit 0
// of a byte is the least significant. So bit k of register w, its low byte first, is bit 16 w + k. Bytes are
// unsigned. Bit numbers, shifts and counts are 0 or more; negative ones read as false and change nothing.

/// setBit and clearBit return the value with one bit set or cleared; getBit returns whether that bit is 1. A
/// position beyond the width of the type leaves the value as it is, or gives false.
Q_DECL_EXPORT unsigned short setBit(unsigned short value, unsigned short position);
Q_DECL_EXPORT unsigned char setBit(unsigned char value, unsigned short position);
Q_DECL_EXPORT unsigned int setBit(unsigned int value, unsigned short position);
Q_DECL_EXPORT unsigned short clearBit(unsigned short value, unsigned short position);
Q_DECL_EXPORT unsigned char clearBit(unsigned char value, unsigned short position);
Q_DECL_EXPORT unsigned int clearBit(unsigned int value, unsigned short position);
Q_DECL_EXPORT bool getBit(unsigned short value, unsigned short position);
Q_DECL_EXPORT bool getBit(unsigned char value, unsigned short position);
Q_DECL_EXPORT bool getBit(unsigned int value, unsigned short position);

/// One bit of an array; false beyond its end. The raw buffer must hold the bit.
Q_DECL_EXPORT bool getBit(const QByteArray& bits, int bit);
Q_DECL_EXPORT bool getBit(const unsigned char* bits, int bit);

/// Sets or clears one bit. An array that does not reach the bit is first extended with zero bytes, up to the
/// byte that holds it. The raw buffer must hold the bit.
Q_DECL_EXPORT void setBit(QByteArray& bits, int bit, bool value);
Q_DECL_EXPORT void setBit(unsigned char* bits, int bit, bool value);

/// The value of a one-bit command: bit 0 of the first byte, false for an empty array.
Q_DECL_EXPORT bool getBitData(const QByteArray& data);

/// Copies bits 0 to count - 1 of source to destination, from bit start on, in rising order. Bits that source
/// does not have are 0. destination is extended as by setBit; its other bits stay.
Q_DECL_EXPORT void CopyBits(QByteArray& destination, QByteArray& source, int start, int count);

/// New array of count bytes: byte i is 1 if bit start + i is set, else 0.
Q_DECL_EXPORT QByteArray ExpandBitsToBytes(const QByteArray& bits, unsigned short start, int count);

/// Makes the array as long as the given number of bits needs, in whole bytes: cuts its end or appends zero
/// bytes.
Q_DECL_EXPORT void FitBitArray(QByteArray& array, int bits);

/// Clears bit number bits and the bits above it in the same byte; for example, 11 keeps the low three bits of
/// byte 1. Does nothing if bits is a multiple of 8 or the array does not reach that byte.
Q_DECL_EXPORT void clearUnnecessaryBits(QByteArray& array, int bits);

/// Moves all bits down by n positions, in place and without changing the size: bit i becomes the former bit i
/// + n. For n below 8, zeros move in at the top. From n = 8 on whole bytes rotate, so the top n / 8 bytes
/// hold the former lowest n / 8 bytes; callers cut them off. A shift by all bits or more gives zeros.
Q_DECL_EXPORT void RightShiftNBits(QByteArray& array, int n);

/// Swaps two adjacent blocks in place: the elements at data, as many as first says, and the elements after
/// them, as many as second says. With first 2 and second 3, A B C D E becomes C D E A B. Needs no memory:
/// each block is reversed, then both together.
template<typename T>
void RotateArray(T* data, int first, int second)
{
    std::reverse(data, data + first);
    std::reverse(data + first, data + first + second);
    std::reverse(data, data + first + second);
}

#endif
