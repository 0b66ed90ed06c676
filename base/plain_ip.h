#pragma once

#include <cstdint>
#include <string_view>

namespace base {

// Reads an address of four decimal numbers of one to three digits below 256, and nothing else; the
// first one becomes the highest byte. False leaves ip alone.
inline bool ReadPlainIp(std::string_view strText, std::uint32_t& ip) {
    const char* p = strText.data();
    const char* const pEnd = p + strText.size();
    std::uint32_t nRead = 0;
    for (int i = 0; i < 4; ++i) {
        if (i != 0 && (p == pEnd || *p++ != '.'))
            return false;
        std::uint32_t nOctet = 0;
        int nDigits = 0;
        for (unsigned nDigit; p != pEnd && nDigits < 3 &&
                              (nDigit = static_cast<unsigned char>(*p) - unsigned{'0'}) < 10;
             ++p, ++nDigits)
            nOctet = nOctet * 10 + nDigit;
        if (nDigits == 0 || nOctet > 255)
            return false;
        nRead = nRead << 8 | nOctet;
    }
    if (p != pEnd)
        return false;
    ip = nRead;
    return true;
}

}  // namespace base
