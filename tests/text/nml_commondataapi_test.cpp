#include "tovelkarin/nml_commondataapi.h"

#include "tests/support.h"
#include "tovelkarin/stringutil.h"

#include <cmath>

namespace {

using namespace NSTN_util;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CommonDataApi, ReadsTheNumberAtTheEndOfAText) {
    const struct {
        const char* szText;
        int nValue;
        bool bDigits;
    } arrCase[] = {
        {"0x1F", 31, true},      {"0X1f", 31, true}, {"-12", -12, false}, {"1g", 0, false},
        {"", 0, false},          {"12x5", 5, true},  {"5-3", -3, false},  {"0x", 0, true},
        {"x", 0, true},          {"gx7", 7, true},   {"-0x1F", 0, false}, {"0x1-2", -2, false},
        {"4294967297", 1, true}, {"ff", 0, false},
    };
    for (const auto& one : arrCase) {
        EXPECT_EQ(one.nValue, HexDecStr2Int(one.szText)) << one.szText;
        EXPECT_EQ(one.bDigits, isHexDecStr(one.szText)) << one.szText;
    }
    EXPECT_EQ(0xFFFFFFFF, HexDecStr2UInt("-1"));
    EXPECT_EQ(4294967297, HexDecStr2LongLong("4294967297"));
    EXPECT_EQ(-4294967297, HexDecStr2TimeT("-4294967297"));
    EXPECT_EQ(1e22, HexDecStr2Double("10000000000000000000000"));
    EXPECT_TRUE(std::signbit(HexDecStr2Double("-0")));
}

TEST(CommonDataApi, KnowsDigitsOfTwoBasesOnly) {
    EXPECT_TRUE(isHexDecChar(16, 'F') && isHexDecChar(16, 'a') && isHexDecChar(10, '9'));
    EXPECT_FALSE(isHexDecChar(10, 'a') || isHexDecChar(16, 'g') || isHexDecChar(8, '1') ||
                 isHexDecChar(16, '\xE4'));
    EXPECT_EQ(15, XDigitCharToInt('F'));
    EXPECT_EQ(0, XDigitCharToInt('g'));
}

TEST(CommonDataApi, ConvertsAddressesUnchecked) {
    EXPECT_EQ("192.168.1.1", IPInt2String(static_cast<int>(0xC0A80101)));
    EXPECT_EQ("255.255.255.254", IPInt2String(-2));
    EXPECT_EQ("0.0.0.0", IPInt2String(0));
    EXPECT_EQ("", IPInt2String(-1));
    const std::pair<const char*, unsigned> arrCase[] = {{"", 0xFFFFFFFF},
                                                        {"10.0.0.1", 0x0A000001},
                                                        {"1.2.3.4.5", 0x05020304},
                                                        {"x.2", 0x00020000},
                                                        {"0.256", 0x01000000},
                                                        {"0.0.0.-1", 0xFFFFFFFF},
                                                        {".", 0},
                                                        {" 7", 0x07000000}};
    for (const auto& [szText, ip] : arrCase)
        EXPECT_EQ(static_cast<int>(ip), IPString2Int(szText)) << szText;
}

TEST(CommonDataApi, LinksOfDifferentNumbersMayHaveTheSameText) {
    EXPECT_EQ("LTUNNELVIEW:123", MakeTopoLinkID(12, 3));
    EXPECT_EQ("LTUNNELVIEW:123", MakeTopoLinkID(1, 23));
}

TEST(CommonDataApi, CutsAtTheFirstSeparator) {
    std::string strLeft = "l";
    std::string strRight = "r";
    EXPECT_FALSE(SplitStrBySeparator("no", "=", strLeft, strRight));
    EXPECT_FALSE(SplitStrBySeparator("", "", strLeft, strRight));
    EXPECT_FALSE(SplitStrBySeparator("text", "", strLeft, strRight));
    EXPECT_EQ("lr", strLeft + strRight);
    EXPECT_TRUE(SplitStrBySeparator(" a :: b::c\r\n", "::", strLeft, strRight));
    EXPECT_EQ("a", strLeft);
    EXPECT_EQ("b::c", strRight);
    std::string strText = "k = v";
    EXPECT_TRUE(SplitStrBySeparator(strText, "=", strRight, strText));  // outputs may be the input
    EXPECT_EQ("k", strRight);
    EXPECT_EQ("v", strText);
}

TEST(CommonDataApi, TracesListsThatCannotBeRead) {
    support::DebugCapture debug;
    std::vector<int> vec;
    EXPECT_TRUE(StrToNumList(std::string("1-3,7"), vec));
    EXPECT_THAT(vec, ElementsAre(1, 2, 3, 7));
    EXPECT_FALSE(StrToNumList(CStdString("3-1"), vec));  // stringutil's own reader is silent
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_FALSE(StrToNumList("3-1", vec));  // a literal goes to the standard-string form
    EXPECT_FALSE(StrOIDToVec("1,x", vec));
    EXPECT_THAT(vec, ElementsAre(1));
    EXPECT_THAT(debug.Take(),
                ElementsAre("Error: strVlanNum = 3-1 ! file:nml_commondataapi,line:335 ",
                            "Error: StrOIDToVec = 1,x ! file:nml_commondataapi,line:350 "));
}

TEST(CommonDataApi, WritesListsByTheTypeThatTheyAreGivenAs) {
    std::vector<int> vec = {8, 2, 3, 2, 1, 7};
    std::string strText;
    CStdString strPlatform;
    NumListToStr(vec, strText);
    EXPECT_EQ("1-3,7-8", strText);
    NumListToStr(vec, strPlatform);
    EXPECT_EQ("8,2,3,2,1,7", strPlatform);
    NumListToStr(std::list<int>(vec.begin(), vec.end()), strText);
    EXPECT_EQ("1-2,2-3,7-8", strText);
    NumListToRawStr(vec, strText);
    EXPECT_EQ("8,2,3,2,1,7", strText);
    CompOID2Str(vec, strText);
    EXPECT_EQ("8,2-3,2,1,7", strText);
}

}  // namespace
