#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/tnprogress.h"
#include "tovelkarin/tnthreadmgr.h"

#include "zemb/black_box.h"
#include "zemb/control.h"
#include "zemb/message.h"
#include "zemb/module.h"
#include "zemb/task.h"

#include <benchmark/benchmark.h>

#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

// What a black box costs the process that it shows: the same work with a box ("ours") and without
// ("off"), and while somebody reads it.
namespace {

using NSTE_util::TEMutexOperMgr;
using NSTE_util::TNProgressIF;

enum class EBox { OFF, ON, READ };

class Boxed {
public:
    explicit Boxed(EBox eBox) {
        char szFolder[] = "/tmp/tovelkarin.bench.XXXXXX";
        m_strFolder = mkdtemp(szFolder);
        zemb::SetStatePath(m_strFolder);
        zemb::SetBlackBox(eBox != EBox::OFF);
        std::string strError;
        ModuleMgr::Instance()->StartModules(strError);
        if (eBox == EBox::READ)
            m_reader = std::thread([this] { ReadOn(); });
    }
    ~Boxed() {
        m_bEnd = true;
        if (m_reader.joinable())
            m_reader.join();
        std::string strError;
        ModuleMgr::Instance()->StopModules(strError);
        zemb::SetBlackBox(false);
        zemb::ResetStatePath();
        std::filesystem::remove_all(m_strFolder);
    }
    Boxed(const Boxed&) = delete;
    Boxed& operator=(const Boxed&) = delete;

private:
    // As 'top' does, but ten times a second.
    void ReadOn() {
        while (!m_bEnd) {
            for (const zemb::BoxSummary& summary : zemb::ListBlackBoxes(m_strFolder)) {
                zemb::BlackBox box;
                std::string strError;
                zemb::ReadBlackBox(summary.strFile, box, strError);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }

    std::string m_strFolder;
    std::atomic<bool> m_bEnd{false};
    std::thread m_reader;
};

void Request(benchmark::State& state, EBox eBox) {
    constexpr int OPER = 9;
    TEMutexOperMgr& mgr = *TEMutexOperMgr::Instance();
    const std::string strTable = "/tmp/tovelkarin.bench.table";
    if (std::FILE* const pFile = std::fopen(strTable.c_str(), "w")) {
        std::fputs("[MUTEX_TABLE]\n8:9:0\n", pFile);
        std::fclose(pFile);
    }
    mgr.LoadMutexCfg(strTable);
    const Boxed boxed(eBox);
    int i = 0;
    for (auto _ : state) {
        const NSTE_util::TEOperObject obj = {1 + ++i % 64, 2, 3};
        if (mgr.AcquireMutexOper(OPER, obj) != 0)
            state.SkipWithError("refused");
        mgr.ReleaseMutexOper(OPER, obj);
    }
}

void Register(benchmark::State& state, EBox eBox) {
    const Boxed boxed(eBox);
    const std::string strLabel = "nightly backup";
    for (auto _ : state)
        const NSTN_util::TNThreadGuard guard(strLabel);
}

void Step(benchmark::State& state, EBox eBox) {
    const Boxed boxed(eBox);
    ZembCmdMSG msg{};
    ZembGnlTask task(&msg);
    const zemb::ScopedTask current(&task);
    TNProgressIF::Instance()->Register(1, &task);
    int nPercent = 0;
    for (auto _ : state)
        TNProgressIF::Instance()->SendProgress(++nPercent % 100, "step of an upload");
    TNProgressIF::Instance()->UnRegister(&task);
}

// clang-format off
BENCHMARK_CAPTURE(Request, off, EBox::OFF)->Name("box_request/off");
BENCHMARK_CAPTURE(Request, on, EBox::ON)->Name("box_request/ours");
BENCHMARK_CAPTURE(Request, off, EBox::OFF)->Name("box_request_read/off");
BENCHMARK_CAPTURE(Request, read, EBox::READ)->Name("box_request_read/ours");
BENCHMARK_CAPTURE(Register, off, EBox::OFF)->Name("box_thread/off");
BENCHMARK_CAPTURE(Register, on, EBox::ON)->Name("box_thread/ours");
BENCHMARK_CAPTURE(Step, off, EBox::OFF)->Name("box_step/off");
BENCHMARK_CAPTURE(Step, on, EBox::ON)->Name("box_step/ours");
// clang-format on

}  // namespace
