#include "commands/held_places.h"

#include <algorithm>

namespace host {

using NSTE_util::TEOperObject;

HeldPlaces::Path HeldPlaces::PathOf(const TEOperObject& obj) {
    const Levels arrAll = {obj.nNeId, obj.nObjId, obj.lSubObjId};
    const auto itEnd = std::find(arrAll.begin(), arrAll.end(), 0);
    Path path{{}, static_cast<std::size_t>(itEnd - arrAll.begin())};
    std::copy(arrAll.begin(), itEnd, path.arrLevel.begin());
    return path;
}

HeldPlaces::Levels HeldPlaces::Beginning(const Path& path, std::size_t nDepth) {
    Levels arrLevel{};
    std::copy_n(path.arrLevel.begin(), nDepth, arrLevel.begin());
    return arrLevel;
}

void HeldPlaces::Add(int nOper, const Entry& entry) {
    const Path path = PathOf(*entry.itObj);
    m_mapPlace[path.arrLevel].on[nOper].emplace(++m_nLast, entry);
    for (std::size_t nDepth = 0; nDepth < path.nDepth; ++nDepth)
        m_mapPlace[Beginning(path, nDepth)].below[nOper].emplace(m_nLast, entry);
}

void HeldPlaces::RemoveNumber(const Path& path, std::size_t nDepth, int nOper,
                              std::uint64_t nNumber) {
    const auto itPlace = m_mapPlace.find(Beginning(path, nDepth));
    Held& held = itPlace->second;
    Opers& opers = nDepth == path.nDepth ? held.on : held.below;
    const auto itOper = opers.find(nOper);
    itOper->second.erase(nNumber);
    if (itOper->second.empty())
        opers.erase(itOper);
    if (held.on.empty() && held.below.empty())
        m_mapPlace.erase(itPlace);
}

void HeldPlaces::Remove(int nOper, const Entry& entry) {
    const Entries& entries = *On(nOper, *entry.itObj);
    const auto it = std::find_if(entries.begin(), entries.end(), [&](const auto& numbered) {
        return numbered.second.itObj == entry.itObj;
    });
    const std::uint64_t nNumber = it->first;
    const Path path = PathOf(*entry.itObj);
    for (std::size_t nDepth = 0; nDepth <= path.nDepth; ++nDepth)
        RemoveNumber(path, nDepth, nOper, nNumber);
}

const HeldPlaces::Entries* HeldPlaces::On(int nOper, const TEOperObject& obj) const {
    const auto itPlace = m_mapPlace.find(PathOf(obj).arrLevel);
    if (itPlace == m_mapPlace.end())
        return nullptr;
    const auto it = itPlace->second.on.find(nOper);
    return it == itPlace->second.on.end() ? nullptr : &it->second;
}

}  // namespace host
