#ifndef PROJECT_PRIVATE_DATABASE_H
#define PROJECT_PRIVATE_DATABASE_H

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>

/// An SQLite database in a file that nobody else can reach, since it has no name any more once it is open. So
/// nobody changes it meanwhile, and SQLite applies no journal that somebody has laid beside it. It goes away
/// with this object, however the program ends.
///
/// There is no way back from a statement that fails: the database is of no use then.
class PrivateDatabase
{
public:
    /// Begins with a copy of an open file, or empty without one. The copy is checked: a file that is cut off,
    /// or whose pages contradict each other, is no database.
    explicit PrivateDatabase(QFile* source = nullptr);
    ~PrivateDatabase();
    PrivateDatabase(const PrivateDatabase&) = delete;
    PrivateDatabase& operator=(const PrivateDatabase&) = delete;

    /// Why it could not be opened, empty when it is open.
    const QString& problem() const { return m_problem; }

    QSqlDatabase database() const { return QSqlDatabase::database(m_name, false); }

    /// Runs one statement. Returns SQLite's message, empty on success.
    QString run(const QString& statement);

    /// Closes the database and returns its file, at its beginning. No query of it may be left.
    QFile& close();

private:
    QString begin(QFile* source);
    QString copy(QFile& source);
    QString open();
    QString integrityProblem();

    const QString m_name; ///< for QtSql
    QFile m_file;
    QString m_problem;
};

/// SQLite's message; that of QtSql if SQLite has none.
QString messageOf(const QSqlError& error);

#endif
