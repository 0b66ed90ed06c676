#include "embedded/time_zone.h"

#include "zemb/control.h"

#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <list>
#include <mutex>

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
            m_strValue = m_szEntry + 3;
    }

    bool IsSame() const {
        if (environ != m_ppEnviron)
            return false;
        if (environ == nullptr)
            return true;
        if (environ[m_nPlace] != m_szEntry)
            return false;
        if (m_bThere)
            return std::strcmp(m_szEntry + 3, m_strValue.c_str()) == 0;
        return m_szEntry == nullptr || environ[m_nPlace + 1] == nullptr;
    }

    bool IsThere() const { return m_bThere; }
    const std::string& Value() const { return m_strValue; }

private:
    char** m_ppEnviron;
    std::size_t m_nPlace = 0;
    const char* m_szEntry = nullptr;
    bool m_bThere = false;
    std::string m_strValue;
};

std::optional<absl::TimeZone> Load(const std::string& strName) {
    absl::TimeZone zone;
    if (strName.empty() || !absl::LoadTimeZone(strName, &zone))
        return std::nullopt;
    return zone;
}

struct ReadZone : Zone {
    TzEntry tz;
    bool bSet = false;  // by the host
};

std::atomic<const ReadZone*> g_pZone{nullptr};

// Those that were replaced stay: another thread may be using one.
struct ReadZones {
    std::mutex lock;
    std::list<ReadZone> list;
};

ReadZones& Zones() {
    static ReadZones& zones = *new ReadZones;
    return zones;
}

const Zone& ReadAgain() {
    std::lock_guard<std::mutex> guard(Zones().lock);
    ReadZone read;
    std::string strName = read.tz.Value();
    if (!strName.empty() && strName.front() == ':')
        strName.erase(0, 1);
    if (!read.tz.IsThere())
        read.zone = Load(SYSTEM_ZONE_FILE);
    else
        read.zone = Load(strName);
    if (!read.zone && strName.empty())
        read.zone = absl::UTCTimeZone();
    if (!read.zone)
        tzset();
    Zones().list.push_back(read);
    g_pZone = &Zones().list.back();
    return Zones().list.back();
}

}  // namespace

const Zone& CurrentZone() {
    const ReadZone* const pZone = g_pZone.load(std::memory_order_acquire);
    if (pZone != nullptr && (pZone->bSet || pZone->tz.IsSame()))
        return *pZone;
    return ReadAgain();
}

bool SetTimeZone(const std::string& strZone) {
    if (strZone.empty()) {
        ReadAgain();
        return true;
    }
    ReadZone read;
    read.bSet = true;
    read.zone = Load(strZone);
    if (!read.zone)
        return false;
    std::lock_guard<std::mutex> guard(Zones().lock);
    Zones().list.push_back(read);
    g_pZone = &Zones().list.back();
    return true;
}

}  // namespace zemb
