#include "tovelkarin/tncallchain.h"

#include "base/number_text.h"
#include "trace/trace_line.h"

#include "zemb/callchain.h"
#include "zemb/task.h"
#include "zemb/time.h"

#include <json/writer.h>

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <deque>
#include <memory>

// Which call led to which. A thread keeps its chains on a stack of its own, so no lock is taken for
// it; a record takes its id, its parent and its keys from the innermost one. Chains carry the
// number of the task that began them, and what another task left behind on a pooled thread is
// dropped at the next call. At most 64 are kept: the oldest go first.
namespace NSTN_util {

namespace {

constexpr int LEVEL_NO_MANAGER = 3;
constexpr std::size_t CHAINS_MOST = 64;

struct Chain {
    std::string strId;
    std::string strParent;
    std::string strName;
    Json::Value ext{Json::objectValue};
    Json::UInt64 nSequence = 0;
    std::uint32_t nTaskId = 0;
};

std::uint32_t CurrentTaskId() {
    const ZembGnlTask* const pTask = ZembGetCurrentTask();
    return pTask == nullptr ? 0 : pTask->GetTaskId();
}

thread_local std::deque<Chain> t_dequeChain;

// What another task has left on this thread does not belong to the present one.
void ForgetOtherTasks() {
    const std::uint32_t nTaskId = CurrentTaskId();
    while (!t_dequeChain.empty() && t_dequeChain.back().nTaskId != nTaskId)
        t_dequeChain.pop_back();
}

std::atomic<unsigned long> g_nLastChain{0};

NSTE_util::CallChainMgr* Manager(const char* szFunction) {
    NSTE_util::CallChainMgr* const pMgr = NSTE_util::CallChainMgr::Instance();
    if (pMgr == nullptr)
        TNTrace2LogFile(MODULE_NAME, LEVEL_NO_MANAGER,
                        std::string(szFunction) + ": no CallChainMgr");
    return pMgr;
}

std::string UtcNow() {
    const std::time_t tNow = ZEMB_OS::time();
    std::tm parts{};
    gmtime_r(&tNow, &parts);
    char szText[64];
    return std::string(szText, std::strftime(szText, sizeof szText, "%Y-%m-%d %H:%M:%SZ", &parts));
}

std::string RecordOf(const Chain& chain, const std::string& strText) {
    Json::Value record;
    record["id"] = chain.strId;
    record["parent"] = chain.strParent;
    record["sequence"] = chain.nSequence;
    record["module"] = MODULE_NAME;
    record["name"] = chain.strName;
    record["thread"] = static_cast<Json::UInt64>(pthread_self());
    record["time"] = UtcNow();
    record["text"] = strText;
    record["ext"] = chain.ext;
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, record);
}

}  // namespace

std::string BeginCallChain(const std::string& strName) {
    std::string strId;
    GuardedCall([&] {
        ForgetOtherTasks();
        Chain chain;
        // Without a manager it has no id and no records, but an end as every other.
        if (Manager("BeginCallChain") != nullptr)
            chain.strId = base::IntegerText(getpid()) + "-" + base::IntegerText(++g_nLastChain);
        chain.nTaskId = CurrentTaskId();
        chain.strParent = t_dequeChain.empty() ? "" : t_dequeChain.back().strId;
        chain.strName = strName;
        t_dequeChain.push_back(std::move(chain));
        if (t_dequeChain.size() > CHAINS_MOST)
            t_dequeChain.pop_front();
        strId = t_dequeChain.back().strId;
    });
    return strId;
}

void EndCallChain() {
    GuardedCall(ForgetOtherTasks);
    if (!t_dequeChain.empty())
        t_dequeChain.pop_back();
}

void TnSetCallChainExtInfo(const std::string& strKey, const std::string& strValue) {
    GuardedCall([&] {
        ForgetOtherTasks();
        if (!t_dequeChain.empty())
            t_dequeChain.back().ext[strKey] = strValue;
    });
}

bool TraceCallChain(const std::string& strText) {
    bool bWritten = false;
    GuardedCall([&] {
        NSTE_util::CallChainMgr* const pMgr = Manager("TraceCallChain");
        ForgetOtherTasks();
        if (pMgr == nullptr || t_dequeChain.empty() || t_dequeChain.back().strId.empty())
            return;
        ++t_dequeChain.back().nSequence;
        bWritten = pMgr->Write(RecordOf(t_dequeChain.back(), strText));
    });
    return bWritten;
}

}  // namespace NSTN_util
