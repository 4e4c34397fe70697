#include "project/project_file.h"
#include "project/project_signals.h"
#include "project/tag_row.h"
#include "rows.h"
#include "tools/project_database.h"

#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

namespace {

/// The project with one link, one node and these tags, written and committed. Returns the writer's error.
QString writeProject(const QString& fileName, const QStringList& tags)
{
    ProjectWriter writer(fileName);
    writer.addLink({7, ethernetHmiPort});
    writer.addNode({7, 3, true, QStringLiteral("10.0.0.1"), 502});
    for (const QString& tag : tags)
        writer.addTag({7, signalAt(tag)});
    writer.commit();
    return writer.error();
}

/// "error", or the tags of the project, separated by blanks.
QString tagsOf(const QString& fileName)
{
    QStringList tags;
    ProjectReader reader(fileName);
    const bool done = reader.forEachTag([&](const ProjectTag& tag) { tags += tag.signal.address; });
    return done ? tags.join(QLatin1Char(' ')) : reader.error();
}

/// Runs statements on a project as other programs do, in its place.
bool change(const QString& fileName, const QString& statements)
{
    const QString name = QStringLiteral("change");
    bool done = true;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(fileName);
        done = database.open();
        for (const QString& statement : statements.split(QStringLiteral("; ")))
            done = done && !database.exec(statement).lastError().isValid();
    }
    QSqlDatabase::removeDatabase(name);
    return done;
}

} // namespace

static const struct
{
    const char* name;  ///< SQL, or a shell's command in the project's folder
    const char* error; ///< after that
} damages[] = {
    {"rm database", "it does not exist"},
    {"rm database; mkdir database", "it is a directory"},
    {"mv database other; ln -s other database", "it is a symbolic link"},
    {"rm database; mkfifo database", "it is no regular file"},
    {": > database", "no such table"},
    {"head -c 5000 /dev/zero > database", "file is not a database"},
    {"truncate -s -1 database", "it is damaged: only"},
    {"truncate -s 8192 database", "it is damaged: only"},
    {"truncate -s +1 database", "its last page is cut off"},
    {"dd if=/dev/zero of=database bs=4096 seek=4 count=1 conv=notrunc status=none", "it is damaged: "},
    {"echo changes > database-wal", "there is database-wal"},
    {"ln -s database database-journal", "there is database-journal"},
    {"CREATE TRIGGER t AFTER INSERT ON custom_tag_table BEGIN DELETE FROM LINK;END",
     "its table custom_tag_table is a view, or has a trigger"},
    {"DROP TABLE LINK; CREATE VIEW Link AS WITH RECURSIVE r(i, j) AS (SELECT 1, 2 UNION ALL SELECT i + 1, "
     "2 FROM "
     "r) SELECT i AS LINKID, j AS HMIPORT FROM r",
     "its table Link is a view, or has a trigger"},
    {"DROP TABLE NODE; CREATE VIRTUAL TABLE NODE USING fts4(STATIONID)", "its table NODE is a view"},
    {"ALTER TABLE NODE ADD x AS (hex(zeroblob(400000000)))",
     "its table NODE is a view, or has a trigger or comp"},
};

class tst_project_file : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void writtenAndRead();
    void signalsOfTags();
    void names();
    void oldProjectStaysWithoutCommit();
    void oneWriterAtATime();
    void swallowedTags();
    void copyIsNotMoreReadable();
    void logModeWithoutLog();
    void refused_data() { addRows(damages); }
    void refused();

private:
    QStringList files() const { return QDir(m_folder->path()).entryList(QDir::Files | QDir::System); }

    QScopedPointer<QTemporaryDir> m_folder;
    QString m_file;
};

void tst_project_file::init()
{
    m_folder.reset(new QTemporaryDir);
    m_file = m_folder->filePath(QStringLiteral("database"));
}

void tst_project_file::writtenAndRead()
{
    const QStringList tags = {QStringLiteral("DO1"), QStringLiteral("2-DI5"), QStringLiteral("it's; --")};
    QCOMPARE(writeProject(m_file, tags), QString());
    QCOMPARE(tagsOf(m_file), tags.join(QLatin1Char(' ')));
    ProjectReader reader(m_file);
    QStringList rows;
    for (const ProjectLink& link : reader.links())
        rows += QStringLiteral("%1 %2").arg(link.linkId).arg(link.hmiPort);
    for (const ProjectNode& node : reader.nodes())
        rows += QStringLiteral("%1-%2 %3 %4:%5")
                    .arg(node.linkId)
                    .arg(node.stationId)
                    .arg(node.isDefault)
                    .arg(node.ip)
                    .arg(node.port);
    QCOMPARE(rows.join(QStringLiteral(", ")), QStringLiteral("7 2000, 7-3 1 10.0.0.1:502"));
    QCOMPARE(files(), QStringList(QStringLiteral("database")));
    QCOMPARE(QSqlDatabase::connectionNames().size(), 1); // the reader's own
}

// What a person knows about a tag comes back as it was, also in a project that another program has made.
void tst_project_file::signalsOfTags()
{
    const QStringList row = QStringLiteral("HR6|Oven|int16|DCBA|0.1|-1e-07|°C|1|two\nlines").split('|');
    QCOMPARE(writeProject(m_file, {}), QString());
    QVERIFY(
        change(m_file, QStringLiteral("DROP TABLE custom_tag_table; CREATE TABLE custom_tag_table (address "
                                      "TEXT, color TEXT, connector_id INTEGER); INSERT INTO "
                                      "custom_tag_table VALUES ('HR1', 'red', 7)")));
    QCOMPARE(tagsOf(m_file), QStringLiteral("HR1"));
    QString problem;
    ProjectWriter writer(m_file, ProjectWriter::FromOldProject);
    QVERIFY(writer.addTag({7, *signalOfRow(row, problem)}) && writer.commit());
    QVector<QStringList> rows;
    QVERIFY(ProjectReader(m_file).forEachTagOf(
        7, [&](const ProjectTag& tag) { rows += rowOfSignal(tag.signal); }));
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows.first().join(QString()), QStringLiteral("HR1"));
    QCOMPARE(rows.last(), row);
    QVERIFY(change(m_file, QStringLiteral("UPDATE custom_tag_table SET signal_type = 'real'")));
    QVERIFY2(tagsOf(m_file).contains(QLatin1String("in its tag HR1 the type \"real\" must be bool, ")),
             qPrintable(tagsOf(m_file)));
    QVERIFY(
        change(m_file, QStringLiteral("UPDATE custom_tag_table SET signal_type = '', signal_unit = 'a\nb'")));
    QVERIFY(tagsOf(m_file).contains(QLatin1String("in its tag HR1 the name or unit of")));
}

void tst_project_file::names()
{
    QDir().mkpath(QFileInfo(GetDatabaseName()).path());
    ProjectWriter writer(GetDatabaseName());
    writer.addNode({1, 9, false, QString(), 502});
    writer.addNode({1, 5, true, QString(), 502});
    for (const char* tag :
         {"HR1|Oven 1", "2-HR2|oven 2?", "HR3|Oven 25", "HR4|", "HR5|Öfen [*]", "300-5|Far"}) {
        Signal signal = signalAt(QString::fromUtf8(tag).section('|', 0, 0));
        signal.name = QString::fromUtf8(tag).section('|', 1);
        writer.addTag({1, signal});
    }
    QVERIFY2(writer.commit(), qPrintable(writer.error()));
    const auto found = [](const char* name, int stationOfLink, std::optional<int> station) {
        LinkOptions options;
        options.station = station;
        QString problem;
        QStringList addresses;
        for (const Signal& signal :
             findProjectSignals(options, stationOfLink)(QString::fromUtf8(name), problem))
            addresses += signal.address;
        return addresses.isEmpty() ? problem : addresses.join(QLatin1Char(' '));
    };
    QCOMPARE(found("OVEN 1", 1, {}), QStringLiteral("5-HR1")); // the project's station, not the link's
    QCOMPARE(found("Oven 1", 5, {}), QStringLiteral("HR1"));
    QCOMPARE(found("Oven 1", 3, 3), QStringLiteral("HR1")); // the user's station
    QCOMPARE(found("Oven*", 1, {}), QStringLiteral("5-HR1 2-HR2 5-HR3"));
    QCOMPARE(found("Oven 2?", 1, {}), QStringLiteral("2-HR2")); // a name before a pattern
    QCOMPARE(found("öfen [*]", 5, {}), QStringLiteral("HR5"));
    QCOMPARE(found("*", 5, {}), QStringLiteral("HR1 2-HR2 HR3 HR5 300-5"));
    QCOMPARE(found("Far", 1, {}), QStringLiteral("5-300-5")); // 300 is no station
    QCOMPARE(found("Oven", 5, {}), QStringLiteral("no signal has this name"));
    QCOMPARE(found("", 5, {}), QStringLiteral("no signal has this name"));
    QVERIFY(change(GetDatabaseName(),
                   QStringLiteral("UPDATE custom_tag_table SET signal_scale = '0,1' WHERE address = 'HR3'")));
    QVERIFY(found("Oven*", 1, {}).contains(QLatin1String("in its tag HR3"))); // not the others alone
}

void tst_project_file::oldProjectStaysWithoutCommit()
{
    QVERIFY(QFile(m_file + QStringLiteral(".new-0123456789abcdef"))
                .open(QIODevice::WriteOnly)); // of a killed one
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO1")}), QString());
    {
        ProjectWriter writer(m_file);
        QVERIFY(writer.addTag({1, signalAt(QStringLiteral("DO2"))}));
        QCOMPARE(files().size(), 2);
    }
    QCOMPARE(files(), QStringList(QStringLiteral("database")));
    QCOMPARE(tagsOf(m_file), QStringLiteral("DO1"));
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO2")}), QString());
    QCOMPARE(tagsOf(m_file), QStringLiteral("DO2"));
}

void tst_project_file::oneWriterAtATime()
{
    {
        ProjectWriter first(m_file);
        QVERIFY(writeProject(m_file, {}).contains(QLatin1String("another program is writing it")));
        QVERIFY(first.commit());
    }
    QCOMPARE(writeProject(m_file, {}), QString());
    ProjectWriter late(m_file, ProjectWriter::EmptyIfNone);
    QVERIFY(!late.commit());
    QVERIFY2(late.error().contains(QLatin1String("there is a project already")), qPrintable(late.error()));
}

void tst_project_file::swallowedTags()
{
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO1")}), QString());
    QVERIFY(change(m_file,
                   QStringLiteral("DROP TABLE custom_tag_table; CREATE TABLE custom_tag_table (connector_id "
                                  "INTEGER UNIQUE ON CONFLICT IGNORE, address TEXT)")));
    ProjectWriter writer(m_file, ProjectWriter::FromOldProject);
    QVERIFY(writer.addTag({1, signalAt(QStringLiteral("DO1"))}) &&
            writer.addTag({1, signalAt(QStringLiteral("DO2"))}));
    QVERIFY(!writer.commit());
    QVERIFY2(writer.error().contains(QLatin1String("does not take all tags")), qPrintable(writer.error()));
}

// Somebody exchanges the file that was read for one that everybody may read.
void tst_project_file::copyIsNotMoreReadable()
{
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO1")}), QString());
    QVERIFY(QFile::setPermissions(m_file, QFile::ReadOwner));
    ProjectWriter writer(m_file, ProjectWriter::FromOldProject);
    QVERIFY(QFile::remove(m_file) && QFile(m_file).open(QIODevice::WriteOnly));
    QVERIFY(QFile::setPermissions(m_file, QFile::Permissions(0x6644)));
    QVERIFY(writer.commit());
    QVERIFY(!(QFileInfo(m_file).permissions() & (QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther)));
}

void tst_project_file::logModeWithoutLog()
{
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO1")}), QString());
    QVERIFY(change(m_file, QStringLiteral("PRAGMA journal_mode = WAL")));
    QCOMPARE(tagsOf(m_file), QStringLiteral("DO1"));
    QVERIFY(ProjectWriter(m_file, ProjectWriter::FromOldProject).commit());
    QCOMPARE(files(), QStringList(QStringLiteral("database")));
}

void tst_project_file::refused()
{
    QFETCH(int, row);
    QStringList tags;
    for (int i = 1; i <= 3000; ++i)
        tags += QStringLiteral("DO%1").arg(i);
    QCOMPARE(writeProject(m_file, tags), QString());
    const QString damage = QString::fromLatin1(damages[row].name);
    if (damage.at(0).isUpper())
        QVERIFY(change(m_file, damage));
    else
        QCOMPARE(QProcess::execute(
                     QStringLiteral("sh"),
                     {QStringLiteral("-c"), QStringLiteral("cd \"%1\"; ").arg(m_folder->path()) + damage}),
                 0);
    const QStringList before = files();
    const QString read = tagsOf(m_file);
    QVERIFY2(read.startsWith(QStringLiteral("cannot read project %1: ").arg(m_file)), qPrintable(read));
    QVERIFY2(read.contains(QLatin1String(damages[row].error)), qPrintable(read));
    {
        ProjectWriter writer(m_file, ProjectWriter::FromOldProject);
        QVERIFY(!writer.commit());
        QVERIFY2(writer.error().contains(m_file + QStringLiteral(": ")), qPrintable(writer.error()));
    }
    QCOMPARE(files(), before);
}

QTEST_GUILESS_MAIN(tst_project_file)
#include "tst_project_file.moc"
