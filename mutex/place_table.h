#pragma once

#include "mutex/place_opers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace NSTE_util {

// Which operations stand at which place, and how often: a hash table with open addressing. A place
// with one operation costs one slot; one with several keeps them in an ordered map of its own.
// Key: equality and Hash(), 64 bits of which the upper half is used.
template <class Key>
class PlaceTable {
public:
    // Throws std::bad_alloc with nothing changed.
    void Add(const Key& key, int nOper) {
        if (m_vecSlot.empty() || (m_nUsed + 1) * FULL_PARTS > m_vecSlot.size() * FULL_SHARE)
            Grow();
        Slot& slot = m_vecSlot[PositionOf(key)];
        if (slot.nCount == EMPTY) {
            slot = {key, nOper, 1};
            ++m_nUsed;
        } else if (slot.nCount == MANY) {
            ++(*m_vecMany[IndexOf(slot)])[nOper];
        } else if (slot.nOper == nOper && slot.nCount < ONE_MAX) {
            ++slot.nCount;
        } else {
            Promote(slot, nOper);
        }
    }

    // Takes back one Add of the same key and operation.
    void Remove(const Key& key, int nOper) noexcept {
        if (m_vecSlot.empty())
            return;
        const std::size_t nAt = PositionOf(key);
        Slot& slot = m_vecSlot[nAt];
        if (slot.nCount == EMPTY)
            return;
        if (slot.nCount == MANY)
            RemoveFromMany(slot, nOper);
        else if (--slot.nCount == EMPTY)
            Erase(nAt);
    }

    PlaceOpers Find(const Key& key) const noexcept {
        if (m_nUsed == 0)
            return {};
        const Slot& slot = m_vecSlot[PositionOf(key)];
        if (slot.nCount == EMPTY)
            return {};
        return slot.nCount == MANY ? PlaceOpers(*m_vecMany[IndexOf(slot)]) : PlaceOpers(slot.nOper);
    }

    std::uint64_t CountOf(const Key& key, int nOper) const noexcept {
        if (m_nUsed == 0)
            return 0;
        const Slot& slot = m_vecSlot[PositionOf(key)];
        if (slot.nCount == MANY) {
            const OperCounts& mapOper = *m_vecMany[IndexOf(slot)];
            const auto it = mapOper.find(nOper);
            return it == mapOper.end() ? 0 : it->second;
        }
        return slot.nOper == nOper ? slot.nCount : 0;
    }

private:
    static constexpr std::uint32_t EMPTY = 0;
    static constexpr std::uint32_t MANY = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::uint32_t ONE_MAX = MANY - 1;
    static constexpr std::size_t FULL_SHARE = 3;  // of FULL_PARTS slots are used at most
    static constexpr std::size_t FULL_PARTS = 4;
    static constexpr std::size_t SLOTS_AT_FIRST = 8;
    static constexpr std::size_t SLOTS_KEPT = 1024;  // an empty table above this size is freed

    struct Slot {
        Key key{};
        int nOper = 0;  // or, with MANY, an index into m_vecMany
        std::uint32_t nCount = EMPTY;
    };

    static std::size_t IndexOf(const Slot& slot) { return static_cast<std::size_t>(slot.nOper); }

    std::size_t HomeOf(const Key& key) const {
        return static_cast<std::size_t>(((key.Hash() >> 32) * m_vecSlot.size()) >> 32);
    }

    std::size_t Next(std::size_t nAt) const { return nAt + 1 == m_vecSlot.size() ? 0 : nAt + 1; }

    // Where key stands, or the free slot where it would.
    std::size_t PositionOf(const Key& key) const {
        std::size_t nAt = HomeOf(key);
        while (m_vecSlot[nAt].nCount != EMPTY && !(m_vecSlot[nAt].key == key))
            nAt = Next(nAt);
        return nAt;
    }

    void Grow() {
        const std::size_t nSlots = m_vecSlot.size();
        std::vector<Slot> vecOld(std::max(SLOTS_AT_FIRST, nSlots + nSlots / 2));
        vecOld.swap(m_vecSlot);
        for (const Slot& slot : vecOld)
            if (slot.nCount != EMPTY)
                m_vecSlot[PositionOf(slot.key)] = slot;
    }

    // Moves later slots up, so that no search ends too early at the gap.
    void Erase(std::size_t nGap) noexcept {
        for (std::size_t nAt = Next(nGap); m_vecSlot[nAt].nCount != EMPTY; nAt = Next(nAt)) {
            const std::size_t nHome = HomeOf(m_vecSlot[nAt].key);
            const bool bHomeBehindGap =
                nGap < nAt ? nGap < nHome && nHome <= nAt : nGap < nHome || nHome <= nAt;
            if (bHomeBehindGap)
                continue;
            m_vecSlot[nGap] = m_vecSlot[nAt];
            nGap = nAt;
        }
        m_vecSlot[nGap] = Slot{};
        if (--m_nUsed == 0 && m_vecSlot.size() > SLOTS_KEPT)
            std::vector<Slot>().swap(m_vecSlot);
    }

    void Promote(Slot& slot, int nOper) {
        auto pMany = std::make_unique<OperCounts>();
        (*pMany)[slot.nOper] = slot.nCount;
        ++(*pMany)[nOper];
        if (m_vecFree.empty()) {
            m_vecFree.reserve(m_vecMany.size() + 1);  // so that giving an index back never fails
            m_vecMany.push_back(nullptr);
            m_vecFree.push_back(static_cast<int>(m_vecMany.size() - 1));
        }
        slot.nOper = m_vecFree.back();
        slot.nCount = MANY;
        m_vecFree.pop_back();
        m_vecMany[IndexOf(slot)] = std::move(pMany);
    }

    void RemoveFromMany(Slot& slot, int nOper) noexcept {
        OperCounts& mapOper = *m_vecMany[IndexOf(slot)];
        const auto it = mapOper.find(nOper);
        if (it == mapOper.end())
            return;
        if (--it->second == 0)
            mapOper.erase(it);
        if (mapOper.size() != 1 || mapOper.begin()->second > ONE_MAX)
            return;
        const auto [nLast, nCount] = *mapOper.begin();
        m_vecFree.push_back(slot.nOper);
        m_vecMany[IndexOf(slot)] = nullptr;
        slot.nOper = nLast;
        slot.nCount = static_cast<std::uint32_t>(nCount);
    }

    std::vector<Slot> m_vecSlot;
    std::size_t m_nUsed = 0;
    std::vector<std::unique_ptr<OperCounts>> m_vecMany;
    std::vector<int> m_vecFree;  // indices of m_vecMany without a map
};

}  // namespace NSTE_util
