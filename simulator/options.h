#ifndef SLAVESIM_OPTIONS_H
#define SLAVESIM_OPTIONS_H

#include "fault_plan.h"
#include "served_cells.h"
#include "socket.h"

#include <bitset>
#include <optional>
#include <string>

namespace slavesim {

using Stations = std::bitset<256>; ///< by unit identifier

struct Options
{
    Endpoint endpoint{"127.0.0.1", 0};
    std::string imageFile; ///< empty: ProcessImage::numbered()
    bool onlyImage = false;
    Stations stations = Stations().set();
    ServedCells served;
    bool moving = false;
    FaultSchedule faults;
    std::uint32_t lateMs = 200;
    std::uint32_t refuseMs = 1000;
    bool control = false;
    std::optional<std::string> log; ///< the target that Log takes
    bool stats = false;
};

/// The options of a command line. --help and --version are answered on stdout, a wrong command line on stderr
/// by a sentence that names the option and what would be right. In both cases no options are returned, and
/// exitStatus is 0 or 2.
std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus);

} // namespace slavesim

#endif
