#include "console/top_screen.h"

#include "view/output.h"

#include <curses.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <clocale>
#include <csignal>
#include <cstdio>

// Draws lines on the terminal and reads keys. What ends the program by a signal is only noted, so
// that the one owner of the screen gives the terminal back on every way out.
namespace host {

namespace {

constexpr std::array END_SIGNALS = {SIGINT, SIGTERM, SIGHUP};
constexpr int WAIT_MILLISECONDS = 1000;
constexpr int ESCAPE_MILLISECONDS = 25;

volatile std::sig_atomic_t g_nEnd = 0;
std::array<struct sigaction, END_SIGNALS.size()> g_arrBefore;

void NoteEnd(int /*nSignal*/) {
    g_nEnd = 1;
}

void TakeSignals() {
    g_nEnd = 0;
    struct sigaction action {};
    action.sa_handler = NoteEnd;  // without SA_RESTART: a wait ends at once
    for (std::size_t i = 0; i < END_SIGNALS.size(); ++i)
        sigaction(END_SIGNALS[i], &action, &g_arrBefore[i]);
}

void GiveSignalsBack() {
    for (std::size_t i = 0; i < END_SIGNALS.size(); ++i)
        sigaction(END_SIGNALS[i], &g_arrBefore[i], nullptr);
}

TopKey KeyOf(int nKey) {
    if (nKey >= '0' && nKey <= '9')
        return {ETopKey::DIGIT, static_cast<char>(nKey)};
    switch (nKey) {
        case 'q': return {ETopKey::QUIT};
        case 's': return {ETopKey::SORT};
        case 'f': return {ETopKey::FILTER};
        case 'p': return {ETopKey::PAUSE};
        case 'h':
        case '?': return {ETopKey::HELP};
        case '\t': return {ETopKey::NEXT};
        case '\r':
        case '\n':
        case KEY_ENTER: return {ETopKey::OPEN};
        case KEY_UP: return {ETopKey::UP};
        case KEY_DOWN: return {ETopKey::DOWN};
        case KEY_BACKSPACE:
        case '\b':
        case 127: return {ETopKey::ERASE};
        default: return {ETopKey::OTHER};
    }
}

}  // namespace

TopScreen::TopScreen() {
    if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1)
        throw CommandError(WRONG_USAGE, "top: needs a terminal; --once prints one frame");
    std::setlocale(LC_CTYPE, "");
    TakeSignals();  // before the screen, which leaves them alone then
    if (newterm(nullptr, stdout, stdin) == nullptr) {
        GiveSignalsBack();
        throw CommandError(SYSTEM_FAILED,
                           "top: the terminal is of no known kind; --once prints one frame");
    }
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(ESCAPE_MILLISECONDS);
    curs_set(0);
}

TopScreen::~TopScreen() {
    endwin();
    delscreen(set_term(nullptr));
    GiveSignalsBack();
}

std::size_t TopScreen::Width() const {
    return static_cast<std::size_t>(getmaxx(stdscr));
}

std::size_t TopScreen::Height() const {
    return static_cast<std::size_t>(getmaxy(stdscr));
}

void TopScreen::Draw(const std::vector<TopLine>& vecLine, const std::string& strBottom) const {
    erase();
    int nLine = 0;
    const auto Put = [&](const std::string& strText, attr_t nAttribute) {
        attrset(static_cast<int>(nAttribute));
        mvaddstr(nLine++, 0, Fitted(strText, Width()).c_str());
    };
    for (const TopLine& line : vecLine)
        if (static_cast<std::size_t>(nLine) + 1 < Height())
            Put(line.strText, line.eKind == ETopLine::HEADING  ? A_BOLD
                              : line.eKind == ETopLine::CHOSEN ? A_REVERSE
                                                               : A_NORMAL);
    nLine = static_cast<int>(Height()) - 1;
    Put(strBottom, A_BOLD);
    refresh();
}

TopKey TopScreen::NextKey() const {
    if (const int nKey = getch(); nKey != ERR)
        return KeyOf(nKey);
    pollfd input{STDIN_FILENO, POLLIN, 0};
    poll(&input, 1, WAIT_MILLISECONDS);
    if (g_nEnd != 0 || (input.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0)
        return {ETopKey::QUIT};
    const int nKey = getch();
    return nKey == ERR ? TopKey{} : KeyOf(nKey);
}

}  // namespace host
