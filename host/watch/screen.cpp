#include "watch/screen.h"

#include <clocale>
#include <csignal>
#include <cstring>
#include <langinfo.h>
#include <unistd.h>

#define NCURSES_NOMACROS 1
#define NCURSES_WIDECHAR 1
#include <curses.h>

namespace {

enum ColourPair : short
{
    TrendPair = 1,
    GoodPair,
    BadPair
};

constexpr int controlC = 3;
constexpr int controlZ = 26;

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
    return true;
}

attr_t attributesOf(ScreenStyle style)
{
    switch (style) {
    case ScreenStyle::Title:
        return A_REVERSE;
    case ScreenStyle::Heading:
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

ScreenKey meaningOf(int code)
{
    switch (code) {
    case 'q':
    case 'Q':
        return ScreenKey::Quit;
    case controlC:
        return ScreenKey::Interrupt;
    case 'p':
    case 'P':
    case ' ':
        return ScreenKey::Pause;
    case KEY_UP:
        return ScreenKey::Up;
    case KEY_DOWN:
        return ScreenKey::Down;
    case KEY_PPAGE:
        return ScreenKey::PageUp;
    case KEY_NPAGE:
        return ScreenKey::PageDown;
    case KEY_HOME:
        return ScreenKey::Home;
    case KEY_END:
        return ScreenKey::End;
    default:
        return ScreenKey::Other;
    }
}

} // namespace

bool Screen::isPossible()
{
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
}

std::unique_ptr<Screen> Screen::open()
{
    std::setlocale(LC_CTYPE, "");
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
}

Screen::~Screen()
{
    endwin();
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

std::optional<ScreenKey> Screen::key()
{
    const int code = wgetch(stdscr);
    if (code == ERR)
        return std::nullopt;
    if (code == controlZ)
        ::raise(SIGTSTP); // the library restores the terminal until the program continues
    return meaningOf(code);
}
