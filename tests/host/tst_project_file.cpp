#include "project/project_file.h"

#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

namespace {

/// The project with one link, one node and these tags, written and committed. Returns the writer's error.
QString writeProject(const QString& fileName, const QStringList& tags)
{
    ProjectWriter writer(fileName);
    writer.addLink({7, ethernetHmiPort});
    writer.addNode({7, 3, true, QStringLiteral("10.0.0.1"), 502});
    for (const QString& tag : tags)
        writer.addTag({7, tag});
    writer.commit();
    return writer.error();
}

/// "error", or the tags of the project, separated by blanks.
QString tagsOf(const QString& fileName)
{
    QStringList tags;
    ProjectReader reader(fileName);
    const bool done = reader.forEachTag([&](const ProjectTag& tag) { tags += tag.address; });
    return done ? tags.join(QLatin1Char(' ')) : reader.error();
}

void writeFile(const QString& fileName, const QByteArray& content)
{
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

} // namespace

class tst_project_file : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void writtenAndRead();
    void oldProjectStaysWithoutCommit();
    void leftoversOfKilledWritersGo();
    void fullDiskKeepsTheOldProject();
    void refusals();
    void damagedProjects_data();
    void damagedProjects();

private:
    QStringList files() const { return QDir(m_folder->path()).entryList(QDir::Files); }

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
    const QVector<ProjectLink> links = reader.links();
    const QVector<ProjectNode> nodes = reader.nodes();
    QCOMPARE(links.size(), 1);
    QCOMPARE(links.at(0).linkId, 7);
    QCOMPARE(links.at(0).hmiPort, 2000);
    QCOMPARE(nodes.size(), 1);
    QCOMPARE(nodes.at(0).linkId, 7);
    QCOMPARE(nodes.at(0).stationId, 3);
    QVERIFY(nodes.at(0).isDefault);
    QCOMPARE(nodes.at(0).ip, QStringLiteral("10.0.0.1"));
    QCOMPARE(nodes.at(0).port, 502);
    QCOMPARE(files(), QStringList(QStringLiteral("database")));
    QCOMPARE(QSqlDatabase::connectionNames().size(), 1); // the reader's own
}

void tst_project_file::oldProjectStaysWithoutCommit()
{
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO1")}), QString());
    {
        ProjectWriter writer(m_file);
        QVERIFY(writer.addTag({1, QStringLiteral("DO2")}));
        QCOMPARE(files().size(), 2);
    }
    QCOMPARE(files(), QStringList(QStringLiteral("database")));
    QCOMPARE(tagsOf(m_file), QStringLiteral("DO1"));
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO2")}), QString());
    QCOMPARE(tagsOf(m_file), QStringLiteral("DO2"));
}

void tst_project_file::leftoversOfKilledWritersGo()
{
    const QString ofNobody = m_file + QStringLiteral(".new-2147483647");
    const QString ofSomebodyAtWork = m_file + QStringLiteral(".new-1");
    const QString notOurs = m_file + QStringLiteral(".new-idea");
    for (const QString& name : {ofNobody, ofSomebodyAtWork, notOurs})
        QVERIFY(QFile(name).open(QIODevice::WriteOnly));
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO1")}), QString());
    QCOMPARE(files(), QStringList({QStringLiteral("database"), QStringLiteral("database.new-1"),
                                   QStringLiteral("database.new-idea")}));
}

void tst_project_file::fullDiskKeepsTheOldProject()
{
    QCOMPARE(writeProject(m_file, {QStringLiteral("DO1")}), QString());
    QStringList many;
    for (int i = 1; i <= 20000; ++i)
        many += QStringLiteral("DO%1").arg(i);
    rlimit usual{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit small = {100000, usual.rlim_max};
    ::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const QString error = writeProject(m_file, many);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &usual), 0);
    QVERIFY2(error.startsWith(QStringLiteral("can not write project %1: ").arg(m_file)), qPrintable(error));
    QCOMPARE(files(), QStringList(QStringLiteral("database")));
    QCOMPARE(tagsOf(m_file), QStringLiteral("DO1"));
}

void tst_project_file::refusals()
{
    const QString nowhere = m_folder->filePath(QStringLiteral("none/database"));
    QCOMPARE(writeProject(nowhere, {}),
             QStringLiteral("can not write project %1: No such file or directory").arg(nowhere));

    QCOMPARE(writeProject(m_file, {QStringLiteral("DO1")}), QString());
    writeFile(m_file + QStringLiteral("-wal"), "changes of somebody else");
    QVERIFY(writeProject(m_file, {QStringLiteral("DO2")}).contains(m_file + QStringLiteral("-wal exists")));
    QVERIFY(QFile::remove(m_file + QStringLiteral("-wal")));
    QCOMPARE(tagsOf(m_file), QStringLiteral("DO1"));
    QCOMPARE(files(), QStringList(QStringLiteral("database")));
}

void tst_project_file::damagedProjects_data()
{
    QTest::addColumn<QString>("damage");
    QTest::addColumn<QString>("error");
    QTest::newRow("missing") << "missing"
                             << "it does not exist";
    QTest::newRow("directory") << "directory"
                               << "it is a directory";
    QTest::newRow("empty") << "empty"
                           << "no such table";
    QTest::newRow("no database") << "text"
                                 << "file is not a database";
    QTest::newRow("truncated") << "truncated"
                               << "malformed";
}

void tst_project_file::damagedProjects()
{
    QFETCH(QString, damage);
    QFETCH(QString, error);
    if (damage == QLatin1String("directory"))
        QVERIFY(QDir().mkpath(m_file));
    else if (damage == QLatin1String("empty"))
        writeFile(m_file, QByteArray());
    else if (damage == QLatin1String("text"))
        writeFile(m_file, QByteArray(5000, 'x'));
    else if (damage == QLatin1String("truncated")) {
        QCOMPARE(writeProject(m_file, QStringList({QStringLiteral("DO1")})), QString());
        QVERIFY(QFile(m_file).resize(5000));
    }
    const QString text = tagsOf(m_file);
    QVERIFY2(text.startsWith(QStringLiteral("can not read project %1: ").arg(m_file)), qPrintable(text));
    QVERIFY2(text.contains(error), qPrintable(text));
}

QTEST_GUILESS_MAIN(tst_project_file)
#include "tst_project_file.moc"
