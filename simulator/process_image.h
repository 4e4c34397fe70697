#ifndef SLAVESIM_PROCESS_IMAGE_H
#define SLAVESIM_PROCESS_IMAGE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slavesim {

enum class Area
{
    Coils,
    DiscreteInputs,
    InputRegisters,
    HoldingRegisters
};

constexpr std::size_t AreaCount = 4;
constexpr std::uint32_t CellsPerArea = 65536;

/// "DO", "DI", "IR" or "HR".
std::string_view areaName(Area area);

/// The area of such a name, upper or lower case; nothing for any other text.
std::optional<Area> areaNamed(std::string_view name);

constexpr bool isBitArea(Area area)
{
    return area == Area::Coils || area == Area::DiscreteInputs;
}

/// count cells from a Modbus address (from 0) on.
struct Cells
{
    Area area;
    std::uint32_t address;
    std::uint32_t count;
};

/// What a Modbus slave holds: 65536 cells in each of the four areas. Cells are numbered from 1, so that HR1
/// has the Modbus address 0.
class ProcessImage
{
public:
    /// Every cell 0.
    ProcessImage();

    /// The image to read without preparing one: every value tells the number n of its cell.
    /// HR n holds n mod 65536, IR n holds 65535 - (n mod 65536), DO n is on where 3 divides n, DI n where 5
    /// does.
    static ProcessImage numbered();

    /// number: 1 to 65536. A bit is 0 or 1.
    std::uint16_t value(Area area, std::uint32_t number) const;

    /// number: 1 to 65536. Any value but 0 sets a bit.
    void setValue(Area area, std::uint32_t number, std::uint16_t value);

    /// Notes that a cell exists, for those who ask. number: 1 to 65536.
    void addToExisting(Area area, std::uint32_t number);

    /// Whether all of cells were added. Cells beyond 65536 were not.
    bool exist(const Cells& cells) const;

    /// Whether any cell was added.
    bool anyExists() const;

    /// The cells of an area by their Modbus address, one element each; a bit is 0 or 1. area must be of that
    /// kind.
    std::vector<std::uint8_t>& bits(Area area);
    std::vector<std::uint16_t>& registers(Area area);

private:
    std::array<std::vector<std::uint8_t>, 2> m_bitAreas;
    std::array<std::vector<std::uint16_t>, 2> m_registerAreas;
    std::array<std::vector<bool>, AreaCount> m_existing; ///< empty as long as none exists
};

} // namespace slavesim

#endif
