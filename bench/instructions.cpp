// Runs one command many times for callgrind to count (see run). The counts of two runs, subtracted, leave the
// instructions of the commands alone.
//
//   instructions SUBJECT COMMAND RUNS
//
//   driver      the plug-in over a link in memory
//   idle        a driver that does nothing
//   bare        send and recv on a socket, with the frames of the command
//   libmodbus   libmodbus over the same socket
//   sparse      the plug-in over a link in memory; COMMAND is BITS-PERCENT, a byte read over that many coils
#include "bench_driver.h"
#include "memory_link.h"
#include "sparse.h"
#include "wire.h"

#include <QCoreApplication>

#include <modbus.h>

namespace {

using Measured = const MeasuredCommand&;

void runDriver(Measured measured, int runs)
{
    makeProject(OneTag());
    const auto plugin = loadDriver();
    MemoryLink link;
    const QByteArray data = measured.data();
    for (int i = 0; i < runs; ++i)
        runCommand(plugin->driver(), link, measured, data);
}

void runSparse(const QList<QByteArray>& bitsAndPercent, int runs)
{
    const SparseRead sparse = {bitsAndPercent.value(0).toInt(), bitsAndPercent.value(1).toInt()};
    makeProject(sparse);
    const auto plugin = loadDriver();
    MemoryLink link;
    const MeasuredCommand measured = {"sparse read", sparse.command(), false, 0, 0};
    for (int i = 0; i < runs; ++i)
        runCommand(plugin->driver(), link, measured, QByteArray());
}

/// Does nothing, so that only the loop that runs commands is counted.
class IdleDriver : public DriverInterface
{
public:
    QByteArray read(AbstractDeviceInterface*, const CommunicatorCommand&) override
    {
        return QByteArrayLiteral("something");
    }

    bool write(AbstractDeviceInterface*, const CommunicatorCommand&, const QByteArray&) override
    {
        return true;
    }

    int totalSize() override { return 0; }
    bool initialize(AbstractDeviceInterface*) override { return true; }
    bool validation(const QString&) override { return true; }
    DeviceSetting* getDefaultSerialDeviceSetting() override { return nullptr; }
    DriverSetting* getDefaultDriverSetting() override { return nullptr; }
    int supportedCommunicationFlags() override { return 0; }
    void setDebugMode(bool) override {}
    int getBlockAccessSize() override { return 0; }
    int getBitBlockAccessSize() override { return 0; }
    bool hasError() override { return false; }
    QString getLastError() override { return QString(); }
    QObject* getThisObject() override { return nullptr; }
};

void runIdle(Measured measured, int runs)
{
    IdleDriver idle;
    DriverInterface* volatile anyDriver = &idle; // the compiler must not know either which driver it is
    MemoryLink link;
    for (int i = 0; i < runs; ++i)
        runCommand(*anyDriver, link, measured, QByteArray());
}

/// Starts a process that answers requests at the other end of a socket. Its cost is not counted.
int socketToSlave(const char* program)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        giveUp(QStringLiteral("no socket pair"));
    if (::fork() == 0) {
        ::close(ends[0]);
        ::execl(program, program, "answer", qPrintable(QString::number(ends[1])), "0", nullptr);
        ::_exit(1);
    }
    ::close(ends[1]);
    return ends[0];
}

void answer(int socket)
{
    MemoryLink slave;
    char frame[261];
    while (::recv(socket, frame, sizeof frame, 0) > 0) {
        slave.writeData(frame, 0);
        const int length = slave.replyLength();
        slave.readData(frame, length);
        if (::send(socket, frame, static_cast<std::size_t>(length), MSG_NOSIGNAL) != length)
            return;
    }
}

void runBare(int socket, Measured measured, int runs)
{
    BareSocket bare(socket);
    const QByteArray request = requestFrame(measured);
    for (int i = 0; i < runs; ++i)
        bare.exchange(request, measured.replyLength);
}

void runLibmodbus(int socket, Measured measured, int runs)
{
    modbus_t* const context = modbus_new_tcp("127.0.0.1", 502);
    modbus_set_slave(context, 1);
    modbus_set_socket(context, socket);
    const int registers =
        measured.command.dataType == DoubleWord ? 2 * measured.command.count : measured.command.count;
    uint16_t values[125] = {};
    uint8_t bits[2000];
    for (int i = 0; i < runs; ++i) {
        const int done = measured.isWrite ? modbus_write_registers(context, 99, registers, values)
                         : measured.command.dataType == BitBlock
                             ? modbus_read_bits(context, 0, measured.command.count, bits)
                             : modbus_read_registers(context, 99, registers, values);
        if (done < 0)
            giveUp(QString::fromLatin1(modbus_strerror(errno)));
    }
    modbus_free(context);
}

void run(const QByteArray& subject, Measured measured, int runs, const char* program)
{
    if (subject == "driver")
        runDriver(measured, runs);
    else if (subject == "idle")
        runIdle(measured, runs);
    else if (subject == "bare")
        runBare(socketToSlave(program), measured, runs);
    else if (subject == "libmodbus")
        runLibmodbus(socketToSlave(program), measured, runs);
    else
        giveUp(QStringLiteral("no such subject: ") + QLatin1String(subject));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    return reportFailure([&] {
        if (argc != 4)
            giveUp(QStringLiteral("give SUBJECT COMMAND RUNS"));
        if (QByteArray(argv[1]) == "answer") {
            answer(countOf(argv[2]));
            return;
        }
        if (QByteArray(argv[1]) == "sparse") {
            runSparse(QByteArray(argv[2]).split('-'), countOf(argv[3]));
            return;
        }
        const MeasuredCommand* const measured = findCommand(argv[2]);
        if (!measured)
            giveUp(QStringLiteral("no such command: %1").arg(QLatin1String(argv[2])));
        run(argv[1], *measured, countOf(argv[3]), argv[0]);
    });
}
