#include "command_data.h"

#include "byte_access.h"
#include "communicator_command.h"

namespace {

unsigned int roundedUp(unsigned int number, unsigned int unit)
{
    return number / unit + (number % unit != 0 ? 1 : 0);
}

QByteArray paddedTo(const QByteArray& data, int unit)
{
    QByteArray result(data);
    const int rest = data.size() % unit;
    if (rest != 0)
        resizeZeroFilled(result, data.size() + unit - rest);
    return result;
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
    return roundedUp(offset + bits, 8);
}

unsigned int NumOfBitsToNumOfWords(unsigned int offset, unsigned int bits)
{
    return roundedUp(offset + bits, 16);
}

unsigned int NumOfBitsToNumOfDWords(unsigned int offset, unsigned int bits)
{
    return roundedUp(offset + bits, 32);
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
    const unsigned int count = static_cast<unsigned int>(command.count);
    switch (command.dataType) {
    case Bit:
    case BitBlock:
        return static_cast<int>(NumOfBitsToNumOfBytes(0, count));
    case Byte:
    case Block:
        return command.count;
    case Word:
        return static_cast<int>(count * 2);
    case DoubleWord:
        return static_cast<int>(count * 4);
    case QuadWord:
        return static_cast<int>(count * 8);
    }
    return 0;
}

QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data)
{
    QByteArray result(data);
    resizeZeroFilled(result, qMax(0, GetSafeDataLen(command)));
    return result;
}
