#ifndef WATCH_WATCHED_ITEMS_H
#define WATCH_WATCHED_ITEMS_H

#include "communicator_command.h"
#include "signals/values.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

/// A read command that is repeated, and how its values are printed.
struct WatchedItem
{
    CommunicatorCommand command;
    Notation notation = Notation::Unsigned;
};

/// Most elements that can be watched at once.
constexpr int mostWatchedElements = 10000;

/// Parses ADDRESS[:TYPE[:COUNT]]: the type defaults to the area's element type, the count to 1. Values are
/// printed in the notation preferred if their type has it, otherwise as Unsigned. If text is anything else,
/// the result is empty and error says what would be right.
std::optional<WatchedItem> parseWatchedItem(const QString& text, Notation preferred, QString& error);

/// The command in the form that parseWatchedItem accepts, without defaults: HR100, HR100:dword.
QString columnName(const QString& address, CommandDataType type);

/// The names of a command's elements, in order.
QStringList elementNames(const WatchedItem& item);

/// Each element of data as a number: always decimal, whatever the printed notation, so that programs can read
/// it.
QStringList decimalTexts(const WatchedItem& item, const QByteArray& data);

/// The most elements that a driver takes in one read command.
struct CommandLimits
{
    int registers;
    int bits;
};

/// Read commands that cover exactly these tag addresses (without stations): each address once, ordered by
/// area and number, neighbours in one command.
QVector<WatchedItem> itemsOfTags(const QStringList& addresses, const CommandLimits& limits);

#endif
