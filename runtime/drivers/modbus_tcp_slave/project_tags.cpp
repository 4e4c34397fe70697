#include "modbus_tcp_slave.h"

#include "bit_tag.h"
#include "device_setting.h"
#include "tools.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <sys/stat.h>

/// Far more tags than a project has.
static const int MaxTagRows = 4 * 1024 * 1024;

bool DriverModbusTcpSlave::createDBConnection()
{
    if (QSqlDatabase::contains(connectionName))
        return true;

    QSqlDatabase database = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), connectionName);
    madeConnection = true;
    database.setDatabaseName(GetDatabaseName());
    database.setConnectOptions(QLatin1String("QSQLITE_OPEN_READONLY"));
    return database.open();
}

/// Opens the connection of a failed load again. It is closed before when the project file is another one than
/// at the last try: it may have been mended by putting a new file in its place, and the open connection would
/// go on reading the old one. The lookup would open it too, but with a warning to the log for every command
/// that fails.
void DriverModbusTcpSlave::reopenChangedProject()
{
    const QString name = GetDatabaseName();
    struct stat file;
    FileStamp stamp = FileStamp();
    if (stat(QFile::encodeName(name).constData(), &file) == 0) {
        stamp.device = file.st_dev;
        stamp.inode = file.st_ino;
        stamp.size = static_cast<quint64>(file.st_size);
        stamp.seconds = file.st_mtim.tv_sec;
        stamp.nanoseconds = file.st_mtim.tv_nsec;
    }

    QSqlDatabase database = QSqlDatabase::database(connectionName, false);
    if (!database.isValid()) {
        // It belongs to the thread of the earlier command, and Qt 5 gives it to no other.
        QSqlDatabase::removeDatabase(connectionName);
        databaseOpened = false;
        return;
    }
    if (stamp.inode != projectStamp.inode || stamp.device != projectStamp.device ||
        stamp.size != projectStamp.size || stamp.seconds != projectStamp.seconds ||
        stamp.nanoseconds != projectStamp.nanoseconds || name != database.databaseName()) {
        database.close();
        database.setDatabaseName(name);
        projectStamp = stamp;
    }
    if (!database.isOpen())
        database.open();
}

bool DriverModbusTcpSlave::readDB(AbstractDeviceInterface* device, const QString&)
{
    if (databaseLoaded)
        return true;
    if (madeConnection && QSqlDatabase::contains(connectionName))
        reopenChangedProject();
    if (!databaseOpened) {
        databaseOpened = createDBConnection();
        if (!databaseOpened)
            return fail("can not open database");
    }

    const DeviceSetting* setting = device->deviceSetting();
    QList<LinkIdStationId> stations;
    const bool isOpen = !madeConnection || QSqlDatabase::database(connectionName, false).isOpen();
    if (!setting || !isOpen || !GetLinkIdAndDefaultStationId(connectionName, setting->linkID, stations))
        return fail("failed to get default station id");
    // The tables of each default station replace those of the one before, so only the last ones are made.
    if (!initValidBitAddressesMap(stations.last().linkId, stations.last().defaultStationId))
        return fail("failed to initialize valid bit addresses table");

    databaseLoaded = true;
    QSqlDatabase::database(connectionName, false).close();
    databaseOpened = false;
    return true;
}

void DriverModbusTcpSlave::validBitAddressesMapInsertDO(unsigned char station, unsigned short address)
{
    validBitAddressesMap[station].DOSetPush(address);
}

void DriverModbusTcpSlave::validBitAddressesMapInsertDI(unsigned char station, unsigned short address)
{
    validBitAddressesMap[station].DISetPush(address);
}

bool DriverModbusTcpSlave::initValidBitAddressesMap(int linkId, unsigned char defaultStation)
{
    QSqlQuery query(QSqlDatabase::database(connectionName, true));
    query.setForwardOnly(true);
    query.exec(
        QString::fromLatin1("SELECT address FROM custom_tag_table WHERE connector_id = %1").arg(linkId));
    if (!query.isActive())
        return false;

    std::map<unsigned char, ModbusBitSet> previous;
    previous.swap(validBitAddressesMap);
    int rows = 0;
    while (rows < MaxTagRows && query.next()) {
        ++rows;
        BitTag tag;
        if (!readBitTag(query.value(0).toString(), defaultStation, bitAddressRegExp, tag))
            continue;
        if (tag.isInput)
            validBitAddressesMapInsertDI(tag.station, tag.address);
        else
            validBitAddressesMapInsertDO(tag.station, tag.address);
    }
    if (query.lastError().isValid() || rows == MaxTagRows) {
        // A damaged file can break off between two rows, and the tags behind would read as 0 for ever. Or it
        // can have rows almost without end, when its pages name the same pages again and again.
        previous.swap(validBitAddressesMap);
        return false;
    }

    for (std::map<unsigned char, ModbusBitSet>::iterator station = validBitAddressesMap.begin();
         station != validBitAddressesMap.end(); ++station) {
        station->second.DISetSort();
        station->second.DOSetSort();
    }
    return true;
}
