#pragma once

#include <string>

namespace host {

// One line on standard error that always shows the last text; nothing where that is no terminal.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine();  // wipes it
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool IsShown() const { return m_bTerminal; }
    void Show(const std::string& strText) const;

private:
    const bool m_bTerminal;
};

}  // namespace host
