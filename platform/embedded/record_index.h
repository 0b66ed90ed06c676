#pragma once

#include <cstdint>
#include <new>
#include <vector>

namespace zemb {

// Which records of a part are used, found by a hash of what they hold. The numbers count from 1.
// Adding and removing take a few steps, however many there are; of equal ones the last added goes
// first.
class RecordIndex {
public:
    // All are free again. Without memory there are none.
    void Reset(std::uint32_t nRecords) noexcept {
        m_nUsed = 0;
        m_nFree = 0;
        m_nRecords = 0;
        std::uint32_t nHeads = 1;
        while (nHeads < nRecords)
            nHeads *= 2;
        try {
            m_vecHead.assign(nHeads, 0);
            m_vecNext.resize(std::size_t{nRecords} + 1);
            m_nRecords = nRecords;
        } catch (const std::bad_alloc&) {
            m_vecHead.clear();
        }
    }

    // A free record; 0: there is none.
    std::uint32_t Add(std::uint64_t nHash) noexcept {
        std::uint32_t nRecord = m_nFree;
        if (nRecord != 0)
            m_nFree = m_vecNext[nRecord];
        else if (m_nUsed < m_nRecords)
            nRecord = ++m_nUsed;
        else
            return 0;
        std::uint32_t& nHead = m_vecHead[nHash & (m_vecHead.size() - 1)];
        m_vecNext[nRecord] = nHead;
        nHead = nRecord;
        return nRecord;
    }

    // The last added record of that hash for which fnIsIt is true, free again; 0: there is none.
    template <class IsIt>
    std::uint32_t Remove(std::uint64_t nHash, IsIt fnIsIt) noexcept {
        if (m_vecHead.empty())
            return 0;
        std::uint32_t* pLink = &m_vecHead[nHash & (m_vecHead.size() - 1)];
        while (*pLink != 0 && !fnIsIt(*pLink))
            pLink = &m_vecNext[*pLink];
        const std::uint32_t nRecord = *pLink;
        if (nRecord == 0)
            return 0;
        *pLink = m_vecNext[nRecord];
        m_vecNext[nRecord] = m_nFree;
        m_nFree = nRecord;
        return nRecord;
    }

private:
    std::vector<std::uint32_t> m_vecHead;
    std::vector<std::uint32_t> m_vecNext;  // of the same hash, or the next free one
    std::uint32_t m_nRecords = 0;
    std::uint32_t m_nUsed = 0;  // so many were in use at a time
    std::uint32_t m_nFree = 0;
};

}  // namespace zemb
