#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace host {

// The texts that a converting command works on: its arguments or, for an argument "-", the lines of
// standard input.
class Texts {
public:
    // Names the arguments; strWhat says what one is.
    void Define(CLI::App& app, const std::string& strWhat, bool bRequired = true);

    bool IsEmpty() const { return m_vecText.empty(); }

    // Calls convert with one text after the other. A text it throws CommandError for is reported
    // and the next one taken; the result is the worst status.
    int Each(const std::function<void(const std::string&)>& convert) const;

private:
    const CLI::App* m_pApp = nullptr;  // whose arguments they are
    std::vector<std::string> m_vecText;
};

// IPv4 addresses; CommandError for a text that is none.
std::string AddressText(std::uint32_t nAddress);
std::uint32_t ReadAddress(const std::string& strText);

// Tells on standard error that NE 0 stands for every NE; strWhy says how it came to a 0, or
// nothing.
void WarnOfEveryNe(const std::string& strWhy = "");

// Tells on standard error that not all of a text was taken over: "70000-3 is read as 4464-3".
void WarnOfLoss(const std::string& strText, const std::string& strReadAs);

}  // namespace host
