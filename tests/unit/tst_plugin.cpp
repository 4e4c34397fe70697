#include "device_setting.h"
#include "driver_interface.h"
#include "driver_setting.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QLibraryInfo>
#include <QPluginLoader>
#include <QScopedPointer>
#include <QtTest>

typedef DriverInterface* (*CreateDriverFunction)();
typedef QObject* (*InstanceFunction)();
typedef const char* (*VerificationFunction)();

static const char verificationText[] = "pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.8.6\ndebug=false\n"
                                       "buildkey=arm linux g++-4 no-pkg-config";

/// Found relative to the test, so that the build folder can be copied to a panel.
static QString pluginFile()
{
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QLatin1String(PLUGIN_FILE));
}

/// The module as the runtime sees it: a file, loaded at run time.
class tst_plugin : public QObject
{
    Q_OBJECT

private slots:
    void identityAndDefaults();
    void sharedInstance();
    void castsByName();
    void pluginLoader();
    void verification();

private:
    template<typename Function>
    Function entry(const char* name)
    {
        return reinterpret_cast<Function>(QLibrary::resolve(pluginFile(), name));
    }
};

void tst_plugin::identityAndDefaults()
{
    CreateDriverFunction create = entry<CreateDriverFunction>("CreateDriver");
    QVERIFY(create);
    QScopedPointer<DriverInterface> driver(create());
    QScopedPointer<DriverInterface> other(create());
    QVERIFY(driver.data() != other.data());

    QCOMPARE(driver->name() + driver->vender() + driver->getVersionNumber(),
             QString::fromLatin1("Modbus TCP SlaveModbus1.0.0"));
    QCOMPARE(driver->getStringBasedDefaultDriverSetting(), QString::fromLatin1("502"));
    QCOMPARE(QString().sprintf("%d %d %d %d", driver->totalSize(), driver->supportedCommunicationFlags(),
                               driver->getBlockAccessSize(), driver->getBitBlockAccessSize()),
             QString::fromLatin1("278528 256 125 2008"));
    QVERIFY(driver->initialize(nullptr));
    QVERIFY(!driver->validation(QString()));
    QVERIFY(!driver->hasError());
    QVERIFY(driver->getLastError().isNull());
    QVERIFY(!driver->isSupportSessionCommand());
    QVERIFY(driver->deviceSettingChanged(nullptr));

    QScopedPointer<DriverSetting> setting(driver->getDefaultDriverSetting());
    QCOMPARE(QString().sprintf("%d %d %d %d", setting->timeout, setting->retry, setting->stationid,
                               setting->delay),
             QString::fromLatin1("3000 3 1 0"));
    QScopedPointer<DeviceSetting> device(driver->getDefaultSerialDeviceSetting());
    QCOMPARE(device->string, QString::fromLatin1("COM2"));
    QCOMPARE(QString().sprintf("%d %d %d %d %d %d", int(device->type), device->baudrate, device->databits,
                               device->stopbits, device->parity, device->linkID),
             QString::fromLatin1("256 9600 8 0 2 -1"));
}

void tst_plugin::sharedInstance()
{
    InstanceFunction instance = entry<InstanceFunction>("qt_plugin_instance");
    QVERIFY(instance);
    QObject* first = instance();
    QCOMPARE(instance(), first);
    delete first;
    QObject* second = instance();
    QVERIFY(qobject_cast<DriverInterface*>(second));
    delete second;
}

void tst_plugin::castsByName()
{
    QScopedPointer<DriverInterface> driver(entry<CreateDriverFunction>("CreateDriver")());
    QObject* object = driver->getThisObject();
    QCOMPARE(object->metaObject()->className(), "DriverModbusTcpSlave");
    QCOMPARE(object->qt_metacast("DriverModbusTcpSlave"), static_cast<void*>(object));
    QCOMPARE(object->qt_metacast("DriverInterface"), static_cast<void*>(driver.data()));
    QCOMPARE(object->qt_metacast("com.valdrith.drivers.DriverInterface/1.1"),
             static_cast<void*>(driver.data()));
    QVERIFY(!object->qt_metacast("SomethingElse"));
    QCOMPARE(object->metaObject()->methodCount(), QObject::staticMetaObject.methodCount());
}

/// Qt 5 loads the module for its metadata; Qt 4.8 for its verification text, if that names the build key of
/// this Qt.
void tst_plugin::pluginLoader()
{
    QPluginLoader loader(pluginFile());
    QObject* object = loader.instance();
#if QT_VERSION >= 0x050000
    QCOMPARE(loader.metaData().value(QLatin1String("IID")).toString(),
             QString::fromLatin1("com.valdrith.drivers.DriverInterface/1.1"));
#else
    const QString ours = QLatin1String("arm linux g++-4 no-pkg-config");
    if (QLibraryInfo::buildKey() != ours) {
        QVERIFY2(!object && loader.errorString().contains(ours), qPrintable(loader.errorString()));
        return;
    }
#endif
    QVERIFY2(object, qPrintable(loader.errorString()));
    QVERIFY(qobject_cast<DriverInterface*>(object));
}

void tst_plugin::verification()
{
    VerificationFunction query = entry<VerificationFunction>("qt_plugin_query_verification_data");
    QVERIFY(query);
    QCOMPARE(QByteArray(query()), QByteArray(verificationText));

    QFile file(pluginFile());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains(QByteArray(verificationText, sizeof verificationText)));
}

QTEST_MAIN(tst_plugin)
#include "tst_plugin.moc"
