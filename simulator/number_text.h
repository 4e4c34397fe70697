#ifndef SLAVESIM_NUMBER_TEXT_H
#define SLAVESIM_NUMBER_TEXT_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace slavesim {

/// Both ends belong to the range, and first is not above last.
struct NumberRange
{
    std::uint32_t first;
    std::uint32_t last;
};

/// text without the blanks, tabs and carriage returns around it.
std::string_view trimmed(std::string_view text);

/// The whole of text as a decimal number, or a hexadecimal one after 0x. Nothing for a sign, a blank, any
/// other character, an empty text, or a number that is not from lowest to highest.
std::optional<std::uint32_t> parseNumber(std::string_view text, std::uint32_t lowest, std::uint32_t highest);

/// "5" or "5-7", each end as parseNumber() takes it. Nothing when the ends are the wrong way round.
std::optional<NumberRange> parseRange(std::string_view text, std::uint32_t lowest, std::uint32_t highest);

} // namespace slavesim

#endif
