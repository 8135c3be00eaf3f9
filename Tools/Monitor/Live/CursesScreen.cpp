// CursesScreen.cpp - the screen by ncurses. NoScreen.cpp takes its place where that is missing.

#include "Tools/Monitor/Live/Screen.h"

#include <algorithm>
#include <cstdlib>
#include <curses.h>
#include <sys/ioctl.h>
#include <termcap.h>
#include <unistd.h>

namespace Monitor {
namespace {

class CursesScreen final : public IScreen
{
public:
    CursesScreen(SCREEN* screen, bool isColoured);
    CursesScreen(const CursesScreen&) = delete;
    CursesScreen& operator=(const CursesScreen&) = delete;
    ~CursesScreen() override
    {
        endwin();
        delscreen(mScreen);
    }

    void TakeSize(std::size_t& rows, std::size_t& columns) override;
    void Paint(const Picture& picture) override;
    std::optional<Key> ReadKey() override;

private:
    chtype GetAttributes(Style style) const;

    SCREEN* const mScreen;
    const bool mIsColoured;
};

CursesScreen::CursesScreen(SCREEN* screen, bool isColoured)
    : mScreen(screen)
    , mIsColoured(isColoured && has_colors())
{
    constexpr int kEscapeMilliseconds = 25;
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(kEscapeMilliseconds);
    curs_set(0);
    if (mIsColoured) {
        start_color();
        use_default_colors();
        // The number of a pair is that of its colour.
        for (const int colour : {COLOR_RED, COLOR_GREEN, COLOR_YELLOW}) {
            init_pair(static_cast<short>(colour), static_cast<short>(colour), -1);
        }
    }
}

chtype CursesScreen::GetAttributes(Style style) const
{
    const auto getColour = [this](int colour) -> chtype {
        return mIsColoured ? static_cast<chtype>(COLOR_PAIR(colour)) : A_NORMAL;
    };
    switch (style) {
    case Style::kPlain:
        return A_NORMAL;
    case Style::kTitle:
        return A_REVERSE;
    case Style::kStrong:
        return A_BOLD;
    case Style::kFaint:
        return A_DIM;
    case Style::kGood:
        return getColour(COLOR_GREEN);
    case Style::kWarning:
        return getColour(COLOR_YELLOW);
    case Style::kBad:
        return A_BOLD | getColour(COLOR_RED);
    }
    return A_NORMAL;
}

void CursesScreen::TakeSize(std::size_t& rows, std::size_t& columns)
{
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        resizeterm(size.ws_row, size.ws_col);
    }
    rows = static_cast<std::size_t>(std::max(LINES, 1));
    columns = static_cast<std::size_t>(std::max(COLS, 1));
}

void CursesScreen::Paint(const Picture& picture)
{
    erase();
    int row = 0;
    for (const Line& line : picture.lines) {
        int column = 0;
        for (const Cell& cell : line) {
            mvaddch(row, column++,
                    static_cast<chtype>(static_cast<unsigned char>(cell.character)) |
                        GetAttributes(cell.style));
        }
        ++row;
    }
    refresh();
}

std::optional<Key> CursesScreen::ReadKey()
{
    for (;;) {
        const int code = getch();
        switch (code) {
        case ERR:
            return std::nullopt;
        case '\n':
        case '\r':
        case KEY_ENTER:
            return Key{Key::Kind::kEnter};
        case '\x1B':
            return Key{Key::Kind::kEscape};
        case '\b':
        case '\x7F':
        case KEY_BACKSPACE:
            return Key{Key::Kind::kBackspace};
        case KEY_UP:
            return Key{Key::Kind::kUp};
        case KEY_DOWN:
            return Key{Key::Kind::kDown};
        case KEY_PPAGE:
            return Key{Key::Kind::kPageUp};
        case KEY_NPAGE:
            return Key{Key::Kind::kPageDown};
        default:
            if (code >= ' ' && code <= '~') {
                return Key{Key::Kind::kCharacter, static_cast<char>(code)};
            }
        }
    }
}

} // namespace

std::string DescribeScreenFault()
{
    if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1) {
        return "--live needs a terminal; with --once it prints its picture as text";
    }
    // <term.h>, which asks the same in another way, has macros for words such as "columns".
    const char* const terminal = std::getenv("TERM");
    char cursorMotion[] = "cm";
    if (terminal == nullptr || tgetent(nullptr, terminal) != 1 ||
        tgetstr(cursorMotion, nullptr) == nullptr) {
        return "--live needs a terminal whose cursor can be placed; TERM names none";
    }
    return "";
}

std::unique_ptr<IScreen> OpenScreen(bool isColoured)
{
    SCREEN* const screen = newterm(nullptr, stdout, stdin);
    return screen != nullptr ? std::make_unique<CursesScreen>(screen, isColoured) : nullptr;
}

} // namespace Monitor
