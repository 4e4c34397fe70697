#ifndef TOOLS_BYTE_ACCESS_H
#define TOOLS_BYTE_ACCESS_H

// Internal to the toolkit; not part of its interface.

#include <QByteArray>
#include <cstring>

/// The bytes of an array as unsigned numbers; the first form detaches the array.
inline unsigned char* bytesOf(QByteArray& array)
{
    return reinterpret_cast<unsigned char*>(array.data());
}

inline const unsigned char* bytesOf(const QByteArray& array)
{
    return reinterpret_cast<const unsigned char*>(array.constData());
}

/// Cuts or extends an array to size; new bytes are zero (QByteArray::resize leaves them undefined).
inline void resizeZeroFilled(QByteArray& array, int size)
{
    const int before = array.size();
    if (size == before)
        return;
    array.resize(size);
    if (size > before)
        std::memset(array.data() + before, 0, static_cast<size_t>(size - before));
}

#endif
