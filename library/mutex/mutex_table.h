#pragma once

#include "mutex/oper_spans.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace NSTE_util {

// Which running operation blocks which request: what the table files say.
//
// A span of requests is cut into blocks of 2^level neighbours that begin at a multiple of their
// length, at most two of each level, and a block keeps the operations that block all of it, as
// spans. A request belongs to one block of each level, so a few look-ups find all that blocks it.
// Memory: that of the spans that were added, times the levels they need; never that of their pairs.
class MutexTable {
public:
    static constexpr int LEVELS = 32;

    // What blocks one requested operation, as sets that may overlap. A view, until the next Add.
    struct Blockers {
        std::array<const OperSpans*, LEVELS> arrSpans{};
        std::size_t nSpans = 0;

        bool IsRegistered() const { return nSpans != 0; }
        const OperSpans* const* begin() const { return arrSpans.data(); }
        const OperSpans* const* end() const { return arrSpans.data() + nSpans; }
    };

    // Operations of one kind block the same requests, and exclude all others or none of them does.
    // Told apart by a sum of 128 random bits for each set that an operation is in.
    using Kind = std::pair<std::uint64_t, std::uint64_t>;

    // Operations that exclude every other, in both directions.
    void AddExclusive(int nFirst, int nLast);
    // nBlocker blocks nFirst to nLast; bBoth: and they block it.
    void AddPairs(int nBlocker, int nFirst, int nLast, bool bBoth);

    const OperSpans& Exclusive() const { return m_exclusive; }
    Blockers BlockersOf(int nOper) const;

    // Rises with every change, from 1 on.
    std::uint64_t Version() const { return m_nVersion; }
    // Valid until the next change. The first call after one costs a sort of all spans, and may
    // throw std::bad_alloc; further ones cost a search and throw nothing.
    Kind KindOf(int nOper) const;

private:
    struct KindsFrom {  // the kind of the operations from nOper on, up to the next entry
        std::int64_t nOper;
        Kind kind;
    };

    OperSpans& Block(int nLevel, std::uint32_t nBlock);
    void MakeKinds() const;

    OperSpans m_exclusive;
    std::array<std::map<std::uint32_t, OperSpans>, LEVELS> m_arrBlocks;
    std::uint32_t m_nLevels = 0;  // a bit for each level that has blocks
    std::uint64_t m_nVersion = 1;
    mutable std::vector<KindsFrom> m_vecKinds;
    mutable std::uint64_t m_nKindsVersion = 0;
};

}  // namespace NSTE_util
