#include "text.h"

#include <algorithm>
#include <cctype>
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

std::vector<std::string_view> fieldsOf(std::string_view line, std::string_view separators)
{
    std::vector<std::string_view> fields;
    for (;;) {
        line.remove_prefix(std::min(line.find_first_not_of(separators), line.size()));
        if (line.empty())
            return fields;
        fields.push_back(line.substr(0, line.find_first_of(separators)));
        line.remove_prefix(fields.back().size());
    }
}

bool equalIgnoringCase(std::string_view one, std::string_view other)
{
    const auto same = [](unsigned char a, unsigned char b) { return std::toupper(a) == std::toupper(b); };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), same);
}

/// The whole of text, converted by from_chars().
template<typename Integer>
static std::optional<Integer> wholeNumber(std::string_view text, int base)
{
    Integer number = 0;
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number, base);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

std::optional<std::uint64_t> parseInteger(std::string_view text, std::int64_t lowest, std::uint64_t highest)
{
    if (text.substr(0, 1) == "-") {
        const auto number = wholeNumber<std::int64_t>(text, 10);
        return number >= lowest ? std::optional(static_cast<std::uint64_t>(*number)) : std::nullopt;
    }
    const bool isHexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    const auto number =
        wholeNumber<std::uint64_t>(text.substr(isHexadecimal ? 2 : 0), isHexadecimal ? 16 : 10);
    return number <= highest ? number : std::nullopt;
}

std::optional<std::uint32_t> parseNumber(std::string_view text, std::uint32_t lowest, std::uint32_t highest)
{
    const auto number = text.substr(0, 1) == "-" ? std::nullopt : parseInteger(text, 0, highest);
    return number >= lowest ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
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

/// Whether a terminal would obey a byte: ASCII control characters, and 80 to 9F alone or as UTF-8.
static bool isControl(unsigned char byte, unsigned char before)
{
    const bool isHighControl = byte >= 0x80 && byte < 0xA0 && (before < 0x80 || before == 0xC2);
    return byte < 0x20 || byte == 0x7F || isHighControl;
}

std::string printable(std::string_view text)
{
    constexpr std::string_view Digits = "0123456789abcdef";
    std::string shown;
    unsigned char before = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (isControl(byte, before))
            shown += std::string("\\x") + Digits[byte >> 4] + Digits[byte & 15];
        else
            shown += character;
        before = byte;
    }
    return shown;
}

std::string wrongText(std::string_view text, const std::string& right)
{
    constexpr std::size_t Longest = 60;
    const std::string_view end = text.size() > Longest ? "..." : "";
    return "'" + printable(text.substr(0, Longest)) + std::string(end) + "' is wrong: " + right;
}

} // namespace slavesim
