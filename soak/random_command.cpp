#include "random_command.h"

#include <algorithm>
#include <array>

namespace {

constexpr int Cells = 65536;
constexpr int OneByOne = 8;     ///< most elements where each takes a request of its own
constexpr int SparseBytes = 12; ///< most bytes of a byte read over tags

/// What can be read or written, and how much of it at once.
struct Choice
{
    const char* prefix;
    Area area;
    bool isWrite;
    CommandDataType type;
    int largestCount;
};

const std::array<Choice, 42> choices = {{
    {"DI", Area::DiscreteInputs, false, Bit, 2000},
    {"DI", Area::DiscreteInputs, false, BitBlock, 2000},
    {"DI", Area::DiscreteInputs, false, Byte, SparseBytes},
    {"DI", Area::DiscreteInputs, false, Block, SparseBytes},
    {"DO", Area::Coils, false, Bit, 2000},
    {"DO", Area::Coils, false, BitBlock, 2000},
    {"DO", Area::Coils, false, Byte, SparseBytes},
    {"FN5DO", Area::Coils, false, Bit, 2000},
    {"FN5DO", Area::Coils, false, Block, SparseBytes},
    {"IR", Area::InputRegisters, false, Bit, 1900},
    {"IR", Area::InputRegisters, false, BitBlock, 1900},
    {"IR", Area::InputRegisters, false, Byte, 250},
    {"IR", Area::InputRegisters, false, Block, 250},
    {"IR", Area::InputRegisters, false, Word, 125},
    {"IR", Area::InputRegisters, false, DoubleWord, 62},
    {"HR", Area::HoldingRegisters, false, Bit, 1900},
    {"HR", Area::HoldingRegisters, false, BitBlock, 1900},
    {"HR", Area::HoldingRegisters, false, Byte, 250},
    {"HR", Area::HoldingRegisters, false, Block, 250},
    {"HR", Area::HoldingRegisters, false, Word, 125},
    {"HR", Area::HoldingRegisters, false, DoubleWord, 62},
    {"FN6HR", Area::HoldingRegisters, false, Bit, 1900},
    {"FN6HR", Area::HoldingRegisters, false, Byte, 250},
    {"FN6HR", Area::HoldingRegisters, false, Word, 125},
    {"FN6HR", Area::HoldingRegisters, false, DoubleWord, 62},
    {"DO", Area::Coils, true, Bit, 1968},
    {"DO", Area::Coils, true, BitBlock, 1968},
    {"FN5DO", Area::Coils, true, Bit, OneByOne},
    {"FN5DO", Area::Coils, true, BitBlock, OneByOne},
    {"HR", Area::HoldingRegisters, true, Bit, 1900},
    {"HR", Area::HoldingRegisters, true, BitBlock, 1900},
    {"HR", Area::HoldingRegisters, true, Byte, 246},
    {"HR", Area::HoldingRegisters, true, Block, 246},
    {"HR", Area::HoldingRegisters, true, Word, 123},
    {"HR", Area::HoldingRegisters, true, DoubleWord, 61},
    {"FN6HR", Area::HoldingRegisters, true, Bit, 16 * OneByOne - 31},
    {"FN6HR", Area::HoldingRegisters, true, BitBlock, 16 * OneByOne - 31},
    {"FN6HR", Area::HoldingRegisters, true, Byte, 2 * OneByOne},
    {"FN6HR", Area::HoldingRegisters, true, Block, 2 * OneByOne},
    {"FN6HR", Area::HoldingRegisters, true, Word, OneByOne},
    {"FN6HR", Area::HoldingRegisters, true, DoubleWord, OneByOne / 2},
    {"FN6HR", Area::HoldingRegisters, true, Word, 1},
}};

bool isBitArea(Area area)
{
    return area == Area::Coils || area == Area::DiscreteInputs;
}

bool isBitType(CommandDataType type)
{
    return type == Bit || type == BitBlock;
}

int bitsOfElement(CommandDataType type)
{
    switch (type) {
    case Word:
        return 16;
    case DoubleWord:
        return 32;
    case Byte:
    case Block:
        return 8;
    default:
        return 1;
    }
}

int drawUpTo(std::mt19937& random, int largest)
{
    return std::uniform_int_distribution<int>(0, largest)(random);
}

/// Mostly small, sometimes the largest: what panels ask for, and where limits are.
int drawCount(std::mt19937& random, int largest)
{
    switch (drawUpTo(random, 3)) {
    case 0:
        return largest;
    case 1:
        return 1 + drawUpTo(random, largest - 1);
    default:
        return 1 + drawUpTo(random, std::min(largest, 16) - 1);
    }
}

int mostRequests(const Choice& choice)
{
    const bool isSparse = isBitArea(choice.area) && !isBitType(choice.type);
    const bool isOneByOne = choice.isWrite && choice.prefix[0] == 'F';
    if (isSparse)
        return 8 * SparseBytes;
    return isOneByOne ? OneByOne + 1 : 2;
}

} // namespace

bool isTag(int cell)
{
    const int inPattern = cell % 24;
    return inPattern == 3 || inPattern == 4 || (inPattern >= 10 && inPattern < 15);
}

Place RandomCommand::place(int i) const
{
    if (isBitArea(area))
        return {area, firstCell + i, 0};
    int bit = firstBit + i;
    const bool highWordFirst = command.address.endsWith(QLatin1String("SW"));
    if (command.dataType == DoubleWord && highWordFirst)
        bit ^= 16; // the other register of the pair
    return {area, firstCell + bit / 16, bit % 16};
}

bool RandomCommand::isAsked(int i) const
{
    return !isBitArea(area) || isBitType(command.dataType) || isTag(firstCell + i);
}

RandomCommand drawCommand(std::mt19937& random)
{
    const Choice& choice = choices[static_cast<std::size_t>(drawUpTo(random, int(choices.size()) - 1))];
    RandomCommand drawn;
    drawn.isWrite = choice.isWrite;
    drawn.area = choice.area;
    drawn.requests = mostRequests(choice);
    const int count = drawCount(random, choice.largestCount);
    const bool bitsInRegisters = isBitType(choice.type) && !isBitArea(choice.area);
    drawn.firstBit = bitsInRegisters ? drawUpTo(random, 20) : 0;
    drawn.bits = count * bitsOfElement(choice.type);
    if (choice.isWrite && !isBitType(choice.type))
        drawn.bits = (drawn.bits + 15) / 16 * 16;

    const int cells = isBitArea(choice.area) ? drawn.bits : (drawn.firstBit + drawn.bits + 15) / 16;
    drawn.firstCell = drawUpTo(random, Cells - cells);
    QString address = QLatin1String(choice.prefix) + QString::number(drawn.firstCell + 1);
    if (bitsInRegisters)
        address += QLatin1Char('.') + QString::number(drawn.firstBit);
    if (choice.type == DoubleWord && drawUpTo(random, 1) == 1)
        address += QLatin1String("SW");
    drawn.command = CommunicatorCommand(choice.type, count, address);
    return drawn;
}

RandomCommand readBack(const RandomCommand& write)
{
    RandomCommand read = write;
    read.isWrite = false;
    read.bits = write.command.count * bitsOfElement(write.command.dataType);
    return read;
}
