#include "tests/support.h"
#include "tovelkarin/stringutil.h"

#include "zemb/time.h"

#include <malloc.h>
#include <stdlib.h>
#include <time.h>

#include <climits>
#include <cstring>
#include <thread>

namespace {

using namespace NSTN_util;

constexpr long long MICROSECONDS = 1000000;

// The zones of the process, and one of them put in place by the host.
class TimeTest : public testing::Test {
protected:
    ~TimeTest() override {
        unsetenv("TZ");
        tzset();
        zemb::SetTimeZone("");
    }

    static void UseZone(const char* szZone) {
        setenv("TZ", szZone, 1);
        tzset();
    }

    zemb::ScopedClock m_clock;
};

const char* const ZONES[] = {
    "Europe/Berlin",       "Europe/Dublin", "Asia/Shanghai", "America/St_Johns",
    "Australia/Lord_Howe", "Europe/Moscow", "UTC",           "CET-1CEST,M3.5.0,M10.5.0/3",
    "Asia/Kathmandu"};

TEST_F(TimeTest, BreaksLocalTimesDownAsTheSystemDoes) {
    for (const char* const szZone : ZONES) {
        UseZone(szZone);
        SCOPED_TRACE(szZone);
        for (long nSeconds = -3000000000; nSeconds < 4000000000; nSeconds += 9876543) {
            tm expected{};
            localtime_r(&nSeconds, &expected);
            const tm ours = UTC2Local(nSeconds);
            ASSERT_EQ(0, std::memcmp(&expected, &ours, offsetof(tm, tm_gmtoff))) << nSeconds;
            ASSERT_EQ(expected.tm_gmtoff, ours.tm_gmtoff) << nSeconds;
            ASSERT_STREQ(expected.tm_zone, ours.tm_zone) << nSeconds;
        }
    }
}

TEST_F(TimeTest, TheRoadThroughTheZoneGivesTheSecondsBack) {
    // Around the changes of the autumn of 2026 and of 2014, when Moscow changed its offset for
    // good.
    for (const char* const szZone : ZONES) {
        UseZone(szZone);
        SCOPED_TRACE(szZone);
        for (const long nAround : {1792890000L, 1774746000L, 1414278000L, 1775318400L})
            for (long n = nAround - 90000; n < nAround + 90000; n += 599) {
                m_clock.Freeze(n * MICROSECONDS);
                ASSERT_EQ(n, GetCurUtcTime()) << n;
            }
    }
}

TEST_F(TimeTest, FollowsClockAndZoneAtOnce) {
    UseZone("Asia/Shanghai");
    m_clock.Freeze(1772352000 * MICROSECONDS);  // 2026-03-01 08:00:00 UTC
    EXPECT_EQ("2026/03/01/ 16:00:00", GetCurrTimeStr());
    m_clock.Advance(3661);
    EXPECT_EQ("2026/03/01/ 17:01:01", GetCurrTimeStr());
    EXPECT_EQ(1772355661, GetCurUtcTime());
    UseZone("America/New_York");
    EXPECT_EQ("2026/03/01/ 04:01:01", GetCurrTimeStr());
    EXPECT_TRUE(zemb::SetTimeZone("Europe/Berlin"));
    EXPECT_EQ("2026/03/01/ 10:01:01", GetCurrTimeStr());
    EXPECT_FALSE(zemb::SetTimeZone("Nowhere/Town"));
    EXPECT_EQ(10, GetCurTmTime().tm_hour);
    zemb::SetTimeZone("");
    EXPECT_EQ(4, GetCurTmTime().tm_hour);
    unsetenv("TZ");
    setenv("TZ", "Asia/Shanghai", 1);
    EXPECT_EQ(17, GetCurTmTime().tm_hour);
    m_clock.Freeze(-1);
    EXPECT_EQ(-1, GetCurUtcTime());
}

// Each time another entry of the environment, or the same one with another text of equal length.
TEST_F(TimeTest, FollowsATextThatIsChangedInPlace) {
    m_clock.Freeze(1772352000 * MICROSECONDS);
    char szFirst[] = "TZ=Asia/Dubai";
    char szOther[] = "TZ=Asia/Tokyo";
    ASSERT_EQ(0, putenv(szFirst));
    EXPECT_EQ(12, GetCurTmTime().tm_hour);
    ASSERT_EQ(0, putenv(szOther));
    EXPECT_EQ(17, GetCurTmTime().tm_hour);
    std::memcpy(szOther, szFirst, sizeof szOther);
    EXPECT_EQ(12, GetCurTmTime().tm_hour);
    szOther[0] = 'X';  // no zone at all any more
    EXPECT_STREQ("UTC", (tzset(), GetCurTmTime().tm_zone));
    szOther[0] = 'T';
}

TEST_F(TimeTest, KeepsAZoneOnceHoweverOftenItComesBack) {
    const auto Change = [] {
        for (const char* const szZone : {"Asia/Dubai", "Asia/Tokyo"}) {
            zemb::SetTimeZone(szZone);
            zemb::SetTimeZone("");
            UseZone(szZone);
            GetCurTmTime();
        }
    };
    Change();
    const std::size_t nBefore = mallinfo2().uordblks;
    for (int i = 0; i < 2000; ++i)
        Change();
    EXPECT_LT(mallinfo2().uordblks, nBefore + 100000);
}

TEST_F(TimeTest, TakesABrokenDownTimeAsUtcWhateverTheZone) {
    UseZone("Asia/Shanghai");
    tm parts{};
    parts.tm_year = 126;
    parts.tm_mon = 2;
    parts.tm_mday = 1;
    parts.tm_hour = 8;
    EXPECT_EQ(1772352000, Local2UTC(parts));
    EXPECT_EQ("1772352000", Local2UTCSTR(parts));
    parts.tm_mon = -10;  // fields are carried over
    parts.tm_mday = 400;
    parts.tm_sec = -1;
    tm copy = parts;
    EXPECT_EQ(timegm(&copy), Local2UTC(parts));
    tm may{};  // of 1970, 178956971 years less 2147483648 months
    may.tm_year = 70 + 178956971;
    may.tm_mon = INT_MIN;
    may.tm_mday = 1;
    EXPECT_EQ(120 * 86400, Local2UTC(may));
    for (long n = -80000000000; n < 80000000000; n += 123456789) {
        tm broken{};
        gmtime_r(&n, &broken);
        ASSERT_EQ(n, Local2UTC(broken));
    }
}

TEST_F(TimeTest, TellsHoursThatComeTwiceOrNotAtAllByTheirHint) {
    struct Case {
        const char* szZone;
        int nMonth;
        int nDay;
        int nIsDst;
        long nSeconds;  // of 02:30 local time
    };
    constexpr long SPRING = 1774744200;  // 2026-03-29 00:30 UTC
    constexpr long AUTUMN = 1792888200;  // 2026-10-25 00:30 UTC
    const Case arrCase[] = {
        {"Europe/Berlin", 2, 29, -1, SPRING + 3600},
        {"Europe/Berlin", 2, 29, 0, SPRING + 3600},
        {"Europe/Berlin", 2, 29, 1, SPRING},
        {"Europe/Berlin", 9, 25, -1, AUTUMN},
        {"Europe/Berlin", 9, 25, 1, AUTUMN},
        {"Europe/Berlin", 9, 25, 0, AUTUMN + 3600},
        {"Asia/Shanghai", 9, 25, 1, AUTUMN - 6 * 3600},
    };
    for (const Case& one : arrCase) {
        UseZone(one.szZone);
        std::tm local{};
        local.tm_year = 126;
        local.tm_mon = one.nMonth;
        local.tm_mday = one.nDay;
        local.tm_hour = 2;
        local.tm_min = 30;
        local.tm_isdst = one.nIsDst;
        std::tm utc{};
        NSTE_util::TELOCAL2UTC(local, utc);
        EXPECT_EQ(one.nSeconds, Local2UTC(utc)) << one.szZone << one.nMonth << one.nIsDst;
    }
}

TEST_F(TimeTest, KeepsTheHostsZoneWhateverOtherThreadsRead) {
    for (int i = 0; i < 200; ++i) {
        zemb::SetTimeZone("");
        UseZone(i % 2 == 0 ? "Asia/Tokyo" : "Asia/Seoul");
        std::thread reader([] { GetCurTmTime(); });
        ASSERT_TRUE(zemb::SetTimeZone("Europe/Berlin"));
        reader.join();
        ASSERT_STREQ("CET", UTC2Local(1772352000).tm_zone);
    }
}

TEST_F(TimeTest, SurvivesTimesThatNoCalendarHolds) {
    std::tm odd{};
    ZembTZone::ZembTimeTotm(ZembTime{}, odd);
    ZembTime far{};
    far.nMonth = 13;
    far.nYear = LONG_MIN;
    ZembTZone::ZembTimeTotm(far, odd);
    EXPECT_EQ(INT_MIN, odd.tm_year);
    for (const char* const szZone : {"Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3"}) {
        UseZone(szZone);
        for (const long n : {LONG_MAX, LONG_MIN}) {
            const tm parts = UTC2Local(n);
            EXPECT_TRUE(parts.tm_wday >= 0 && parts.tm_wday < 7 && parts.tm_yday >= 0);
            Local2UTC(parts);
        }
    }
}

}  // namespace
