#pragma once

#include "tovelkarin/export.h"

#include <atomic>
#include <string>

namespace NSTE_util {

// How long to wait for the reply to a command request, in seconds, from the request time-out file
// (docs/formats/timeout-file.md); and single items of other configuration files.
//
// The file is read when LoadTimeoutCfgFile is called. If it asks for it ("need_auto_refresh"), it
// is read again by itself: a query looks at most once per 301 seconds of the platform's clock, and
// reads when the modification time has changed or the last load failed. Until a load has found that
// wish, one that failed is not tried again.
//
// Any thread. Loads and GetItemValue hold a writers' lock, also while they read the file; queries
// take none while they look: they see the times of before a load, or of behind it, and hold no load
// up. The lines of a GetItemValue are written once the lock is released. No operation throws. What
// is wrong with the file is printed to standard output. Cost of a query: one look at the clock and
// one at an index, the same however many threads ask; of a load: linear in all commands known.
class TN_API TNReqTimeoutIF {
public:
    // The one service, made at the first call without any file: every command then takes 60
    // seconds. Null only when the process-wide static-object lock cannot be taken, or memory is
    // lacking, and no service is there yet.
    static TNReqTimeoutIF* Instance();
    // Deletes the service with all it has read; nothing without one. Nobody may be using it.
    static void Destroy();

    virtual ~TNReqTimeoutIF();

    // Reads a time-out file over what is there: what it does not name keeps its value. 1; 0 when it
    // cannot be read, which a file of over 1 GiB and what is no plain file cannot, or has no
    // section "cmdreq_common_config" (printed: "Warning:missing cfg file..." or "Warning:cfg file
    // (%s) missing section %s, load failed!"); the other sections count even so.
    virtual int LoadTimeoutCfgFile(const std::string& strFile) = 0;

    // The time-out of nCmd, or the default one, times the half of nCount, rounded down, if nCount
    // is over 1; plus the offset with bOffset. 60 if that is not above 0.
    virtual int GetReqTimeOutValue(int nCmd, int nCount, bool bOffset) = 0;

    // The second time of nCmd; 604800, seven days, without one.
    virtual int GetReqTimeDualValue(int nCmd) = 0;

    // The time-out of nCmd, or nDefault, plus the offset. 60 if that is not above 0.
    virtual int GetReqTimeoutByDefault(int nCmd, int nDefault) = 0;

    // The default time-out, or nDefault if that is below 1.
    virtual int GetReqDefaultTimeout(int nDefault) = 0;

    // One item of a configuration-item file, through a TNReadCfg of its own per path as spelled,
    // made at the first call (line, if the file exists: "GetTNReadcfg_nolock  InitByFileName
    // failed!"). False, with the output untouched, as by TNReadCfg::GetItemValue. Does not look
    // whether the time-out file has changed.
    virtual bool GetItemValue(const std::string& strFile, const std::string& strKey,
                              std::string& strValue) = 0;
    virtual bool GetItemValue(const std::string& strFile, const std::string& strKey,
                              int& nValue) = 0;

protected:
    TNReqTimeoutIF();

    static std::atomic<TNReqTimeoutIF*> m_pInstance;
};

}  // namespace NSTE_util
