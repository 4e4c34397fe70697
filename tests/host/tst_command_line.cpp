#include "cli/command_line.h"
#include "peer.h"
#include "project/project_file.h"
#include "session/driver_plugin.h"
#include "tools/project_database.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <elf.h>
#include <sys/stat.h>

/// driverhost as a user sees it, run inside the test: its output and its exit status.
struct Run
{
    explicit Run(const QString& commandLine) : Run(commandLine.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {}

    explicit Run(const QStringList& arguments, const QString& driverFile = QStringLiteral(PLUGIN_FILE))
    {
        QTextStream outStream(&out);
        QTextStream errStream(&err);
        Console console{outStream, errStream};
        status = runCommandLine(QStringList({QStringLiteral("--driver"), driverFile}) + arguments, console);
    }

    QJsonObject json() const { return QJsonDocument::fromJson(out.toUtf8()).object(); }

    QString out;
    QString err;
    int status;
};

class tst_command_line : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();
    void wrong_data();
    void wrong();
    void badPlugins_data();
    void badPlugins();
    void help();
    void info();
    void project();
    void hostileTags();
    void projectIsAPipe();
    void tagFile_data();
    void tagFile();
    void readAndWrite_data();
    void readAndWrite();
    void refusedByTheDevice();
    void refusedBeforeTheDevice_data();
    void refusedBeforeTheDevice();

private:
    QTemporaryDir m_folder;
};

void tst_command_line::initTestCase()
{
    QCOMPARE(Run(QStringLiteral("project create --replace --tag DO1")).status, int(Done));
}

void tst_command_line::cleanup()
{
    QCOMPARE(Run(QStringLiteral("project create --replace --tag DO1")).status, int(Done));
}

void tst_command_line::cleanupTestCase()
{
    QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/compile")).removeRecursively();
}

// All of this must be refused before a connection is tried, which the device would refuse with status 1.
void tst_command_line::wrong_data()
{
    QTest::addColumn<QString>("error");
    QTest::newRow("") << "driverhost needs a command: info, read, write, ";
    QTest::newRow("reed HR1") << "driverhost takes no \"reed\"; its commands are info, read, ";
    QTest::newRow("project") << "driverhost project needs a command: create, show";
    QTest::newRow("project drop") << "driverhost project takes no \"drop\"; its commands are create, show";
    QTest::newRow("read") << "ADDRESS is required";
    QTest::newRow("read HR1 --cuont 3") << "driverhost read takes no \"--cuont\"";
    QTest::newRow("read HR1 --format \x1b[2J") << "not \"\\x1b[2J\"";
    QTest::newRow("read HR1 --type float")
        << "--type: must be one of bool, int16, uint16, int32, uint32, int64, uint64, float32, float64, "
           "string(N), bit, byte, word, dword, qword, block, bitblock with N from 1 to 250, not \"float\"";
    QTest::newRow("read HR1 --as octal")
        << "--as: must be one of uint, int, hex, float, bits, text, not \"octal\"";
    QTest::newRow("read HR1 --as float") << "float needs --type float32, float64 or dword, not word";
    QTest::newRow("read DO1 --as hex") << "a bit is 0 or 1";
    for (const char* count : {"-1", "x", "1.5", "0x10", "2147483648", "1e3"})
        QTest::newRow(qPrintable(QStringLiteral("read HR1 --count %1").arg(QLatin1String(count))))
            << QStringLiteral("--count: must be a whole number from 0 to 2147483647, not \"%1\"")
                   .arg(QLatin1String(count));
    QTest::newRow("read HR1 --station 256") << "--station: must be a whole number from 0 to 255, not \"256\"";
    QTest::newRow("read HR1 --timeout 0") << "--timeout: must be a whole number from 1 to";
    QTest::newRow("read HR1 --retry -1") << "--retry: must be a whole number from 0 to";
    QTest::newRow("read HR1 --delay 1s") << "--delay: must be a whole number from 0 to";
    QTest::newRow("read HR1 --link x") << "--link: must be a whole number from 0 to";
    QTest::newRow("read HR1 --format xml") << "--format: must be one of text, json, not \"xml\"";
    QTest::newRow("read HR1 --device 1.2.3.4:0")
        << "--device: the port must be a number from 1 to 65535, not \"0\"";
    QTest::newRow("read HR1 --count") << "--count";
    QTest::newRow("write HR1") << "VALUE is required";
    QTest::newRow("write HR1 70000")
        << "value 1, \"70000\", does not fit a word: it must be a whole number from -32768 to 65535";
    QTest::newRow("write HR1 1 -32769") << "value 2, \"-32769\", does not fit a word";
    QTest::newRow("write DO1 1 0 2") << "value 3, \"2\", does not fit a bit: it must be 0 or 1";
    QTest::newRow("write HR1 --count 3 1 2") << "2 values are given, not 3";
    QTest::newRow("write HR1 --as text abcd") << "text needs --type string(N), byte or block";
    QTest::newRow("read HR1 --order ABDC") << "--order: must be one of ABCD, CDAB, BADC, DCBA, not";
    // None of these may reach another element than the one that is meant.
    QTest::newRow("write HR65546 4711") << "\"HR65546\" must have a number from 1 to 65536";
    QTest::newRow("write HR30-32 99") << "a range is written HR1..HR8";
    QTest::newRow("read MR1") << "\"MR1\" is in no area of the driver";
    QTest::newRow("read 4x1") << "\"4x1\" is HR1 here";
    QTest::newRow("read HR1 40001") << "\"40001\" is HR1 here";
    QTest::newRow("watch 40001") << "\"40001\" is HR1 here";
    QTest::newRow("watch HR1:float") << "float needs --type float32";
    QTest::newRow("read HR1,HR2") << "is more than one address";
    QTest::newRow("write HR40 --type byte 1 2 3") << "whose other half would become 0: give one byte more";
    QTest::newRow("write HR40 100.0 --type dword") << "take --type float32";
    QTest::newRow("write HR1.256 1") << "a bit number from 0 to 255";
    QTest::newRow("read HR1.300") << "a bit number from 0 to 255";
    QTest::newRow("write DO1 1 --type word") << "it is a bit, and no word";
    QTest::newRow("write HR1..HR200 1") << "a range has a count of its own";
    QTest::newRow("write HR1:word:3 1 2") << "2 values are given, not 3";
}

void tst_command_line::wrong()
{
    QFETCH(QString, error);
    const Run run(QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(run.status, int(WrongCommandLine));
    QVERIFY2(run.err.startsWith(QLatin1String("error: ")), qPrintable(run.err));
    QVERIFY2(run.err.contains(error), qPrintable(run.err));
    QCOMPARE(run.out, QString());
}

void tst_command_line::badPlugins_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("error");
    const auto made = [this](const char* name, const QByteArray& content) {
        QFile file(m_folder.filePath(QLatin1String(name)));
        file.open(QIODevice::WriteOnly);
        file.write(content);
        return file.fileName();
    };
    QFile plugin(QStringLiteral(PLUGIN_FILE));
    plugin.open(QIODevice::ReadOnly);
    const QByteArray good = plugin.readAll();
    const auto changed = [good](int at, char byte) { return QByteArray(good).replace(at, 1, &byte, 1); };
    const QString pipe = m_folder.filePath(QStringLiteral("pipe.so"));
    ::mkfifo(QFile::encodeName(pipe).constData(), 0600);
    QTest::newRow("missing") << m_folder.filePath(QStringLiteral("none.so"))
                             << "driver plug-in %1 does not exist";
    QTest::newRow("directory") << m_folder.path() << "driver plug-in %1 is not a file";
    QTest::newRow("pipe that nobody writes to") << pipe << "driver plug-in %1 is not a file";
    QTest::newRow("empty") << made("empty.so", QByteArray()) << "driver plug-in %1 is not a shared library";
    QTest::newRow("text") << made("text.so", QByteArray(4000, 'x'))
                          << "driver plug-in %1 is not a shared library";
    QTest::newRow("other word size") << made("bits.so", changed(EI_CLASS, 3))
                                     << "driver plug-in %1 is built for another machine";
    QTest::newRow("other byte order")
        << made("order.so", changed(EI_DATA, 3)) << "driver plug-in %1 is built for another machine";
    QTest::newRow("other processor") << made("processor.so", changed(EI_NIDENT + 2, 1))
                                     << "driver plug-in %1 is built for another machine";
    QTest::newRow("cut in its code") << made("short.so", good.left(20000))
                                     << "driver plug-in %1 is incomplete, the file is cut off";
    QTest::newRow("cut by a byte") << made("byte.so", good.chopped(1))
                                   << "driver plug-in %1 is incomplete, the file is cut off";
    QTest::newRow("program") << QStringLiteral("/proc/self/exe") << "cannot load driver plug-in %1: ";
    QTest::newRow("other library") << QStringLiteral(QT_SQL_LIBRARY)
                                   << "%1 is not a driver: it has no function CreateDriver";
}

void tst_command_line::badPlugins()
{
    QFETCH(QString, file);
    QFETCH(QString, error);
    const Run run({QStringLiteral("read"), QStringLiteral("HR1")}, file);
    QCOMPARE(run.status, int(WrongCommandLine));
    QVERIFY2(run.err.contains(error.contains(QLatin1String("%1")) ? error.arg(file) : error),
             qPrintable(run.err));
    QCOMPARE(run.err.count(QLatin1Char('\n')), 1);
    QString text;
    QVERIFY(!DriverPlugin::load(file, PluginEntry::PluginInstance, text));
    QVERIFY2(text.contains(file), qPrintable(text));
}

void tst_command_line::help()
{
    const Run all(QStringLiteral("--help"));
    QCOMPARE(all.status, int(Done));
    for (const char* name : {"info", "read", "write", "project", "--device", "--timeout", "130"})
        QVERIFY2(all.out.contains(QLatin1String(name)), name);
    QVERIFY(Run(QStringLiteral("read HR1 --help"))
                .out.contains(QLatin1String("driverhost read [OPTIONS] ADDRESS")));
    QVERIFY(Run(QStringLiteral("project create --help")).out.contains(QLatin1String("--tags FILE")));
    QVERIFY(Run(QStringLiteral("--version")).out.startsWith(QLatin1String("driverhost ")));
}

void tst_command_line::info()
{
    const Run text(QStringLiteral("info"));
    QCOMPARE(text.status, int(Done));
    QVERIFY(text.out.contains(QLatin1String("\nname                      Modbus TCP Slave\n")));
    const Run json(QStringLiteral("info --entry instance --format json"));
    QCOMPARE(json.json().value(QStringLiteral("bitBlockSize")).toInt(), 2008);
    QCOMPARE(json.json().value(QStringLiteral("defaultLink")).toString(), QStringLiteral("502"));
}

void tst_command_line::project()
{
    const Run create(
        QStringLiteral("project create --replace --link 4 --station 9 --device 10.0.0.1:1502 --tag DO1 "
                       "--tag 2-DI5"));
    QCOMPARE(create.status, int(Done));
    QVERIFY(create.out.contains(GetDatabaseName()));
    QCOMPARE(Run(QStringLiteral("project show --all")).out,
             QStringLiteral("LINK  HMI PORT  TAGS\n"
                            "   4      2000     2\n"
                            "\n"
                            "LINK  STATION  DEFAULT  IP        PORT\n"
                            "   4        9  yes      10.0.0.1  1502\n"
                            "\n"
                            "LINK  TAG\n"
                            "   4  DO1\n"
                            "   4  2-DI5\n"
                            "\n"
                            "Reading bits by bytes asks the devices for\n"
                            "LINK  STATION  AREA  REQUESTS  BITS  LONGEST\n"
                            "   4        2  DI           1     1        1\n"
                            "   4        2  DO           0     0        0\n"
                            "   4        9  DI           0     0        0\n"
                            "   4        9  DO           1     1        1\n"
                            "\n"
                            "LINK  STATION  AREA  FROM  TO   BITS\n"
                            "   4        2  DI    DI5   DI5     1\n"
                            "   4        9  DO    DO1   DO1     1\n"));
    const QJsonObject shown = Run(QStringLiteral("project show --format json")).json();
    QCOMPARE(
        shown.value(QStringLiteral("links")).toArray().at(0).toObject().value(QStringLiteral("tags")).toInt(),
        2);
    QVERIFY(!shown.contains(QStringLiteral("tags")));
}

void tst_command_line::hostileTags()
{
    {
        ProjectWriter writer(GetDatabaseName(), ProjectWriter::FromOldProject);
        QVERIFY(writer.addTag({1, signalAt(QStringLiteral("DO\x1b[2J"))}) && writer.commit());
    }
    const QString shown = Run(QStringLiteral("project show --all")).out;
    QVERIFY2(shown.contains(QLatin1String("DO\\x1b[2J\n")), qPrintable(shown));
}

void tst_command_line::projectIsAPipe()
{
    QVERIFY(QFile::remove(GetDatabaseName()));
    QCOMPARE(::mkfifo(QFile::encodeName(GetDatabaseName()).constData(), 0600), 0);
    const Run run(QStringLiteral("read HR1"));
    QVERIFY(QFile::remove(GetDatabaseName()));
    QVERIFY2(run.err.endsWith(QLatin1String(" is a pipe or a device, not a file\n")), qPrintable(run.err));
}

void tst_command_line::tagFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("expected"); ///< "TAGS tags" or an error
    QTest::newRow("comment and blank lines") << QByteArray("# coils\nDO1\r\n\n  DI2  \nDO3") << "3 tag(s)";
    QTest::newRow("a list for import") << QByteArray("Address,name\nDO1,pump\n") << "1 tag(s)";
    QTest::newRow("empty") << QByteArray() << "tags has no tag; the project is as it was";
    QTest::newRow("header alone") << QByteArray("address\n") << "tags has no tag; the project is as it was";
    QTest::newRow("two words") << QByteArray("DO1\nDO2 DO3\n") << "tags:2: \"DO2 DO3\" has more behind";
    QTest::newRow("binary") << QByteArray("DO1\nDO\0002\n", 9) << "tags:2: it has the control character 0";
}

void tst_command_line::tagFile()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, expected);
    QFile file(m_folder.filePath(QStringLiteral("tags")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
    file.close();
    for (const char* command : {"project create --replace --tags ", "project import "}) {
        const Run run(QLatin1String(command) + file.fileName());
        QCOMPARE(run.status, int(expected.endsWith(QLatin1String("tag(s)")) ? Done : WrongCommandLine));
        QVERIFY2((run.out + run.err).contains(expected), qPrintable(run.out + run.err));
    }
}

// One command through the real driver, answered by the test.
void tst_command_line::readAndWrite_data()
{
    QTest::addColumn<QByteArray>("request"); ///< after the transaction and protocol identifiers
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("data");
    QTest::newRow("read HR100 --count 3")
        << QByteArray("0006010300630003") << QByteArray("00090103060001ffff0000")
        << "HR100      1\nHR101  65535\nHR102      0\n"
        << "[1,65535,0]"
        << "0100ffff0000";
    QTest::newRow("read HR9.15 --count 2 --station 7")
        << QByteArray("0006070300080002") << QByteArray("00070703048000fffe") << "HR9.15  1\nHR10.0  0\n"
        << "[1,0]"
        << "01";
    QTest::newRow("read IR1SW --type dword --as float")
        << QByteArray("0006010400000002") << QByteArray("00070104043fc00000") << "IR1SW  1.5\n"
        << "[1.5]"
        << "0000c03f";
    QTest::newRow("read DI3 --count 2")
        << QByteArray("0006010200020002") << QByteArray("000401020102") << "DI3  0\nDI4  1\n"
        << "[0,1]"
        << "02";
    QTest::newRow("read HR1 --type byte --count 3 --as text")
        << QByteArray("0006010300000002") << QByteArray("00070103046261ff63") << "HR1  abc\n"
        << "[97,98,99]"
        << "616263";
    QTest::newRow("write HR1 -2 300") << QByteArray("000b01100000000204fffe012c")
                                      << QByteArray("0006011000000002") << "HR1   -2\nHR2  300\n"
                                      << "[-2,300]"
                                      << "feff2c01";
    QTest::newRow("read 3-HR1") << QByteArray("0006030300000001") << QByteArray("0005030302002a")
                                << "3-HR1  42\n"
                                << "[42]"
                                << "2a00";
    QTest::newRow("read HR1:word:3") << QByteArray("0006010300000003") << QByteArray("0009010306000100020003")
                                     << "HR1  1\nHR2  2\nHR3  3\n"
                                     << "[1,2,3]"
                                     << "010002000300";
    QTest::newRow("write HR1 --type dword --as float 1.5")
        << QByteArray("000b0110000000020400003fc0") << QByteArray("0006011000000002") << "HR1  1.5\n"
        << "[1.5]"
        << "0000c03f";
    QTest::newRow("write HR1 --type float32 100.0")
        << QByteArray("000b01100000000204000042c8") << QByteArray("0006011000000002") << "HR1  100\n"
        << "[100]"
        << "0000c842";
    QTest::newRow("write HR1:float32:ABCD 1.5")
        << QByteArray("000b011000000002043fc00000") << QByteArray("0006011000000002") << "HR1  1.5\n"
        << "[1.5]"
        << "c03f0000";
    QTest::newRow("write DO9 1 0 1") << QByteArray("0008010f000800030105") << QByteArray("0006010f00080003")
                                     << "DO9   1\nDO10  0\nDO11  1\n"
                                     << "[1,0,1]"
                                     << "05";
    QTest::newRow("write FN6HR5 0xff")
        << QByteArray("00060106000400ff") << QByteArray("00060106000400ff") << "FN6HR5  255\n"
        << "[255]"
        << "ff00";
    QTest::newRow("write --type byte HR1 --as text [ab]")
        << QByteArray("000b01100000000204615b5d62") << QByteArray("0006011000000002") << "HR1  [ab]\n"
        << "[91,97,98,93]"
        << "5b61625d";
    QTest::newRow("write HR1:string(4) [a]")
        << QByteArray("000b011000000002045b615d00") << QByteArray("0006011000000002") << "HR1  [a]\n"
        << "[\"[a]\"]"
        << "615b005d";
}

void tst_command_line::readAndWrite()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    QFETCH(QString, text);
    QFETCH(QString, values);
    QFETCH(QString, data);
    const QString tag = QString::fromLatin1(QTest::currentDataTag());
    for (const char* format : {" --format text", " --format json"}) {
        Peer peer;
        QByteArray got;
        peer.later([&] {
            if (!peer.accept())
                return;
            got = peer.receive(4 + request.size() / 2);
            peer.send(got.left(4) + QByteArray::fromHex(reply));
        });
        const Run run(tag + QLatin1String(format) + QStringLiteral(" --timeout 5000 --device ") +
                      peer.name());
        QCOMPARE(run.err, QString());
        QCOMPARE(run.status, int(Done));
        QCOMPARE(got.mid(4).toHex(), request);
        if (!run.out.startsWith(QLatin1Char('{'))) {
            QCOMPARE(run.out, text);
            continue;
        }
        QCOMPARE(run.out.count(QLatin1Char('\n')), 1);
        QCOMPARE(QString::fromUtf8(QJsonDocument(run.json().value(QStringLiteral("values")).toArray())
                                       .toJson(QJsonDocument::Compact)),
                 values);
        QCOMPARE(run.json().value(QStringLiteral("data")).toString(), data);
        QCOMPARE(run.json().value(QStringLiteral("attempts")).toInt(), 1);
        QCOMPARE(run.json().value(QStringLiteral("address")).toString(),
                 tag.section(QLatin1Char(' '), tag.startsWith(QLatin1String("write --type")) ? 3 : 1)
                     .section(QRegularExpression(QStringLiteral("[ :]")), 0, 0));
        QVERIFY(run.json().value(QStringLiteral("milliseconds")).toDouble() > 0);
        QVERIFY(!run.json().contains(QStringLiteral("error")));
    }
}

void tst_command_line::refusedByTheDevice()
{
    Peer peer;
    peer.later([&] {
        if (!peer.accept())
            return;
        for (int attempt = 0; attempt < 3; ++attempt)
            peer.send(peer.receive(12).left(4) + QByteArray::fromHex("0003018302"));
    });
    const Run run(QStringLiteral("read HR100 --count 4 --retry 2 --trace --format json --device ") +
                  peer.name());
    QCOMPARE(run.status, int(Refused));
    const QString error = QStringLiteral("read 4 word(s) from 1-HR100> exception code:02");
    QVERIFY2(run.err.endsWith(QStringLiteral("error: %1\n").arg(error)) ||
                 run.err.contains(QStringLiteral("error: %1\n").arg(error)),
             qPrintable(run.err));
    QCOMPARE(run.err.count(QLatin1String("exception 2 (illegal data address)")), 3);
    QCOMPARE(run.json().value(QStringLiteral("error")).toString(), error);
    QCOMPARE(run.json().value(QStringLiteral("attempts")).toInt(), 3);
    QVERIFY(!run.json().contains(QStringLiteral("values")));
    QVERIFY(!run.json().contains(QStringLiteral("data")));
}

void tst_command_line::refusedBeforeTheDevice_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("attempts");
    QTest::newRow("read HR1 --count 126 --retry 0")
        << "read 126 word(s) from 1-HR1> can't read any word from HR1" << 1;
    QTest::newRow("read HR1 --type qword") << "Modbus TCP Slave does not read qword at HR1" << 1;
    QTest::newRow("write HR1 --type qword 1") << "Modbus TCP Slave does not write qword at HR1" << 1;
    QTest::newRow("write IR3 1 --retry 1") << "write 1 word(s) to 1-IR3> can't write any word to IR3" << 2;
    QTest::newRow("read HR1 --link 2") << "failed to get default station id" << 0;
}

void tst_command_line::refusedBeforeTheDevice()
{
    QFETCH(QString, error);
    QFETCH(int, attempts);
    Peer peer;
    const Run run(QString::fromLatin1(QTest::currentDataTag()) + QStringLiteral(" --format json --device ") +
                  peer.name());
    QCOMPARE(run.status, int(Refused));
    QCOMPARE(run.err, QStringLiteral("error: %1\n").arg(error));
    QCOMPARE(run.json().value(QStringLiteral("error")).toString(), error);
    QCOMPARE(run.json().value(QStringLiteral("attempts")).toInt(), attempts);
}

QTEST_GUILESS_MAIN(tst_command_line)
#include "tst_command_line.moc"
