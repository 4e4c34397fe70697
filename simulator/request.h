#ifndef SLAVESIM_REQUEST_H
#define SLAVESIM_REQUEST_H

#include "process_image.h"

#include <cstdint>
#include <vector>

namespace slavesim {

constexpr std::size_t UnitOffset = 6; ///< of the unit identifier; the length field counts from here on
constexpr std::size_t FunctionOffset = 7;
constexpr std::size_t LongestFrame = 260; ///< header of 7 bytes and a protocol data unit of 253

using Bytes = std::vector<std::uint8_t>;

/// The length of the request at the start of bytes; larger than bytes while the request is incomplete. 0 if
/// bytes cannot start a Modbus TCP request: the protocol identifier is not 0, or the length field is out of
/// range or contradicts the function's own fields.
std::size_t requestLength(const Bytes& bytes);

/// A complete request frame, header included. Refers to the frame without copying it, so the frame must
/// outlive it.
class Request
{
public:
    /// length: from requestLength().
    Request(const std::uint8_t* frame, std::size_t length) : m_frame(frame), m_length(length) {}

    const std::uint8_t* frame() const { return m_frame; }
    std::size_t length() const { return m_length; }
    std::uint8_t unit() const { return m_frame[UnitOffset]; }
    std::uint8_t function() const { return m_frame[FunctionOffset]; }

    /// Functions 1 to 6, 15, 16, 22 and 23.
    bool isKnown() const;

    /// Whether it reads values, and whether it writes values. False for an unknown function.
    bool reads() const;
    bool writes() const;

    /// The cells that it reads, or those that it writes if it only writes. Only for a known function.
    Cells cells() const;

    /// The cells that function 23 writes; the same as cells() for the others.
    Cells secondCells() const;

    /// The values to write, packed one after the other as the Modbus standard says, as many as the frame
    /// holds. Only for a known function other than 22 that writes.
    Bytes values() const;

    /// Whether the quantities are within the limits of the Modbus standard. Only for a known function.
    bool quantitiesAreLegal() const;

private:
    std::uint32_t word(std::size_t offset) const;

    const std::uint8_t* m_frame;
    std::size_t m_length;
};

} // namespace slavesim

#endif
