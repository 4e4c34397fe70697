#include "commands/info.h"

#include "session/session.h"
#include "text/json_line.h"
#include "text/text_table.h"

#include <QJsonArray>

namespace {

struct Fact
{
    const char* key;  ///< in JSON
    const char* name; ///< for people
    QJsonValue value;
};

QVector<Fact> factsAbout(DriverInterface& driver, const QString& fileName)
{
    const std::unique_ptr<DriverSetting> defaults(driver.getDefaultDriverSetting());
    return {{"file", "plug-in", fileName},
            {"name", "name", driver.name()},
            {"vendor", "vendor", driver.vender()},
            {"version", "version", driver.getVersionNumber()},
            {"flags", "communication flags", driver.supportedCommunicationFlags()},
            {"totalSize", "addressable units", driver.totalSize()},
            {"blockSize", "registers in one command", driver.getBlockAccessSize()},
            {"bitBlockSize", "bits in one command", driver.getBitBlockAccessSize()},
            {"defaultLink", "default link settings", driver.getStringBasedDefaultDriverSetting()},
            {"timeout", "default timeout (ms)", defaults->timeout},
            {"retry", "default retries", defaults->retry},
            {"station", "default station", defaults->stationid},
            {"delay", "default delay (ms)", defaults->delay}};
}

void printFacts(const QVector<Fact>& facts, OutputFormat format, QTextStream& out)
{
    QJsonObject object;
    TextTable table({TextTable::Left, TextTable::Left});
    for (const Fact& fact : facts) {
        object.insert(QLatin1String(fact.key), fact.value);
        table.addRow({QLatin1String(fact.name), fact.value.toVariant().toString()});
    }
    if (format == OutputFormat::Json)
        printJsonLine(out, object);
    else
        table.print(out);
}

} // namespace

int runInfo(const LinkOptions& options, Console& console)
{
    QString error;
    const auto plugin = DriverPlugin::load(options.driverFile, options.entry, error);
    if (!plugin)
        return reportError(console, WrongCommandLine, error);
    printFacts(factsAbout(plugin->driver(), plugin->fileName()), options.format, console.out);
    return Done;
}
