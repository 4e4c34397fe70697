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

/// The area with this name, in upper or lower case; nothing for any other text.
std::optional<Area> areaNamed(std::string_view name);

constexpr bool isBitArea(Area area)
{
    return area == Area::Coils || area == Area::DiscreteInputs;
}

/// count cells, starting at a Modbus address (from 0).
struct Cells
{
    Area area;
    std::uint32_t address;
    std::uint32_t count;
};

/// The data of a Modbus slave: 65536 cells in each of the four areas. Cells are numbered from 1, so HR1 has
/// the Modbus address 0.
class ProcessImage
{
public:
    /// All cells are 0.
    ProcessImage();

    /// The default image: every value follows from the number n of its cell. HR n holds n mod 65536, IR n
    /// holds 65535 - (n mod 65536), DO n is on if 3 divides n, DI n if 5 does.
    static ProcessImage numbered();

    /// number: 1 to 65536. A bit is 0 or 1.
    std::uint16_t value(Area area, std::uint32_t number) const;

    /// number: 1 to 65536. Any value but 0 sets a bit.
    void setValue(Area area, std::uint32_t number, std::uint16_t value);

    /// Marks a cell as existing. number: 1 to 65536.
    void addToExisting(Area area, std::uint32_t number);

    /// Whether all of cells were marked; false if they go beyond 65536.
    bool exist(const Cells& cells) const;

    /// Whether any cell was marked.
    bool anyExists() const;

    /// The cells of an area by their Modbus address, one element each; a bit is 0 or 1. area must be of bits,
    /// or of registers below.
    std::vector<std::uint8_t>& bits(Area area);
    std::vector<std::uint16_t>& registers(Area area);

private:
    std::array<std::vector<std::uint8_t>, 2> m_bitAreas;
    std::array<std::vector<std::uint16_t>, 2> m_registerAreas;
    std::array<std::vector<bool>, AreaCount> m_existing; ///< empty until a cell exists
};

} // namespace slavesim

#endif
