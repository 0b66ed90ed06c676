#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Texts that can neither break a line up nor steer a terminal.
namespace zemb {

// Two hexadecimal digits, in capitals, behind what strOut holds.
inline void AppendHex(char cText, std::string& strOut) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    const auto nByte = static_cast<unsigned char>(cText);
    strOut.push_back(DIGITS[nByte >> 4]);
    strOut.push_back(DIGITS[nByte & 0xF]);
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
        if ((Octet(i) & 0xC0) != 0x80)
            return 0;
    // Neither longer than needed, nor half of a pair, nor beyond the last character.
    const bool bBad =
        nSize > 2 && ((nLead == 0xE0 && Octet(1) < 0xA0) || (nLead == 0xED && Octet(1) > 0x9F) ||
                      (nLead == 0xF0 && Octet(1) < 0x90) || (nLead == 0xF4 && Octet(1) > 0x8F));
    return bBad ? 0 : nSize;
}

// Octets of the control character that a text, which is not empty, begins with: 1, or 2 for one of
// U+0080 to U+009F in UTF-8. A lone octet of 0x80 to 0x9F is one too, as terminals that know no
// UTF-8 obey it. 0: it begins with something else.
inline std::size_t ControlSize(std::string_view strText) {
    const auto nLead = static_cast<unsigned char>(strText[0]);
    if (nLead < 0x20 || (nLead >= 0x7F && nLead < 0xA0))
        return 1;
    return nLead == 0xC2 && Utf8Size(strText) == 2 && static_cast<unsigned char>(strText[1]) < 0xA0
               ? 2
               : 0;
}

// "\\", "\n", "\r", else such as "\x07".
inline void AppendEscape(char cText, std::string& strOut) {
    strOut.push_back('\\');
    switch (cText) {
        case '\\': strOut.push_back('\\'); break;
        case '\n': strOut.push_back('n'); break;
        case '\r': strOut.push_back('r'); break;
        default: strOut.push_back('x'); AppendHex(cText, strOut);
    }
}

// A text with escapes for its backslashes and, octet by octet, its control characters, but not for
// those in strKept.
inline void AppendEscaped(std::string_view strText, std::string_view strKept, std::string& strOut) {
    std::size_t nPlain = 0;  // what begins here stays as it is
    for (std::size_t i = 0; i < strText.size();) {
        const char c = strText[i];
        if (c >= ' ' && c < 0x7F && c != '\\') {
            ++i;
            continue;
        }
        const std::string_view strRest = strText.substr(i);
        std::size_t nEscapes = c == '\\' ? 1 : ControlSize(strRest);
        if (nEscapes == 0 || strKept.find(c) != std::string_view::npos) {
            const std::size_t nSize = Utf8Size(strRest);
            i += nSize == 0 ? 1 : nSize;
            continue;
        }
        strOut.append(strText, nPlain, i - nPlain);
        for (; nEscapes > 0; --nEscapes)
            AppendEscape(strText[i++], strOut);
        nPlain = i;
    }
    strOut.append(strText, nPlain);
}

}  // namespace zemb
