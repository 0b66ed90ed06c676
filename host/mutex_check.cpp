#include "mutex_file.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace host {

namespace {

using LineKey = std::pair<std::string, int>;

constexpr std::size_t NAMED_AT_MOST = 8;

std::string Join(const std::vector<int>& vecOper) {
    std::string strText;
    for (std::size_t i = 0; i < vecOper.size() && i < NAMED_AT_MOST; ++i)
        strText += (i == 0 ? "" : ", ") + std::to_string(vecOper[i]);
    if (vecOper.size() > NAMED_AT_MOST)
        strText += " and " + std::to_string(vecOper.size() - NAMED_AT_MOST) + " more";
    return strText;
}

}  // namespace

void MutexFile::CheckWhole() {
    std::map<int, Place> mapFirstBlocks = mapExclusive;
    // One finding a line: the operations that are blocked and do not block back.
    std::map<LineKey, std::pair<Place, std::map<int, std::vector<int>>>> mapOneWay;
    for (const auto& [nRequested, mapBlocker] : mapBlockers)
        for (const auto& [nBlocker, place] : mapBlocker) {
            mapFirstBlocks.emplace(nBlocker, place);
            if (Blocks(nRequested, nBlocker))
                continue;
            auto& [placeOf, mapPairs] = mapOneWay[{place.strFile, place.nLine}];
            placeOf = place;
            mapPairs[nBlocker].push_back(nRequested);
        }
    for (const auto& [nOper, place] : mapFirstBlocks)
        if (mapCode.count(nOper) == 0)
            Add(ESeverity::WARNING, place, place.nColumn,
                "operation " + std::to_string(nOper) +
                    " blocks others and has no code: they get 0x4101F012",
                "a line in [MUTEX_ERRORCODE]");
    for (const auto& [key, oneWay] : mapOneWay)
        for (const auto& [nBlocker, vecRequested] : oneWay.second)
            Add(ESeverity::WARNING, oneWay.first, oneWay.first.nColumn,
                std::to_string(nBlocker) + " blocks " + Join(vecRequested) +
                    " but is not blocked in return",
                "flag 1 for both directions");
    std::stable_sort(vecFinding.begin(), vecFinding.end(), [](const Finding& a, const Finding& b) {
        return std::tie(a.place.strFile, a.place.nLine, a.place.nColumn) <
               std::tie(b.place.strFile, b.place.nLine, b.place.nColumn);
    });
}

}  // namespace host
