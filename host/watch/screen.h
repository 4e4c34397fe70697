#ifndef WATCH_SCREEN_H
#define WATCH_SCREEN_H

#include "watch/screen_layout.h"

#include <memory>
#include <optional>

enum class ScreenKey
{
    Quit,
    Interrupt, ///< Ctrl-C
    Pause,
    Up,
    Down,
    PageUp,
    PageDown,
    Home,
    End,
    Other ///< no key of ours, or the window has another size now
};

/// The terminal as a screen, from open to the end of the object, which gives it back as it was. One at a
/// time.
///
/// Colours are left out when NO_COLOR is set and not empty, or the terminal has none.
class Screen
{
public:
    /// Whether standard input and output are a terminal that may be taken.
    static bool isPossible();

    /// Null when the terminal can not move its cursor, or nothing is known of it.
    static std::unique_ptr<Screen> open();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Block characters where the locale says that the terminal understands UTF-8.
    TrendSymbols symbols() const { return m_symbols; }
    ScreenSize size() const;

    /// Shows these lines and nothing else.
    void draw(const QVector<ScreenLine>& lines);

    /// The next key that was pressed, nothing when there is none. Does not wait.
    std::optional<ScreenKey> key();

private:
    explicit Screen(void* terminal);

    void* const m_terminal;
    TrendSymbols m_symbols;
    bool m_hasColours;
};

#endif
