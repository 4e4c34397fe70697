#ifndef OPTIONS_H
#define OPTIONS_H

#include "communicator_command.h"
#include "device_address.h"
#include "driver_plugin.h"
#include "values.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

// What the command line asks for, one record for each command. command_line.cpp fills them, the commands take
// them; a command checks only what needs more than one option.

enum class OutputFormat
{
    Text,
    Json ///< one object on each line
};

/// What every command that uses a driver shares.
struct LinkOptions
{
    QString driverFile; ///< empty: DriverPlugin::defaultFileName()
    PluginEntry entry = PluginEntry::CreateDriver;
    DeviceAddress device;       ///< without a port: the driver's own default
    std::optional<int> station; ///< these four: none is the driver's own default
    std::optional<int> retry;
    std::optional<int> timeout; ///< milliseconds
    std::optional<int> delay;   ///< milliseconds
    int linkId = 1;
    OutputFormat format = OutputFormat::Text;
    bool trace = false;
};

struct ReadOptions
{
    LinkOptions link;
    QString address;
    std::optional<CommandDataType> type; ///< none: what the area is made of
    int count = 1;
    Notation notation = Notation::Unsigned;
};

struct WriteOptions
{
    LinkOptions link;
    QString address;
    std::optional<CommandDataType> type; ///< none: what the area is made of
    std::optional<int> count;            ///< given, it must be the number of the values
    std::optional<Notation> notation;    ///< none: as encodeValues says
    QStringList values;
};

struct WatchOptions
{
    LinkOptions link;
    QStringList addresses;                  ///< ADDRESS[:TYPE[:COUNT]]
    bool tags = false;                      ///< in place of addresses: the tags of the project
    Notation notation = Notation::Unsigned; ///< of those whose type has it
    int interval = 500;                     ///< milliseconds
    std::optional<int> samples;             ///< these two: none is until somebody ends it
    std::optional<int> seconds;
    QString csvFile; ///< empty: nothing is recorded
};

struct ChartOptions
{
    LinkOptions link; ///< only its format counts
    QString record;
    QString output; ///< its ending says in which format
    QString title;  ///< empty: the name of the record
};

struct ProjectCreateOptions
{
    LinkOptions link; ///< its link id, station and device go into the project
    QStringList tags;
    QString tagFile; ///< one address on each line; empty: none
};

struct ProjectShowOptions
{
    LinkOptions link;     ///< its driver and format count
    bool allTags = false; ///< and all runs of bits
};

struct ScanOptions
{
    LinkOptions link;
    QVector<int> stations; ///< empty: the link's own
    QStringList areas;     ///< of scanAreaNames(); empty: all
    int first = 1;
    int last = 65536;
    int finest = 1; ///< a refused range of so many elements or fewer is not divided
};

/// The areas that can be scanned, one for each kind of data that a device holds.
const QStringList& scanAreaNames();

struct ProjectImportOptions
{
    LinkOptions link; ///< its link id is whose tags are replaced
    QString file;
};

struct ProjectExportOptions
{
    LinkOptions link; ///< its link id is whose tags are written
    QString file;     ///< empty: stdout
};

#endif
