#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <set>

namespace NSTE_util {

// Operations with a number of objects each, in ascending order.
using OperCounts = std::map<int, std::uint64_t>;

// "No operation yet" in a search for the lowest: above every operation number.
constexpr std::int64_t NO_OPER = std::numeric_limits<std::int64_t>::max();

// The operations that stand at one place: none, one (nearly always), or several. A view.
class PlaceOpers {
public:
    PlaceOpers() = default;
    explicit PlaceOpers(int nOper) : m_nOne(nOper) {}
    explicit PlaceOpers(const OperCounts& mapOper) : m_pMany(&mapOper) {}

    // Lowers nBest to the lowest operation here that holds an object, when that is lower.
    void Lowest(std::int64_t& nBest) const {
        if (m_nOne < nBest)
            nBest = m_nOne;
        if (m_pMany == nullptr)
            return;
        for (auto it = m_pMany->begin(); it != m_pMany->end() && it->first < nBest; ++it)
            if (it->second != 0)
                nBest = it->first;
    }

    // The same for operations that are also in setOper. Cost: the smaller of both sets, times the
    // logarithm of the other.
    void LowestIn(const std::set<int>& setOper, std::int64_t& nBest) const {
        if (m_nOne < nBest && setOper.count(static_cast<int>(m_nOne)) != 0)
            nBest = m_nOne;
        if (m_pMany == nullptr || setOper.empty())
            return;
        for (auto it = m_pMany->begin(); it != m_pMany->end() && it->first < nBest;) {
            const auto itSet = setOper.lower_bound(it->first);
            if (itSet == setOper.end())
                return;
            if (*itSet != it->first)
                it = m_pMany->lower_bound(*itSet);
            else if (it->second == 0)
                ++it;
            else
                nBest = it->first;
        }
    }

private:
    std::int64_t m_nOne = NO_OPER;
    const OperCounts* m_pMany = nullptr;
};

}  // namespace NSTE_util
