#include "tovelkarin/stringutil.h"

#include "config/resource_text.h"
#include "tests/naive/patterns_check.h"
#include "tests/naive/text_lists_check.h"
#include "tests/naive/text_numbers_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"
#include "tovelkarin/telangresmgr.h"
#include "zemb/faults.h"

#include <climits>
#include <clocale>
#include <cstdlib>

namespace {

using namespace NSTN_util;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(StringUtil, AgreesWithTheNaiveModels) {
    support::CheckRandomly(naive::CheckTextNumbers, 30000, 40);
    support::CheckRandomly(naive::CheckTextLists, 20000, 120);
    support::CheckRandomly(naive::CheckPatterns, 30000, 110);
}

TEST(StringUtil, ReadsNeIdentifiersAsAStreamReadsNumbers) {
    const struct {
        const char* szText;
        bool bRead;
        unsigned long id;  // 77: untouched
    } arrCase[] = {
        {"5-3", true, 0x50003},
        {"70000-3", true, 0x11700003},
        {"5x-3", true, 0x50003},
        {"5-3-1", true, 0x50003},
        {" 5- 3", true, 0x50003},
        {"5--3", true, 0x5FFFD},
        {"5-70000", true, 0x51170},
        {"-3", false, 77},
        {"5-", false, 77},
        {"5-4294967296", false, 77},
        {"0x1f", true, 31},
        {"0x", true, 0},
        {"0X1F", true, 0},
        {"0xg", false, 0},
        {"18446744073709551615", true, ULONG_MAX},
        {"18446744073709551616", false, ULONG_MAX},
        {"abc", false, 0},
        {" ", false, 77},
        {"", false, 77},
        {nullptr, false, 77},
    };
    for (const auto& one : arrCase) {
        unsigned long id = 77;
        EXPECT_EQ(one.bRead, TEStr2NEID(one.szText, id)) << one.szText;
        EXPECT_EQ(one.id, id) << (one.szText == nullptr ? "null" : one.szText);
    }
    EXPECT_EQ("5-3", TENEID2Str(0x50003));
    EXPECT_EQ("-1-65535", TENEID2Str(0xFFFFFFFFFFFFUL));
}

TEST(StringUtil, OneBadNeIdentifierEmptiesTheWholeResult) {
    std::vector<unsigned long> vecId = {9};
    std::vector<CStdString> vecText = {"1-2", "x", "3-4"};
    EXPECT_FALSE(TEVecStr2NEID(vecText, vecId));
    EXPECT_THAT(vecId, IsEmpty());
    vecText[1] = "5";
    EXPECT_TRUE(TEVecStr2NEID(vecText, vecId));
    EXPECT_THAT(vecId, ElementsAre(0x10002, 5, 0x30004));
    vecText.clear();
    EXPECT_TRUE(TEVecStr2NEID(vecText, vecId));
    EXPECT_THAT(vecId, IsEmpty());
}

// The language type is asked once per process, so each language has a process of its own.
void ExitWithConverted(const char* szLanguage, const std::vector<std::string>& vecExpected) {
    zemb::SetLanguage(szLanguage);
    bool bGood = ConvertULONGToStr(7, true) == "7";
    zemb::SetLanguage("xx");  // nothing has asked so far
    zemb::SetLanguage(szLanguage);
    bGood = bGood && ConvertULONGToStr(ULONG_MAX, false) == vecExpected[0];
    zemb::SetLanguage(std::string(szLanguage) == "zh" ? "en" : "zh");  // too late
    bGood = bGood && ConvertLONGToStr(LONG_MIN, false) == vecExpected[1] &&
            ConvertHEXToStr(0xAB, false) == vecExpected[2];
    std::_Exit(bGood ? 0 : 1);
}

// The platform's answer counts even when there is none: it throws, and who takes the line of that
// converts a number itself.
void ExitWithThrown() {
    zemb::SetLanguage("en");
    std::string strInside;
    const zemb::ScopedDebugSink sink(
        [&](const zemb::DebugLine&) { strInside = ConvertLONGToStr(5, false); });
    std::string strFirst;
    {
        const zemb::ScopedFault fault(zemb::EFault::THROWS, 1);
        strFirst = ConvertULONGToStr(7, false);
    }
    std::_Exit(strFirst == "7" && strInside == "5" && ConvertHEXToStr(0xAB, false) == "ab" ? 0 : 1);
}

TEST(StringUtilDeathTest, AsksForTheLanguageTypeOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(ExitWithThrown(), testing::ExitedWithCode(0), "");
}

TEST(StringUtilDeathTest, PutsABlankBeforeNumbersInWesternLanguagesOnly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(ExitWithConverted("en", {" 18446744073709551615", " -9223372036854775808", " ab"}),
                testing::ExitedWithCode(0), "");
    EXPECT_EXIT(ExitWithConverted("zh", {"18446744073709551615", "-9223372036854775808", "ab"}),
                testing::ExitedWithCode(0), "");
}

TEST(StringUtil, WritesOutWhatDoesNotReadAsANumber) {
    int nOut = 5;
    EXPECT_FALSE(StrToInt("   ", nOut, 10));
    EXPECT_EQ(5, nOut);
    EXPECT_FALSE(StrToInt(" 12x ", nOut, 10));
    EXPECT_EQ(12, nOut);
    EXPECT_TRUE(StrToInt("4294967298", nOut, 10));  // cut to 32 bits
    EXPECT_EQ(2, nOut);
    EXPECT_TRUE(StrToInt("0x1F", nOut, 0));
    EXPECT_EQ(31, nOut);
    EXPECT_FALSE(StrToInt("7", nOut, 1));
    EXPECT_FALSE(StrToInt(nullptr, nOut, 10));
}

TEST(StringUtil, ReadsFourOctetsAndNothingElse) {
    const struct {
        const char* szText;
        bool bRead;
        unsigned long ip;
    } arrCase[] = {
        {"10.1.2.3", true, 0x0A010203},
        {" 1. 2 .3.4 ", true, 0x01020304},
        {"1.2.3.4.", true, 0x01020304},
        {"001.2.3.4", true, 0x01020304},
        {"1.2.3", false, 0x010203},
        {"1.2.3.4.5", false, 0x0102030405},
        {"1.2.3.4.5.6", false, 0x0102030405},
        {"1.2.3.4..", false, 0x01020304},
        {"1..2.3", false, 1},
        {"256.1.1.1", false, 0},
        {"1.99999999999999999999.1.1", false, 1},
        {"1.+2.3.4", false, 1},
        {"", false, 0},
        {nullptr, false, 0},
    };
    for (const auto& one : arrCase) {
        unsigned long ip = 77;
        EXPECT_EQ(one.bRead, TEStr2Ip(one.szText, ip)) << one.szText;
        EXPECT_EQ(one.ip, ip) << (one.szText == nullptr ? "null" : one.szText);
    }
}

TEST(StringUtil, StoresFieldsOfATimeAlsoWhenTheyAreRefused) {
    const struct {
        unsigned nIndex;
        const char* szField;
        bool bAccepted;
        int nStored;
    } arrCase[] = {
        {0, "2026", true, 126},   {0, "1899", false, 1899}, {0, "3000", true, 1100},
        {0, "3001", false, 3001}, {1, "12", true, 11},      {1, "0", false, 0},
        {1, "13", false, 13},     {2, "31", true, 31},      {2, "32", false, 32},
        {3, "23", true, 23},      {3, "-1", false, -1},     {4, "59", true, 59},
        {4, "60", false, 60},     {5, "07s", true, 7},      {5, "x", true, 0},
        {6, "1", false, -7},
    };
    for (auto one : arrCase) {
        std::tm parts{};
        int* const arrField[] = {&parts.tm_year, &parts.tm_mon, &parts.tm_mday, &parts.tm_hour,
                                 &parts.tm_min,  &parts.tm_sec, &parts.tm_wday};
        *arrField[one.nIndex] = -7;
        std::string strField = one.szField;
        EXPECT_EQ(one.bAccepted, TEStrSubStr2DateTime(one.nIndex, parts, strField)) << strField;
        EXPECT_EQ(one.nStored, *arrField[one.nIndex]) << one.nIndex << " " << strField;
    }
}

TEST(StringUtil, ReadsListsDownToTheirFirstBadItem) {
    const struct {
        const char* szText;
        bool bSpans;
        std::vector<int> vecSpans;
        bool bAmpersands;
        std::vector<int> vecAmpersands;
    } arrCase[] = {
        {"1-3, 7", true, {1, 2, 3, 7}, false, {}},
        {" ", true, {}, false, {}},
        {"", true, {}, false, {}},
        {",,5,,", true, {5}, false, {}},
        {"3-1", false, {}, false, {}},
        {"1,x,2", false, {1}, false, {}},
        {"1,-2", false, {1}, false, {}},
        {"1 - 3", true, {1, 2, 3}, false, {}},
        {"2147483645-2147483647", true, {2147483645, 2147483646, 2147483647}, false, {}},
        {"1,0-2147483647", false, {1}, false, {}},
        {"4&&6", false, {}, true, {4, 5, 6}},
        {"3&&1", false, {}, true, {3, 2, 1}},
        {"3&&3", false, {}, true, {3, 3}},
        {"1&2& 4 ", false, {}, true, {1, 2, 4}},
        {"1&&&3", false, {}, true, {1, 2, 3}},
        {"&4", false, {}, false, {}},
        {"4&", false, {}, false, {}},
        {"1&-2", false, {}, false, {1}},
        {"1& &2", false, {}, false, {1}},
        {"5&&2147483647", false, {}, false, {5}},
        {"2147483647&&2147483645", false, {}, true, {2147483647, 2147483646, 2147483645}},
        {nullptr, true, {}, false, {}},
    };
    for (const auto& one : arrCase) {
        SCOPED_TRACE(one.szText == nullptr ? "null" : one.szText);
        std::vector<int> vec = {9};
        EXPECT_EQ(one.bSpans, StrToNumList(CStdString(one.szText), vec));
        EXPECT_EQ(one.vecSpans, vec);
        EXPECT_EQ(one.bAmpersands, TEStr2Vec(one.szText, vec));
        EXPECT_EQ(one.vecAmpersands, vec);
    }
}

TEST(StringUtil, WritesEachNotationWithItsOwnShortestRun) {
    const struct {
        std::vector<int> vec;
        const char* szPlain;
        const char* szSpan;
        const char* szAmpersand;
    } arrCase[] = {
        {{}, "", "", ""},
        {{4}, "4", "4", "4"},
        {{4, 5}, "4,5", "4-5", "4&5"},
        {{4, 5, 6}, "4,5,6", "4-6", "4&&6"},
        {{3, 2, 1}, "3,2,1", "3,2,1", "3&2&1"},
        {{1, 2, 3, 5, 7, 8}, "1,2,3,5,7,8", "1-3,5,7-8", "1&&3&5&7&8"},
        {{INT_MAX, INT_MIN},
         "2147483647,-2147483648",
         "2147483647,-2147483648",
         "2147483647&-2147483648"},
        {{-2, -1, 0}, "-2,-1,0", "-2-0", "-2&&0"},
    };
    for (const auto& one : arrCase) {
        CStdString strOut = "before";
        EXPECT_TRUE(NumListToStr(one.vec, strOut));
        EXPECT_EQ(one.szPlain, strOut);
        NumListToStr2(one.vec, strOut);
        EXPECT_EQ(one.szSpan, strOut);
        std::string strStandard = "before";
        TEVec2Str(one.vec, strOut);
        TEVec2Str(one.vec, strStandard);
        EXPECT_EQ(one.szAmpersand, strOut);
        EXPECT_EQ(one.szAmpersand, strStandard);
    }
}

TEST(StringUtil, ReadsSoManyNumbersAndNoMore) {
    std::vector<int> vecBack;
    EXPECT_FALSE(StrToNumList(CStdString("0-67108831,0-32"), vecBack));
    EXPECT_EQ(NUM_SPAN_MAX - 32, vecBack.size());
    EXPECT_TRUE(StrToNumList(CStdString("0-67108831,0-31"), vecBack));
    EXPECT_EQ(NUM_SPAN_MAX, vecBack.size());
}

TEST(StringUtil, SortsManyRelatedValuesStably) {
    std::mt19937 random(3);
    std::vector<int> vecA;
    std::vector<int> vecB;
    std::vector<std::pair<int, int>> vecPair;
    for (int i = 0; i < 70000; ++i) {
        vecA.push_back(static_cast<int>(random()) >> (i % 3 * 10));
        vecB.push_back(i);
        vecPair.emplace_back(vecA.back(), i);
    }
    std::stable_sort(vecPair.begin(), vecPair.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    TERela2WaySort(vecA, vecB, 1);
    for (std::size_t i = 0; i < vecPair.size(); ++i)
        ASSERT_EQ(vecPair[i], std::make_pair(vecA[i], vecB[i])) << i;
    vecB.pop_back();
    std::vector<int> vecSame = vecB;
    TERela2WaySort(vecA, vecB, 2);
    EXPECT_EQ(vecSame, vecB);  // different lengths
    std::vector<int> arrEmpty[3];
    TERela3WaySort(arrEmpty[0], arrEmpty[1], arrEmpty[2], 1);
}

TEST(StringUtil, TrimsItsOwnSetOfBlanksEach) {
    EXPECT_EQ("a b", Trim(" \t\r\na b\n "));
    EXPECT_EQ("a \v", RTrim("a \v \t"));
    EXPECT_EQ("\va ", LTrim(" \va "));
    EXPECT_EQ("", Trim(" \t "));
    std::string strText = "  12 \t ";
    EXPECT_FALSE(TEStrTrim(strText, true));
    EXPECT_EQ("12 \t", strText);
    EXPECT_TRUE(TEStrTrim(strText, false));
    strText = "   ";
    EXPECT_FALSE(TEStrTrim(strText, false));
    EXPECT_EQ("", strText);
}

TEST(StringUtil, TurnsEveryByteThroughTheLocale) {
    std::string strAll;
    std::string strUpper;
    std::string strLower;
    for (int i = 0; i < 256; ++i) {
        strAll += static_cast<char>(i);
        strUpper += static_cast<char>(std::toupper(i));
        strLower += static_cast<char>(std::tolower(i));
    }
    EXPECT_EQ(strUpper, StrToUpper(strAll));
    EXPECT_EQ(strLower, StrToLower(strAll));
}

TEST(StringUtil, MatchesWildcardsWithoutGoingBackMoreThanItMust) {
    EXPECT_TRUE(IsNameMeetingRequire("any", ""));
    EXPECT_TRUE(IsNameMeetingRequire("abc", "a?c"));
    EXPECT_TRUE(IsNameMeetingRequire("abc", "a*"));
    EXPECT_FALSE(IsNameMeetingRequire("abc", "b*"));
    EXPECT_FALSE(IsNameMeetingRequire("aba", "ab*ba"));  // the ends do not overlap
    EXPECT_FALSE(IsNameMeetingRequire("ABC", "abc"));
    std::string strPattern;
    for (int i = 0; i < 200; ++i)
        strPattern += "a*";
    EXPECT_FALSE(IsNameMeetingRequire(std::string(100000, 'a'), strPattern + "b"));
    EXPECT_TRUE(IsNameMeetingRequire(std::string(100000, 'a') + "b", strPattern + "b"));
    EXPECT_FALSE(
        IsNameMeetingRequire(std::string(100000, 'a'), "*" + std::string(50000, 'a') + "b*"));
}

TEST(StringUtil, BuildsLikePatterns) {
    const struct {
        const char* szText;
        bool bQuotes;
        bool bWrap;
        const char* szLiteral;
        const char* szWildcard;
    } arrCase[] = {
        {"a*b?", false, true, "%a*b?%", "a%b_"},
        {"a?", false, true, "%a?%", "%a_%"},
        {"a?", false, false, "a?", "a_"},
        {"5%_\\", false, false, "5\\%\\_\\\\", "5\\%\\_\\\\"},
        {"it's", true, true, "%it''s%", "%it''s%"},
        {"it's", false, false, "it's", "it's"},
        {"''", true, false, "''''", "''''"},
        {"", true, true, "", ""},
    };
    for (const auto& one : arrCase) {
        std::string strText = one.szText;
        TransWildcardForSqlLikeNotRepeat(strText, one.bQuotes, one.bWrap);
        EXPECT_EQ(one.szLiteral, strText) << one.szText;
        strText = one.szText;
        TransWildcardForSqlLikeNotRepeatEx(strText, one.bQuotes, one.bWrap);
        EXPECT_EQ(one.szWildcard, strText) << one.szText;
    }
}

TEST(StringUtil, ReplacesInOnePass) {
    const auto Replaced = [](const char* szFrom, const char* szTo, std::string strText) {
        TransWildcardForSql(szFrom, szTo, strText);
        return strText;
    };
    EXPECT_EQ("xaabb", Replaced("ab", "aabb", "xab"));
    EXPECT_EQ("x", Replaced("ab", "", "abxab"));
    EXPECT_EQ("", Replaced("'", "", "'''"));
    EXPECT_EQ("abc", Replaced("", "z", "abc"));
    std::string strSame = "a'b";
    TransWildcardForSql("'", strSame, strSame);  // the new text may be the text itself
    EXPECT_EQ("aa'bb", strSame);
    strSame = "abab";
    TransWildcardForSql(strSame, "z", strSame);
    EXPECT_EQ("z", strSame);

    const auto NotRepeated = [](const char* szFrom, const char* szTo, std::string strText) {
        TransWildcardForSqlNotRepeat(szFrom, szTo, strText);
        return strText;
    };
    EXPECT_EQ("a\\%b\\%c", NotRepeated("%", "\\%", "a\\%b%c"));
    EXPECT_EQ("'''", NotRepeated("'", "''", "''"));  // what is behind a skipped one stands alone
    EXPECT_EQ("abc", NotRepeated("", "z", "abc"));
}

TEST(StringUtil, ReplacesTwoPatternsWithTheStepOfTheFirst) {
    support::DebugCapture debug;
    std::string strText = "a**b";
    TransTwoWildcardForSql("*", "%", "**", "%%", strText);
    EXPECT_EQ("a**b", strText);
    TransTwoWildcardForSql("", "%", "?", "_", strText);
    EXPECT_EQ("a**b", strText);
    EXPECT_THAT(debug.TakeWhole(),
                ElementsAre("tovelkarin 1 Call TransTwoWildcardForSql error!\n",
                            "tovelkarin 1 Call TransTwoWildcardForSql error!\n"));
    const auto Replaced = [](const char* szFrom1, const char* szTo1, const char* szFrom2,
                             const char* szTo2, std::string strOf) {
        TransTwoWildcardForSql(szFrom1, szTo1, szFrom2, szTo2, strOf);
        return strOf;
    };
    EXPECT_EQ("a%b_", Replaced("*", "%", "?", "_", "a*b?"));
    EXPECT_EQ("_??", Replaced("*", "123", "?", "_", "???"));     // two characters are passed over
    EXPECT_EQ("x1y", Replaced("a", "1", "b", "xa", "b") + "y");  // the end of "xa" is looked at
    EXPECT_THAT(debug.Take(), IsEmpty());
}

TEST(StringUtil, ReplacesMuchInLittleTime) {
    std::string strText(3000000, '\'');
    TransWildcardForSqlSingleQuotes(strText);
    EXPECT_EQ(6000000U, strText.size());
    strText.assign(3000000, 'a');
    TransWildcardForSqlNotRepeat("a", "xay", strText);
    EXPECT_EQ(9000000U, strText.size());
    strText.assign(3000000, 'a');
    TransTwoWildcardForSql("b", "", "a", "xx", strText);
    EXPECT_EQ(6000000U, strText.size());
}

TEST(StringUtil, CutsWordsAtTheirEdges) {
    CStdString strWord = "before";
    EXPECT_EQ(-1, GetWordFromLine("a,b", 4, ",", strWord));
    EXPECT_EQ("", strWord);
    EXPECT_EQ(-1, GetWordFromLine("a,b", -1, ",", strWord));
    EXPECT_EQ(2, GetWordFromLine("a,b", 0, ";,", strWord));
    EXPECT_EQ("a", strWord);
    EXPECT_EQ(-1, GetWordFromLine("a,", 2, ",", strWord));
    EXPECT_EQ("", strWord);
    std::vector<std::string> vecPart;
    TEStr2StrVec(nullptr, vecPart);
    EXPECT_THAT(vecPart, IsEmpty());
    TEStr2StrVec("", vecPart);
    TEStr2StrVec(",x", vecPart);
    EXPECT_THAT(vecPart, ElementsAre("", "", "x"));
    EXPECT_TRUE(Str16ToStrChar(" 41  0 143 zz", strWord));
    EXPECT_EQ("AC", strWord);
    std::string strQuoted = "'a''";
    InsertTransferChar(strQuoted, '\'', '\'');
    EXPECT_EQ("''a''''", strQuoted);
    EXPECT_EQ("-7", Num2Str(-7));
}

TEST(StringUtil, GivesOctetsAsCString) {
    const AsnOcts octets(std::string("ab\0c", 4));
    EXPECT_STREQ("ab", GetCStrFromAsnOcts(octets));
    EXPECT_STREQ("ab", GetCStrFromAsnOcts(&octets));
    EXPECT_STREQ("", GetCStrFromAsnOcts(AsnOcts()));
    EXPECT_STREQ("", GetCStrFromAsnOcts(static_cast<const AsnOcts*>(nullptr)));
}

TEST(StringUtil, AppendsResourceTexts) {
    support::DebugCapture debug;
    const support::TempFolder folder;
    folder.Write("l/en/a.res", "K = plain\nKA = A guarded A\nKFF = AA\nK0 = A\nAA = ABA x\n");
    TELangResMgr::Destroy();
    zemb::SetRootPath(folder.Path());
    const char* arrFile[] = {"a.res", nullptr};
    ASSERT_EQ(1, TELangResMgr::Instance()->LoadLangFile("/l/", arrFile));
    const auto Appended = [](int (*append)(const char*, int, std::string&), const char* szKey,
                             int nIndex) {
        std::string strOut = ">";
        EXPECT_EQ(1, append(szKey, nIndex, strOut));
        return strOut;
    };
    EXPECT_EQ(">plain", Appended(AppendRes, "K", -1));
    EXPECT_EQ(">A guarded A", Appended(AppendRes, "K", 10));
    EXPECT_EQ("> guarded ", Appended(AppendResAndTrimAChar, "K", 10));
    EXPECT_EQ(">", Appended(AppendResAndTrimAChar, "K", 255));
    EXPECT_EQ(">A", Appended(AppendResAndTrimAChar, "K", 0));
    EXPECT_EQ(">ABA x", Appended(AppendResAndTrimAChar, "AA", -1));
    EXPECT_EQ(">", Appended(AppendRes, "none", 1));
    EXPECT_EQ(">", Appended(AppendRes, nullptr, -1));
    TELangResMgr::Destroy();
    zemb::ResetRootPath();
}

TEST(StringUtil, AssertsAtItsOwnLinesWithoutAResourceManager) {
    support::DebugCapture debug;
    std::string strOut = ">";
    EXPECT_FALSE(LookUpText(nullptr, ASSERT_APPEND_RES, "K", 1, strOut));
    EXPECT_FALSE(LookUpText(nullptr, ASSERT_APPEND_RES_TRIMMED, "K", 1, strOut));
    EXPECT_EQ(">", strOut);
    EXPECT_THAT(
        debug.Take(),
        ElementsAre("ASSERT: file stringutil, line 345 assertion failed for 'pRes != __null'.",
                    "ASSERT: file stringutil, line 376 assertion failed for 'pRes != __null'."));
}

}  // namespace
