#include "modbus_tcp_slave.h"

#include "area_prefix.h"
#include "device_setting.h"
#include "tools.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

/// Far more tags than a project has. A damaged file can have almost endless rows, if its pages refer to the
/// same pages again and again.
static const int MaxTagRows = 4 * 1024 * 1024;

/// One-based number of a tag as the zero-based address of its bit; 65535 for a tag without a number.
static unsigned short bitAddress(int number)
{
    return static_cast<unsigned short>(static_cast<unsigned int>(number) - 1);
}

bool DriverModbusTcpSlave::createDBConnection()
{
    if (QSqlDatabase::contains(connectionName))
        return true;

    QSqlDatabase database = QSqlDatabase::addDatabase(QLatin1String("QSQLITE"), connectionName);
    database.setDatabaseName(GetDatabaseName());
    database.setConnectOptions(QLatin1String("QSQLITE_OPEN_READONLY"));
    return database.open();
}

bool DriverModbusTcpSlave::readDB(AbstractDeviceInterface* device, const QString&)
{
    if (databaseLoaded)
        return true;
    if (!databaseOpened) {
        databaseOpened = createDBConnection();
        if (!databaseOpened)
            return fail(QLatin1String("can not open database"));
    }

    const DeviceSetting* const setting = device->deviceSetting();
    QList<LinkIdStationId> stations;
    if (!setting || !GetLinkIdAndDefaultStationId(connectionName, setting->linkID, stations))
        return fail(QLatin1String("failed to get default station id"));
    for (int i = 0; i < stations.size(); ++i) {
        if (!initValidBitAddressesMap(stations.at(i).linkId, stations.at(i).defaultStationId))
            return fail(QLatin1String("failed to initialize valid bit addresses table"));
    }

    databaseLoaded = true;
    QSqlDatabase::database(connectionName).close();
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

void DriverModbusTcpSlave::insertTag(const QString& tag, unsigned char defaultStation)
{
    if (beginsWith(tag, "FN5DO")) {
        validBitAddressesMapInsertDO(defaultStation, bitAddress(ExtractPLCDeviceAddress(tag.mid(3), 10)));
    } else if (beginsWith(tag, "DI")) {
        validBitAddressesMapInsertDI(defaultStation, bitAddress(ExtractPLCDeviceAddress(tag, 10)));
    } else if (beginsWith(tag, "DO")) {
        validBitAddressesMapInsertDO(defaultStation, bitAddress(ExtractPLCDeviceAddress(tag, 10)));
    } else if (!tag.isEmpty() && tag.at(0).isDigit() && bitAddressRegExp.indexIn(tag) == 0) {
        const unsigned char station = static_cast<unsigned char>(bitAddressRegExp.cap(1).toUInt());
        const unsigned short address = bitAddress(bitAddressRegExp.cap(3).toInt());
        if (beginsWith(bitAddressRegExp.cap(2), "DI"))
            validBitAddressesMapInsertDI(station, address);
        else
            validBitAddressesMapInsertDO(station, address);
    }
}

bool DriverModbusTcpSlave::initValidBitAddressesMap(int linkId, unsigned char defaultStation)
{
    QSqlQuery query(QSqlDatabase::database(connectionName, true));
    query.setForwardOnly(true);
    query.exec(
        QString::fromLatin1("SELECT address FROM custom_tag_table WHERE connector_id = %1").arg(linkId));
    if (!query.isActive())
        return false;

    validBitAddressesMap.clear();
    int rows = 0;
    for (; rows < MaxTagRows && query.next(); ++rows)
        insertTag(query.value(0).toString(), defaultStation);
    // SQLite stops in the middle of a damaged file. Tags after the damage would read as 0 forever, so such a
    // file is not loaded at all.
    if (query.lastError().isValid() || rows == MaxTagRows) {
        validBitAddressesMap.clear();
        return false;
    }

    for (std::map<unsigned char, ModbusBitSet>::iterator station = validBitAddressesMap.begin();
         station != validBitAddressesMap.end(); ++station) {
        station->second.DISetSort();
        station->second.DOSetSort();
    }
    return true;
}
