#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "rows.h"
#include "scripted_link.h"
#include "tools.h"

#include <QtTest>

/// "FC1 0+8": function code, first element and quantity of each request.
static QStringList asked(const ScriptedLink& link)
{
    QStringList texts;
    foreach (const QByteArray& frame, link.sent)
        texts += QString::fromLatin1("FC%1 %2+%3")
                     .arg(int(frame.at(7)))
                     .arg(big16(frame, 8))
                     .arg(big16(frame, 10));
    return texts;
}

static QStringList list(const QString& text)
{
    return text.split(QLatin1Char(' '), QString::SkipEmptyParts);
}

static bool createProject(const QString& tags)
{
    return ProjectFixture::create(ProjectFixture::usualPlace(), list(tags));
}

/// Reads bytes; in hexadecimal.
static QByteArray readBytes(DriverModbusTcpSlave& driver, ScriptedLink& link, const char* address = "DO1",
                            int count = 1)
{
    return driver.read(&link, CommunicatorCommand(Byte, count, QLatin1String(address))).toHex();
}

static const struct
{
    const char* name;
    const char* tags;
    const char* address; ///< of a read of so many bytes
    int count;
    const char* asked;
    const char* data; ///< as hexadecimal text
} runs[] = {
    {"two runs", "DI101 DI102 DI105 DI106 DI107", "DI101", 1, "FC2 100+2 FC2 104+3", "73"},
    {"case and duplicates", "di2 DI1 dI1", "di1", 1, "FC2 0+2", "03"},
    {"FN5DO is DO", "FN5DO12 DO12 fn5do9", "fn5do9", 1, "FC1 8+1 FC1 11+1", "09"},
    {"unknown area reads coils", "DO1 DI2", "XY1", 1, "FC1 0+1", "01"},
    {"tags of this station only", "1-DI5 2-DI6 1-fn5do7 257-DI7", "DI1", 1, "FC2 4+1 FC2 6+1", "50"},
    {"text behind a qualified number", "1-DI5x DI6x", "DI1", 1, "FC2 4+1", "10"},
    {"unreadable and zero are 65535", "DI6x DI DI0", "DI65529", 1, "FC2 65535+1", "80"},
    {"registers and free text", "HR10 IR3 1-HR10 Motor 1-DO1", "DO1", 1, "FC1 0+1", "01"},
    {"nothing configured here", "DO1", "DO100", 3, "", "000000"},
    {"other area of the station", "DO1", "DI1", 2, "", "0000"},
    {"all bits in one request", "DO1 DO2 DO3 DO4 DO5 DO6 DO7 DO8", "DO1", 1, "FC1 0+8", "ff"},
    {"every other bit", "DO2 DO4 DO6 DO8", "DO1", 1, "FC1 1+1 FC1 3+1 FC1 5+1 FC1 7+1", "aa"},
    {"run cut by both ends", "DO2 DO3 DO4 DO5 DO6 DO7 DO8 DO9 DO10 DO11", "DO3", 1, "FC1 2+8", "ff"},
    {"past 65535", "DO1", "DO65536", 1, "FC1 0+1", "02"},
    {"past 65535 behind a hit", "DO1 DO65536", "DO65536", 1, "FC1 65535+1", "01"}, // DO1 is lost
    {"no bytes", "DO1", "DO1", 0, "", ""},
};

class tst_project : public QObject
{
    Q_OBJECT

private slots:
    void init() { ProjectFixture::clear(); }
    void cleanupTestCase() { ProjectFixture::clear(); }
    void places();
    void tagsAndRuns_data() { addRows(runs); }
    void tagsAndRuns();
    void wholeAddressSpace();
    void sparseReadFailures();
    void pausesBetweenRequests();
    void stationWithoutTags();
    void loadedOnceAndForAll();
    void lastDefaultNodeGetsTheTags();
    void twoDriversAtOnce();
    void lookups();
    void hmiPorts();
};

void tst_project::places()
{
    const QStringList places =
        list(QLatin1String("compile/database/database compile/database database/database database"));
    foreach (const QString& place, places) {
        ProjectFixture::clear();
        QVERIFY(ProjectFixture::create(place, list(QLatin1String("DO1"))));
        QCOMPARE(GetDatabaseName(), ProjectFixture::path(place));
        DriverModbusTcpSlave driver;
        ObedientDevice link(0xFF);
        QCOMPARE(readBytes(driver, link), QByteArray("01"));
    }
}

void tst_project::tagsAndRuns()
{
    QFETCH(int, row);
    QVERIFY(createProject(QLatin1String(runs[row].tags)));
    DriverModbusTcpSlave driver;
    ObedientDevice link(0xFF);
    QCOMPARE(readBytes(driver, link, runs[row].address, runs[row].count), QByteArray(runs[row].data));
    QVERIFY2(!driver.hasError(), qPrintable(driver.getLastError()));
    QCOMPARE(asked(link).join(QLatin1String(" ")), QString::fromLatin1(runs[row].asked));
}

void tst_project::wholeAddressSpace()
{
    QStringList tags;
    for (int number = 1; number <= 65536; number += 3001)
        tags.append(QString::fromLatin1("DO%1").arg(number));
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), tags));
    DriverModbusTcpSlave driver;
    ObedientDevice link(0xFF);
    const QByteArray data = driver.read(&link, CommunicatorCommand(Byte, 2 * 8192, QLatin1String("DO5")));
    QCOMPARE(data.size(), 2 * 8192);
    QCOMPARE(link.sent.size(), tags.size() - 1); // DO1 comes only after the others
    QVERIFY(getBit(data, 3002 - 5));

    const int wide = 0x10000001; // its bits are more than an int counts
    const QByteArray many = driver.read(&link, CommunicatorCommand(Byte, wide, QLatin1String("DO2")));
    QCOMPARE(many.size(), wide);
    QVERIFY(getBit(many, 3002 - 2));
}

void tst_project::sparseReadFailures()
{
    QVERIFY(createProject(QLatin1String("DO1 DO3")));
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.answersPdu("0101 01").answersPdu("81 02").answersPdu("0101 01");
    QVERIFY(readBytes(driver, link).isEmpty());
    QCOMPARE(driver.getLastError(), QString::fromLatin1("read 1 byte(s) from 1-DO1> exception code:02"));
    QCOMPARE(link.sent.size(), 2);

    QStringList run;
    for (int number = 1; number <= 2009; ++number)
        run.append(QString::fromLatin1("DI%1").arg(number));
    ProjectFixture::clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), run));
    DriverModbusTcpSlave second;
    QVERIFY(second.read(&link, CommunicatorCommand(Byte, 252, QLatin1String("DI1"))).isEmpty());
    QCOMPARE(second.getLastError(),
             QString::fromLatin1("read 252 byte(s) from 1-DI1> can't read 2009 bits from DI1"));
}

void tst_project::pausesBetweenRequests()
{
    QVERIFY(createProject(QLatin1String("DO2 DO4 DO6 DO8")));
    DriverModbusTcpSlave driver;
    ObedientDevice link(0xFF);
    link.delay = 15;
    const qint64 start = CurrentMSecsSinceBoot();
    QCOMPARE(readBytes(driver, link), QByteArray("aa"));
    QVERIFY(CurrentMSecsSinceBoot() - start >= 4 * 15 - 1); // one before the attempt, three between requests
    QCOMPARE(link.waits, 4);
}

void tst_project::stationWithoutTags()
{
    QVERIFY(createProject(QLatin1String("2-DO1")));
    DriverModbusTcpSlave driver;
    ObedientDevice link(0xFF);
    for (int count = 0; count < 2; ++count) {
        QVERIFY(driver.read(&link, CommunicatorCommand(Block, count, QLatin1String("DI1"))).isEmpty());
        QCOMPARE(driver.getLastError(), QString::fromLatin1("read 1-DI1> invalid address 1-DI"));
    }
    QVERIFY(link.sent.isEmpty());
    link.station = 258;
    QCOMPARE(readBytes(driver, link), QByteArray("01"));
}

void tst_project::loadedOnceAndForAll()
{
    QVERIFY(createProject(QLatin1String("DO1")));
    DriverModbusTcpSlave driver;
    ObedientDevice link(0xFF);
    QVERIFY(driver.readDB(&link, QString()));
    ProjectFixture::clear();
    link.setting.linkID = 9;
    QVERIFY(driver.readDB(&link, QString()));
    QCOMPARE(readBytes(driver, link), QByteArray("01"));
}

void tst_project::lastDefaultNodeGetsTheTags()
{
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), list(QLatin1String("DO1")),
                                   QList<int>() << 1 << 258));
    DriverModbusTcpSlave driver;
    ObedientDevice link(0xFF);
    QVERIFY(readBytes(driver, link).isEmpty());
    QVERIFY(driver.getLastError().endsWith(QLatin1String("invalid address 1-DO")));
    link.station = 2;
    QCOMPARE(readBytes(driver, link), QByteArray("01"));
}

void tst_project::twoDriversAtOnce()
{
    QVERIFY(createProject(QLatin1String("DO1")));
    const int before = QSqlDatabase::connectionNames().size();
    DriverModbusTcpSlave one;
    DriverModbusTcpSlave other;
    ObedientDevice link(0xFF);
    ObedientDevice nowhere;
    nowhere.setting.linkID = -1;
    QVERIFY(!other.readDB(&nowhere, QString()));
    QVERIFY(one.readDB(&link, QString()));
    QVERIFY(!other.readDB(&nowhere, QString()));
    QCOMPARE(QSqlDatabase::connectionNames().size(), before + 2);
}

void tst_project::lookups()
{
    const QString name = QLatin1String("lookups");
    const QString ip = QLatin1String("10.0.0.1");
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList(), QList<int>() << 5 << 300));
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), name);
        database.setDatabaseName(GetDatabaseName());
    }
    int link = -7;
    unsigned char station = 0;
    QVERIFY(!GetLinkIdAndDefaultStationId(name, 1000, link, station));
    QCOMPARE(link, -7);
    QVERIFY(GetLinkIdAndDefaultStationId(name, 2000, link, station));
    QCOMPARE(link, 1);
    QCOMPARE(int(station), 5);

    QList<LinkIdStationId> found;
    QVERIFY(!GetLinkIdAndDefaultStationId(name, 2000, ip, 503, found));
    QVERIFY(GetLinkIdAndDefaultStationId(name, 2000, ip, 502, found));
    QVERIFY(GetLinkIdAndDefaultStationId(name, 4, found)); // earlier entries count
    QCOMPARE(found.size(), 2);
    QCOMPARE(int(found.at(1).defaultStationId), 44);
    QSqlDatabase::removeDatabase(name);
}

void tst_project::hmiPorts()
{
    static const struct
    {
        const char* device;
        int port;
    } ports[] = {
        {"ETHERNET", 2000}, {"Ethernet2", 2000}, {"COM1", 1000},         {"COM12", 1011},       {"", -1},
        {"12", -1},         {"COM", -1},         {"COM99999999999", -1}, {"COM2147483000", -1},
    };
    for (size_t i = 0; i < sizeof ports / sizeof *ports; ++i)
        QCOMPARE(DevStrToHmiPort(QLatin1String(ports[i].device)), ports[i].port);
}

QTEST_MAIN(tst_project)
#include "tst_project.moc"
