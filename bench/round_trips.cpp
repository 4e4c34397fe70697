// Round trips to slavesim over loopback: the plug-in with driverhost's link against a bare socket loop that
// sends and receives the same bytes, and against libmodbus and QModbusTcpClient.
//
//   round_trips ROUNDS COMMANDS
//
// In each round every client in turn runs COMMANDS commands; ratios compare figures of one round. Pin the
// program to one core (the slave inherits that): then only one of the two works at any time, and their
// processor times add up to the time of the round trip, without what other programs of the machine take in
// between.
#include "figures.h"
#include "session/tcp_link.h"
#include "slave_process.h"
#include "wire.h"

#include <QCoreApplication>
#include <QModbusTcpClient>

#include <ctime>
#include <functional>
#include <map>
#include <modbus.h>

namespace {

int registersOf(const MeasuredCommand& measured)
{
    return measured.command.dataType == DoubleWord ? 2 * measured.command.count : measured.command.count;
}

/// The plain socket calls.
class BareClient
{
public:
    explicit BareClient(quint16 port) : m_socket(port) {}

    void run(const MeasuredCommand& measured, int commands)
    {
        const QByteArray request = requestFrame(measured);
        for (int i = 0; i < commands; ++i)
            m_socket.exchange(request, measured.replyLength);
    }

private:
    BareSocket m_socket;
};

/// The plain socket calls of a client that limits its wait for a reply and lets no old one through: the least
/// that a driver's link can do.
class CarefulClient
{
public:
    explicit CarefulClient(quint16 port) : m_socket(port) { m_socket.limitTime(3); }

    void run(const MeasuredCommand& measured, int commands)
    {
        const QByteArray request = requestFrame(measured);
        for (int i = 0; i < commands; ++i) {
            m_socket.dropUnread();
            m_socket.exchange(request, measured.replyLength);
        }
    }

private:
    BareSocket m_socket;
};

DriverSetting linkSetting()
{
    return DriverSetting(3000, 0, 1, 0);
}

/// driverhost's link as the driver uses it, without the driver.
class LinkClient
{
public:
    explicit LinkClient(quint16 port) : m_link(QStringLiteral("127.0.0.1"), port, linkSetting(), 1)
    {
        if (!m_link.open())
            giveUp(m_link.errorString());
    }

    void run(const MeasuredCommand& measured, int commands)
    {
        const QByteArray request = requestFrame(measured);
        const int rest = measured.replyLength - 9;
        char reply[261];
        for (int i = 0; i < commands; ++i) {
            m_link.commandDelay();
            if (!m_link.isConnected() || m_link.writeData(request.constData(), request.size()) < 0 ||
                m_link.readData(reply, 9) != 9 || m_link.readData(reply + 9, rest) != rest)
                giveUp(m_link.errorString());
        }
    }

private:
    TcpLink m_link;
};

/// The plug-in over driverhost's link.
class DriverClient
{
public:
    explicit DriverClient(quint16 port)
        : m_plugin(loadDriver()), m_link(QStringLiteral("127.0.0.1"), port, linkSetting(), 1)
    {
    }

    void run(const MeasuredCommand& measured, int commands)
    {
        const QByteArray data = measured.data();
        for (int i = 0; i < commands; ++i)
            runCommand(m_plugin->driver(), m_link, measured, data);
    }

private:
    const std::unique_ptr<DriverPlugin> m_plugin;
    TcpLink m_link;
};

class LibmodbusClient
{
public:
    explicit LibmodbusClient(quint16 port) : m_context(modbus_new_tcp("127.0.0.1", port))
    {
        modbus_set_slave(m_context, 1);
        if (modbus_connect(m_context) != 0)
            giveUp(QString::fromLatin1(modbus_strerror(errno)));
    }

    LibmodbusClient(const LibmodbusClient&) = delete;
    LibmodbusClient& operator=(const LibmodbusClient&) = delete;
    ~LibmodbusClient() { modbus_free(m_context); }

    void run(const MeasuredCommand& measured, int commands)
    {
        for (int i = 0; i < commands; ++i) {
            if (runOne(measured) < 0)
                giveUp(QString::fromLatin1(modbus_strerror(errno)));
        }
    }

private:
    int runOne(const MeasuredCommand& measured)
    {
        if (measured.isWrite)
            return modbus_write_registers(m_context, 99, registersOf(measured), m_registers);
        if (measured.command.dataType == BitBlock)
            return modbus_read_bits(m_context, 0, measured.command.count, m_bits);
        return modbus_read_registers(m_context, 99, registersOf(measured), m_registers);
    }

    modbus_t* const m_context;
    uint16_t m_registers[125] = {};
    uint8_t m_bits[2000] = {};
};

class QtModbusClient
{
public:
    explicit QtModbusClient(quint16 port)
    {
        m_client.setConnectionParameter(QModbusDevice::NetworkAddressParameter, QStringLiteral("127.0.0.1"));
        m_client.setConnectionParameter(QModbusDevice::NetworkPortParameter, port);
        m_client.connectDevice();
        while (m_client.state() == QModbusDevice::ConnectingState)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (m_client.state() != QModbusDevice::ConnectedState)
            giveUp(m_client.errorString());
    }

    void run(const MeasuredCommand& measured, int commands)
    {
        const bool isBits = measured.command.dataType == BitBlock;
        const QModbusDataUnit unit(isBits ? QModbusDataUnit::Coils : QModbusDataUnit::HoldingRegisters,
                                   isBits ? 0 : 99, static_cast<quint16>(registersOf(measured)));
        for (int i = 0; i < commands; ++i) {
            const std::unique_ptr<QModbusReply> reply(measured.isWrite ? m_client.sendWriteRequest(unit, 1)
                                                                       : m_client.sendReadRequest(unit, 1));
            while (!reply->isFinished())
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            if (reply->error() != QModbusDevice::NoError)
                giveUp(reply->errorString());
        }
    }

private:
    QModbusTcpClient m_client;
};

using Client = std::function<void(const MeasuredCommand&, int)>;

template<typename Type>
Client makeClient(quint16 port)
{
    const auto client = std::make_shared<Type>(port);
    return [client](const MeasuredCommand& measured, int commands) { client->run(measured, commands); };
}

/// Processor time that this process and another one have used.
class ProcessorTime
{
public:
    explicit ProcessorTime(qint64 otherProcess)
    {
        if (::clock_getcpuclockid(static_cast<pid_t>(otherProcess), &m_otherClock) != 0)
            giveUp(QStringLiteral("no processor time of the slave"));
    }

    double seconds() const { return secondsOf(CLOCK_PROCESS_CPUTIME_ID) + secondsOf(m_otherClock); }

private:
    static double secondsOf(clockid_t clock)
    {
        timespec time = {};
        ::clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }

    clockid_t m_otherClock = 0;
};

/// Microseconds per command of each client, one sample per round.
using Samples = std::map<std::string, std::vector<double>>;

/// QModbusTcpClient of Qt 5.15 rejects a reply with 2000 coils as invalid.
bool canRun(const std::string& client, const MeasuredCommand& measured)
{
    return client != "qmodbus" || measured.command.dataType != BitBlock;
}

Samples measure(std::map<std::string, Client> clients, const ProcessorTime& time,
                const MeasuredCommand& measured, int rounds, int commands)
{
    if (!canRun("qmodbus", measured))
        clients.erase("qmodbus");
    Samples samples;
    for (const auto& [name, run] : clients)
        run(measured, commands / 10 + 1); // warm up
    for (int round = 0; round < rounds; ++round) {
        for (const auto& [name, run] : clients) {
            const double start = time.seconds();
            run(measured, commands);
            samples[name].push_back(1e6 * (time.seconds() - start) / commands);
        }
    }
    return samples;
}

void printFigures(const std::string& command, const Samples& samples)
{
    const std::vector<double>& driver = samples.at("driver");
    const std::vector<double>& bare = samples.at("bare");
    for (const auto& [client, times] : samples) {
        if (client != "bare")
            printFigure(std::string("roundtrip_").append(client).append("_ratio_bare_").append(command),
                        ratios(times, bare), "ratio", "bare socket loop");
    }
    for (const auto& [client, times] : samples) {
        if (client == "libmodbus" || client == "qmodbus")
            printFigure(std::string("roundtrip_driver_ratio_").append(client).append("_").append(command),
                        ratios(driver, times), "ratio", client);
    }
    printFigure("roundtrip_bare_" + command, bare, "us");
    printFigure("roundtrip_driver_" + command, driver, "us");
}

void measureAll(int rounds, int commands)
{
    SlaveProcess slave;
    if (!slave.start())
        giveUp(QStringLiteral("slavesim does not start: ") + QString::fromLocal8Bit(slave.problem()));
    makeProject(OneTag());
    const quint16 port = slave.port();
    const ProcessorTime time(slave.processId());
    const std::map<std::string, Client> clients = {
        {"bare", makeClient<BareClient>(port)},     {"careful", makeClient<CarefulClient>(port)},
        {"driver", makeClient<DriverClient>(port)}, {"libmodbus", makeClient<LibmodbusClient>(port)},
        {"link", makeClient<LinkClient>(port)},     {"qmodbus", makeClient<QtModbusClient>(port)},
    };
    std::vector<double> all;
    for (const MeasuredCommand& measured : measuredCommands()) {
        Samples samples = measure(clients, time, measured, rounds, commands);
        printFigures(measured.name, samples);
        const std::vector<double> ratio = ratios(samples["driver"], samples["bare"]);
        all.insert(all.end(), ratio.begin(), ratio.end());
    }
    printFigure("roundtrip_ratio_bare", all, "ratio", "bare socket loop");
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    return reportFailure([&] {
        const int rounds = argc == 3 ? countOf(argv[1]) : 0;
        const int commands = argc == 3 ? countOf(argv[2]) : 0;
        if (rounds < 1 || commands < 1)
            giveUp(QStringLiteral("give ROUNDS COMMANDS, both 1 or more"));
        measureAll(rounds, commands);
    });
}
