#include "view/progress_line.h"

#include <unistd.h>

#include <iostream>

namespace host {

namespace {
constexpr const char* WIPE = "\r\033[K";
}

ProgressLine::ProgressLine() : m_bTerminal(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
    Show("");
}

void ProgressLine::Show(const std::string& strText) const {
    if (m_bTerminal)
        std::cerr << WIPE << strText << std::flush;
}

}  // namespace host
