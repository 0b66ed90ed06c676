#include "zemb/callchain.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "embedded/fault_point.h"
#include "embedded/line_file.h"
#include "zemb/control.h"

#include <atomic>
#include <string>

namespace NSTE_util {

CallChainMgr::~CallChainMgr() = default;

}  // namespace NSTE_util

namespace zemb {

namespace {

class CallChainFile final : public NSTE_util::CallChainMgr {
public:
    bool Write(const std::string& strRecord) override {
        const base::CancelHold hold;
        if (IsFaulty("CallChainMgr::Write"))
            return false;
        const std::string strFile = CallChainLog();
        if (strFile.empty())
            return false;
        try {
            LineFile(strFile).Append(strRecord + "\n");
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }
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
    static base::Immortal<zemb::CallChainFile> file;
    return zemb::g_bOn && !zemb::IsFaulty("CallChainMgr::Instance") ? &*file : nullptr;
}
