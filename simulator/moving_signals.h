#ifndef SLAVESIM_MOVING_SIGNALS_H
#define SLAVESIM_MOVING_SIGNALS_H

#include "process_image.h"

#include <string>
#include <vector>

namespace slavesim {

/// The value of consecutive cells over time.
struct MovingSignal
{
    Area area;
    std::uint32_t number; ///< of the first cell, from 1
    std::uint32_t count;  ///< cells; the first holds the lowest 16 bits (of a bit area: bit) of the value
    const char* description;
    std::uint32_t (*value)(double seconds); ///< seconds since the start; depends on nothing else
};

/// All of them; no two use the same cell.
const std::vector<MovingSignal>& movingSignals();

/// "IR1" or "DI3-DI10".
std::string cellsOf(const MovingSignal& signal);

/// Gives each of their cells its value at this time.
void moveSignals(ProcessImage& image, double seconds);

} // namespace slavesim

#endif
