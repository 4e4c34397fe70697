#include "crc.h"
#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "scripted_link.h"

#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

/// Runs the same work on several threads that all start at once.
template<typename Work>
void together(int threads, Work work)
{
    std::atomic<int> missing(threads);
    std::vector<std::thread> running;
    for (int i = 0; i < threads; ++i)
        running.push_back(std::thread([&missing, work, i] {
            for (--missing; missing > 0;)
                std::this_thread::yield();
            work(i);
        }));
    for (size_t i = 0; i < running.size(); ++i)
        running[i].join();
}

class tst_threads : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void firstCrcCalls();
    void driversOfTheirOwn();
    void connectionNamesDiffer();
};

void tst_threads::initTestCase()
{
    ProjectFixture::clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(),
                                   QStringList() << QLatin1String("DO1") << QLatin1String("DO3")));
}

/// Whichever thread comes first builds the table of each function.
void tst_threads::firstCrcCalls()
{
    const unsigned char text[] = "123456789";
    std::atomic<int> wrong(0);
    together(4, [&](int) {
        quint16 ccitt = 0, arc = 0, kermit = 0, dnp = 0;
        quint32 crc32 = 0xFFFFFFFFu;
        for (int i = 0; i < 9; ++i) {
            ccitt = update_crc_ccitt(ccitt, text[i]);
            arc = update_crc_16(arc, text[i]);
            kermit = update_crc_kermit(kermit, text[i]);
            dnp = update_crc_dnp(dnp, text[i]);
            crc32 = update_crc_32(crc32, text[i]);
        }
        if (ccitt != 0x31C3 || arc != 0xBB3D || kermit != 0x2189 || dnp != 0x157D || crc32 != ~0xCBF43926u)
            ++wrong;
    });
    QCOMPARE(int(wrong), 0);
}

/// Each thread makes its driver, loads the project and reads and writes every area. Its device answers reads
/// with a byte of its own, so that a reply to the other thread would show.
void tst_threads::driversOfTheirOwn()
{
    static const struct
    {
        CommandDataType type;
        const char* address;
        int count;
        int length;
    } commands[] = {{Word, "HR1", 3, 6},    {DoubleWord, "IR1SW", 2, 8}, {Byte, "HR1", 3, 3},
                    {Bit, "DO1", 16, 2},    {BitBlock, "DI9", 8, 1},     {Bit, "HR1.8", 8, 1},
                    {Word, "FN6HR1", 2, 4}, {Bit, "FN5DO1", 8, 1}};
    const int rounds = 200;
    std::atomic<int> wrong(0);
    together(2, [&](int thread) {
        DriverModbusTcpSlave driver;
        ObedientDevice device(thread == 0 ? 0x55 : 0x2A);
        for (int i = 0; i < rounds; ++i) {
            for (size_t k = 0; k < sizeof commands / sizeof *commands; ++k) {
                const CommunicatorCommand command(commands[k].type, commands[k].count,
                                                  QLatin1String(commands[k].address));
                const QByteArray expected(commands[k].length, device.value);
                const bool isInput = command.address.contains(QLatin1Char('I'));
                if (driver.read(&device, command) != expected || driver.hasError() ||
                    driver.write(&device, command, expected) == isInput)
                    ++wrong;
            }
            if (driver.read(&device, CommunicatorCommand(Byte, 1, QLatin1String("DO1"))).size() != 1)
                ++wrong;
            device.sent.clear();
            device.calls.clear();
        }
    });
    QCOMPARE(int(wrong), 0);
}

/// Every thread draws the same random numbers, yet each driver object gets its own connection.
void tst_threads::connectionNamesDiffer()
{
    const int threads = 4;
    const int before = QSqlDatabase::connectionNames().size();
    std::atomic<int> unmade(threads), failed(0);
    together(threads, [&](int) {
        DriverModbusTcpSlave drivers[5];
        ScriptedLink link;
        for (--unmade; unmade > 0;) // load when all have their names
            std::this_thread::yield();
        for (DriverModbusTcpSlave& driver : drivers)
            failed += driver.readDB(&link, QString()) ? 0 : 1;
    });
    QCOMPARE(int(failed), 0);
    QCOMPARE(QSqlDatabase::connectionNames().size(), before + threads * 5);
}

QTEST_MAIN(tst_threads)
#include "tst_threads.moc"
