#ifndef SLAVESIM_IMAGE_TEXT_H
#define SLAVESIM_IMAGE_TEXT_H

#include "process_image.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slavesim {

/// What one line puts into cells.
struct Assignment
{
    std::optional<std::uint8_t> station; ///< without one: every station
    Area area = Area::HoldingRegisters;
    std::uint32_t number = 1;          ///< of the first cell, from 1; all of them exist
    std::vector<std::uint16_t> values; ///< of consecutive cells; a bit is 0 or 1
    std::uint16_t mask = 0xFFFF;       ///< which bits of a register change
};

/// The assignment of a line "ADDRESS VALUE", with a blank, "=", "," or ";" between the two, or
/// "AREA,NUMBER,VALUE".
///
///   ADDRESS is [STATION-]AREA NUMBER [SW] [.BIT] [:TYPE] without blanks, in upper or lower case:
///   "HR10", "3-IR5SW:float32".
///   STATION  0 to 255
///   AREA     HR, IR, DO or DI
///   NUMBER   1 to 65536, of the first register
///   SW       the lowest register holds the highest word; without it the lowest word. Only for types
///            of more than one register.
///   BIT      0 to 15 (0 is the least significant), of a register
///   TYPE     one of typeNames(), of registers; without it one register takes -32768 to 65535
///   VALUE    a whole number, decimal or hexadecimal after 0x; floating-point types also take a
///            decimal point, an exponent, inf and nan; bits take 0, 1, off, on, false and true
///
/// Throws std::runtime_error that says what is wrong and what would be right.
Assignment parseAssignment(std::string_view line);

/// "int16, uint16, ..., float64"
std::string typeNames();

/// line without a UTF-8 byte-order mark, without a comment (from # on), and without the blanks around the
/// rest.
std::string_view contentOf(std::string_view line);

/// Whether a line is the heading of a table: its first field is "area" or "address".
bool isHeading(std::string_view line);

} // namespace slavesim

#endif
