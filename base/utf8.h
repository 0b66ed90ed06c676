#pragma once

#include <cstddef>
#include <string_view>

namespace base {

// Whether an octet stands within a character of UTF-8, and not at its beginning.
constexpr bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Octets of the UTF-8 character that a text, which is not empty, begins with; 0: it is none.
inline std::size_t Utf8Size(std::string_view strText) {
    const auto Octet = [&](std::size_t n) { return static_cast<unsigned char>(strText[n]); };
    const unsigned nLead = Octet(0);
    const std::size_t nSize = nLead < 0x80                    ? 1
                              : nLead >= 0xC2 && nLead < 0xE0 ? 2
                              : nLead >= 0xE0 && nLead < 0xF0 ? 3
                              : nLead >= 0xF0 && nLead < 0xF5 ? 4
                                                              : 0;
    if (nSize > strText.size())
        return 0;
    for (std::size_t i = 1; i < nSize; ++i)
        if (!IsContinuation(strText[i]))
            return 0;
    // Neither longer than needed, nor half of a pair, nor beyond the last character.
    const bool bBad =
        nSize > 2 && ((nLead == 0xE0 && Octet(1) < 0xA0) || (nLead == 0xED && Octet(1) > 0x9F) ||
                      (nLead == 0xF0 && Octet(1) < 0x90) || (nLead == 0xF4 && Octet(1) > 0x8F));
    return bBad ? 0 : nSize;
}

}  // namespace base
