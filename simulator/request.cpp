#include "request.h"

namespace slavesim {

namespace {

struct Function
{
    std::uint8_t code;
    Area area;
    bool writes;
    std::uint32_t mostCells; ///< by the Modbus standard; 1 where the request has no quantity
};

constexpr std::uint8_t ReadWriteRegisters = 23;
constexpr std::uint32_t MostWrittenByReadWrite = 121;

constexpr Function Functions[] = {
    {1, Area::Coils, false, 2000},
    {2, Area::DiscreteInputs, false, 2000},
    {3, Area::HoldingRegisters, false, 125},
    {4, Area::InputRegisters, false, 125},
    {5, Area::Coils, true, 1},
    {6, Area::HoldingRegisters, true, 1},
    {15, Area::Coils, true, 1968},
    {16, Area::HoldingRegisters, true, 123},
    {22, Area::HoldingRegisters, true, 1},
    {ReadWriteRegisters, Area::HoldingRegisters, true, 125},
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

} // namespace

Request::Request(const std::uint8_t* frameBytes, int frameLength) : frame(frameBytes), length(frameLength)
{
}

std::uint32_t Request::word(int offset) const
{
    return static_cast<std::uint32_t>(frame[offset] << 8 | frame[offset + 1]);
}

bool Request::isKnown() const
{
    return functionOf(function()) != nullptr;
}

bool Request::writes() const
{
    const Function* known = functionOf(function());
    return known && known->writes;
}

bool Request::isWellFormed() const
{
    const int whole = UnitOffset + static_cast<int>(word(4));
    const bool lengthIsRight = isKnown() ? whole == length : whole >= length && whole <= LongestFrame;
    return word(2) == 0 && lengthIsRight;
}

int Request::missing() const
{
    return UnitOffset + static_cast<int>(word(4)) - length;
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

bool Request::quantitiesAreLegal() const
{
    const bool secondIsLegal =
        function() != ReadWriteRegisters || isLegal(secondCells().count, MostWrittenByReadWrite);
    return secondIsLegal && isLegal(cells().count, functionOf(function())->mostCells);
}

} // namespace slavesim
