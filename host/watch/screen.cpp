#include "watch/screen.h"

#include "session/interrupt.h"
#include "text/shown.h"

#include <clocale>
#include <csignal>
#include <cstring>
#include <langinfo.h>
#include <termios.h>
#include <unistd.h>

#define NCURSES_NOMACROS 1
#define NCURSES_WIDECHAR 1
#include <curses.h>

namespace {

enum ColourPair : short
{
    TrendPair = 1,
    GoodPair,
    BadPair,
    ChangedPair
};

constexpr int controlC = 3;
constexpr int controlZ = 26;
constexpr int escape = 27;
constexpr int rubout = 127;
constexpr int escapePatience = 50; ///< milliseconds until it is known to be the key and no sequence

bool coloursAllowed()
{
    const char* const noColour = std::getenv("NO_COLOR");
    return !noColour || *noColour == '\0';
}

bool startColours()
{
    if (!coloursAllowed() || !has_colors() || start_color() == ERR || use_default_colors() == ERR)
        return false;
    init_pair(TrendPair, COLOR_CYAN, -1);
    init_pair(GoodPair, COLOR_GREEN, -1);
    init_pair(BadPair, COLOR_RED, -1);
    init_pair(ChangedPair, COLOR_MAGENTA, -1); // to be seen on black and on white
    return true;
}

attr_t attributesOf(ScreenStyle style)
{
    switch (style) {
    case ScreenStyle::Title:
    case ScreenStyle::Selected:
        return A_REVERSE;
    case ScreenStyle::Heading:
    case ScreenStyle::Changed:
    case ScreenStyle::Bad:
        return A_BOLD;
    case ScreenStyle::Quiet:
        return A_DIM;
    case ScreenStyle::Plain:
    case ScreenStyle::Trend:
    case ScreenStyle::Good:
        break;
    }
    return A_NORMAL;
}

short colourOf(ScreenStyle style)
{
    switch (style) {
    case ScreenStyle::Changed:
        return ChangedPair;
    case ScreenStyle::Trend:
        return TrendPair;
    case ScreenStyle::Good:
        return GoodPair;
    case ScreenStyle::Bad:
        return BadPair;
    default:
        return 0;
    }
}

KeyPress::Kind kindOf(wint_t code)
{
    switch (code) {
    case KEY_UP:
        return KeyPress::Up;
    case KEY_DOWN:
        return KeyPress::Down;
    case KEY_PPAGE:
        return KeyPress::PageUp;
    case KEY_NPAGE:
        return KeyPress::PageDown;
    case KEY_HOME:
        return KeyPress::Home;
    case KEY_END:
        return KeyPress::End;
    case KEY_BACKSPACE:
        return KeyPress::Backspace;
    case KEY_ENTER:
        return KeyPress::Enter;
    default:
        return KeyPress::Other;
    }
}

KeyPress pressOf(wint_t character)
{
    const uint code = character;
    switch (code) {
    case controlC:
        return {KeyPress::Interrupt, QString()};
    case '\n':
    case '\r':
        return {KeyPress::Enter, QString()};
    case escape:
        return {KeyPress::Escape, QString()};
    case '\b':
    case rubout:
        return {KeyPress::Backspace, QString()};
    default:
        break;
    }
    const QString text = QString::fromUcs4(&code, 1);
    return mayBeShown(text.at(0)) ? KeyPress{KeyPress::Character, text} : KeyPress();
}

// For the signals that end the program without destroying anything. Set before they can come.
termios terminalBefore;
char leaveScreen[128];

void restoreTerminal()
{
    const ssize_t ignored = ::write(STDOUT_FILENO, leaveScreen, std::strlen(leaveScreen));
    static_cast<void>(ignored);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &terminalBefore);
}

void restoreAtDeath()
{
    for (const char* const name : {"sgr0", "cnorm", "rmcup"}) {
        const char* const sequence = tigetstr(name);
        if (sequence)
            std::strncat(leaveScreen, sequence, sizeof leaveScreen - std::strlen(leaveScreen) - 1);
    }
    interrupt::beforeDeath(restoreTerminal);
}

} // namespace

bool Screen::isPossible()
{
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
}

std::unique_ptr<Screen> Screen::open()
{
    std::setlocale(LC_CTYPE, "");
    ::tcgetattr(STDIN_FILENO, &terminalBefore);
    SCREEN* const terminal = newterm(nullptr, stdout, stdin);
    if (!terminal)
        return nullptr;
    std::unique_ptr<Screen> screen(new Screen(terminal));
    if (!tigetstr("cup"))
        return nullptr;
    return screen;
}

Screen::Screen(void* terminal)
    : m_terminal(terminal),
      m_symbols(std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0 ? TrendSymbols::Blocks : TrendSymbols::Ascii),
      m_hasColours(startColours())
{
    raw(); // Ctrl-C is a key, so that the terminal is restored before the program ends
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    curs_set(0);
    set_escdelay(escapePatience);
    restoreAtDeath();
}

Screen::~Screen()
{
    endwin();
    interrupt::beforeDeath(nullptr);
    delscreen(static_cast<SCREEN*>(m_terminal));
}

ScreenSize Screen::size() const
{
    return {getmaxx(stdscr), getmaxy(stdscr)};
}

void Screen::draw(const QVector<ScreenLine>& lines)
{
    werase(stdscr);
    for (int y = 0; y < lines.size(); ++y) {
        wmove(stdscr, y, 0);
        for (const ScreenSpan& span : lines.at(y)) {
            wattr_set(stdscr, attributesOf(span.style), m_hasColours ? colourOf(span.style) : short(0),
                      nullptr);
            waddwstr(stdscr, span.text.toStdWString().c_str());
        }
    }
    wattr_set(stdscr, A_NORMAL, 0, nullptr);
    wrefresh(stdscr);
}

std::optional<KeyPress> Screen::key()
{
    wint_t code = 0;
    const int status = wget_wch(stdscr, &code);
    if (status == ERR)
        return std::nullopt;
    if (status == OK && code == controlZ)
        ::raise(SIGTSTP); // the library restores the terminal until the program continues
    return status == KEY_CODE_YES ? KeyPress{kindOf(code), QString()} : pressOf(code);
}
