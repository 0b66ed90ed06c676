#include "zemb/text.h"

#include "zemb/securec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TokenTest, KeepsEmptyPieces) {
    EXPECT_THAT(NSTE_util::Token("10:20:1:", ':'), ElementsAre("10", "20", "1", ""));
    EXPECT_THAT(NSTE_util::Token("10::1", ':'), ElementsAre("10", "", "1"));
    EXPECT_THAT(NSTE_util::Token("", ':'), ElementsAre(""));
}

TEST(TrimTest, RemovesBlanksTabsAndLineEnds) {
    EXPECT_EQ("a \t b", NSTE_util::Trim(" \t\r\na \t b\n\r"));
    EXPECT_EQ("", NSTE_util::Trim(" \t\r\n"));
    EXPECT_EQ("\v", NSTE_util::Trim("\v"));
}

TEST(StrToIntTest, TakesWholeNumbersThatFit32Bits) {
    const struct {
        const char* szText;
        int nBase;
        bool bRead;
        int nValue;
    } arrCase[] = {
        {" 42 ", 10, true, 42},       {"-2147483648", 10, true, -2147483647 - 1},
        {"2147483648", 10, false, 0}, {"+7", 10, true, 7},
        {"+-7", 10, false, 0},        {"--7", 10, false, 0},
        {"+", 10, false, 0},          {"-", 10, false, 0},
        {"", 10, false, 0},           {"   ", 10, false, 0},
        {"12a", 10, false, 0},        {"1 2", 10, false, 0},
        {"\t7", 10, true, 7},         {"7\t", 10, false, 0},
        {"ff", 16, true, 255},        {"0x10", 16, false, 0},
        {"-1x", 36, true, -69},       {"7", 1, false, 0},
    };
    for (const auto& test : arrCase) {
        int nValue = 99;
        EXPECT_EQ(test.bRead, NSTE_util::StrToInt(test.szText, nValue, test.nBase)) << test.szText;
        EXPECT_EQ(test.bRead ? test.nValue : 99, nValue) << "untouched on failure";
    }
}

TEST(StrToNumListTest, ReadsNumbersAndSpans) {
    std::vector<int> vecNumber;
    EXPECT_TRUE(NSTE_util::StrToNumList("1-3, 7,,2147483646-2147483647,", vecNumber));
    EXPECT_THAT(vecNumber, ElementsAre(1, 2, 3, 7, 2147483646, 2147483647));
    EXPECT_TRUE(NSTE_util::StrToNumList(" ", vecNumber));
    EXPECT_THAT(vecNumber, IsEmpty());
    for (const char* const szBad : {"5,3-1", "5,-1", "5,x", "5,1-", "5,1-2-3", "5,0-2147483647"}) {
        EXPECT_FALSE(NSTE_util::StrToNumList(szBad, vecNumber)) << szBad;
        EXPECT_THAT(vecNumber, ElementsAre(5)) << "what stood before it: " << szBad;
    }
    EXPECT_TRUE(NSTE_util::StrToNumList("4294967298", vecNumber));
    EXPECT_THAT(vecNumber, ElementsAre(2)) << "cut to 32 bits";
    EXPECT_FALSE(NSTE_util::StrToNumList("99999999999999999999", vecNumber));
    EXPECT_TRUE(NSTE_util::StrToNumList("1-1048576", vecNumber));
    EXPECT_FALSE(NSTE_util::StrToNumList("1-1048576,1", vecNumber));
}

TEST(SecurecTest, RefusesWhatDoesNotFitAndTouchesNothing) {
    char szText[4] = "abc";
    EXPECT_EQ(ERANGE, memcpy_s(szText, 3, "wxyz", 4));
    EXPECT_EQ(EINVAL, memcpy_s(szText, 3, nullptr, 1));
    EXPECT_EQ(EINVAL, memcpy_s(nullptr, 3, "x", 1));
    EXPECT_EQ(ERANGE, memset_s(szText, 3, 'x', 4));
    EXPECT_EQ(EINVAL, memset_s(nullptr, 3, 'x', 1));
    EXPECT_STREQ("abc", szText);
    EXPECT_EQ(0, memcpy_s(nullptr, 0, nullptr, 0));
    EXPECT_EQ(0, memcpy_s(szText, 4, "xyz", 3));
    EXPECT_STREQ("xyz", szText);
    EXPECT_EQ(0, memset_s(szText, 4, 'q', 2));
    EXPECT_STREQ("qqz", szText);
}

TEST(SecurecTest, FormatsWithinTheSmallerOfBothBounds) {
    char szText[8];
    const struct {
        std::size_t nSize;
        std::size_t nCount;
        int nResult;
        const char* szText;
    } arrCase[] = {{8, 7, 5, "12345"},  {8, 5, 5, "12345"}, {8, 4, -1, "1234"},
                   {8, 99, 5, "12345"}, {4, 99, -1, "123"}, {1, 1, -1, ""}};
    for (const auto& test : arrCase) {
        std::memset(szText, '#', sizeof szText);
        EXPECT_EQ(test.nResult, snprintf_s(szText, test.nSize, test.nCount, "%d", 12345));
        EXPECT_STREQ(test.szText, szText);
    }
    EXPECT_EQ(-1, snprintf_s(nullptr, 4, 3, "%d", 1));
    EXPECT_EQ(-1, snprintf_s(szText, 0, 3, "%d", 1));
}

}  // namespace
