#ifndef WATCH_WATCH_STATE_H
#define WATCH_WATCH_STATE_H

#include "watch/poller.h"
#include "watch/statistics.h"
#include "watch/watched_items.h"

/// One line of the table.
struct WatchedElement
{
    QString name;  ///< as Item::elementNames gives it
    int item = 0;  ///< its item's index
    int index = 0; ///< in the item
    bool isBit = false;
    bool isHex = false; ///< shown so, at first if the item says it
    ValueHistory history;
    std::optional<PollSchedule::Clock::time_point> changed; ///< when another value came than before
};

/// What is known about one item; its elements are next to each other.
struct WatchedItem
{
    int firstElement = 0;
    int elementCount = 0;
    quint64 reads = 0;
    quint64 failures = 0;
    bool failing = false; ///< the last read failed
    QString lastError;    ///< the driver's text; stays when reads succeed again
    std::optional<PollSchedule::Clock::time_point> lastGood;
};

/// What is known about the link.
struct WatchedLink
{
    bool asked = false; ///< a command has been run
    bool connected = false;
    int connectionsMade = 0;
    quint64 samples = 0;
    quint64 missed = 0;
    quint64 commands = 0;  ///< each for one item or more
    quint64 failures = 0;  ///< of these
    RoundTrips roundTrips; ///< of the commands that succeeded
    QString lastError;     ///< of any command, the driver's text
    qint64 lastErrorTime = 0;
};

/// Everything that watch has seen, in a size that does not grow.
class WatchState
{
public:
    explicit WatchState(const QVector<Item>& items);

    void add(const Reading& reading);

    /// A command that has not been answered so far, and the largest number of its attempts.
    void setSilence(const std::optional<Silence>& silence, int attempts);

    /// "no answer, attempt 2 of 4" if the item's station is the silent one, else empty.
    QString silenceOf(int item) const;

    /// The same with the station, empty if none is silent.
    QString silence() const;

    /// A value of the element as it is shown, with or without its unit. Data as in its history.
    QString text(const WatchedElement& element, const QByteArray& data) const;

    /// The unit of the element's numbers as they are shown; may be empty.
    QString unit(const WatchedElement& element) const;

    /// Shows the element as hexadecimal, if its type can be, or not.
    void setHex(int element, bool isHex);

    /// The smallest and largest values count from now on.
    void resetExtremes();

    const QVector<Item>& items() const { return m_items; }
    const std::vector<WatchedItem>& watched() const { return m_watched; }
    const std::vector<WatchedElement>& elements() const { return m_elements; }
    const WatchedLink& link() const { return m_link; }

private:
    void addToLink(const Reading& reading);
    void addValues(const WatchedItem& watched, const Item& item, const Reading& reading);
    Item shownItem(const WatchedElement& element) const;

    const QVector<Item> m_items;
    std::vector<WatchedItem> m_watched;
    std::vector<WatchedElement> m_elements;
    WatchedLink m_link;
    std::optional<Silence> m_silence;
    int m_attempts = 0;
};

#endif
