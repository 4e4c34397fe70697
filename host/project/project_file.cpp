#include "project/project_file.h"

#include "project/tag_row.h"
#include "text/shown.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

constexpr qint64 chunk = 1 << 20;

/// Opens a project, and nothing else: no link is followed, no pipe or device waited for. name is relative to
/// the folder. Returns what is wrong, empty on success, as the functions below do.
QString openRegular(int folder, const QString& name, QFile& file)
{
    const int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const int descriptor = ::openat(folder, QFile::encodeName(name).constData(), flags);
    if (descriptor < 0 && errno == ELOOP)
        return QStringLiteral("it is a symbolic link");
    if (descriptor < 0)
        return errno == ENOENT ? QStringLiteral("it does not exist; project create makes one")
                               : systemMessage(errno);
    struct stat status = {};
    ::fstat(descriptor, &status);
    file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    if (S_ISDIR(status.st_mode))
        return QStringLiteral("it is a directory");
    return S_ISREG(status.st_mode) ? QString() : QStringLiteral("it is no regular file");
}

/// A file without its journal may be half of a change.
QString journalProblem(int folder, const QString& name)
{
    for (const char* suffix : {"-wal", "-journal"}) {
        const QString journal = name + QLatin1String(suffix);
        struct stat status;
        if (::fstatat(folder, QFile::encodeName(journal).constData(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            status.st_size > 0)
            return QStringLiteral("another program is changing it, or has died doing so (there is %1)")
                .arg(QFileInfo(journal).fileName());
    }
    return QString();
}

/// Views, triggers, virtual tables and computed columns run statements of their own, or have rows without
/// end: a project with them cannot be trusted to hold what it says.
QString schemaProblem(const PrivateDatabase& database)
{
    QSqlQuery query(database.database());
    const bool found = query.exec(QStringLiteral(
        "SELECT name, tbl_name FROM sqlite_master WHERE type = 'trigger' OR (lower(name) IN ('link', 'node', "
        "'custom_tag_table') AND (type = 'view' OR sql LIKE 'CREATE VIRTUAL%' OR EXISTS (SELECT 1 FROM "
        "pragma_table_xinfo(tbl_name) WHERE hidden > 0)))"));
    if (!found)
        return messageOf(query.lastError());
    return query.next() ? QStringLiteral("its table %1 is a view, or has a trigger or computed columns")
                              .arg(query.value(1).toString())
                        : QString();
}

QString openProject(int folder, const QString& name, QFile& file, std::shared_ptr<PrivateDatabase>& database)
{
    QString problem = openRegular(folder, name, file);
    if (problem.isEmpty())
        problem = journalProblem(folder, name);
    if (!problem.isEmpty())
        return problem;
    database = std::make_shared<PrivateDatabase>(&file);
    return database->problem().isEmpty() ? schemaProblem(*database) : database->problem();
}

/// The columns of the tag table for tagColumns(); a prefix keeps them apart from what a panel may store
/// there.
QStringList databaseColumns()
{
    QStringList columns = tagColumns();
    for (int i = 1; i < columns.size(); ++i)
        columns[i].prepend(QLatin1String("signal_"));
    return columns;
}

QVariantList valuesOf(const ProjectTag& tag)
{
    QVariantList values{tag.linkId};
    for (const QString& text : rowOfSignal(tag.signal))
        values += text.isEmpty() && values.size() > 1 ? QVariant(QVariant::String) : QVariant(text);
    return values;
}

/// Runs a prepared statement with these values. Returns SQLite's message, empty on success.
QString insert(QSqlQuery& query, const QVariantList& values)
{
    for (int i = 0; i < values.size(); ++i)
        query.bindValue(i, values.at(i));
    return query.exec() ? QString() : messageOf(query.lastError());
}

} // namespace

QString makeProjectFolder()
{
    const QString folder = QCoreApplication::applicationDirPath() + QLatin1String("/compile/database");
    if (QFileInfo::exists(folder) || QDir().mkpath(folder))
        return QString();
    return QStringLiteral("cannot make the folder %1: %2").arg(folder, systemMessage(errno));
}

struct ProjectWriter::Statements
{
    explicit Statements(const QSqlDatabase& database) : link(database), node(database), tag(database) {}

    QSqlQuery link;
    QSqlQuery node;
    QSqlQuery tag;
};

ProjectWriter::ProjectWriter(const QString& fileName, Beginning beginning)
    : m_fileName(fileName), m_newFile(fileName, FilePlace::FileOnly), m_error(m_newFile.error())
{
    if (m_error.isEmpty() && check(lock()) && check(begin(beginning)))
        prepare(beginning);
}

ProjectWriter::~ProjectWriter() = default;

/// Keeps others from writing until this object is gone.
QString ProjectWriter::lock()
{
    // The folder, not a file in it: a lock file could be left over, or be put there by somebody else.
    if (::flock(m_newFile.folder(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return QStringLiteral("another program is writing it, try again when it is done");
    m_newFile.removeLeftovers();
    return QString();
}

QString ProjectWriter::begin(Beginning beginning)
{
    const QString name = QFileInfo(m_fileName).fileName();
    QFile old;
    if (beginning == FromOldProject) {
        QString problem = openProject(m_newFile.folder(), name, old, m_database);
        if (problem.isEmpty())
            m_newFile.limitAccess(old.handle());
        return problem;
    }
    const bool exists = openRegular(m_newFile.folder(), name, old).isEmpty();
    if (beginning == EmptyIfNone && exists)
        return QStringLiteral("there is a project already");
    m_database = std::make_shared<PrivateDatabase>();
    return m_database->problem().isEmpty() ? journalProblem(m_newFile.folder(), name) : m_database->problem();
}

void ProjectWriter::prepare(Beginning beginning)
{
    QStringList tables = {
        QStringLiteral("CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER)"),
        QStringLiteral(
            "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, IP TEXT, PORT "
            "INTEGER)"),
        QStringLiteral("CREATE TABLE custom_tag_table (connector_id INTEGER, address TEXT)"),
    };
    if (!run({QStringLiteral("BEGIN")}) || (beginning != FromOldProject && !run(tables)) || !addTagColumns())
        return;
    ProjectReader reader = contents();
    m_tagCounts = reader.tagCounts();
    m_error = reader.error();
    if (!m_error.isEmpty())
        return;
    m_statements = std::make_unique<Statements>(m_database->database());
    m_statements->link.prepare(QStringLiteral("INSERT INTO LINK (LINKID, HMIPORT) VALUES (?, ?)"));
    m_statements->node.prepare(
        QStringLiteral("INSERT INTO NODE (LINKID, STATIONID, ISDEFAULT, IP, PORT) VALUES (?, ?, ?, ?, ?)"));
    const QStringList columns = databaseColumns();
    m_statements->tag.prepare(
        QStringLiteral("INSERT INTO custom_tag_table (connector_id, %1) VALUES (?%2)")
            .arg(columns.join(QStringLiteral(", ")), QStringLiteral(", ?").repeated(columns.size())));
}

/// Adds those that the project does not have yet.
bool ProjectWriter::addTagColumns()
{
    const QSqlRecord record = m_database->database().record(QStringLiteral("custom_tag_table"));
    QStringList statements;
    for (const QString& column : databaseColumns()) {
        if (!record.contains(column))
            statements += QStringLiteral("ALTER TABLE custom_tag_table ADD COLUMN %1 TEXT").arg(column);
    }
    return run(statements);
}

bool ProjectWriter::run(const QStringList& statements)
{
    return std::all_of(statements.begin(), statements.end(),
                       [this](const QString& statement) { return check(m_database->run(statement)); });
}

/// Keeps the first problem. Returns true if there is none.
bool ProjectWriter::check(const QString& problem)
{
    if (m_error.isEmpty() && !problem.isEmpty())
        m_error = QStringLiteral("cannot write %1: %2").arg(m_fileName, shown(problem));
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
    ++m_tagCounts[tag.linkId];
    return m_error.isEmpty() && check(insert(m_statements->tag, valuesOf(tag)));
}

bool ProjectWriter::removeTags(int linkId)
{
    m_tagCounts.remove(linkId);
    return m_error.isEmpty() &&
           check(m_database->run(
               QStringLiteral("DELETE FROM custom_tag_table WHERE connector_id = %1").arg(linkId)));
}

bool ProjectWriter::commit()
{
    if (m_error.isEmpty() && check(countProblem()) && run({QStringLiteral("COMMIT")}))
        finish();
    return m_error.isEmpty();
}

/// A table can be made so that it swallows rows without an error.
QString ProjectWriter::countProblem() const
{
    return contents().tagCounts() == m_tagCounts
               ? QString()
               : QStringLiteral("its table custom_tag_table does not take all tags");
}

void ProjectWriter::finish()
{
    m_statements.reset();
    QFile& content = m_database->close();
    for (QByteArray bytes = content.read(chunk); !bytes.isEmpty(); bytes = content.read(chunk))
        m_newFile.write(bytes);
    if (content.error() != QFile::NoError)
        check(content.errorString());
    else if (!m_newFile.commit())
        m_error = m_newFile.error();
}

ProjectReader::ProjectReader(const QString& fileName) : m_fileName(fileName)
{
    QFile file;
    check(openProject(AT_FDCWD, fileName, file, m_database));
}

ProjectReader::ProjectReader(const QString& fileName, const std::shared_ptr<PrivateDatabase>& database)
    : m_fileName(fileName), m_database(database)
{
}

/// Keeps the first problem. Returns whether there is none.
bool ProjectReader::check(const QString& problem)
{
    if (m_error.isEmpty() && !problem.isEmpty())
        m_error = QStringLiteral("cannot read project %1: %2").arg(m_fileName, shown(problem));
    return m_error.isEmpty();
}

bool ProjectReader::forEachRow(const QString& statement, const std::function<void(const QSqlQuery&)>& visit)
{
    if (!m_error.isEmpty())
        return false;
    QSqlQuery query(m_database->database());
    query.setForwardOnly(true);
    if (query.exec(statement)) {
        while (query.next())
            visit(query);
    }
    return check(query.lastError().isValid() ? messageOf(query.lastError()) : QString());
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

QMap<int, qint64> ProjectReader::tagCounts()
{
    QMap<int, qint64> counts;
    forEachRow(QStringLiteral("SELECT connector_id, COUNT(*) FROM custom_tag_table GROUP BY connector_id"),
               [&](const QSqlQuery& row) { counts[row.value(0).toInt()] += row.value(1).toLongLong(); });
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
    const QSqlRecord record =
        m_error.isEmpty() ? m_database->database().record(QStringLiteral("custom_tag_table")) : QSqlRecord();
    QStringList columns = databaseColumns();
    for (int i = 1; i < columns.size(); ++i) {
        if (!record.contains(columns.at(i)))
            columns[i] = QStringLiteral("NULL");
    }
    const QString statement =
        QStringLiteral("SELECT connector_id, %1 FROM %2").arg(columns.join(QStringLiteral(", ")), rows);
    QString problem;
    const bool done = forEachRow(statement, [&](const QSqlQuery& query) {
        QStringList row;
        for (int i = 1; i <= columns.size(); ++i)
            row += query.value(i).toString();
        QString wrong;
        const auto signal = signalOfRow(row, wrong);
        if (signal)
            visit({query.value(0).toInt(), *signal});
        else if (problem.isEmpty())
            problem = QStringLiteral("in its tag %1 %2").arg(row.first(), wrong);
    });
    return done && check(problem);
}
