#include "task/operlog_cut.h"

namespace NSTN_util {

namespace {

constexpr std::size_t PART = 510;  // bytes

bool IsPlace(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view(":,[]()- ").find(c) != std::string_view::npos;
}

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
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
    while (nCut > 0 && IsContinuation(strText[nCut]))
        --nCut;
    return nCut == 0 ? PART : nCut;  // no whole character: it must end, and lose nothing
}

}  // namespace NSTN_util
