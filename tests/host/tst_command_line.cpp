#include "cli/command_line.h"
#include "peer.h"
#include "project/project_file.h"
#include "rows.h"
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

// What is wrong must be refused before a connection is tried, which would end with status 1.
static const struct
{
    const char* name;
    ExitStatus status;
    const char* text; ///< on stdout if all is well, else on stderr
} commandLines[] = {
    {"--help", Done, "130  interrupted with Ctrl-C"},
    {"read HR1 --help", Done, "driverhost read [OPTIONS] ADDRESS"},
    {"project create --help", Done, "--tags FILE"},
    {"--version", Done, "driverhost "},
    {"info", Done, "\nname                      Modbus TCP Slave\n"},
    {"info --entry instance --format json", Done, "\"defaultLink\":\"502\",\"delay\":0"},
    {"project show --format json", Done, "\"tags\":1}]"},
    {"read HR1 --count 126 --retry 0", Refused, "read 126 word(s) from 1-HR1> can't read any word from HR1"},
    {"read HR1 --type qword", Refused, "Modbus TCP Slave does not read qword at HR1"},
    {"write HR1 --type qword 1", Refused, "Modbus TCP Slave does not write qword at HR1"},
    {"write IR1 1", Refused, "error: write 1 word(s) to 1-IR1> can't write any word to IR1\n"},
    {"read HR1 --link 2", Refused,
     "failed to get default station id\nnote: \"driverhost project show\" lists"},
    {"", WrongCommandLine, "driverhost needs a command: info, read, write, "},
    {"reed HR1", WrongCommandLine, "driverhost takes no \"reed\"; its commands are info, read, "},
    {"project", WrongCommandLine, "driverhost project needs a command: create, show"},
    {"project drop", WrongCommandLine, "driverhost project takes no \"drop\"; its commands are create, show"},
    {"read", WrongCommandLine, "ADDRESS is required"},
    {"read HR1 --cuont 3", WrongCommandLine, "driverhost read takes no \"--cuont\""},
    {"read HR1 --format \x1b[2J", WrongCommandLine, "--format: must be one of text, json, not \"\\x1b[2J\""},
    {"read HR1 --type float", WrongCommandLine,
     "--type: must be one of bool, int16, uint16, int32, uint32, int64, uint64, float32, float64, "
     "string(N), bit, byte, word, dword, qword, block, bitblock with N from 1 to 250, not \"float\""},
    {"read HR1 --as octal", WrongCommandLine,
     "--as: must be one of uint, int, hex, float, bits, text, not \"octal\""},
    {"read HR1 --order ABDC", WrongCommandLine, "--order: must be one of ABCD, CDAB, BADC, DCBA, not"},
    {"read HR1 --count -1", WrongCommandLine,
     "--count: must be a whole number from 0 to 2147483647, not \"-1\""},
    {"read HR1 --count x", WrongCommandLine, "--count: must be a whole number"},
    {"read HR1 --count 2147483648", WrongCommandLine, "--count: must be a whole number"},
    {"read HR1 --station 256", WrongCommandLine,
     "--station: must be a whole number from 0 to 255, not \"256\""},
    {"read HR1 --timeout 0", WrongCommandLine, "--timeout: must be a whole number from 1 to"},
    {"read HR1 --retry -1", WrongCommandLine, "--retry: must be a whole number from 0 to"},
    {"read HR1 --delay 1s", WrongCommandLine, "--delay: must be a whole number from 0 to"},
    {"read HR1 --link x", WrongCommandLine, "--link: must be a whole number from 0 to"},
    {"read HR1 --device 1.2.3.4:0", WrongCommandLine,
     "--device: the port must be a number from 1 to 65535, not \"0\""},
    {"read HR1 --count", WrongCommandLine, "--count"},
    {"write HR1", WrongCommandLine, "VALUE is required"},
    {"write HR1 --count 3 1 2", WrongCommandLine, "2 values are given, not 3"},
    {"write HR1:word:3 1 2", WrongCommandLine, "2 values are given, not 3"},
    // None of these may reach another element than the one that is meant.
    {"read HR1 40001", WrongCommandLine, "\"40001\" is HR1 here"},
    {"read DO1 --as hex", WrongCommandLine, "a bit is 0 or 1"},
    {"write HR1 1 -32769", WrongCommandLine, "value 2, \"-32769\", does not fit a word"},
    {"write HR65546 4711", WrongCommandLine, "\"HR65546\" must have a number from 1 to 65536"},
    {"write HR1..HR200 1", WrongCommandLine, "name its first element only"},
    {"watch 40001", WrongCommandLine, "\"40001\" is HR1 here"},
    {"watch HR1:float", WrongCommandLine, "float needs --type float32"}};

static const struct
{
    const char* name;
    const char* content;
    const char* expected; ///< "TAGS tags" or an error
} tagFiles[] = {{"comment and blank lines", "# coils\nDO1\r\n\n  DI2  \nDO3", "3 tag(s)"},
                {"a list for import", "Address,name\nDO1,pump\n", "1 tag(s)"},
                {"empty", "", "tags has no tag; the project is as it was"},
                {"two words", "DO1\nDO2 DO3\n", "tags:2: \"DO2 DO3\" has more behind"}};

// One command through the real driver, answered by the test.
static const struct
{
    const char* name;
    const char* request; ///< after the transaction and protocol identifiers
    const char* reply;
    const char* found; ///< address, data, values and text
} exchanges[] = {
    {"read HR9.15 --count 2 --station 7", "0006070300080002", "00070703048000fffe", "HR9.15 01 [1,0]"},
    {"read IR1SW --type dword --as float", "0006010400000002", "00070104043fc00000", "IR1SW 0000c03f [1.5]"},
    {"read DI3 --count 2", "0006010200020002", "000401020102", "DI3 02 [0,1]"},
    {"read HR1 --type byte --count 3 --as text", "0006010300000002", "00070103046261ff63",
     "HR1 616263 [97,98,99]abc"},
    {"read 3-HR1:word:3", "0006030300000003", "0009030306000100020003", "3-HR1 010002000300 [1,2,3]"},
    {"write HR1 -2 300", "000b01100000000204fffe012c", "0006011000000002", "HR1 feff2c01 [-2,300]"},
    {"write HR1 --type float32 100.0", "000b01100000000204000042c8", "0006011000000002",
     "HR1 0000c842 [100]"},
    {"write DO9 1 0 1", "0008010f000800030105", "0006010f00080003", "DO9 05 [1,0,1]"},
    {"write FN6HR5 0xff", "00060106000400ff", "00060106000400ff", "FN6HR5 ff00 [255]"},
    {"write --type byte HR1 --as text [ab]", "000b01100000000204615b5d62", "0006011000000002",
     "HR1 5b61625d [91,97,98,93][ab]"},
    {"write HR1:string(4) [a]", "000b011000000002045b615d00", "0006011000000002", "HR1 615b005d [\"[a]\"]"}};

class tst_command_line : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanupTestCase();
    void answers_data() { addRows(commandLines); }
    void answers();
    void badPlugins_data();
    void badPlugins();
    void project();
    void hostileTags();
    void projectIsAPipe();
    void tagFile_data() { addRows(tagFiles); }
    void tagFile();
    void readAndWrite_data() { addRows(exchanges); }
    void readAndWrite();
    void refusedByTheDevice();

private:
    QTemporaryDir m_folder;
};

void tst_command_line::init()
{
    QCOMPARE(Run(QStringLiteral("project create --replace --tag DO1")).status, int(Done));
}

void tst_command_line::cleanupTestCase()
{
    QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/compile")).removeRecursively();
}

void tst_command_line::answers()
{
    QFETCH(int, row);
    const auto& [commandLine, status, text] = commandLines[row];
    const Peer silent; // to which the driver connects before it refuses
    const QString device = status == Refused ? QStringLiteral(" --device ") + silent.name() : QString();
    const Run run(QLatin1String(commandLine) + device);
    QCOMPARE(run.status, int(status));
    QVERIFY2((status == Done ? run.out : run.err).contains(QLatin1String(text)),
             qPrintable(run.out + run.err));
    QCOMPARE(run.out.isEmpty(), status != Done);
    QCOMPARE(run.err.startsWith(QLatin1String("error: ")), status != Done);
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
    const auto row = [](const QString& file, const char* problem) {
        QTest::addRow("%s: %s", qPrintable(file), problem) << file << QString::fromLatin1(problem);
    };
    row(m_folder.filePath(QStringLiteral("none.so")), "driver plug-in %1 does not exist");
    row(m_folder.path(), "driver plug-in %1 is not a file");
    row(pipe, "driver plug-in %1 is not a file");
    row(made("empty.so", QByteArray()), "driver plug-in %1 is not a shared library");
    row(made("text.so", QByteArray(4000, 'x')), "driver plug-in %1 is not a shared library");
    row(made("bits.so", changed(EI_CLASS, 3)), "driver plug-in %1 is built for another machine");
    row(made("order.so", changed(EI_DATA, 3)), "driver plug-in %1 is built for another machine");
    row(made("processor.so", changed(EI_NIDENT + 2, 1)), "driver plug-in %1 is built for another machine");
    row(made("short.so", good.left(20000)), "driver plug-in %1 is incomplete, the file is cut off");
    row(made("byte.so", good.chopped(1)), "driver plug-in %1 is incomplete, the file is cut off");
    row(QStringLiteral("/proc/self/exe"), "cannot load driver plug-in %1: ");
    row(QStringLiteral(QT_SQL_LIBRARY), "%1 is not a driver: it has no function CreateDriver");
}

void tst_command_line::badPlugins()
{
    QFETCH(QString, file);
    QFETCH(QString, error);
    const Run run({QStringLiteral("read"), QStringLiteral("HR1")}, file);
    QCOMPARE(run.status, int(WrongCommandLine));
    QVERIFY2(run.err.contains(error.arg(file)), qPrintable(run.err));
    QCOMPARE(run.err.count(QLatin1Char('\n')), 1);
    QString text;
    QVERIFY(!DriverPlugin::load(file, PluginEntry::PluginInstance, text));
    QVERIFY2(text.contains(file), qPrintable(text));
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
}

void tst_command_line::hostileTags()
{
    {
        ProjectWriter writer(GetDatabaseName(), ProjectWriter::FromOldProject);
        QVERIFY(writer.addTag({1, signalAt(QStringLiteral("1e5"))}));
        QVERIFY(writer.addTag({1, signalAt(QStringLiteral("DO\x1b[2J"))}) && writer.commit());
    }
    QVERIFY(Run(QStringLiteral("project show --all --format json")).out.contains("\"address\":\"1e5\""));
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

void tst_command_line::tagFile()
{
    QFETCH(int, row);
    const QByteArray content = tagFiles[row].content;
    const QString expected = QLatin1String(tagFiles[row].expected);
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

void tst_command_line::readAndWrite()
{
    QFETCH(int, row);
    const QByteArray request = exchanges[row].request;
    Peer peer;
    QByteArray got;
    peer.later([&] {
        peer.accept();
        got = peer.receive(4 + request.size() / 2);
        peer.send(got.left(4) + QByteArray::fromHex(exchanges[row].reply));
    });
    const Run run(QLatin1String(exchanges[row].name) +
                  QStringLiteral(" --format json --timeout 5000 --device ") + peer.name());
    QCOMPARE(run.err, QString());
    QCOMPARE(run.status, int(Done));
    QCOMPARE(got.mid(4).toHex(), request);
    QCOMPARE(run.out.count(QLatin1Char('\n')), 1);
    const QJsonObject json = run.json();
    const QByteArray values =
        QJsonDocument(json.value(QStringLiteral("values")).toArray()).toJson(QJsonDocument::Compact);
    QCOMPARE(QStringLiteral("%1 %2 %3%4")
                 .arg(json.value(QStringLiteral("address")).toString(),
                      json.value(QStringLiteral("data")).toString(), QString::fromUtf8(values),
                      json.value(QStringLiteral("text")).toString()),
             QLatin1String(exchanges[row].found));
    QCOMPARE(json.value(QStringLiteral("attempts")).toInt(), 1);
    QVERIFY(json.value(QStringLiteral("milliseconds")).toDouble() > 0);
    QVERIFY(!json.contains(QStringLiteral("error")));
}

void tst_command_line::refusedByTheDevice()
{
    Peer peer;
    peer.later([&] {
        peer.accept();
        for (int attempt = 0; attempt < 3; ++attempt)
            peer.send(peer.receive(12).left(4) + QByteArray::fromHex("0003018302"));
    });
    const Run run(QStringLiteral("read HR100 --count 4 --retry 2 --trace --format json --device ") +
                  peer.name());
    QCOMPARE(run.status, int(Refused));
    const QString error = QStringLiteral("read 4 word(s) from 1-HR100> exception code:02");
    QVERIFY2(run.err.contains(QStringLiteral("error: %1\n").arg(error)), qPrintable(run.err));
    QCOMPARE(run.err.count(QLatin1String("exception 2 (illegal data address)")), 3);
    const QJsonObject json = run.json();
    QCOMPARE(json.value(QStringLiteral("error")).toString(), error);
    QCOMPARE(json.value(QStringLiteral("attempts")).toInt(), 3);
    QVERIFY(!json.contains(QStringLiteral("values")) && !json.contains(QStringLiteral("data")));
}

QTEST_GUILESS_MAIN(tst_command_line)
#include "tst_command_line.moc"
