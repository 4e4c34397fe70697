#include "modbus_tcp_slave.h"
#include "privileges.h"
#include "project_fixture.h"
#include "rows.h"
#include "scripted_link.h"

#include <QtTest>

static const char* const cantOpen = "can not open database";
static const char* const noStation = "failed to get default station id";
static const char* const noTable = "failed to initialize valid bit addresses table";

static const int PageSize = 4096; // of SQLite, in the fixture's projects

static QString projectFile()
{
    return ProjectFixture::path(ProjectFixture::usualPlace());
}

/// A folder where nothing looks for a project.
static QString elsewhere()
{
    return projectFile() + QLatin1String(".elsewhere");
}

static void setPermissions(const QString& file, int permissions)
{
    QFile::setPermissions(file, QFile::Permissions(permissions));
}

static QString folder()
{
    return QFileInfo(projectFile()).path();
}

/// A project that loads; DO100 is its only tag.
static QByteArray good;

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

/// Runs statements, separated by ";", on the project.
static bool change(const char* statements)
{
    const QStringList list = QString::fromLatin1(statements).split(QLatin1Char(';'));
    return ProjectFixture::run(ProjectFixture::usualPlace(), list);
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

static void clear()
{
    setPermissions(folder(), 0x7755);
    QDir().rmdir(projectFile());
    QFile::remove(elsewhere());
    ProjectFixture::clear();
}

/// Puts the good content back into the same file, with another change counter, which tells SQLite to read
/// anew.
static bool restoreContent()
{
    return setContent(QByteArray(good).replace(24, 4, "next"));
}

static void damagePage(int page)
{
    setContent(content().replace(page * PageSize, PageSize, QByteArray(PageSize, '\xEE')));
}

/// Fills a table from the one of numbers, and damages what came last.
static void damageEndAfter(const char* statement)
{
    ProjectFixture::run(ProjectFixture::usualPlace(), numbers() << QLatin1String(statement));
    damagePage(content().size() / PageSize - 1);
}

/// Both bytes at offset 18 are 2 if the file is in WAL mode; its log is empty and gone.
static void makeLogImpossible()
{
    setContent(QByteArray(good).replace(18, 2, "\2\2"));
    setPermissions(folder(), 0x5555);
}

static const struct
{
    const char* name;
    void (*damage)();
    const char* first; ///< error of the first load
    const char* later; ///< error of the next ones
} damages[] = {
    {"no file", [] { QFile::remove(projectFile()); }, cantOpen, noStation},
    {"directory",
     [] {
         QFile::remove(projectFile());
         QDir().mkdir(projectFile());
     },
     cantOpen, noStation},
    {"unreadable", [] { setPermissions(projectFile(), 0); }, cantOpen, noStation},
    {"empty", [] { setContent(""); }, noStation, noStation},
    {"text", [] { setContent(QByteArray("[project]\nname=Pump\n").repeated(400)); }, noStation, noStation},
    {"schema alone", [] { setContent(good.left(PageSize)); }, noStation, noStation},
    {"schema damaged", [] { damagePage(0); }, noStation, noStation},
    {"nodes damaged", [] { damagePage(2); }, noStation, noStation},
    {"tags damaged", [] { damagePage(3); }, noTable, noTable},
    {"last tags damaged",
     [] { damageEndAfter("INSERT INTO custom_tag_table SELECT 1, 'DO' || x FROM numbers"); }, noTable,
     noTable},
    {"last nodes damaged", [] { damageEndAfter("INSERT INTO NODE SELECT 1, x, 1, '', 0 FROM numbers"); },
     noStation, noStation},
    {"log in a read-only place", makeLogImpossible, noStation, noStation},
    {"no default node", [] { change("UPDATE NODE SET ISDEFAULT = 0"); }, noStation, noStation},
    {"node of another link", [] { change("UPDATE NODE SET LINKID = 2"); }, noStation, noStation},
    {"no node table", [] { change("DROP TABLE NODE"); }, noStation, noStation},
    {"no tag table", [] { change("DROP TABLE custom_tag_table"); }, noTable, noTable},
    {"no address column", [] { change("DROP TABLE custom_tag_table; CREATE TABLE custom_tag_table (x)"); },
     noTable, noTable},
};

static const struct
{
    const char* name;
    const char* changes;
} oddContents[] = {
    {"ids as text", "DROP TABLE NODE; DROP TABLE custom_tag_table;"
                    "CREATE TABLE NODE (LINKID TEXT, STATIONID TEXT, ISDEFAULT TEXT);"
                    "CREATE TABLE custom_tag_table (connector_id TEXT, address TEXT);"
                    "INSERT INTO NODE VALUES ('1', '1', '1');"
                    "INSERT INTO custom_tag_table VALUES ('1', 'DO100')"},
    {"addresses that are none",
     "INSERT INTO custom_tag_table SELECT 1, NULL UNION ALL SELECT 1, 7 UNION ALL SELECT 1, 1.5 "
     "UNION ALL SELECT 1, x'00FF' UNION ALL SELECT 1, '' UNION ALL SELECT NULL, 'DO1'"},
    {"station number as a real", "UPDATE NODE SET STATIONID = 1.0"},
    {"views", "ALTER TABLE custom_tag_table RENAME TO tags;"
              "CREATE VIEW custom_tag_table AS SELECT connector_id, address FROM tags"},
};

static const struct
{
    const char* name;
    const char* columns;
    const char* error;
} endlessTables[] = {
    {"custom_tag_table", "1 AS connector_id, NULL AS address", noTable},
    {"NODE", "1 AS LINKID, 1 AS STATIONID, 1 AS ISDEFAULT", ""},
};

class tst_bad_databases : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { clear(); }
    void damageAndRecovery_data() { addRows(damages); }
    void damageAndRecovery();
    void placeIsLookedUpOnce();
    void deletedFileStaysOpen();
    void nothingElseStaysOpen();
    void connectionOfSomebodyElse();
    void lockedByAWriter();
    void oddContentThatLoads_data() { addRows(oddContents); }
    void oddContentThatLoads();
    void rowsWithoutEnd_data() { addRows(endlessTables); }
    void rowsWithoutEnd();
};

void tst_bad_databases::init()
{
    clear();
    QVERIFY(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList(QLatin1String("DO100"))));
    good = content();
}

void tst_bad_databases::damageAndRecovery()
{
    QFETCH(int, row);
    QCOMPARE(good.size(), 4 * PageSize); // the schema, LINK, NODE and custom_tag_table
    damages[row].damage();
    const WithoutPrivileges likeAnyone;
    Panel panel;
    QVERIFY(!panel.driver.readDB(&panel.link, QString()));
    QCOMPARE(panel.driver.getLastError(), QString::fromLatin1(damages[row].first));
    for (int i = 0; i < 2; ++i)
        QCOMPARE(panel.fails(), QString::fromLatin1(damages[row].later));

    setPermissions(folder(), 0x7755);
    setPermissions(projectFile(), 0x6644);
    QDir().rmdir(projectFile());
    QVERIFY(restoreContent());
    QCOMPARE(panel.fails(), QString());
}

void tst_bad_databases::placeIsLookedUpOnce()
{
    clear();
    Panel panel;
    QCOMPARE(panel.driver.readDB(&panel.link, QString()), false);
    init();
    QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
}

void tst_bad_databases::deletedFileStaysOpen()
{
    QVERIFY(change("UPDATE NODE SET ISDEFAULT = 0"));
    Panel panel;
    QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
    init();
    QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
}

void tst_bad_databases::nothingElseStaysOpen()
{
    const int filesBefore = openFiles();
    Panel panel;
    const int connections = QSqlDatabase::connectionNames().size() + 1;
    for (int i = 0; i < 200; ++i) {
        QVERIFY(setContent(i % 2 ? good.left(PageSize) : QByteArray("S")));
        QCOMPARE(panel.fails(), QString::fromLatin1(noStation));
    }
    QCOMPARE(openFiles(), filesBefore + 1);
    QVERIFY(restoreContent());
    QCOMPARE(panel.fails(), QString());
    QCOMPARE(openFiles(), filesBefore);
    QCOMPARE(QSqlDatabase::connectionNames().size(), connections);
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

void tst_bad_databases::lockedByAWriter()
{
    {
        QSqlDatabase writer = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), QLatin1String("writer"));
        writer.setDatabaseName(projectFile());
        QVERIFY(writer.open());
        QSqlQuery query(writer);
        QVERIFY(query.exec(QLatin1String("BEGIN EXCLUSIVE")));
        Panel panel;
        QCOMPARE(panel.driver.readDB(&panel.link, QString()), false);
        QCOMPARE(panel.driver.getLastError(), QString::fromLatin1(noStation));
        QVERIFY(query.exec(QLatin1String("COMMIT")));
        QCOMPARE(panel.fails(), QString());
    }
    QSqlDatabase::removeDatabase(QLatin1String("writer"));
}

void tst_bad_databases::oddContentThatLoads()
{
    QFETCH(int, row);
    QVERIFY(change(oddContents[row].changes));
    Panel panel;
    QCOMPARE(panel.fails(), QString());
    panel.link.answersPdu("0101 01");
    const QByteArray data =
        panel.driver.read(&panel.link, CommunicatorCommand(Byte, 1, QLatin1String("DO100")));
    QCOMPARE(data.toHex(), QByteArray("01"));
}

void tst_bad_databases::rowsWithoutEnd()
{
    QFETCH(int, row);
    if (!qgetenv("SMALL_PROJECTS").isEmpty())
        return; // the driver reads on for four million rows, which is too much for valgrind
    const QString table = QLatin1String(endlessTables[row].name);
    const QString view =
        QString::fromLatin1("CREATE VIEW %1 AS SELECT %2 FROM numbers, numbers, numbers, numbers")
            .arg(table, QLatin1String(endlessTables[row].columns));
    QVERIFY(ProjectFixture::run(ProjectFixture::usualPlace(),
                                numbers() << QLatin1String("DROP TABLE ") + table << view));
    Panel panel;
    QCOMPARE(panel.driver.readDB(&panel.link, QString()), !*endlessTables[row].error);
    QCOMPARE(panel.driver.getLastError(), QString::fromLatin1(endlessTables[row].error));
    QVERIFY(restoreContent());
    QCOMPARE(panel.fails(), QString());
}

QTEST_MAIN(tst_bad_databases)
#include "tst_bad_databases.moc"
