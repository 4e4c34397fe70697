#include "modbus_tcp_slave.h"
#include "peak_memory.h"
#include "privileges.h"
#include "project_fixture.h"
#include "scripted_link.h"
#include "tools.h"

#include <QtTest>

#include <sys/stat.h>

static const char* const cantOpen = "can not open database";
static const char* const noStation = "failed to get default station id";
static const char* const noTable = "failed to initialize valid bit addresses table";

static QString projectFile()
{
    return ProjectFixture::path(ProjectFixture::usualPlace());
}

/// A folder where nothing looks for a project.
static QString elsewhere()
{
    return projectFile() + QLatin1String(".elsewhere");
}

static QByteArray nameOf(const QString& file)
{
    return QFile::encodeName(file);
}

static QByteArray content()
{
    QFile file(projectFile());
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

static bool setContent(const QByteArray& bytes, const QString& name = projectFile())
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

static QStringList statements(const char* one, const char* other = "")
{
    return QStringList() << QLatin1String(one) << QLatin1String(other);
}

/// How many files this process has open, including deleted ones.
static int openFiles()
{
    return QDir(QLatin1String("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
}

/// Statements that make a table of the numbers 0 to 1023. A panel's SQLite may be too old for WITH.
static QStringList numbers()
{
    QStringList list;
    list << QLatin1String("CREATE TABLE numbers (x INTEGER)")
         << QLatin1String("INSERT INTO numbers VALUES (0)");
    for (int size = 1; size < 1024; size *= 2)
        list << QString::fromLatin1("INSERT INTO numbers SELECT x + %1 FROM numbers").arg(size);
    return list;
}

/// Whether to do less, on a machine where everything is slow, such as valgrind's.
static bool isSlowMachine()
{
    return !qgetenv("SMALL_PROJECTS").isEmpty();
}

/// A driver that works with whatever project there is.
class Panel
{
public:
    /// The error text of a byte read of DO1 to DO8 and of a write, "" if both work. The driver must find out
    /// that the project cannot be loaded before it does anything else.
    QString fails()
    {
        const QByteArray data = driver.read(&link, CommunicatorCommand(Byte, 1, QLatin1String("DO1")));
        if (data == hex("00")) // DO100 is the only tag
            return QString();
        const QString text = driver.getLastError();
        const bool done =
            driver.write(&link, CommunicatorCommand(Word, 1, QLatin1String("HR1")), hex("0001"));
        if (done || driver.getLastError() != text || link.waits > 0 || !link.calls.isEmpty())
            return QLatin1String("not the same from the write");
        return text;
    }

    DriverModbusTcpSlave driver;
    ScriptedLink link;
};

class tst_bad_databases : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { clear(); }
    void contents_data();
    void contents();
    void failingCostsNothingThatStays();
    void connectionOfSomebodyElse();
    void directoryInItsPlace();
    void unreadable();
    void lockedByAWriter();
    void walInAReadOnlyPlace();
    void oddContentThatLoads_data();
    void oddContentThatLoads();
    void rowsWithoutEnd_data();
    void rowsWithoutEnd();
    void aMillionTags();

private:
    void clear();
    QByteArray m_good;
};

void tst_bad_databases::clear()
{
    chmod(nameOf(QFileInfo(projectFile()).path()).constData(), 0755);
    QDir().rmdir(projectFile());
    QFile::remove(projectFile() + QLatin1String("-wal"));
    QFile::remove(projectFile() + QLatin1String("-shm"));
    QFile::remove(elsewhere());
    ProjectFixture::clear();
}

void tst_bad_databases::init()
{
    clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList(QLatin1String("DO100"))));
    m_good = content();
}

void tst_bad_databases::contents_data()
{
    QTest::addColumn<QByteArray>("spoilt");
    QTest::addColumn<QString>("error");
    init();
    const int pageSize = 4096;
    const QByteArray junk(pageSize, '\xEE');
    // The pages are: schema, LINK, NODE, custom_tag_table.
    QCOMPARE(m_good.size(), 4 * pageSize);
    QTest::newRow("empty") << QByteArray() << noStation;
    QTest::newRow("one byte") << QByteArray("S") << noStation;
    QTest::newRow("text") << QByteArray("[project]\nname=Pump station 7\n").repeated(300) << noStation;
    QTest::newRow("header alone") << m_good.left(100) << noStation;
    QTest::newRow("cut in the first page") << m_good.left(pageSize / 2) << noStation;
    QTest::newRow("cut behind the schema") << m_good.left(pageSize) << noStation;
    QTest::newRow("cut behind the nodes") << m_good.left(3 * pageSize) << noStation; // SQLite checks the size
    QTest::newRow("schema damaged") << QByteArray(m_good).replace(0, pageSize, junk) << noStation;
    QTest::newRow("nodes damaged") << QByteArray(m_good).replace(2 * pageSize, pageSize, junk) << noStation;
    QTest::newRow("tags damaged") << QByteArray(m_good).replace(3 * pageSize, pageSize, junk) << noTable;
}

void tst_bad_databases::contents()
{
    QFETCH(QByteArray, spoilt);
    QFETCH(QString, error);
    Panel panel;
    QVERIFY(setContent(spoilt));
    for (int i = 0; i < 2; ++i)
        QCOMPARE(panel.fails(), error);
}

void tst_bad_databases::failingCostsNothingThatStays()
{
    Panel panel;
    QVERIFY(setContent(m_good.left(4096)));
    QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
    const int filesBefore = openFiles();
    const int connectionsBefore = QSqlDatabase::connectionNames().size();
    for (int i = 0; i < 200; ++i) {
        QVERIFY(setContent(i % 2 ? m_good.left(4096) : QByteArray("S")));
        QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
    }
    QCOMPARE(openFiles(), filesBefore);
    QCOMPARE(QSqlDatabase::connectionNames().size(), connectionsBefore);
}

void tst_bad_databases::connectionOfSomebodyElse()
{
    QVERIFY(QFile::rename(projectFile(), elsewhere()));
    qsrand(20261123); // the driver names its connection by the next number
    const QString name = QString::number(qrand());
    qsrand(20261123);
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), name);
        database.setDatabaseName(elsewhere());
    }
    Panel panel;
    QCOMPARE(panel.fails(), QString());
}

void tst_bad_databases::directoryInItsPlace()
{
    Panel panel;
    QVERIFY(QFile::remove(projectFile()));
    QVERIFY(QDir().mkdir(projectFile()));
    QCOMPARE(panel.driver.readDB(&panel.link, QString()), false);
    QCOMPARE(panel.driver.getLastError(), QString::fromLatin1(cantOpen));
    QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
    QVERIFY(QDir().rmdir(projectFile()));
    QVERIFY(setContent(m_good));
    QCOMPARE(panel.fails(), QString());
}

void tst_bad_databases::unreadable()
{
    const WithoutPrivileges likeAnyone;
    Panel panel;
    QCOMPARE(chmod(nameOf(projectFile()).constData(), 0), 0);
    QCOMPARE(panel.driver.readDB(&panel.link, QString()), false);
    QCOMPARE(panel.driver.getLastError(), QString::fromLatin1(cantOpen));
    QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
    QCOMPARE(chmod(nameOf(projectFile()).constData(), 0444), 0);
    QCOMPARE(panel.fails(), QString());
}

void tst_bad_databases::lockedByAWriter()
{
    {
        QSqlDatabase writer = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), QLatin1String("writer"));
        writer.setDatabaseName(projectFile());
        QVERIFY(writer.open());
        QSqlQuery query(writer);
        QVERIFY(query.exec(QLatin1String("BEGIN EXCLUSIVE")));
        Panel panel;
        const qint64 start = CurrentMSecsSinceBoot();
        QCOMPARE(panel.driver.readDB(&panel.link, QString()), false);
        QCOMPARE(panel.driver.getLastError(), QString::fromLatin1(noStation));
        qDebug("waited %d ms for the writer", int(CurrentMSecsSinceBoot() - start));
        QVERIFY(query.exec(QLatin1String("COMMIT")));
        QCOMPARE(panel.fails(), QString());
    }
    QSqlDatabase::removeDatabase(QLatin1String("writer"));
}

void tst_bad_databases::walInAReadOnlyPlace()
{
    // Both bytes at offset 18 are 2 if the file is in WAL mode; its log is empty and gone.
    QVERIFY(setContent(QByteArray(m_good).replace(18, 2, "\2\2")));
    const QByteArray folder = nameOf(QFileInfo(projectFile()).path());
    QCOMPARE(chmod(folder.constData(), 0555), 0);
    const WithoutPrivileges likeAnyone;
    Panel panel;
    QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
    QCOMPARE(chmod(folder.constData(), 0755), 0); // where SQLite can put its log
    QCOMPARE(panel.fails(), QString());
}

void tst_bad_databases::oddContentThatLoads_data()
{
    QTest::addColumn<QStringList>("changes");
    QTest::newRow("ids as text")
        << (QStringList() << QLatin1String("DROP TABLE NODE") << QLatin1String("DROP TABLE custom_tag_table")
                          << QLatin1String("CREATE TABLE NODE (LINKID TEXT, STATIONID TEXT, ISDEFAULT TEXT)")
                          << QLatin1String("CREATE TABLE custom_tag_table (connector_id TEXT, address TEXT)")
                          << QLatin1String("INSERT INTO NODE VALUES ('1', '1', '1')")
                          << QLatin1String("INSERT INTO custom_tag_table VALUES ('1', 'DO100')"));
    QTest::newRow("addresses that are none") << statements(
        "INSERT INTO custom_tag_table SELECT 1, NULL UNION ALL SELECT 1, 7 UNION ALL SELECT 1, 1.5 "
        "UNION ALL SELECT 1, x'00FF' UNION ALL SELECT 1, '' UNION ALL SELECT NULL, 'DO1'");
    QTest::newRow("station number as a real") << statements("UPDATE NODE SET STATIONID = 1.0");
    QTest::newRow("views") << statements(
        "ALTER TABLE custom_tag_table RENAME TO tags",
        "CREATE VIEW custom_tag_table AS SELECT connector_id, address FROM tags");
}

void tst_bad_databases::oddContentThatLoads()
{
    QFETCH(QStringList, changes);
    changes.removeAll(QString());
    QVERIFY(ProjectFixture::run(ProjectFixture::usualPlace(), changes));
    Panel panel;
    QCOMPARE(panel.fails(), QString());
    panel.link.answersPdu("0101 01");
    const QByteArray data =
        panel.driver.read(&panel.link, CommunicatorCommand(Byte, 1, QLatin1String("DO100")));
    QCOMPARE(data.toHex(), QByteArray("01"));
}

void tst_bad_databases::rowsWithoutEnd_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("columns");
    QTest::addColumn<QString>("error");
    QTest::newRow("tags") << "custom_tag_table"
                          << "1 AS connector_id, NULL AS address" << noTable;
    QTest::newRow("nodes") << "NODE"
                           << "1 AS LINKID, 1 AS STATIONID, 1 AS ISDEFAULT" << QString();
}

void tst_bad_databases::rowsWithoutEnd()
{
    QFETCH(QString, table);
    QFETCH(QString, columns);
    QFETCH(QString, error);
    if (isSlowMachine())
        return; // the driver reads on for four million rows
    const QString view = QLatin1String("CREATE VIEW %1 AS SELECT %2 FROM numbers, numbers, numbers, numbers");
    QVERIFY(ProjectFixture::run(ProjectFixture::usualPlace(), numbers()
                                                                  << QLatin1String("DROP TABLE ") + table
                                                                  << view.arg(table, columns)));
    Panel panel;
    QCOMPARE(panel.driver.readDB(&panel.link, QString()), error.isEmpty());
    if (!error.isEmpty())
        QCOMPARE(panel.driver.getLastError(), error);
    QVERIFY(setContent(m_good));
    QCOMPARE(panel.fails(), QString());
}

void tst_bad_databases::aMillionTags()
{
    const int tags = isSlowMachine() ? 10000 : 1000000;
    const QString fill =
        QLatin1String("INSERT INTO custom_tag_table SELECT 1, CASE x % 65536 % 3 WHEN 0 THEN 'HR' "
                      "WHEN 1 THEN 'DO' ELSE '1-DI' END || (x % 65536) FROM "
                      "(SELECT a.x * 1024 + b.x + 1 AS x FROM numbers a CROSS JOIN numbers b LIMIT %1)");
    QVERIFY(ProjectFixture::run(ProjectFixture::usualPlace(), numbers() << fill.arg(tags - 1)));
    Panel panel;
    const PeakMemory memory;
    const qint64 start = CurrentMSecsSinceBoot();
    QVERIFY(panel.driver.readDB(&panel.link, QString()));
    qDebug("%d tags: %d ms, %d KiB more at the peak", tags, int(CurrentMSecsSinceBoot() - start),
           memory.grownKiB());

    panel.link.answersPdu("0201 01").answersPdu("0201 01").answersPdu("0201 01"); // DI2, DI5, DI8
    QCOMPARE(panel.driver.read(&panel.link, CommunicatorCommand(Byte, 1, QLatin1String("DI1"))).toHex(),
             QByteArray("92"));
}

QTEST_MAIN(tst_bad_databases)
#include "tst_bad_databases.moc"
