#ifndef COMMANDS_H
#define COMMANDS_H

#include "communicator_command.h"

#include <QByteArray>
#include <QVector>

/// A command of the runtime that benchmarks repeat, and the frames that it takes.
struct MeasuredCommand
{
    const char* name;
    CommunicatorCommand command;
    bool isWrite;
    int requestLength; ///< bytes on the wire
    int replyLength;

    QByteArray data() const { return isWrite ? QByteArray(2 * command.count, '\x5A') : QByteArray(); }
};

inline const QVector<MeasuredCommand>& measuredCommands()
{
    static const QVector<MeasuredCommand> commands = {
        {"read_10", {Word, 10, QStringLiteral("HR100")}, false, 12, 29},
        {"read_125", {Word, 125, QStringLiteral("HR100")}, false, 12, 259},
        {"read_dwords_62", {DoubleWord, 62, QStringLiteral("HR100")}, false, 12, 257},
        {"read_bits_2000", {BitBlock, 2000, QStringLiteral("DO1")}, false, 12, 259},
        {"write_10", {Word, 10, QStringLiteral("HR100")}, true, 33, 12},
    };
    return commands;
}

/// The command of this name; null if there is none.
inline const MeasuredCommand* findCommand(const QByteArray& name)
{
    for (const MeasuredCommand& measured : measuredCommands()) {
        if (name == measured.name)
            return &measured;
    }
    return nullptr;
}

#endif
