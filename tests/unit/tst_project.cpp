#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "scripted_link.h"
#include "tools.h"

#include <QtTest>

/// A link whose device has every coil and discrete input on.
class AllOnLink : public ObedientDevice
{
public:
    AllOnLink() : ObedientDevice(0xFF) {}
};

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

class tst_project : public QObject
{
    Q_OBJECT

private slots:
    void init() { ProjectFixture::clear(); }
    void cleanupTestCase() { ProjectFixture::clear(); }
    void places_data();
    void places();
    void tagsAndRuns_data();
    void tagsAndRuns();
    void wholeAddressSpace();
    void sparseReadFailures();
    void pausesBetweenRequests();
    void stationWithoutTags();
    void failuresAndRecovery_data();
    void failuresAndRecovery();
    void placeIsLookedUpOnce();
    void loadedOnceAndForAll();
    void lastDefaultNodeGetsTheTags();
    void twoDriversAtOnce();
    void damageBehindTheFirstRowsIsNotTakenForTheEnd();
    void lookups();
    void hmiPorts_data();
    void hmiPorts();
};

void tst_project::places_data()
{
    QTest::addColumn<QString>("place");
    QTest::newRow("usual") << ProjectFixture::usualPlace();
    QTest::newRow("plain file in compile") << "compile/database";
    QTest::newRow("without compile") << "database/database";
    QTest::newRow("plain file beside the program") << "database";
}

void tst_project::places()
{
    QFETCH(QString, place);
    QVERIFY(ProjectFixture::create(place, QStringList()));
    QCOMPARE(GetDatabaseName(), ProjectFixture::path(place));
    DriverModbusTcpSlave driver;
    AllOnLink link;
    QCOMPARE(driver.read(&link, CommunicatorCommand(Bit, 1, QLatin1String("DO1"))).toHex(), QByteArray("01"));
}

void tst_project::tagsAndRuns_data()
{
    QTest::addColumn<QString>("tags");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("two runs") << "DI101 DI102 DI105 DI106 DI107"
                              << "DI101" << 1 << "FC2 100+2 FC2 104+3" << hex("73");
    QTest::newRow("case and duplicates") << "di2 DI1 dI1"
                                         << "di1" << 1 << "FC2 0+2" << hex("03");
    QTest::newRow("FN5DO is DO") << "FN5DO12 DO12 fn5do9"
                                 << "fn5do9" << 1 << "FC1 8+1 FC1 11+1" << hex("09");
    QTest::newRow("unknown area reads coils") << "DO1 DI2"
                                              << "XY1" << 1 << "FC1 0+1" << hex("01");
    QTest::newRow("tags of this station only") << "1-DI5 2-DI6 1-fn5do7 257-DI7"
                                               << "DI1" << 1 << "FC2 4+1 FC2 6+1" << hex("50");
    QTest::newRow("text behind a qualified number") << "1-DI5x DI6x"
                                                    << "DI1" << 1 << "FC2 4+1" << hex("10");
    QTest::newRow("unreadable and zero numbers are 65535") << "DI6x DI DI0"
                                                           << "DI65529" << 1 << "FC2 65535+1" << hex("80");
    QTest::newRow("registers and free text") << "HR10 IR3 1-HR10 Motor 1-DO1"
                                             << "DO1" << 1 << "FC1 0+1" << hex("01");
    QTest::newRow("nothing configured here") << "DO1"
                                             << "DO100" << 3 << "" << hex("000000");
    QTest::newRow("other area of the station") << "DO1"
                                               << "DI1" << 2 << "" << hex("0000");
    QTest::newRow("all bits in one request") << "DO1 DO2 DO3 DO4 DO5 DO6 DO7 DO8"
                                             << "DO1" << 1 << "FC1 0+8" << hex("ff");
    QTest::newRow("every other bit") << "DO2 DO4 DO6 DO8"
                                     << "DO1" << 1 << "FC1 1+1 FC1 3+1 FC1 5+1 FC1 7+1" << hex("aa");
    QTest::newRow("run cut by both ends") << "DO1 DO2 DO3 DO4 DO5 DO6 DO7 DO8 DO9 DO10 DO11 DO12"
                                          << "DO3" << 1 << "FC1 2+8" << hex("ff");
    QTest::newRow("past 65535, low addresses known") << "DO1"
                                                     << "DO65536" << 1 << "FC1 0+1" << hex("02");
    QTest::newRow("past 65535 behind a hit, low addresses lost")
        << "DO1 DO65536"
        << "DO65536" << 1 << "FC1 65535+1" << hex("01");
    QTest::newRow("no bytes") << "DO1"
                              << "DO1" << 0 << "" << QByteArray();
}

void tst_project::tagsAndRuns()
{
    QFETCH(QString, tags);
    QFETCH(QString, address);
    QFETCH(int, count);
    QFETCH(QString, expected);
    QFETCH(QByteArray, data);
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), list(tags)));
    DriverModbusTcpSlave driver;
    AllOnLink link;
    QCOMPARE(driver.read(&link, CommunicatorCommand(Byte, count, address)).toHex(), data.toHex());
    QVERIFY2(!driver.hasError(), qPrintable(driver.getLastError()));
    QCOMPARE(asked(link).join(QLatin1String(" ")), expected);
}

void tst_project::wholeAddressSpace()
{
    QStringList tags;
    for (int number = 1; number <= 65536; number += 3001)
        tags.append(QString::fromLatin1("DO%1").arg(number));
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), tags));
    DriverModbusTcpSlave driver;
    AllOnLink link;
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
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), list(QLatin1String("DO1 DO3"))));
    DriverModbusTcpSlave driver;
    ScriptedLink link;
    link.answersPdu("0101 01").answersPdu("81 02").answersPdu("0101 01");
    QVERIFY(driver.read(&link, CommunicatorCommand(Byte, 1, QLatin1String("DO1"))).isEmpty());
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
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), list(QLatin1String("DO2 DO4 DO6 DO8"))));
    DriverModbusTcpSlave driver;
    AllOnLink link;
    link.delay = 15;
    const qint64 start = CurrentMSecsSinceBoot();
    QCOMPARE(driver.read(&link, CommunicatorCommand(Byte, 1, QLatin1String("DO1"))).toHex(),
             QByteArray("aa"));
    QVERIFY(CurrentMSecsSinceBoot() - start >= 4 * 15 - 1); // one before the attempt, three between requests
}

void tst_project::stationWithoutTags()
{
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), list(QLatin1String("2-DO1"))));
    DriverModbusTcpSlave driver;
    AllOnLink link;
    for (int count = 0; count < 2; ++count) {
        QVERIFY(driver.read(&link, CommunicatorCommand(Block, count, QLatin1String("DI1"))).isEmpty());
        QCOMPARE(driver.getLastError(), QString::fromLatin1("read 1-DI1> invalid address 1-DI"));
    }
    QVERIFY(link.sent.isEmpty());
    link.station = 258;
    QCOMPARE(driver.read(&link, CommunicatorCommand(Block, 1, QLatin1String("DO1"))).toHex(),
             QByteArray("01"));
}

void tst_project::failuresAndRecovery_data()
{
    QTest::addColumn<QString>("spoil"); // statements; none means that there is no file
    QTest::addColumn<QString>("mend");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("later");
    const char* const station = "failed to get default station id";
    const char* const table = "failed to initialize valid bit addresses table";
    QTest::newRow("no file") << ""
                             << ""
                             << "can not open database" << station;
    QTest::newRow("no default node") << "UPDATE NODE SET ISDEFAULT = 0"
                                     << "UPDATE NODE SET ISDEFAULT = 1" << station << station;
    QTest::newRow("node of another link") << "UPDATE NODE SET LINKID = 2"
                                          << "UPDATE NODE SET LINKID = 1" << station << station;
    QTest::newRow("no node table") << "ALTER TABLE NODE RENAME TO away"
                                   << "ALTER TABLE away RENAME TO NODE" << station << station;
    QTest::newRow("no tag table") << "ALTER TABLE custom_tag_table RENAME TO away"
                                  << "ALTER TABLE away RENAME TO custom_tag_table" << table << table;
    QTest::newRow("column missing")
        << "ALTER TABLE custom_tag_table RENAME TO away; CREATE TABLE custom_tag_table (adresse)"
        << "DROP TABLE custom_tag_table; ALTER TABLE away RENAME TO custom_tag_table" << table << table;
}

void tst_project::failuresAndRecovery()
{
    QFETCH(QString, spoil);
    QFETCH(QString, mend);
    QFETCH(QString, first);
    QFETCH(QString, later);
    const QString place = ProjectFixture::usualPlace();
    const CommunicatorCommand command(Bit, 1, QLatin1String("DO1"));
    QDir().mkpath(QFileInfo(ProjectFixture::path(place)).path());
    if (!spoil.isEmpty()) {
        QVERIFY(ProjectFixture::create(place, QStringList()));
        QVERIFY(ProjectFixture::run(place, spoil.split(QLatin1Char(';'))));
    }
    DriverModbusTcpSlave mended, replaced;
    AllOnLink link;
    link.retries = 3;
    DriverModbusTcpSlave* const drivers[] = {&mended, &replaced};
    for (int i = 0; i < 2; ++i) {
        QVERIFY(drivers[i]->read(&link, command).isEmpty());
        QCOMPARE(drivers[i]->getLastError(), first);
        QVERIFY(!drivers[i]->write(&link, command, hex("01")));
        QCOMPARE(drivers[i]->getLastError(), later);
    }
    QCOMPARE(link.waits, 0);

    if (!mend.isEmpty()) {
        QVERIFY(ProjectFixture::run(place, mend.split(QLatin1Char(';'))));
        QVERIFY2(!mended.read(&link, command).isEmpty(), qPrintable(mended.getLastError()));
        QVERIFY(ProjectFixture::run(place, spoil.split(QLatin1Char(';'))));
        QVERIFY(replaced.read(&link, command).isEmpty());
        QVERIFY(QFile::remove(ProjectFixture::path(place)));
    }
    QVERIFY(ProjectFixture::create(place, QStringList()));
    // The open connection goes on with the deleted file; one that was never opened takes the new file.
    QCOMPARE(!replaced.read(&link, command).isEmpty(), mend.isEmpty());
}

void tst_project::placeIsLookedUpOnce()
{
    DriverModbusTcpSlave driver;
    AllOnLink link;
    const CommunicatorCommand command(Bit, 1, QLatin1String("DO1"));
    QVERIFY(driver.read(&link, command).isEmpty());
    QCOMPARE(driver.getLastError(), QString::fromLatin1("can not open database"));
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList()));
    QVERIFY(driver.read(&link, command).isEmpty());
    QCOMPARE(driver.getLastError(), QString::fromLatin1("failed to get default station id"));
}

void tst_project::loadedOnceAndForAll()
{
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), list(QLatin1String("DO1"))));
    DriverModbusTcpSlave driver;
    AllOnLink link;
    QVERIFY(driver.readDB(&link, QString()));
    ProjectFixture::clear();
    link.setting.linkID = 9;
    QVERIFY(driver.readDB(&link, QString()));
    QCOMPARE(driver.read(&link, CommunicatorCommand(Byte, 1, QLatin1String("DO1"))).toHex(),
             QByteArray("01"));
}

void tst_project::lastDefaultNodeGetsTheTags()
{
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), list(QLatin1String("DO1")),
                                   QList<int>() << 1 << 258));
    DriverModbusTcpSlave driver;
    AllOnLink link;
    QVERIFY(driver.read(&link, CommunicatorCommand(Byte, 1, QLatin1String("DO1"))).isEmpty());
    QVERIFY(driver.getLastError().endsWith(QLatin1String("invalid address 1-DO")));
    link.station = 2;
    QCOMPARE(driver.read(&link, CommunicatorCommand(Byte, 1, QLatin1String("DO1"))).toHex(),
             QByteArray("01"));
}

void tst_project::twoDriversAtOnce()
{
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), list(QLatin1String("DO1"))));
    const int before = QSqlDatabase::connectionNames().size();
    DriverModbusTcpSlave one;
    DriverModbusTcpSlave other;
    AllOnLink link;
    AllOnLink nowhere;
    nowhere.setting.linkID = -1;
    QVERIFY(!other.readDB(&nowhere, QString()));
    QVERIFY(one.readDB(&link, QString()));
    QVERIFY(!other.readDB(&nowhere, QString()));
    QCOMPARE(QSqlDatabase::connectionNames().size(), before + 2);
}

void tst_project::damageBehindTheFirstRowsIsNotTakenForTheEnd()
{
    const QString place = ProjectFixture::usualPlace();
    QStringList tags;
    for (int number = 1; number <= 4000; ++number)
        tags.append(QString::fromLatin1("DO%1").arg(number));
    QVERIFY(ProjectFixture::create(place, tags));
    QFile file(ProjectFixture::path(place));
    QVERIFY(file.open(QIODevice::ReadWrite));
    const qint64 damaged = file.size() - 8192;
    QVERIFY(damaged > 16384);
    file.seek(damaged);
    file.write(QByteArray(8192, '\xEE'));
    file.close();

    DriverModbusTcpSlave driver;
    AllOnLink link;
    QVERIFY(driver.read(&link, CommunicatorCommand(Byte, 1, QLatin1String("DO1"))).isEmpty());
    QCOMPARE(driver.getLastError(), QString::fromLatin1("failed to initialize valid bit addresses table"));
}

void tst_project::lookups()
{
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList(), QList<int>() << 5 << 300));
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), QLatin1String("lookups"));
        database.setDatabaseName(GetDatabaseName());
    }
    int link = -7;
    unsigned char station = 0;
    QVERIFY(!GetLinkIdAndDefaultStationId(QLatin1String("lookups"), 1000, link, station));
    QCOMPARE(link, -7);
    QVERIFY(GetLinkIdAndDefaultStationId(QLatin1String("lookups"), 2000, link, station));
    QCOMPARE(link, 1);
    QCOMPARE(int(station), 5);

    QList<LinkIdStationId> found;
    QVERIFY(
        !GetLinkIdAndDefaultStationId(QLatin1String("lookups"), 2000, QLatin1String("10.0.0.1"), 503, found));
    QVERIFY(
        GetLinkIdAndDefaultStationId(QLatin1String("lookups"), 2000, QLatin1String("10.0.0.1"), 502, found));
    QVERIFY(GetLinkIdAndDefaultStationId(QLatin1String("lookups"), 4, found)); // earlier entries count
    QCOMPARE(found.size(), 2);
    QCOMPARE(int(found.at(1).defaultStationId), 44);
    QSqlDatabase::removeDatabase(QLatin1String("lookups"));
}

void tst_project::hmiPorts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("port");
    QTest::newRow("ETHERNET") << "ETHERNET" << 2000;
    QTest::newRow("Ethernet2") << "Ethernet2" << 2000;
    QTest::newRow("COM1") << "COM1" << 1000;
    QTest::newRow("COM12") << "COM12" << 1011;
    QTest::newRow("empty") << "" << -1;
    QTest::newRow("digits only") << "12" << -1;
    QTest::newRow("no digits") << "COM" << -1;
    QTest::newRow("too large") << "COM99999999999" << -1;
    QTest::newRow("sum too large") << "COM2147483000" << -1;
}

void tst_project::hmiPorts()
{
    QFETCH(QString, text);
    QFETCH(int, port);
    QCOMPARE(DevStrToHmiPort(text), port);
}

QTEST_MAIN(tst_project)
#include "tst_project.moc"
