#include "device_setting.h"
#include "driver_setting.h"

#include <QtTest>

static QList<QPair<QString, QString>> pairs(const char* text)
{
    QList<QPair<QString, QString>> list;
    const QStringList entries = QString::fromLatin1(text).split(QLatin1Char(' '), QString::SkipEmptyParts);
    for (int i = 0; i < entries.size(); ++i)
        list.append(qMakePair(entries.at(i).section(QLatin1Char('/'), 0, 0),
                              entries.at(i).section(QLatin1Char('/'), 1, 1)));
    return list;
}

static DeviceSetting defaultDevice()
{
    return DeviceSetting(EthernetDevice, QLatin1String("COM2"), 9600, 8, 0, 2);
}

template<typename Record>
static QByteArray streamed(const Record& record)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << record;
    return bytes;
}

template<typename Record>
static QDataStream::Status unstream(QByteArray bytes, Record& record)
{
    QDataStream stream(&bytes, QIODevice::ReadOnly);
    stream >> record;
    return stream.status();
}

class tst_settings : public QObject
{
    Q_OBJECT

private slots:
    void driverSetting();
    void socketEntries();
    void socketPorts();
    void deviceSettingStream();
    void storedIndexIsTestedAgainstTheListRead();
    void everyShortStreamIsSurvived();
    void promisedEntriesTakeNoMemory();
    void deviceSettingDump();
};

/// Four integers of it are streamed, and dumped; copy() takes the text too, but not the flag.
void tst_settings::driverSetting()
{
    const DriverSetting six(1, 2, 3, -16, QLatin1String("ignored"), 9);
    const QByteArray streamedSix = QByteArray::fromHex("00000001 00000002 00000003 fffffff0");
    QCOMPARE(streamed(six), streamedSix);
    QCOMPARE(streamed(DriverSetting(1, 2, 3, -16)), streamedSix);
    QVERIFY(six.auxString.isEmpty() && !six.auxFlag && !DriverSetting(1, 2, 3, 4).auxFlag);

    DriverSetting target(0, 0, 0, 0, QString(), 0, QLatin1String("kept"), true);
    QCOMPARE(unstream(streamedSix, target), QDataStream::Ok);
    QCOMPARE(streamed(target), streamedSix);
    QCOMPARE(target.auxString, QString::fromLatin1("kept"));
    QVERIFY(target.auxFlag);

    DriverSetting copy(0, 0, 0, 0);
    copy.copy(target);
    QCOMPARE(streamed(copy), streamedSix);
    QCOMPARE(copy.auxString, QString::fromLatin1("kept"));
    QVERIFY(!copy.auxFlag);

    QTest::ignoreMessage(QtDebugMsg, "timeout: 1 retry: 2 stationid: 3 delay: -16 "); // fails without it
    copy.dump();
}

void tst_settings::socketEntries()
{
    DeviceSetting setting = defaultDevice();
    setting.setSocketIP(QLatin1String("x"), -1);
    setting.setPort(1, 0);
    setting.setCurrentIPIndex(0);
    QVERIFY(setting.socketIP(-1).isEmpty());
    QCOMPARE(int(setting.port(-1)), 0);
    QVERIFY(setting.socketData.isEmpty());

    setting.setSocketData(pairs("10.0.0.1/502 10.0.0.2/503"));
    setting.setCurrentIPIndex(1);
    setting.setCurrentIPIndex(2);
    setting.setCurrentIPIndex(-1);
    QCOMPARE(setting.currentIPIndex, 1);
    QCOMPARE(setting.socketIP(-1), QString::fromLatin1("10.0.0.2"));
    QCOMPARE(int(setting.port(-1)), 503);
    QCOMPARE(int(setting.port(2)), 0);

    const DeviceSetting earlier = setting;
    setting.setSocketIP(QLatin1String("10.0.0.9"), 0);
    setting.setPort(99, 2);
    setting.setPort(504, -1);
    QCOMPARE(setting.socketIP(0), QString::fromLatin1("10.0.0.9"));
    QCOMPARE(int(setting.port(0)), 502);
    QCOMPARE(int(setting.port(1)), 504);
    QCOMPARE(earlier.socketIP(0), QString::fromLatin1("10.0.0.1"));

    setting.setSocketData(pairs("10.0.0.3/1"));
    QCOMPARE(setting.currentIPIndex, 1);
    QVERIFY(setting.socketIP(-1).isEmpty());
    setting.setSocketIP(QLatin1String("x"), -1);
    QCOMPARE(setting.socketIP(0), QString::fromLatin1("10.0.0.3"));
}

void tst_settings::socketPorts()
{
    DeviceSetting setting = defaultDevice();
    setting.setSocketData(pairs("/65535 /65536 /-1 /abc /0x10 /"));
    for (int i = 0; i < 6; ++i)
        QCOMPARE(int(setting.port(i)), i == 0 ? 65535 : 0);
}

void tst_settings::deviceSettingStream()
{
    DeviceSetting setting(EthernetDevice, QLatin1String("E"), 1, 2, 3, 4, 5, QLatin1String("not streamed"));
    setting.linkID = 6;
    setting.setSocketData(pairs("1.2/502 3/7"));
    setting.setCurrentIPIndex(1);
    const QByteArray expected =
        QByteArray::fromHex("00000100 00000002 0045 00000001 00000002 00000003 00000004 00000005 00000006"
                            "00000001 00000002 00000006 0031002e0032 01f6 00000002 0033 0007");
    QCOMPARE(streamed(setting), expected);

    DeviceSetting target(EthernetDevice, QString(), 0, 0, 0, 0, 0, QLatin1String("kept"));
    QCOMPARE(unstream(expected, target), QDataStream::Ok);
    QCOMPARE(streamed(target), expected);
    QCOMPARE(target.auxString, QString::fromLatin1("kept"));
}

/// Two entries are read; an index outside of them leaves the one of before, wherever that is.
void tst_settings::storedIndexIsTestedAgainstTheListRead()
{
    const struct
    {
        int own, stored, expected;
    } rows[] = {{0, 1, 1}, {1, 2, 1}, {1, -1, 1}, {7, 2, 7}};
    for (size_t i = 0; i < sizeof rows / sizeof *rows; ++i) {
        DeviceSetting written = defaultDevice();
        written.setSocketData(pairs("a/1 b/2"));
        written.currentIPIndex = rows[i].stored;
        DeviceSetting target = defaultDevice();
        target.currentIPIndex = rows[i].own;
        unstream(streamed(written), target);
        QCOMPARE(target.currentIPIndex, rows[i].expected);
    }
}

void tst_settings::everyShortStreamIsSurvived()
{
    DeviceSetting setting = defaultDevice();
    setting.setSocketData(pairs("10.0.0.1/502 10.0.0.2/503"));
    const QByteArray whole = streamed(setting);
    const int endOfFirstEntry = whole.size() - (4 + 2 * 8 + 2);
    for (int length = 0; length < whole.size(); ++length) {
        DeviceSetting target = defaultDevice();
        QCOMPARE(unstream(whole.left(length), target),
                 length == endOfFirstEntry ? QDataStream::Ok : QDataStream::ReadPastEnd);
        QVERIFY2(target.socketData.size() <= 2, QByteArray::number(length).constData());
    }
}

void tst_settings::promisedEntriesTakeNoMemory()
{
    QByteArray bytes = streamed(defaultDevice());
    bytes.replace(bytes.size() - 4, 4, QByteArray::fromHex("ffffffff 00000002 0041 0001"));
    DeviceSetting target = defaultDevice();
    unstream(bytes, target);
    QCOMPARE(target.socketData.size(), 1);
    QCOMPARE(target.socketIP(0), QString::fromLatin1("A"));
}

void tst_settings::deviceSettingDump()
{
    DeviceSetting setting(EthernetDevice, QLatin1String("a\"b\\c"), 9600, 8, 0, 2);
    QTest::ignoreMessage(QtDebugMsg,
                         "type: 256 string: \"a\"b\\c\" baudrate: 9600 databits: 8 stopbits: 0 parity: 2 "
                         "linkID: -1 current ip: \"\" current port: 0 ");
    setting.dump();
    setting.setSocketData(pairs("10.0.0.1/502"));
    QTest::ignoreMessage(QtDebugMsg,
                         "type: 256 string: \"a\"b\\c\" baudrate: 9600 databits: 8 stopbits: 0 parity: 2 "
                         "linkID: -1 current ip: \"10.0.0.1\" current port: 502 ");
    setting.dump();
}

QTEST_MAIN(tst_settings)
#include "tst_settings.moc"
