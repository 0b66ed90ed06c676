#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace NSTE_util {

// Operations with a number of objects each, in ascending order.
using OperCounts = std::map<int, std::uint64_t>;

// Adds to and takes from such maps; keeps the last erased entry for the next new one, so that an
// operation that comes and goes costs no memory request.
class OperCounter {
public:
    // The count of nOper, made with 0 when it is not there.
    OperCounts::iterator Entry(OperCounts& mapOper, int nOper) {
        const auto it = mapOper.lower_bound(nOper);
        if (it != mapOper.end() && it->first == nOper)
            return it;
        if (m_spare.empty())
            return mapOper.emplace_hint(it, nOper, 0);
        m_spare.key() = nOper;
        m_spare.mapped() = 0;
        return mapOper.insert(it, std::move(m_spare));
    }

    void Erase(OperCounts& mapOper, OperCounts::iterator it) noexcept {
        m_spare = mapOper.extract(it);
    }

private:
    OperCounts::node_type m_spare;
};

// "No operation yet" in a search for the lowest: above every operation number.
constexpr std::int64_t NO_OPER = std::numeric_limits<std::int64_t>::max();

// One operation at a place and how often; an entry with 0 is not in use.
struct OperEntry {
    int nOper = 0;
    std::uint32_t nCount = 0;
};

// The operations that stand at one place: few, in entries without order, or many, in a map. A view.
class PlaceOpers {
public:
    PlaceOpers() = default;
    PlaceOpers(const OperEntry* pFew, std::size_t nFew) : m_pFew(pFew), m_nFew(nFew) {}
    explicit PlaceOpers(const OperCounts& mapOper) : m_pMany(&mapOper) {}

    bool IsEmpty() const { return m_nFew == 0 && m_pMany == nullptr; }

    // Lowers nBest to the lowest operation here that holds an object, when that is lower.
    void Lowest(std::int64_t& nBest) const {
        for (std::size_t i = 0; i < m_nFew; ++i)
            if (m_pFew[i].nCount != 0 && m_pFew[i].nOper < nBest)
                nBest = m_pFew[i].nOper;
        if (m_pMany == nullptr)
            return;
        for (auto it = m_pMany->begin(); it != m_pMany->end() && it->first < nBest; ++it)
            if (it->second != 0)
                nBest = it->first;
    }

    // The same for operations that are also in setOper. Cost: the smaller of both sets, times the
    // logarithm of the other.
    void LowestIn(const std::set<int>& setOper, std::int64_t& nBest) const {
        if (setOper.empty())
            return;
        for (std::size_t i = 0; i < m_nFew; ++i)
            if (m_pFew[i].nCount != 0 && m_pFew[i].nOper < nBest &&
                setOper.count(m_pFew[i].nOper) != 0)
                nBest = m_pFew[i].nOper;
        if (m_pMany == nullptr)
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
    const OperEntry* m_pFew = nullptr;
    std::size_t m_nFew = 0;
    const OperCounts* m_pMany = nullptr;
};

}  // namespace NSTE_util
