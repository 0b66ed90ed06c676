#pragma once

#include "tovelkarin/export.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace NSTN_util {

// A thread in the registry.
struct TNThreadInfo {
    std::string m_strLable;         // of the outermost registration
    std::int32_t m_nUseCount = 0;   // registrations still open
    std::int64_t m_nStartTime = 0;  // of the outermost one, seconds since 1970, UTC
};

// The threads that are busy with work that must end before the process may stop. Registrations of a
// thread nest and must be balanced. Any thread may call anything; one recursive mutex guards the
// registry. Lines are written under it by Regist_Thread and UnRegist_Thread, without it by the
// others. Thread identifiers are those of pthread_self(), their low 32 bits in the lines. Cost:
// logarithmic in the threads, listings linear.
class TN_API TNThreadMgr {
public:
    // The one registry, made at the first call. Null only when the process-wide static-object lock
    // cannot be taken, or memory is lacking, and no registry is there yet.
    static TNThreadMgr* Instance();
    // Deletes the registry; nothing without one. Nobody may be using it.
    static void Destroy();

    ~TNThreadMgr();
    TNThreadMgr(const TNThreadMgr&) = delete;
    TNThreadMgr& operator=(const TNThreadMgr&) = delete;

    // Registers the calling thread; once more when it is registered already, with its first label
    // and start time (line: "Already Regist_Thread threadid = %u !").
    void Regist_Thread(const std::string& strLable);
    // Takes one registration of the calling thread back. Lines: "UnRegist_Thread not found threadid
    // = %u !" when there is none; that of PrintLable, with the title "UnRegist_Thread use time too
    // many!", when the last one goes after more than 300 seconds.
    void UnRegist_Thread();

    // Whether no thread is registered.
    bool CheckNotExistThread();

    // Writes the line of PrintLable for each thread, by rising identifier.
    void PrintAllInfo(const std::string& strTitle);
    // Writes "<title>, lable = <label>, threadid = <id>, usetime = <seconds>!".
    void PrintLable(const std::string& strTitle, unsigned long nThreadId, const TNThreadInfo& info);
    // The registry as it is, by thread identifier.
    std::map<unsigned long, TNThreadInfo> GetAllInfo();

    // Naps for a second up to nSeconds times, until the registry is found empty; negative: 360
    // times. True when it is empty in the end. Lists the threads at the beginning, after every 30th
    // nap and, when they are still there, at the end (titles: "WaitingThreadExit First!",
    // "WaitingThreadExit again print!", "WaitingThreadExit end!").
    bool WaitingThreadExit(int nSeconds);
    // The same with 3600.
    bool WaitingThreadExit();

protected:
    TNThreadMgr();

    static std::atomic<TNThreadMgr*> m_pInstance;

private:
    struct Registry;
    const std::unique_ptr<Registry> m_pRegistry;
};

// Registers the calling thread as long as it lives; must end on the same thread.
class TN_API TNThreadGuard {
public:
    [[nodiscard]] explicit TNThreadGuard(const std::string& strLable);
    ~TNThreadGuard();
    TNThreadGuard(const TNThreadGuard&) = delete;
    TNThreadGuard& operator=(const TNThreadGuard&) = delete;
};

}  // namespace NSTN_util
