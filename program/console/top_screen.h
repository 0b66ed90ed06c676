#pragma once

#include "view/top_frame.h"

#include <string>
#include <vector>

namespace host {

// NONE: no key came.
enum class ETopKey {
    NONE,
    OTHER,
    QUIT,
    SORT,
    FILTER,
    PAUSE,
    HELP,
    UP,
    DOWN,
    NEXT,
    OPEN,
    ERASE,
    DIGIT
};

struct TopKey {
    ETopKey eKey = ETopKey::NONE;
    char cDigit = '0';
};

// The terminal as a full screen, for as long as it lives; then it is as it was before. One at a
// time.
class TopScreen {
public:
    TopScreen();  // throws CommandError when there is no terminal that can do it
    ~TopScreen();
    TopScreen(const TopScreen&) = delete;
    TopScreen& operator=(const TopScreen&) = delete;

    // How many columns and lines there are now.
    std::size_t Width() const;
    std::size_t Height() const;

    // The last line of the screen is strBottom.
    void Draw(const std::vector<TopLine>& vecLine, const std::string& strBottom) const;

    // Waits for a key for at most a second. QUIT, too, when Ctrl-C or another signal wants the
    // program to end, and when the terminal has gone.
    TopKey NextKey() const;
};

}  // namespace host
