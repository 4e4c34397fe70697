#include "pack.h"

#include "byte_access.h"
#include <QtEndian>
#include <climits>
#include <cstring>

namespace {

// An item of a format that has a count.
struct ArrayItem
{
    unsigned int count;
    char letter; // zero when none follows the count
};

inline bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Leaves format at the item's letter. A count of more than 32 bits wraps.
ArrayItem takeArrayItem(const char*& format)
{
    unsigned int count = 0;
    for (; isDigit(*format); ++format)
        count = count * 10 + static_cast<unsigned int>(*format - '0');
    const ArrayItem item = {count, *format};
    return item;
}

inline bool isFiller(const ArrayItem& item)
{
    return item.letter == 'x' || item.letter == 'X';
}

// Bytes of the field of a letter, 0 for an unknown one.
inline int fieldWidth(char letter)
{
    static const unsigned char widths[] = {
        0, 0, 0, 1, 0, 0, 0, 0, // @ A B C D E F G
        0, 4, 0, 0, 4, 0, 4, 0, // H I J K L M N O
        0, 0, 0, 2, 0, 0, 4, 0, // P Q R S T U V W
        1, 0, 0, 0, 0, 0, 0, 0, // X Y Z [ \ ] ^ _
        0, 0, 0, 1, 0, 0, 0, 0, // ` a b c d e f g
        0, 4, 0, 0, 4, 0, 2, 0, // h i j k l m n o
        0, 0, 0, 2, 0, 0, 2, 0, // p q r s t u v w
        1                       // x
    };
    const unsigned int index = static_cast<unsigned char>(letter) - static_cast<unsigned int>('@');
    return index < sizeof widths ? widths[index] : 0;
}

inline bool isArrayLetter(char letter)
{
    return letter != '\0' && std::strchr("CcnvNV", letter) != nullptr;
}

// Bytes that an item with a count moves, 0 when that is an error.
int arrayLength(const ArrayItem& item)
{
    if (!isArrayLetter(item.letter))
        return 0;
    const quint64 length = static_cast<quint64>(item.count) * static_cast<quint64>(fieldWidth(item.letter));
    return length > INT_MAX ? 0 : static_cast<int>(length);
}

template<typename Element>
void packBigEndian(unsigned char* out, const unsigned char* elements, int length)
{
    for (int i = 0; i < length; i += static_cast<int>(sizeof(Element))) {
        Element element;
        std::memcpy(&element, elements + i, sizeof element);
        qToBigEndian<Element>(element, out + i);
    }
}

template<typename Element>
void unpackBigEndian(const unsigned char* in, unsigned char* elements, int length)
{
    for (int i = 0; i < length; i += static_cast<int>(sizeof(Element))) {
        const Element element = qFromBigEndian<Element>(in + i);
        std::memcpy(elements + i, &element, sizeof element);
    }
}

// Bytes that an item with a count stands for in a frame, -1 when that is an error.
int lengthInFrame(const ArrayItem& item)
{
    if (isFiller(item))
        return item.count > INT_MAX ? -1 : static_cast<int>(item.count);
    const int length = arrayLength(item);
    return length < 1 ? -1 : length;
}

void packFiller(unsigned char* out, char letter, int length)
{
    if (letter == 'x' && length > 0)
        std::memset(out, 0, static_cast<size_t>(length));
}

void packArray(unsigned char* out, char letter, const unsigned char* elements, int length)
{
    if (letter == 'n')
        packBigEndian<quint16>(out, elements, length);
    else if (letter == 'N')
        packBigEndian<quint32>(out, elements, length);
    else
        std::memcpy(out, elements, static_cast<size_t>(length));
}

void unpackArray(const unsigned char* in, char letter, unsigned char* elements, int length)
{
    if (letter == 'n')
        unpackBigEndian<quint16>(in, elements, length);
    else if (letter == 'N')
        unpackBigEndian<quint32>(in, elements, length);
    else
        std::memcpy(elements, in, static_cast<size_t>(length));
}

template<typename Number>
inline void store(Number value, unsigned char* place)
{
    std::memcpy(place, &value, sizeof value);
}

inline quint16 low16(int number)
{
    return static_cast<quint16>(number & 0xFFFF);
}

// Bytes that an array packed with the format has, 0 on an error.
int packedLength(const char* format)
{
    qint64 length = 0;
    for (; *format != '\0'; ++format) {
        const int moved = isDigit(*format) ? arrayLength(takeArrayItem(format)) : fieldWidth(*format);
        if (moved == 0)
            return 0;
        length += moved;
    }
    return length > INT_MAX ? 0 : static_cast<int>(length);
}

} // namespace

int VDataPack(unsigned char* out, const char* format, va_list args)
{
    unsigned char* next = out;
    for (; *format != '\0'; ++format) {
        // What frames are made of comes first, before the switch's jump.
        if (*format == 'n') {
            qToBigEndian<quint16>(low16(va_arg(args, int)), next);
            next += 2;
            continue;
        }
        if (*format == 'C') {
            *next = static_cast<unsigned char>(va_arg(args, int));
            next += 1;
            continue;
        }
        switch (*format) {
        case 'c':
            *next = static_cast<unsigned char>(va_arg(args, int));
            next += 1;
            break;
        case 'S':
        case 's':
        case 'v':
            qToLittleEndian<quint16>(low16(va_arg(args, int)), next);
            next += 2;
            break;
        case 'N':
            qToBigEndian<qint32>(va_arg(args, int), next);
            next += 4;
            break;
        case 'I':
        case 'i':
        case 'L':
        case 'l':
        case 'V':
            qToLittleEndian<qint32>(va_arg(args, int), next);
            next += 4;
            break;
        case 'x':
            *next = 0;
            next += 1;
            break;
        case 'X':
            next += 1;
            break;
        default:
            if (!isDigit(*format))
                return 0;
            const ArrayItem item = takeArrayItem(format);
            const int length = lengthInFrame(item);
            if (length < 0)
                return -1;
            if (isFiller(item))
                packFiller(next, item.letter, length);
            else
                packArray(next, item.letter, va_arg(args, unsigned char*), length);
            next += length;
        }
    }
    return static_cast<int>(next - out);
}

int VDataUnpack(const unsigned char* in, const char* format, va_list args)
{
    const unsigned char* next = in;
    for (; *format != '\0'; ++format) {
        if (*format == 'n') {
            store(qFromBigEndian<quint16>(next), va_arg(args, unsigned char*));
            next += 2;
            continue;
        }
        switch (*format) {
        case 'C':
        case 'c':
            *va_arg(args, unsigned char*) = *next;
            next += 1;
            break;
        case 'S':
        case 's':
        case 'v':
            store(qFromLittleEndian<quint16>(next), va_arg(args, unsigned char*));
            next += 2;
            break;
        case 'N':
            store(qFromBigEndian<quint32>(next), va_arg(args, unsigned char*));
            next += 4;
            break;
        case 'I':
        case 'i':
        case 'L':
        case 'l':
        case 'V':
            store(qFromLittleEndian<quint32>(next), va_arg(args, unsigned char*));
            next += 4;
            break;
        case 'x':
        case 'X':
            next += 1;
            break;
        default:
            if (!isDigit(*format))
                return -1;
            const ArrayItem item = takeArrayItem(format);
            const int length = lengthInFrame(item);
            if (length < 0)
                return -1;
            if (!isFiller(item))
                unpackArray(next, item.letter, va_arg(args, unsigned char*), length);
            next += length;
        }
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
    const char bigEndian[] = {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
    bytes.append(bigEndian, sizeof bigEndian);
}
