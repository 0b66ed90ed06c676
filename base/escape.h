#pragma once

#include "base/utf8.h"

#include <cstddef>
#include <string>
#include <string_view>

// Texts that can neither break a line up nor steer a terminal: the logs of the platform and what
// the program shows follow the same rules.
namespace base {

// Two hexadecimal digits, in capitals, behind what strOut holds.
inline void AppendHex(char cText, std::string& strOut) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    const auto nByte = static_cast<unsigned char>(cText);
    strOut.push_back(DIGITS[nByte >> 4]);
    strOut.push_back(DIGITS[nByte & 0xF]);
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

}  // namespace base
