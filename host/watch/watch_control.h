#ifndef WATCH_WATCH_CONTROL_H
#define WATCH_WATCH_CONTROL_H

#include "watch/watch_state.h"

/// A key as the terminal reports it.
struct KeyPress
{
    enum Kind
    {
        Character,
        Enter,
        Escape,
        Backspace,
        Up,
        Down,
        PageUp,
        PageDown,
        Home,
        End,
        Interrupt, ///< Ctrl-C
        Other      ///< any other key, or the window has changed its size
    };

    Kind kind = Other;
    QString text; ///< of a Character
};

/// What is asked for, or what has happened.
struct ScreenMessage
{
    QString text;
    QString problem; ///< what went wrong or was wrong with the answer
};

/// What the person at the screen has chosen: row, filter, notation; and the dialogue that writes a value.
class WatchControl
{
public:
    /// What is left to do after a key.
    enum class Wish
    {
        Nothing,
        Quit,
        Interrupt,
        Pause,
        Write ///< itemToWrite() and dataToWrite(), then finishWrite()
    };

    /// Does not own the state, whose elements stay the same.
    explicit WatchControl(WatchState& state);

    /// Takes a key. page is the number of rows that the table has room for.
    Wish press(const KeyPress& key, int page);

    /// Indexes of the elements that the filter lets through, in their order.
    const QVector<int>& rows() const { return m_rows; }

    /// Index in rows() of the selected row, and of the first one that is shown so that this one is among
    /// them; 0 if there are none.
    int selected() const { return m_selected; }
    int firstRow(int page) const;

    bool showsHelp() const { return m_mode == Mode::Help; }
    const QString& filter() const { return m_filter; }
    const ScreenMessage& message() const { return m_message; }

    const Item& itemToWrite() const { return *m_item; }
    const QByteArray& dataToWrite() const { return m_data; }
    bool isWriting() const { return m_mode == Mode::Writing; }
    void finishWrite(const CommandOutcome& outcome);

private:
    enum class Mode
    {
        Table,
        Help,
        Filter,  ///< typing it
        Value,   ///< typing it
        Confirm, ///< yes or no
        Writing
    };

    Wish pressInTable(const KeyPress& key, int page);
    void pressInFilter(const KeyPress& key);
    void askForFilter();
    void pressInValue(const KeyPress& key);
    Wish pressInConfirm(const KeyPress& key);
    bool type(const KeyPress& key, QString& text);
    void select(const KeyPress& key, int page);
    void applyFilter();
    void toggleHex(bool all);
    void beginWrite();
    void takeValue();
    void ask(const QString& problem);
    QString writtenText() const;
    const WatchedElement& element() const;

    WatchState& m_state;
    QVector<int> m_rows;
    int m_selected = 0;
    mutable int m_first = 0;
    Mode m_mode = Mode::Table;
    QString m_filter;
    ScreenMessage m_message;
    std::optional<Item> m_item; ///< to write: one value
    QString m_name;             ///< of it
    QString m_entry;            ///< the value as typed so far
    QByteArray m_data;
};

#endif
