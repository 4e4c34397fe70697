// Streams as settings records: whatever they hold, memory is taken for no more than they have, and a record
// that was read writes a stream that reads the same.

#include "check.h"
#include "device_setting.h"
#include "driver_setting.h"
#include "harness.h"

#include <memory>

namespace {

/// The byte order and version of the stream that the input chose.
void choose(QDataStream& stream, int choice)
{
    stream.setByteOrder(choice & 0x80 ? QDataStream::LittleEndian : QDataStream::BigEndian);
    stream.setVersion(1 + choice % 19);
}

template<typename Setting>
QByteArray written(const Setting& setting, int choice)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    choose(stream, choice);
    stream << setting;
    return bytes;
}

template<typename Setting>
Setting checkReading(const QByteArray& bytes, int choice, const Setting& blank)
{
    Setting setting = blank;
    QDataStream stream(bytes);
    choose(stream, choice);
    stream >> setting;

    const QByteArray once = written(setting, choice);
    Setting again = blank;
    QDataStream second(once);
    choose(second, choice);
    second >> again;
    CHECK(second.status() == QDataStream::Ok && second.atEnd());
    CHECK(written(again, choice) == once);
    setting.dump();
    return setting;
}

} // namespace

void prepare()
{
}

void tryInput(Input& input)
{
    const int choice = input.byte();
    const int index = input.number16() - 2;
    const QByteArray bytes = input.rest();

    DriverSetting driverSetting = checkReading(bytes, choice, DriverSetting(0, 0, 0, 0));
    CHECK(written(driverSetting, choice).size() == 16);

    DeviceSetting setting = checkReading(bytes, choice, DeviceSetting(EthernetDevice, QString(), 0, 0, 0, 0));
    CHECK(setting.socketData.size() <= 1 + bytes.size() / 6); // an entry takes two numbers of 4 and 2 bytes
    CHECK(setting.currentIPIndex >= 0 && setting.currentIPIndex <= qMax(0, setting.socketData.size() - 1));

    const bool isEntry = index >= -1 && index < setting.socketData.size() && !setting.socketData.isEmpty();
    setting.setSocketIP(QLatin1String("10.0.0.1"), index);
    setting.setPort(502, index);
    CHECK(setting.port(index) == (isEntry ? 502 : 0));
    CHECK(setting.socketIP(index) == QLatin1String(isEntry ? "10.0.0.1" : ""));
}
