#pragma once

#include "tovelkarin/temutexopermgr.h"

#include <array>
#include <cstdint>
#include <list>
#include <map>

namespace host {

struct Grant;

// Where grants hold something. What overlaps a request is found without a walk over all that is
// held: an object is the path down to its first 0, and two objects overlap when one path is the
// beginning of the other. So each place on any path knows what is held on it and what is held below
// it, by operation and in the order in which it came.
class HeldPlaces {
public:
    using Objects = std::list<NSTE_util::TEOperObject>;

    // A held object, in the list of its grant.
    struct Entry {
        std::list<Grant>::iterator itGrant;
        Objects::iterator itObj;
    };
    using Entries = std::map<std::uint64_t, Entry>;  // by the order in which they came
    using Opers = std::map<int, Entries>;            // by operation

    void Add(int nOper, const Entry& entry);
    // Cost: linear in what the same operation holds at the same place.
    void Remove(int nOper, const Entry& entry);
    void Clear() { m_mapPlace.clear(); }

    // What nOper holds on the place of obj; null when nothing.
    const Entries* On(int nOper, const NSTE_util::TEOperObject& obj) const;

    // Hands over what overlaps obj, in at most four pieces. Cost: does not depend on what is held.
    template <class Fn>
    void ForOverlaps(const NSTE_util::TEOperObject& obj, Fn fn) const {
        const Path path = PathOf(obj);
        for (std::size_t nDepth = 0; nDepth <= path.nDepth; ++nDepth)
            if (const auto it = m_mapPlace.find(Beginning(path, nDepth)); it != m_mapPlace.end())
                fn(it->second.on);
        if (const auto it = m_mapPlace.find(path.arrLevel); it != m_mapPlace.end())
            fn(it->second.below);
    }

private:
    using Levels = std::array<long, 3>;  // 0 behind the end of the path
    struct Path {
        Levels arrLevel;
        std::size_t nDepth;
    };
    struct Held {
        Opers on;
        Opers below;
    };

    static Path PathOf(const NSTE_util::TEOperObject& obj);
    static Levels Beginning(const Path& path, std::size_t nDepth);
    void RemoveNumber(const Path& path, std::size_t nDepth, int nOper, std::uint64_t nNumber);

    std::map<Levels, Held> m_mapPlace;
    std::uint64_t m_nLast = 0;
};

}  // namespace host
