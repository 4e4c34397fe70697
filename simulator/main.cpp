#include "options.h"
#include "server.h"

#include <fcntl.h>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <unistd.h>

/// "slavesim: 300 requests, 30 faults (late 15, drop 15)"
static std::string statsLine(const slavesim::FaultPlan& counts)
{
    std::string list;
    std::uint64_t faults = 0;
    for (std::size_t i = 0; i < slavesim::FaultKindCount; ++i) {
        const auto kind = static_cast<slavesim::FaultKind>(i);
        if (counts.faults(kind) == 0)
            continue;
        faults += counts.faults(kind);
        list += (list.empty() ? "" : ", ") + std::string(faultName(kind)) + " " +
                std::to_string(counts.faults(kind));
    }
    const std::string kinds = list.empty() ? "" : " (" + list + ")";
    return "slavesim: " + std::to_string(counts.requests()) + " requests, " + std::to_string(faults) +
           " faults" + kinds;
}

/// If standard input, output or error is closed, a client's socket must not get its descriptor and with it
/// what is written there.
static void openStandardDescriptors()
{
    int opened = ::open("/dev/null", O_RDWR);
    while (opened >= 0 && opened <= STDERR_FILENO)
        opened = ::open("/dev/null", O_RDWR);
    ::close(opened);
}

int main(int argc, char* argv[])
{
    openStandardDescriptors();
    int exitStatus = 0;
    const auto options = slavesim::parseCommandLine(argc, argv, exitStatus);
    if (!options)
        return exitStatus;
    try {
        slavesim::Server server(*options);
        std::cout << "slavesim: listening on " << textOf(server.address()) << std::endl;
        server.run();
        if (options->stats)
            std::cout << statsLine(server.counts()) << std::endl;
        return 0;
    } catch (const std::runtime_error& error) {
        std::cerr << "slavesim: " << error.what() << '\n';
    } catch (const std::bad_alloc&) {
        std::cerr << "slavesim: cannot start: not enough memory\n";
    }
    return 2;
}
