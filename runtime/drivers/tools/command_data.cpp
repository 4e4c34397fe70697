#include "command_data.h"

#include "byte_access.h"
#include "communicator_command.h"
#include <climits>

namespace {

unsigned int roundedUp(quint64 number, unsigned int unit)
{
    return static_cast<unsigned int>((number + unit - 1) / unit);
}

unsigned int unitsForBits(unsigned int offset, unsigned int bits, unsigned int unit)
{
    return roundedUp(static_cast<quint64>(offset) + bits, unit);
}

QByteArray paddedTo(const QByteArray& data, int unit)
{
    QByteArray result(data);
    const int rest = data.size() % unit;
    if (rest != 0)
        resizeZeroFilled(result, data.size() + unit - rest);
    return result;
}

quint64 bitsPerElement(CommandDataType type)
{
    switch (type) {
    case Bit:
    case BitBlock:
        return 1;
    case Byte:
    case Block:
        return 8;
    case Word:
        return 16;
    case DoubleWord:
        return 32;
    case QuadWord:
        return 64;
    }
    return 0;
}

} // namespace

bool isBitCommand(const CommunicatorCommand& command)
{
    return command.dataType == Bit;
}

bool isByteCommand(const CommunicatorCommand& command)
{
    return command.dataType == Byte;
}

bool isWordCommand(const CommunicatorCommand& command)
{
    return command.dataType == Word;
}

bool isDoubleWordCommand(const CommunicatorCommand& command)
{
    return command.dataType == DoubleWord;
}

bool isBlockCommand(const CommunicatorCommand& command)
{
    return command.dataType == Block;
}

unsigned int NumOfBitsToNumOfBytes(unsigned int offset, unsigned int bits)
{
    return unitsForBits(offset, bits, 8);
}

unsigned int NumOfBitsToNumOfWords(unsigned int offset, unsigned int bits)
{
    return unitsForBits(offset, bits, 16);
}

unsigned int NumOfBitsToNumOfDWords(unsigned int offset, unsigned int bits)
{
    return unitsForBits(offset, bits, 32);
}

unsigned int NumOfBytesToNumOfWords(unsigned int bytes)
{
    return roundedUp(bytes, 2);
}

unsigned int NumOfBytesToNumOfDWords(unsigned int bytes)
{
    return roundedUp(bytes, 4);
}

unsigned int NumOfBytesToNumOfQuadWords(unsigned int bytes)
{
    return roundedUp(bytes, 8);
}

QByteArray To16bitsData(const QByteArray& data)
{
    return paddedTo(data, 2);
}

QByteArray To32bitsData(const QByteArray& data)
{
    return paddedTo(data, 4);
}

QByteArray To64bitsData(const QByteArray& data)
{
    return paddedTo(data, 8);
}

int GetSafeDataLen(const CommunicatorCommand& command)
{
    const quint64 bits = bitsPerElement(command.dataType) * static_cast<unsigned int>(command.count);
    const quint64 bytes = (bits + 7) / 8;
    return bytes > INT_MAX ? INT_MAX : static_cast<int>(bytes);
}

QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data)
{
    QByteArray result(data);
    resizeZeroFilled(result, GetSafeDataLen(command));
    return result;
}
