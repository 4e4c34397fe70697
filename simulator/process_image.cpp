#include "process_image.h"

#include "number_text.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace slavesim {

static constexpr std::array<std::string_view, AreaCount> AreaNames = {"DO", "DI", "IR", "HR"};

static bool equalIgnoringCase(std::string_view one, std::string_view other)
{
    const auto same = [](unsigned char a, unsigned char b) { return std::toupper(a) == std::toupper(b); };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), same);
}

std::string_view areaName(Area area)
{
    return AreaNames[static_cast<std::size_t>(area)];
}

std::optional<Area> areaNamed(std::string_view name)
{
    for (std::size_t i = 0; i < AreaCount; ++i) {
        if (equalIgnoringCase(name, AreaNames[i]))
            return static_cast<Area>(i);
    }
    return std::nullopt;
}

static std::size_t indexAmongAlike(Area area)
{
    return area == Area::Coils || area == Area::InputRegisters ? 0 : 1;
}

ProcessImage::ProcessImage()
{
    m_bitAreas.fill(std::vector<std::uint8_t>(CellsPerArea));
    m_registerAreas.fill(std::vector<std::uint16_t>(CellsPerArea));
}

ProcessImage ProcessImage::numbered()
{
    ProcessImage image;
    for (std::uint32_t n = 1; n <= CellsPerArea; ++n) {
        const auto low = static_cast<std::uint16_t>(n % 65536);
        image.setValue(Area::HoldingRegisters, n, low);
        image.setValue(Area::InputRegisters, n, static_cast<std::uint16_t>(65535 - low));
        image.setValue(Area::Coils, n, n % 3 == 0);
        image.setValue(Area::DiscreteInputs, n, n % 5 == 0);
    }
    return image;
}

std::vector<std::uint8_t>& ProcessImage::bits(Area area)
{
    return m_bitAreas[indexAmongAlike(area)];
}

std::vector<std::uint16_t>& ProcessImage::registers(Area area)
{
    return m_registerAreas[indexAmongAlike(area)];
}

std::uint16_t ProcessImage::value(Area area, std::uint32_t number) const
{
    const std::size_t index = indexAmongAlike(area);
    return isBitArea(area) ? m_bitAreas[index].at(number - 1) : m_registerAreas[index].at(number - 1);
}

void ProcessImage::setValue(Area area, std::uint32_t number, std::uint16_t value)
{
    if (isBitArea(area))
        bits(area).at(number - 1) = value != 0;
    else
        registers(area).at(number - 1) = value;
}

static std::vector<std::string_view> splitAtCommas(std::string_view line)
{
    std::vector<std::string_view> fields;
    for (;;) {
        const std::size_t comma = line.find(',');
        fields.push_back(trimmed(line.substr(0, comma)));
        if (comma == std::string_view::npos)
            return fields;
        line.remove_prefix(comma + 1);
    }
}

static std::runtime_error wrong(std::string_view what, std::string_view text, const std::string& right)
{
    return std::runtime_error(std::string(what) + " '" + std::string(text) + "' is wrong: " + right);
}

static void setCell(ProcessImage& image, const std::vector<std::string_view>& fields)
{
    if (fields.size() != 3)
        throw std::runtime_error("a line has the three fields area,number,value, not " +
                                 std::to_string(fields.size()));
    const auto area = areaNamed(fields[0]);
    if (!area)
        throw wrong("area", fields[0], "it is HR, IR, DO or DI");
    const auto number = parseNumber(fields[1], 1, CellsPerArea);
    if (!number)
        throw wrong("number", fields[1], "it is from 1 to 65536");
    const std::uint32_t highest = isBitArea(*area) ? 1 : 65535;
    const auto value = parseNumber(fields[2], 0, highest);
    if (!value)
        throw wrong("value", fields[2],
                    "in " + std::string(areaName(*area)) + " it is from 0 to " + std::to_string(highest));
    image.setValue(*area, *number, static_cast<std::uint16_t>(*value));
}

static bool isHeader(const std::vector<std::string_view>& fields)
{
    return equalIgnoringCase(fields[0], "area");
}

ProcessImage ProcessImage::fromFile(const std::string& fileName)
{
    std::ifstream file(fileName);
    if (!file)
        throw std::runtime_error(fileName + ": cannot be opened: " + std::strerror(errno));

    ProcessImage image;
    bool headerMayCome = true;
    std::string line;
    for (int lineNumber = 1; std::getline(file, line); ++lineNumber) {
        const std::string_view text = trimmed(line);
        if (text.empty() || text[0] == '#')
            continue;
        const auto fields = splitAtCommas(text);
        const bool header = headerMayCome && isHeader(fields);
        headerMayCome = false;
        if (header)
            continue;
        try {
            setCell(image, fields);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(fileName + ":" + std::to_string(lineNumber) + ": " + error.what());
        }
    }
    if (file.bad())
        throw std::runtime_error(fileName + ": cannot be read, a text file is needed");
    return image;
}

} // namespace slavesim
