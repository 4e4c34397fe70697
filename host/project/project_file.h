#ifndef PROJECT_PROJECT_FILE_H
#define PROJECT_PROJECT_FILE_H

#include "project/private_database.h"
#include "signals/signal.h"
#include "text/new_file.h"

#include <QMap>
#include <QString>
#include <QVector>

#include <functional>
#include <memory>

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

/// A tag of a link. The panel reads its address only; what else a person knows about the signal stands in
/// further columns beside it, which a project may lack.
struct ProjectTag
{
    int linkId;
    Signal signal;
};

constexpr int ethernetHmiPort = 2000;

/// Makes the folder, below the running program's, where drivers look for the project database. Returns a
/// sentence that says why it could not; empty if the folder exists.
QString makeProjectFolder();

/// Reads a project, and never changes or creates one: it reads a copy of the file as it was at the beginning.
///
/// What is no project is refused as a whole: a symbolic link, a device or a pipe, a damaged file, one that
/// another program is changing, and one whose tables are views or have triggers.
class ProjectReader
{
public:
    explicit ProjectReader(const QString& fileName);

    /// In the order in which the database gives them. An empty list after a failure: see error().
    QVector<ProjectLink> links();
    QVector<ProjectNode> nodes();

    /// How many tags each link has; links without tags have no entry.
    QMap<int, qint64> tagCounts();

    /// Calls visit for each tag of all links. Returns false after a failure.
    bool forEachTag(const std::function<void(const ProjectTag&)>& visit);

    /// The same for the tags of one link.
    bool forEachTagOf(int linkId, const std::function<void(const ProjectTag&)>& visit);

    /// One sentence that names the file; empty as long as all went well.
    const QString& error() const { return m_error; }

private:
    friend class ProjectWriter;
    ProjectReader(const QString& fileName, const std::shared_ptr<PrivateDatabase>& database);

    bool check(const QString& problem);
    bool forEachTagIn(const QString& rows, const std::function<void(const ProjectTag&)>& visit);
    bool forEachRow(const QString& statement, const std::function<void(const class QSqlQuery&)>& visit);

    const QString m_fileName;
    QString m_error;
    std::shared_ptr<PrivateDatabase> m_database;
};

/// Writes a whole project and puts it in the old one's place only when it is complete and on the disk. Until
/// commit() has succeeded the old project stays as it was; without commit() the new one goes away with this
/// object.
///
/// There is one writer at a time for a folder: the second one is refused, and so is one for whatever
/// ProjectReader refuses. After a failure every further call fails with the same error.
class ProjectWriter
{
public:
    enum Beginning
    {
        Empty,         ///< with its tables only
        EmptyIfNone,   ///< the same, but a project that is there already is an error
        FromOldProject ///< with all that the old one holds
    };

    explicit ProjectWriter(const QString& fileName, Beginning beginning = Empty);
    ~ProjectWriter();
    ProjectWriter(const ProjectWriter&) = delete;
    ProjectWriter& operator=(const ProjectWriter&) = delete;

    bool addLink(const ProjectLink& link);
    bool addNode(const ProjectNode& node);
    bool addTag(const ProjectTag& tag);
    bool removeTags(int linkId);

    /// What is in the new project so far. There is no error yet; the reader goes before commit().
    ProjectReader contents() const { return ProjectReader(m_fileName, m_database); }

    /// How many tags the link has; all of them are in the file once commit() has succeeded.
    qint64 tagCount(int linkId) const { return m_tagCounts.value(linkId); }

    bool commit();

    /// One sentence that names the file; empty as long as all has gone well.
    const QString& error() const { return m_error; }

private:
    struct Statements;

    QString lock();
    QString begin(Beginning beginning);
    void prepare(Beginning beginning);
    bool addTagColumns();
    bool run(const QStringList& statements);
    bool check(const QString& problem);
    QString countProblem() const;
    void finish();

    const QString m_fileName;
    NewFile m_newFile;
    QString m_error;
    std::shared_ptr<PrivateDatabase> m_database;
    std::unique_ptr<Statements> m_statements;
    QMap<int, qint64> m_tagCounts; ///< as they must be found before the end
};

#endif
