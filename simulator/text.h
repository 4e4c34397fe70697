#ifndef SLAVESIM_TEXT_H
#define SLAVESIM_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slavesim {

/// Both ends belong to the range; first is not greater than last.
struct NumberRange
{
    std::uint32_t first;
    std::uint32_t last;
};

/// text without the blanks, tabs and carriage returns around it.
std::string_view trimmed(std::string_view text);

/// The parts of line between runs of separators.
std::vector<std::string_view> fieldsOf(std::string_view line, std::string_view separators);

/// Whether the two are equal except for the case of ASCII letters.
bool equalIgnoringCase(std::string_view one, std::string_view other);

/// The whole of text as a decimal number, or as a hexadecimal one after 0x. Nothing for a sign, a blank, any
/// other character, an empty text, or a number outside lowest to highest.
std::optional<std::uint32_t> parseNumber(std::string_view text, std::uint32_t lowest, std::uint32_t highest);

/// The same, but a decimal number may have a minus sign; in two's complement.
std::optional<std::uint64_t> parseInteger(std::string_view text, std::int64_t lowest, std::uint64_t highest);

/// "5" or "5-7", each end as parseNumber() takes it. Nothing if the ends are in the wrong order.
std::optional<NumberRange> parseRange(std::string_view text, std::uint32_t lowest, std::uint32_t highest);

/// text made safe for a terminal: control characters are written like \x1b.
std::string printable(std::string_view text);

/// "'TEXT' is wrong: RIGHT", with text made printable and cut if it is long.
std::string wrongText(std::string_view text, const std::string& right);

} // namespace slavesim

#endif
