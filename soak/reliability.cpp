// What single faults on the wire cost: the driver with driverhost's link beside libmodbus, against the same
// slave. Prints a table in Markdown.

#include "plugin_driver.h"
#include "session/tcp_link.h"
#include "slave_process.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QTextStream>
#include <modbus.h>

#include <functional>

namespace {

constexpr int Commands = 300;
constexpr int FaultEvery = 10;
int timeoutMs = 100; ///< the check takes more: a busy machine is not a fault of the wire
constexpr int Registers = 10;
constexpr int ExpectedFaults = Commands / FaultEvery;

struct Fault
{
    const char* name;
    const char* text;
    int mostFailures; ///< of our driver with a retry count of 0
};

const Fault faults[] = {
    {"late", "reply late by more than the timeout", ExpectedFaults},
    {"drop", "reply dropped", ExpectedFaults},
    {"truncate", "reply truncated, then silence", ExpectedFaults},
    {"tid", "transaction identifier altered", ExpectedFaults},
    {"unit", "unit identifier altered", ExpectedFaults},
    {"protocol", "protocol identifier altered", ExpectedFaults},
    {"length", "length field altered", ExpectedFaults},
    {"function", "function code altered", ExpectedFaults},
    {"reset", "connection reset in mid-reply", ExpectedFaults},
    {"rubbish", "rubbish ahead of the reply", ExpectedFaults},
    {"exception", "exception reply", ExpectedFaults},
    {"both", "exception reply, then the reply", ExpectedFaults},
    {"close", "connection closed with the reply", 0},
    {"double", "reply sent twice", 0},
    {"drip", "reply one byte at a time", ExpectedFaults},
};

struct Result
{
    int failed = 0;
    int wrong = 0;
    int longestRun = 0;

    QString text() const
    {
        const QString cell = QStringLiteral("%1 / %2").arg(failed).arg(longestRun);
        return wrong == 0 ? cell : cell + QStringLiteral(", **%1 wrong**").arg(wrong);
    }
};

/// Reads the registers from number on; their values go into the vector. False when the read failed.
using ReadRegisters = std::function<bool(int number, std::vector<int>& values)>;

Result measure(const ReadRegisters& readRegisters)
{
    Result result;
    int run = 0;
    for (int i = 0; i < Commands; ++i) {
        const int number = 1 + Registers * i;
        std::vector<int> values;
        const bool done = readRegisters(number, values);
        run = done ? 0 : run + 1;
        result.failed += done ? 0 : 1;
        result.longestRun = std::max(result.longestRun, run);
        for (int k = 0; done && k < Registers; ++k) {
            if (values.at(static_cast<std::size_t>(k)) != number + k) {
                ++result.wrong;
                break;
            }
        }
    }
    return result;
}

Result measureDriver(quint16 port, int retry)
{
    const auto plugin = loadDriver();
    DriverInterface& driver = plugin->driver();
    TcpLink link(QStringLiteral("127.0.0.1"), port, DriverSetting(timeoutMs, retry, 1, 0), 1);
    return measure([&](int number, std::vector<int>& values) {
        const QByteArray data =
            driver.read(&link, CommunicatorCommand(Word, Registers, QStringLiteral("HR%1").arg(number)));
        for (int k = 0; k + 1 < data.size(); k += 2)
            values.push_back(static_cast<unsigned char>(data.at(k)) +
                             256 * static_cast<unsigned char>(data.at(k + 1)));
        return !driver.hasError() && values.size() == Registers;
    });
}

Result measureLibmodbus(quint16 port, modbus_error_recovery_mode recovery)
{
    const std::unique_ptr<modbus_t, void (*)(modbus_t*)> context(modbus_new_tcp("127.0.0.1", port),
                                                                 modbus_free);
    modbus_set_slave(context.get(), 1);
    modbus_set_response_timeout(context.get(), 0, static_cast<uint32_t>(timeoutMs) * 1000);
    modbus_set_error_recovery(context.get(), recovery);
    if (modbus_connect(context.get()) != 0)
        throw std::runtime_error("libmodbus cannot connect");
    const Result result = measure([&](int number, std::vector<int>& values) {
        uint16_t registers[Registers] = {};
        if (modbus_read_registers(context.get(), number - 1, Registers, registers) != Registers)
            return false;
        values.assign(registers, registers + Registers);
        return true;
    });
    modbus_close(context.get());
    return result;
}

/// Runs one client against a slave of its own that makes the fault on every tenth request.
Result against(const Fault& fault, const std::function<Result(quint16)>& client)
{
    SlaveProcess slave;
    const QStringList options = {QStringLiteral("--fault"),       QString::fromLatin1(fault.name),
                                 QStringLiteral("--fault-every"), QString::number(FaultEvery),
                                 QStringLiteral("--late-ms"),     QString::number(timeoutMs * 5 / 2)};
    if (!slave.start(options))
        throw std::runtime_error("slavesim did not start: " + slave.problem().toStdString());
    return client(slave.port());
}

/// Runs the driver alone and checks that it keeps its promises.
int check(QTextStream& out)
{
    timeoutMs = 250;
    int broken = 0;
    for (const Fault& fault : faults) {
        const Result once = against(fault, [](quint16 port) { return measureDriver(port, 0); });
        const Result again = against(fault, [](quint16 port) { return measureDriver(port, 1); });
        const bool kept = once.failed <= fault.mostFailures && once.longestRun <= 1 && again.failed == 0 &&
                          once.wrong + again.wrong == 0;
        broken += kept ? 0 : 1;
        out << QStringLiteral("%1 retry 0: %2  retry 1: %3%4\n")
                   .arg(QLatin1String(fault.name), -10)
                   .arg(once.text(), -8)
                   .arg(again.text(), kept ? QString() : QStringLiteral("  NOT AS PROMISED"));
        out.flush();
    }
    return broken == 0 ? 0 : 1;
}

void printTable(QTextStream& out)
{
    out << "| fault | this driver, retry 0 | this driver, retry 1 | libmodbus, defaults | libmodbus, its "
           "recovery modes |\n|---|---|---|---|---|\n";
    const auto recovering =
        static_cast<modbus_error_recovery_mode>(MODBUS_ERROR_RECOVERY_LINK | MODBUS_ERROR_RECOVERY_PROTOCOL);
    const std::function<Result(quint16)> clients[] = {
        [](quint16 port) { return measureDriver(port, 0); },
        [](quint16 port) { return measureDriver(port, 1); },
        [](quint16 port) { return measureLibmodbus(port, MODBUS_ERROR_RECOVERY_NONE); },
        [=](quint16 port) { return measureLibmodbus(port, recovering); },
    };
    for (const Fault& fault : faults) {
        out << "| " << fault.text << " |";
        for (const auto& client : clients) {
            out << ' ' << against(fault, client).text() << " |";
            out.flush();
        }
        out << '\n';
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    CLI::App app("Measures what single faults on the wire cost; the result is a table in Markdown.");
    bool checkOnly = false;
    app.add_flag("--check", checkOnly, "Run only the driver and check that it keeps its promises");
    CLI11_PARSE(app, argc, argv)

    QTextStream out(stdout);
    try {
        makeProject(OneTag());
        if (checkOnly)
            return check(out);
        printTable(out);
    } catch (const std::runtime_error& problem) {
        out << "reliability: " << problem.what() << '\n';
        return 2;
    }
    return 0;
}
