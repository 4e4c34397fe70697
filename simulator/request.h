#ifndef SLAVESIM_REQUEST_H
#define SLAVESIM_REQUEST_H

#include "process_image.h"

#include <cstdint>

namespace slavesim {

constexpr int MbapLength = 7;              ///< transaction, protocol, length, unit identifier
constexpr int FunctionOffset = MbapLength; ///< of the function code in a frame
constexpr int UnitOffset = 6;     ///< of the unit identifier; the length field counts the bytes from here on
constexpr int LongestFrame = 260; ///< header and a protocol data unit of 253 bytes

/// count cells from a Modbus address (from 0) on.
struct Cells
{
    Area area;
    std::uint32_t address;
    std::uint32_t count;
};

/// A request frame as it came, with its header. It does not copy the frame: that must outlive it.
class Request
{
public:
    /// length: bytes at frame; at least header and function code, and all fields of the function when it is
    /// known.
    Request(const std::uint8_t* frame, int length);

    std::uint8_t unit() const { return frame[UnitOffset]; }
    std::uint8_t function() const { return frame[FunctionOffset]; }

    /// Functions 1 to 6, 15, 16, 22 and 23.
    bool isKnown() const;

    /// Whether it may change cells. False for an unknown function.
    bool writes() const;

    /// Protocol identifier 0 and a length field that says what the function makes of the frame. For an
    /// unknown function: that says a length that a frame can have.
    bool isWellFormed() const;

    /// Bytes of the frame, by its length field, that are not at hand. 0 for a known function.
    int missing() const;

    /// What it reads (or writes, where it only writes). Only for a known function.
    Cells cells() const;

    /// What function 23 writes; the same as cells() for the others.
    Cells secondCells() const;

    /// Whether the quantities are within the limits of the Modbus standard. Only for a known function.
    bool quantitiesAreLegal() const;

private:
    std::uint32_t word(int offset) const;

    const std::uint8_t* frame;
    int length;
};

} // namespace slavesim

#endif
