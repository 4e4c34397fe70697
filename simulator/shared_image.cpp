#include "shared_image.h"

#include "moving_signals.h"

#include <mutex>

namespace slavesim {

static modbus_mapping_t mappingOf(ProcessImage& image)
{
    modbus_mapping_t mapping = {};
    mapping.nb_bits = mapping.nb_input_bits = CellsPerArea;
    mapping.nb_registers = mapping.nb_input_registers = CellsPerArea;
    mapping.tab_bits = image.bits(Area::Coils).data();
    mapping.tab_input_bits = image.bits(Area::DiscreteInputs).data();
    mapping.tab_registers = image.registers(Area::HoldingRegisters).data();
    mapping.tab_input_registers = image.registers(Area::InputRegisters).data();
    return mapping;
}

using Clock = std::chrono::steady_clock;

SharedImage::SharedImage(ProcessImage initialImage, bool moving)
    : image(std::move(initialImage)), mapping(mappingOf(image)),
      movingSince(moving ? std::optional(Clock::now()) : std::nullopt)
{
}

int SharedImage::reply(modbus_t* context, const std::uint8_t* request, int length, bool writes)
{
    if (writes || movingSince) {
        const std::unique_lock<std::shared_mutex> lock(mutex);
        if (movingSince)
            moveSignals(image, std::chrono::duration<double>(Clock::now() - *movingSince).count());
        return modbus_reply(context, request, length, &mapping);
    }
    const std::shared_lock<std::shared_mutex> lock(mutex);
    return modbus_reply(context, request, length, &mapping);
}

} // namespace slavesim
