#include "mutex/trail_index.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

// The index knows the place of each trail in the sorted beginning of the list, by value. A trail
// that was appended is searched there once, when the list is sorted, and spliced to its place. One
// that leaves before that, as that of a guard without another one inside does, was never indexed.
namespace NSTE_util {

namespace {

constexpr std::size_t SHORT_LIST = 16;  // trails

// Each trail moves to its place among those before it.
void InsertionSort(std::list<int>& listTrail) {
    for (auto it = listTrail.begin(); it != listTrail.end();) {
        const auto itTrail = it++;
        listTrail.splice(std::upper_bound(listTrail.begin(), itTrail, *itTrail), listTrail,
                         itTrail);
    }
}

}  // namespace

void SortTrails(std::list<int>& listTrail) {
    if (std::is_sorted(listTrail.begin(), listTrail.end()))
        return;
    if (listTrail.size() <= SHORT_LIST)
        InsertionSort(listTrail);
    else
        listTrail.sort();
}

TrailIndex::Mark::Mark(const std::list<int>& listBusy) : nSize(listBusy.size()) {
    if (listBusy.empty())
        return;
    pFirst = &listBusy.front();
    pLast = &listBusy.back();
    nFirst = *pFirst;
    nLast = *pLast;
}

bool TrailIndex::Mark::operator==(const Mark& other) const {
    return nSize == other.nSize && pFirst == other.pFirst && pLast == other.pLast &&
           nFirst == other.nFirst && nLast == other.nLast;
}

void TrailIndex::Forget() {
    m_mapPlace.clear();
}

void TrailIndex::ForgetWhenChanged(const std::list<int>& listBusy) {
    if (!(m_mark == Mark(listBusy)))
        Forget();
}

TrailIndex::Place TrailIndex::FirstAppended(std::list<int>& listBusy) const {
    return m_mapPlace.empty() ? listBusy.begin() : std::next(m_mapPlace.rbegin()->second);
}

void TrailIndex::Sort(std::list<int>& listBusy) {
    ForgetWhenChanged(listBusy);
    IndexAppended(listBusy);
    m_mark = Mark(listBusy);
}

void TrailIndex::IndexAppended(std::list<int>& listBusy) {
    if (m_mapPlace.empty())
        SortTrails(listBusy);
    for (Place it = FirstAppended(listBusy); it != listBusy.end();) {
        const Place itTrail = it++;
        const auto itBehind = m_mapPlace.upper_bound(*itTrail);
        m_mapPlace.emplace_hint(itBehind, *itTrail, itTrail);
        if (itBehind != m_mapPlace.end())
            listBusy.splice(itBehind->second, listBusy, itTrail);
    }
}

std::list<int> TrailIndex::Busy(const std::list<int>& listWanted) const {
    std::list<int> listFound;
    auto itBusy = m_mapPlace.end();
    const int* pBefore = nullptr;
    for (const int& nTrail : listWanted) {
        if (pBefore == nullptr || *pBefore != nTrail)
            itBusy = m_mapPlace.lower_bound(nTrail);
        pBefore = &nTrail;
        if (itBusy != m_mapPlace.end() && itBusy->first == nTrail) {
            listFound.push_back(nTrail);
            ++itBusy;
        }
    }
    return listFound;
}

void TrailIndex::Append(std::list<int>& listBusy, std::list<int>& listTrail) noexcept {
    ForgetWhenChanged(listBusy);
    listBusy.splice(listBusy.end(), listTrail);
    m_mark = Mark(listBusy);
}

std::list<int> TrailIndex::Remove(std::list<int>& listBusy,
                                  const std::list<int>& listGone) noexcept {
    ForgetWhenChanged(listBusy);
    std::list<int> listAppended;
    listAppended.splice(listAppended.end(), listBusy, FirstAppended(listBusy), listBusy.end());
    SortTrails(listAppended);
    std::list<int> listTaken;
    if (listAppended == listGone)  // fast path: what goes is what came last
        listTaken.swap(listAppended);
    else
        listTaken = Take(listBusy, listAppended, listGone);
    listBusy.splice(listBusy.end(), listAppended);
    try {
        IndexAppended(listBusy);
    } catch (const std::bad_alloc&) {
        Forget();
        SortTrails(listBusy);
    }
    m_mark = Mark(listBusy);
    return listTaken;
}

std::list<int> TrailIndex::Take(std::list<int>& listBusy, std::list<int>& listAppended,
                                const std::list<int>& listGone) noexcept {
    std::list<int> listTaken;
    auto itAppended = listAppended.begin();
    for (const int nTrail : listGone) {
        while (itAppended != listAppended.end() && *itAppended < nTrail)
            ++itAppended;
        if (itAppended != listAppended.end() && *itAppended == nTrail) {
            listTaken.splice(listTaken.end(), listAppended, itAppended++);
        } else if (const auto it = m_mapPlace.find(nTrail); it != m_mapPlace.end()) {
            listTaken.splice(listTaken.end(), listBusy, it->second);
            m_mapPlace.erase(it);
        }
    }
    return listTaken;
}

}  // namespace NSTE_util
