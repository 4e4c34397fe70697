// From nothing to the first value: loading the plug-in, creating a driver, reading the project, connecting to
// slavesim and reading one register, each time in a new process.
//
//   startup ROUNDS
#include "figures.h"
#include "session/tcp_link.h"
#include "slave_process.h"
#include "wire.h"

#include <QCoreApplication>
#include <QProcess>

#include <malloc.h>

namespace {

double heapKilobytes()
{
    return static_cast<double>(::mallinfo2().uordblks) / 1024;
}

/// Prints the microseconds from before loading to after the first value, and by how much the heap has grown
/// then.
void readOnce(quint16 port)
{
    const double heapBefore = heapKilobytes();
    const Clock::time_point start = Clock::now();
    const auto plugin = loadDriver();
    TcpLink link(QStringLiteral("127.0.0.1"), port, DriverSetting(3000, 0, 1, 0), 1);
    const MeasuredCommand measured = {"first value", {Word, 1, QStringLiteral("HR1")}, false, 12, 11};
    runCommand(plugin->driver(), link, measured, QByteArray());
    std::printf("%.1f %.1f\n", 1e6 * secondsSince(start), heapKilobytes() - heapBefore);
}

void measure(int rounds)
{
    SlaveProcess slave;
    if (!slave.start())
        giveUp(QStringLiteral("slavesim does not start: ") + QString::fromLocal8Bit(slave.problem()));
    makeProject(OneTag());
    std::vector<double> microseconds;
    std::vector<double> heap;
    for (int round = 0; round < rounds; ++round) {
        QProcess once;
        once.start(QCoreApplication::applicationFilePath(),
                   {QStringLiteral("--once"), QString::number(slave.port())});
        if (!once.waitForFinished() || once.exitCode() != 0)
            giveUp(QStringLiteral("a process of its own failed: ") +
                   QString::fromLocal8Bit(once.readAllStandardError()));
        const QList<QByteArray> values = once.readAllStandardOutput().trimmed().split(' ');
        microseconds.push_back(values.value(0).toDouble());
        heap.push_back(values.value(1).toDouble());
    }
    printFigure("startup_to_first_value", microseconds, "us");
    printFigure("startup_heap", heap, "kB");
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    return reportFailure([&] {
        if (argc == 3 && QByteArray(argv[1]) == "--once") {
            readOnce(QByteArray(argv[2]).toUShort());
            return;
        }
        const int rounds = argc == 2 ? countOf(argv[1]) : 0;
        if (rounds < 1)
            giveUp(QStringLiteral("give ROUNDS, 1 or more"));
        measure(rounds);
    });
}
