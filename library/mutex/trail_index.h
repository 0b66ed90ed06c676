#pragma once

#include <cstddef>
#include <list>
#include <map>

namespace NSTE_util {

// Ascending; what is sorted already, or short, costs no scratch lists.
void SortTrails(std::list<int>& listTrail);

// Where the trails of a list stand. The list belongs to others, who see it and may even change it:
// its beginning is sorted and indexed, and behind that stands what was appended since the last
// Sort. One thread at a time.
class TrailIndex {
public:
    // Nothing is known of the list any more, the next call looks at all of it.
    void Forget();

    // Leaves the list sorted, with all of it indexed. Costs log N for each trail that was appended.
    // Throws std::bad_alloc, with every trail still in the list.
    void Sort(std::list<int>& listBusy);

    // Those of the sorted listWanted that stand in the list, which was just sorted, too: as often
    // as they do in both. Costs log N for each that is wanted.
    std::list<int> Busy(const std::list<int>& listWanted) const;

    // Moves listTrail behind what is there.
    void Append(std::list<int>& listBusy, std::list<int>& listTrail) noexcept;

    // Takes one occurrence of each of the sorted listGone out of the list, as far as it is there,
    // and leaves the list sorted; what was taken, ascending. Costs log N for each of them and for
    // each trail that was appended. Throws nothing: without memory the list is sorted as a whole.
    std::list<int> Remove(std::list<int>& listBusy, const std::list<int>& listGone) noexcept;

private:
    using Place = std::list<int>::iterator;

    // A list as it was left: others have changed it if it looks different.
    struct Mark {
        Mark() = default;
        explicit Mark(const std::list<int>& listBusy);
        bool operator==(const Mark& other) const;

        std::size_t nSize = 0;
        const int* pFirst = nullptr;  // compared only, never looked behind
        const int* pLast = nullptr;
        int nFirst = 0;
        int nLast = 0;
    };

    void ForgetWhenChanged(const std::list<int>& listBusy);
    void IndexAppended(std::list<int>& listBusy);
    // One occurrence of each of listGone out of the two, both sorted.
    std::list<int> Take(std::list<int>& listBusy, std::list<int>& listAppended,
                        const std::list<int>& listGone) noexcept;
    Place FirstAppended(std::list<int>& listBusy) const;

    std::multimap<int, Place> m_mapPlace;  // equal trails stand as in the list
    Mark m_mark;
};

}  // namespace NSTE_util
