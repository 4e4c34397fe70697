#ifndef HEX_BYTES_H
#define HEX_BYTES_H

#include <QByteArray>

/// Bytes written as hexadecimal text with blanks where they help the reader.
inline QByteArray hex(const QByteArray& text)
{
    return QByteArray::fromHex(text);
}

inline const unsigned char* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

/// Bytes that differ from run to run of the loop around it, but not from run to run of the test.
inline QByteArray someBytes(int size)
{
    QByteArray bytes;
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>((qrand() >> 3) & 0xFF);
    return bytes;
}

#endif
