#pragma once

#include "mutex/place_keys.h"
#include "mutex/place_table.h"

#include "tovelkarin/temutexopermgr.h"

#include <cstdint>
#include <list>
#include <unordered_map>

namespace NSTE_util {

// The objects that running operations hold, each as often as it was granted.
//
// An object is the path from the network down to its first 0; two objects overlap when one path is
// the beginning of the other. So for each place the operations are kept that hold it ("here") and
// those that hold something under it ("below"), and what overlaps an object is found by asking the
// places on its path, whatever else is held. What stands below the network as a whole is every
// operation with an object.
class HeldObjects {
public:
    // table is that of the manager, whose sets are asked for below.
    explicit HeldObjects(const MutexTable& table,
                         const PlaceSecret& secret = PlaceSecret::OfProcess());

    // Adds all of listObj. Throws std::bad_alloc with nothing changed.
    void Add(int nOper, const std::list<TEOperObject>& listObj);

    // Takes away one object that equals obj in all three fields; false when nOper holds none.
    bool Remove(int nOper, const TEOperObject& obj) noexcept;

    // Whether nOper, or any operation at all, holds an object.
    bool Holds(int nOper) const { return m_all.CountOf(nOper) != 0; }
    bool IsEmpty() const { return m_all.IsEmpty(); }

    // Calls fn for each group of operations that hold something that overlaps obj.
    template <class Fn>
    void ForOverlaps(const TEOperObject& obj, Fn&& fn) {
        if (obj.nNeId == 0)
            return fn(PlaceOpers(m_all));
        fn(PlaceOpers(m_everything));
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
        PlaceSecret secret;
        std::size_t operator()(const OddKey& key) const;
    };
    using OddCounts = std::unordered_map<OddKey, std::uint64_t, OddHash>;

    void AddOne(int nOper, const TEOperObject& obj);
    bool RemoveOne(int nOper, const TEOperObject& obj) noexcept;
    void AddAt(int nOper, const TEOperObject& place);
    bool RemoveAt(int nOper, const TEOperObject& place) noexcept;
    std::uint64_t CountAt(int nOper, const TEOperObject& place) const noexcept;
    static std::uint64_t CountOf(const OddCounts& mapOdd, const OddKey& key) noexcept;
    static void TakeOne(OddCounts& mapOdd, const OddKey& key) noexcept;

    OperCounter m_counter;
    ManyOpers m_all;         // operations with any object, and how many
    ManyOpers m_everything;  // operations that hold {0, ...}
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
