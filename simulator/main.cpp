#include "options.h"
#include "server.h"

#include <iostream>
#include <stdexcept>

int main(int argc, char* argv[])
{
    int exitStatus = 0;
    const auto options = slavesim::parseCommandLine(argc, argv, exitStatus);
    if (!options)
        return exitStatus;
    try {
        slavesim::Server server(*options);
        std::cout << "slavesim: listening on " << textOf(server.address()) << std::endl;
        server.run();
        return 0;
    } catch (const std::runtime_error& error) {
        std::cerr << "slavesim: " << error.what() << '\n';
        return 2;
    }
}
