#include "fault_plan.h"
#include "modbus_client.h"
#include "moving_signals.h"
#include "slave_process.h"
#include "station_images.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include <deque>
#include <stdexcept>
#include <sys/resource.h>

using namespace slavesim;

static const QByteArray ReadHr1 = "000100000006010300000001";
static const QByteArray Hr1Is1 = "0001000000050103020001";
static const QByteArray WriteHr1 = "0001000000060106000003e7";
static const QByteArray Hr1Is999 = "00010000000501030203e7";
static constexpr int ShortMs = 200;

static QByteArray withoutBlanks(QByteArray hex)
{
    return hex.replace(' ', "");
}

static QStringList options(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// slavesim as its users meet it: the program, its command line, and bytes over TCP; and its parts that
/// others link.
class TestSlavesim : public QObject
{
    Q_OBJECT

private slots:
    void answers_data();
    void answers();
    void saysWhatIsWrong_data();
    void saysWhatIsWrong();
    void loadsAnImage_data();
    void loadsAnImage();
    void servesEachStationItsImage();
    void saysWhatIsWrongInAnImage_data();
    void saysWhatIsWrongInAnImage();
    void movesSignals_data();
    void movesSignals();
    void walksAtRandomButSmoothly();
    void readsMovingSignals();
    void makesFaults_data();
    void makesFaults();
    void lateReplyHoldsUpNobodyElse();
    void dripsByteByByte();
    void refusesClientsForAWhile();
    void plansFaultsInTurn();
    void plansFaultsBySeed();
    void waitsForTheRestOfARequest();
    void closesWhatIsNotModbus_data();
    void closesWhatIsNotModbus();
    void keepsNobodyOut_data();
    void keepsNobodyOut();
    void waitsWhenNobodyCanBeAccepted();
    void restartsOnItsPort();
    void logsAndCounts();

private:
    QString write(const QByteArray& content)
    {
        QFile file(folder.filePath(QStringLiteral("image.csv")));
        if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
        return file.fileName();
    }

    QTemporaryDir folder;
};

void TestSlavesim::answers_data()
{
    QTest::addColumn<QByteArray>("with");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");

    const auto row = [](const char* name, const char* with, const char* request, const char* reply) {
        QTest::newRow(name) << QByteArray(with) << QByteArray(request) << QByteArray(reply);
    };
    row("coils DO1-DO10", "", "0001 0000 0006 01 01 0000 000a", "0001 0000 0005 01 01 02 2401");
    row("discrete inputs DI1-DI10", "", "0001 0000 0006 01 02 0000 000a", "0001 0000 0005 01 02 02 1002");
    row("HR65535, HR65536", "", "0001 0000 0006 01 03 fffe 0002", "0001 0000 0007 01 03 04 ffff 0000");
    row("IR1, IR2", "", "0001 0000 0006 01 04 0000 0002", "0001 0000 0007 01 04 04 fffe fffd");
    row("DI65535, DI65536", "", "0001 0000 0006 01 02 fffe 0002", "0001 0000 0004 01 02 01 01");
    row("beyond the last register", "", "0001 0000 0006 01 03 ffff 0002", "0001 0000 0003 01 83 02");
    row("unknown function with more bytes", "", "0001 0000 0007 01 2b 0e 01 00 00 00",
        "0001 0000 0003 01 ab 01");
    row("126 registers", "", "0001 0000 0006 01 03 0000 007e", "0001 0000 0003 01 83 03");
    row("write HR2, HR3", "", "0001 0000 000b 01 10 0001 0002 04 1234 5678",
        "0001 0000 0006 01 10 0001 0002");
    row("write one coil", "", "0001 0000 0006 01 05 0004 ff00", "0001 0000 0006 01 05 0004 ff00");
    row("served up to its last", "--serve HR=1-10 --serve hr=11-12", "0001 0000 0006 01 03 0009 0003",
        "0001 0000 0009 01 03 06 000a 000b 000c");
    row("served, one beyond", "--serve HR=1-10 --serve HR=11-12", "0001 0000 0006 01 03 0009 0004",
        "0001 0000 0003 01 83 02");
    row("a hole in what is served", "--serve HR=1-5 --serve HR=7-9", "0001 0000 0006 01 03 0000 0009",
        "0001 0000 0003 01 83 02");
    row("write outside", "--serve HR=100-110", "0001 0000 0006 01 06 0062 0001", "0001 0000 0003 01 86 02");
    row("read and write, write outside", "--serve HR=1-2", "0001 0000 000d 01 17 0000 0001 0002 0001 02 0001",
        "0001 0000 0003 01 97 02");
    row("another area is served in full", "--serve HR=1-5", "0001 0000 0006 01 04 fffe 0001",
        "0001 0000 0005 01 04 02 0000");
    row("a station among several", "--stations 1,5-7", "0001 0000 0006 06 04 0000 0001",
        "0001 0000 0005 06 04 02 fffe");
    row("a silent station", "--stations 1,5-7", "0001 0000 0006 08 04 0000 0001", "");
}

void TestSlavesim::answers()
{
    QFETCH(QByteArray, with);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    SlaveProcess slave;
    QVERIFY2(slave.start(options(with)), slave.problem());
    ModbusClient client(slave.port());
    QCOMPARE(client.exchange(request, reply.isEmpty() ? ShortMs : 10000), withoutBlanks(reply));
    const QByteArray next = client.exchange("00020000000601030000 0001");
    QVERIFY2(next.startsWith("0002"), "the next request must be answered: " + next);
}

void TestSlavesim::saysWhatIsWrong_data()
{
    QTest::addColumn<QByteArray>("with");
    QTest::addColumn<QByteArray>("sentence");

    const auto row = [](const char* with, const char* sentence) {
        QTest::newRow(with) << QByteArray(with) << QByteArray(sentence);
    };
    row("--port 65536", "--port: '65536' is wrong: a whole number from 0 to 65535");
    row("--port", "--port: exactly one value is needed");
    row("--host 192.0.2.1", "--host: 192.0.2.1 is not an address of this machine");
    row("--frob", "--frob");
    row("image.csv", "image.csv");
    row("--serve HR=0-5", "--serve: 'HR=0-5' is wrong");
    row("--serve HR=5-4", "--serve: 'HR=5-4' is wrong");
    row("--serve XR=1", "--serve: 'XR=1' is wrong: an area (HR, IR, DO or DI)");
    row("--stations 1,,2", "--stations: '1,,2' is wrong");
    row("--stations 256", "--stations: '256' is wrong");
    row("--fault late --fault slow", "--fault: 'slow' is wrong: one of these is needed: late, drop,");
    row("--fault late --fault-every 0", "--fault-every: '0' is wrong: a whole number from 1");
    row("--fault late --fault-rate 1.5", "--fault-rate: '1.5' is wrong: a probability");
    row("--fault late --fault-rate 0.1 --fault-every 2", "--fault-every excludes --fault-rate");
    row("--fault-every 5", "--fault-every requires --fault");
    row("--late-ms -5", "--late-ms: '-5' is wrong");
    row("--image /dev/null/none", "--image: /dev/null/none: cannot be opened");
    row("--image /dev/zero", "--image: /dev/zero:1: longer than 1000 characters");
    row("--image /", "--image: /: cannot be read, a text file is needed");
}

/// What slavesim says on stderr with options that it refuses; empty when it does not refuse them as it
/// should.
static QByteArray refusal(const QStringList& options)
{
    QProcess process;
    process.start(QStringLiteral(SLAVESIM_FILE), options);
    const bool refused = process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
                         process.exitCode() == 2 && process.readAllStandardOutput().isEmpty();
    return refused ? process.readAllStandardError() : QByteArray();
}

void TestSlavesim::saysWhatIsWrong()
{
    QFETCH(QByteArray, with);
    QFETCH(QByteArray, sentence);
    const QByteArray text = refusal(options(with));
    QVERIFY2(text.startsWith("slavesim: ") && text.contains(sentence) && text.count('\n') == 1, text);
}

void TestSlavesim::loadsAnImage_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("cells");

    const auto row = [](const char* content, const char* cells) {
        QTest::newRow(content) << QByteArray(content) << QByteArray(cells);
    };
    row("HR1 0x1234\nHR2=-1\nHR3 , -32768\nHR4;65535", "HR1 1234 ffff 8000 ffff 0000");
    row("HR65535:uint32 0x12345678", "HR65535 5678 1234");
    row("HR5SW:int32 -2", "HR5 ffff fffe");
    row("HR5:int64 = -2", "HR5 fffe ffff ffff ffff");
    row("hr5sw:UINT64 0x0123456789abcdef", "HR5 0123 4567 89ab cdef");
    row("HR5:int16 -1\nHR6:uint16 65535", "HR5 ffff ffff");
    row("IR5:float32 20.5\nIR7SW:float32 -1.5e0", "IR5 0000 41a4 bfc0 0000");
    row("IR5SW:float64 1\nIR9:float64 1", "IR5 3ff0 0000 0000 0000 0000 0000 0000 3ff0");
    row("DO1 on\nDO2 FALSE\nDO3 true\nDO4 off\nDO5 1\nDO6 0x0", "DO1 0001 0000 0001 0000 0001 0000");
    row("HR1 0x00F0\nHR1.0 1\nHR1.7 off\nHR1.15 on", "HR1 8071");
    row("\xEF\xBB\xBF"
        "area,number,value\r\nHR, 1 ,5 # five\r\n\n#HR,1,6\nhr;2:int16;-1\nHR,3,5\nHR,3,6",
        "HR1 0005 ffff 0006 0000");
    row("HR1 1\n1-HR1 2\n2-HR1 3\nHR2 4", "HR1 0002 0004");
    row("1-HR1 2\nHR1 1", "HR1 0001");
    row("1-HR,1,2\n2-HR1 1", "HR1 0002");
}

/// The cells of station 1 from an address on.
void TestSlavesim::loadsAnImage()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, cells);
    StationImages images = StationImages::fromFile(write(content).toStdString());
    const QByteArrayList expected = cells.split(' ');
    const auto area = *areaNamed(expected[0].left(2).toStdString());
    QByteArray found = expected[0];
    for (int i = 1; i < expected.size(); ++i) {
        const auto number = static_cast<std::uint32_t>(expected[0].mid(2).toInt() + i - 1);
        found += ' ' + QByteArray::number(images.of(1).value(area, number), 16).rightJustified(4, '0');
    }
    QCOMPARE(found, cells);
}

void TestSlavesim::servesEachStationItsImage()
{
    SlaveProcess slave;
    QVERIFY2(slave.start({"--image", write("HR1 7\n3-HR1 8\n")}), slave.problem());
    ModbusClient client(slave.port());
    const QByteArray hr1Of3Is8 = "000100000005030302 0008";
    client.exchange(WriteHr1);
    QCOMPARE(client.exchange(ReadHr1), Hr1Is999);
    QCOMPARE(client.exchange("000100000006020300000001"), withoutBlanks("0001 0000 0005 02 03 02 03e7"));
    QCOMPARE(client.exchange("000100000006030300000001"), withoutBlanks(hr1Of3Is8));
}

void TestSlavesim::saysWhatIsWrongInAnImage_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("sentence");

    const auto row = [](const char* content, const char* sentence) {
        QTest::newRow(content) << QByteArray(content) << QByteArray(sentence);
    };
    row("HR,1,1\nXR,1,1\n", ":2: address 'XR1' is wrong: its area is HR, IR, DO or DI");
    row("40001 5", ":1: address '40001' is wrong: its area is");
    row("HR,0,1\n", ":1: address 'HR0' is wrong: its number is from 1 to 65536");
    row("HR65537 1\n", ":1: address 'HR65537' is wrong: its number");
    row("256-HR1 1", ":1: address '256-HR1' is wrong: its station is from 0 to 255");
    row("-HR1 1", ":1: address '-HR1' is wrong: its station");
    row("HR1x 1", ":1: address 'HR1x' is wrong: it is like HR10, 3-HR10, HR10.3 or");
    row("HR1.16 1", ":1: address 'HR1.16' is wrong: its bit is from 0 to 15");
    row("HR1:real 1", ":1: address 'HR1:real' is wrong: its type is one of int16, uint16, int32,");
    row("HR1: 1", ":1: address 'HR1:' is wrong: its type");
    row("DO1:int16 1", ":1: address 'DO1:int16' is wrong: only registers have");
    row("DI1.1 1", ":1: address 'DI1.1' is wrong: only registers have");
    row("HR1SW 1", ":1: address 'HR1SW' is wrong: SW wants a type of more than one");
    row("HR1.1:int16 1", ":1: address 'HR1.1:int16' is wrong: a bit has neither");
    row("HR65536:float32 1", ":1: address 'HR65536:float32' is wrong: its last register");
    row("HR,1,65536\n", ":1: value '65536' is wrong: a register takes a whole number from -32768 to 65535; "
                        "others take a type, like HR1:float32");
    row("HR1 -32769", ":1: value '-32769' is wrong");
    row("HR1 20.5", ":1: value '20.5' is wrong");
    row("HR1:int16 32768", ":1: value '32768' is wrong: int16 takes a whole number from -32768 to 32767");
    row("HR1:uint32 -1", ":1: value '-1' is wrong: uint32 takes a whole number from 0 to 4294967295");
    row("HR1:uint64 18446744073709551616", ":1: value '18446744073709551616' is wrong: uint64");
    row("HR1:float32 1e39", ":1: value '1e39' is wrong: float32 takes a number within its range");
    row("HR1:float32 20,5", ":1: 'HR1:float32 20,5' is wrong: a line is an address and a value");
    row("#\nDO1 2\n", ":2: value '2' is wrong: a bit takes 0, 1, off, on, false or true");
    row("HR1", ":1: 'HR1' is wrong: a line is an address and a value, like HR10 42");
    row("HR1 1 2", ":1: 'HR1 1 2' is wrong: a line is an address and a value");
    row("HR1 \x1b[2J\xc2\x9b", ":1: value '\\x1b[2J\xc2\\x9b' is wrong");
}

/// Two lines are wrong, and both are named.
void TestSlavesim::saysWhatIsWrongInAnImage()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, sentence);
    const QString file = write(content + "\nlast");
    const QByteArrayList sentences = refusal({"--image", file}).split('\n');
    QVERIFY2(sentences.value(0).startsWith("slavesim: --image: " + file.toLocal8Bit() + sentence),
             sentences[0]);
    QVERIFY2(sentences.value(1).contains(": 'last' is wrong"), sentences.value(1));
}

void TestSlavesim::movesSignals_data()
{
    QTest::addColumn<int>("area");
    QTest::addColumn<int>("number");
    QTest::addColumn<double>("seconds");
    QTest::addColumn<int>("value");

    const auto row = [](Area area, int number, double seconds, int value) {
        const std::string cell = std::string(areaName(area)) + std::to_string(number);
        QTest::addRow("%s at %g s", cell.c_str(), seconds)
            << static_cast<int>(area) << number << seconds << value;
    };
    row(Area::InputRegisters, 1, 65537.5, 1);
    row(Area::InputRegisters, 2, 0, 5000);
    row(Area::InputRegisters, 2, 25, 10000);
    row(Area::InputRegisters, 2, 15, 0);
    row(Area::InputRegisters, 3, 12.5, 2500);
    row(Area::InputRegisters, 4, 10, 10000);
    row(Area::InputRegisters, 4, 15, 5000);
    row(Area::InputRegisters, 5, 4.9, 10000);
    row(Area::InputRegisters, 5, 5.1, 0);
    row(Area::InputRegisters, 7, 70, 70000 - 65536);
    row(Area::InputRegisters, 8, 70, 1);
    row(Area::HoldingRegisters, 1, 6553.75, 1);
    row(Area::HoldingRegisters, 2, 15, 10000);
    row(Area::HoldingRegisters, 4, 5, 0);
    row(Area::HoldingRegisters, 5, 5, 0x3F80); // 1.0
    row(Area::DiscreteInputs, 1, 3.4, 1);
    row(Area::DiscreteInputs, 1, 3.6, 0);
    row(Area::DiscreteInputs, 3, 0.6, 0);
    row(Area::DiscreteInputs, 4, 0.6, 1);
    row(Area::DiscreteInputs, 10, 3.6, 1);
    row(Area::Coils, 1, 1.5, 0);
    row(Area::Coils, 3, 2, 1);
    row(Area::Coils, 9, 128, 1);
}

void TestSlavesim::movesSignals()
{
    QFETCH(int, area);
    QFETCH(int, number);
    QFETCH(double, seconds);
    QFETCH(int, value);
    ProcessImage image;
    moveSignals(image, seconds);
    QCOMPARE(int(image.value(static_cast<Area>(area), static_cast<std::uint32_t>(number))), value);
}

void TestSlavesim::walksAtRandomButSmoothly()
{
    ProcessImage image;
    int lowest = 10000;
    int highest = 0;
    int widestStep = 0;
    for (int tenths = 0, before = -1; tenths < 6000; ++tenths) {
        moveSignals(image, tenths / 10.0);
        const int now = image.value(Area::InputRegisters, 6);
        widestStep = before < 0 ? 0 : qMax(widestStep, qAbs(now - before));
        lowest = qMin(lowest, now);
        highest = qMax(highest, now);
        before = now;
    }
    QVERIFY2(lowest < 4000 && highest > 6000 && highest <= 10000 && widestStep < 500,
             qPrintable(QStringLiteral("%1 to %2, steps to %3").arg(lowest).arg(highest).arg(widestStep)));
}

void TestSlavesim::readsMovingSignals()
{
    SlaveProcess slave;
    QVERIFY2(slave.start({QStringLiteral("--moving")}), slave.problem());
    ModbusClient client(slave.port());
    const QByteArray readMilliseconds = "000100000006010400060001";
    const QByteArray first = client.exchange(readMilliseconds);
    QTest::qSleep(20);
    const QByteArray second = client.exchange(readMilliseconds);
    const int passed = second.right(4).toInt(nullptr, 16) - first.right(4).toInt(nullptr, 16);
    QVERIFY2(passed >= 19 && passed < 10000, first + " " + second);
}

void TestSlavesim::makesFaults_data()
{
    QTest::addColumn<QByteArray>("sees");
    QTest::addColumn<bool>("executed");

    const QByteArray rest = "0001000000060106000003e7"; // a good reply to WriteHr1
    const auto row = [](const char* kind, const QByteArray& sees, bool executed = true) {
        QTest::newRow(kind) << sees << executed;
    };
    row("drop", "");
    row("truncate", rest.left(12));
    row("tid", "0000" + rest.mid(4));
    row("unit", rest.left(12) + "02" + rest.mid(14));
    row("protocol", "00010001" + rest.mid(8));
    row("length", "000100000007" + rest.mid(12));
    row("function", rest.left(14) + "07" + rest.mid(16));
    row("reset", rest.left(12) + " reset");
    row("rubbish", "([0-9a-f]{2}){1,16}" + rest);
    row("double", rest + rest);
    row("late", rest);
    row("exception", "000100000003018606", false);
}

/// The second request of a connection gets the fault. What comes is compared piece by piece, up to a silence.
void TestSlavesim::makesFaults()
{
    QFETCH(QByteArray, sees);
    QFETCH(bool, executed);
    const QString kind = QString::fromLatin1(QTest::currentDataTag());
    SlaveProcess slave;
    QVERIFY2(slave.start({"--fault", kind, "--fault-every", "2", "--late-ms", "20"}), slave.problem());
    ModbusClient client(slave.port());
    QCOMPARE(client.exchange(ReadHr1), Hr1Is1);

    QByteArrayList pieces;
    client.send(WriteHr1);
    for (QByteArray piece; !(piece = client.receive(ShortMs)).isEmpty() && !pieces.contains("reset");)
        pieces << piece;
    const QByteArray seen = pieces.join(' ');
    const QRegularExpression expected(QLatin1String("^") + QString::fromLatin1(sees) + QLatin1String("$"));
    QVERIFY2(expected.match(QString::fromLatin1(seen)).hasMatch(), seen);

    ModbusClient another(slave.port());
    ModbusClient& next = pieces.contains("reset") ? another : client;
    QCOMPARE(next.exchange(ReadHr1), executed ? Hr1Is999 : Hr1Is1);
}

void TestSlavesim::lateReplyHoldsUpNobodyElse()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(options("--fault late --fault-every 2 --late-ms 1500")), slave.problem());
    ModbusClient one(slave.port());
    ModbusClient other(slave.port());
    QCOMPARE(one.exchange(ReadHr1), Hr1Is1);
    QElapsedTimer timer;
    timer.start();
    one.send(ReadHr1 + "000200000006010300000001");
    QCOMPARE(one.receive(ShortMs), QByteArray());
    QCOMPARE(other.exchange(ReadHr1), Hr1Is1);
    QCOMPARE(one.receive(0), QByteArray());
    QVERIFY(one.receive(10000).startsWith("0001"));
    QVERIFY2(timer.elapsed() >= 1499, QByteArray::number(timer.elapsed()));
}

void TestSlavesim::dripsByteByByte()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(options("--fault drip --fault-every 1")), slave.problem());
    ModbusClient client(slave.port());
    client.send(ReadHr1);
    QByteArray reply;
    int pieces = 0;
    for (; reply.size() < Hr1Is1.size(); ++pieces) {
        const QByteArray piece = client.receive(10000);
        QVERIFY2(!piece.isEmpty() && piece != "end", reply);
        reply += piece;
    }
    QCOMPARE(reply, Hr1Is1);
    QVERIFY2(pieces > 2, QByteArray::number(pieces));
}

void TestSlavesim::refusesClientsForAWhile()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(options("--fault refuse --fault-every 3 --refuse-ms 700")), slave.problem());
    ModbusClient causer(slave.port());
    ModbusClient bystander(slave.port());
    QCOMPARE(causer.exchange(ReadHr1), Hr1Is1);
    QCOMPARE(bystander.exchange(ReadHr1), Hr1Is1);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(causer.exchange(WriteHr1), QByteArray("end"));
    QCOMPARE(bystander.receive(10000), QByteArray("end"));
    QCOMPARE(ModbusClient(slave.port()).connectError(), ECONNREFUSED);
    while (ModbusClient(slave.port()).connectError() != 0 && timer.elapsed() < 20000)
        QTest::qSleep(10);
    QVERIFY2(timer.elapsed() >= 699, QByteArray::number(timer.elapsed()));
    QCOMPARE(ModbusClient(slave.port()).exchange(ReadHr1), Hr1Is1);
}

/// The kinds that so many requests get by a plan, with a '-' where none, as their initials.
static QByteArray planned(const FaultSchedule& schedule, int requests)
{
    FaultPlan plan(schedule);
    QByteArray kinds;
    for (int i = 0; i < requests; ++i) {
        const auto fault = plan.next();
        kinds += fault ? faultName(fault->kind)[0] : '-';
    }
    return kinds;
}

void TestSlavesim::plansFaultsInTurn()
{
    FaultSchedule schedule;
    QCOMPARE(planned(schedule, 12), QByteArray("------------"));
    schedule.kinds = {FaultKind::Late, FaultKind::Drop, FaultKind::Truncate};
    QCOMPARE(planned(schedule, 12), QByteArray("---------l--"));
    schedule.every = 3;
    QCOMPARE(planned(schedule, 13), QByteArray("--l--d--t--l-"));
}

void TestSlavesim::plansFaultsBySeed()
{
    FaultSchedule schedule;
    schedule.kinds = {FaultKind::Late, FaultKind::Drop};
    schedule.rate = 0.1;
    const QByteArray first = planned(schedule, 10000);
    QCOMPARE(planned(schedule, 10000), first);
    QVERIFY2(qAbs(first.count('l') - 500) < 100 && qAbs(first.count('d') - 500) < 100,
             QByteArray::number(first.count('l')) + " " + QByteArray::number(first.count('d')));
    schedule.seed = 2;
    QVERIFY(planned(schedule, 10000) != first);
    schedule.rate = 1;
    QVERIFY(!planned(schedule, 10000).contains('-'));
}

void TestSlavesim::waitsForTheRestOfARequest()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(), slave.problem());
    ModbusClient slow(slave.port());
    ModbusClient quick(slave.port());
    slow.send(ReadHr1.left(10));
    QCOMPARE(slow.receive(800), QByteArray());
    QCOMPARE(quick.exchange(ReadHr1), Hr1Is1);
    QCOMPARE(slow.exchange(ReadHr1.mid(10)), Hr1Is1);
    slow.send(ReadHr1.left(20));
    QCOMPARE(slave.stop(), 0);
}

void TestSlavesim::closesWhatIsNotModbus_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("protocol identifier 1") << QByteArray("0001 0001 0006 01 03 0000 0001");
    QTest::newRow("length field one too high") << QByteArray("0001 0000 0007 01 03 0000 0001");
    QTest::newRow("length field of another protocol") << QByteArray("4745 5420 2f20 48 54 54 50 2f");
}

void TestSlavesim::closesWhatIsNotModbus()
{
    QFETCH(QByteArray, request);
    SlaveProcess slave;
    QVERIFY2(slave.start(), slave.problem());
    const QByteArray seen = ModbusClient(slave.port()).exchange(request);
    QVERIFY2(seen == "end" || seen == "reset", seen);
}

void TestSlavesim::keepsNobodyOut_data()
{
    QTest::addColumn<QString>("shortage");
    QTest::addColumn<int>("clients");
    QTest::addColumn<bool>("placesAreShort");

    QTest::newRow("more than there are places") << "" << 257 << true;
    QTest::newRow("few descriptors") << "ulimit -n 40" << 60 << true;
    QTest::newRow("descriptors above 1023")
        << "ulimit -n 2000; for i in {1..1100}; do exec {fd}</dev/null; done" << 10 << false;
#ifndef __SANITIZE_ADDRESS__ // which takes far more than that for itself
    QTest::newRow("little memory") << "ulimit -v 50000" << 200 << false;
#endif
}

/// Clients come and stay, and only the first and the last say anything again.
void TestSlavesim::keepsNobodyOut()
{
    QFETCH(QString, shortage);
    QFETCH(int, clients);
    QFETCH(bool, placesAreShort);
    SlaveProcess slave;
    QVERIFY2(slave.startAfter(shortage), slave.problem());
    std::deque<ModbusClient> staying;
    for (int i = 0; i < clients; ++i) {
        QCOMPARE(staying.emplace_back(slave.port()).exchange(ReadHr1), Hr1Is1);
        QCOMPARE(staying.front().exchange(ReadHr1), Hr1Is1);
    }
    QCOMPARE(staying[1].receive(ShortMs), QByteArray(placesAreShort ? "end" : ""));
    QCOMPARE(staying.back().exchange(ReadHr1), Hr1Is1);
}

void TestSlavesim::waitsWhenNobodyCanBeAccepted()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(), slave.problem());
    const rlimit noMore = {5, 5};
    QCOMPARE(::prlimit(static_cast<pid_t>(slave.processId()), RLIMIT_NOFILE, &noMore, nullptr), 0);
    ModbusClient client(slave.port());
    QCOMPARE(client.exchange(ReadHr1, 1000), QByteArray());
    QVERIFY2(slave.processorMs() < 300, QByteArray::number(slave.processorMs()));
    QCOMPARE(slave.stop(), 0);
}

void TestSlavesim::restartsOnItsPort()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(), slave.problem());
    const quint16 port = slave.port();
    ModbusClient client(port);
    QCOMPARE(client.exchange(ReadHr1), Hr1Is1);

    const QByteArray text = refusal({"--port", QString::number(port)});
    QVERIFY2(text.contains("--port: " + slave.device().toLatin1() + " is taken by another program"), text);

    QVERIFY2(slave.restart(), slave.problem());
    QCOMPARE(slave.port(), port);
    QCOMPARE(client.receive(10000), QByteArray("end"));
    QCOMPARE(ModbusClient(port).exchange(ReadHr1), Hr1Is1);
}

void TestSlavesim::logsAndCounts()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(options("--log --stats --fault tid --fault double --fault-every 1 --stations 1")),
             slave.problem());
    ModbusClient client(slave.port());
    client.exchange(ReadHr1);
    client.exchange(WriteHr1);
    client.exchange("000300000006020300000001", ShortMs);
    client.exchange("00040000000601010009000a");
    QCOMPARE(slave.stop(), 0);
    const QString log = QString::fromLatin1(slave.problem());
    const QRegularExpression expected(QStringLiteral(
        "^(127\\.0\\.0\\.1:\\d+) unit 1 function 3 HR1 x 1: tid\n\\1 unit 1 function 6 HR1 x 1: double\n"
        "\\1 unit 2 function 3 HR1 x 1: no such station, no reply\n"
        "\\1 unit 1 function 1 DO10 x 10: tid\n$"));
    QVERIFY2(expected.match(log).hasMatch(), qPrintable(log));
    QVERIFY2(slave.output().endsWith("\nslavesim: 3 requests, 3 faults (tid 2, double 1)\n"), slave.output());
}

QTEST_GUILESS_MAIN(TestSlavesim)
#include "tst_slavesim.moc"
