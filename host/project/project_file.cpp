#include "project/project_file.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

QString connectionName()
{
    static std::atomic<int> number{0};
    return QStringLiteral("project-%1").arg(++number);
}

QString messageOf(const QSqlError& error)
{
    return error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
}

QString systemMessage()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// Syncs a file or a folder to the disk. Returns the system's message, empty on success.
QString synchronize(const QString& path, int flags)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC);
    if (descriptor < 0)
        return systemMessage();
    QString problem = ::fsync(descriptor) == 0 ? QString() : systemMessage();
    ::close(descriptor);
    return problem;
}

/// Opens a file for writing, or creates it. Returns the system's message, which is clearer than SQLite's
/// "unable to open database file"; empty on success.
QString writingProblem(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadWrite) ? QString() : file.errorString();
}

/// Removes what writers left behind that were killed or lost power.
void removeLeftovers(const QString& fileName)
{
    const QString prefix = QFileInfo(fileName).fileName() + QLatin1String(".new-");
    QDir folder = QFileInfo(fileName).dir();
    for (const QString& name : folder.entryList({prefix + QLatin1Char('*')}, QDir::Files)) {
        bool isNumber = false;
        const int process = name.mid(prefix.size()).toInt(&isNumber);
        if (isNumber && process > 0 && ::kill(process, 0) != 0 && errno == ESRCH)
            folder.remove(name);
    }
}

/// SQLite would apply the journal of an old database to any file in its place.
QString journalBeside(const QString& fileName)
{
    for (const char* suffix : {"-wal", "-journal"}) {
        QString journal = fileName + QLatin1String(suffix);
        if (QFileInfo(journal).size() > 0)
            return journal;
    }
    return QString();
}

/// Checks that a file can be opened before SQLite does, which has one message for everything that can be
/// wrong with it.
QString openingProblem(const QString& fileName)
{
    QFile file(fileName);
    if (!file.exists())
        return QStringLiteral("it does not exist");
    if (QFileInfo(fileName).isDir())
        return QStringLiteral("it is a directory");
    return file.open(QIODevice::ReadOnly) ? QString() : file.errorString();
}

} // namespace

QString makeProjectFolder()
{
    const QString folder = QCoreApplication::applicationDirPath() + QLatin1String("/compile/database");
    if (QFileInfo::exists(folder) || QDir().mkpath(folder))
        return QString();
    return QStringLiteral("can not make the folder %1: %2").arg(folder, systemMessage());
}

ScopedDatabase::ScopedDatabase(const QString& fileName, bool writable) : m_name(connectionName())
{
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    database.setDatabaseName(fileName);
    if (!writable)
        database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
    database.open();
}

ScopedDatabase::~ScopedDatabase()
{
    database().close();
    QSqlDatabase::removeDatabase(m_name);
}

QString ScopedDatabase::run(const QString& statement)
{
    QSqlQuery query(database());
    return query.exec(statement) ? QString() : messageOf(query.lastError());
}

struct ProjectWriter::Statements
{
    explicit Statements(const QSqlDatabase& database) : link(database), node(database), tag(database) {}

    QSqlQuery link;
    QSqlQuery node;
    QSqlQuery tag;
};

namespace {

/// Runs a prepared statement with these values. Returns SQLite's message, empty on success.
QString insert(QSqlQuery& query, const QVariantList& values)
{
    for (int i = 0; i < values.size(); ++i)
        query.bindValue(i, values.at(i));
    return query.exec() ? QString() : messageOf(query.lastError());
}

} // namespace

ProjectWriter::ProjectWriter(const QString& fileName, Beginning beginning)
    : m_fileName(fileName),
      m_newName(QStringLiteral("%1.new-%2").arg(fileName).arg(QCoreApplication::applicationPid()))
{
    QFile::remove(m_newName);
    removeLeftovers(fileName);
    const QString journal = journalBeside(fileName);
    if (!journal.isEmpty())
        check(
            QStringLiteral("another program is changing it, or has died doing so (%1 exists)").arg(journal));
    else if (beginning == Empty || check(copyOldProject()))
        prepare(beginning);
}

ProjectWriter::~ProjectWriter()
{
    discard();
}

QString ProjectWriter::copyOldProject()
{
    const QString problem = openingProblem(m_fileName);
    QFile old(m_fileName);
    return !problem.isEmpty() || old.copy(m_newName) ? problem : old.errorString();
}

void ProjectWriter::prepare(Beginning beginning)
{
    if (!check(writingProblem(m_newName)))
        return;
    m_database = std::make_unique<ScopedDatabase>(m_newName, true);
    if (!check(messageOf(m_database->database().lastError())))
        return;
    // Nobody sees the file before it is complete and synced as a whole.
    const std::vector<const char*> start = {"PRAGMA journal_mode = OFF", "PRAGMA synchronous = OFF", "BEGIN"};
    const std::vector<const char*> tables = {
        "CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER)",
        "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, IP TEXT, PORT INTEGER)",
        "CREATE TABLE custom_tag_table (connector_id INTEGER, address TEXT)",
    };
    if (!run(start) || (beginning == Empty && !run(tables)))
        return;
    m_statements = std::make_unique<Statements>(m_database->database());
    m_statements->link.prepare(QStringLiteral("INSERT INTO LINK (LINKID, HMIPORT) VALUES (?, ?)"));
    m_statements->node.prepare(
        QStringLiteral("INSERT INTO NODE (LINKID, STATIONID, ISDEFAULT, IP, PORT) VALUES (?, ?, ?, ?, ?)"));
    m_statements->tag.prepare(
        QStringLiteral("INSERT INTO custom_tag_table (connector_id, address) VALUES (?, ?)"));
}

bool ProjectWriter::run(const std::vector<const char*>& statements)
{
    return std::all_of(statements.begin(), statements.end(), [this](const char* statement) {
        return check(m_database->run(QLatin1String(statement)));
    });
}

/// Keeps the first problem. Returns true if there is none.
bool ProjectWriter::check(const QString& problem)
{
    if (m_error.isEmpty() && !problem.isEmpty())
        m_error = QStringLiteral("can not write project %1: %2").arg(m_fileName, problem);
    return m_error.isEmpty();
}

bool ProjectWriter::addLink(const ProjectLink& link)
{
    return m_error.isEmpty() && check(insert(m_statements->link, {link.linkId, link.hmiPort}));
}

bool ProjectWriter::addNode(const ProjectNode& node)
{
    return m_error.isEmpty() &&
           check(insert(m_statements->node,
                        {node.linkId, node.stationId, node.isDefault ? 1 : 0, node.ip, node.port}));
}

bool ProjectWriter::addTag(const ProjectTag& tag)
{
    return m_error.isEmpty() && check(insert(m_statements->tag, {tag.linkId, tag.address}));
}

bool ProjectWriter::removeTags(int linkId)
{
    return m_error.isEmpty() &&
           check(m_database->run(
               QStringLiteral("DELETE FROM custom_tag_table WHERE connector_id = %1").arg(linkId)));
}

bool ProjectWriter::commit()
{
    if (m_error.isEmpty() && check(m_database->run(QStringLiteral("COMMIT"))))
        finish();
    discard();
    return m_error.isEmpty();
}

bool ProjectWriter::finish()
{
    m_statements.reset();
    m_database.reset();
    if (!check(synchronize(m_newName, O_RDWR)))
        return false;
    if (std::rename(QFile::encodeName(m_newName).constData(), QFile::encodeName(m_fileName).constData()) != 0)
        return check(systemMessage());
    return check(synchronize(QFileInfo(m_fileName).absolutePath(), O_RDONLY | O_DIRECTORY));
}

void ProjectWriter::discard()
{
    m_statements.reset();
    m_database.reset();
    QFile::remove(m_newName);
}

ProjectReader::ProjectReader(const QString& fileName) : m_fileName(fileName), m_database(fileName, false)
{
    QString problem = openingProblem(fileName);
    if (problem.isEmpty() && !m_database.isOpen())
        problem = messageOf(m_database.database().lastError());
    if (!problem.isEmpty())
        m_error = QStringLiteral("can not read project %1: %2").arg(fileName, problem);
}

bool ProjectReader::forEachRow(const QString& statement, const std::function<void(const QSqlQuery&)>& visit)
{
    if (!m_error.isEmpty())
        return false;
    QSqlQuery query(m_database.database());
    query.setForwardOnly(true);
    if (query.exec(statement)) {
        while (query.next())
            visit(query);
    }
    if (query.lastError().isValid())
        m_error = QStringLiteral("can not read project %1: %2").arg(m_fileName, messageOf(query.lastError()));
    return m_error.isEmpty();
}

QVector<ProjectLink> ProjectReader::links()
{
    QVector<ProjectLink> links;
    forEachRow(QStringLiteral("SELECT LINKID, HMIPORT FROM LINK"), [&](const QSqlQuery& row) {
        links.append({row.value(0).toInt(), row.value(1).toInt()});
    });
    return links;
}

QVector<ProjectNode> ProjectReader::nodes()
{
    QVector<ProjectNode> nodes;
    forEachRow(QStringLiteral("SELECT LINKID, STATIONID, ISDEFAULT, IP, PORT FROM NODE"),
               [&](const QSqlQuery& row) {
                   nodes.append({row.value(0).toInt(), row.value(1).toInt(), row.value(2).toInt() == 1,
                                 row.value(3).toString(), row.value(4).toInt()});
               });
    return nodes;
}

QMap<int, int> ProjectReader::tagCounts()
{
    QMap<int, int> counts;
    forEachRow(QStringLiteral("SELECT connector_id, COUNT(*) FROM custom_tag_table GROUP BY connector_id"),
               [&](const QSqlQuery& row) { counts[row.value(0).toInt()] += row.value(1).toInt(); });
    return counts;
}

bool ProjectReader::forEachTag(const std::function<void(const ProjectTag&)>& visit)
{
    return forEachTagIn(QStringLiteral("custom_tag_table"), visit);
}

bool ProjectReader::forEachTagOf(int linkId, const std::function<void(const ProjectTag&)>& visit)
{
    return forEachTagIn(QStringLiteral("custom_tag_table WHERE connector_id = %1").arg(linkId), visit);
}

bool ProjectReader::forEachTagIn(const QString& rows, const std::function<void(const ProjectTag&)>& visit)
{
    return forEachRow(QStringLiteral("SELECT connector_id, address FROM ") + rows, [&](const QSqlQuery& row) {
        visit({row.value(0).toInt(), row.value(1).toString()});
    });
}
