#include "watch/watch_state.h"

#include "signals/values.h"

WatchState::WatchState(const QVector<Item>& items) : m_items(items)
{
    for (const Item& item : items) {
        WatchedItem watched;
        watched.firstElement = static_cast<int>(m_elements.size());
        watched.elementCount = item.count;
        m_watched.push_back(watched);
        for (const QString& name : item.elementNames()) {
            WatchedElement element;
            element.address = name;
            element.isBit = layoutOf(item.type()).isBit();
            m_elements.push_back(element);
        }
    }
}

void WatchState::add(const Reading& reading)
{
    WatchedItem& watched = m_watched[static_cast<std::size_t>(reading.index)];
    ++watched.reads;
    watched.failing = !reading.outcome.done();
    if (watched.failing) {
        ++watched.failures;
        watched.lastError = reading.outcome.error;
    } else {
        watched.lastGood = reading.doneAt;
    }
    addToLink(reading);
    addValues(watched, m_items.at(reading.index), reading.outcome.data);
}

void WatchState::addToLink(const Reading& reading)
{
    m_link.asked = true;
    m_link.connected = reading.connected;
    m_link.connectionsMade = reading.connectionsMade;
    m_link.missed = reading.missed;
    m_link.samples = reading.sample;
    if (!reading.beginsCommand)
        return;
    ++m_link.commands;
    if (reading.outcome.done()) {
        m_link.roundTrips.add(reading.outcome.milliseconds);
        return;
    }
    ++m_link.failures;
    m_link.lastError = reading.outcome.error;
    m_link.lastErrorTime = reading.sampleTime;
}

void WatchState::addValues(const WatchedItem& watched, const Item& item, const QByteArray& data)
{
    const QStringList texts = watched.failing ? QStringList() : valueTexts(item, data);
    const QStringList numbers = watched.failing ? QStringList() : decimalTexts(item, data);
    for (int i = 0; i < watched.elementCount; ++i) {
        const int element = watched.firstElement + i;
        ValueHistory& history = m_elements[static_cast<std::size_t>(element)].history;
        if (watched.failing)
            history.addGap();
        else
            history.add(numbers.at(i).toDouble(), texts.at(i));
    }
}
