#ifndef WATCH_BLOCK_READER_H
#define WATCH_BLOCK_READER_H

#include "session/session.h"
#include "signals/item.h"

#include <QSet>

#include <chrono>
#include <functional>
#include <map>

/// Runs a read command for a station; without one for that of the link. isOnce: with one attempt.
using ReadCommand = std::function<CommandOutcome(const CommunicatorCommand& command,
                                                 std::optional<int> station, bool isOnce)>;

/// Reads items, and those that are neighbours in an area of a station with one command, whatever their types.
/// At first the commands have the order of the first items in them.
///
/// A block that the device refuses as an illegal address or a quantity too large (exception codes 02 and 03)
/// is divided, and stays divided: in the end a bad item is read alone, and the others go on without it. What
/// has failed is tried with one attempt the next time.
///
/// Once a station has not answered, its other blocks are not asked for until the next time, and come first
/// then, in case the device is silent about one block only. While other stations answer, a silent one is
/// asked so seldom that they have three quarters of the time.
class BlockReader
{
public:
    /// The outcome of an item. isFirst: it is the first item of a command that was run.
    using Report = std::function<void(int index, const CommandOutcome& outcome, bool isFirst)>;

    BlockReader(const QVector<Item>& items, const BlockSizes& sizes, const ReadCommand& read);

    /// Reads each item once; ends early when isOver returns true, which is asked before each command. What a
    /// command gave for an item has the layout of the item's own command.
    void readAll(const Report& report, const std::function<bool()>& isOver);

    /// Indexes of the items of the command that readAll runs at the moment.
    const QVector<int>& current() const { return m_current; }

private:
    using Block = QVector<int>; ///< indexes of items, by their positions; one or more
    using Clock = std::chrono::steady_clock;
    using Station = std::optional<int>;

    bool isToBeAsked(const Station& station) const;
    CommandOutcome read(const Block& block, const Station& station);
    void makeBlocks(const BlockSizes& sizes);
    CommunicatorCommand commandOf(const Block& block) const;
    CommandOutcome outcomeOf(int index, const Block& block, const CommandOutcome& outcome) const;

    const QVector<Item> m_items;
    const ReadCommand m_read;
    QVector<Block> m_blocks;
    Block m_current;
    QSet<int> m_failed;                            ///< items that could not be read the last time
    std::map<Station, Clock::time_point> m_silent; ///< stations, and when they are to be asked again
    bool m_isAnswered = false;                     ///< by any station, the last time
};

#endif
