#include "driver_setting.h"

#include <QtDebug>

DriverSetting::DriverSetting(int timeoutMs, int retries, int station, int commandDelay)
    : timeout(timeoutMs), retry(retries), stationid(station), delay(commandDelay), auxFlag(false)
{
}

DriverSetting::DriverSetting(int timeoutMs, int retries, int station, int commandDelay, const QString&,
                             unsigned short)
    : timeout(timeoutMs), retry(retries), stationid(station), delay(commandDelay), auxFlag(false)
{
}

DriverSetting::DriverSetting(int timeoutMs, int retries, int station, int commandDelay, const QString&,
                             unsigned short, const QString& hostText, bool hostFlag)
    : timeout(timeoutMs), retry(retries), stationid(station), delay(commandDelay), auxString(hostText),
      auxFlag(hostFlag)
{
}

void DriverSetting::copy(const DriverSetting& other)
{
    timeout = other.timeout;
    retry = other.retry;
    stationid = other.stationid;
    delay = other.delay;
    auxString = other.auxString;
}

void DriverSetting::dump() const
{
    qDebug("timeout: %d retry: %d stationid: %d delay: %d ", timeout, retry, stationid, delay);
}

QDataStream& operator<<(QDataStream& stream, const DriverSetting& setting)
{
    return stream << qint32(setting.timeout) << qint32(setting.retry) << qint32(setting.stationid)
                  << qint32(setting.delay);
}

QDataStream& operator>>(QDataStream& stream, DriverSetting& setting)
{
    return stream >> setting.timeout >> setting.retry >> setting.stationid >> setting.delay;
}
