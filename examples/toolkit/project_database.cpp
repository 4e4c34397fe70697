#include "tools/project_database.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <cstdio>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);

    // A driver opens the file GetDatabaseName() read-only; this example keeps its database in memory.
    const QString name = QLatin1String("example");
    QSqlDatabase project = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), name);
    project.setDatabaseName(QLatin1String(":memory:"));
    project.open();
    project.exec(QLatin1String("CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER)"));
    project.exec(QLatin1String("CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER)"));
    project.exec(QLatin1String("INSERT INTO LINK VALUES (3, 1001)"));
    project.exec(QLatin1String("INSERT INTO NODE VALUES (3, 17, 1)"));

    const int port = DevStrToHmiPort(QLatin1String("COM2"));
    int link = 0;
    unsigned char station = 0;
    if (GetLinkIdAndDefaultStationId(name, port, link, station))
        std::printf("COM2 is port %d: link %d, station %d by default\n", port, link, station);
}
