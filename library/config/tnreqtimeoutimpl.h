#pragma once

#include "config/published.h"
#include "config/seconds_index.h"
#include "files/section_file.h"
#include "tovelkarin/tnreadcfg.h"
#include "tovelkarin/tnreqtimeout.h"

#include <ace/RW_Thread_Mutex.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace NSTE_util {

class TNReqTimeoutImpl final : public TNReqTimeoutIF {
public:
    TNReqTimeoutImpl();

    int LoadTimeoutCfgFile(const std::string& strFile) override;
    int GetReqTimeOutValue(int nCmd, int nCount, bool bOffset) override;
    int GetReqTimeDualValue(int nCmd) override;
    int GetReqTimeoutByDefault(int nCmd, int nDefault) override;
    int GetReqDefaultTimeout(int nDefault) override;
    bool GetItemValue(const std::string& strFile, const std::string& strKey,
                      std::string& strValue) override;
    bool GetItemValue(const std::string& strFile, const std::string& strKey, int& nValue) override;

private:
    using CmdSeconds = std::map<int, int>;
    using Lines = std::vector<std::string_view>;

    // What the queries look at: never changed, only replaced. A look-up among 10,000 commands takes
    // a tenth of the time that the ordered maps need.
    struct Table {
        int nDefaultTimeout;
        int nOffsetTime;
        SecondsIndex indexCmdTimeout;
        SecondsIndex indexTimeDual;
    };

    void Init();
    void PutInForce_nolock();
    int Load_nolock(const std::string& strFile);
    int LoadCfg(const std::string& strFile);
    // strText holds the file as long as the sections are used.
    static bool LoadCfgFileContent(const std::string& strFile, std::string& strText,
                                   NSTN_util::SectionLines& mapSection);
    static int getattribute(const Lines& vecLine, std::string_view strKey, int nDefault);
    static void LoadCommands(const NSTN_util::SectionLines& mapSection, std::string_view strSection,
                             CmdSeconds& mapSeconds);
    bool IsNeedReloadCfgFile();
    int ReLoadCfgFileIfNeed();
    int IscfgLoadSuccess();
    NSTN_util::TNReadCfg& GetTNReadcfg_nolock(std::map<std::string, NSTN_util::TNReadCfg>& mapCfg,
                                              const std::string& strFile);
    template <class Value>
    bool ReadItem(const std::string& strFile, const std::string& strKey, Value& value);

    std::atomic<int> m_nDefaultTimeout;  // seconds; also read without the lock
    int m_nOffsetTime;                   // seconds
    bool m_bNeedAutoRefresh;
    CmdSeconds m_mapCmdTimeout;
    CmdSeconds m_mapTimeDual;
    std::string m_strCfgFile;
    std::int64_t m_tFileModifyTime;  // when loaded, seconds since 1970, UTC
    bool m_bLoadSuccess;
    ACE_RW_Thread_Mutex m_rwLock;                // guards all but the atomics and m_table
    std::atomic<std::int64_t> m_tLastCheckTime;  // seconds since 1970, UTC
    std::map<std::string, NSTN_util::TNReadCfg> m_mapReadCfg;

    NSTN_util::Published<Table> m_table;  // read without the lock
};

}  // namespace NSTE_util
