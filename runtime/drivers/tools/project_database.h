#ifndef TOOLS_PROJECT_DATABASE_H
#define TOOLS_PROJECT_DATABASE_H

#include <QDir>
#include <QList>
#include <QString>

// Where the compiled HMI project is, and what a driver looks up in its SQLite database.

/// A link of the project with one of its default stations.
struct LinkIdStationId
{
    int linkId;
    unsigned char defaultStationId;
};

/// The directory "compile" beside the running executable, or the executable's own directory when there is
/// no such directory.
Q_DECL_EXPORT QDir GetCompilePath();

/// Absolute name of the project database: the file "database" in the directory "database" below
/// GetCompilePath(), or directly in GetCompilePath() when there is no such directory. The file need not
/// exist.
Q_DECL_EXPORT QString GetDatabaseName();

/// HMI port of a device string: 2000 for "ETHERNET..." in upper or lower case, otherwise the decimal number
/// at the end of the text plus 999 ("COM1" is 1000). -1 for a text without a port: empty, digits only, not
/// ending in a digit, or with a number too large for a port.
Q_DECL_EXPORT int DevStrToHmiPort(const QString& dev_str);

// The lookups run on the registered SQL connection connectionName, which is opened if it is closed. Station
// ids keep their low 8 bits. A statement that fails yields no rows, even if a damaged database breaks it off
// after some. At most 65536 rows are taken.

/// First default station of the link at an HMI port. Returns false and leaves the outputs untouched if there
/// is none.
Q_DECL_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, int& linkId,
                                                unsigned char& defaultStationId);

/// Appends every default station at an HMI port with this IP address text and TCP port to result. Returns
/// whether result then holds anything. ip goes into the statement as it is, so it must not contain a quote.
Q_DECL_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, const QString& ip,
                                                unsigned short port, QList<LinkIdStationId>& result);

/// Appends every default station of a link to result. Returns whether result then holds anything.
Q_DECL_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int linkId,
                                                QList<LinkIdStationId>& result);

#endif
