#ifndef RANDOM_COMMAND_H
#define RANDOM_COMMAND_H

#include "communicator_command.h"
#include "device_model.h"

#include <random>

/// One command of the soak and what its bits are. Bit i of the command's data is bit i % 8 of byte i / 8.
struct RandomCommand
{
    CommunicatorCommand command;
    bool isWrite = false;
    Area area = Area::HoldingRegisters;
    int firstCell = 0;
    int firstBit = 0; ///< for bits inside registers
    int bits = 0;     ///< in the data; for byte writes up to the end of the last register
    int requests = 1; ///< most that the driver makes for it in one attempt

    /// Where bit i of the data stands in the device.
    Place place(int i) const;

    /// Whether the device is asked for bit i; byte reads of coils and inputs leave out bits without a tag.
    bool isAsked(int i) const;
};

/// Draws a read or write of any area and type, within the limits of one request.
RandomCommand drawCommand(std::mt19937& random);

/// The read that shows what a write has done.
RandomCommand readBack(const RandomCommand& write);

/// Whether the soak's project has a tag for this bit; the tags form runs with gaps. cell is zero-based.
bool isTag(int cell);

#endif
