#include "number_text.h"

#include <charconv>

namespace slavesim {

std::string_view trimmed(std::string_view text)
{
    const std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<std::uint32_t> parseNumber(std::string_view text, std::uint32_t lowest, std::uint32_t highest)
{
    const bool hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    if (hexadecimal)
        text.remove_prefix(2);

    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end || number < lowest || number > highest)
        return std::nullopt;
    return number;
}

std::optional<NumberRange> parseRange(std::string_view text, std::uint32_t lowest, std::uint32_t highest)
{
    const std::size_t dash = text.find('-');
    const auto first = parseNumber(text.substr(0, dash), lowest, highest);
    if (dash == std::string_view::npos)
        return first ? std::optional<NumberRange>({*first, *first}) : std::nullopt;

    const auto last = parseNumber(text.substr(dash + 1), lowest, highest);
    if (!first || !last || *first > *last)
        return std::nullopt;
    return NumberRange{*first, *last};
}

} // namespace slavesim
