#pragma once

#include "tovelkarin/tnreadcfg.h"
#include "tovelkarin/tnreqtimeout.h"
#include "util/section_file.h"

#include <ace/RW_Thread_Mutex.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
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
    using CmdIndex = std::unordered_map<int, int>;
    using Lines = std::vector<std::string_view>;

    void Init();
    int Load_nolock(const std::string& strFile);
    int LoadCfg(const std::string& strFile);
    // strText holds the file as long as the sections are used.
    static bool LoadCfgFileContent(const std::string& strFile, std::string& strText,
                                   NSTN_util::SectionLines& mapSection);
    static int getattribute(const Lines& vecLine, std::string_view strKey, int nDefault);
    static void LoadCommands(const NSTN_util::SectionLines& mapSection, std::string_view strSection,
                             CmdSeconds& mapSeconds, CmdIndex& index);
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
    ACE_RW_Thread_Mutex m_rwLock;                // guards all but the atomics
    std::atomic<std::int64_t> m_tLastCheckTime;  // seconds since 1970, UTC
    std::map<std::string, NSTN_util::TNReadCfg> m_mapReadCfg;

    // The same as the two ordered maps, for the queries: a look-up among 10,000 commands takes a
    // tenth of the time.
    CmdIndex m_indexCmdTimeout;
    CmdIndex m_indexTimeDual;
};

}  // namespace NSTE_util
