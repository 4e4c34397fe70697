#include "session/driver_plugin.h"

#include "session/elf_file.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPluginLoader>

#include <dlfcn.h>

namespace {

QString notADriver(const QString& fileName, const QString& why)
{
    return QStringLiteral("%1 is not a driver: %2").arg(fileName, why);
}

class CreatedDriver : public DriverPlugin
{
public:
    explicit CreatedDriver(const QString& fileName) : DriverPlugin(fileName) {}

    ~CreatedDriver() override
    {
        delete m_driver;
        if (m_library)
            ::dlclose(m_library);
    }

    QString load()
    {
        m_library =
            ::dlopen(QFile::encodeName(QFileInfo(fileName()).absoluteFilePath()).constData(), RTLD_NOW);
        if (!m_library)
            return QStringLiteral("can not load driver plug-in %1: %2")
                .arg(fileName(), QString::fromLocal8Bit(::dlerror()));
        using Create = DriverInterface* (*)();
        const auto create = reinterpret_cast<Create>(::dlsym(m_library, "CreateDriver"));
        if (!create)
            return notADriver(fileName(), QStringLiteral("it has no function CreateDriver"));
        m_driver = create();
        return m_driver ? QString() : notADriver(fileName(), QStringLiteral("CreateDriver gives none"));
    }

private:
    void* m_library = nullptr;
};

class SharedInstance : public DriverPlugin
{
public:
    explicit SharedInstance(const QString& fileName)
        : DriverPlugin(fileName), m_loader(QFileInfo(fileName).absoluteFilePath())
    {
    }

    ~SharedInstance() override { m_loader.unload(); }

    QString load()
    {
        QObject* instance = m_loader.instance();
        if (!instance)
            return notADriver(fileName(), m_loader.errorString());
        m_driver = qobject_cast<DriverInterface*>(instance);
        return m_driver ? QString()
                        : notADriver(
                              fileName(),
                              QStringLiteral("it does not serve %1").arg(QLatin1String(DriverInterface_iid)));
    }

private:
    QPluginLoader m_loader;
};

template<class Plugin>
std::unique_ptr<DriverPlugin> loadAs(const QString& fileName, QString& error)
{
    auto plugin = std::make_unique<Plugin>(fileName);
    error = plugin->load();
    if (!error.isEmpty())
        return nullptr;
    return plugin;
}

} // namespace

bool isModbusTcp(DriverInterface& driver)
{
    return driver.name() == QLatin1String("Modbus TCP Slave");
}

std::unique_ptr<DriverPlugin> DriverPlugin::load(const QString& fileName, PluginEntry entry, QString& error)
{
    error = sharedLibraryProblem(fileName);
    if (!error.isEmpty())
        return nullptr;
    return entry == PluginEntry::CreateDriver ? loadAs<CreatedDriver>(fileName, error)
                                              : loadAs<SharedInstance>(fileName, error);
}

QString DriverPlugin::defaultFileName()
{
    return QCoreApplication::applicationDirPath() + QLatin1String("/drivers/libmodbus_tcp_slave.so");
}
