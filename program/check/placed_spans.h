#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>

namespace host {

// Numbers, each with the number of the place that named it first, kept as spans: a million
// neighbours that one line names cost as much as one number.
class PlacedSpans {
public:
    struct Span {
        int nLast;
        std::size_t nPlace;
    };

    // Takes in the numbers from nFirst to nLast that are not there yet.
    void AddMissing(int nFirst, int nLast, std::size_t nPlace) {
        std::int64_t nNext = nFirst;  // all below is there
        int nRun = nFirst;
        auto it = m_mapRun.upper_bound(nFirst);
        if (it != m_mapRun.begin() && std::int64_t{std::prev(it)->second} + 1 >= nFirst)
            --it;
        while (it != m_mapRun.end() && it->first <= std::int64_t{nLast} + 1) {
            if (nNext < it->first)
                m_mapSpan[static_cast<int>(nNext)] = {it->first - 1, nPlace};
            nNext = std::max(nNext, std::int64_t{it->second} + 1);
            nRun = std::min(nRun, it->first);
            it = m_mapRun.erase(it);
        }
        if (nNext <= nLast)
            m_mapSpan[static_cast<int>(nNext)] = {nLast, nPlace};
        m_mapRun[nRun] = static_cast<int>(std::max(nNext - 1, std::int64_t{nLast}));
    }

    // The place of a number; null when it is not there.
    const std::size_t* PlaceOf(int nNumber) const {
        const auto it = m_mapSpan.upper_bound(nNumber);
        if (it == m_mapSpan.begin() || std::prev(it)->second.nLast < nNumber)
            return nullptr;
        return &std::prev(it)->second.nPlace;
    }

    // By the first number of each, ascending.
    const std::map<int, Span>& Spans() const { return m_mapSpan; }
    // First and last of each run, whatever the places; no two touch.
    const std::map<int, int>& Runs() const { return m_mapRun; }

private:
    std::map<int, Span> m_mapSpan;
    std::map<int, int> m_mapRun;
};

}  // namespace host
