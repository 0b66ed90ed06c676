#pragma once

#include <optional>
#include <string>
#include <vector>

namespace NSTN_util {

// As long as it lives, what this thread reports (Report, ReportException) is kept; then it is
// written, in its order. It is made before a lock is taken, and so goes after it: whoever takes the
// lines may call back, and wait for a thread that wants the lock.
class HeldLines {
public:
    HeldLines() noexcept;
    ~HeldLines();
    HeldLines(const HeldLines&) = delete;
    HeldLines& operator=(const HeldLines&) = delete;

    // Takes a line, or an exception for no line; false when nothing is held on this thread.
    static bool Take(std::optional<std::string> strLine);

private:
    HeldLines* const m_pOuter;
    std::vector<std::optional<std::string>> m_vecLine;
};

}  // namespace NSTN_util
