#include "pack.h"

#include "byte_access.h"
#include <QtEndian>
#include <climits>
#include <cstring>

namespace {

// A va_list is an array on some machines and a plain value on others; inside a record it is passed on alike.
struct Arguments
{
    va_list list;

    int number() { return va_arg(list, int); }
    unsigned char* pointer() { return static_cast<unsigned char*>(va_arg(list, void*)); }
};

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

bool isArrayLetter(char letter)
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

// Bytes packed, -1 on an error.
int packArray(unsigned char* out, const ArrayItem& item, Arguments& arguments)
{
    if (isFiller(item)) {
        if (item.count > INT_MAX)
            return -1;
        if (item.letter == 'x' && item.count > 0)
            std::memset(out, 0, item.count);
        return static_cast<int>(item.count);
    }
    const int length = arrayLength(item);
    if (length < 1)
        return -1;
    if (item.letter == 'n')
        packBigEndian<quint16>(out, arguments.pointer(), length);
    else if (item.letter == 'N')
        packBigEndian<quint32>(out, arguments.pointer(), length);
    else
        std::memcpy(out, arguments.pointer(), static_cast<size_t>(length));
    return length;
}

// Bytes consumed, -1 on an error.
int unpackArray(const unsigned char* in, const ArrayItem& item, Arguments& arguments)
{
    if (isFiller(item))
        return item.count > INT_MAX ? -1 : static_cast<int>(item.count);
    const int length = arrayLength(item);
    if (length < 1)
        return -1;
    if (item.letter == 'n')
        unpackBigEndian<quint16>(in, arguments.pointer(), length);
    else if (item.letter == 'N')
        unpackBigEndian<quint32>(in, arguments.pointer(), length);
    else
        std::memcpy(arguments.pointer(), in, static_cast<size_t>(length));
    return length;
}

inline quint16 low16(int number)
{
    return static_cast<quint16>(number & 0xFFFF);
}

int pack(unsigned char* out, const char* format, Arguments& arguments)
{
    unsigned char* next = out;
    for (; *format != '\0'; ++format) {
        if (*format == 'n') {
            qToBigEndian<quint16>(low16(arguments.number()), next);
            next += 2;
            continue;
        }
        switch (*format) {
        case 'C':
        case 'c':
            *next = static_cast<unsigned char>(arguments.number());
            next += 1;
            break;
        case 'S':
        case 's':
        case 'v':
            qToLittleEndian<quint16>(low16(arguments.number()), next);
            next += 2;
            break;
        case 'N':
            qToBigEndian<qint32>(arguments.number(), next);
            next += 4;
            break;
        case 'I':
        case 'i':
        case 'L':
        case 'l':
        case 'V':
            qToLittleEndian<qint32>(arguments.number(), next);
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
            const int written = packArray(next, takeArrayItem(format), arguments);
            if (written < 0)
                return -1;
            next += written;
        }
    }
    return static_cast<int>(next - out);
}

template<typename Number>
inline void store(Arguments& arguments, Number value)
{
    std::memcpy(arguments.pointer(), &value, sizeof value);
}

int unpack(const unsigned char* in, const char* format, Arguments& arguments)
{
    const unsigned char* next = in;
    for (; *format != '\0'; ++format) {
        if (*format == 'n') {
            store(arguments, qFromBigEndian<quint16>(next));
            next += 2;
            continue;
        }
        switch (*format) {
        case 'C':
        case 'c':
            *arguments.pointer() = *next;
            next += 1;
            break;
        case 'S':
        case 's':
        case 'v':
            store(arguments, qFromLittleEndian<quint16>(next));
            next += 2;
            break;
        case 'N':
            store(arguments, qFromBigEndian<quint32>(next));
            next += 4;
            break;
        case 'I':
        case 'i':
        case 'L':
        case 'l':
        case 'V':
            store(arguments, qFromLittleEndian<quint32>(next));
            next += 4;
            break;
        case 'x':
        case 'X':
            next += 1;
            break;
        default:
            const int consumed = isDigit(*format) ? unpackArray(next, takeArrayItem(format), arguments) : -1;
            if (consumed < 0)
                return -1;
            next += consumed;
        }
    }
    return static_cast<int>(next - in);
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

// The size is worked out first, so that the array is allocated once.
QByteArray packNew(const char* format, Arguments& arguments)
{
    QByteArray bytes(packedLength(format), '\0');
    if (!bytes.isEmpty())
        pack(bytesOf(bytes), format, arguments);
    return bytes;
}

} // namespace

int VDataPack(unsigned char* out, const char* format, va_list args)
{
    Arguments arguments;
    va_copy(arguments.list, args);
    const int written = pack(out, format, arguments);
    va_end(arguments.list);
    return written;
}

int DataPack(unsigned char* out, const char* format, ...)
{
    Arguments arguments;
    va_start(arguments.list, format);
    const int written = pack(out, format, arguments);
    va_end(arguments.list);
    return written;
}

QByteArray VByteArrayPack(const char* format, va_list args)
{
    Arguments arguments;
    va_copy(arguments.list, args);
    QByteArray bytes = packNew(format, arguments);
    va_end(arguments.list);
    return bytes;
}

QByteArray ByteArrayPack(const char* format, ...)
{
    Arguments arguments;
    va_start(arguments.list, format);
    QByteArray bytes = packNew(format, arguments);
    va_end(arguments.list);
    return bytes;
}

int VDataUnpack(const unsigned char* in, const char* format, va_list args)
{
    Arguments arguments;
    va_copy(arguments.list, args);
    const int consumed = unpack(in, format, arguments);
    va_end(arguments.list);
    return consumed;
}

int DataUnpack(const unsigned char* in, const char* format, ...)
{
    Arguments arguments;
    va_start(arguments.list, format);
    const int consumed = unpack(in, format, arguments);
    va_end(arguments.list);
    return consumed;
}

void appendBigEndianUShort(QByteArray& bytes, unsigned short value)
{
    const char bigEndian[] = {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
    bytes.append(bigEndian, sizeof bigEndian);
}
