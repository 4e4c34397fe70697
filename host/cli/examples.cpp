#include "cli/examples.h"

namespace {

struct Example
{
    const char* command;
    const char* line;
};

const Example examples[] = {
    {"info", "driverhost info"},
    {"read", "driverhost --device 127.0.0.1:1502 read HR100 --count 4"},
    {"read", "driverhost --device 127.0.0.1:1502 read HR100 3-HR1..HR8:uint32:ABCD HR20.3"},
    {"read", "driverhost --device 127.0.0.1:1502 read HR100SW:float32 --format json"},
    {"read", "driverhost --device 127.0.0.1:1502 read \"Oven*\""},
    {"write", "driverhost --device 127.0.0.1:1502 write HR100 7 0x10 -3"},
    {"write", "driverhost --device 127.0.0.1:1502 write HR110:float32:ABCD 21.5 --verify"},
    {"watch", "driverhost --device 127.0.0.1:1502 watch HR1:word:3 IR7:dword DI1:bit:10"},
    {"write", "driverhost --device 127.0.0.1:1502 write \"Setpoint oven\" 180.5 --verify"},
    {"watch", "driverhost --device 127.0.0.1:1502 watch --tags"},
    {"watch", "driverhost --device 127.0.0.1:1502 watch IR2 DI2 --interval 100 --for 5 --csv record.csv"},
    {"chart", "driverhost chart record.csv --output record.svg"},
    {"chart", "driverhost chart record.csv --signals \"IR*\" --from 2026-01-01 --output numbers.png"},
    {"project create", "driverhost --device 127.0.0.1:1502 project create --replace --tag DO1 --tag DI5"},
    {"project show", "driverhost project show --all"},
    {"project import", "driverhost project import tags.csv"},
    {"project export", "driverhost project export tags.csv"},
    {"scan", "driverhost --device 127.0.0.1:1502 scan --area HR,DO --to 1000"},
    {"scan", "driverhost --device 127.0.0.1:1502 scan --to 100 --values --output plc"},
    {"scan", "driverhost --device 127.0.0.1:1502 --timeout 200 scan --stations 1-5 --area HR --to 10"},
    {"help", "driverhost help project import"},
};

} // namespace

QStringList examplesOf(const QString& command)
{
    QStringList lines;
    for (const Example& example : examples) {
        if (command == QLatin1String(example.command))
            lines += QLatin1String(example.line);
    }
    return lines;
}
