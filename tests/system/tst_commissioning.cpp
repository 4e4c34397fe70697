#include "host_program.h"
#include "slave_process.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QtTest>

#include <cstring>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

constexpr int manyTags = 100000;
#ifdef __SANITIZE_ADDRESS__
constexpr long mostKilobytes = 1000000;
#else
constexpr long mostKilobytes = 100000;
#endif

/// "1 HR 1-200 readable" for each range of a scan with --format json, separated by ", ".
QString rangesOf(const ProgramRun& run)
{
    QStringList texts;
    for (const QJsonObject& object : run.json())
        if (object.contains(QStringLiteral("area")))
            texts += QStringLiteral("%1 %2 %3-%4 %5")
                         .arg(object.value(QStringLiteral("station")).toInt())
                         .arg(object.value(QStringLiteral("area")).toString())
                         .arg(object.value(QStringLiteral("from")).toInt())
                         .arg(object.value(QStringLiteral("to")).toInt())
                         .arg(object.value(QStringLiteral("state")).toString());
    return texts.join(QStringLiteral(", "));
}

} // namespace

/// scan, import, export, show and help, run against slavesim as a user runs them.
class tst_commissioning : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void scanText();
    void scanRanges();
    void copyOfADevice();
    void scanOfSilentStations();
    void scanInterrupted();
    void wrongKeepsTheProject();
    void importAndExport();
    void importKeepsOtherLinks();
    void manyTagsInBoundedMemory();
    void interruptedImport();
    void progressOnATerminal();
    void showWarnsOfLongRuns();
    void examples();

private:
    QString device() const { return QStringLiteral("--device %1 ").arg(m_slave.device()); }

    /// What is in the project, and the files in its folder.
    std::pair<QByteArray, QStringList> project() const
    {
        return {m_host.contents(m_host.projectFile()),
                QDir(m_host.path("compile/database")).entryList(QDir::Files)};
    }

    HostProgram m_host;
    SlaveProcess m_slave;
};

void tst_commissioning::initTestCase()
{
    QVERIFY(m_host.install());
    QVERIFY2(
        m_slave.start(QStringLiteral("--stations 1,3-4 --serve HR=1-200 --serve HR=301-310 --serve IR=1-20 "
                                     "--serve DO=17-100")
                          .split(QLatin1Char(' '))),
        m_slave.problem());
}

void tst_commissioning::init()
{
    QCOMPARE(m_host.run(QStringLiteral("project create --replace --tag DO1 --tag DO2 --tag DO9 --tag 3-DI7"))
                 .status,
             0);
}

void tst_commissioning::scanText()
{
    const ProgramRun run =
        m_host.run(device() + QStringLiteral("scan --stations 1-2 --timeout 300 --area DO,HR --to 400"));
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QString());
    QCOMPARE(run.out.section(QLatin1String("\n\n"), 0, 1),
             QStringLiteral("answering stations  1\n"
                            "silent stations     2\n"
                            "\n"
                            "STATION  AREA  FROM   TO     COUNT  STATE     REASON\n"
                            "      1  DO    DO1    DO16      16  refused   exception code:02\n"
                            "      1  DO    DO17   DO100     84  readable\n"
                            "      1  DO    DO101  DO400    300  refused   exception code:02\n"
                            "      1  HR    HR1    HR200    200  readable\n"
                            "      1  HR    HR201  HR300    100  refused   exception code:02\n"
                            "      1  HR    HR301  HR310     10  readable\n"
                            "      1  HR    HR311  HR400     90  refused   exception code:02"));
    QVERIFY(run.out.contains(QRegularExpression(QStringLiteral("\n[0-9]+ request\\(s\\) in [0-9.]+ s\n$"))));
}

void tst_commissioning::scanRanges()
{
    for (const auto& [options, ranges] :
         {std::pair("--to 20 --area ir,hr", "1 IR 1-20 readable, 1 HR 1-20 readable"),
          std::pair("--station 3 --from 200 --to 201 --area HR",
                    "3 HR 200-200 readable, 3 HR 201-201 refused"),
          std::pair("--area DI", "1 DI 1-65536 readable"),
          std::pair("--area HR --finest 125 --to 65536",
                    "1 HR 1-200 readable, 1 HR 201-65536 not divided")}) {
        const ProgramRun run =
            m_host.run(device() + QStringLiteral("--format json scan ") + QLatin1String(options));
        QCOMPARE(run.status, 0);
        QCOMPARE(rangesOf(run), QString::fromLatin1(ranges));
        QVERIFY(run.json().last().value(QStringLiteral("complete")).toBool());
    }
}

void tst_commissioning::copyOfADevice()
{
    const ProgramRun scan = m_host.run(
        device() + QStringLiteral("scan --stations 1,3 --area HR,DO --to 200 --values --output copy"));
    QCOMPARE(scan.status, 0);
    SlaveProcess copy;
    QVERIFY2(copy.start({QStringLiteral("--image"), m_host.path("copy")}), copy.problem());
    const QString read = QStringLiteral("read HR1..HR200 3-HR200 3-DO17..DO100 --device ");
    const ProgramRun values = m_host.run(read + copy.device());
    QCOMPARE(values.out.count(QLatin1Char('\n')), 285);
    QCOMPARE(values.out, m_host.run(read + m_slave.device()).out);
    QVERIFY(m_host.contents(m_host.path("copy.csv")).contains("\n3-HR200,,uint16,scan read 200\n"));
    const ProgramRun import = m_host.run(QStringLiteral("project import copy.csv"));
    QVERIFY2(import.out.contains(QLatin1String(" now has 568 tag(s)")), qPrintable(import.out + import.err));
}

void tst_commissioning::scanOfSilentStations()
{
    const ProgramRun run =
        m_host.run(device() + QStringLiteral("scan --stations 5-24 --timeout 100 --format json"));
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.startsWith(QLatin1String("error: no station answers: no answer from 127.0.0.1:")),
             qPrintable(run.err));
    QCOMPARE(run.json().size(), 21);
    QCOMPARE(run.json().last().value(QStringLiteral("requests")).toInt(), 20);
}

// The trace shows when the scan has begun; a pause comes before that.
void tst_commissioning::scanInterrupted()
{
    for (const auto& [options, lastRange] :
         {std::pair("--area HR --delay 5", "-65536 not asked$"),
          std::pair("--area HR,IR --delay 30000", "^$"),
          std::pair("--stations 1-3 --area HR --timeout 30000", "^1 HR 1-65536 not asked$")}) {
        m_host.start(QStringLiteral("exec ./driverhost --trace --format json ") + device() +
                     QStringLiteral("scan ") + QLatin1String(options));
        QVERIFY(strstr(options, "--delay 30000") || m_host.waitForError("->"));
        QElapsedTimer timer;
        timer.start();
        m_host.interrupt();
        const ProgramRun run = m_host.finish();
        QVERIFY2(timer.elapsed() < 20000 || !strstr(options, "30000"), options);
        QCOMPARE(run.status, 130);
        QVERIFY(run.err.contains(QLatin1String("error: interrupted\n")));
        const QString ranges = rangesOf(run);
        QVERIFY2(ranges.contains(QRegularExpression(QLatin1String(lastRange))), qPrintable(ranges));
        QVERIFY(ranges.isEmpty() || !run.json().last().value(QStringLiteral("complete")).toBool(true));
    }
}

void tst_commissioning::wrongKeepsTheProject()
{
    const std::tuple<int, const char*, const char*> cases[] = {
        {1, "driverhost --device 127.0.0.1:1 scan --stations 1-247",
         "error: connection refused by 127.0.0.1:1\n"},
        {1, "mkdir bare; cp -r driverhost drivers bare; bare/driverhost --device 127.0.0.1:1 scan",
         "error: can not open database\nnote: the driver needs a project"},
        {1, "bare/driverhost --device 127.0.0.1:1 watch HR1 --samples 1",
         "error: can not open database\nnote: the driver needs a project"},
        {2, "driverhost scan --stations 0-256",
         "--stations: must be numbers and ranges from 0 to 255, as 1,5-7"},
        {2, "driverhost scan --area HR,XR", "--area: must be one of HR, IR, DO, DI, not \"XR\""},
        {2, "driverhost scan --to 65537", "--to: must be a whole number from 1 to 65536"},
        {2, "driverhost scan --from 9 --to 8", "--from: must be at most --to, 8, not 9"},
        {2, "driverhost scan --output copy", "--output requires --values"},
        {2, "driverhost scan --finest 0", "--finest: must be a whole number from 1"},
        {2, "driverhost project import", "FILE is required"},
        {2, "driverhost project import none.csv", "cannot read none.csv: No such file"},
        {2, "driverhost project import .", "cannot read .: "},
        {2, "driverhost project import /dev/null", "/dev/null has no tag; the project is as it was"},
        {2, "driverhost project create --tag DO1", "there is the project "},
        {2, "driverhost project create --replace --tag DO1 --tag XY1", "--tag: \"XY1\" is in no area"},
        {2, "driverhost --link 7 project import /dev/null", "--link: the project "},
        {2, "driverhost --link 7 project export", " has no link 7; its links are: 1"},
        {2, "driverhost help reed", "driverhost takes no \"reed\"; its commands are info, read, "},
        {2, "driverhost help project drop", "its commands are create, show, import, export"},
        {2, "printf 'DI1\nXY2\nDI3\n' > in.csv; driverhost project import in.csv",
         "in.csv:2: \"XY2\" is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR)\n"
         "error: 1 line(s) of in.csv are wrong; the project is as it was\n"},
        {2, "yes DI1 | head -51 > in.csv; driverhost project import in.csv",
         "in.csv:21: the address is that of line 1\n"
         "error: 50 line(s) of in.csv are wrong, the first 20 are listed; the project is as it was\n"},
        // A file may not grow beyond 200 KiB, as if the disk were full.
        {1, "seq -f DI%.0f 60000 > in.csv; trap '' XFSZ; ulimit -f 200; driverhost project import in.csv",
         "error: cannot write "},
    };
    const auto before = project();
    for (const auto& [status, command, error] : cases) {
        const ProgramRun run = m_host.shell(QStringLiteral("PATH=.:$PATH; ") + QLatin1String(command));
        QVERIFY2(run.err.contains(QLatin1String("error: ")) && run.err.contains(QLatin1String(error)),
                 qPrintable(QLatin1String(command) + QLatin1Char('\n') + run.err));
        QCOMPARE(run.status, status);
        QVERIFY2(project() == before, command);
    }
}

void tst_commissioning::importAndExport()
{
    QVERIFY(m_host.write("in.csv",
                         "\xEF\xBB\xBF"
                         "Address,name\r\nDI5,\"pump, left\"\r\n2-do17,\r\nHR7SW,\"a \"\"b\"\"\"\r\n"));
    const ProgramRun import = m_host.run(QStringLiteral("project import in.csv"));
    QCOMPARE(import.err, QString());
    QCOMPARE(import.status, 0);
    const QString exported =
        QStringLiteral("address,name,type,order,scale,offset,unit,decimals,comment\n"
                       "DI5,\"pump, left\",,,,,,,\n2-do17,,,,,,,,\nHR7SW,\"a \"\"b\"\"\",,,,,,,\n");
    QCOMPARE(m_host.run(QStringLiteral("project export")).out, exported);
    QCOMPARE(m_host.run(QStringLiteral("project export out.csv")).status, 0);
    QCOMPARE(m_host.contents(m_host.path("out.csv")), exported.toUtf8());
    const ProgramRun again = m_host.run(QStringLiteral("project import out.csv --format json"));
    QCOMPARE(again.json().value(0).value(QStringLiteral("tags")).toInt(), 3);
    QCOMPARE(m_host.run(QStringLiteral("project export")).out, exported);

    // Full disk: the old file stays. A device is written to, not replaced by a file.
    for (const char* target : {"/dev/stdout > /dev/full", "> /dev/full", "none/out.csv", "."}) {
        const ProgramRun full = m_host.run(QStringLiteral("project export ") + QLatin1String(target));
        QCOMPARE(full.status, 1);
        QVERIFY2(full.err.contains(QRegularExpression(QStringLiteral("^error: .*can ?not (be )?writ"))),
                 qPrintable(full.err));
    }
    QCOMPARE(m_host.run(QStringLiteral("project export /dev/stdout | cat")).out, exported);
    QCOMPARE(m_host.run(QStringLiteral("project export -")).out, exported);
    for (const char* command :
         {"create --replace --tags <(cat out.csv)", "import /dev/stdin < <(cat out.csv)"}) {
        QCOMPARE(m_host.run(QStringLiteral("project ") + QLatin1String(command)).status, 0);
        QCOMPARE(m_host.run(QStringLiteral("project export")).out, exported);
    }
}

// Tables and rows that are not of this link stay, even those that this program does not know.
void tst_commissioning::importKeepsOtherLinks()
{
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        database.setDatabaseName(m_host.projectFile());
        QVERIFY(database.open());
        for (const char* statement :
             {"INSERT INTO LINK VALUES (2, 1000)",
              "INSERT INTO custom_tag_table (connector_id, address) VALUES (2, 'DI77')",
              "CREATE TABLE SCREEN (title TEXT)", "INSERT INTO SCREEN VALUES ('Main')"})
            QVERIFY(QSqlQuery(database).exec(QLatin1String(statement)));
        database.close();
    }
    QVERIFY(m_host.write("in.csv", "DI1\n"));
    QCOMPARE(m_host.run(QStringLiteral("project import in.csv")).status, 0);
    QCOMPARE(m_host.run(QStringLiteral("project export")).out, QStringLiteral("address\nDI1\n"));
    QCOMPARE(m_host.run(QStringLiteral("project export --link 2")).out, QStringLiteral("address\nDI77\n"));
    QSqlDatabase database = QSqlDatabase::database();
    QSqlQuery query(QStringLiteral("SELECT title FROM SCREEN"), database);
    QVERIFY(query.next());
    QCOMPARE(query.value(0).toString(), QStringLiteral("Main"));
    database.close();
}

void tst_commissioning::manyTagsInBoundedMemory()
{
    QByteArray text = "address,name,comment\n";
    for (int i = 0; i < manyTags; ++i)
        text += QByteArray::number(1 + i / 5000) + (i % 2 ? "-DI" : "-FN5DO") +
                QByteArray::number(1 + i % 5000) + ",tag " + QByteArray::number(i) + ",\"some, comment\"\n";
    QVERIFY(m_host.write("many.csv", text));
    QCOMPARE(m_host.run(QStringLiteral("project import many.csv")).status, 0);
    rusage usage{}; // of the greatest of all runs
    QCOMPARE(::getrusage(RUSAGE_CHILDREN, &usage), 0);
    QVERIFY2(usage.ru_maxrss < mostKilobytes, QByteArray::number(static_cast<qint64>(usage.ru_maxrss)));
    const ProgramRun show = m_host.run(QStringLiteral("project show"));
    QVERIFY(show.out.contains(QString::number(manyTags)));
    QVERIFY(show.out.contains(QLatin1String("... and 2480 more")));
    QVERIFY(show.out.count(QLatin1Char('\n')) < 1000);
}

// The list comes through a pipe that holds less than is written, so the import is under way when the signal
// comes.
void tst_commissioning::interruptedImport()
{
    const auto before = project();
    QCOMPARE(::mkfifo(m_host.path("pipe").toLocal8Bit().constData(), 0600), 0);
    m_host.start(QStringLiteral("exec ./driverhost project import pipe"));
    QFile pipe(m_host.path("pipe"));
    QVERIFY(pipe.open(QIODevice::WriteOnly));
    QCOMPARE(pipe.write(QByteArray("DI1\n") + QByteArray(1 << 20, '\n')), qint64(4 + (1 << 20)));
    m_host.interrupt();
    pipe.close();
    const ProgramRun run = m_host.finish();
    QCOMPARE(run.err, QStringLiteral("error: interrupted, the project is as it was\n"));
    QCOMPARE(run.status, 130);
    QVERIFY(project() == before);
}

// script gives the program a terminal; stdout goes to a file, so what appears is stderr.
void tst_commissioning::progressOnATerminal()
{
    const ProgramRun run = m_host.shell(
        QStringLiteral("script -qefc './driverhost %1 scan --area HR --to 2000 --delay 1 > out.txt' "
                       "/dev/null < /dev/null")
            .arg(device()));
    QCOMPARE(run.status, 0);
    QVERIFY2(run.out.contains(
                 QRegularExpression(QStringLiteral("\\[#*\\.*\\] +[0-9]+ % +[0-9:]+ left  station 1 HR"))),
             qPrintable(run.out));
    QVERIFY(run.out.endsWith(QLatin1String(" \r")));
    QVERIFY(m_host.contents(m_host.path("out.txt")).contains("HR201  HR300"));
}

void tst_commissioning::showWarnsOfLongRuns()
{
    const ProgramRun import = m_host.shell(
        QStringLiteral("(seq -f DI%.0f 2008; seq -f DO%.0f 101 2108; echo DO2109; echo DO65536) > in.csv; "
                       "./driverhost project import in.csv"));
    QCOMPARE(import.status, 0);
    const ProgramRun show = m_host.run(QStringLiteral("project show"));
    QCOMPARE(show.out.section(QLatin1String("LINK  STATION  AREA  FROM"), 1),
             QStringLiteral(
                 "     TO       BITS\n"
                 "   1        1  DI    DI1      DI2008   2008\n"
                 "   1        1  DO    DO101    DO2109   2009  warning: refused when read at once, more "
                 "than 2008 bits\n"
                 "   1        1  DO    DO65536  DO65536     1\n"));
    // The driver really refuses it.
    const ProgramRun read = m_host.run(device() + QStringLiteral("read DO97 --type byte --count 252"));
    QVERIFY2(read.err.contains(QLatin1String("can't read 2009 bits from DO101")), qPrintable(read.err));
}

// Every example of every command's help does what it promises.
void tst_commissioning::examples()
{
    const auto commandsOf = [this](const QString& command) {
        static const QRegularExpression line(QStringLiteral("^  ([a-z]+)  "));
        const QString help = m_host.run(QStringLiteral("help ") + command).out;
        QStringList names;
        for (const QString& text : help.section(QLatin1String("Subcommands:\n"), 1).split(QLatin1Char('\n')))
            if (line.match(text).hasMatch())
                names += QString(command + QLatin1Char(' ') + line.match(text).captured(1)).trimmed();
        return names;
    };
    QStringList commands;
    for (const QString& command : commandsOf(QString())) {
        const QStringList below = commandsOf(command);
        commands += below.isEmpty() ? QStringList(command) : below;
    }
    QVERIFY2(commands.size() >= 9 && commands.contains(QLatin1String("project import")),
             qPrintable(commands.join(QLatin1Char(','))));
    QVERIFY(m_host.write("tags.csv", "address,name,type,scale\nDO17\nHR6,Oven 3,int16,0.1\n"
                                     "HR7,Setpoint oven,int16,0.5\n"));
    QCOMPARE(m_host.run(QStringLiteral("project import tags.csv")).status, 0);
    for (const QString& command : qAsConst(commands)) {
        const QString help = m_host.run(QStringLiteral("help ") + command).out;
        const QStringList lines =
            help.split(QLatin1Char('\n')).filter(QRegularExpression(QStringLiteral("^  driverhost ")));
        QVERIFY2(!lines.isEmpty(), qPrintable(command + QStringLiteral(" has no example")));
        for (QString line : lines) {
            line.replace(QLatin1String("127.0.0.1:1502"), m_slave.device());
            if (command == QLatin1String("watch"))
                line += line.contains(QLatin1String(" --for ")) ? "" : " --samples 2"; // it would run forever
            const ProgramRun run = m_host.shell(QStringLiteral("PATH=.:$PATH;") + line);
            QVERIFY2(run.status == 0, qPrintable(line + QLatin1Char('\n') + run.err));
        }
    }
}

QTEST_MAIN(tst_commissioning)
#include "tst_commissioning.moc"
