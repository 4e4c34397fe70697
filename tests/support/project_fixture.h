#ifndef PROJECT_FIXTURE_H
#define PROJECT_FIXTURE_H

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

/// The HMI project next to the test program, where the driver looks for it.
class ProjectFixture
{
public:
    /// The place of a running panel's project, relative to the program.
    static QString usualPlace() { return QLatin1String("compile/database/database"); }

    static QString path(const QString& place)
    {
        return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(place);
    }

    /// Removes all project files and folders.
    static void clear()
    {
        QDir home(QCoreApplication::applicationDirPath());
        const QStringList files = QStringList() << usualPlace() << QLatin1String("compile/database")
                                                << QLatin1String("database/database")
                                                << QLatin1String("database") << QLatin1String("compile");
        for (int i = 0; i < files.size(); ++i) {
            home.remove(files.at(i));
            home.rmdir(files.at(i));
        }
    }

    /// Makes a project at place; its link 1 has the given default stations and tags.
    static bool create(const QString& place, const QStringList& tags,
                       const QList<int>& defaultStations = QList<int>() << 1)
    {
        QDir().mkpath(QFileInfo(path(place)).path());
        QStringList statements;
        statements << QLatin1String("CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER)")
                   << QLatin1String(
                          "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, "
                          "IP TEXT, PORT INTEGER)")
                   << QLatin1String("CREATE TABLE custom_tag_table (connector_id INTEGER, address TEXT)")
                   << QLatin1String("INSERT INTO LINK VALUES (1, 2000)")
                   << QLatin1String("INSERT INTO NODE VALUES (1, 77, 0, '10.0.0.9', 502)");
        for (int i = 0; i < defaultStations.size(); ++i)
            statements << QString::fromLatin1("INSERT INTO NODE VALUES (1, %1, 1, '10.0.0.1', 502)")
                              .arg(defaultStations.at(i));
        for (int i = 0; i < tags.size(); ++i)
            statements
                << QString::fromLatin1("INSERT INTO custom_tag_table VALUES (1, '%1')").arg(tags.at(i));
        return run(place, statements);
    }

    /// Runs statements on the project at place, as the project editor would.
    static bool run(const QString& place, const QStringList& statements)
    {
        const QString name = QLatin1String("fixture");
        bool done = true;
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), name);
            database.setDatabaseName(path(place));
            done = database.open();
            QSqlQuery query(database);
            query.exec(QLatin1String("PRAGMA page_size = 4096")); // whatever SQLite's default is
            done = done && database.transaction();
            for (int i = 0; done && i < statements.size(); ++i)
                done = query.exec(statements.at(i));
            done = done && database.commit();
        }
        QSqlDatabase::removeDatabase(name);
        return done;
    }
};

#endif
