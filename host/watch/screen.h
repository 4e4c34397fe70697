#ifndef WATCH_SCREEN_H
#define WATCH_SCREEN_H

#include "watch/screen_layout.h"

#include <memory>
#include <optional>

/// The terminal as a screen, from open() until this object is destroyed, which restores the terminal; so does
/// a signal that ends the program, a crash included. One at a time.
///
/// There are no colours if NO_COLOR is set and not empty, or if the terminal has none.
class Screen
{
public:
    /// Whether standard input and output are a terminal that can be used.
    static bool isPossible();

    /// Null if the terminal cannot move its cursor or is unknown.
    static std::unique_ptr<Screen> open();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Block characters if the locale says that the terminal understands UTF-8.
    TrendSymbols symbols() const { return m_symbols; }
    ScreenSize size() const;

    /// Shows these lines and nothing else.
    void draw(const QVector<ScreenLine>& lines);

    /// The next key that was pressed; nothing if there is none. Does not wait.
    std::optional<KeyPress> key();

private:
    explicit Screen(void* terminal);

    void* const m_terminal;
    TrendSymbols m_symbols;
    bool m_hasColours;
};

#endif
