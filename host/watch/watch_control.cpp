#include "watch/watch_control.h"

#include "signals/values.h"

#include <algorithm>

WatchControl::WatchControl(WatchState& state) : m_state(state)
{
    applyFilter();
}

const WatchedElement& WatchControl::element() const
{
    return m_state.elements()[static_cast<std::size_t>(m_rows.at(m_selected))];
}

int WatchControl::firstRow(int page) const
{
    page = std::max(page, 1);
    const int last = std::max(m_rows.size() - page, 0);
    const int least = std::min(std::max(m_selected - page + 1, 0), last);
    m_first = std::clamp(m_first, least, std::max(std::min(m_selected, last), least));
    return m_first;
}

WatchControl::Wish WatchControl::press(const KeyPress& key, int page)
{
    if (key.kind == KeyPress::Interrupt)
        return Wish::Interrupt;
    if (key.kind == KeyPress::Other)
        return Wish::Nothing;
    if (m_mode == Mode::Confirm)
        return pressInConfirm(key);
    if (m_mode == Mode::Filter)
        pressInFilter(key);
    else if (m_mode == Mode::Value)
        pressInValue(key);
    else if (m_mode == Mode::Help)
        m_mode = Mode::Table;
    else
        return pressInTable(key, page);
    return Wish::Nothing;
}

WatchControl::Wish WatchControl::pressInTable(const KeyPress& key, int page)
{
    const QString text = key.kind == KeyPress::Character ? key.text : QString();
    const bool isWriting = m_mode == Mode::Writing;
    if (!isWriting)
        m_message = {};
    if (text == QLatin1String("q") || text == QLatin1String("Q"))
        return Wish::Quit;
    if (text == QLatin1String("p") || text == QLatin1String("P") || text == QLatin1String(" "))
        return Wish::Pause;
    if (text == QLatin1String("r"))
        m_state.resetExtremes();
    else if (text == QLatin1String("x") || text == QLatin1String("X"))
        toggleHex(text == QLatin1String("X"));
    else if (isWriting || text.isEmpty())
        select(key, page);
    else if (text == QLatin1String("w"))
        beginWrite();
    else if (text == QLatin1String("/"))
        askForFilter();
    else if (text == QLatin1String("?"))
        m_mode = Mode::Help;
    return Wish::Nothing;
}

void WatchControl::select(const KeyPress& key, int page)
{
    const int last = m_rows.size() - 1;
    int row = m_selected;
    if (key.kind == KeyPress::Up || key.kind == KeyPress::Down)
        row += key.kind == KeyPress::Up ? -1 : 1;
    else if (key.kind == KeyPress::PageUp || key.kind == KeyPress::PageDown)
        row += key.kind == KeyPress::PageUp ? -page : page;
    else if (key.kind == KeyPress::Home || key.kind == KeyPress::End)
        row = key.kind == KeyPress::Home ? 0 : last;
    m_selected = std::max(std::min(row, last), 0);
}

/// Changes the text with the key. Returns false if the key does something else.
bool WatchControl::type(const KeyPress& key, QString& text)
{
    if (key.kind == KeyPress::Character)
        text += key.text;
    else if (key.kind == KeyPress::Backspace)
        text.chop(1);
    else
        return false;
    return true;
}

void WatchControl::pressInFilter(const KeyPress& key)
{
    const bool isOver = key.kind == KeyPress::Escape || key.kind == KeyPress::Enter;
    if (key.kind == KeyPress::Escape)
        m_filter.clear();
    if (type(key, m_filter) || isOver)
        applyFilter();
    if (!isOver) {
        askForFilter();
        return;
    }
    m_mode = Mode::Table;
    m_message = {};
}

void WatchControl::askForFilter()
{
    m_mode = Mode::Filter;
    m_message = {QStringLiteral("show rows with (Enter keeps it, Esc shows all): %1_").arg(m_filter), {}};
}

/// The selected row stays selected if it is still there.
void WatchControl::applyFilter()
{
    const int before = m_rows.value(m_selected);
    m_rows.clear();
    for (int i = 0; i < static_cast<int>(m_state.elements().size()); ++i) {
        const WatchedElement& element = m_state.elements()[static_cast<std::size_t>(i)];
        const Item& item = m_state.items().at(element.item);
        if (element.name.contains(m_filter, Qt::CaseInsensitive) ||
            item.signal.address.contains(m_filter, Qt::CaseInsensitive))
            m_rows += i;
    }
    m_selected = std::max(m_rows.indexOf(before), 0);
}

void WatchControl::toggleHex(bool all)
{
    if (m_rows.isEmpty())
        return;
    const bool isHex = !element().isHex;
    for (const int row : all ? m_rows : QVector<int>{m_rows.at(m_selected)})
        m_state.setHex(row, isHex);
}

void WatchControl::beginWrite()
{
    if (m_rows.isEmpty())
        return;
    m_item = m_state.items().at(element().item).element(element().index);
    m_name = element().name;
    m_entry.clear();
    if (!m_item) {
        m_message.problem = QStringLiteral("%1 has no address of its own that could be written").arg(m_name);
        return;
    }
    if (m_item->notation == Notation::Hex)
        m_item->notation.reset();    // x must not change what the digits of an answer mean
    m_item->signal.decimals.reset(); // the question shows what will be written, not rounded
    m_mode = Mode::Value;
    ask(QString());
}

/// Shows what has been typed, and what was wrong with it. Where the row shows hexadecimal digits, says that
/// those of a number to write are decimal.
void WatchControl::ask(const QString& problem)
{
    QString in = m_item->notation ? QString() : m_item->signal.unit;
    if (element().isHex && m_item->type().kind != SignalType::String)
        in = in.isEmpty() ? QStringLiteral("decimal") : QStringLiteral("decimal ") + in;
    m_message = {QStringLiteral("new value for %1%2 (Enter takes it, Esc ends): %3_")
                     .arg(m_name, in.isEmpty() ? QString() : QStringLiteral(" in ") + in, m_entry),
                 problem};
}

void WatchControl::pressInValue(const KeyPress& key)
{
    if (type(key, m_entry)) {
        ask(QString());
    } else if (key.kind == KeyPress::Enter && !m_entry.isEmpty()) {
        takeValue();
    } else if (key.kind == KeyPress::Escape || key.kind == KeyPress::Enter) {
        m_mode = Mode::Table;
        m_message.text = QStringLiteral("nothing was written");
    }
}

void WatchControl::takeValue()
{
    QString error;
    const auto data = encodeValues(*m_item, {m_entry}, error);
    if (!data) {
        ask(error);
        return;
    }
    m_data = data->bytes;
    m_item->notation = data->notation;
    m_mode = Mode::Confirm;
    const QString where =
        m_name == m_item->signal.address ? QString() : QStringLiteral(" (%1)").arg(m_item->signal.address);
    m_message = {QStringLiteral("write %1 to %2%3? y writes, any other key does not")
                     .arg(writtenText(), m_name, where),
                 QString()};
}

QString WatchControl::writtenText() const
{
    return withUnit(*m_item, valueTexts(*m_item, m_data).join(QLatin1Char(' ')));
}

WatchControl::Wish WatchControl::pressInConfirm(const KeyPress& key)
{
    const bool isYes = key.kind == KeyPress::Character && key.text.toLower() == QLatin1String("y");
    m_mode = isYes ? Mode::Writing : Mode::Table;
    m_message.text = isYes ? QStringLiteral("writing %1 to %2 ...").arg(writtenText(), m_name)
                           : QStringLiteral("nothing was written");
    return isYes ? Wish::Write : Wish::Nothing;
}

void WatchControl::finishWrite(const CommandOutcome& outcome)
{
    m_mode = Mode::Table;
    m_message.text = outcome.done()
                         ? QStringLiteral("%1 is written to %2 and read back").arg(writtenText(), m_name)
                         : QString();
    m_message.problem = outcome.error;
}
