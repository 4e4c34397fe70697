#ifndef MEMORY_LINK_H
#define MEMORY_LINK_H

#include "scripted_link.h"

#include <array>

/// A link to a device in memory that answers every request at once: reads with bytes of 0x5A, writes with
/// their echo. What a command costs over it is the driver's own part.
class MemoryLink : public ScriptedLink
{
public:
    MemoryLink() { m_reply.fill(0x5A); }

    int readData(char* buffer, int maxLength) override
    {
        std::memcpy(buffer, m_reply.data() + m_taken, static_cast<std::size_t>(maxLength));
        m_taken += maxLength;
        return maxLength;
    }

    int writeData(const char* data, int length) override
    {
        const unsigned char functionCode = byteAt(data, 7);
        const int quantity = byteAt(data, 10) << 8 | byteAt(data, 11);
        const bool isRead = functionCode <= 4;
        const int dataLength = functionCode <= 2 ? (quantity + 7) / 8 : 2 * quantity;
        const int payload = isRead ? 2 + dataLength : 5; // from the function code on
        std::memcpy(m_reply.data(), data, isRead ? 8 : 12);
        if (isRead)
            m_reply[8] = static_cast<unsigned char>(dataLength);
        m_reply[4] = 0;
        m_reply[5] = static_cast<unsigned char>(payload + 1);
        m_replyLength = 6 + m_reply[5];
        m_taken = 0;
        return length;
    }

    /// Bytes of the reply to the last request.
    int replyLength() const { return m_replyLength; }

private:
    static unsigned char byteAt(const char* data, int offset)
    {
        return static_cast<unsigned char>(data[offset]);
    }

    std::array<unsigned char, 261> m_reply{};
    int m_taken = 0;
    int m_replyLength = 0;
};

#endif
