#include "request.h"

namespace slavesim {

namespace {

struct Function
{
    std::uint8_t code;
    Area area;
    std::size_t length; ///< of the frame, up to and including the byte count if there is one
    bool hasByteCount;  ///< the values to write follow it
    bool reads;
    std::uint32_t mostCells; ///< from the Modbus standard; 1 if the request has no quantity
};

constexpr std::uint8_t WriteSingleCoil = 5;
constexpr std::uint8_t ReadWriteRegisters = 23;
constexpr std::uint32_t MostWrittenByReadWrite = 121;

constexpr Function Functions[] = {
    {1, Area::Coils, 12, false, true, 2000},
    {2, Area::DiscreteInputs, 12, false, true, 2000},
    {3, Area::HoldingRegisters, 12, false, true, 125},
    {4, Area::InputRegisters, 12, false, true, 125},
    {WriteSingleCoil, Area::Coils, 12, false, false, 1},
    {6, Area::HoldingRegisters, 12, false, false, 1},
    {15, Area::Coils, 13, true, false, 1968},
    {16, Area::HoldingRegisters, 13, true, false, 123},
    {22, Area::HoldingRegisters, 14, false, false, 1},
    {ReadWriteRegisters, Area::HoldingRegisters, 17, true, true, 125},
};

const Function* functionOf(std::uint8_t code)
{
    for (const Function& function : Functions) {
        if (function.code == code)
            return &function;
    }
    return nullptr;
}

bool isLegal(std::uint32_t quantity, std::uint32_t most)
{
    return quantity >= 1 && quantity <= most;
}

std::uint32_t wordAt(const std::uint8_t* frame, std::size_t offset)
{
    return static_cast<std::uint32_t>(frame[offset] << 8 | frame[offset + 1]);
}

/// Whether a frame of a known function may have the length that its header says, judging by the bytes so far.
bool fits(const Function& function, const Bytes& bytes, std::size_t length)
{
    if (!function.hasByteCount || length < function.length)
        return length == function.length;
    return bytes.size() < function.length || length == function.length + bytes[function.length - 1];
}

} // namespace

std::size_t requestLength(const Bytes& bytes)
{
    if (bytes.size() < UnitOffset)
        return LongestFrame;
    const std::size_t length = UnitOffset + wordAt(bytes.data(), 4);
    if (wordAt(bytes.data(), 2) != 0 || length <= FunctionOffset || length > LongestFrame)
        return 0;
    const Function* function = bytes.size() > FunctionOffset ? functionOf(bytes[FunctionOffset]) : nullptr;
    return !function || fits(*function, bytes, length) ? length : 0;
}

std::uint32_t Request::word(std::size_t offset) const
{
    return wordAt(m_frame, offset);
}

bool Request::isKnown() const
{
    return functionOf(function()) != nullptr;
}

bool Request::reads() const
{
    return isKnown() && functionOf(function())->reads;
}

bool Request::writes() const
{
    return isKnown() && (!reads() || function() == ReadWriteRegisters);
}

Cells Request::cells() const
{
    const Function& known = *functionOf(function());
    return {known.area, word(8), known.mostCells == 1 ? 1 : word(10)};
}

Cells Request::secondCells() const
{
    if (function() != ReadWriteRegisters)
        return cells();
    return {Area::HoldingRegisters, word(12), word(14)};
}

Bytes Request::values() const
{
    constexpr std::size_t SingleValueOffset = 10;
    const Function& known = *functionOf(function());
    if (function() == WriteSingleCoil)
        return {static_cast<std::uint8_t>(word(SingleValueOffset) == 0xFF00)};
    const std::size_t offset = known.hasByteCount ? known.length : SingleValueOffset;
    return Bytes(m_frame + offset, m_frame + m_length);
}

bool Request::quantitiesAreLegal() const
{
    const bool secondIsLegal =
        function() != ReadWriteRegisters || isLegal(secondCells().count, MostWrittenByReadWrite);
    return secondIsLegal && isLegal(cells().count, functionOf(function())->mostCells);
}

} // namespace slavesim
