#pragma once

#include "mutex/many_opers.h"

#include <cstddef>
#include <cstdint>

namespace NSTE_util {

// One operation at a place and how often; an entry with 0 is not in use.
struct OperEntry {
    int nOper = 0;
    std::uint32_t nCount = 0;
};

// The operations that stand at one place: few, in entries without order, or many. A view.
class PlaceOpers {
public:
    PlaceOpers() = default;
    PlaceOpers(const OperEntry* pFew, std::size_t nFew) : m_pFew(pFew), m_nFew(nFew) {}
    explicit PlaceOpers(ManyOpers& many) : m_pMany(&many) {}

    bool IsEmpty() const { return m_nFew == 0 && m_pMany == nullptr; }

    // Lowers nBest to the lowest operation here, when that is lower.
    void Lowest(std::int64_t& nBest) const {
        for (std::size_t i = 0; i < m_nFew; ++i)
            if (m_pFew[i].nCount != 0 && m_pFew[i].nOper < nBest)
                nBest = m_pFew[i].nOper;
        if (m_pMany != nullptr)
            m_pMany->Lowest(nBest);
    }

    // The same for operations that are also in spans, a set of the table. Throws std::bad_alloc.
    void LowestIn(const OperSpans& spans, std::int64_t& nBest) const {
        if (spans.IsEmpty())
            return;
        for (std::size_t i = 0; i < m_nFew; ++i)
            if (m_pFew[i].nCount != 0 && m_pFew[i].nOper < nBest && spans.Contains(m_pFew[i].nOper))
                nBest = m_pFew[i].nOper;
        if (m_pMany != nullptr)
            m_pMany->LowestIn(spans, nBest);
    }

private:
    const OperEntry* m_pFew = nullptr;
    std::size_t m_nFew = 0;
    ManyOpers* m_pMany = nullptr;
};

}  // namespace NSTE_util
