#include "zemb/callchain.h"

#include "zemb/control.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <mutex>

namespace NSTE_util {

CallChainMgr::~CallChainMgr() = default;

}  // namespace NSTE_util

namespace zemb {

namespace {

constexpr mode_t FILE_MODE = 0640;

class CallChainFile final : public NSTE_util::CallChainMgr {
public:
    // One write a record: whole lines in the file, none lost when the process dies.
    void Write(const std::string& strRecord) override {
        const std::string strFile = CallChainLog();
        if (strFile.empty())
            return;
        const std::string strLine = strRecord + "\n";
        const std::lock_guard<std::mutex> guard(m_lock);
        std::error_code ignored;  // then the file cannot be opened
        std::filesystem::create_directories(std::filesystem::path(strFile).parent_path(), ignored);
        const int nFile =
            open(strFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, FILE_MODE);
        if (nFile == -1)
            return;
        [[maybe_unused]] const ssize_t nWritten = write(nFile, strLine.data(), strLine.size());
        close(nFile);
    }

private:
    std::mutex m_lock;
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
    return zemb::g_bOn ? pInstance : nullptr;
}
