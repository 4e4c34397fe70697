#include "pack.h"

#include "byte_access.h"
#include "characters.h"
#include <QtEndian>
#include <climits>
#include <cstring>

namespace {

Q_STATIC_ASSERT_X(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "fields are moved from and to little-endian numbers");

// Width of each letter's field in bytes, negative for big-endian; 0 for a character that is not a letter of a
// format.
const signed char widths[] = {
    //  C  D  E  F  G  H  I  J  K  L  M   N  O  P  Q  R
    1, 0, 0, 0, 0, 0, 4, 0, 0, 4, 0, -4, 0, 0, 0, 0,
    //  S  T  U  V  W  X  Y  Z  [  \  ]   ^  _  `  a  b
    2, 0, 0, 4, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    //  c  d  e  f  g  h  i  j  k  l  m   n  o  p  q  r
    1, 0, 0, 0, 0, 0, 4, 0, 0, 4, 0, -2, 0, 0, 0, 0,
    //  s  t  u  v  w  x
    2, 0, 0, 2, 0, 1};

int widthOf(char letter)
{
    const unsigned int index = static_cast<unsigned char>(letter) - static_cast<unsigned int>('C');
    return index < sizeof widths ? widths[index] : 0;
}

struct Item
{
    const char* letter; // after the count
    bool hasCount;
    int width;  // of one element, negative for big-endian
    int length; // bytes in the frame, -1 on an error
};

bool isFiller(const Item& item)
{
    return *item.letter == 'x' || *item.letter == 'X';
}

// The item at format. A count of more than 32 bits wraps.
Item itemAt(const char* format)
{
    Item item = {format, isDigit(*format), 0, -1};
    unsigned int count = item.hasCount ? 0 : 1;
    for (; isDigit(*item.letter); ++item.letter)
        count = count * 10 + static_cast<unsigned int>(digitValue(*item.letter));
    item.width = widthOf(*item.letter);
    if (item.width == 0)
        return item;

    const quint64 length = static_cast<quint64>(count) * static_cast<quint64>(qAbs(item.width));
    const bool isArray = count > 0 && std::strchr("CcnvNV", *item.letter) != nullptr;
    if ((!item.hasCount || isArray || isFiller(item)) && length <= INT_MAX)
        item.length = static_cast<int>(length);
    return item;
}

// Between memory and frame, in either direction: reverses the bytes of each big-endian element.
void move(unsigned char* to, const unsigned char* from, const Item& item)
{
    const int turn = item.width < 0 ? -item.width - 1 : 0;
    for (int i = 0; i < item.length; ++i)
        to[i] = from[i ^ turn];
}

// Size of an array packed with the format, 0 on an error.
int packedLength(const char* format)
{
    qint64 length = 0;
    for (; *format != '\0'; ++format) {
        const Item item = itemAt(format);
        if (item.length < 0 || (item.hasCount && isFiller(item)))
            return 0;
        length += item.length;
        format = item.letter;
    }
    return length > INT_MAX ? 0 : static_cast<int>(length);
}

} // namespace

// Frames are made of n and C, so both walks handle these before they look into the table: with the table
// alone, a read of ten registers would take a third more instructions.

int VDataPack(unsigned char* out, const char* format, va_list args)
{
    unsigned char* next = out;
    for (; *format != '\0'; ++format) {
        if (*format == 'n') {
            qToBigEndian<quint16>(static_cast<quint16>(va_arg(args, int)), next);
            next += 2;
            continue;
        }
        if (*format == 'C') {
            *next++ = static_cast<unsigned char>(va_arg(args, int));
            continue;
        }
        const Item item = itemAt(format);
        if (item.length < 0)
            return item.hasCount ? -1 : 0;
        if (isFiller(item)) {
            std::memset(next, 0, *item.letter == 'x' ? static_cast<size_t>(item.length) : 0);
        } else if (item.hasCount) {
            move(next, va_arg(args, const unsigned char*), item);
        } else {
            const int value = va_arg(args, int);
            move(next, reinterpret_cast<const unsigned char*>(&value), item);
        }
        next += item.length;
        format = item.letter;
    }
    return static_cast<int>(next - out);
}

int VDataUnpack(const unsigned char* in, const char* format, va_list args)
{
    const unsigned char* next = in;
    for (; *format != '\0'; ++format) {
        if (*format == 'n') {
            const quint16 value = qFromBigEndian<quint16>(next);
            std::memcpy(va_arg(args, unsigned char*), &value, sizeof value);
            next += 2;
            continue;
        }
        if (*format == 'C') {
            *va_arg(args, unsigned char*) = *next++;
            continue;
        }
        const Item item = itemAt(format);
        if (item.length < 0)
            return -1;
        if (!isFiller(item))
            move(va_arg(args, unsigned char*), next, item);
        next += item.length;
        format = item.letter;
    }
    return static_cast<int>(next - in);
}

int DataPack(unsigned char* out, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int written = VDataPack(out, format, args);
    va_end(args);
    return written;
}

// The size is worked out first, so that the array is allocated once.
QByteArray VByteArrayPack(const char* format, va_list args)
{
    QByteArray bytes(packedLength(format), '\0');
    if (!bytes.isEmpty())
        VDataPack(bytesOf(bytes), format, args);
    return bytes;
}

QByteArray ByteArrayPack(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    QByteArray bytes = VByteArrayPack(format, args);
    va_end(args);
    return bytes;
}

int DataUnpack(const unsigned char* in, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int consumed = VDataUnpack(in, format, args);
    va_end(args);
    return consumed;
}

void appendBigEndianUShort(QByteArray& bytes, unsigned short value)
{
    bytes += ByteArrayPack("n", value);
}
