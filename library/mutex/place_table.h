#pragma once

#include "mutex/place_opers.h"
#include "mutex/place_secret.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace NSTE_util {

// Which operations stand at which place, and how often: a hash table of groups of 8 slots, each
// group with a word of 8 tags that a search looks at first. A place with up to FEW operations costs
// one slot; one that ever had more keeps them as ManyOpers until it is empty.
//
// Its own because of its memory, as a large table grows by 3 tenths and does not double: for each
// of 120,000 objects in NEs of their own it takes 97 bytes, boost::unordered_flat_map 146 and
// absl::flat_hash_map 155, where 120 are the goal. It pays with time: a request and its release
// take 1.0 to 1.5 of that of the faster one of them. Small tables are half empty, which takes 0.7
// of the time of full ones (rows places of figures.md).
//
// Key: equality and Hash(secret), 64 bits of which the upper half and the lowest 7 bits are used.
template <class Key, std::size_t FEW>
class PlaceTable {
public:
    PlaceTable(const MutexTable& table, const PlaceSecret& secret)
        : m_pTable(&table), m_secret(secret) {}

    // Throws std::bad_alloc with nothing changed.
    void Add(const Key& key, int nOper) {
        const std::uint64_t nHash = key.Hash(m_secret);
        const std::size_t nAt = PositionOf(key, nHash);
        if (nAt == NOWHERE) {
            Insert(key, nHash, nOper);
            return;
        }
        Slot& slot = m_vecSlot[nAt];
        if (IsMany(slot)) {
            ManyOf(slot).Add(nOper, 1, m_counter);
        } else if (OperEntry* const pEntry = EntryFor(slot, nOper)) {
            pEntry->nOper = nOper;
            ++pEntry->nCount;
        } else {
            Promote(slot, nOper);
        }
    }

    // Takes back one Add of the same key and operation; false when there is none left.
    bool Remove(const Key& key, int nOper) noexcept {
        const std::size_t nAt = PositionOf(key, key.Hash(m_secret));
        if (nAt == NOWHERE)
            return false;
        Slot& slot = m_vecSlot[nAt];
        if (IsMany(slot))
            return RemoveFromMany(nAt, nOper);
        for (OperEntry& entry : slot.arrEntry)
            if (entry.nCount != 0 && entry.nOper == nOper) {
                if (--entry.nCount == 0)
                    Pack(slot);
                if (slot.arrEntry[0].nCount == 0)
                    Erase(nAt);
                return true;
            }
        return false;
    }

    PlaceOpers Find(const Key& key) const noexcept {
        if (m_nUsed == 0)
            return {};
        const std::size_t nAt = PositionOf(key, key.Hash(m_secret));
        if (nAt == NOWHERE)
            return {};
        const Slot& slot = m_vecSlot[nAt];
        return IsMany(slot) ? PlaceOpers(ManyOf(slot)) : PlaceOpers(slot.arrEntry.data(), FEW);
    }

    std::uint64_t CountOf(const Key& key, int nOper) const noexcept {
        const std::size_t nAt = PositionOf(key, key.Hash(m_secret));
        if (nAt == NOWHERE)
            return 0;
        const Slot& slot = m_vecSlot[nAt];
        if (IsMany(slot))
            return ManyOf(slot).CountOf(nOper);
        for (const OperEntry& entry : slot.arrEntry)
            if (entry.nCount != 0 && entry.nOper == nOper)
                return entry.nCount;
        return 0;
    }

private:
    static constexpr std::uint32_t MANY = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::uint32_t FEW_MAX = MANY - 1;  // more of one operation need the map
    static constexpr std::size_t NOWHERE = std::numeric_limits<std::size_t>::max();

    static constexpr std::size_t GROUP = 8;
    static constexpr std::size_t FULL_SHARE = 4;  // of FULL_PARTS slots are taken at most
    static constexpr std::size_t FULL_PARTS = 5;
    // Grows by 3 tenths: slots are most of the memory.
    static constexpr std::size_t GROWTH_SHARE = 3;
    static constexpr std::size_t GROWTH_PARTS = 10;
    static constexpr std::size_t GROUPS_AT_FIRST = 4;
    static constexpr std::size_t GROUPS_SPARSE = 512;  // up to here half the slots stay empty
    static constexpr std::size_t GROUPS_KEPT = 128;    // an empty table above this size is freed

    // Tags: the highest bit and 7 bits of the hash for a used slot, else one of these.
    static constexpr std::uint64_t TAG_EMPTY = 0;
    static constexpr std::uint64_t TAG_DELETED = 1;  // a search goes on past it
    static constexpr std::uint64_t TAG_USED = 0x80;
    static constexpr std::uint64_t EACH_LOW = 0x0101010101010101U;
    static constexpr std::uint64_t EACH_HIGH = 0x8080808080808080U;

    struct Slot {
        Key key{};
        // Used entries first. With MANY as the first count, the first number is an index into
        // m_vecMany.
        std::array<OperEntry, FEW> arrEntry{};
    };

    static bool IsMany(const Slot& slot) { return slot.arrEntry[0].nCount == MANY; }
    ManyOpers& ManyOf(const Slot& slot) const {
        return *m_vecMany[static_cast<std::size_t>(slot.arrEntry[0].nOper)];
    }

    // Fast path: the eight tags of a group are compared in one word, so a search looks at hardly
    // any slot but the right one, which is one cache miss more. With 100,000 objects held a request
    // and its release take 0.15 of the best peer's time (row granted of figures.md).
    //
    // The bytes of a word that are 0, as their highest bits. Bytes above a 0 may be marked wrongly.
    static std::uint64_t ZeroBytes(std::uint64_t nWord) {
        return (nWord - EACH_LOW) & ~nWord & EACH_HIGH;
    }
    static std::size_t FirstByte(std::uint64_t nMarks) {
        return static_cast<std::size_t>(__builtin_ctzll(nMarks)) / 8;
    }
    static std::uint64_t TagOf(std::uint64_t nHash) { return TAG_USED | (nHash & 0x7F); }
    std::size_t GroupOf(std::uint64_t nHash) const {
        return static_cast<std::size_t>(((nHash >> 32) * m_nGroups) >> 32);
    }
    std::size_t NextGroup(std::size_t nGroup) const {
        return nGroup + 1 == m_nGroups ? 0 : nGroup + 1;
    }
    void SetTag(std::size_t nAt, std::uint64_t nTag) {
        const std::size_t nShift = nAt % GROUP * 8;
        std::uint64_t& nWord = m_vecTags[nAt / GROUP];
        nWord = (nWord & ~(std::uint64_t{0xFF} << nShift)) | nTag << nShift;
    }

    std::size_t PositionOf(const Key& key, std::uint64_t nHash) const {
        if (m_nUsed == 0)
            return NOWHERE;
        const std::uint64_t nTags = TagOf(nHash) * EACH_LOW;
        for (std::size_t nGroup = GroupOf(nHash);; nGroup = NextGroup(nGroup)) {
            const std::uint64_t nWord = m_vecTags[nGroup];
            for (std::uint64_t nMarks = ZeroBytes(nWord ^ nTags); nMarks != 0;
                 nMarks &= nMarks - 1) {
                const std::size_t nAt = nGroup * GROUP + FirstByte(nMarks);
                if (m_vecSlot[nAt].key == key)
                    return nAt;
            }
            if (ZeroBytes(nWord) != 0)
                return NOWHERE;
        }
    }

    // A slot for a key that is not there; the table has room.
    std::size_t TakeSlot(std::uint64_t nHash) {
        std::size_t nGroup = GroupOf(nHash);
        while ((~m_vecTags[nGroup] & EACH_HIGH) == 0)
            nGroup = NextGroup(nGroup);
        const std::size_t nByte = FirstByte(~m_vecTags[nGroup] & EACH_HIGH);
        if ((m_vecTags[nGroup] >> nByte * 8 & 0xFF) == TAG_EMPTY)
            ++m_nTaken;
        const std::size_t nAt = nGroup * GROUP + nByte;
        SetTag(nAt, TagOf(nHash));
        ++m_nUsed;
        return nAt;
    }

    void Insert(const Key& key, std::uint64_t nHash, int nOper) {
        if (m_nTaken >= m_nRoom)
            Rehash();
        Slot& slot = m_vecSlot[TakeSlot(nHash)];
        slot = Slot{};
        slot.key = key;
        slot.arrEntry[0] = {nOper, 1};
    }

    // Grows, or only drops the deleted tags when they are as many as the used ones.
    void Rehash() {
        const std::size_t nGroups = m_nGroups;
        const bool bGrow = 2 * m_nUsed >= m_nTaken;
        PlaceTable bigger(*m_pTable, m_secret);
        bigger.Resize(
            bGrow ? std::max(GROUPS_AT_FIRST, nGroups + nGroups * GROWTH_SHARE / GROWTH_PARTS + 1)
                  : nGroups);
        for (std::size_t nGroup = 0; nGroup < nGroups; ++nGroup)
            for (std::uint64_t nMarks = m_vecTags[nGroup] & EACH_HIGH; nMarks != 0;
                 nMarks &= nMarks - 1) {
                const Slot& slot = m_vecSlot[nGroup * GROUP + FirstByte(nMarks)];
                bigger.m_vecSlot[bigger.TakeSlot(slot.key.Hash(m_secret))] = slot;
            }
        TakeSlotsOf(bigger);
        m_nTaken = m_nUsed;
    }

    void Resize(std::size_t nGroups) {
        m_vecTags.resize(nGroups, 0);
        m_vecSlot.resize(nGroups * GROUP);
        m_nGroups = nGroups;
        m_nRoom = nGroups <= GROUPS_SPARSE ? nGroups * GROUP / 2
                                           : nGroups * GROUP * FULL_SHARE / FULL_PARTS;
    }

    void TakeSlotsOf(PlaceTable& other) noexcept {
        m_vecTags.swap(other.m_vecTags);
        m_vecSlot.swap(other.m_vecSlot);
        m_nGroups = other.m_nGroups;
        m_nRoom = other.m_nRoom;
    }

    void Erase(std::size_t nAt) noexcept {
        // Where the group has an empty slot no search has gone past it.
        const bool bEmpty = ZeroBytes(m_vecTags[nAt / GROUP]) != 0;
        SetTag(nAt, bEmpty ? TAG_EMPTY : TAG_DELETED);
        if (bEmpty)
            --m_nTaken;
        if (--m_nUsed != 0 || m_nGroups <= GROUPS_KEPT)
            return;
        PlaceTable empty(*m_pTable, m_secret);
        TakeSlotsOf(empty);
        m_nTaken = 0;
    }

    // The entry of nOper, or an unused one for it; null when there is no room.
    static OperEntry* EntryFor(Slot& slot, int nOper) {
        for (OperEntry& entry : slot.arrEntry)
            if (entry.nCount == 0 || (entry.nOper == nOper && entry.nCount < FEW_MAX))
                return &entry;
        return nullptr;
    }

    // Moves an entry that came to 0 behind the used ones.
    static void Pack(Slot& slot) {
        for (std::size_t i = 1; i < FEW; ++i)
            if (slot.arrEntry[i - 1].nCount == 0)
                std::swap(slot.arrEntry[i - 1], slot.arrEntry[i]);
    }

    // Moves the slot's entries, and a first object of nOper, out of the slot.
    void Promote(Slot& slot, int nOper) {
        auto pMany = std::make_unique<ManyOpers>(*m_pTable);
        for (const OperEntry& entry : slot.arrEntry)
            pMany->Add(entry.nOper, entry.nCount, m_counter);
        pMany->Add(nOper, 1, m_counter);
        if (m_vecFree.empty()) {
            // Room for every index, by doubling, so that giving one back never fails.
            if (m_vecFree.capacity() <= m_vecMany.size())
                m_vecFree.reserve(2 * m_vecMany.size() + GROUP);
            m_vecMany.push_back(nullptr);
            m_vecFree.push_back(static_cast<int>(m_vecMany.size() - 1));
        }
        slot.arrEntry[0] = {m_vecFree.back(), MANY};
        m_vecFree.pop_back();
        PointerOf(slot) = std::move(pMany);
    }

    std::unique_ptr<ManyOpers>& PointerOf(const Slot& slot) {
        return m_vecMany[static_cast<std::size_t>(slot.arrEntry[0].nOper)];
    }

    bool RemoveFromMany(std::size_t nAt, int nOper) noexcept {
        const Slot& slot = m_vecSlot[nAt];
        ManyOpers& many = ManyOf(slot);
        if (!many.Remove(nOper, m_counter))
            return false;
        if (many.IsEmpty()) {
            m_vecFree.push_back(slot.arrEntry[0].nOper);
            PointerOf(slot) = nullptr;
            Erase(nAt);
        }
        return true;
    }

    const MutexTable* m_pTable;
    PlaceSecret m_secret;
    std::vector<std::uint64_t> m_vecTags;  // one word a group
    std::vector<Slot> m_vecSlot;
    std::size_t m_nGroups = 0;
    std::size_t m_nUsed = 0;
    std::size_t m_nTaken = 0;  // used and deleted ones
    std::size_t m_nRoom = 0;   // how many may be taken
    std::vector<std::unique_ptr<ManyOpers>> m_vecMany;
    std::vector<int> m_vecFree;  // indices of m_vecMany that are not in use
    OperCounter m_counter;
};

}  // namespace NSTE_util
