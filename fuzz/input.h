#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <QByteArray>

#include <algorithm>
#include <cstdint>

/// The fuzzer's bytes, taken from the front. When they are used up, numbers are 0 and arrays empty, so every
/// input has a meaning and short ones stay short.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size)
        : m_left(reinterpret_cast<const char*>(data)), m_length(static_cast<int>(size))
    {
    }

    bool isEmpty() const { return m_length == 0; }

    /// At most count bytes.
    QByteArray bytes(int count)
    {
        const int taken = std::min(count, m_length);
        QByteArray result(m_left, taken);
        m_left += taken;
        m_length -= taken;
        return result;
    }

    QByteArray rest() { return bytes(m_length); }

    int byte() { return static_cast<int>(number(1)); }
    int number16() { return static_cast<int>(number(2)); }
    int number32() { return static_cast<int>(number(4)); }

private:
    std::uint32_t number(int width)
    {
        std::uint32_t value = 0;
        for (const char byte : bytes(width))
            value = value << 8 | static_cast<std::uint8_t>(byte);
        return value;
    }

    const char* m_left;
    int m_length;
};

#endif
