// Many drivers at once, each on its own thread and with driverhost's link to its own slave, beside the same
// number of bare socket loops.
//
//   links ROUNDS MILLISECONDS
//
// Each client shares a core with its slave, and the pairs are spread over the cores. Left to itself, the
// system places them differently from one moment to the next, which matters more than anything compared here.
#include "figures.h"
#include "session/tcp_link.h"
#include "slave_process.h"
#include "wire.h"

#include <QCoreApplication>

#include <atomic>
#include <deque>
#include <exception>
#include <functional>
#include <sched.h>
#include <thread>

namespace {

/// What one thread does until it is stopped. Returns the number of commands.
using Loop = std::function<long(const std::atomic<bool>& stop)>;

/// Pins a process (0: the calling thread), and what it starts later, to one core.
void pin(qint64 process, std::size_t pair)
{
    const auto cores = static_cast<std::size_t>(::sysconf(_SC_NPROCESSORS_ONLN));
    cpu_set_t core;
    CPU_ZERO(&core);
    CPU_SET(pair % cores, &core);
    if (::sched_setaffinity(static_cast<pid_t>(process), sizeof core, &core) != 0)
        giveUp(QStringLiteral("cannot choose a core"));
}

/// Runs all loops at once for this long. Returns their commands per second, all together.
double commandsPerSecond(const std::vector<Loop>& loops, int milliseconds)
{
    std::atomic<bool> stop{false};
    std::atomic<long> commands{0};
    std::exception_ptr failure;
    std::atomic<bool> failed{false};
    std::vector<std::thread> threads;
    const Clock::time_point start = Clock::now();
    for (std::size_t i = 0; i < loops.size(); ++i) {
        threads.emplace_back([&, i] {
            try {
                pin(0, i);
                commands += loops[i](stop);
            } catch (...) {
                if (!failed.exchange(true))
                    failure = std::current_exception();
            }
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    if (failed)
        std::rethrow_exception(failure);
    return static_cast<double>(commands) / secondsSince(start);
}

Loop bareLoop(BareSocket& socket)
{
    return [&socket](const std::atomic<bool>& stop) {
        const MeasuredCommand& measured = measuredCommands().first();
        const QByteArray request = requestFrame(measured);
        long commands = 0;
        for (; !stop; ++commands)
            socket.exchange(request, measured.replyLength);
        return commands;
    };
}

struct LinkedDriver
{
    explicit LinkedDriver(quint16 port)
        : plugin(loadDriver()), link(QStringLiteral("127.0.0.1"), port, DriverSetting(3000, 0, 1, 0), 1)
    {
        runCommand(plugin->driver(), link, measuredCommands().first(), QByteArray());
    }

    const std::unique_ptr<DriverPlugin> plugin;
    TcpLink link;
};

Loop driverLoop(LinkedDriver& driver)
{
    return [&driver](const std::atomic<bool>& stop) {
        long commands = 0;
        for (; !stop; ++commands)
            runCommand(driver.plugin->driver(), driver.link, measuredCommands().first(), QByteArray());
        return commands;
    };
}

void measure(int links, int rounds, int milliseconds)
{
    std::deque<SlaveProcess> slaves;
    std::deque<BareSocket> sockets;
    std::deque<LinkedDriver> drivers;
    std::vector<Loop> bareLoops;
    std::vector<Loop> driverLoops;
    for (int i = 0; i < links; ++i) {
        slaves.emplace_back();
        if (!slaves.back().start())
            giveUp(QStringLiteral("slavesim does not start: ") +
                   QString::fromLocal8Bit(slaves.back().problem()));
        pin(slaves.back().processId(), static_cast<std::size_t>(i));
        bareLoops.push_back(bareLoop(sockets.emplace_back(slaves.back().port())));
        driverLoops.push_back(driverLoop(drivers.emplace_back(slaves.back().port())));
    }
    std::vector<double> bare;
    std::vector<double> driver;
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(commandsPerSecond(bareLoops, milliseconds));
        driver.push_back(commandsPerSecond(driverLoops, milliseconds));
    }
    const std::string name = "links_" + std::to_string(links);
    printFigure(name, ratios(driver, bare), "ratio", "as many bare socket loops");
    printFigure(name + "_commands", driver, "1/s");
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    return reportFailure([&] {
        const int rounds = argc == 3 ? countOf(argv[1]) : 0;
        const int milliseconds = argc == 3 ? countOf(argv[2]) : 0;
        if (rounds < 1 || milliseconds < 1)
            giveUp(QStringLiteral("give ROUNDS MILLISECONDS, both 1 or more"));
        makeProject(OneTag());
        for (int links : {1, 2, 8, 64})
            measure(links, rounds, milliseconds);
    });
}
