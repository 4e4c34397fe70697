#include "pack.h"

#include "byte_access.h"
#include <QtEndian>
#include <climits>
#include <cstring>

namespace {

// A va_list is an array on some machines and a plain value on others; inside a class it is passed on alike.
class Arguments
{
public:
    explicit Arguments(va_list from) { va_copy(list, from); }
    ~Arguments() { va_end(list); }
    int number() { return va_arg(list, int); }
    unsigned char* pointer() { return static_cast<unsigned char*>(va_arg(list, void*)); }

private:
    Q_DISABLE_COPY(Arguments)
    va_list list;
};

struct Item
{
    char letter; // zero when a count is not followed by one
    bool counted;
    unsigned int count;
};

inline Item takeItem(const char*& format)
{
    Item item = {'\0', false, 0};
    for (; *format >= '0' && *format <= '9'; ++format) {
        item.counted = true;
        item.count = item.count * 10 + static_cast<unsigned int>(*format - '0');
    }
    item.letter = *format;
    if (item.letter != '\0')
        ++format;
    return item;
}

inline bool isFiller(const Item& item)
{
    return item.letter == 'x' || item.letter == 'X';
}

// Bytes of the field of a letter without a count, 0 for an unknown letter.
inline int fieldWidth(char letter)
{
    switch (letter) {
    case 'C':
    case 'c':
    case 'x':
    case 'X':
        return 1;
    case 'n':
    case 'S':
    case 's':
    case 'v':
        return 2;
    case 'N':
    case 'I':
    case 'i':
    case 'L':
    case 'l':
    case 'V':
        return 4;
    default:
        return 0;
    }
}

// Bytes that an item with a count moves, 0 when that is an error.
int arrayLength(const Item& item)
{
    static const char letters[] = "CcnvNV";
    if (item.letter == '\0' || std::strchr(letters, item.letter) == nullptr)
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
int packArray(unsigned char* out, const Item& item, Arguments& arguments)
{
    if (isFiller(item)) {
        if (item.count > INT_MAX)
            return -1;
        if (item.letter == 'x')
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

// Bytes packed, 0 for an unknown letter.
inline int packField(unsigned char* out, char letter, Arguments& arguments)
{
    const int width = fieldWidth(letter);
    if (letter == 'x')
        *out = 0;
    else if (letter == 'n')
        qToBigEndian<quint16>(static_cast<quint16>(arguments.number()), out);
    else if (letter == 'N')
        qToBigEndian<quint32>(static_cast<quint32>(arguments.number()), out);
    else if (width == 2)
        qToLittleEndian<quint16>(static_cast<quint16>(arguments.number()), out);
    else if (width == 4)
        qToLittleEndian<quint32>(static_cast<quint32>(arguments.number()), out);
    else if (width == 1 && letter != 'X')
        *out = static_cast<unsigned char>(arguments.number());
    return width;
}

// Bytes consumed, -1 on an error.
int unpackArray(const unsigned char* in, const Item& item, Arguments& arguments)
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

inline void store16(Arguments& arguments, quint16 value)
{
    std::memcpy(arguments.pointer(), &value, sizeof value);
}

inline void store32(Arguments& arguments, quint32 value)
{
    std::memcpy(arguments.pointer(), &value, sizeof value);
}

// Bytes consumed, -1 for an unknown letter.
inline int unpackField(const unsigned char* in, const Item& item, Arguments& arguments)
{
    const int width = fieldWidth(item.letter);
    if (width == 0)
        return -1;
    if (isFiller(item))
        return width;
    if (item.letter == 'n')
        store16(arguments, qFromBigEndian<quint16>(in));
    else if (item.letter == 'N')
        store32(arguments, qFromBigEndian<quint32>(in));
    else if (width == 2)
        store16(arguments, qFromLittleEndian<quint16>(in));
    else if (width == 4)
        store32(arguments, qFromLittleEndian<quint32>(in));
    else
        *arguments.pointer() = *in;
    return width;
}

// Bytes that an array packed with the format has, 0 on an error.
int packedLength(const char* format)
{
    qint64 length = 0;
    while (*format != '\0') {
        const Item item = takeItem(format);
        const int moved = item.counted ? arrayLength(item) : fieldWidth(item.letter);
        length += moved;
        if (moved < 1 || length > INT_MAX)
            return 0;
    }
    return static_cast<int>(length);
}

} // namespace

int VDataPack(unsigned char* out, const char* format, va_list args)
{
    Arguments arguments(args);
    unsigned char* next = out;
    while (*format != '\0') {
        const Item item = takeItem(format);
        const int written =
            item.counted ? packArray(next, item, arguments) : packField(next, item.letter, arguments);
        if (written < 0)
            return -1;
        if (written == 0 && !item.counted)
            return 0;
        next += written;
    }
    return static_cast<int>(next - out);
}

int DataPack(unsigned char* out, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int written = VDataPack(out, format, args);
    va_end(args);
    return written;
}

QByteArray VByteArrayPack(const char* format, va_list args)
{
    const int length = packedLength(format);
    if (length == 0)
        return QByteArray();
    QByteArray bytes(length, '\0');
    VDataPack(bytesOf(bytes), format, args);
    return bytes;
}

QByteArray ByteArrayPack(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const QByteArray bytes = VByteArrayPack(format, args);
    va_end(args);
    return bytes;
}

int VDataUnpack(const unsigned char* in, const char* format, va_list args)
{
    Arguments arguments(args);
    const unsigned char* next = in;
    while (*format != '\0') {
        const Item item = takeItem(format);
        const int consumed =
            item.counted ? unpackArray(next, item, arguments) : unpackField(next, item, arguments);
        if (consumed < 0)
            return -1;
        next += consumed;
    }
    return static_cast<int>(next - in);
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
