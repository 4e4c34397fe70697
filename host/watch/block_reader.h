#ifndef WATCH_BLOCK_READER_H
#define WATCH_BLOCK_READER_H

#include "session/session.h"
#include "signals/item.h"

#include <functional>

/// Runs a read command for a station; without one for that of the link.
using ReadCommand =
    std::function<CommandOutcome(const CommunicatorCommand& command, std::optional<int> station)>;

/// Reads items, and those that are neighbours in an area of a station with one command, whatever their types.
/// The commands have the order of the first items in them.
///
/// A block that the device refuses as an illegal address or a quantity too large (exception codes 02 and 03)
/// is divided, and stays divided: in the end a bad item is read alone, and the others go on without it.
///
/// Once a station has not answered, its other blocks are not asked for until the next time, so that a silent
/// station does not hold up the others for longer than one command.
class BlockReader
{
public:
    /// The outcome of an item. isFirst: it is the first item of its command.
    using Report = std::function<void(int index, const CommandOutcome& outcome, bool isFirst)>;

    BlockReader(const QVector<Item>& items, const BlockSizes& sizes, const ReadCommand& read);

    /// Reads each item once; ends early when isOver returns true, which is asked before each command. What a
    /// command gave for an item has the layout of the item's own command.
    void readAll(const Report& report, const std::function<bool()>& isOver);

    /// Indexes of the items of the command that readAll runs at the moment.
    const QVector<int>& current() const { return m_current; }

private:
    using Block = QVector<int>; ///< indexes of items, by their positions; one or more

    void makeBlocks(const BlockSizes& sizes);
    CommunicatorCommand commandOf(const Block& block) const;
    CommandOutcome outcomeOf(int index, const Block& block, const CommandOutcome& outcome) const;

    const QVector<Item> m_items;
    const ReadCommand m_read;
    QVector<Block> m_blocks;
    Block m_current;
};

#endif
