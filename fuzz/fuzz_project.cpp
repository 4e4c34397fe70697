// Arbitrary bytes as the project database: the driver either loads them or says what is wrong. Then it loads
// a good database in their place.

#include "check.h"
#include "harness.h"
#include "modbus_tcp_slave.h"
#include "project_fixture.h"
#include "scripted_link.h"

namespace {

QByteArray goodProject;

void replaceProject(const QByteArray& content)
{
    const QString name = ProjectFixture::path(ProjectFixture::usualPlace());
    QFile file(name + QLatin1String(".new"));
    CHECK(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    file.close();
    CHECK(std::rename(QFile::encodeName(file.fileName()), QFile::encodeName(name)) == 0);
}

/// An input that says it is a database in WAL mode makes SQLite write files next to it, which would change
/// the outcome of the inputs that follow.
void removeWalFiles()
{
    const QString name = ProjectFixture::path(ProjectFixture::usualPlace());
    QFile::remove(name + QLatin1String("-wal"));
    QFile::remove(name + QLatin1String("-shm"));
}

bool isLoadError(const QString& text)
{
    return text == QLatin1String("can not open database") ||
           text == QLatin1String("failed to get default station id") ||
           text == QLatin1String("failed to initialize valid bit addresses table");
}

bool loads(DriverModbusTcpSlave& driver)
{
    ScriptedLink link;
    driver.clearError();
    const bool loaded = driver.readDB(&link, QString());
    CHECK(driver.hasError() != loaded);
    CHECK(loaded || isLoadError(driver.getLastError()));
    return loaded;
}

/// Each driver object keeps its connection name forever; those of earlier inputs are no longer needed.
void forgetConnections()
{
    for (const QString& name : QSqlDatabase::connectionNames())
        QSqlDatabase::removeDatabase(name);
}

} // namespace

void prepare()
{
    ProjectFixture::clear();
    CHECK(ProjectFixture::create(ProjectFixture::usualPlace(), QStringList() << QLatin1String("DO1")));
    QFile file(ProjectFixture::path(ProjectFixture::usualPlace()));
    CHECK(file.open(QIODevice::ReadOnly));
    goodProject = file.readAll();
}

void tryInput(Input& input)
{
    removeWalFiles();
    replaceProject(input.rest());
    {
        DriverModbusTcpSlave driver;
        const bool loaded = loads(driver);
        // SQLite sometimes accepts damaged pages at the second try; what is loaded must stay loaded.
        CHECK(loads(driver) || !loaded);
        ScriptedLink link;
        for (const char* const area : {"DI1", "DO60000"}) {
            const QByteArray data = driver.read(&link, CommunicatorCommand(Byte, 3000, QLatin1String(area)));
            CHECK(data.isEmpty() || data.size() == 3000);
        }
        replaceProject(goodProject);
        DriverModbusTcpSlave next;
        CHECK(loads(next));
    }
    forgetConnections();
}
