#include "mutex/mutex_table.h"

#include "mutex/place_secret.h"

#include <algorithm>

// Which operation blocks which. A span of blocked operations is cut into blocks whose sizes are
// powers of two, at most two of each size, and each block keeps the set of its blockers. The
// blockers of an operation then are the sets of the blocks that it lies in, at most one for each
// size. For places with many operations they are also told apart by kind: each set gets a random
// name, and the kind of an operation is what the names of its sets give together (exclusive or),
// found by one sweep over the ends of all spans.
namespace NSTE_util {

namespace {

// Numbers in their order, the negative ones first.
std::uint32_t Ordered(int nOper) {
    return static_cast<std::uint32_t>(nOper) ^ 0x80000000U;
}

void Combine(MutexTable::Kind& kind, const MutexTable::Kind& with) {
    kind.first ^= with.first;
    kind.second ^= with.second;
}

}  // namespace

void MutexTable::AddExclusive(int nFirst, int nLast) {
    ++m_nVersion;
    m_exclusive.Add(nFirst, nLast);
}

void MutexTable::AddPairs(int nBlocker, int nFirst, int nLast, bool bBoth) {
    ++m_nVersion;
    const std::uint64_t nEnd = std::uint64_t{Ordered(nLast)} + 1;
    for (std::uint64_t nAt = Ordered(nFirst); nAt < nEnd;) {
        int nLevel = nAt == 0 ? LEVELS - 1 : __builtin_ctzll(nAt);
        while (nAt + (std::uint64_t{1} << nLevel) > nEnd)
            --nLevel;
        Block(nLevel, static_cast<std::uint32_t>(nAt >> nLevel)).Add(nBlocker, nBlocker);
        nAt += std::uint64_t{1} << nLevel;
    }
    if (bBoth)
        Block(0, Ordered(nBlocker)).Add(nFirst, nLast);
}

OperSpans& MutexTable::Block(int nLevel, std::uint32_t nBlock) {
    const auto nAt = static_cast<std::size_t>(nLevel);
    OperSpans& spans = m_arrBlocks[nAt][nBlock];
    m_nLevels |= 1U << nAt;
    return spans;
}

MutexTable::Blockers MutexTable::BlockersOf(int nOper) const {
    Blockers blockers;
    for (std::uint32_t nLevels = m_nLevels; nLevels != 0; nLevels &= nLevels - 1) {
        const auto nLevel = static_cast<std::size_t>(__builtin_ctz(nLevels));
        const auto it = m_arrBlocks[nLevel].find(Ordered(nOper) >> nLevel);
        if (it != m_arrBlocks[nLevel].end())
            blockers.arrSpans[blockers.nSpans++] = &it->second;
    }
    return blockers;
}

MutexTable::Kind MutexTable::KindOf(int nOper) const {
    if (m_nKindsVersion != m_nVersion)
        MakeKinds();
    const auto it =
        std::upper_bound(m_vecKinds.begin(), m_vecKinds.end(), nOper,
                         [](int nAsked, const KindsFrom& kinds) { return nAsked < kinds.nOper; });
    return it == m_vecKinds.begin() ? Kind{} : std::prev(it)->kind;
}

// Sweeps over all numbers: at both ends of each span its set joins the sum or leaves it.
void MutexTable::MakeKinds() const {
    std::vector<KindsFrom> vecEnd;
    std::uint64_t nSet = 0;
    const auto AddEnds = [&](const OperSpans& spans) {
        const PlaceSecret& secret = PlaceSecret::OfProcess();
        ++nSet;
        const Kind name{secret.Random(2 * nSet), secret.Random(2 * nSet + 1)};
        for (const auto& [nFirst, nLast] : spans.Runs()) {
            vecEnd.push_back({nFirst, name});
            vecEnd.push_back({std::int64_t{nLast} + 1, name});
        }
    };
    AddEnds(m_exclusive);
    for (const auto& mapBlock : m_arrBlocks)
        for (const auto& [nBlock, spans] : mapBlock)
            AddEnds(spans);
    std::sort(vecEnd.begin(), vecEnd.end(),
              [](const KindsFrom& a, const KindsFrom& b) { return a.nOper < b.nOper; });
    Kind kind;
    std::size_t nKinds = 0;
    for (std::size_t i = 0; i < vecEnd.size(); ++i) {
        Combine(kind, vecEnd[i].kind);
        if (i + 1 == vecEnd.size() || vecEnd[i + 1].nOper != vecEnd[i].nOper)
            vecEnd[nKinds++] = {vecEnd[i].nOper, kind};
    }
    vecEnd.resize(nKinds);
    m_vecKinds.swap(vecEnd);
    m_nKindsVersion = m_nVersion;
}

}  // namespace NSTE_util
