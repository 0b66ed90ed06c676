#pragma once

#include <string.h>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace NSTN_util {

// The first place of strPiece in strText from nFrom on, or npos. Linear for any piece, which
// string_view::find is not.
inline std::size_t FindText(std::string_view strText, std::string_view strPiece,
                            std::size_t nFrom) {
    constexpr int TRIES = 64;  // after so many places where only the first character fits
    if (nFrom > strText.size() || strPiece.size() > strText.size() - nFrom)
        return std::string_view::npos;
    if (strPiece.empty())
        return nFrom;
    const char* const pText = strText.data();
    const char* p = pText + nFrom;
    const char* const pLast = pText + (strText.size() - strPiece.size());
    for (int nTry = 0; nTry < TRIES; ++nTry, ++p) {
        if (p > pLast)
            return std::string_view::npos;
        if (*p != strPiece.front())
            p = static_cast<const char*>(
                std::memchr(p, strPiece.front(), static_cast<std::size_t>(pLast - p) + 1));
        if (p == nullptr)
            return std::string_view::npos;
        if (strPiece.size() == 1 ||
            std::memcmp(p + 1, strPiece.data() + 1, strPiece.size() - 1) == 0)
            return static_cast<std::size_t>(p - pText);
    }
    p = static_cast<const char*>(memmem(p, static_cast<std::size_t>(pText + strText.size() - p),
                                        strPiece.data(), strPiece.size()));
    return p == nullptr ? std::string_view::npos : static_cast<std::size_t>(p - pText);
}

}  // namespace NSTN_util
