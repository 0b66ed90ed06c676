#include "tovelkarin/tntrace.h"

#include "tests/naive/formatter_check.h"
#include "tests/support.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <random>
#include <stdexcept>

namespace {

using NSTN_util::TNString;
using NSTN_util::TNTrace2Str;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* NO_SLOT = " \n TNTRACE ERROR Parameter: \n";
constexpr const char* TOO_MORE = "...... \n TNTRACE ERROR Parameter: string too more! \n";

template <class Format, class... Args>
std::string Line(unsigned nMaxLen, const Format& format, const Args&... args) {
    std::string strOut;
    TNTrace2Str(nMaxLen, strOut, format, args...);
    return strOut;
}

TEST(TNStringTest, WritesEachSourceTypeAsItsDecimalText) {
    const std::pair<TNString, const char*> arrCase[] = {
        {'A', "65"},
        {static_cast<char>(-1), "-1"},
        {static_cast<short>(-32768), "-32768"},
        {INT_MIN, "-2147483648"},
        {static_cast<unsigned char>(255), "255"},
        {static_cast<unsigned short>(65535), "65535"},
        {UINT_MAX, "4294967295"},
        {LONG_MIN, "-9223372036854775808"},
        {ULONG_MAX, "18446744073709551615"},
        {LLONG_MAX, "9223372036854775807"},
        {0, "0"},
        {static_cast<const char*>(nullptr), ""},
        {"text", "text"},
        {std::string("a\0b", 3), "a"},  // compared as a C string below
    };
    for (const auto& [value, szText] : arrCase)
        EXPECT_STREQ(szText, value.Text().c_str());
    EXPECT_EQ(3U, TNString(std::string("a\0b", 3)).Text().size());
    EXPECT_EQ(sizeof(std::string), sizeof(TNString));
}

TEST(TNStringTest, WritesFloatingPointAsPrintfWithoutDecimalsCutTo63) {
    for (const double dValue : {0.0,
                                -0.0,
                                -0.4,
                                0.5,
                                1.5,
                                2.5,
                                -1.5,
                                1e15,
                                1e22,
                                1e62,
                                1e63,
                                DBL_MIN,
                                DBL_MAX,
                                -DBL_MAX,
                                HUGE_VAL,
                                -HUGE_VAL,
                                std::nan(""),
                                -std::nan(""),
                                9007199254740993.0,
                                4503599627370495.5}) {
        char szExpected[64] = {};
        std::snprintf(szExpected, sizeof szExpected, "%.0f", dValue);
        EXPECT_EQ(szExpected, TNString(dValue).Text());
    }
    EXPECT_EQ("2", TNString(2.5F).Text());
    EXPECT_EQ("340282346638528859811704183484516925440", TNString(FLT_MAX).Text());
    EXPECT_EQ(63U, TNString(DBL_MAX).Text().size());
}

TEST(TNTrace2StrTest, FillsSlotsAndKeepsWhatIsLeft) {
    EXPECT_EQ("a=7 b=x", Line(5120, "a=%d b=%s", 7, "x"));
    EXPECT_EQ("7 of %s", Line(5120, "%d of %s", 7)) << "slots left over stay";
    EXPECT_EQ("<7>", Line(5120, "<%%>", 7)) << "a doubled percent sign is a slot";
    EXPECT_EQ("ab7", Line(5120, "ab%", 7)) << "a percent sign at the end is a slot";
    EXPECT_EQ("%d", Line(5120, "%s", "%d")) << "arguments are not searched for slots";
}

TEST(TNTrace2StrTest, SaysWhichArgumentFoundNoSlot) {
    EXPECT_EQ(NO_SLOT + std::string("value : 7"), Line(5120, "value", 7));
    EXPECT_EQ("7" + std::string(NO_SLOT) + "%d tail : 8", Line(5120, "%d tail", 7, 8, 9))
        << "the third argument and the tail are dropped";
    EXPECT_EQ("7" + std::string(NO_SLOT) + "% : 8", Line(5120, "%", 7, 8))
        << "nothing is left behind a percent sign at the end";
    EXPECT_EQ(NO_SLOT + std::string(" : 7"), Line(5120, "", 7));
    EXPECT_EQ(NO_SLOT + std::string(" : 7"), Line(5120, static_cast<const char*>(nullptr), 7));
}

TEST(TNTrace2StrTest, EndsALineThatPassesItsBound) {
    const struct {
        unsigned nMaxLen;
        std::size_t nArgument;
        bool bTooLong;
    } arrCase[] = {{0, 0, false},      {0, 1, true},      {1000, 1000, false}, {1000, 1001, true},
                   {1001, 901, false}, {1001, 902, true}, {5120, 5020, false}, {5120, 5021, true}};
    for (const auto& test : arrCase) {
        const std::string strLong(test.nArgument, 'x');
        const std::string strExpected = strLong + (test.bTooLong ? TOO_MORE : ", tail");
        EXPECT_EQ(strExpected, Line(test.nMaxLen, "%s, tail", strLong))
            << test.nMaxLen << " " << test.nArgument;
    }
    EXPECT_EQ("0123456789x" + std::string(TOO_MORE), Line(10, "%s%s%s", "0123456789", "x", "y"))
        << "the third argument is not placed";
    EXPECT_EQ(10U + 200U, Line(10, "%s" + std::string(200, 't'), "0123456789").size())
        << "the tail may pass the bound";
}

TEST(TNTrace2StrTest, AppendsAndCutsTextsWithoutSlots) {
    std::string strOut;
    TNTrace2Str(10, strOut, "0123456789abc");
    EXPECT_EQ("0123456789", strOut);
    TNTrace2Str(3, strOut, static_cast<const char*>(nullptr));
    EXPECT_EQ("012", strOut) << "the cut applies even when nothing is appended";
    TNTrace2Str(100, strOut, std::string("%d"));
    EXPECT_EQ("012%d", strOut);
    TNTrace2Str(100, strOut, "<%d>", 1);
    EXPECT_EQ("012%d<1>", strOut) << "never cleared";
}

// Every overload, from one argument on: 1, 2 and so on.
template <class... Args>
void ExpectInOrder(Args... args) {
    constexpr int ARGUMENTS = sizeof...(args);
    const std::string strFormat = "%1,%2,%3,%4,%5,%6,%7,%8,%9,%a,%b,%c,%d,%e,%f";
    std::string strExpected;
    for (int n = 1; n <= ARGUMENTS; ++n)
        strExpected += (n == 1 ? "" : ",") + std::to_string(n);
    strExpected += strFormat.substr(3 * ARGUMENTS - 1);
    EXPECT_EQ(strExpected, Line(5120, strFormat, args...));
    EXPECT_EQ(strExpected, Line(5120, strFormat.c_str(), args...)) << "not copied";
    if constexpr (ARGUMENTS < 15)
        ExpectInOrder(args..., ARGUMENTS + 1);
}

TEST(TNTrace2StrTest, EachOverloadPlacesAllItsArgumentsInOrder) {
    ExpectInOrder(1);
}

TEST(TNTrace2StrTest, AgreesWithTheNaiveFormatterOnRandomInput) {
    std::mt19937 random(20260301);
    const std::string strLetters = "%%%ab\xFF";
    for (int i = 0; i < 20000; ++i) {
        std::vector<std::uint8_t> vecByte(random() % 120);
        for (std::uint8_t& nByte : vecByte)
            nByte = random() % 3 != 0 ? static_cast<std::uint8_t>(strLetters[random() % 6])
                                      : static_cast<std::uint8_t>(random());
        ASSERT_NO_THROW(naive::CheckFormatter(vecByte.data(), vecByte.size()));
    }
}

TEST(TNTrace2StrTest, SurvivesTenMegabytesAndPercentStorms) {
    const std::string strLong(10 << 20, '%');
    EXPECT_EQ(strLong.size() - 2 + 1, Line(5120, strLong, 7).size());
    EXPECT_EQ(strLong.size() + 1 + std::string(TOO_MORE).size(), Line(5120, "x%s", strLong).size());
    EXPECT_EQ(5120U, Line(5120, strLong).size());
}

TEST(TruncateStrTest, CutsOnlyWhatIsLonger) {
    std::string strText = "abc";
    NSTN_util::TruncateStr(strText, 3);
    EXPECT_EQ("abc", strText);
    NSTN_util::TruncateStr(strText, 0);
    EXPECT_EQ("", strText);
}

TEST(TraceLogTest, WritesTraceAndAssertionLinesToTheModulesChannel) {
    support::DebugCapture debug;
    NSTN_util::TNTrace2LogFile("transport", 3, "line with % as it is\n");
    NSTN_util::TNAssert2LogFile("transport", "file.cpp", 12, "p != 0");
    EXPECT_THAT(
        debug.TakeWhole(),
        ElementsAre("transport 3 line with % as it is\n",
                    "transport A ASSERT: file file.cpp, line 12assertion failed for p != 0."))
        << "nothing stands between the line number and 'assertion'";
}

TEST(TraceLogTest, DropsLinesWhileExitingAndWithoutAChannel) {
    support::DebugCapture debug;
    zemb::SetExit(true);
    NSTN_util::TNTrace2LogFile("m", 1, "lost");
    NSTN_util::TNAssert2LogFile("m", "f", 1, "lost");
    zemb::SetExit(false);
    {
        const zemb::ScopedNoDebugChannel none;
        NSTN_util::TNTrace2LogFile("m", 1, "lost");
        NSTN_util::TNAssert2LogFile("m", "f", 1, "lost");
    }
    EXPECT_THAT(debug.Take(), IsEmpty());
}

TEST(TraceLogTest, ReportsWhatAChannelThrowsAndThrowsNothing) {
    std::vector<std::string> vecLine;
    const zemb::ScopedDebugSink sink([&](const zemb::DebugLine& line) {
        if (line.strKind != "E")
            throw std::runtime_error("channel");
        vecLine.push_back(line.strText);
    });
    NSTN_util::TNTrace2LogFile("m", 1, "x");
    NSTN_util::TNAssert2LogFile("m", "f", 1, "x");
    EXPECT_THAT(vecLine, ElementsAre("Log Info::Exception c style format!",
                                     "Log Info::Exception c style format!"));
    const zemb::ScopedDebugSink worse([](const zemb::DebugLine&) { throw 1; });
    EXPECT_NO_THROW(NSTN_util::TNTrace2LogFile("m", 1, "x")) << "not even the report got through";
}

TEST(TraceLogTest, TakesTenMegabytesOfTextAndName) {
    support::DebugCapture debug;
    const std::string strLong(10 << 20, 'x');
    NSTN_util::TNTrace2LogFile(strLong, 1, strLong);
    NSTN_util::TNAssert2LogFile("m", strLong, strLong, strLong);
    const auto vecLine = debug.Take();
    ASSERT_EQ(2U, vecLine.size());
    EXPECT_EQ(strLong.size(), vecLine[0].size());
    EXPECT_LT(3 * strLong.size(), vecLine[1].size());
}

}  // namespace
