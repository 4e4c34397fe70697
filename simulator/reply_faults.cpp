#include "reply_faults.h"

#include <random>

namespace slavesim {

static constexpr std::size_t TransactionOffset = 0;
static constexpr std::size_t ProtocolOffset = 2;
static constexpr std::size_t LengthOffset = 4;
static constexpr std::uint32_t MostRubbish = 16;

/// Adds to the 16-bit field at offset, high byte first, modulo 65536.
static void addToWord(Bytes& reply, std::size_t offset, int amount)
{
    const int sum = (reply[offset] << 8 | reply[offset + 1]) + amount;
    reply[offset] = static_cast<std::uint8_t>(sum >> 8 & 0xFF);
    reply[offset + 1] = static_cast<std::uint8_t>(sum & 0xFF);
}

static Bytes rubbish(std::uint32_t seed)
{
    std::mt19937 random(seed);
    Bytes bytes(1 + random() % MostRubbish);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random() & 0xFF);
    return bytes;
}

static Bytes joined(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The exception reply with code 6 to the request that reply belongs to.
static Bytes deviceBusy(Bytes reply)
{
    reply.resize(FunctionOffset + 1);
    reply[LengthOffset] = 0;
    reply[LengthOffset + 1] = 3;
    reply[FunctionOffset] |= 0x80;
    reply.push_back(6);
    return reply;
}

Bytes spoiltReply(Bytes reply, const Fault& fault)
{
    switch (fault.kind) {
    case FaultKind::Drop:
        return {};
    case FaultKind::Truncate:
    case FaultKind::Reset:
        reply.resize(reply.size() / 2);
        break;
    case FaultKind::Tid:
        addToWord(reply, TransactionOffset, -1);
        break;
    case FaultKind::Protocol:
        addToWord(reply, ProtocolOffset, 1);
        break;
    case FaultKind::Length:
        addToWord(reply, LengthOffset, 1);
        break;
    case FaultKind::Unit:
        ++reply[UnitOffset];
        break;
    case FaultKind::Function:
        ++reply[FunctionOffset];
        break;
    case FaultKind::Rubbish:
        return joined(rubbish(fault.random), reply);
    case FaultKind::Double:
        return joined(reply, reply);
    case FaultKind::Both:
        return joined(deviceBusy(reply), reply);
    case FaultKind::Late:
    case FaultKind::Close:
    case FaultKind::Drip:
    case FaultKind::Silent:
    case FaultKind::Exception:
    case FaultKind::Refuse:
        break;
    }
    return reply;
}

} // namespace slavesim
