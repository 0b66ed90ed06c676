#include "trace/held_lines.h"

#include "trace/trace_line.h"

#include <utility>

namespace NSTN_util {

namespace {

thread_local HeldLines* t_pHeld = nullptr;

}  // namespace

HeldLines::HeldLines() noexcept : m_pOuter(std::exchange(t_pHeld, this)) {}

HeldLines::~HeldLines() {
    t_pHeld = m_pOuter;
    for (std::optional<std::string>& strLine : m_vecLine)
        GuardedCall([&] { strLine ? WriteLine(std::move(*strLine)) : ReportException(); });
}

bool HeldLines::Take(std::optional<std::string> strLine) {
    if (t_pHeld == nullptr)
        return false;
    t_pHeld->m_vecLine.push_back(std::move(strLine));
    return true;
}

void WriteLine(std::string strLine) {
    // Asked first, as the line is gone when it was taken.
    if (t_pHeld != nullptr)
        HeldLines::Take(std::move(strLine));
    else
        TNTrace2LogFile(MODULE_NAME, LEVEL_ORDINARY, strLine);
}

}  // namespace NSTN_util
