#pragma once

#include "mutex/place_table.h"

#include "tovelkarin/temutexopermgr.h"

#include <cstdint>
#include <unordered_map>

namespace NSTE_util {

// The objects that running operations hold, each as often as it was granted.
//
// An object is the path from the network down to its first 0; two objects overlap when one path is
// the beginning of the other. So for each place the operations are kept that hold it ("here") and
// those that hold something under it ("below"), and what overlaps an object is found by asking the
// places on its path, whatever else is held. What stands below the network as a whole is every
// operation with an object, which the caller knows.
class HeldObjects {
public:
    // Throws std::bad_alloc with nothing changed.
    void Add(int nOper, const TEOperObject& obj);

    // Takes away one object that equals obj in all three fields; false when nOper holds none.
    bool Remove(int nOper, const TEOperObject& obj) noexcept;

    // Calls fn for each group of operations that hold something that overlaps obj. mapRunning:
    // every running operation with the number of its objects.
    template <class Fn>
    void ForOverlaps(const TEOperObject& obj, const OperCounts& mapRunning, Fn&& fn) const {
        if (obj.nNeId == 0)
            return fn(PlaceOpers(mapRunning));
        fn(PlaceOpers(m_mapEverything));
        const NeKey ne{obj.nNeId};
        fn(m_tableNe.Find(ne));
        if (obj.nObjId == 0)
            return fn(m_tableBelowNe.Find(ne));
        const ObjKey object{obj.nNeId, obj.nObjId};
        fn(m_tableObj.Find(object));
        if (obj.lSubObjId == 0)
            return fn(m_tableBelowObj.Find(object));
        fn(m_tableSub.Find(SubKey{obj.nNeId, obj.nObjId, obj.lSubObjId}));
    }

private:
    static constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15U;
    static constexpr std::uint64_t SUB_FACTOR = 0xD6E8FEB86659FD93U;

    // Spreads every bit of nValue over the result.
    static constexpr std::uint64_t Mix(std::uint64_t nValue) {
        nValue *= FACTOR;
        nValue ^= nValue >> 32;
        return nValue * FACTOR;
    }
    static constexpr std::uint64_t Pair(int nHigh, int nLow) {
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(nHigh)) << 32 |
               static_cast<std::uint32_t>(nLow);
    }

    struct NeKey {
        int nNe = 0;
        bool operator==(const NeKey& other) const { return nNe == other.nNe; }
        std::uint64_t Hash() const { return Mix(static_cast<std::uint32_t>(nNe)); }
    };
    struct ObjKey {
        int nNe = 0;
        int nObj = 0;
        bool operator==(const ObjKey& other) const {
            return nNe == other.nNe && nObj == other.nObj;
        }
        std::uint64_t Hash() const { return Mix(Pair(nNe, nObj)); }
    };
    struct SubKey {
        int nNe = 0;
        int nObj = 0;
        long lSub = 0;
        bool operator==(const SubKey& other) const {
            return nNe == other.nNe && nObj == other.nObj && lSub == other.lSub;
        }
        std::uint64_t Hash() const {
            return Mix(Pair(nNe, nObj) * SUB_FACTOR ^ static_cast<std::uint64_t>(lSub));
        }
    };

    // An object with something behind its first 0 locks the same as without, but is given back
    // apart: {5, 0, 3} is not {5, 0, 0}. Such odd forms are rare; these two count them.
    struct OddKey {
        int nOper;
        TEOperObject obj;
        bool operator==(const OddKey& other) const {
            return nOper == other.nOper && obj == other.obj;
        }
    };
    struct OddHash {
        std::size_t operator()(const OddKey& key) const;
    };
    using OddCounts = std::unordered_map<OddKey, std::uint64_t, OddHash>;

    void AddAt(int nOper, const TEOperObject& place);
    bool RemoveAt(int nOper, const TEOperObject& place) noexcept;
    std::uint64_t CountAt(int nOper, const TEOperObject& place) const noexcept;
    static std::uint64_t CountOf(const OddCounts& mapOdd, const OddKey& key) noexcept;
    static void TakeOne(OddCounts& mapOdd, const OddKey& key) noexcept;

    OperCounts m_mapEverything;  // operations that hold {0, ...}
    // Mostly one operation holds a place, and one or two stand below it.
    PlaceTable<NeKey, 1> m_tableNe;
    PlaceTable<NeKey, 2> m_tableBelowNe;
    PlaceTable<ObjKey, 1> m_tableObj;
    PlaceTable<ObjKey, 2> m_tableBelowObj;
    PlaceTable<SubKey, 1> m_tableSub;

    OddCounts m_mapOdd;         // the odd objects as they were granted
    OddCounts m_mapOddAtPlace;  // how many of an operation's objects at a place are odd
};

}  // namespace NSTE_util
