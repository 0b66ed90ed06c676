#include "zemb/callchain.h"

#include "zemb/control.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>

namespace NSTE_util {

CallChainMgr::~CallChainMgr() = default;

}  // namespace NSTE_util

namespace zemb {

namespace {

constexpr mode_t FILE_MODE = 0640;

class CallChainFile final : public NSTE_util::CallChainMgr {
public:
    // One write a record: whole lines in the file, none lost when the process dies.
    bool Write(const std::string& strRecord) override {
        const std::string strFile = CallChainLog();
        if (strFile.empty())
            return false;
        std::error_code ignored;  // then the file cannot be opened
        std::filesystem::create_directories(std::filesystem::path(strFile).parent_path(), ignored);
        const int nFile =
            open(strFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, FILE_MODE);
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
    return zemb::g_bOn ? pInstance : nullptr;
}
