#include "byte_order.h"

#include "byte_access.h"
#include <QtEndian>
#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// Eight bytes with the bytes of each element reversed, by plain arithmetic that every processor has.
template<typename Element>
inline quint64 swappedInside(quint64 eightBytes);

template<typename Element>
inline Element swappedInside(Element element)
{
    return qbswap<Element>(element);
}

template<>
inline quint64 swappedInside<quint16>(quint64 eightBytes)
{
    const quint64 everySecond = Q_UINT64_C(0x00FF00FF00FF00FF);
    return (eightBytes >> 8 & everySecond) | (eightBytes & everySecond) << 8;
}

template<>
inline quint64 swappedInside<quint32>(quint64 eightBytes)
{
    const quint64 reversed = qbswap<quint64>(eightBytes);
    return reversed >> 32 | reversed << 32;
}

// Swaps the bytes of the elements in one piece of memory, copied as a Block.
template<typename Element, typename Block>
inline void swapBlock(const unsigned char* in, unsigned char* out)
{
    Block block;
    std::memcpy(&block, in, sizeof block);
    block = swappedInside<Element>(block);
    std::memcpy(out, &block, sizeof block);
}

// in and out are the same, or do not overlap.
template<typename Element>
void swapElements(const unsigned char* in, unsigned char* out, int count)
{
    size_t left = static_cast<size_t>(count) * sizeof(Element);
    for (; left >= 8; left -= 8, in += 8, out += 8)
        swapBlock<Element, quint64>(in, out);
    for (; left > 0; left -= sizeof(Element), in += sizeof(Element), out += sizeof(Element))
        swapBlock<Element, Element>(in, out);
}

template<typename Element>
QByteArray swappedElements(const unsigned char* data, int count)
{
    const int width = static_cast<int>(sizeof(Element));
    if (count <= 0 || count > INT_MAX / width)
        return QByteArray();
    QByteArray result(count * width, Qt::Uninitialized);
    swapElements<Element>(data, bytesOf(result), count);
    return result;
}

template<typename Element>
QByteArray swappedAndCompleted(const QByteArray& data)
{
    const int width = static_cast<int>(sizeof(Element));
    const int whole = data.size() / width;
    const int rest = data.size() % width;
    QByteArray result((rest == 0 ? whole : whole + 1) * width, Qt::Uninitialized);
    swapElements<Element>(bytesOf(data), bytesOf(result), whole);
    if (rest != 0) {
        unsigned char last[sizeof(Element)] = {0};
        std::memcpy(last, bytesOf(data) + whole * width, static_cast<size_t>(rest));
        swapElements<Element>(last, bytesOf(result) + whole * width, 1);
    }
    return result;
}

template<typename Element>
void swapInPlace(QByteArray& data)
{
    unsigned char* const bytes = bytesOf(data);
    swapElements<Element>(bytes, bytes, data.size() / static_cast<int>(sizeof(Element)));
}

template<typename Number>
Number fromLittleEndian(const QByteArray& bytes)
{
    unsigned char first[sizeof(Number)] = {0};
    std::memcpy(first, bytes.constData(), qMin(sizeof first, static_cast<size_t>(bytes.size())));
    return qFromLittleEndian<Number>(first);
}

template<typename Number>
QByteArray toLittleEndian(Number value)
{
    unsigned char bytes[sizeof(Number)];
    qToLittleEndian<Number>(value, bytes);
    return QByteArray(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

} // namespace

bool isBigEndian()
{
    return Q_BYTE_ORDER == Q_BIG_ENDIAN;
}

QByteArray fromBigEndianUShortArray(const unsigned char* data, int count)
{
    return swappedElements<quint16>(data, count);
}

QByteArray fromBigEndianULongArray(const unsigned char* data, int count)
{
    return swappedElements<quint32>(data, count);
}

QByteArray toBigEndianUShortArray(const QByteArray& data)
{
    return swappedAndCompleted<quint16>(data);
}

QByteArray toBigEndianULongArray(const QByteArray& data)
{
    return swappedAndCompleted<quint32>(data);
}

void toLittleEndianUShortArray(QByteArray& data)
{
    swapInPlace<quint16>(data);
}

void toLittleEndianULongArray(QByteArray& data)
{
    swapInPlace<quint32>(data);
}

QByteArray reverseArray(const QByteArray& data)
{
    QByteArray result;
    result.resize(data.size());
    std::reverse_copy(data.constBegin(), data.constEnd(), result.begin());
    return result;
}

int QByteArrayToInt(const QByteArray& bytes)
{
    return fromLittleEndian<qint32>(bytes);
}

unsigned short QByteArrayToWord(const QByteArray& bytes)
{
    return fromLittleEndian<quint16>(bytes);
}

short QByteArrayToShort(const QByteArray& bytes)
{
    return fromLittleEndian<qint16>(bytes);
}

QByteArray intToByteArray(int value)
{
    return toLittleEndian<qint32>(value);
}

QByteArray wordToByteArray(unsigned short value)
{
    return toLittleEndian<quint16>(value);
}

QByteArray shortToByteArray(short value)
{
    return toLittleEndian<qint16>(value);
}
