#include "fault_plan.h"
#include "modbus_client.h"
#include "moving_signals.h"
#include "slave_process.h"
#include "station_images.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <stdexcept>
#include <sys/resource.h>

using namespace slavesim;

static constexpr int ShortMs = 200;

/// A frame of transaction 1 with these bytes after its length field, given as hexadecimal text with or
/// without blanks.
static QByteArray framed(QByteArray hex)
{
    hex.replace(' ', "");
    return hex.isEmpty() ? hex
                         : "00010000" + QByteArray::number(hex.size() / 2, 16).rightJustified(4, '0') + hex;
}

static const QByteArray ReadHr1 = framed("01 03 0000 0001");
static const QByteArray Hr1Is1 = framed("01 03 02 0001");
static const QByteArray WriteHr1 = framed("01 06 0000 03e7");
static const QByteArray Hr1Is999 = framed("01 03 02 03e7");

static QStringList options(const QByteArray& text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// slavesim as its users meet it: the program, its command line, and bytes over TCP; and the parts of it that
/// others link.
class TestSlavesim : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(QDir::setCurrent(m_folder.path())); }
    void answers();
    void closesWhatIsNotModbus();
    void saysWhatIsWrong();
    void helpIsComplete();
    void loadsAnImage();
    void obeys();
    void movesSignals();
    void makesFaults();
    void holdsUpNobodyElse();
    void waitsForClientsThatDoNotRead();
    void refusesClientsForAWhile();
    void plansFaults();
    void keepsNobodyOut();
    void waitsWhenNobodyCanBeAccepted();
    void logsAndCounts();
    void losesLogLinesRatherThanClients();

private:
    QTemporaryDir m_folder; ///< the current one
};

static void writeImage(const QByteArray& content)
{
    QFile file(QStringLiteral("image"));
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write the image");
}

/// The log shows the last field after the station.
void TestSlavesim::answers()
{
    static const char* const OnlyImage = "--only-image --image image";
    writeImage("2-HR2:uint32 7\n2-HR5 8\n");
    const std::array<const char*, 4> cases[] = {
        {"", "01 01 0000 000a", "01 01 02 2401", "read DO1..DO10 -> 10 bits: 0 0 1 0 0 1 0 0 ..."},
        {"", "01 02 fffe 0002", "01 02 01 01", "read DI65535..DI65536 -> 2 bits: 1 0"},
        {"", "01 03 fffe 0002", "01 03 04 ffff 0000", "read HR65535..HR65536 -> 2 registers: 65535 0"},
        {"", "01 04 0000 0002", "01 04 04 fffe fffd", "read IR1..IR2 -> 2 registers: 65534 65533"},
        {"", "01 05 0004 ff00", "01 05 0004 ff00", "write DO5 = 1 -> done"},
        {"", "01 0f 0001 0003 01 05", "01 0f 0001 0003", "write DO2..DO4 = 1 0 1 -> done"},
        {"", "01 10 0001 0002 04 1234 5678", "01 10 0001 0002", "write HR2..HR3 = 4660 22136 -> done"},
        {"", "01 16 0004 00f2 0025", "01 16 0004 00f2 0025", "mask HR5 -> done"},
        {"", "01 17 0000 0001 0004 0001 02 0009", "01 17 02 0001",
         "write HR5 = 9, read HR1 -> 1 register: 1"},
        {"", "01 03 ffff 0002", "01 83 02", "read HR65536..HR65537 -> exception 2 (Illegal data address)"},
        {"", "01 03 0000 007e", "01 83 03", "read HR1..HR126 -> exception 3 (Illegal data value)"},
        {"", "01 03 0000 0000", "01 83 03", "read nothing at HR1 -> exception 3 (Illegal data value)"},
        {"", "01 2b 0e 01 00 00 00", "01 ab 01", "function 43 -> exception 1 (Illegal function)"},
        {"--serve HR=1-10 --serve hr=11-12", "01 03 0009 0003", "01 03 06 000a 000b 000c",
         "read HR10..HR12 -> 3 registers: 10 11 12"},
        {"--serve HR=1-5 --serve HR=7-9", "01 03 0000 0009", "01 83 02",
         "read HR1..HR9 -> exception 2 (Illegal data address)"},
        {"--serve HR=1-2", "01 17 0000 0001 0002 0001 02 0001", "01 97 02",
         "write HR3 = 1, read HR1 -> exception 2 (Illegal data address)"},
        {"--serve HR=1-5", "01 04 fffe 0001", "01 04 02 0000", "read IR65535 -> 1 register: 0"},
        {"--stations 2,5-7", "06 04 0000 0001", "06 04 02 fffe", "read IR1 -> 1 register: 65534"},
        {"--stations 2,5-7", "08 04 0000 0001", "", "read IR1 -> no answer (no such station)"},
        {OnlyImage, "02 03 0001 0002", "02 03 04 0007 0000", "read HR2..HR3 -> 2 registers: 7 0"},
        {OnlyImage, "02 03 0001 0003", "02 83 02", "read HR2..HR4 -> exception 2 (Illegal data address)"},
        {OnlyImage, "02 03 0000 0002", "02 83 02", "read HR1..HR2 -> exception 2 (Illegal data address)"},
        {OnlyImage, "02 01 0001 0001", "02 81 02", "read DO2 -> exception 2 (Illegal data address)"},
        {OnlyImage, "01 03 0001 0001", "", "read HR2 -> no answer (no such station)"},
        {"--moving", "01 04 0007 0001", "01 04 02 0000", "read IR8 -> 1 register: 0"},
    };
    for (const auto& [with, request, reply, logged] : cases) {
        SlaveProcess slave;
        QVERIFY2(slave.start(options(QByteArray("--log - ") + with)), slave.problem());
        ModbusClient client(slave.port());
        QCOMPARE(client.exchange(framed(request), *reply ? 10000 : ShortMs), framed(reply));
        const QByteArray next = client.exchange("00020000000602030001 0001");
        QVERIFY2(next.startsWith("0002"), "the next request must be answered: " + next);
        slave.stop();
        const QString text = QStringLiteral("station %1 %2").arg(request[1]).arg(logged);
        const QRegularExpression line(R"(\n\d\d:\d\d:\d\d\.\d{3} 127\.0\.0\.1:\d+ )" +
                                      QRegularExpression::escape(text) + "\n");
        QVERIFY2(line.match(slave.output()).hasMatch(), slave.output());
    }
}

void TestSlavesim::closesWhatIsNotModbus()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(), slave.problem());
    for (const char* bytes : {"0001 0001 0006 01 03 0000 0001", "0001 0100 0006 01 03 0000 0001",
                              "0001 0000 0007 01 03 0000 0001", "0001 0000 0009 01 10 0000 0001 04 0001",
                              "0001 0000 0001 01", "0001 0000 00ff 01 2b", "4745 5420 2f20 48 54 54 50 2f"})
        QCOMPARE(qMakePair(bytes, ModbusClient(slave.port()).exchange(bytes)),
                 qMakePair(bytes, QByteArray("end")));
}

void TestSlavesim::saysWhatIsWrong()
{
    SlaveProcess other;
    QVERIFY2(other.start(), other.problem());
    const QByteArray taken = "--port " + QByteArray::number(other.port());
    const std::pair<const char*, const char*> cases[] = {
        {"--host \x1b[2J", "--host: '\\x1b[2J' is unknown"},
        {"image.csv --frob \x1b[2J", "not expected: \\x1b[2J --frob image.csv"},
        {"--port 65536", "--port: '65536' is wrong: a whole number from 0 to 65535"},
        {"--port", "--port: exactly one value is needed"},
        {"--host 192.0.2.1", "--host: 192.0.2.1 is not an address of this machine"},
        {"--serve HR=0-5", "--serve: 'HR=0-5' is wrong"},
        {"--serve HR=5-4", "--serve: 'HR=5-4' is wrong"},
        {"--serve XR=1", "--serve: 'XR=1' is wrong: an area (HR, IR, DO or DI)"},
        {"--stations 1,,2", "--stations: '1,,2' is wrong: numbers and ranges from 0 to 255"},
        {"--stations 256", "--stations: '256' is wrong"},
        {"--fault late --fault slow", "--fault: 'slow' is wrong: one of these is needed: late, drop,"},
        {"--fault late --fault-every 0", "--fault-every: '0' is wrong: a whole number from 1"},
        {"--fault late --fault-rate 1.5", "--fault-rate: '1.5' is wrong: a probability"},
        {"--fault late --fault-rate 0.1 --fault-every 2", "--fault-every excludes --fault-rate"},
        {"--fault-every 5", "--fault-every requires --fault"},
        {"--late-ms -5", "--late-ms: '-5' is wrong"},
        {"--image /dev/null/none", "--image: /dev/null/none: cannot be opened"},
        {"--image /dev/zero", "--image: /dev/zero:1: longer than 1000 characters"},
        {"--log /", "--log: / cannot be opened: Is a directory"},
        {"--log /dev/stdout", "--log: /dev/stdout is a symbolic link, name the file that it leads to"},
        {"--image /", "--image: /: cannot be read, a text file is needed"},
        {taken, "is taken by another program"},
    };
    for (const auto& [with, sentence] : cases) {
        QProcess process;
        process.start(QStringLiteral(SLAVESIM_FILE), options(with));
        QVERIFY2(process.waitForFinished() && process.exitStatus() == QProcess::NormalExit, with);
        const QByteArray text = process.readAllStandardError();
        QVERIFY2(text.startsWith("slavesim: ") && text.contains(sentence) && text.count('\n') == 1, text);
        QCOMPARE(process.exitCode(), 2);
        QCOMPARE(process.readAllStandardOutput(), QByteArray());
    }
}

/// Each option, kind and moving cell has a description, each topic is there, and the lines that an image may
/// have load. No cell moves twice.
void TestSlavesim::helpIsComplete()
{
    QProcess process;
    process.start(QStringLiteral(SLAVESIM_FILE), {"--help"});
    QVERIFY(process.waitForFinished() && process.exitCode() == 0);
    const QString help = process.readAllStandardOutput();
    QStringList names = {"HR n", "IR n", "DO n", "DI n", "fault silent", "fault none"};
    names += QString::fromStdString(faultNames()).split(", ");
    names += options("--host --port --image --only-image --moving --serve --stations --fault --fault-every "
                     "--fault-rate --seed --late-ms --refuse-ms --control --log --stats -h,--help --version");
    std::map<Area, std::uint32_t> next;
    for (const MovingSignal& signal : movingSignals()) {
        names << QString::fromStdString(cellsOf(signal));
        QVERIFY2(signal.number >= next[signal.area], qPrintable(names.last()));
        next[signal.area] = signal.number + signal.count;
    }
    QStringList lines =
        QString("Cells:|Image file:|Moving cells:|Control:|Log:|Kinds of faults:|Exit status: 0 .*, 2 .*")
            .split('|');
    for (const QString& name : qAsConst(names))
        lines << " +" + name + "( .*)?  \\S.*";
    const auto multiline = QRegularExpression::MultilineOption;
    for (const QString& line : qAsConst(lines))
        QVERIFY2(help.contains(QRegularExpression("^" + line + "$", multiline)), qPrintable(line));

    const QString section = help.section("Image file:", 1).section("Moving cells:", 0, 0);
    QByteArray image;
    auto examples = QRegularExpression("^    (\\S.*?)  ", multiline).globalMatch(section);
    while (examples.hasNext())
        image += examples.next().captured(1).toLatin1() + '\n';
    writeImage(image);
    QCOMPARE(image.count('\n'), 6);
    StationImages::fromFile("image");
}

/// The cells of an image that cells names, in the same form: "HR5 ffff 0001" means HR5 and HR6.
static QByteArray shown(const ProcessImage& image, const QByteArray& cells)
{
    const QByteArray first = cells.left(cells.indexOf(' '));
    QByteArray text = first;
    for (int i = 0; i < cells.count(' '); ++i) {
        const auto number = static_cast<std::uint32_t>(first.mid(2).toInt() + i);
        const auto value = image.value(*areaNamed(first.left(2).toStdString()), number);
        text += ' ' + QByteArray::number(value, 16).rightJustified(4, '0');
    }
    return text;
}

/// The cells of station 1, or what is wrong.
void TestSlavesim::loadsAnImage()
{
    const std::pair<const char*, const char*> cases[] = {
        {"HR1 0x1234\nHR2=-1\nHR3 , -32768\nHR4;65535", "HR1 1234 ffff 8000 ffff 0000"},
        {"HR65535:uint32 0x12345678", "HR65535 5678 1234"},
        {"HR5SW:int32 -2", "HR5 ffff fffe"},
        {"HR5:int64 = -2", "HR5 fffe ffff ffff ffff"},
        {"hr5sw:UINT64 0x0123456789abcdef", "HR5 0123 4567 89ab cdef"},
        {"HR5:int16 -1\nHR6:uint16 65535", "HR5 ffff ffff"},
        {"IR5:float32 20.5\nIR7SW:float32 -1.5e0", "IR5 0000 41a4 bfc0 0000"},
        {"IR5SW:float64 1\nIR9:float64 1", "IR5 3ff0 0000 0000 0000 0000 0000 0000 3ff0"},
        {"DO1 on\nDO2 FALSE\nDO3 true\nDO4 off\nDO5 1\nDO6 0x0", "DO1 0001 0000 0001 0000 0001 0000"},
        {"HR1 0x00F0\nHR1.0 1\nHR1.7 off\nHR1.15 on", "HR1 8071"},
        {"\xEF\xBB\xBF"
         "area,number,value\r\nHR, 1 ,5 # five\r\n\n#HR,1,6\nhr;2:int16;-1",
         "HR1 0005 ffff"},
        {"Address,Value\nHR1,5", "HR1 0005"},
        {"HR1 1\n1-HR1 2\n2-HR1 3\nHR2 4", "HR1 0002 0004"},
        {"1-HR,1,2\nHR1 1", "HR1 0001"},
        {"XR,1,1\nHR2", "image:1: address 'XR1' is wrong: its area is HR, IR, DO or DI\n"
                        "image:2: 'HR2' is wrong: a line is an address and a value, like HR10 42"},
        {"#\nHR,0,1\n", "image:2: address 'HR0' is wrong: its number is from 1 to 65536"},
        {"HR65537 1\n", "image:1: address 'HR65537' is wrong: its number"},
        {"256-HR1 1", "image:1: address '256-HR1' is wrong: its station is from 0 to 255"},
        {"HR1x 1", "image:1: address 'HR1x' is wrong: it is like HR10, 3-HR10, HR10.3 or HR10SW:float32"},
        {"HR1.16 1", "image:1: address 'HR1.16' is wrong: its bit is from 0 to 15"},
        {"HR1:real 1", "image:1: address 'HR1:real' is wrong: its type is one of int16, uint16, int32,"},
        {"DO1:int16 1", "image:1: address 'DO1:int16' is wrong: only registers have"},
        {"DI1.1 1", "image:1: address 'DI1.1' is wrong: only registers have"},
        {"HR1SW 1", "image:1: address 'HR1SW' is wrong: SW wants a type of more than one register"},
        {"HR1.1:int16 1", "image:1: address 'HR1.1:int16' is wrong: a bit has neither"},
        {"HR65536:float32 1", "image:1: address 'HR65536:float32' is wrong: its last register"},
        {"HR,1,65536\n",
         "image:1: value '65536' is wrong: a register takes a whole number from -32768 to 65535; "
         "others take a type, like HR1:float32"},
        {"HR1 -32769", "image:1: value '-32769' is wrong"},
        {"HR1:int16 32768",
         "image:1: value '32768' is wrong: int16 takes a whole number from -32768 to 32767"},
        {"HR1:uint64 18446744073709551616", "image:1: value '18446744073709551616' is wrong: uint64"},
        {"HR1:float32 1e39", "image:1: value '1e39' is wrong: float32 takes a number within its range"},
        {"HR1:float32 20,5", "image:1: 'HR1:float32 20,5' is wrong: a line is an address and a value"},
        {"DO1 2", "image:1: value '2' is wrong: a bit takes 0, 1, off, on, false or true"},
        {"HR1 \x1b[2J\xc2\x9b", "image:1: value '\\x1b[2J\xc2\\x9b' is wrong"},
    };
    for (const auto& [content, result] : cases) {
        writeImage(content);
        QByteArray found;
        try {
            found = shown(StationImages::fromFile("image").of(1), result);
        } catch (const std::runtime_error& error) {
            found = error.what();
        }
        QVERIFY2(found.startsWith(result), content + (" gives " + found));
    }
}

/// The request comes right after the lines, and again after the end of the input.
void TestSlavesim::obeys()
{
    writeImage("2-HR1 7\n");
    const QByteArray tooLong = "HR1 " + QByteArray(2000, '7') + "\nHR1 999";
    const std::array<QByteArray, 4> cases[] = {
        {"", "HR1 999", Hr1Is999, ""},
        {"", "1-HR1 = 999 # station 1\n2-HR1 7\n\n# HR1 8", Hr1Is999, ""},
        {"--only-image --image image", "1-HR1 7\nHR1 999", Hr1Is999, ""},
        {"", "HR1.3 on", framed("01 03 02 0009"), ""},
        {"", "HR1SW:float32 20.5", framed("01 03 02 41a4"), ""},
        {"", "fault exception", framed("01 83 06"), ""},
        {"", "fault unit exception\nfault none", Hr1Is1, ""},
        {"", "fault silent", "", ""},
        {"", "fault silent nonsense", Hr1Is1,
         ":1: fault 'nonsense' is wrong: the kinds are none, or any of late,"},
        {"", "\nfault", Hr1Is1, ":2: 'fault' is wrong: it needs a kind; the kinds are none, or any of late,"},
        {"", "HR0 1\nHR1 999", Hr1Is999, ":1: address 'HR0' is wrong: its number is from 1 to 65536"},
        {"", tooLong, Hr1Is999, ":1: longer than 1000 characters"},
    };
    for (const auto& [with, lines, reply, says] : cases) {
        SlaveProcess slave;
        QVERIFY2(slave.start(options("--control " + with)), slave.problem());
        ModbusClient client(slave.port());
        for (const bool isEnd : {false, true}) {
            slave.write(isEnd ? "HR9 1" : lines + '\n');
            if (isEnd)
                slave.endInput();
            QCOMPARE(client.exchange(ReadHr1, reply.isEmpty() ? ShortMs : 10000), reply);
        }
        QCOMPARE(slave.stop(), 0);
        const QByteArray said = slave.problem();
        QVERIFY2(said.startsWith(says.isEmpty() ? "" : "slavesim: standard input" + says), said);
        QCOMPARE(said.count('\n'), says.isEmpty() ? 0 : 1);
    }
}

/// The random walk IR6 is within its scale, uses much of it, and makes small steps.
void TestSlavesim::movesSignals()
{
    ProcessImage image;
    for (const auto& [seconds, cells] :
         {std::pair(65537.5, "IR1 0001"), std::pair(15.0, "IR2 0000 1388 1388"), std::pair(3.4, "IR5 2710"),
          std::pair(70.0, "IR7 1170 0001 0000"), std::pair(15.0, "HR1 0096 2710"),
          std::pair(5.0, "HR4 0000 3f80"),
          std::pair(3.4, "DI1 0001 0001 0000 0000 0000 0000 0000 0000 0001 0000"),
          std::pair(128.0, "DO1 0001 0000 0000 0000 0000 0000 0000 0000 0001")}) {
        moveSignals(image, seconds);
        QCOMPARE(shown(image, cells), QByteArray(cells));
    }
    std::vector<int> walk;
    for (int tenths = 0; tenths < 6000; ++tenths) {
        moveSignals(image, tenths / 10.0);
        walk.push_back(image.value(Area::InputRegisters, 6));
        QVERIFY(walk.back() <= 10000 && (tenths == 0 || qAbs(walk.back() - walk[walk.size() - 2]) < 500));
    }
    const auto [lowest, highest] = std::minmax_element(walk.begin(), walk.end());
    QVERIFY(*lowest < 4000 && *highest > 6000);
}

/// The second request of a connection gets the fault. The reply is compared piece by piece, up to a silence.
void TestSlavesim::makesFaults()
{
    const QByteArray rest = WriteHr1; // a good reply
    const std::pair<QString, QByteArray> cases[] = {
        {"drop", ""},
        {"truncate", rest.left(12)},
        {"tid", "0000" + rest.mid(4)},
        {"unit", rest.left(12) + "02" + rest.mid(14)},
        {"protocol", "00010001" + rest.mid(8)},
        {"length", "000100000007" + rest.mid(12)},
        {"function", rest.left(14) + "07" + rest.mid(16)},
        {"reset", rest.left(12) + " reset"},
        {"close", rest + " end"},
        {"rubbish", "([0-9a-f]{2}){1,16}" + rest},
        {"double", rest + rest},
        {"late", rest},
        {"drip", "(?=.* )" + QByteArray::fromHex(rest).toHex(' ').replace(" ", " ?")},
        {"exception", "000100000003018606"},
        {"both", "000100000003018606" + rest},
        {"silent", ""},
    };
    for (const auto& [kind, sees] : cases) {
        SlaveProcess slave;
        QVERIFY2(slave.start({"--fault", kind, "--fault-every", "2", "--late-ms", "20"}), slave.problem());
        ModbusClient client(slave.port());
        QCOMPARE(client.exchange(ReadHr1), Hr1Is1);

        QByteArrayList pieces;
        bool isOver = false;
        client.send(WriteHr1);
        for (QByteArray piece; !isOver && !(piece = client.receive(ShortMs)).isEmpty(); pieces << piece)
            isOver = piece == "end" || piece == "reset";
        const QString seen = kind + ": " + pieces.join(' ');
        QVERIFY2(QRegularExpression("^" + kind + ": " + sees + "$").match(seen).hasMatch(), qPrintable(seen));

        ModbusClient another(slave.port());
        const bool executed = kind != "exception" && kind != "silent";
        QCOMPARE((isOver ? another : client).exchange(ReadHr1), executed ? Hr1Is999 : Hr1Is1);
    }
}

/// Neither by half a request nor by a late reply.
void TestSlavesim::holdsUpNobodyElse()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(options("--fault late --fault-every 3 --late-ms 1500")), slave.problem());
    ModbusClient one(slave.port());
    ModbusClient other(slave.port());
    one.send(ReadHr1.left(14));
    QCOMPARE(one.receive(800), QByteArray());
    QCOMPARE(other.exchange(ReadHr1), Hr1Is1);
    QCOMPARE(one.exchange(ReadHr1.mid(14)), Hr1Is1);
    QElapsedTimer timer;
    timer.start();
    one.send(ReadHr1 + "000200000006010300000001");
    QCOMPARE(one.receive(ShortMs), QByteArray());
    QCOMPARE(other.exchange(ReadHr1), Hr1Is1);
    QCOMPARE(one.receive(0), QByteArray());
    QVERIFY(one.receive(10000).startsWith("0001"));
    QVERIFY2(timer.elapsed() >= 1499, QByteArray::number(timer.elapsed()));
    other.send(ReadHr1.left(20));
    QCOMPARE(slave.stop(), 0);
}

/// More replies than the system keeps for a client.
void TestSlavesim::waitsForClientsThatDoNotRead()
{
    const int requests = 30000;
    SlaveProcess slave;
    QVERIFY2(slave.start(), slave.problem());
    ModbusClient client(slave.port(), 4096);
    client.send(framed("01 03 0000 007d").repeated(requests));
    QTest::qSleep(500);
    QCOMPARE(ModbusClient(slave.port()).exchange(ReadHr1), Hr1Is1);
    int unread = requests * (9 + 2 * 125);
    while (unread > 0) {
        const QByteArray piece = client.receive(10000);
        QVERIFY2(piece.size() > 5,
                 qPrintable(QString("%1 after which %2 are missing").arg(piece.data()).arg(unread)));
        unread -= piece.size() / 2;
    }
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

/// The faults that a plan gives to this many requests, as initials, with '-' for none.
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

void TestSlavesim::plansFaults()
{
    const std::vector<FaultKind> kinds = {FaultKind::Late, FaultKind::Drop, FaultKind::Truncate};
    QCOMPARE(planned({}, 12), QByteArray("------------"));
    QCOMPARE(planned({kinds}, 12), QByteArray("---------l--"));
    QCOMPARE(planned({kinds, 3}, 13), QByteArray("--l--d--t--l-"));

    FaultSchedule schedule{kinds, 3, 0.1};
    const QByteArray first = planned(schedule, 15000);
    QCOMPARE(planned(schedule, 15000), first);
    for (const char kind : {'l', 'd', 't'})
        QVERIFY2(qAbs(first.count(kind) - 500) < 100, QByteArray::number(first.count(kind)));
    schedule.seed = 2;
    QVERIFY(planned(schedule, 15000) != first);
    schedule.rate = 1;
    QVERIFY(!planned(schedule, 15000).contains('-'));
}

/// Clients connect and stay; only the first and the last send anything again.
void TestSlavesim::keepsNobodyOut()
{
    const std::tuple<const char*, int, bool> cases[] = {
        {"", 257, true},
        {"ulimit -n 40", 60, true},
        {"ulimit -n 2000; for i in {1..1100}; do exec {fd}</dev/null; done", 10, false},
#ifndef __SANITIZE_ADDRESS__ // the sanitizer itself takes far more than that
        {"ulimit -v 50000", 200, false},
#endif
    };
    for (const auto& [shortage, clients, placesAreShort] : cases) {
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
}

/// It waits for them without work, and for no more lines.
void TestSlavesim::waitsWhenNobodyCanBeAccepted()
{
    SlaveProcess slave;
    QVERIFY2(slave.start({"--control"}), slave.problem());
    slave.endInput();
    const rlimit noMore = {5, 5};
    QCOMPARE(::prlimit(static_cast<pid_t>(slave.processId()), RLIMIT_NOFILE, &noMore, nullptr), 0);
    const qint64 before = slave.processorMs();
    ModbusClient client(slave.port());
    QCOMPARE(client.exchange(ReadHr1, 1000), QByteArray());
    QVERIFY2(slave.processorMs() - before < 60, QByteArray::number(slave.processorMs() - before));
    QCOMPARE(slave.stop(), 0);
}

void TestSlavesim::logsAndCounts()
{
    SlaveProcess slave;
    QVERIFY2(slave.start(options("--stats --fault tid --fault refuse --fault-every 1 --stations 1 --log")),
             slave.problem());
    ModbusClient client(slave.port());
    client.exchange(ReadHr1);
    client.exchange(framed("02 03 0000 0001"), ShortMs);
    client.exchange(WriteHr1);
    QCOMPARE(slave.stop(), 0);
    const QByteArrayList log = slave.problem().split('\n');
    QVERIFY2(log.value(0).endsWith(" station 1 read HR1 -> 1 register: 1 (fault: tid)"), log[0]);
    QVERIFY2(log.value(2).endsWith(" station 1 write HR1 = 999 -> no answer (fault: refuse)"), log.value(2));
    QVERIFY2(slave.output().endsWith("\nslavesim: 2 requests, 2 faults (tid 1, refuse 1)\n"), slave.output());
}

/// A full disk, and nobody who reads: the test exchanges more than a pipe holds.
void TestSlavesim::losesLogLinesRatherThanClients()
{
    for (const auto& [target, says] :
         {std::pair("/dev/full", "/dev/full lacks lines from now on: No space left"),
          std::pair("-", "standard output lacks lines from now on: nobody reads it")}) {
        SlaveProcess slave;
        QVERIFY2(slave.start({"--log", target}), slave.problem());
        ModbusClient client(slave.port());
        for (int i = 0; i < 2000; ++i)
            QCOMPARE(client.exchange(ReadHr1), Hr1Is1);
        QCOMPARE(slave.stop(), 0);
        const QByteArray said = slave.problem();
        QVERIFY2(said.startsWith(QByteArray("slavesim: --log: ") + says) && said.count('\n') == 1, said);
    }
}

QTEST_GUILESS_MAIN(TestSlavesim)
#include "tst_slavesim.moc"
