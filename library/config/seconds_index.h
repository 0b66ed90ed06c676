#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace NSTE_util {

// The seconds of each command, never changed once made. An open table in one piece of memory, at
// most half full: a look-up goes to one place and seldom on to the next, without the division and
// the second hop of the standard library's tables.
class SecondsIndex {
public:
    explicit SecondsIndex(const std::map<int, int>& mapSeconds) {
        while (m_nMask + 1 < 2 * mapSeconds.size())
            m_nMask = 2 * m_nMask + 1;
        m_vecPlace.resize(m_nMask + 1);
        for (const auto& [nCmd, nSeconds] : mapSeconds) {
            std::size_t nPlace = FirstPlace(nCmd);
            while (m_vecPlace[nPlace].bTaken)
                nPlace = (nPlace + 1) & m_nMask;
            m_vecPlace[nPlace] = {nCmd, nSeconds, true};
        }
    }

    // nDefault without an entry.
    int Of(int nCmd, int nDefault) const noexcept {
        for (std::size_t n = FirstPlace(nCmd); m_vecPlace[n].bTaken; n = (n + 1) & m_nMask)
            if (m_vecPlace[n].nCmd == nCmd)
                return m_vecPlace[n].nSeconds;
        return nDefault;
    }

private:
    struct Place {
        int nCmd = 0;
        int nSeconds = 0;
        bool bTaken = false;
    };

    // The upper half of a product spreads commands that follow each other, or lie far apart.
    std::size_t FirstPlace(int nCmd) const noexcept {
        constexpr std::uint64_t SPREAD = 0x9E3779B97F4A7C15;
        return static_cast<std::size_t>(static_cast<std::uint32_t>(nCmd) * SPREAD >> 32) & m_nMask;
    }

    std::size_t m_nMask = 1;  // the number of places, a power of two, less one
    std::vector<Place> m_vecPlace;
};

}  // namespace NSTE_util
