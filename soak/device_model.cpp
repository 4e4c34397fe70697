#include "device_model.h"

namespace {

constexpr int Cells = 65536;

std::uint16_t initialValue(Area area, int cell)
{
    const int number = cell + 1;
    switch (area) {
    case Area::DiscreteInputs:
        return number % 5 == 0 ? 1 : 0;
    case Area::Coils:
        return number % 3 == 0 ? 1 : 0;
    case Area::InputRegisters:
        return static_cast<std::uint16_t>(65535 - number % 65536);
    case Area::HoldingRegisters:
        break;
    }
    return static_cast<std::uint16_t>(number);
}

bool bitOf(std::uint16_t value, int bit)
{
    return ((value >> bit) & 1) != 0;
}

} // namespace

DeviceModel::DeviceModel()
{
    for (const Area area :
         {Area::DiscreteInputs, Area::Coils, Area::InputRegisters, Area::HoldingRegisters}) {
        Bits cells;
        for (int cell = 0; cell < Cells; ++cell)
            cells.push_back(initialValue(area, cell));
        m_now.push_back(cells);
    }
    m_before = m_now;
}

bool DeviceModel::mayBe(const Place& place, bool value) const
{
    const auto cell = static_cast<std::size_t>(place.cell);
    return bitOf(now(place.area)[cell], place.bit) == value ||
           bitOf(m_before[static_cast<std::size_t>(place.area)][cell], place.bit) == value;
}

void DeviceModel::startWrite(const Place& place, bool value)
{
    const bool isOpen = mayBe(place, true) && mayBe(place, false); // after a write that failed
    set(m_now, place, value);
    if (isOpen)
        set(m_before, place, !value);
}

void DeviceModel::finishWrite(const Place& place)
{
    const auto area = static_cast<std::size_t>(place.area);
    set(m_before, place, bitOf(m_now[area][static_cast<std::size_t>(place.cell)], place.bit));
}

void DeviceModel::set(std::vector<Bits>& image, const Place& place, bool value)
{
    std::uint16_t& cell = image[static_cast<std::size_t>(place.area)][static_cast<std::size_t>(place.cell)];
    const auto mask = static_cast<std::uint16_t>(1U << place.bit);
    cell = static_cast<std::uint16_t>(value ? cell | mask : cell & ~mask);
}
