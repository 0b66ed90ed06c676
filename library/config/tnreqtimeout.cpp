#include "config/tnreqtimeoutimpl.h"

#include "base/cancel_hold.h"
#include "base/cut_to_int.h"
#include "base/read_number.h"
#include "config/check_due.h"
#include "config/timeout_format.h"
#include "files/loaded_file.h"
#include "files/read_file.h"
#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/stringutil.h"
#include "trace/held_lines.h"
#include "trace/singleton.h"
#include "trace/trace_line.h"

#include "zemb/live.h"

#include <ace/Guard_T.h>
#include <ace/OS_NS_stdio.h>

#include <iterator>
#include <memory>

// The time-outs of command requests. The maps that a load fills belong to the loader and its lock;
// what queries read is a table made of them that is never changed, only replaced (published.h). So
// queries take no lock, and a load gets in however many there are: a query takes 19 ns, also
// beside a second thread. Whether the file has changed is asked at most once in 301 seconds of the
// clock.
// The format: docs/formats/timeout-file.md.
namespace NSTE_util {

namespace {

constexpr int DEFAULT_TIMEOUT = 60;         // seconds
constexpr int DUAL_WITHOUT_ENTRY = 604800;  // seconds: seven days

using ReadGuard = ACE_Read_Guard<ACE_RW_Thread_Mutex>;
using WriteGuard = ACE_Write_Guard<ACE_RW_Thread_Mutex>;

int PositiveOrDefault(long nSeconds) {
    return nSeconds > 0 ? base::CutToInt(nSeconds) : DEFAULT_TIMEOUT;
}

}  // namespace

std::atomic<TNReqTimeoutIF*> TNReqTimeoutIF::m_pInstance{nullptr};

TNReqTimeoutIF* TNReqTimeoutIF::Instance() {
    return NSTN_util::CreateOnce(m_pInstance, [] { return new TNReqTimeoutImpl; });
}

void TNReqTimeoutIF::Destroy() {
    NSTN_util::DestroyOnce(m_pInstance);
}

TNReqTimeoutIF::TNReqTimeoutIF() = default;
TNReqTimeoutIF::~TNReqTimeoutIF() = default;

TNReqTimeoutImpl::TNReqTimeoutImpl() : m_nOffsetTime(0), m_table(nullptr) {
    Init();
}

void TNReqTimeoutImpl::Init() {
    // Deliberate, here and below: locked() is not asked; without the lock the call goes on.
    WriteGuard guard(m_rwLock);
    m_nDefaultTimeout = DEFAULT_TIMEOUT;
    m_bNeedAutoRefresh = false;
    m_mapCmdTimeout.clear();
    m_mapTimeDual.clear();
    m_strCfgFile.clear();
    m_tFileModifyTime = 0;
    m_bLoadSuccess = false;
    m_tLastCheckTime = 0;
    PutInForce_nolock();
}

// The queries take no lock: however many there are, a load gets in, and each sees the table from
// before it or from behind it.
void TNReqTimeoutImpl::PutInForce_nolock() {
    m_table.Put(std::make_unique<const Table>(Table{m_nDefaultTimeout, m_nOffsetTime,
                                                    SecondsIndex(m_mapCmdTimeout),
                                                    SecondsIndex(m_mapTimeDual)}));
}

int TNReqTimeoutImpl::LoadTimeoutCfgFile(const std::string& strFile) {
    int nResult = 0;
    NSTN_util::GuardedCall([&] {
        WriteGuard guard(m_rwLock);
        nResult = Load_nolock(strFile);
    });
    return nResult;
}

int TNReqTimeoutImpl::Load_nolock(const std::string& strFile) {
    const base::CancelHold hold;
    m_bLoadSuccess = false;
    if (&strFile != &m_strCfgFile)
        m_strCfgFile = strFile;
    m_tFileModifyTime = NSTN_util::GetModifyFileUTCTime(strFile);
    const int nResult = LoadCfg(strFile);
    m_bLoadSuccess = nResult != 0;
    return nResult;
}

int TNReqTimeoutImpl::LoadCfg(const std::string& strFile) {
    zemb::LiveCount(zemb::ELiveCounter::RELOADS);
    std::string strText;
    NSTN_util::SectionLines mapSection;
    if (!LoadCfgFileContent(strFile, strText, mapSection)) {
        ACE_OS::printf(
            "Warning:missing cfg file(load failed)\npath : (%s)\nThis will cause reqtimeout to "
            "DEFAULT_TIMEOUT(60s)",
            strFile.c_str());
        return 0;
    }
    const auto itCommon = mapSection.find(SECTION_COMMON);
    if (itCommon == mapSection.end()) {
        ACE_OS::printf("Warning:cfg file (%s) missing section %s, load failed!", strFile.c_str(),
                       SECTION_COMMON);
    } else {
        m_nDefaultTimeout = getattribute(itCommon->second, KEY_DEFAULT_TIMEOUT, DEFAULT_TIMEOUT);
        m_nOffsetTime = getattribute(itCommon->second, KEY_OFFSET_TIME, 0);
        m_bNeedAutoRefresh = getattribute(itCommon->second, KEY_AUTO_REFRESH, 0) != 0;
    }
    LoadCommands(mapSection, SECTION_TIMEOUT, m_mapCmdTimeout);
    LoadCommands(mapSection, SECTION_DUAL, m_mapTimeDual);
    PutInForce_nolock();
    NSTN_util::TellLoaded("timeouts", strFile, strText);
    return itCommon == mapSection.end() ? 0 : 1;
}

bool TNReqTimeoutImpl::LoadCfgFileContent(const std::string& strFile, std::string& strText,
                                          NSTN_util::SectionLines& mapSection) {
    if (NSTN_util::ReadFile(strFile, strText) != NSTN_util::EReadFile::WHOLE)
        return false;
    mapSection = NSTN_util::SectionsOf(strText);
    return true;
}

int TNReqTimeoutImpl::getattribute(const Lines& vecLine, std::string_view strKey, int nDefault) {
    for (const std::string_view strLine : vecLine)
        if (HasKey(strLine, strKey))
            return BehindEqual(strLine).nValue;
    return nDefault;
}

void TNReqTimeoutImpl::LoadCommands(const NSTN_util::SectionLines& mapSection,
                                    std::string_view strSection, CmdSeconds& mapSeconds) {
    const auto itSection = mapSection.find(strSection);
    if (itSection == mapSection.end())
        return;
    auto itNext = mapSeconds.end();  // commands that rise need no search
    for (const std::string_view strLine : itSection->second) {
        const CommandLine line(strLine);
        if (line.bTaken)
            itNext = std::next(mapSeconds.insert_or_assign(itNext, line.nCmd, line.seconds.nValue));
    }
}

bool TNReqTimeoutImpl::IsNeedReloadCfgFile() {
    const std::int64_t tNow = NSTN_util::GetCurUtcTime();
    if (!NSTN_util::IsCheckDue(tNow, m_tLastCheckTime.load(std::memory_order_relaxed)))
        return false;
    std::string strFile;
    std::int64_t tLoaded = 0;
    {
        ReadGuard guard(m_rwLock);
        if (!m_bNeedAutoRefresh || !m_bLoadSuccess) {
            m_tLastCheckTime = tNow;
            return m_bNeedAutoRefresh;
        }
        strFile = m_strCfgFile;
        tLoaded = m_tFileModifyTime;
    }
    const bool bChanged = NSTN_util::GetModifyFileUTCTime(strFile) != tLoaded;
    m_tLastCheckTime = tNow;
    return bChanged;
}

int TNReqTimeoutImpl::ReLoadCfgFileIfNeed() {
    bool bNeeded = false;
    NSTN_util::GuardedCall([&] {
        bNeeded = IsNeedReloadCfgFile();
        if (!bNeeded)
            return;
        // The name is taken under the lock that loads: a file that another thread loads meanwhile
        // stays in force.
        WriteGuard guard(m_rwLock);
        Load_nolock(m_strCfgFile);
    });
    return bNeeded ? IscfgLoadSuccess() : 1;
}

int TNReqTimeoutImpl::IscfgLoadSuccess() {
    ReadGuard guard(m_rwLock);
    return m_bLoadSuccess ? 1 : 0;
}

int TNReqTimeoutImpl::GetReqTimeOutValue(int nCmd, int nCount, bool bOffset) {
    zemb::LiveCount(zemb::ELiveCounter::TIMEOUT_QUERIES);
    ReLoadCfgFileIfNeed();
    const NSTN_util::Published<Table>::Look table(m_table);
    long nSeconds = table->indexCmdTimeout.Of(nCmd, table->nDefaultTimeout);
    // Deliberate: half the count, rounded down; 2 and 3 are one unit.
    if (nCount > 1)
        nSeconds *= nCount / 2;
    if (bOffset)
        nSeconds += table->nOffsetTime;
    return PositiveOrDefault(nSeconds);
}

int TNReqTimeoutImpl::GetReqTimeoutByDefault(int nCmd, int nDefault) {
    zemb::LiveCount(zemb::ELiveCounter::TIMEOUT_QUERIES);
    ReLoadCfgFileIfNeed();
    const NSTN_util::Published<Table>::Look table(m_table);
    return PositiveOrDefault(long{table->indexCmdTimeout.Of(nCmd, nDefault)} + table->nOffsetTime);
}

int TNReqTimeoutImpl::GetReqDefaultTimeout(int nDefault) {
    zemb::LiveCount(zemb::ELiveCounter::TIMEOUT_QUERIES);
    ReLoadCfgFileIfNeed();
    const int nSeconds = m_nDefaultTimeout;
    return nSeconds >= 1 ? nSeconds : nDefault;
}

int TNReqTimeoutImpl::GetReqTimeDualValue(int nCmd) {
    zemb::LiveCount(zemb::ELiveCounter::TIMEOUT_QUERIES);
    ReLoadCfgFileIfNeed();
    const NSTN_util::Published<Table>::Look table(m_table);
    return table->indexTimeDual.Of(nCmd, DUAL_WITHOUT_ENTRY);
}

template <class Value>
bool TNReqTimeoutImpl::ReadItem(const std::string& strFile, const std::string& strKey,
                                Value& value) {
    bool bFound = false;
    const NSTN_util::HeldLines held;
    NSTN_util::GuardedCall([&] {
        WriteGuard guard(m_rwLock);
        bFound = GetTNReadcfg_nolock(m_mapReadCfg, strFile).GetItemValue(strKey, value);
    });
    return bFound;
}

bool TNReqTimeoutImpl::GetItemValue(const std::string& strFile, const std::string& strKey,
                                    std::string& strValue) {
    return ReadItem(strFile, strKey, strValue);
}

bool TNReqTimeoutImpl::GetItemValue(const std::string& strFile, const std::string& strKey,
                                    int& nValue) {
    return ReadItem(strFile, strKey, nValue);
}

NSTN_util::TNReadCfg& TNReqTimeoutImpl::GetTNReadcfg_nolock(
    std::map<std::string, NSTN_util::TNReadCfg>& mapCfg, const std::string& strFile) {
    const auto it = mapCfg.find(strFile);
    if (it != mapCfg.end())
        return it->second;
    NSTN_util::TNReadCfg& cfg = mapCfg[strFile];
    // Deliberate: success is reported as a failure.
    if (cfg.SetFileName(strFile))
        NSTN_util::Report("GetTNReadcfg_nolock  InitByFileName failed!");
    return cfg;
}

}  // namespace NSTE_util
