#include "embedded/time_zone.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "zemb/control.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>
#include <set>
#include <tuple>

// The zone of the process as a table of periods, 1900 to 2199, read once. Nearly all calls are
// about the period of the call before, so its index is tried first; otherwise the table is
// searched. Whether TZ still says the same is seen by comparing where it stood in the environment,
// at a tenth of the cost of getenv. A zone that was replaced stays in memory, because a reader
// without a lock may be in it.
namespace zemb {

namespace {

constexpr const char* SYSTEM_ZONE_FILE = "/etc/localtime";

// Where "TZ=" stood in the environment when it was last read. Comparing one or two pointers and one
// short text tells whether it still stands there, at a tenth of the cost of getenv.
class TzEntry {
public:
    TzEntry() : m_ppEnviron(environ) {
        if (environ == nullptr)
            return;
        std::size_t i = 0;
        while (environ[i] != nullptr && std::strncmp(environ[i], "TZ=", 3) != 0)
            ++i;
        m_bThere = environ[i] != nullptr;
        // Without an entry, an added one changes the last entry or what follows it.
        m_nPlace = m_bThere || i == 0 ? i : i - 1;
        m_szEntry = environ[m_nPlace];
        if (m_bThere)
            m_strEntry = m_szEntry;
    }

    bool IsSame() const {
        if (environ != m_ppEnviron)
            return false;
        if (environ == nullptr)
            return true;
        if (environ[m_nPlace] != m_szEntry)
            return false;
        if (m_bThere)
            return std::strcmp(m_szEntry, m_strEntry.c_str()) == 0;
        return m_szEntry == nullptr || environ[m_nPlace + 1] == nullptr;
    }

    bool IsThere() const { return m_bThere; }
    std::string Value() const { return m_bThere ? m_strEntry.substr(3) : ""; }

    bool operator<(const TzEntry& other) const {
        const auto Key = [](const TzEntry& tz) {
            return std::tie(tz.m_ppEnviron, tz.m_nPlace, tz.m_szEntry, tz.m_bThere, tz.m_strEntry);
        };
        return Key(*this) < Key(other);
    }

private:
    char** m_ppEnviron;
    std::size_t m_nPlace = 0;
    const char* m_szEntry = nullptr;
    bool m_bThere = false;
    std::string m_strEntry;  // its text as it was, with "TZ="
};

std::optional<absl::TimeZone> Load(const std::string& strName) {
    const base::CancelHold hold;
    absl::TimeZone zone;
    if (strName.empty() || !absl::LoadTimeZone(strName, &zone))
        return std::nullopt;
    return zone;
}

// The zone that is in force and where it comes from.
struct ReadZone {
    TzEntry tz;  // as it was when the zone was read
    bool bSet;   // by the host: tz does not matter
    const Zone* pZone;
};

std::atomic<const ReadZone*> g_pZone{nullptr};

bool operator<(const ReadZone& a, const ReadZone& b) {
    return std::tie(a.bSet, a.pZone, a.tz) < std::tie(b.bSet, b.pZone, b.tz);
}

// What was replaced stays, as another thread may be using it: each zone once, by its name, and each
// place that it was read from once.
struct ReadZones {
    std::mutex lock;
    std::set<ReadZone> setRead;
    std::map<std::string, Zone> mapZone;
};

ReadZones& Zones() {
    static base::Immortal<ReadZones> zones;
    return *zones;
}

// With the lock held.
const Zone& Replace_nolock(const TzEntry& tz, bool bSet, const std::string& strName,
                           const std::optional<absl::TimeZone>& zone) {
    const Zone& kept = Zones().mapZone.try_emplace(strName, zone).first->second;
    const ReadZone& read = *Zones().setRead.insert({tz, bSet, &kept}).first;
    g_pZone.store(&read, std::memory_order_release);
    return kept;
}

// The process's own zone; one that the host has set meanwhile stays unless bUnset.
const Zone& ReadFromEnvironment(bool bUnset) {
    std::lock_guard<std::mutex> guard(Zones().lock);
    const ReadZone* const pRead = g_pZone.load(std::memory_order_relaxed);
    if (pRead != nullptr && pRead->bSet && !bUnset)
        return *pRead->pZone;
    const TzEntry tz;
    std::string strName = tz.Value();
    if (!strName.empty() && strName.front() == ':')
        strName.erase(0, 1);
    if (!tz.IsThere())
        strName = SYSTEM_ZONE_FILE;
    std::optional<absl::TimeZone> zone = Load(strName);
    if (!zone && (strName.empty() || !tz.IsThere()))
        zone = absl::UTCTimeZone();
    if (!zone)
        tzset();
    return Replace_nolock(tz, false, strName, zone);
}

}  // namespace

Zone::Zone(std::optional<absl::TimeZone> zone) : m_zone(zone) {
    if (!m_zone)
        return;
    static constexpr absl::CivilSecond FIRST(1900);
    static constexpr absl::CivilSecond END(2200);
    absl::Time time = absl::FromCivil(FIRST, *m_zone);
    const absl::Time end = absl::FromCivil(END, *m_zone);
    absl::TimeZone::CivilTransition transition;
    do {
        const auto info = m_zone->At(time);
        m_vecPeriod.push_back(
            {absl::ToUnixSeconds(time), info.offset, info.is_dst, info.zone_abbr});
        if (!m_zone->NextTransition(time, &transition))
            return;
        time = m_zone->At(transition.to).trans;
    } while (time < end);
    m_vecPeriod.push_back({absl::ToUnixSeconds(end), 0, false, nullptr});
}

std::size_t Zone::IndexAt(long nSeconds) const {
    const auto IsIn = [&](std::size_t i) {
        return m_vecPeriod[i].nFrom <= nSeconds &&
               (i + 1 == m_vecPeriod.size() || nSeconds < m_vecPeriod[i + 1].nFrom);
    };
    std::size_t i = m_nLast.load(std::memory_order_relaxed);
    if (i < m_vecPeriod.size() && IsIn(i))
        return i;
    const auto it =
        std::upper_bound(m_vecPeriod.begin(), m_vecPeriod.end(), nSeconds,
                         [](long nOf, const ZonePeriod& period) { return nOf < period.nFrom; });
    if (it == m_vecPeriod.begin())
        return m_vecPeriod.size();
    i = static_cast<std::size_t>(it - m_vecPeriod.begin()) - 1;
    m_nLast.store(static_cast<std::uint32_t>(i), std::memory_order_relaxed);
    return i;
}

ZonePeriod Zone::PeriodAt(long nSeconds) const {
    if (!m_zone) {
        std::tm parts{};
        if (localtime_r(&nSeconds, &parts) != nullptr)
            return {nSeconds, parts.tm_gmtoff, parts.tm_isdst > 0, parts.tm_zone};
        return {nSeconds, 0, false, "UTC"};  // the C library does not know such a year
    }
    const std::size_t i = IndexAt(nSeconds);
    if (i < m_vecPeriod.size() && m_vecPeriod[i].szName != nullptr)
        return m_vecPeriod[i];
    const auto info = m_zone->At(absl::FromUnixSeconds(nSeconds));
    return {nSeconds, info.offset, info.is_dst, info.zone_abbr};
}

bool Zone::FindUnique(long nLocal, long& nSeconds) const {
    constexpr long FAR = 2L * 86400;  // longer than any offset and any step
    const std::size_t i = IndexAt(nLocal);
    if (i + 1 >= m_vecPeriod.size() || m_vecPeriod[i].nFrom + FAR > nLocal ||
        m_vecPeriod[i + 1].nFrom - FAR < nLocal)
        return false;
    nSeconds = nLocal - m_vecPeriod[i].nOffset;
    return true;
}

const Zone& CurrentZone() {
    const ReadZone* const pRead = g_pZone.load(std::memory_order_acquire);
    if (pRead != nullptr && (pRead->bSet || pRead->tz.IsSame()))
        return *pRead->pZone;
    return ReadFromEnvironment(false);
}

bool SetTimeZone(const std::string& strZone) {
    if (strZone.empty()) {
        ReadFromEnvironment(true);
        return true;
    }
    const std::optional<absl::TimeZone> zone = Load(strZone);
    if (!zone)
        return false;
    std::lock_guard<std::mutex> guard(Zones().lock);
    Replace_nolock(TzEntry(), true, strZone, zone);
    return true;
}

}  // namespace zemb
