#ifndef COMMUNICATOR_COMMAND_H
#define COMMUNICATOR_COMMAND_H

#include <QString>

/// Type of one element of a command. The runtime may pass any 32-bit value; drivers refuse values that they
/// do not know.
enum CommandDataType : int
{
    Bit = 0,        ///< 1 bit; bits travel packed, 8 per byte, the first in bit 0 of byte 0
    Byte = 1,       ///< 8 bits
    Word = 2,       ///< 16 bits, low byte first
    DoubleWord = 3, ///< 32 bits, least significant byte first
    QuadWord = 4,   ///< 64 bits
    Block = 5,      ///< 8 bits, treated as Byte
    BitBlock = 6    ///< 1 bit, treated as Bit
};

/// One read or write command of the runtime. Drivers read it and never change it.
struct CommunicatorCommand
{
    CommunicatorCommand() : dataType(Bit), count(0) {}
    CommunicatorCommand(CommandDataType type, int elements, const QString& firstAddress)
        : dataType(type), count(elements), address(firstAddress)
    {
    }

    CommandDataType dataType; ///< type of one element
    int count;                ///< number of elements, 0 or more
    QString address;          ///< HMI address text of the first element, such as "HR100" or "DO7"
};

#endif
