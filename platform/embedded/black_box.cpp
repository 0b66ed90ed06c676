#include "embedded/black_box.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "embedded/black_box_file.h"
#include "embedded/black_box_writer.h"
#include "embedded/item_line.h"
#include "embedded/live_facts.h"
#include "embedded/tell.h"
#include "zemb/black_box.h"

#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

// The life of the black box: made when the modules are started, taken away when they are stopped,
// begun anew in a child process at its first report.
namespace zemb {

std::atomic<LiveWatcher*> g_pLiveWatcher{nullptr};

LiveWatcher::~LiveWatcher() = default;

namespace {

// Null until the first box of the process.
std::atomic<BoxWriter*> g_pWriter{nullptr};

// Begins and ends the box of the process.
struct Life {
    std::mutex lock;
    bool bWanted = true;
    bool bUp = false;
    std::uint32_t nParent = 0;  // that had a box
};
Life& TheLife() {
    static base::Immortal<Life> life;
    return *life;
}

// Stands in a child process for the box that it has not begun yet.
class BoxOfChild final : public LiveWatcher {
public:
    void CallBegins(LiveRequest request, const LiveObject* pFirst,
                    std::size_t nFirst) noexcept override {
        Tell([&](LiveWatcher& watcher) { watcher.CallBegins(request, pFirst, nFirst); });
    }
    void CallEnds() noexcept override {
        if (LiveWatcher* const pWatcher = Live(); pWatcher != nullptr && pWatcher != this)
            pWatcher->CallEnds();
    }
    void Granted(const LiveObject& obj, std::size_t nPlace) noexcept override {
        Tell([&](LiveWatcher& watcher) { watcher.Granted(obj, nPlace); });
    }
    void Refused(const LiveObject& obj, std::size_t nPlace, int nBlocker,
                 unsigned long nCode) noexcept override {
        Tell([&](LiveWatcher& watcher) { watcher.Refused(obj, nPlace, nBlocker, nCode); });
    }
    void GivenBack(int nOper, const LiveObject& obj, std::size_t nPlace) noexcept override {
        Tell([&](LiveWatcher& watcher) { watcher.GivenBack(nOper, obj, nPlace); });
    }
    void AllGivenBack() noexcept override {}
    void ThreadWorks(std::string_view strLabel, int nNesting,
                     std::int64_t nSinceSeconds) noexcept override {
        Tell([&](LiveWatcher& watcher) { watcher.ThreadWorks(strLabel, nNesting, nSinceSeconds); });
    }
    void AllThreadsLeft() noexcept override {}
    void TaskSection(const ZembGnlTask* pTask, int nBase, int nRange, int nSteps,
                     int nStep) noexcept override {
        Tell([&](LiveWatcher& watcher) {
            watcher.TaskSection(pTask, nBase, nRange, nSteps, nStep);
        });
    }
    void Counts(ELiveCounter eCounter) noexcept override {
        Tell([&](LiveWatcher& watcher) { watcher.Counts(eCounter); });
    }

private:
    template <class Fn>
    void Tell(Fn fn) noexcept {
        if (Live() == this)
            BeginBlackBox();
        LiveWatcher* const pWatcher = Live();
        if (pWatcher != nullptr && pWatcher != this)
            fn(*pWatcher);
    }
};

BoxOfChild& TheBoxOfChild() {
    static base::Immortal<BoxOfChild> box;
    return *box;
}

void BoxOfParentEnds() {
    Life& life = TheLife();
    new (&life.lock) std::mutex;
    BoxWriter* const pWriter = g_pWriter.load(std::memory_order_relaxed);
    if (pWriter == nullptr || !life.bUp)
        return;
    life.bUp = false;
    life.nParent = static_cast<std::uint32_t>(getppid());
    life.bWanted = pWriter->ChildBegan();
    g_pLiveWatcher.store(life.bWanted ? &TheBoxOfChild() : nullptr, std::memory_order_release);
}

bool IsSwitchedOff() {
    const char* const szBox = std::getenv("ZEMB_BOX");
    return szBox != nullptr && std::strcmp(szBox, "off") == 0;
}

// Whether there is a box now.
bool Make(Life& life) {
    if (life.bUp || !life.bWanted || IsSwitchedOff() || BoxFolder().empty())
        return life.bUp;
    static const int s_nRegistered = pthread_atfork(nullptr, nullptr, BoxOfParentEnds);
    static_cast<void>(s_nRegistered);
    TheBoxOfChild();
    BoxWriter& writer = TheBoxWriter();
    writer.Begin(ProcessName(), life.nParent);
    g_pWriter.store(&writer, std::memory_order_release);
    life.bUp = true;
    return true;
}

void End(Life& life) noexcept {
    g_pLiveWatcher.store(nullptr, std::memory_order_release);
    if (life.bUp)
        g_pWriter.load(std::memory_order_relaxed)->End();
    life.bUp = false;
}

}  // namespace

void BeginBlackBox() noexcept {
    const base::CancelHold hold;
    std::string strError;
    try {
        Life& life = TheLife();
        const std::lock_guard<std::mutex> guard(life.lock);
        try {
            g_pLiveWatcher.store(Make(life) ? g_pWriter.load() : nullptr,
                                 std::memory_order_release);
        } catch (const std::exception& error) {
            g_pLiveWatcher.store(nullptr, std::memory_order_release);
            strError = error.what();
            strError += "; nothing can be seen of this process from outside";
        }
    } catch (...) {
        return;  // a text could not be kept, or the lock not taken
    }
    if (!strError.empty())
        TellOfPlatform("black box: ", strError);
}

void EndBlackBox() noexcept {
    Life& life = TheLife();
    const std::lock_guard<std::mutex> guard(life.lock);
    End(life);
}

void SetBlackBox(bool bWanted) {
    Life& life = TheLife();
    const std::lock_guard<std::mutex> guard(life.lock);
    life.bWanted = bWanted;
    if (!bWanted)
        End(life);
}

void PutLiveFacts() {
    if (BoxWriter* const pWriter = g_pWriter.load(std::memory_order_acquire);
        pWriter != nullptr && pWriter == Live())
        pWriter->PutFacts();
}

void PutLiveTask(const LiveTask& task, TaskPlace& place) noexcept {
    // A child's box is not begun here, where a lock is held.
    if (BoxWriter* const pWriter = g_pWriter.load(std::memory_order_acquire);
        pWriter != nullptr && pWriter == Live())
        pWriter->PutTask(task, place);
}

bool PutLiveStep(const LiveStep& step, const TaskPlace& place) noexcept {
    BoxWriter* const pWriter = g_pWriter.load(std::memory_order_acquire);
    return pWriter != nullptr && pWriter == Live() && pWriter->PutStep(step, place);
}

void DropLiveTask(TaskPlace& place) noexcept {
    if (BoxWriter* const pWriter = g_pWriter.load(std::memory_order_acquire))
        pWriter->DropTask(place);
}

void PutLiveError(std::uint64_t nCode, std::uint32_t nTask, int nUser, const std::string& strFirst,
                  const std::string& strSecond) noexcept {
    if (BoxWriter* const pWriter = g_pWriter.load(std::memory_order_acquire);
        pWriter != nullptr && pWriter == Live())
        pWriter->PutError(nCode, nTask, nUser, strFirst, strSecond);
}

}  // namespace zemb
