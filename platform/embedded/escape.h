#pragma once

namespace zemb {

// Two hexadecimal digits, in capitals, behind what out holds.
template <class Text>
void AppendHex(char cText, Text& out) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    const auto nByte = static_cast<unsigned char>(cText);
    out.push_back(DIGITS[nByte >> 4]);
    out.push_back(DIGITS[nByte & 0xF]);
}

// A character that would break a line up, or be taken for an escape: "\n", "\r", "\\", else "\x07".
template <class Text>
void AppendEscaped(char cText, Text& out) {
    out.push_back('\\');
    switch (cText) {
        case '\\': out.push_back('\\'); break;
        case '\n': out.push_back('n'); break;
        case '\r': out.push_back('r'); break;
        default: out.push_back('x'); AppendHex(cText, out);
    }
}

}  // namespace zemb
