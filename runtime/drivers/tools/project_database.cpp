#include "project_database.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

static const QString COMPILE_PATH = QLatin1String("compile");
static const QString DATABASE_PATH = QLatin1String("database");

/// The directory name below directory, or directory itself if there is none.
static QDir entered(const QDir& directory, const QString& name)
{
    QDir below(directory);
    return below.exists(name) && below.cd(name) ? below : directory;
}

QDir GetCompilePath()
{
    return entered(QDir(QCoreApplication::applicationDirPath()), COMPILE_PATH);
}

QString GetDatabaseName()
{
    return entered(GetCompilePath(), DATABASE_PATH).absoluteFilePath(DATABASE_PATH);
}

int DevStrToHmiPort(const QString& dev_str)
{
    const int ethernetPort = 2000;
    const int portBeforeCom1 = 999;
    const int noPort = -1;

    if (dev_str.startsWith(QLatin1String("ETHERNET"), Qt::CaseInsensitive))
        return ethernetPort;

    int start = dev_str.size();
    while (start > 0 && dev_str.at(start - 1) >= QLatin1Char('0') &&
           dev_str.at(start - 1) <= QLatin1Char('9'))
        --start;
    if (start == 0)
        return noPort;
    bool isNumber = false;
    const int number = dev_str.mid(start).toInt(&isNumber);
    return isNumber && number <= 0x7FFFFFFF - portBeforeCom1 ? number + portBeforeCom1 : noPort;
}

static QSqlQuery runStatement(const QString& connectionName, const QString& statement)
{
    QSqlQuery query(QSqlDatabase::database(connectionName, true));
    query.setForwardOnly(true);
    query.exec(statement);
    return query;
}

static unsigned char stationAt(const QSqlQuery& query, int column)
{
    return static_cast<unsigned char>(query.value(column).toUInt());
}

/// Appends the rows of a query: linkId and station, or only the station if the link is known. Takes no rows
/// of a statement that breaks off, and not all rows of a damaged table that has them without end.
static void appendRecords(QSqlQuery& query, const int* knownLinkId, QList<LinkIdStationId>& result)
{
    const int most = 65536;
    QList<LinkIdStationId> found;
    while (found.size() < most && query.next()) {
        const int linkId = knownLinkId ? *knownLinkId : query.value(0).toInt();
        const LinkIdStationId record = {linkId, stationAt(query, knownLinkId ? 0 : 1)};
        found.append(record);
    }
    if (!query.lastError().isValid())
        result += found;
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, int& linkId,
                                  unsigned char& defaultStationId)
{
    const QString statement =
        QLatin1String("SELECT LINK.LINKID, NODE.STATIONID FROM LINK, NODE WHERE LINK.HMIPORT = %1 "
                      "AND NODE.LINKID = LINK.LINKID AND NODE.ISDEFAULT = 1;");
    QSqlQuery query = runStatement(connectionName, statement.arg(hmiPort));
    if (!query.next())
        return false;
    linkId = query.value(0).toInt();
    defaultStationId = stationAt(query, 1);
    return true;
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, const QString& ip,
                                  unsigned short port, QList<LinkIdStationId>& result)
{
    const QString statement =
        QLatin1String("SELECT LINK.LINKID, NODE.STATIONID FROM LINK, NODE WHERE LINK.HMIPORT = %1 "
                      "AND NODE.LINKID = LINK.LINKID AND NODE.IP = '%2' AND NODE.PORT = %3 "
                      "AND NODE.ISDEFAULT = 1;");
    QSqlQuery query =
        runStatement(connectionName, statement.arg(QString::number(hmiPort), ip, QString::number(port)));
    appendRecords(query, nullptr, result);
    return !result.isEmpty();
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int linkId, QList<LinkIdStationId>& result)
{
    const QString statement =
        QLatin1String("SELECT NODE.STATIONID FROM NODE WHERE NODE.LINKID = %1 AND NODE.ISDEFAULT = 1");
    QSqlQuery query = runStatement(connectionName, statement.arg(linkId));
    appendRecords(query, &linkId, result);
    return !result.isEmpty();
}
