#include "process_image.h"

#include "text.h"

#include <algorithm>

namespace slavesim {

static constexpr std::array<std::string_view, AreaCount> AreaNames = {"DO", "DI", "IR", "HR"};

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

void ProcessImage::addToExisting(Area area, std::uint32_t number)
{
    std::vector<bool>& existing = m_existing[static_cast<std::size_t>(area)];
    existing.resize(CellsPerArea);
    existing[number - 1] = true;
}

bool ProcessImage::exist(const Cells& cells) const
{
    const std::vector<bool>& existing = m_existing[static_cast<std::size_t>(cells.area)];
    if (cells.address + cells.count > existing.size())
        return false;
    const auto first = std::next(existing.begin(), static_cast<std::ptrdiff_t>(cells.address));
    const auto last = std::next(first, static_cast<std::ptrdiff_t>(cells.count));
    return std::find(first, last, false) == last;
}

bool ProcessImage::anyExists() const
{
    return std::any_of(m_existing.begin(), m_existing.end(), [](const auto& area) { return !area.empty(); });
}

} // namespace slavesim
