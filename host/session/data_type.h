#ifndef SESSION_DATA_TYPE_H
#define SESSION_DATA_TYPE_H

#include "communicator_command.h"

#include <QStringList>

#include <optional>

/// The names on the command line, in the order in which it lists them: bit, byte, word, dword, qword, block,
/// bitblock.
const QStringList& dataTypeNames();
QString dataTypeName(CommandDataType type);
std::optional<CommandDataType> dataTypeFromName(const QString& name);

/// Bits of one element: 1, 8, 16, 32 or 64.
int elementWidth(CommandDataType type);

/// Bytes of the data of a command; bits are packed, 8 per byte. count is 0 or more.
qint64 dataLength(CommandDataType type, int count);

#endif
