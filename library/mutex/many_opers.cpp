#include "mutex/many_opers.h"

#include <new>

namespace NSTE_util {

namespace {

constexpr std::size_t FEW_STEPS = 16;  // not worth to look for a shorter way

}  // namespace

void ManyOpers::LowestIn(const OperSpans& spans, std::int64_t& nBest) {
    const std::size_t nRuns = spans.Runs().size();
    if (nRuns <= FEW_STEPS || m_mapOper.size() <= FEW_STEPS)
        return StepThrough(spans, nBest);
    if (!HasKinds())
        MakeKinds();
    if (nRuns <= m_mapKind.size())
        return StepThrough(spans, nBest);
    for (const auto& [kind, setOper] : m_mapKind)
        if (const int nOper = *setOper.begin(); nOper < nBest && spans.Contains(nOper))
            nBest = nOper;
}

void ManyOpers::StepThrough(const OperSpans& spans, std::int64_t& nBest) const {
    for (auto it = m_mapOper.begin(); it != m_mapOper.end() && it->first < nBest;) {
        const std::int64_t nNext = spans.NextFrom(it->first);
        if (nNext == it->first)
            nBest = nNext;
        else if (nNext == NO_OPER)
            return;
        else
            it = m_mapOper.lower_bound(static_cast<int>(nNext));
    }
}

void ManyOpers::MakeKinds() {
    m_nKindsVersion = 0;
    m_mapKind.clear();
    for (const auto& [nOper, nCount] : m_mapOper)
        m_mapKind[m_table.KindOf(nOper)].insert(nOper);
    m_nKindsVersion = m_table.Version();
}

// Without memory the kinds are dropped; a search makes them anew.
void ManyOpers::AddToKind(int nOper) noexcept {
    try {
        m_mapKind[m_table.KindOf(nOper)].insert(nOper);
    } catch (const std::bad_alloc&) {
        m_nKindsVersion = 0;
        m_mapKind.clear();
    }
}

void ManyOpers::RemoveFromKind(int nOper) noexcept {
    const auto it = m_mapKind.find(m_table.KindOf(nOper));
    it->second.erase(nOper);
    if (it->second.empty())
        m_mapKind.erase(it);
}

}  // namespace NSTE_util
