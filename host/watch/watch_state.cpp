#include "watch/watch_state.h"

#include "signals/values.h"

#include <numeric>

WatchState::WatchState(const QVector<Item>& items) : m_items(items)
{
    for (const Item& item : items) {
        WatchedCommand command;
        command.firstElement = static_cast<int>(m_elements.size());
        command.elementCount = item.count;
        m_commands.push_back(command);
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
    WatchedCommand& command = m_commands[static_cast<std::size_t>(reading.index)];
    const CommandOutcome& outcome = reading.outcome;
    m_link.asked = true;
    m_link.connected = reading.connected;
    m_link.connectionsMade = reading.connectionsMade;
    m_link.missed = reading.missed;
    m_link.samples = reading.sample;
    ++command.commands;
    command.failing = !outcome.done();
    if (outcome.done()) {
        command.lastGood = reading.doneAt;
        m_link.roundTrips.add(outcome.milliseconds);
    } else {
        ++command.failures;
        command.lastError = m_link.lastError = outcome.error;
        m_link.lastErrorTime = reading.sampleTime;
    }
    addValues(command, m_items.at(reading.index), outcome.data);
}

void WatchState::addValues(const WatchedCommand& command, const Item& item, const QByteArray& data)
{
    const QStringList texts = command.failing ? QStringList() : valueTexts(item, data);
    const QStringList numbers = command.failing ? QStringList() : decimalTexts(item, data);
    for (int i = 0; i < command.elementCount; ++i) {
        const int element = command.firstElement + i;
        ValueHistory& history = m_elements[static_cast<std::size_t>(element)].history;
        if (command.failing)
            history.addGap();
        else
            history.add(numbers.at(i).toDouble(), texts.at(i));
    }
}

quint64 WatchState::commandCount() const
{
    return std::accumulate(m_commands.begin(), m_commands.end(), quint64(0),
                           [](quint64 sum, const WatchedCommand& command) { return sum + command.commands; });
}

quint64 WatchState::failureCount() const
{
    return std::accumulate(m_commands.begin(), m_commands.end(), quint64(0),
                           [](quint64 sum, const WatchedCommand& command) { return sum + command.failures; });
}
