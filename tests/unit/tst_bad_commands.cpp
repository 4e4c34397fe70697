#include "modbus_tcp_slave.h"
#include "peak_memory.h"
#include "project_fixture.h"
#include "rows.h"
#include "scripted_link.h"

#include <QtTest>

#include <climits>
#include <ctime>

/// The most that a byte array can hold.
static const int LargestArray = INT_MAX - 64;

static const struct
{
    const char* name; ///< the address
    CommandDataType type;
    int readLimit;
    const char* readError;
    int writeLimit; ///< -1: not even 0
    const char* writeError;
} areas[] = {
    {"HR1", Bit, 2000, "can't read any word from HR1", 1968,
     "can't write 124 words to HR1|can't read any word from HR1"},
    {"HR1", Byte, 250, "can't read any byte from HR1", 246, "can't write ~ words to HR1"},
    {"HR1", Word, 125, "can't read any word from HR1", 123, "can't write ~ words to HR1"},
    {"HR1", DoubleWord, 62, "can't read any double word from HR1", 61, "can't write ~ words to HR1"},
    {"FN6HR1", Bit, 2000, "can't read any word from FN6HR1", 2000, "can't read any word from HR1"},
    {"FN6HR1", Byte, 250, "can't read any byte from FN6HR1", 246, "can't write any word to HR1"},
    {"FN6HR1", Word, 125, "can't read any word from FN6HR1", 123, "can't write any word to HR1"},
    {"FN6HR1", DoubleWord, 62, "can't read any double word from FN6HR1", 61, "can't write any word to HR1"},
    {"IR1", Bit, 2000, "can't read any word from IR1", -1, "can't write any bit to IR1"},
    {"IR1", Byte, 250, "can't read any byte from IR1", -1, "can't write any byte to IR1"},
    {"IR1", Word, 125, "can't read any word from IR1", -1, "can't write any word to IR1"},
    {"IR1", DoubleWord, 62, "can't read any double word from IR1", -1, "can't write any double word to IR1"},
    {"DO1", Bit, 2008, "can't read # bits from DO1", 1976, "can't write # bits to DO1"},
    {"DO1", Byte, LargestArray, "can't read # bytes from DO1", -1, "can't write any byte to DO1"},
    {"DO1", Word, 125, "can't read any word from DO1", -1, "can't write any word to DO1"},
    {"DO1", DoubleWord, 62, "can't read any double word from DO1", -1, "can't write any double word to DO1"},
    {"FN5DO1", Bit, 2008, "can't read # bits from FN5DO1", 1976, "can't write # bits to DO1"},
    {"FN5DO1", Byte, LargestArray, "can't read # bytes from DO1", -1, "can't write any byte to FN5DO1"},
    {"DI1", Bit, 2008, "can't read # bits from DI1", -1, "can't write any bit to DI1"},
    {"DI1", Byte, LargestArray, "can't read # bytes from DI1", -1, "can't write any byte to DI1"},
    {"DI1", Word, 125, "can't read any word from DI1", -1, "can't write any word to DI1"},
    {"FNUDO1", Bit, 2000, "can't read any word from FNUDO1", -1, "can't write any bit to FNUDO1"},
    {"XY1", Bit, 2000, "can't read any word from XY1", -1, "can't write any bit to XY1"},
    {"XY1", Byte, LargestArray, "can't read # bytes from DO1", -1, "can't write any byte to XY1"},
};

static const struct
{
    const char* name; ///< of the area
    CommandDataType type;
    int limit;
    const char* readError;
    const char* writeError;
} ends[] = {
    {"HR", Bit, 16, "can't read any word from HR65536", "can't read any word from HR65536"},
    {"HR", Byte, 2, "can't read any byte from HR65536", "can't write ~ words to HR65536"},
    {"FN6HR", Word, 1, "can't read any word from FN6HR65536", "can't write any word to HR65536"},
    {"HR", DoubleWord, 0, "can't read any double word from HR65536", "can't write ~ words to HR65536"},
    {"DO", Bit, 1, "can't read # bits from DO65536", "can't write # bits to DO65536"},
    {"FN5DO", Bit, 1, "can't read # bits from FN5DO65536", "can't write # bits to DO65536"},
};

class tst_bad_commands : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void counts_data() { addRows(areas); }
    void counts();
    void lastAddress_data() { addRows(ends); }
    void lastAddress();
    void coilDataBeyondTheCount();

private:
    void check(bool isWrite, const CommunicatorCommand& command, int limit, const QString& error);
};

void tst_bad_commands::initTestCase()
{
    ProjectFixture::clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(),
                                   QStringList() << QLatin1String("DO1") << QLatin1String("DI9")));
}

static bool isBits(CommandDataType type)
{
    return type == Bit || type == BitBlock;
}

static int bytesOf(CommandDataType type, int count)
{
    if (isBits(type))
        return (count + 7) / 8;
    return count * (type == Word ? 2 : type == DoubleWord ? 4 : 1);
}

/// The number of registers that a command claims to write.
static QString words(CommandDataType type, int count)
{
    const quint64 elements = quint32(count);
    return QString::number(type == Word ? elements : type == DoubleWord ? 2 * elements : (elements + 1) / 2);
}

/// Tries one command. Up to limit elements it succeeds. Beyond that it fails with the error, in which "#"
/// stands for the count and "~" for the registers, and takes neither memory nor time for what cannot be sent.
void tst_bad_commands::check(bool isWrite, const CommunicatorCommand& command, int limit,
                             const QString& error)
{
    DriverModbusTcpSlave driver;
    ObedientDevice device;
    QVERIFY(driver.readDB(&device, QString()));
    const PeakMemory memory;
    const clock_t start = clock();
    const QByteArray data(isBits(command.dataType) ? 247 : 4, '\0');
    const QByteArray read = isWrite ? QByteArray() : driver.read(&device, command);
    const bool done = isWrite ? driver.write(&device, command, data) : !driver.hasError();
    QVERIFY(clock() - start < CLOCKS_PER_SEC);
    QVERIFY2(memory.grownKiB() < 16 * 1024, QByteArray::number(memory.grownKiB()).constData());

    QString expected;
    if (command.count > limit || (command.count < 0 && limit != LargestArray))
        expected = QString(error)
                       .replace(QLatin1String("#"), QString::number(command.count))
                       .replace(QLatin1String("~"), words(command.dataType, command.count));
    else if (command.count == 0 && !device.sent.isEmpty() && device.sent.first().at(7) <= 4)
        expected = QLatin1String("exception code:03");
    QCOMPARE(driver.hasError() ? driver.getLastError().section(QLatin1String("> "), 1) : QString(), expected);
    QCOMPARE(done, expected.isEmpty());
    QCOMPARE(read.size(),
             isWrite || !done || command.count < 0 ? 0 : bytesOf(command.dataType, command.count));
    QCOMPARE(device.closes, 0);
    if (expected.startsWith(QLatin1String("can't")))
        QVERIFY(device.sent.size() <= (isWrite && isBits(command.dataType) ? 1 : 0));
}

void tst_bad_commands::counts()
{
    QFETCH(int, row);
    const QString address = QLatin1String(areas[row].name);
    const CommandDataType type = areas[row].type;
    const CommandDataType twin = type == Bit ? BitBlock : type == Byte ? Block : type;
    for (int isWrite = 0; isWrite < 2; ++isWrite) {
        const int limit = isWrite ? areas[row].writeLimit : areas[row].readLimit;
        const QString errors = QLatin1String(isWrite ? areas[row].writeError : areas[row].readError);
        foreach (int count, QList<int>() << 0 << 1 << limit << limit + 1 << 65535 << 0x40000001 << INT_MAX
                                         << -1 << INT_MIN) {
            if (limit == LargestArray && count > 65535 && count <= limit)
                continue; // allowed: gigabytes of zeros
            const int one = count == limit + 1 ? 0 : -1;
            const QString error = errors.section(QLatin1Char('|'), one, one);
            check(isWrite != 0, CommunicatorCommand(type, count, address), limit, error);
            check(isWrite != 0, CommunicatorCommand(twin, count, address), limit, error);
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(QString::fromLatin1("type %1 count %2").arg(type).arg(count)));
        }
    }
}

/// An address without a number, or with one beyond the last, is the last address: one element fits there.
void tst_bad_commands::lastAddress()
{
    QFETCH(int, row);
    const int limit = ends[row].limit;
    foreach (const QString& number,
             QString::fromUtf8("|0|65536|131072|-1|+1| 1|\u0661|\u00e41|-SW").split(QLatin1Char('|'))) {
        for (int count = limit; count <= limit + 1; ++count) {
            const CommunicatorCommand command(ends[row].type, count, QLatin1String(ends[row].name) + number);
            check(false, command, limit, QLatin1String(ends[row].readError));
            check(true, command, limit, QLatin1String(ends[row].writeError));
        }
    }
}

/// A command's data may be longer than its count; all of it is sent if the request can tell its size.
void tst_bad_commands::coilDataBeyondTheCount()
{
    DriverModbusTcpSlave driver;
    ObedientDevice device;
    QVERIFY(
        driver.write(&device, CommunicatorCommand(Bit, 2, QLatin1String("FN5DO1")), QByteArray(300, '\1')));
    QCOMPARE(device.sent.size(), 2);
    const QByteArray most(255, '\1');
    QVERIFY(driver.write(&device, CommunicatorCommand(Bit, 2, QLatin1String("DO1")), most));
    QCOMPARE(device.sent.last().mid(4), hex("0106 01 0F 0000 0002 FF") + most);
    QVERIFY(!driver.write(&device, CommunicatorCommand(Bit, 2, QLatin1String("DO1")), most + '\1'));
    QVERIFY(driver.getLastError().endsWith(QLatin1String("> can't write 2 bits to DO1")));
    QCOMPARE(device.sent.size(), 3);
}

QTEST_MAIN(tst_bad_commands)
#include "tst_bad_commands.moc"
