// Runs random commands through the real plug-in and driverhost's link against a slave that makes faults, and
// compares every bit with what the device must hold.

#include "device_model.h"
#include "random_command.h"

#include "plugin_driver.h"
#include "session/tcp_link.h"
#include "slave_process.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTextStream>
#include <unistd.h>

#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

struct Options
{
    int commands = 100000;
    unsigned int seed = 1;
    int retry = 3;
    int timeout = 100;
    double rate = 0.005;
    std::vector<std::string> faults = {"late",     "drop",   "truncate",  "tid",   "unit",
                                       "protocol", "length", "function",  "reset", "rubbish",
                                       "double",   "drip",   "exception", "close", "both"};
};

struct Tally
{
    int commands = 0;
    int failed = 0;
    int wrong = 0;
    int overlong = 0;
    int run = 0;
    int longestRun = 0;
    double longestMs = 0;
};

/// What must not grow: a process has the same of these after a million commands as after a thousand.
struct Resources
{
    long kib = 0;
    int openFiles = 0;

    static Resources now()
    {
        QFile file(QStringLiteral("/proc/self/statm"));
        file.open(QIODevice::ReadOnly);
        const long pages = file.readAll().split(' ').at(1).toLong();
        const int files = QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
        return {pages * ::sysconf(_SC_PAGESIZE) / 1024, files};
    }
};

/// Coils and discrete inputs alike.
struct SoakTags
{
    template<typename Visit>
    void forEach(Visit visit) const
    {
        for (int cell = 0; cell < 65536; ++cell) {
            if (!isTag(cell))
                continue;
            visit(QStringLiteral("DO%1").arg(cell + 1));
            visit(QStringLiteral("DI%1").arg(cell + 1));
        }
    }
};

class Soak
{
public:
    Soak(DriverInterface& soakedDriver, TcpLink& soakedLink, const Options& soakOptions)
        : m_driver(soakedDriver), m_link(soakedLink), m_options(soakOptions), m_random(soakOptions.seed),
          m_err(stderr)
    {
    }

    void run()
    {
        const int settled = std::min(1000, m_options.commands / 4);
        m_start = Clock::now();
        while (tally.commands < m_options.commands) {
            const RandomCommand drawn = drawCommand(m_random);
            if (drawn.isWrite) {
                write(drawn);
                read(readBack(drawn));
            } else {
                read(drawn);
            }
            if (before.kib == 0 && tally.commands >= settled)
                before = Resources::now();
            showProgress();
        }
        after = Resources::now();
    }

    Tally tally;
    Resources before;
    Resources after;

private:
    void read(const RandomCommand& drawn)
    {
        const Clock::time_point begin = Clock::now();
        const QByteArray data = m_driver.read(&m_link, drawn.command);
        count(drawn, begin);
        if (!m_driver.hasError() && !isRight(drawn, data)) {
            ++tally.wrong;
            m_err << "\nwrong: " << drawn.command.address << " count " << drawn.command.count << ": "
                  << QString::fromLatin1(data.toHex()) << '\n';
        }
    }

    void write(const RandomCommand& drawn)
    {
        QByteArray data((drawn.bits + 7) / 8, '\0');
        for (int i = 0; i < drawn.bits; ++i) {
            // The part of the last register that the command does not cover is written as 0.
            const bool value = i / 8 < writtenBytes(drawn) && (m_random() & 1) != 0;
            if (value)
                data[i / 8] = static_cast<char>(data.at(i / 8) | 1 << i % 8);
            m_model.startWrite(drawn.place(i), value);
        }
        const Clock::time_point begin = Clock::now();
        const bool done = m_driver.write(&m_link, drawn.command, data.left(writtenBytes(drawn)));
        count(drawn, begin);
        for (int i = 0; done && i < drawn.bits; ++i)
            m_model.finishWrite(drawn.place(i));
    }

    static int writtenBytes(const RandomCommand& drawn)
    {
        const bool isBytes = drawn.command.dataType == Byte || drawn.command.dataType == Block;
        return isBytes ? drawn.command.count : (drawn.bits + 7) / 8;
    }

    bool isRight(const RandomCommand& drawn, const QByteArray& data) const
    {
        if (data.size() != (drawn.bits + 7) / 8)
            return false;
        for (int i = 0; i < 8 * data.size(); ++i) {
            const bool value = ((static_cast<unsigned char>(data.at(i / 8)) >> i % 8) & 1) != 0;
            const bool isZero = i >= drawn.bits || !drawn.isAsked(i);
            if (isZero ? value : !m_model.mayBe(drawn.place(i), value))
                return false;
        }
        return true;
    }

    void count(const RandomCommand& drawn, Clock::time_point begin)
    {
        const double ms = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
        tally.longestMs = std::max(tally.longestMs, ms);
        // Each request takes an opening at most, one send and two receives.
        const int waits = (m_options.retry + 1) * 4 * drawn.requests;
        const double schedulingMs = 1000;
        if (ms > waits * m_options.timeout + schedulingMs)
            ++tally.overlong;

        ++tally.commands;
        tally.run = m_driver.hasError() ? tally.run + 1 : 0;
        tally.longestRun = std::max(tally.longestRun, tally.run);
        if (m_driver.hasError()) {
            ++tally.failed;
            m_err << "\nfailed: " << m_driver.getLastError() << '\n';
        }
    }

    void showProgress()
    {
        const Clock::time_point now = Clock::now();
        if (!m_isTerminal || now - m_shown < std::chrono::milliseconds(200))
            return;
        m_shown = now;
        const double seconds = std::chrono::duration<double>(now - m_start).count();
        const double left = seconds * (m_options.commands - tally.commands) / std::max(tally.commands, 1);
        m_err << QStringLiteral("\r%1 of %2 commands, %3 failed, %4 wrong, %5 s left   ")
                     .arg(tally.commands)
                     .arg(m_options.commands)
                     .arg(tally.failed)
                     .arg(tally.wrong)
                     .arg(left, 0, 'f', 0);
        m_err.flush();
    }

    DriverInterface& m_driver;
    TcpLink& m_link;
    const Options& m_options;
    DeviceModel m_model;
    std::mt19937 m_random;
    QTextStream m_err;
    const bool m_isTerminal = ::isatty(STDERR_FILENO) != 0;
    Clock::time_point m_start;
    Clock::time_point m_shown;
};

QStringList slaveOptions(const Options& options)
{
    QStringList list = {QStringLiteral("--stats")};
    if (options.rate <= 0)
        return list;
    list += {QStringLiteral("--seed"),       QString::number(options.seed),
             QStringLiteral("--late-ms"),    QString::number(options.timeout * 5 / 2),
             QStringLiteral("--fault-rate"), QString::number(options.rate)};
    for (const std::string& fault : options.faults)
        list += {QStringLiteral("--fault"), QString::fromStdString(fault)};
    return list;
}

int run(const Options& options)
{
    QTextStream out(stdout);
    makeProject(SoakTags());
    const auto plugin = loadDriver();
    SlaveProcess slave;
    if (!slave.start(slaveOptions(options)))
        giveUp(QString::fromLocal8Bit(slave.problem()));
    TcpLink link(QStringLiteral("127.0.0.1"), slave.port(),
                 DriverSetting(options.timeout, options.retry, 1, 0), 1);
    Soak soak(plugin->driver(), link, options);
    soak.run();

    const Tally& tally = soak.tally;
    const int files = soak.after.openFiles - soak.before.openFiles;
    link.close();
    slave.stop();
    out << '\n' << slave.output();
    out << QStringLiteral(
               "connections made: %1, longest command: %2 ms, commands over their time limits: %3\n")
               .arg(link.connectionsMade())
               .arg(tally.longestMs, 0, 'f', 0)
               .arg(tally.overlong);
    out << QStringLiteral("soak: %1 commands, %2 failed, %3 wrong, longest run of failures %4, "
                          "memory grew %5 KiB, open files grew %6\n")
               .arg(tally.commands)
               .arg(tally.failed)
               .arg(tally.wrong)
               .arg(tally.longestRun)
               .arg(soak.after.kib - soak.before.kib)
               .arg(files);
    const bool mayFail = options.retry < 3;
    return tally.wrong == 0 && tally.overlong == 0 && files <= 0 && (mayFail || tally.failed == 0) ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Options options;
    CLI::App app("Runs random commands through the driver against a slave that makes faults.");
    app.add_option("--commands", options.commands, "Number of commands")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--seed", options.seed, "Seed of the commands and of the faults")->capture_default_str();
    app.add_option("--retry", options.retry, "Retry count of the link")
        ->capture_default_str()
        ->check(CLI::Range(0, 100));
    app.add_option("--timeout", options.timeout, "Timeout of the link in milliseconds")
        ->capture_default_str()
        ->check(CLI::Range(10, 60000));
    app.add_option("--rate", options.rate, "Share of the requests that get a fault")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1.0));
    app.add_option("--fault", options.faults, "Only these faults of slavesim, repeatable");
    try {
        app.parse(argc, argv);
        return run(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::runtime_error& problem) {
        std::fprintf(stderr, "soak: %s\n", problem.what());
        return 2;
    }
}
