#include "watch/watch_state.h"

#include "signals/values.h"

#include <limits>

WatchState::WatchState(const QVector<Item>& items) : m_items(items)
{
    for (const Item& item : items) {
        WatchedItem watched;
        watched.firstElement = static_cast<int>(m_elements.size());
        watched.elementCount = item.count;
        m_watched.push_back(watched);
        for (const QString& name : item.elementNames()) {
            WatchedElement element;
            element.name = name;
            element.item = static_cast<int>(m_watched.size()) - 1;
            element.index = static_cast<int>(m_elements.size()) - watched.firstElement;
            element.isHex = item.notation == Notation::Hex;
            element.isBit = layoutOf(item.type()).isBit();
            m_elements.push_back(element);
        }
    }
}

void WatchState::add(const Reading& reading)
{
    WatchedItem& watched = m_watched[static_cast<std::size_t>(reading.index)];
    const bool isAsked = reading.beginsCommand || reading.outcome.attempts > 0;
    watched.reads += isAsked ? 1 : 0;
    watched.failing = !reading.outcome.done();
    if (watched.failing) {
        watched.failures += isAsked ? 1 : 0;
        watched.lastError = reading.outcome.error;
    } else {
        watched.lastGood = reading.doneAt;
    }
    addToLink(reading);
    addValues(watched, m_items.at(reading.index), reading);
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

void WatchState::addValues(const WatchedItem& watched, const Item& item, const Reading& reading)
{
    const QByteArray& data = reading.outcome.data;
    const QVector<QByteArray> values = watched.failing ? QVector<QByteArray>() : valueData(item, data);
    const QStringList numbers = watched.failing ? QStringList() : decimalTexts(item, data);
    for (int i = 0; i < watched.elementCount; ++i) {
        const int index = watched.firstElement + i;
        WatchedElement& element = m_elements[static_cast<std::size_t>(index)];
        if (watched.failing) {
            element.history.addGap();
            continue;
        }
        if (!element.history.latest().isEmpty() && element.history.latest() != values.at(i))
            element.changed = reading.doneAt;
        bool isNumber = false;
        const double number = numbers.at(i).toDouble(&isNumber);
        element.history.add(isNumber ? number : std::numeric_limits<double>::quiet_NaN(), values.at(i));
    }
}

void WatchState::setSilence(const std::optional<Silence>& silence, int attempts)
{
    m_silence = silence;
    m_attempts = attempts;
}

QString WatchState::silenceOf(int item) const
{
    if (!m_silence || m_silence->items.isEmpty() ||
        m_items.at(m_silence->items.first()).address.station != m_items.at(item).address.station)
        return QString();
    return QStringLiteral("no answer, attempt %1 of %2").arg(m_silence->attempt).arg(m_attempts);
}

QString WatchState::silence() const
{
    const int item = m_silence ? m_silence->items.value(0, -1) : -1;
    if (item < 0)
        return QString();
    const auto station = m_items.at(item).address.station;
    return (station ? QStringLiteral("station %1: ").arg(*station) : QString()) + silenceOf(item);
}

/// The element's item with one value, in the notation in which it is shown.
Item WatchState::shownItem(const WatchedElement& element) const
{
    Item item = m_items.at(element.item);
    item.count = 1;
    if (element.isHex)
        item.notation = Notation::Hex;
    else if (item.notation == Notation::Hex)
        item.notation.reset();
    return item;
}

QString WatchState::text(const WatchedElement& element, const QByteArray& data) const
{
    return data.isEmpty() ? QString() : valueTexts(shownItem(element), data).first();
}

QString WatchState::unit(const WatchedElement& element) const
{
    const Item item = shownItem(element);
    return item.notation ? QString() : item.signal.unit;
}

void WatchState::setHex(int element, bool isHex)
{
    WatchedElement& changed = m_elements[static_cast<std::size_t>(element)];
    changed.isHex = isHex && notationProblem(m_items.at(changed.item).type(), Notation::Hex).isEmpty();
}

void WatchState::resetExtremes()
{
    for (WatchedElement& element : m_elements)
        element.history.resetExtremes();
}
