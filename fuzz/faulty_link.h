#ifndef FUZZ_FAULTY_LINK_H
#define FUZZ_FAULTY_LINK_H

#include "check.h"
#include "input.h"
#include "modbus_tcp_slave.h"
#include "scripted_link.h"

#include <map>
#include <vector>

inline QByteArray big16(int value)
{
    const char bytes[] = {static_cast<char>(value >> 8), static_cast<char>(value)};
    return QByteArray(bytes, 2);
}

/// One request and what the driver was given to read after it.
struct Transaction
{
    int functionCode() const { return request.at(7); }
    int address() const { return big16(request, 8); }
    int quantity() const { return big16(request, 10); }
    QByteArray echoedFields() const { return request.mid(7, 5); }

    QByteArray request;
    QByteArray delivered;
};

/// A link in memory whose device does what the input says: good replies, replies with a fault, rubbish,
/// silence, several replies at once, in pieces that the input chooses. Checks every request of the driver.
class FaultyLink : public ScriptedLink
{
public:
    FaultyLink(Input& from, DriverModbusTcpSlave& caller)
        : m_input(from), m_driver(caller), m_firstTransaction(caller.getTID()), m_transaction(caller.getTID())
    {
    }

    /// Forgets the previous command.
    void beginCommand()
    {
        attempts = 0;
        transactions.clear();
    }

    /// Overwrites the whole buffer, as it is allowed to, before it fills in what has arrived.
    int readData(char* buffer, int maxLength) override
    {
        CHECK(maxLength >= 0 && !transactions.empty());
        std::fill(buffer, buffer + maxLength, '\xA5');
        if (m_piece == 2 || m_piece == 3)
            return m_piece == 2 ? 0 : -1 - m_input.number16();
        const int length =
            std::min(maxLength, int(m_incoming.size())) - (m_piece == 1 && !m_incoming.isEmpty() ? 1 : 0);
        const QByteArray taken = m_incoming.left(length);
        std::copy(taken.begin(), taken.end(), buffer);
        m_incoming.remove(0, length);
        transactions.back().delivered += taken;
        return length;
    }

    /// The lowest bits of a byte of the input choose the answer, two more choose how it is delivered.
    int writeData(const char* data, int length) override
    {
        const QByteArray frame(data, length);
        checkRequest(frame);
        transactions.push_back({frame, QByteArray()});
        const int mode = m_input.byte();
        m_piece = mode >> 4 & 3;
        if (mode % 16 == 15)
            return m_input.number16() - 32768;
        m_incoming += mode % 16 == 14 ? QByteArray() : mode % 16 == 13 ? rawBytes() : reply(frame);
        if (mode % 16 == 12)
            m_incoming += m_incoming;
        return length;
    }

    bool open() override
    {
        up = m_input.byte() % 8 != 7;
        return up;
    }

    /// Called at the start of each attempt; only the requests of the latest attempt count.
    bool isConnected() override
    {
        ++attempts;
        transactions.clear();
        return up;
    }

    int attempts = 0;
    std::vector<Transaction> transactions; ///< of the latest attempt

private:
    void checkRequest(const QByteArray& frame)
    {
        static const std::map<int, int> mostOf = {{1, 2008},  {2, 2008},  {3, 125},   {4, 125},
                                                  {5, 65280}, {6, 65535}, {15, 1976}, {16, 123}};
        CHECK(frame.size() >= 12);
        m_transaction = (m_transaction + 1) & 0xFFFF;
        CHECK(big16(frame, 0) == m_transaction && m_driver.getTID() == m_transaction);
        CHECK(big16(frame, 2) == 0 && big16(frame, 4) == frame.size() - 6);
        CHECK(frame.at(6) == static_cast<char>(station));

        const int function = static_cast<std::uint8_t>(frame.at(7));
        const int quantity = big16(frame, 10);
        CHECK(mostOf.count(function) == 1 && quantity <= mostOf.at(function));
        CHECK(function != 5 || quantity == 0 || quantity == 0xFF00);
        CHECK(function == 5 || function == 6 || big16(frame, 8) + quantity <= 65536);
        const int bytes = function < 15 ? -1 : static_cast<std::uint8_t>(frame.at(12));
        CHECK(frame.size() == 13 + bytes && (function != 16 || bytes == 2 * quantity));
    }

    QByteArray goodReply(const QByteArray& frame)
    {
        const Transaction request = {frame, QByteArray()};
        QByteArray pdu = request.echoedFields();
        if (request.functionCode() <= 4) {
            const int bytes =
                request.functionCode() <= 2 ? (request.quantity() + 7) / 8 : 2 * request.quantity();
            pdu = frame.mid(7, 1) + char(bytes);
            const int seed = m_input.byte();
            for (int i = 0; i < bytes; ++i)
                pdu += char(seed * (i + 1));
        }
        return frame.left(4) + big16(pdu.size() + 1) + frame.mid(6, 1) + pdu;
    }

    /// A good reply, or one with a fault.
    QByteArray reply(const QByteArray& frame)
    {
        QByteArray bytes = goodReply(frame);
        switch (m_piece == 0 ? m_input.byte() % 8 : 0) {
        case 1: // a changed byte somewhere
            bytes[m_input.byte() % bytes.size()] = char(m_input.byte());
            break;
        case 2: // cut
            bytes.truncate(m_input.byte());
            break;
        case 3: // more than was asked for
            bytes += m_input.bytes(m_input.byte());
            break;
        case 4: // an exception reply
            bytes =
                frame.left(4) + big16(3) + frame.mid(6, 1) + char(frame.at(7) | 0x80) + char(m_input.byte());
            break;
        case 5: // something else with the length of an exception reply
            bytes.replace(4, 2, big16(3));
            break;
        }
        return bytes;
    }

    /// Arbitrary bytes of the input. Transaction identifiers count from the first one of this input, so that
    /// an input means the same whatever was tried before.
    QByteArray rawBytes()
    {
        QByteArray bytes = m_input.bytes(m_input.byte());
        if (bytes.size() >= 2)
            bytes.replace(0, 2, big16((big16(bytes, 0) + m_firstTransaction) & 0xFFFF));
        return bytes;
    }

    Input& m_input;
    DriverModbusTcpSlave& m_driver;
    const int m_firstTransaction;
    int m_transaction;
    int m_piece = 0; ///< what readData does with the bytes that are there
};

#endif
