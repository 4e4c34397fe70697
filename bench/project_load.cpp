// Loading the project database, as the first command of a driver does, against a bare sqlite3 loop over the
// same rows.
//
//   project_load TAGS ROUNDS
//
// Times are processor times of this process.
#include "bench_driver.h"
#include "figures.h"
#include "memory_link.h"
#include "peak_memory.h"

#include <QCoreApplication>
#include <QProcess>

#include <ctime>
#include <sqlite3.h>

namespace {

double processorSeconds()
{
    timespec time = {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Tags as projects have them: bits and registers in no particular order, one in fifty with a station.
class MixedTags
{
public:
    explicit MixedTags(int count) : m_count(count) {}

    template<typename Visit>
    void forEach(Visit visit) const
    {
        static const char* const forms[] = {"DI%1", "DO%1", "FN5DO%1", "HR%1", "IR%1",
                                            "DO%1", "HR%1", "FN6HR%1", "di%1", "DI%1"};
        for (int i = 0; i < m_count; ++i) {
            const QString address = QString::fromLatin1(forms[i % 10]).arg(1 + (i * 7919LL) % 65536);
            visit(i % 50 == 0 ? QStringLiteral("2-") + address : address);
        }
    }

private:
    const int m_count;
};

void loadWithSqlite(int tags)
{
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    const QByteArray file = GetDatabaseName().toUtf8();
    if (sqlite3_open_v2(file.constData(), &database, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(database, "SELECT address FROM custom_tag_table WHERE connector_id = 1", -1,
                           &statement, nullptr) != SQLITE_OK)
        giveUp(QString::fromUtf8(sqlite3_errmsg(database)));
    int rows = 0;
    std::size_t bytes = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        const unsigned char* const address = sqlite3_column_text(statement, 0);
        bytes += address[0] != 0 ? static_cast<std::size_t>(sqlite3_column_bytes(statement, 0)) : 0;
        ++rows;
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    if (rows != tags || bytes == 0)
        giveUp(QStringLiteral("sqlite3 read %1 of %2 rows").arg(rows).arg(tags));
}

void loadWithDriver()
{
    const auto plugin = loadDriver();
    MemoryLink link;
    runCommand(plugin->driver(), link, measuredCommands().first(), QByteArray());
}

/// By how many kB a process grows at its peak if it does nothing but load the project. It takes a new
/// process, because this one still holds memory from making the project.
double peakMemory()
{
    QProcess once;
    once.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--once")});
    if (!once.waitForFinished(-1) || once.exitCode() != 0)
        giveUp(QStringLiteral("the load in a process of its own failed: ") +
               QString::fromLocal8Bit(once.readAllStandardError()));
    return once.readAllStandardOutput().toDouble();
}

void loadOnce()
{
    const PeakMemory memory;
    loadWithDriver();
    std::printf("%d\n", memory.grownKiB());
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    return reportFailure([&] {
        if (argc == 2 && QByteArray(argv[1]) == "--once") {
            loadOnce();
            return;
        }
        const int tags = argc == 3 ? countOf(argv[1]) : 0;
        const int rounds = argc == 3 ? countOf(argv[2]) : 0;
        if (tags < 1 || rounds < 1)
            giveUp(QStringLiteral("give TAGS ROUNDS, both 1 or more"));
        makeProject(MixedTags(tags));
        const double peak = peakMemory();

        std::vector<double> driver;
        std::vector<double> sqlite;
        for (int round = 0; round < rounds; ++round) {
            const double start = processorSeconds();
            loadWithSqlite(tags);
            const double middle = processorSeconds();
            loadWithDriver();
            sqlite.push_back(1e9 * (middle - start) / tags);
            driver.push_back(1e9 * (processorSeconds() - middle) / tags);
        }
        const std::string size = "_" + std::to_string(tags);
        printFigure("load_ratio_sqlite" + size, ratios(driver, sqlite), "ratio", "sqlite3 loop");
        printFigure("load_time_per_tag" + size, driver, "ns");
        printFigure("load_peak_memory" + size, {peak}, "kB");
    });
}
