#include "mutex/held_objects.h"

#include <iostream>

// How the tables of held objects change (held_objects.h has the idea). An object is written at its
// own place and as "below" at the places above it, and whatever fails half way takes back what was
// written. An object with something behind its first 0 stands at the same place as the one without;
// two small maps count such odd forms, so that each form gives back only what it was granted.
namespace NSTE_util {

namespace {

// The object without what stands behind its first 0.
TEOperObject PlaceOf(const TEOperObject& obj) {
    if (obj.nNeId == 0)
        return {};
    return obj.nObjId == 0 ? TEOperObject{obj.nNeId, 0, 0} : obj;
}

}  // namespace

HeldObjects::HeldObjects(const MutexTable& table, const PlaceSecret& secret)
    : m_all(table),
      m_everything(table),
      m_tableNe(table, secret),
      m_tableBelowNe(table, secret),
      m_tableObj(table, secret),
      m_tableBelowObj(table, secret),
      m_tableSub(table, secret),
      m_mapOdd(0, OddHash{secret}),
      m_mapOddAtPlace(0, OddHash{secret}) {}

std::size_t HeldObjects::OddHash::operator()(const OddKey& key) const {
    const SubKey sub{key.obj.nNeId, key.obj.nObjId, key.obj.lSubObjId};
    return secret.Mix(sub.Hash(secret) ^ static_cast<std::uint32_t>(key.nOper));
}

void HeldObjects::Add(int nOper, const std::list<TEOperObject>& listObj) {
    if (listObj.empty())
        return;
    auto itObj = listObj.begin();
    try {
        for (; itObj != listObj.end(); ++itObj)
            AddOne(nOper, *itObj);
        m_all.Add(nOper, listObj.size(), m_counter);
    } catch (...) {
        while (itObj != listObj.begin())
            RemoveOne(nOper, *--itObj);
        throw;
    }
}

bool HeldObjects::Remove(int nOper, const TEOperObject& obj) noexcept {
    return RemoveOne(nOper, obj) && m_all.Remove(nOper, m_counter);
}

void HeldObjects::AddOne(int nOper, const TEOperObject& obj) {
    const TEOperObject place = PlaceOf(obj);
    AddAt(nOper, place);
    if (place == obj)
        return;
    try {
        ++m_mapOdd[{nOper, obj}];
        try {
            ++m_mapOddAtPlace[{nOper, place}];
        } catch (...) {
            TakeOne(m_mapOdd, {nOper, obj});
            throw;
        }
    } catch (...) {
        RemoveAt(nOper, place);
        throw;
    }
}

bool HeldObjects::RemoveOne(int nOper, const TEOperObject& obj) noexcept {
    const TEOperObject place = PlaceOf(obj);
    if (place != obj) {
        if (CountOf(m_mapOdd, {nOper, obj}) == 0)
            return false;
        TakeOne(m_mapOdd, {nOper, obj});
        TakeOne(m_mapOddAtPlace, {nOper, place});
    } else if (!m_mapOddAtPlace.empty() &&
               CountAt(nOper, place) == CountOf(m_mapOddAtPlace, {nOper, place})) {
        return false;
    }
    return RemoveAt(nOper, place);
}

void HeldObjects::AddAt(int nOper, const TEOperObject& place) {
    if (place.nNeId == 0)
        return m_everything.Add(nOper, 1, m_counter);
    const NeKey ne{place.nNeId};
    if (place.nObjId == 0)
        return m_tableNe.Add(ne, nOper);
    m_tableBelowNe.Add(ne, nOper);
    const ObjKey object{place.nNeId, place.nObjId};
    try {
        if (place.lSubObjId == 0)
            return m_tableObj.Add(object, nOper);
        m_tableBelowObj.Add(object, nOper);
        try {
            m_tableSub.Add(SubKey{place.nNeId, place.nObjId, place.lSubObjId}, nOper);
        } catch (...) {
            m_tableBelowObj.Remove(object, nOper);
            throw;
        }
    } catch (...) {
        m_tableBelowNe.Remove(ne, nOper);
        throw;
    }
}

bool HeldObjects::RemoveAt(int nOper, const TEOperObject& place) noexcept {
    if (place.nNeId == 0)
        return m_everything.Remove(nOper, m_counter);
    const NeKey ne{place.nNeId};
    if (place.nObjId == 0)
        return m_tableNe.Remove(ne, nOper);
    const ObjKey object{place.nNeId, place.nObjId};
    if (place.lSubObjId == 0) {
        if (!m_tableObj.Remove(object, nOper))
            return false;
    } else {
        if (!m_tableSub.Remove(SubKey{place.nNeId, place.nObjId, place.lSubObjId}, nOper))
            return false;
        m_tableBelowObj.Remove(object, nOper);
    }
    m_tableBelowNe.Remove(ne, nOper);
    return true;
}

std::uint64_t HeldObjects::CountAt(int nOper, const TEOperObject& place) const noexcept {
    if (place.nNeId == 0)
        return m_everything.CountOf(nOper);
    if (place.nObjId == 0)
        return m_tableNe.CountOf(NeKey{place.nNeId}, nOper);
    if (place.lSubObjId == 0)
        return m_tableObj.CountOf(ObjKey{place.nNeId, place.nObjId}, nOper);
    return m_tableSub.CountOf(SubKey{place.nNeId, place.nObjId, place.lSubObjId}, nOper);
}

std::uint64_t HeldObjects::CountOf(const OddCounts& mapOdd, const OddKey& key) noexcept {
    if (mapOdd.empty())
        return 0;
    const auto it = mapOdd.find(key);
    return it == mapOdd.end() ? 0 : it->second;
}

void HeldObjects::TakeOne(OddCounts& mapOdd, const OddKey& key) noexcept {
    const auto it = mapOdd.find(key);
    if (it != mapOdd.end() && --it->second == 0)
        mapOdd.erase(it);
}

}  // namespace NSTE_util
