#include "zemb/callchain.h"

#include "base/cancel_hold.h"
#include "embedded/fault_point.h"
#include "embedded/state_folder.h"
#include "zemb/control.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <string>

namespace NSTE_util {

CallChainMgr::~CallChainMgr() = default;

}  // namespace NSTE_util

namespace zemb {

namespace {

class CallChainFile final : public NSTE_util::CallChainMgr {
public:
    // One write a record: whole lines in the file, none lost when the process dies.
    bool Write(const std::string& strRecord) override {
        const base::CancelHold hold;
        if (IsFaulty("CallChainMgr::Write"))
            return false;
        const std::string strFile = CallChainLog();
        if (strFile.empty())
            return false;
        try {
            MakeStateFile(strFile);
        } catch (const std::exception&) {
            return false;
        }
        const int nFile = open(strFile.c_str(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_CLOEXEC);
        if (nFile == -1)
            return false;
        const std::string strLine = (m_bTorn ? "\n" : "") + strRecord + "\n";
        const ssize_t nWritten = write(nFile, strLine.data(), strLine.size());
        close(nFile);
        if (nWritten > 0)
            m_bTorn = static_cast<std::size_t>(nWritten) != strLine.size();
        return nWritten == static_cast<ssize_t>(strLine.size());
    }

private:
    std::atomic<bool> m_bTorn{false};  // the last line has no end
};

std::atomic<bool> g_bOn{false};

}  // namespace

void SetCallChain(bool bOn) {
    g_bOn = bOn;
}

std::string CallChainLog() {
    const std::string strState = GetStatePath();
    return strState.empty() ? "" : strState + "/log/callchain.jsonl";
}

}  // namespace zemb

NSTE_util::CallChainMgr* NSTE_util::CallChainMgr::Instance() {
    static CallChainMgr* const pInstance = new zemb::CallChainFile;
    return zemb::g_bOn && !zemb::IsFaulty("CallChainMgr::Instance") ? pInstance : nullptr;
}
