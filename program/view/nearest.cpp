#include "view/nearest.h"

#include "tovelkarin/stringutil.h"

#include <algorithm>
#include <numeric>

namespace host {

namespace {

// How many characters must be put in, taken out or changed to make one text the other.
std::size_t Distance(const std::string& strA, const std::string& strB) {
    std::vector<std::size_t> vecRow(strB.size() + 1);
    std::iota(vecRow.begin(), vecRow.end(), 0U);
    for (std::size_t i = 0; i < strA.size(); ++i) {
        std::size_t nDiagonal = vecRow[0];
        vecRow[0] = i + 1;
        for (std::size_t n = 0; n < strB.size(); ++n) {
            const std::size_t nChange = nDiagonal + (strA[i] == strB[n] ? 0 : 1);
            nDiagonal = vecRow[n + 1];
            vecRow[n + 1] = std::min({nChange, vecRow[n] + 1, vecRow[n + 1] + 1});
        }
    }
    return vecRow.back();
}

}  // namespace

std::string NearestOf(const std::string& strWord, const std::vector<std::string>& vecKnown) {
    std::string strNearest;
    std::size_t nLeast = strWord.size() / 3 + 2;
    for (const std::string& strKnown : vecKnown) {
        const std::size_t nDistance =
            Distance(NSTN_util::StrToLower(strWord), NSTN_util::StrToLower(strKnown));
        if (nDistance < nLeast) {
            nLeast = nDistance;
            strNearest = strKnown;
        }
    }
    return strNearest;
}

}  // namespace host
