#include "ratio.h"
#include "row.h"

#include "tovelkarin/tnnereply.h"
#include "tovelkarin/tnprogress.h"

#include "zemb/control.h"
#include "zemb/message.h"
#include "zemb/progress_view.h"
#include "zemb/receiver.h"
#include "zemb/task.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <queue>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

using namespace NSTN_util;
using bench::Row;
using NSTE_util::TNProgressIF;

// Tasks with a mission each, as long as it lives.
class Tasks {
public:
    explicit Tasks(std::int64_t nTasks) {
        for (std::int64_t i = 0; i < nTasks; ++i) {
            m_vecTask.push_back(std::make_unique<ZembGnlTask>(&m_msg));
            TNProgressIF::Instance()->Register(i, m_vecTask.back().get());
        }
    }
    ~Tasks() {
        for (const auto& pTask : m_vecTask)
            TNProgressIF::Instance()->UnRegister(pTask.get());
    }
    ZembGnlTask& Middle() { return *m_vecTask[m_vecTask.size() / 2]; }

private:
    ZembCmdMSG m_msg{};
    std::vector<std::unique_ptr<ZembGnlTask>> m_vecTask;
};

void StepOurs(benchmark::State& state) {
    Tasks tasks(state.range(0));
    const zemb::ScopedTask current(&tasks.Middle());
    int nPercent = 0;
    for (auto _ : state)
        TNProgressIF::Instance()->SendProgress(++nPercent % 100, "step of an upload");
}

// What a service of its own would hold for each task.
struct PeerState {
    int nPercent = 0;
    float fScale = 1;
    bool bAbort = false;
    std::string strDesc;
};
std::mutex g_lockPeer;
std::map<const void*, PeerState> g_mapPeer;

void StepPeer(benchmark::State& state) {
    std::vector<char> vecKey(static_cast<std::size_t>(state.range(0)));
    {
        const std::lock_guard<std::mutex> guard(g_lockPeer);
        for (const char& cKey : vecKey)
            g_mapPeer[&cKey];
    }
    const void* const pKey = &vecKey[vecKey.size() / 2];
    int nPercent = 0;
    for (auto _ : state) {
        const std::string strDesc = "step of an upload";
        const std::lock_guard<std::mutex> guard(g_lockPeer);
        PeerState& one = g_mapPeer[pKey];
        one.nPercent = ++nPercent % 100;
        one.strDesc = strDesc;
    }
    const std::lock_guard<std::mutex> guard(g_lockPeer);
    for (const char& cKey : vecKey)
        g_mapPeer.erase(&cKey);
}

// clang-format off
BENCHMARK(StepOurs)->Name("progress_step/ours")->Arg(10)->Arg(10000);
BENCHMARK(StepPeer)->Name("progress_step/map")->Arg(10)->Arg(10000);
BENCHMARK(StepOurs)->Name("progress_two_threads/ours")->Arg(10)->Threads(2)->UseRealTime();
BENCHMARK(StepPeer)->Name("progress_two_threads/map")->Arg(10)->Threads(2)->UseRealTime();
// clang-format on

void ListRows() {
    for (const std::int64_t nSize : {1000, 1000000}) {
        std::list<int> listNumber;
        for (std::int64_t i = 0; i < nSize; ++i)
            listNumber.push_back(static_cast<int>(i * 7919));
        const auto pList = std::make_shared<const std::list<int>>(std::move(listNumber));
        const auto pAsn = std::make_shared<AsnIntList>();
        Ems2Asn(*pList, *pAsn);
        Row(
            "asn_list", "ours",
            [pList, pAsn](std::size_t) {
                AsnIntList listAsn;
                Ems2Asn(*pList, listAsn);
                std::list<int> listBack;
                Asn2Ems(listAsn, listBack);
                return listBack.size();
            },
            nSize);
        Row(
            "asn_list", "copy",
            [pList](std::size_t) {
                std::vector<AsnInt> vecAsn;
                vecAsn.reserve(pList->size());
                std::transform(pList->begin(), pList->end(), std::back_inserter(vecAsn),
                               [](int nNumber) { return AsnInt(nNumber); });
                std::list<int> listBack;
                std::transform(vecAsn.begin(), vecAsn.end(), std::back_inserter(listBack),
                               [](const AsnInt& value) { return static_cast<int>(value.Value()); });
                return listBack.size();
            },
            nSize);
    }
}

void CodeRows() {
    static const std::vector<unsigned long> KINDS = {0,          1,          2,          0x41011006,
                                                     0x42008121, 0x42008122, 0x4101F001, 0x15001};
    // In an order that no branch predictor learns, many a call: one alone is less than the call.
    static const std::vector<unsigned long> CODES = [] {
        std::mt19937 random(7);
        std::vector<unsigned long> vecCode(4096);
        for (unsigned long& nCode : vecCode)
            nCode = KINDS[random() % KINDS.size()];
        return vecCode;
    }();
    static const std::unordered_set<unsigned long> GENERAL = {
        0, 1, 0x41011006, 0x41014308, 0x4101F011, 0x42008120, 0x42008121, 0x4200812F};
    Row("error_code", "ours",
        [](std::size_t) { return std::count_if(CODES.begin(), CODES.end(), IsGeneralError); });
    Row("error_code", "unordered_set", [](std::size_t) {
        return std::count_if(CODES.begin(), CODES.end(),
                             [](unsigned long nCode) { return GENERAL.count(nCode) != 0; });
    });
}

void MessageRows() {
    static const zemb::ScopedReceiver receiver(77,
                                               [](const ZembCmdMSG&, std::string_view strPayload) {
                                                   benchmark::DoNotOptimize(strPayload);
                                               });
    static std::mutex lock;
    static std::queue<std::vector<char>> queue;
    for (const std::int64_t nSize : {64, 1048576}) {
        const std::string strPayload(static_cast<std::size_t>(nSize), 'x');
        Row(
            "message", "ours",
            [strPayload](std::size_t) {
                ZembCmdMSG* const pMsg = ZembAppMgr::AllocMsg(strPayload.size());
                pMsg->nMarker = ZEMB_MSG_MARKER;
                pMsg->nModule = 77;
                pMsg->nLength = static_cast<std::uint32_t>(strPayload.size()) + 2;
                std::memcpy(pMsg + 1, strPayload.data(), strPayload.size());
                const int nSent = ZembAppMgr::ZembOutSendMsg(pMsg);
                ZembAppMgr::FreeMsg(pMsg);
                return nSent;
            },
            nSize);
        Row(
            "message", "queue",
            [strPayload](std::size_t) {
                {
                    std::vector<char> vecBuffer(strPayload.begin(), strPayload.end());
                    const std::lock_guard<std::mutex> guard(lock);
                    queue.push(std::move(vecBuffer));
                }
                const std::lock_guard<std::mutex> guard(lock);
                const std::vector<char> vecTaken = std::move(queue.front());
                queue.pop();
                return vecTaken.size();
            },
            nSize);
    }
}

[[maybe_unused]] const bool g_bRegistered = [] {
    ListRows();
    CodeRows();
    MessageRows();
    return true;
}();

}  // namespace
