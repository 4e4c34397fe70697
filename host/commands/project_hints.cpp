#include "commands/project_hints.h"

#include "project/project_signals.h"
#include "text/shown.h"
#include "tools/project_database.h"

#include <QFile>

#include <algorithm>

bool explainProjectError(const QString& error, Console& console)
{
    const bool isMissing =
        error == QLatin1String("can not open database") && !QFile::exists(GetDatabaseName());
    const bool lacksLink = error == QLatin1String("failed to get default station id");
    if (isMissing)
        console.err << "note: the driver needs a project; \"driverhost project create\" makes an empty one\n";
    else if (lacksLink)
        console.err << "note: \"driverhost project show\" lists the project's links and their default "
                       "stations\n";
    return isMissing || lacksLink;
}

void explainStation(const QVector<Item>& items, const LinkOptions& options, int stationOfLink,
                    Console& console)
{
    const auto bare = std::find_if(items.begin(), items.end(), [](const Item& item) {
        return item.signal.name.isEmpty() && !item.address.station;
    });
    if (options.station || bare == items.end())
        return;
    const int station = projectStation(options.linkId).value_or(stationOfLink);
    if (station != stationOfLink)
        console.err << "note: " << shown(bare->address.fullText()) << " goes to station " << stationOfLink
                    << ", but signals go to the project's default station " << station
                    << "; --station chooses\n";
}
