#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>

namespace NSTE_util {

// "No operation" in a search for the lowest: above every operation number.
constexpr std::int64_t NO_OPER = std::numeric_limits<std::int64_t>::max();

// A set of operation numbers, kept as its runs: a million neighbours cost as much as one number.
class OperSpans {
public:
    // Throws std::bad_alloc with nothing changed.
    void Add(int nFirst, int nLast) {
        auto it = m_mapLast.upper_bound(nFirst);
        if (it != m_mapLast.begin() && std::int64_t{std::prev(it)->second} + 1 >= nFirst)
            --it;
        else
            it = m_mapLast.emplace_hint(it, nFirst, nLast);
        std::int64_t nEnd = it->second < nLast ? nLast : it->second;
        for (auto itNext = std::next(it); itNext != m_mapLast.end() && itNext->first <= nEnd + 1;
             itNext = m_mapLast.erase(itNext))
            if (itNext->second > nEnd)
                nEnd = itNext->second;
        it->second = static_cast<int>(nEnd);
    }

    bool IsEmpty() const { return m_mapLast.empty(); }
    bool Contains(int nOper) const { return !IsEmpty() && NextFrom(nOper) == nOper; }

    // The lowest number of the set that is not below nOper.
    std::int64_t NextFrom(int nOper) const {
        const auto it = m_mapLast.upper_bound(nOper);
        if (it != m_mapLast.begin() && std::prev(it)->second >= nOper)
            return nOper;
        return it == m_mapLast.end() ? NO_OPER : it->first;
    }

    // First and last of each run, ascending; no two touch.
    const std::map<int, int>& Runs() const { return m_mapLast; }

private:
    std::map<int, int> m_mapLast;
};

}  // namespace NSTE_util
