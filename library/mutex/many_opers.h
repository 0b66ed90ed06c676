#pragma once

#include "mutex/mutex_table.h"
#include "mutex/oper_spans.h"

#include <cstddef>
#include <cstdint>
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

// The operations of a place that has many, with the number of objects of each.
//
// The lowest one of a set is found by stepping through the set and the operations in turn. Where
// both are many, they are also kept by kind: all of a kind are in the set or none is, so one
// step for each kind does. The kinds are made at the first search that needs them, again after the
// table has changed, and kept up to date in between.
// Cost of a search: the fewest of the operations, the runs of the set and the kinds, times a
// logarithm. Memory by kind: about 50 bytes an operation.
class ManyOpers {
public:
    explicit ManyOpers(const MutexTable& table) : m_table(table) {}

    // Throws std::bad_alloc with nothing changed.
    void Add(int nOper, std::uint64_t nCount, OperCounter& counter) {
        const auto it = counter.Entry(m_mapOper, nOper);
        if (it->second == 0 && HasKinds())
            AddToKind(nOper);
        it->second += nCount;
    }

    // Takes one object away; false when nOper has none.
    bool Remove(int nOper, OperCounter& counter) noexcept {
        const auto it = m_mapOper.find(nOper);
        if (it == m_mapOper.end())
            return false;
        if (--it->second == 0) {
            if (HasKinds())
                RemoveFromKind(nOper);
            counter.Erase(m_mapOper, it);
        }
        return true;
    }

    bool IsEmpty() const { return m_mapOper.empty(); }
    std::uint64_t CountOf(int nOper) const {
        const auto it = m_mapOper.find(nOper);
        return it == m_mapOper.end() ? 0 : it->second;
    }

    // Lowers nBest to the lowest operation here, when that is lower.
    void Lowest(std::int64_t& nBest) const {
        if (!IsEmpty() && m_mapOper.begin()->first < nBest)
            nBest = m_mapOper.begin()->first;
    }

    // The same for operations that are also in spans, a set of the table. Throws std::bad_alloc.
    void LowestIn(const OperSpans& spans, std::int64_t& nBest);

private:
    bool HasKinds() const { return m_nKindsVersion == m_table.Version(); }
    void MakeKinds();
    void AddToKind(int nOper) noexcept;
    void RemoveFromKind(int nOper) noexcept;
    void StepThrough(const OperSpans& spans, std::int64_t& nBest) const;

    const MutexTable& m_table;
    OperCounts m_mapOper;
    std::map<MutexTable::Kind, std::set<int>> m_mapKind;
    std::uint64_t m_nKindsVersion = 0;  // of the table when the kinds were made; 0: they are not
};

}  // namespace NSTE_util
