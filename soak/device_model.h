#ifndef DEVICE_MODEL_H
#define DEVICE_MODEL_H

#include <QByteArray>

#include <cstdint>
#include <vector>

enum class Area
{
    DiscreteInputs,
    Coils,
    InputRegisters,
    HoldingRegisters
};

/// One bit of the device: a coil or discrete input (bit 0), or a bit of a register. cell is zero-based.
struct Place
{
    Area area;
    int cell;
    int bit;
};

/// What slavesim's default image holds, and what was written to it since. Every value depends on its place,
/// so a reply to another request is recognised. After a failed write a bit may have either value until it is
/// written again.
class DeviceModel
{
public:
    DeviceModel();

    /// Whether the device may hold this bit value.
    bool mayBe(const Place& place, bool value) const;

    /// A write of the bit has begun: from now on the bit may have the old value or the new one.
    void startWrite(const Place& place, bool value);

    /// The write has been confirmed: the bit can only have the new value.
    void finishWrite(const Place& place);

private:
    using Bits = std::vector<std::uint16_t>;
    static void set(std::vector<Bits>& image, const Place& place, bool value);
    const Bits& now(Area area) const { return m_now[static_cast<std::size_t>(area)]; }

    std::vector<Bits> m_now;
    std::vector<Bits> m_before; ///< differs from m_now where a write was not confirmed
};

#endif
