#ifndef PROJECT_PROJECT_FILE_H
#define PROJECT_PROJECT_FILE_H

#include <QMap>
#include <QSqlDatabase>
#include <QString>
#include <QVector>

#include <functional>
#include <memory>
#include <vector>

/// A communication link of the project.
struct ProjectLink
{
    int linkId;
    int hmiPort; ///< 2000 for Ethernet, 1000 and up for COM1 and up
};

/// A station on a link.
struct ProjectNode
{
    int linkId;
    int stationId;
    bool isDefault; ///< tags without a station belong to it
    QString ip;
    int port;
};

struct ProjectTag
{
    int linkId;
    QString address; ///< an HMI address, or STATION-ADDRESS
};

constexpr int ethernetHmiPort = 2000;

/// Makes the folder, below the running program's, where drivers look for the project database. Returns a
/// sentence that says why it could not; empty if the folder exists.
QString makeProjectFolder();

/// An open SQLite file, registered with QtSql under a name of its own; closed and unregistered at the end.
class ScopedDatabase
{
public:
    /// Opens read-only; if writable, opens or creates.
    ScopedDatabase(const QString& fileName, bool writable);
    ~ScopedDatabase();
    ScopedDatabase(const ScopedDatabase&) = delete;
    ScopedDatabase& operator=(const ScopedDatabase&) = delete;

    bool isOpen() const { return database().isOpen(); }
    QSqlDatabase database() const { return QSqlDatabase::database(m_name, false); }

    /// Runs one statement. Returns SQLite's message, empty on success.
    QString run(const QString& statement);

private:
    const QString m_name;
};

/// Writes a complete project next to the old one; commit() puts it in the old one's place once it is on the
/// disk. Until commit() has succeeded the old project stays as it was. Without commit() the new one is
/// deleted with this object.
///
/// After a failure every further call fails with the same error.
class ProjectWriter
{
public:
    enum Beginning
    {
        Empty,         ///< with empty tables
        FromOldProject ///< with everything that the old one holds
    };

    explicit ProjectWriter(const QString& fileName, Beginning beginning = Empty);
    ~ProjectWriter();
    ProjectWriter(const ProjectWriter&) = delete;
    ProjectWriter& operator=(const ProjectWriter&) = delete;

    bool addLink(const ProjectLink& link);
    bool addNode(const ProjectNode& node);
    bool addTag(const ProjectTag& tag);
    bool removeTags(int linkId);
    bool commit();

    /// One sentence that names the file; empty as long as all has gone well.
    const QString& error() const { return m_error; }

private:
    struct Statements;

    void prepare(Beginning beginning);
    QString copyOldProject();
    bool run(const std::vector<const char*>& statements);
    bool check(const QString& problem);
    bool finish();
    void discard();

    const QString m_fileName;
    const QString m_newName;
    QString m_error;
    std::unique_ptr<ScopedDatabase> m_database;
    std::unique_ptr<Statements> m_statements;
};

/// Reads a project, and never changes or creates one.
class ProjectReader
{
public:
    explicit ProjectReader(const QString& fileName);

    /// In the order of the database. After a failure the list is empty: see error().
    QVector<ProjectLink> links();
    QVector<ProjectNode> nodes();

    /// How many tags each link has; links without tags have no entry.
    QMap<int, int> tagCounts();

    /// Calls visit for each tag of all links. Returns false after a failure.
    bool forEachTag(const std::function<void(const ProjectTag&)>& visit);

    /// The same for the tags of one link.
    bool forEachTagOf(int linkId, const std::function<void(const ProjectTag&)>& visit);

    /// One sentence that names the file; empty as long as all has gone well.
    const QString& error() const { return m_error; }

private:
    bool forEachTagIn(const QString& rows, const std::function<void(const ProjectTag&)>& visit);
    bool forEachRow(const QString& statement, const std::function<void(const class QSqlQuery&)>& visit);

    const QString m_fileName;
    QString m_error;
    ScopedDatabase m_database;
};

#endif
