#pragma once

#include <string.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstddef>
#include <cstring>
#include <string_view>

namespace base {

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

// The first place from nFrom on where cFirst stands with cSecond behind it, or npos. Faster than
// FindText where one character alone is found at every turn.
//
// Fast path: both characters are compared in 32 places at once, wherever the processor can (SSE2,
// each x86-64). The readers of backup texts live by it: the end of a name and its "=" are found
// among 1,000 attributes in a quarter of the time of the best peer (row backup_read of figures.md).
inline std::size_t FindPair(std::string_view strText, char cFirst, char cSecond,
                            std::size_t nFrom) {
    const char* const pText = strText.data();
    std::size_t nAt = nFrom;
#ifdef __SSE2__
    constexpr std::size_t STEP = 16;
    const __m128i firsts = _mm_set1_epi8(cFirst);
    const __m128i seconds = _mm_set1_epi8(cSecond);
    const auto Hits = [&](std::size_t n) {
        const auto Block = [pText](std::size_t nBlock) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pText + nBlock));
        };
        return _mm_and_si128(_mm_cmpeq_epi8(Block(n), firsts),
                             _mm_cmpeq_epi8(Block(n + 1), seconds));
    };
    for (; nAt < strText.size() && strText.size() - nAt > 2 * STEP; nAt += 2 * STEP) {
        const __m128i low = Hits(nAt);
        const __m128i high = Hits(nAt + STEP);
        if (_mm_movemask_epi8(_mm_or_si128(low, high)) == 0)
            continue;
        const auto nMask = static_cast<unsigned>(_mm_movemask_epi8(low)) |
                           static_cast<unsigned>(_mm_movemask_epi8(high)) << STEP;
        return nAt + static_cast<std::size_t>(__builtin_ctz(nMask));
    }
#endif
    for (; nAt + 1 < strText.size(); ++nAt)
        if (pText[nAt] == cFirst && pText[nAt + 1] == cSecond)
            return nAt;
    return std::string_view::npos;
}

}  // namespace base
