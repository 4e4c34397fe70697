#include "commands/missing_project.h"

#include "tools/project_database.h"

#include <QFile>

bool explainMissingProject(const QString& error, Console& console)
{
    const bool isForWantOfIt = error == QLatin1String("can not open database");
    if (!isForWantOfIt || QFile::exists(GetDatabaseName()))
        return false;
    console.err << "note: the driver wants a project, and there is none; make an empty one with "
                   "\"driverhost project create\"\n";
    return true;
}
