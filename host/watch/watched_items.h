#ifndef WATCH_WATCHED_ITEMS_H
#define WATCH_WATCHED_ITEMS_H

#include "communicator_command.h"
#include "signals/values.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

/// One read command that is repeated, and how its values are printed.
struct WatchedItem
{
    CommunicatorCommand command;
    Notation notation = Notation::Unsigned;
};

/// Most elements that are watched at once.
constexpr int mostWatchedElements = 10000;

/// Takes ADDRESS[:TYPE[:COUNT]] apart: the type defaults to what the area is made of, the count to 1.
/// preferred is the notation of the values where their type has it, else they are Unsigned. The result is
/// empty, and error says what would be right, when text is no such thing.
std::optional<WatchedItem> parseWatchedItem(const QString& text, Notation preferred, QString& error);

/// The command as parseWatchedItem takes it, without what goes without saying: HR100, HR100:dword.
QString columnName(const QString& address, CommandDataType type);

/// The elements of one command, one after the other.
QStringList elementNames(const WatchedItem& item);

/// Each element of data as a number: decimal, whatever the notation in print, so that programs can take it.
QStringList decimalTexts(const WatchedItem& item, const QByteArray& data);

/// The most elements of one read command of a driver.
struct CommandLimits
{
    int registers;
    int bits;
};

/// Read commands that cover these tag addresses (without stations) and nothing else: each address once,
/// ordered by area and number, neighbours in one command.
QVector<WatchedItem> itemsOfTags(const QStringList& addresses, const CommandLimits& limits);

#endif
