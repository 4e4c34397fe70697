#include "session/driver_plugin.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPluginLoader>

#include <cstring>
#include <dlfcn.h>
#include <link.h>

namespace {

/// The header of an ELF file; without the ELF mark if the file is too short or cannot be read.
ElfW(Ehdr) elfHead(const QString& fileName)
{
    ElfW(Ehdr) head{};
    QFile file(fileName);
    if (file.open(QIODevice::ReadOnly))
        file.read(reinterpret_cast<char*>(&head), sizeof head);
    return head;
}

/// The header of this program, as it was loaded: there may be no /proc to read it from.
const ElfW(Ehdr) & ownHead()
{
    static const int here = 0;
    Dl_info info{};
    ::dladdr(&here, &info);
    return *static_cast<const ElfW(Ehdr)*>(info.dli_fbase);
}

/// What the loader would hang on, crash on, or report in a way that nobody understands. Empty: let it try.
QString fileProblem(const QString& fileName)
{
    const QFileInfo file(fileName);
    if (!file.exists())
        return QStringLiteral("does not exist");
    if (!file.isFile())
        return QStringLiteral("is not a file");
    if (!file.isReadable())
        return QStringLiteral("cannot be read");
    const ElfW(Ehdr) head = elfHead(fileName);
    const ElfW(Ehdr)& own = ownHead();
    if (std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0)
        return QStringLiteral("is not a shared library");
    if (std::memcmp(head.e_ident, own.e_ident, EI_DATA + 1) != 0 || head.e_machine != own.e_machine)
        return QStringLiteral("is built for another machine");
    // The section table is at the end. A file that ends before it is an incomplete copy.
    const quint64 end = quint64(head.e_shoff) + quint64(head.e_shnum) * head.e_shentsize;
    if (end > quint64(file.size()))
        return QStringLiteral("is incomplete, the file is cut off");
    return QString();
}

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
            return QStringLiteral("cannot load driver plug-in %1: %2")
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

QString defaultFileName()
{
    return QCoreApplication::applicationDirPath() + QLatin1String("/drivers/libmodbus_tcp_slave.so");
}

} // namespace

bool isModbusTcp(DriverInterface& driver)
{
    return driver.name() == QLatin1String("Modbus TCP Slave");
}

std::unique_ptr<DriverPlugin> DriverPlugin::load(const QString& wanted, PluginEntry entry, QString& error)
{
    const QString fileName = wanted.isEmpty() ? defaultFileName() : wanted;
    const QString problem = fileProblem(fileName);
    if (!problem.isEmpty()) {
        error = QStringLiteral("driver plug-in %1 %2").arg(fileName, problem);
        return nullptr;
    }
    return entry == PluginEntry::CreateDriver ? loadAs<CreatedDriver>(fileName, error)
                                              : loadAs<SharedInstance>(fileName, error);
}
