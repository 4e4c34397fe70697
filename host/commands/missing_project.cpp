#include "commands/missing_project.h"

#include "tools/project_database.h"

#include <QFile>

bool explainMissingProject(const QString& error, Console& console)
{
    const bool isMissing =
        error == QLatin1String("can not open database") && !QFile::exists(GetDatabaseName());
    const bool lacksLink = error == QLatin1String("failed to get default station id");
    if (isMissing)
        console.err << "note: the driver wants a project, and there is none; make an empty one with "
                       "\"driverhost project create\"\n";
    else if (lacksLink)
        console.err << "note: \"driverhost project show\" lists the links of the project and their "
                       "default stations\n";
    return isMissing || lacksLink;
}
