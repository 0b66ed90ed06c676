#include "tovelkarin/tnfbtype.h"

#include "tests/support.h"

#include <map>
#include <set>

namespace {

using NSTN_util::ConvertTTPfb2FBType;
using NSTN_util::ConvertTTPfb2FBTypeStr;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(FbTypeTest, FoldsEveryDetailedTypeOnItsFunctionBlock) {
    const std::map<int, std::set<int>> mapFold = {
        {4, {4, 43, 44}},
        {91, {91, 93, 94}},
        {92, {92, 95, 96}},
        {14, {14, 64, 65, 206, 207, 208}},
        {10, {10, 55, 56}},
        {11, {11, 59, 60}},
        {12, {12, 57, 58, 203, 204, 205}},
        {200, {200, 201, 202}},
    };
    support::DebugCapture debug;
    std::size_t nKnown = 0;
    for (int nType = -2; nType < 1000; ++nType) {
        int nFbType = -7;
        int nExpected = -7;
        for (const auto& [nFold, setDetail] : mapFold)
            if (setDetail.count(nType) != 0)
                nExpected = nFold;
        // Ten blocks of three types and three more, 50 or 51 behind them.
        for (const int nFold : {801, 804, 807, 810, 820, 823, 826, 829, 832}) {
            const int nMore = nFold < 820 ? nFold + 50 : nFold + 51;
            if ((nType >= nFold && nType < nFold + 3) || (nType >= nMore && nType < nMore + 3))
                nExpected = nFold;
        }
        EXPECT_EQ(nExpected != -7, ConvertTTPfb2FBType(nType, nFbType)) << nType;
        EXPECT_EQ(nExpected, nFbType) << nType;
        nKnown += nExpected == -7 ? 0 : 1;
    }
    EXPECT_EQ(84U, nKnown);
    EXPECT_EQ(1002U - 84U, debug.Take().size());
}

TEST(FbTypeTest, NamesTheLevels) {
    const struct {
        int nType;
        const char* szLevel;
        const char* szLowLevel;
    } arrCase[] = {{94, "VC4", "VC3"}, {96, "VC4", "VC12"}, {43, "VC4", ""},   {65, "OSC", ""},
                   {56, "OTS", ""},    {60, "OMS", ""},     {205, "OCH", ""},  {853, "OTU3", ""},
                   {856, "OTU2", ""},  {859, "OTU5G", ""},  {862, "OTU1", ""}, {873, "ODU3", ""},
                   {876, "ODU2", ""},  {879, "ODU5G", ""},  {882, "ODU1", ""}, {885, "ODU0", ""},
                   {201, "CLIENT", ""}};
    support::DebugCapture debug;
    std::string strLevel = "before";
    std::string strLowLevel = "before";
    for (const auto& one : arrCase) {
        EXPECT_TRUE(ConvertTTPfb2FBTypeStr(one.nType, strLevel, strLowLevel)) << one.nType;
        EXPECT_EQ(one.szLevel, strLevel);
        EXPECT_EQ(one.szLowLevel, strLowLevel);
    }
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_FALSE(ConvertTTPfb2FBTypeStr(97, strLevel, strLowLevel));
    EXPECT_EQ("", strLevel + strLowLevel);
    EXPECT_THAT(debug.TakeWhole(),
                ElementsAre("tovelkarin 1 WARNING in ConvertTTPfb2FBType: unknown FB_TYPE(97)"));
}

}  // namespace
