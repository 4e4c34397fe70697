#ifndef HEX_BYTES_H
#define HEX_BYTES_H

#include <QByteArray>

/// Bytes from hexadecimal text; blanks are allowed.
inline QByteArray hex(const QByteArray& text)
{
    return QByteArray::fromHex(text);
}

inline const unsigned char* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

/// The 16 bits at offset, the most significant byte first, as Modbus has them.
inline int big16(const QByteArray& bytes, int offset)
{
    return bytesOf(bytes)[offset] << 8 | bytesOf(bytes)[offset + 1];
}

/// Bytes that differ with each call but are the same in every run of the test.
inline QByteArray someBytes(int size)
{
    QByteArray bytes;
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>((qrand() >> 3) & 0xFF);
    return bytes;
}

#endif
