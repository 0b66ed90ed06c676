#include "task/operlog_cut.h"

#include "base/read_number.h"
#include "base/utf8.h"

namespace NSTN_util {

namespace {

constexpr std::size_t PART = 510;  // bytes

bool IsPlace(char c) {
    return base::IsLetterOrDigit(c) ||
           std::string_view(":,[]()- ").find(c) != std::string_view::npos;
}

}  // namespace

std::string_view SafeCut(std::string_view strText, std::size_t nMost) {
    if (strText.size() <= nMost)
        return strText;
    std::size_t nCut = nMost;
    while (nCut > 0 && !IsPlace(strText[nCut]))
        --nCut;
    return strText.substr(0, nCut);
}

std::size_t SplitPoint(std::string_view strText) {
    std::size_t nCut = PART;
    while (nCut > 0 && base::IsContinuation(strText[nCut]))
        --nCut;
    return nCut == 0 ? PART : nCut;  // no whole character: it must end, and lose nothing
}

}  // namespace NSTN_util
