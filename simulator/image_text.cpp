#include "image_text.h"

#include "text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace slavesim {

namespace {

struct Type
{
    std::string_view name;
    std::uint32_t registers;
    std::int64_t lowest; ///< both 0 for floating point
    std::uint64_t highest;

    bool isFloat() const { return highest == 0; }
};

template<typename Integer>
constexpr Type integerType(std::string_view name)
{
    using Limits = std::numeric_limits<Integer>;
    return {name, sizeof(Integer) / 2, Limits::min(), Limits::max()};
}

constexpr Type Types[] = {
    integerType<std::int16_t>("int16"),   integerType<std::uint16_t>("uint16"),
    integerType<std::int32_t>("int32"),   integerType<std::uint32_t>("uint32"),
    integerType<std::int64_t>("int64"),   integerType<std::uint64_t>("uint64"),
    {"float32", sizeof(float) / 2, 0, 0}, {"float64", sizeof(double) / 2, 0, 0},
};

constexpr Type OneRegister = {"a register", 1, INT16_MIN, UINT16_MAX};

constexpr std::uint32_t BitsPerRegister = 16;

/// The parts of an address, each valid by itself.
struct Address
{
    std::string text;
    std::optional<std::uint8_t> station;
    Area area = Area::HoldingRegisters;
    std::uint32_t number = 0;
    bool highWordFirst = false;
    std::optional<std::uint32_t> bit;
    const Type* type = &OneRegister;
};

std::runtime_error wrongAddress(const std::string& text, const std::string& right)
{
    return std::runtime_error("address " + wrongText(text, right));
}

std::runtime_error wrongValue(std::string_view text, const std::string& right)
{
    return std::runtime_error("value " + wrongText(text, right));
}

const Type* typeNamed(std::string_view name)
{
    for (const Type& type : Types) {
        if (equalIgnoringCase(type.name, name))
            return &type;
    }
    return nullptr;
}

/// Removes the leading characters that belong from text and returns them.
std::string_view take(std::string_view& text, int (*belongs)(int))
{
    const auto end = std::find_if_not(text.begin(), text.end(),
                                      [=](char c) { return belongs(static_cast<unsigned char>(c)) != 0; });
    const std::string_view taken = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(taken.size());
    return taken;
}

/// Whether text begins with mark; if so, removes it.
bool takeMark(std::string_view& text, char mark)
{
    const bool begins = !text.empty() && text.front() == mark;
    text.remove_prefix(begins ? 1 : 0);
    return begins;
}

Address addressIn(const std::string& text)
{
    Address address;
    address.text = text;
    std::string_view rest = text;
    if (text.find('-') != std::string::npos) {
        const auto station = parseNumber(take(rest, std::isdigit), 0, 255);
        if (!station || !takeMark(rest, '-'))
            throw wrongAddress(text, "its station is from 0 to 255, like 3-HR10");
        address.station = static_cast<std::uint8_t>(*station);
    }
    const auto area = areaNamed(take(rest, std::isalpha));
    if (!area)
        throw wrongAddress(text, "its area is HR, IR, DO or DI");
    address.area = *area;
    const auto number = parseNumber(take(rest, std::isdigit), 1, CellsPerArea);
    if (!number)
        throw wrongAddress(text, "its number is from 1 to 65536");
    address.number = *number;
    const std::string_view order = take(rest, std::isalpha);
    address.highWordFirst = !order.empty();
    if (takeMark(rest, '.')) {
        address.bit = parseNumber(take(rest, std::isdigit), 0, BitsPerRegister - 1);
        if (!address.bit)
            throw wrongAddress(text, "its bit is from 0 to 15");
    }
    if (takeMark(rest, ':')) {
        address.type = typeNamed(take(rest, std::isalnum));
        if (!address.type)
            throw wrongAddress(text, "its type is one of " + typeNames());
    }
    if (!rest.empty() || (address.highWordFirst && !equalIgnoringCase(order, "SW")))
        throw wrongAddress(text, "it is like HR10, 3-HR10, HR10.3 or HR10SW:float32");
    return address;
}

/// Refuses combinations of parts that make no sense.
void check(const Address& address)
{
    const std::uint32_t registers = address.type->registers;
    const bool isPlain = !address.highWordFirst && address.type == &OneRegister;
    if (isBitArea(address.area) && (address.bit || !isPlain))
        throw wrongAddress(address.text, "only registers have bits, types and SW");
    if (address.bit && !isPlain)
        throw wrongAddress(address.text, "a bit has neither a type nor SW");
    if (address.highWordFirst && registers == 1)
        throw wrongAddress(address.text, "SW wants a type of more than one register, like float32");
    if (address.number + registers - 1 > CellsPerArea)
        throw wrongAddress(address.text, "its last register would be beyond 65536");
}

std::uint16_t bitIn(std::string_view text)
{
    const auto number = parseNumber(text, 0, 1);
    if (number)
        return static_cast<std::uint16_t>(*number);
    if (equalIgnoringCase(text, "on") || equalIgnoringCase(text, "true"))
        return 1;
    if (equalIgnoringCase(text, "off") || equalIgnoringCase(text, "false"))
        return 0;
    throw wrongValue(text, "a bit takes 0, 1, off, on, false or true");
}

template<typename Number, typename Pattern>
std::optional<std::uint64_t> floatIn(std::string_view text)
{
    static_assert(sizeof(Number) == sizeof(Pattern), "an IEEE 754 number fills its registers");
    Number number = 0;
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    Pattern pattern = 0;
    std::memcpy(&pattern, &number, sizeof pattern);
    return pattern;
}

std::optional<std::uint64_t> patternIn(std::string_view text, const Type& type)
{
    if (!type.isFloat())
        return parseInteger(text, type.lowest, type.highest);
    return type.registers == 2 ? floatIn<float, std::uint32_t>(text) : floatIn<double, std::uint64_t>(text);
}

std::vector<std::uint16_t> wordsIn(std::string_view text, const Address& address)
{
    const Type& type = *address.type;
    const auto pattern = patternIn(text, type);
    if (!pattern && type.isFloat())
        throw wrongValue(text,
                         std::string(type.name) + " takes a number within its range, like -20.5 or 1e6");
    if (!pattern)
        throw wrongValue(
            text,
            std::string(type.name) + " takes a whole number from " + std::to_string(type.lowest) + " to " +
                std::to_string(type.highest) +
                (&type == &OneRegister ? "; others take a type, like " + address.text + ":float32" : ""));
    std::vector<std::uint16_t> words;
    for (std::uint32_t i = 0; i < type.registers; ++i)
        words.push_back(static_cast<std::uint16_t>(*pattern >> BitsPerRegister * i & 0xFFFF));
    if (address.highWordFirst)
        std::reverse(words.begin(), words.end());
    return words;
}

} // namespace

Assignment parseAssignment(std::string_view line)
{
    const std::vector<std::string_view> fields = fieldsOf(line, " \t=,;");
    const bool isSplit = fields.size() == 3 && std::isalpha(static_cast<unsigned char>(fields[0].back()));
    if (fields.size() != 2 && !isSplit)
        throw std::runtime_error(
            wrongText(line, "a line is an address and a value, like HR10 42, or area,number,value"));
    const Address address = addressIn(std::string(fields[0]) + std::string(isSplit ? fields[1] : ""));
    check(address);
    const std::string_view value = fields.back();
    Assignment assignment = {address.station, address.area, address.number, {}, 0xFFFF};
    if (address.bit) {
        assignment.mask = static_cast<std::uint16_t>(1u << *address.bit);
        assignment.values = {static_cast<std::uint16_t>(bitIn(value) << *address.bit)};
    } else if (isBitArea(address.area)) {
        assignment.values = {bitIn(value)};
    } else {
        assignment.values = wordsIn(value, address);
    }
    return assignment;
}

std::string typeNames()
{
    std::string names;
    for (const Type& type : Types)
        names += (names.empty() ? "" : ", ") + std::string(type.name);
    return names;
}

std::string_view contentOf(std::string_view line)
{
    const std::string_view mark = "\xEF\xBB\xBF";
    if (line.substr(0, mark.size()) == mark)
        line.remove_prefix(mark.size());
    return trimmed(line.substr(0, line.find('#')));
}

bool isHeading(std::string_view line)
{
    const std::vector<std::string_view> fields = fieldsOf(line, " \t=,;");
    return !fields.empty() &&
           (equalIgnoringCase(fields[0], "area") || equalIgnoringCase(fields[0], "address"));
}

} // namespace slavesim
