#include "bits.h"

#include "byte_access.h"

namespace {

template<typename Number>
Number maskOf(unsigned short position)
{
    return position < 8 * sizeof(Number) ? static_cast<Number>(1u << position) : Number(0);
}

template<typename Number>
Number withBit(Number value, unsigned short position)
{
    return static_cast<Number>(value | maskOf<Number>(position));
}

template<typename Number>
Number withoutBit(Number value, unsigned short position)
{
    return static_cast<Number>(value & ~maskOf<Number>(position));
}

int bytesForBits(qint64 bits)
{
    return static_cast<int>((bits + 7) / 8);
}

// Puts the bits of value that the mask selects into the byte and leaves the others.
inline void replaceBits(unsigned char& byte, unsigned int value, unsigned int mask)
{
    byte = static_cast<unsigned char>((byte & ~mask) | (value & mask));
}

// Goes through source byte by byte. destination holds all bits and is another buffer.
void copyBitsBytewise(unsigned char* destination, const QByteArray& source, int start, int count)
{
    const unsigned char* const from = bytesOf(source);
    const int shift = start % 8;
    unsigned char* to = destination + start / 8;
    unsigned int pending = *to & ((1u << shift) - 1);
    for (int i = 0; i < count / 8; ++i, pending >>= 8) {
        pending |= (i < source.size() ? from[i] : 0u) << shift;
        *to++ = static_cast<unsigned char>(pending & 0xFF);
    }
    const unsigned int last = count / 8 < source.size() ? from[count / 8] : 0u;
    pending |= last << shift;
    for (int left = shift + count % 8; left > 0; left -= 8, pending >>= 8)
        replaceBits(*to++, pending, (1u << qMin(left, 8)) - 1);
}

// For n of 1 to 7.
void shiftBits(unsigned char* bytes, int size, int n)
{
    for (int i = 0; i + 1 < size; ++i)
        bytes[i] = static_cast<unsigned char>((bytes[i] >> n) | (bytes[i + 1] << (8 - n)));
    bytes[size - 1] = static_cast<unsigned char>(bytes[size - 1] >> n);
}

} // namespace

unsigned short setBit(unsigned short value, unsigned short position)
{
    return withBit(value, position);
}

unsigned char setBit(unsigned char value, unsigned short position)
{
    return withBit(value, position);
}

unsigned int setBit(unsigned int value, unsigned short position)
{
    return withBit(value, position);
}

unsigned short clearBit(unsigned short value, unsigned short position)
{
    return withoutBit(value, position);
}

unsigned char clearBit(unsigned char value, unsigned short position)
{
    return withoutBit(value, position);
}

unsigned int clearBit(unsigned int value, unsigned short position)
{
    return withoutBit(value, position);
}

bool getBit(unsigned short value, unsigned short position)
{
    return (value & maskOf<unsigned short>(position)) != 0;
}

bool getBit(unsigned char value, unsigned short position)
{
    return (value & maskOf<unsigned char>(position)) != 0;
}

bool getBit(unsigned int value, unsigned short position)
{
    return (value & maskOf<unsigned int>(position)) != 0;
}

bool getBit(const QByteArray& bits, int bit)
{
    return bit >= 0 && bit / 8 < bits.size() && getBit(bytesOf(bits), bit);
}

bool getBit(const unsigned char* bits, int bit)
{
    return ((bits[bit / 8] >> (bit % 8)) & 1) != 0;
}

void setBit(QByteArray& bits, int bit, bool value)
{
    if (bit < 0)
        return;
    if (bit / 8 >= bits.size())
        resizeZeroFilled(bits, bit / 8 + 1);
    setBit(bytesOf(bits), bit, value);
}

void setBit(unsigned char* bits, int bit, bool value)
{
    replaceBits(bits[bit / 8], value ? 0xFF : 0, 1u << (bit % 8));
}

bool getBitData(const QByteArray& data)
{
    return getBit(data, 0);
}

void CopyBits(QByteArray& destination, QByteArray& source, int start, int count)
{
    if (count <= 0 || start < 0)
        return;
    if (&destination == &source) {
        // Bits that were just written are read again further on.
        for (int i = 0; i < count; ++i)
            setBit(destination, start + i, getBit(source, i));
        return;
    }
    const int needed = bytesForBits(static_cast<qint64>(start) + count);
    if (needed > destination.size())
        resizeZeroFilled(destination, needed);
    copyBitsBytewise(bytesOf(destination), source, start, count);
}

QByteArray ExpandBitsToBytes(const QByteArray& bits, unsigned short start, int count)
{
    QByteArray bytes(qMax(0, count), '\0');
    const qint64 available = 8 * static_cast<qint64>(bits.size()) - start;
    const int known = static_cast<int>(qBound<qint64>(0, available, bytes.size()));
    unsigned char* const out = bytesOf(bytes);
    for (int i = 0; i < known; ++i)
        out[i] = getBit(bytesOf(bits), start + i) ? 1 : 0;
    return bytes;
}

void FitBitArray(QByteArray& array, int bits)
{
    resizeZeroFilled(array, bytesForBits(qMax(0, bits)));
}

void clearUnnecessaryBits(QByteArray& array, int bits)
{
    if (bits < 0 || bits % 8 == 0 || bits / 8 >= array.size())
        return;
    unsigned char& last = bytesOf(array)[bits / 8];
    last = static_cast<unsigned char>(last & ((1u << (bits % 8)) - 1));
}

void RightShiftNBits(QByteArray& array, int n)
{
    if (n <= 0)
        return;
    const int wholeBytes = n / 8;
    const int kept = array.size() - wholeBytes;
    if (kept <= 0) {
        array.fill('\0');
        return;
    }
    unsigned char* const bytes = bytesOf(array);
    if (wholeBytes > 0)
        RotateArray(bytes, wholeBytes, kept);
    if (n % 8 != 0)
        shiftBits(bytes, kept, n % 8);
}
