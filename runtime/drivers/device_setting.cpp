#include "device_setting.h"

#include <QtDebug>

#include <utility>

DeviceSetting::DeviceSetting(device_type linkType, QString deviceString, int baud, int dataBits, int stopBits,
                             int parityCode)
    : type(linkType), string(std::move(deviceString)), baudrate(baud), databits(dataBits), stopbits(stopBits),
      parity(parityCode), auxValue(0), linkID(-1), currentIPIndex(0)
{
}

DeviceSetting::DeviceSetting(device_type linkType, QString deviceString, int baud, int dataBits, int stopBits,
                             int parityCode, int hostValue, QString hostText)
    : type(linkType), string(std::move(deviceString)), baudrate(baud), databits(dataBits), stopbits(stopBits),
      parity(parityCode), auxValue(hostValue), auxString(std::move(hostText)), linkID(-1), currentIPIndex(0)
{
}

/// The list index that index stands for, or -1 when there is no such entry.
int DeviceSetting::resolvedIndex(int index) const
{
    const int resolved = index == -1 ? currentIPIndex : index;
    return resolved >= 0 && resolved < socketData.size() ? resolved : -1;
}

QString DeviceSetting::socketIP(int index) const
{
    const int entry = resolvedIndex(index);
    return entry < 0 ? QString() : socketData.at(entry).first;
}

unsigned short DeviceSetting::port(int index) const
{
    const int entry = resolvedIndex(index);
    return entry < 0 ? static_cast<unsigned short>(0) : socketData.at(entry).second;
}

void DeviceSetting::setSocketIP(const QString& ip, int index)
{
    const int entry = resolvedIndex(index);
    if (entry >= 0)
        socketData[entry].first = ip;
}

void DeviceSetting::setPort(unsigned short portNumber, int index)
{
    const int entry = resolvedIndex(index);
    if (entry >= 0)
        socketData[entry].second = portNumber;
}

void DeviceSetting::setCurrentIPIndex(int index)
{
    if (index >= 0 && index < socketData.size())
        currentIPIndex = index;
}

void DeviceSetting::setSocketData(const QList<QPair<QString, QString>>& data)
{
    QList<QPair<QString, unsigned short>> entries;
    for (int i = 0; i < data.size(); ++i)
        entries.append(
            qMakePair(data.at(i).first, static_cast<unsigned short>(data.at(i).second.toUShort())));
    socketData = entries;
}

void DeviceSetting::dump() const
{
    qDebug("type: %u string: \"%s\" baudrate: %d databits: %d stopbits: %d parity: %d linkID: %d "
           "current ip: \"%s\" current port: %u ",
           static_cast<unsigned int>(type), string.toUtf8().constData(), baudrate, databits, stopbits, parity,
           linkID, socketIP(-1).toUtf8().constData(), static_cast<unsigned int>(port(-1)));
}

QDataStream& operator<<(QDataStream& stream, const DeviceSetting& setting)
{
    stream << qint32(setting.type) << setting.string << qint32(setting.baudrate) << qint32(setting.databits)
           << qint32(setting.stopbits) << qint32(setting.parity) << qint32(setting.auxValue)
           << qint32(setting.linkID) << qint32(setting.currentIPIndex) << quint32(setting.socketData.size());
    for (int i = 0; i < setting.socketData.size(); ++i)
        stream << setting.socketData.at(i).first << quint16(setting.socketData.at(i).second);
    return stream;
}

QDataStream& operator>>(QDataStream& stream, DeviceSetting& setting)
{
    qint32 type = 0;
    qint32 currentIndex = 0;
    quint32 promised = 0;
    stream >> type >> setting.string >> setting.baudrate >> setting.databits >> setting.stopbits >>
        setting.parity >> setting.auxValue >> setting.linkID >> currentIndex >> promised;
    setting.type = static_cast<device_type>(type);

    setting.socketData.clear();
    for (quint32 i = 0; i < promised; ++i) {
        QPair<QString, unsigned short> entry;
        stream >> entry.first >> entry.second;
        setting.socketData.append(entry);
        if (stream.atEnd())
            break;
    }
    setting.setCurrentIPIndex(currentIndex);
    return stream;
}
