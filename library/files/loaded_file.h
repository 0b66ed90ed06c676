#pragma once

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

namespace NSTN_util {

// Marks the content of a file that is loaded: other content has, but for one case in 2^64 where
// nobody means harm, another mark. A quarter of a nanosecond for each octet.
class ContentMark {
public:
    void Add(std::string_view strPart) noexcept {
        while (strPart.size() >= sizeof(std::uint64_t)) {
            Mix(strPart.data(), sizeof(std::uint64_t));
            strPart.remove_prefix(sizeof(std::uint64_t));
        }
        Mix(strPart.data(), strPart.size());
        m_nMark += strPart.size() + 1;  // where a part ends counts
    }

    // As it is told.
    std::string Text() const {
        char szMark[32];
        std::snprintf(szMark, sizeof szMark, "content %016" PRIx64, m_nMark);
        return szMark;
    }

private:
    void Mix(const char* pOctets, std::size_t nOctets) noexcept {
        std::uint64_t nWord = 0;
        if (nOctets != 0)
            std::memcpy(&nWord, pOctets, nOctets);
        m_nMark = (m_nMark ^ nWord) * 0x9E3779B97F4A7C15ULL;
        m_nMark ^= m_nMark >> 32;
    }

    std::uint64_t m_nMark = 0x632BE59BD9B4E019ULL;
};

// Tells who watches the process that a file was loaded: "table", "timeouts" or "language".
void TellLoaded(const char* szKind, const std::string& strFile, const ContentMark& mark) noexcept;
void TellLoaded(const char* szKind, const std::string& strFile, std::string_view strText) noexcept;

}  // namespace NSTN_util
