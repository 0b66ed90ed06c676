#include "check/mutex_file.h"

#include "view/output.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

// What a table as a whole lacks. All of it is reckoned with runs of operations: a line may name a
// million of them in a few characters, and its findings name them the same way.
namespace host {

namespace {

// First and last of runs of operations, ascending.
using Runs = std::vector<std::pair<int, int>>;

constexpr std::uint64_t NAMED_AT_MOST = 8;

std::string Join(const Runs& vecRun) {
    std::string strText;
    std::uint64_t nCount = 0;
    for (const auto& [nFirst, nLast] : vecRun) {
        for (std::int64_t n = nFirst;
             n <= nLast && nCount + static_cast<std::uint64_t>(n - nFirst) < NAMED_AT_MOST; ++n)
            AppendItem(strText, std::to_string(n));
        nCount += static_cast<std::uint64_t>(std::int64_t{nLast} - nFirst + 1);
    }
    if (nCount > NAMED_AT_MOST)
        strText += " and " + std::to_string(nCount - NAMED_AT_MOST) + " more";
    return strText;
}

// What is left of a run without those of others, given as runs by their first number.
Runs Without(int nFirst, int nLast, const std::map<int, int>& mapOther) {
    Runs vecLeft;
    std::int64_t nNext = nFirst;
    auto it = mapOther.upper_bound(nFirst);
    if (it != mapOther.begin())
        --it;
    for (; it != mapOther.end() && it->first <= nLast; ++it) {
        if (nNext < it->first)
            vecLeft.emplace_back(static_cast<int>(nNext), it->first - 1);
        nNext = std::max(nNext, std::int64_t{it->second} + 1);
    }
    if (nNext <= nLast)
        vecLeft.emplace_back(static_cast<int>(nNext), nLast);
    return vecLeft;
}

Runs Without(const Runs& vecRun, const std::map<int, int>& mapOther) {
    Runs vecLeft;
    for (const auto& [nFirst, nLast] : vecRun) {
        const Runs vecPart = Without(nFirst, nLast, mapOther);
        vecLeft.insert(vecLeft.end(), vecPart.begin(), vecPart.end());
    }
    return vecLeft;
}

}  // namespace

// Each operation that is in the way of others, with the line that says so: that it excludes all
// others, else that it blocks the lowest of those it blocks.
PlacedSpans MutexFile::FirstBlocks() const {
    std::vector<std::tuple<int, std::size_t, int, int>> vecBlock;  // blocked, place, blockers
    for (const auto& [nBlocker, spans] : m_mapBlocks) {
        const auto& [nRequested, span] = *spans.Spans().begin();
        vecBlock.emplace_back(nRequested, span.nPlace, nBlocker, nBlocker);
    }
    for (const auto& [nRequested, spans] : m_mapBlockedBy)
        for (const auto& [nFirst, span] : spans.Spans())
            vecBlock.emplace_back(nRequested, span.nPlace, nFirst, span.nLast);
    std::sort(vecBlock.begin(), vecBlock.end());
    PlacedSpans blocks = exclusive;
    for (const auto& [nRequested, nPlace, nFirst, nLast] : vecBlock)
        blocks.AddMissing(nFirst, nLast, nPlace);
    return blocks;
}

// One finding for neighbours that one line names.
void MutexFile::CheckCodes() {
    PlacedSpans coded;
    for (const auto& [nOper, code] : mapCode)
        coded.AddMissing(nOper, nOper, 0);
    const PlacedSpans blocks = FirstBlocks();
    const auto itEnd = blocks.Spans().end();
    for (auto it = blocks.Spans().begin(); it != itEnd;) {
        const auto [nStart, span] = *it;
        int nEnd = span.nLast;
        for (++it; it != itEnd && it->first - 1 == nEnd && it->second.nPlace == span.nPlace; ++it)
            nEnd = it->second.nLast;
        for (const auto& [nFirst, nLast] : Without(nStart, nEnd, coded.Runs()))
            Add(ESeverity::WARNING, PlaceAt(span.nPlace), PlaceAt(span.nPlace).nColumn,
                (nFirst == nLast ? "operation " + std::to_string(nFirst) + " blocks others and has"
                                 : "operations " + std::to_string(nFirst) + "-" +
                                       std::to_string(nLast) + " block others and have") +
                    " no code: they get 0x4101F012",
                "a line in [MUTEX_ERRORCODE]");
    }
}

// One finding a line: the operations that are blocked and do not block back.
void MutexFile::CheckReturns() {
    for (const auto& [nBlocker, spans] : m_mapBlocks) {
        if (ExclusiveRule(nBlocker) != nullptr)
            continue;
        PlacedSpans back;
        if (const auto it = m_mapBlockedBy.find(nBlocker); it != m_mapBlockedBy.end())
            back = it->second;
        std::map<std::size_t, Runs> mapOneWay;  // by line
        for (const auto& [nFirst, span] : spans.Spans()) {
            for (auto it = m_mapBlocks.lower_bound(nFirst);
                 it != m_mapBlocks.end() && it->first <= span.nLast; ++it)
                if (it->second.PlaceOf(nBlocker) != nullptr)
                    back.AddMissing(it->first, it->first, 0);
            const Runs vecLeft =
                Without(Without(nFirst, span.nLast, exclusive.Runs()), back.Runs());
            Runs& vecOneWay = mapOneWay[span.nPlace];
            vecOneWay.insert(vecOneWay.end(), vecLeft.begin(), vecLeft.end());
        }
        for (const auto& [nPlace, vecRun] : mapOneWay)
            if (!vecRun.empty())
                Add(ESeverity::WARNING, PlaceAt(nPlace), PlaceAt(nPlace).nColumn,
                    std::to_string(nBlocker) + " blocks " + Join(vecRun) +
                        " but is not blocked in return",
                    "flag 1 for both directions");
    }
}

void MutexFile::CheckWhole() {
    CheckCodes();
    CheckReturns();
    std::stable_sort(vecFinding.begin(), vecFinding.end(), [](const Finding& a, const Finding& b) {
        return std::tie(a.place.strFile, a.place.nLine, a.place.nColumn) <
               std::tie(b.place.strFile, b.place.nLine, b.place.nColumn);
    });
}

}  // namespace host
