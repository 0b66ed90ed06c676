#include "zemb/debug.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "base/number_text.h"
#include "base/view_of.h"
#include "embedded/fault_point.h"
#include "embedded/fork_gate.h"
#include "embedded/log_file.h"
#include "zemb/control.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <utility>
#include <vector>

// Channels of lines, one for each module, that live to the end of the process. A line goes through
// the taps of the host or of a test, the last one first, and then into the module's log file. As
// long as there is none, a line looks at one counter and takes no lock for them. No lock is held
// while a tap runs, so it may write a line itself.

TEDebugInterface::~TEDebugInterface() = default;
TEDebugCommand::~TEDebugCommand() = default;

namespace {

constexpr const char* DEFAULT_CHANNEL = "zembedded";
constexpr const char* KIND_ASSERT = "A";
constexpr const char* KIND_PRINT = "P";
constexpr const char* KIND_EXCEPTION = "E";

// What the host has put behind all channels, the last one first asked. Lines look at it without a
// lock as long as it is empty.
class Taps {
public:
    struct Tap {
        int nId;
        zemb::DebugSink sink;
        bool bPassOn;
    };

    int Add(zemb::DebugSink sink, bool bPassOn) {
        const zemb::ForkGate gate;
        std::unique_lock<std::shared_mutex> guard(m_lock);
        m_vecTap.push_back(std::make_shared<const Tap>(Tap{++m_nLastId, std::move(sink), bPassOn}));
        m_nTaps = static_cast<int>(m_vecTap.size());
        return m_nLastId;
    }

    void Remove(int nId) {
        std::shared_ptr<const Tap> pRemoved;  // dies without the lock: it may write a line itself
        const zemb::ForkGate gate;
        std::unique_lock<std::shared_mutex> guard(m_lock);
        const auto it = std::find_if(m_vecTap.begin(), m_vecTap.end(),
                                     [nId](const auto& pTap) { return pTap->nId == nId; });
        pRemoved = std::move(*it);
        m_vecTap.erase(it);
        m_nTaps = static_cast<int>(m_vecTap.size());
    }

    // Hands the line to the sinks; true when it goes on to the file. Holds no lock meanwhile.
    bool Pass(const std::string& strModule, std::string_view strKind, std::string_view strText) {
        if (m_nTaps.load(std::memory_order_acquire) == 0)
            return true;
        std::vector<std::shared_ptr<const Tap>> vecTap;
        {
            const zemb::ForkGate gate;
            std::shared_lock<std::shared_mutex> guard(m_lock);
            vecTap = m_vecTap;
        }
        const zemb::DebugLine line{strModule, std::string(strKind), std::string(strText)};
        for (auto it = vecTap.rbegin(); it != vecTap.rend(); ++it) {
            (*it)->sink(line);
            if (!(*it)->bPassOn)
                return false;
        }
        return true;
    }

private:
    std::shared_mutex m_lock;
    std::vector<std::shared_ptr<const Tap>> m_vecTap;
    std::atomic<int> m_nTaps{0};
    int m_nLastId = 0;
};

Taps& AllTaps() {
    static base::Immortal<Taps> taps;
    return *taps;
}

std::atomic<int> g_nNoChannel{0};
std::atomic<bool> g_bExit{false};

std::string_view WithoutLineEnd(std::string_view strText) {
    if (!strText.empty() && strText.back() == '\n')
        strText.remove_suffix(1);
    return strText;
}

class Channel final : public TEDebugInterface {
public:
    explicit Channel(const std::string& strModule) : m_strModule(strModule), m_file(strModule) {}

    void Trace(int nLevel, const char* szText) override {
        if (zemb::IsFaulty("Trace"))
            return;
        if (nLevel < m_nLevel.load(std::memory_order_relaxed))
            return;
        Write(base::IntegerText(nLevel), base::ViewOf(szText));
    }

    void Assert(const char* szText) override {
        if (zemb::IsFaulty("Assert"))
            return;
        Write(KIND_ASSERT, WithoutLineEnd(base::ViewOf(szText)));
    }

    int Printf(const char* szFormat, ...) override __attribute__((format(printf, 2, 3))) {
        if (szFormat == nullptr || zemb::IsFaulty("Printf"))
            return -1;
        va_list args;
        va_start(args, szFormat);
        char* pText = nullptr;
        const int nLength = vasprintf(&pText, szFormat, args);
        va_end(args);
        if (nLength < 0)
            return -1;
        const std::unique_ptr<char, decltype(&std::free)> text(pText, &std::free);
        Write(KIND_PRINT, WithoutLineEnd({text.get(), static_cast<std::size_t>(nLength)}));
        return nLength;
    }

    void Write(std::string_view strKind, std::string_view strText) {
        const base::CancelHold hold;
        if (AllTaps().Pass(m_strModule, strKind, strText))
            m_file.Write(strKind, strText);
    }

    void SetLevel(int nLevel) { m_nLevel = nLevel; }

private:
    const std::string m_strModule;
    std::atomic<int> m_nLevel{0};
    zemb::LogFile m_file;
};

// The channels by name. They live to the end of the process, and so do the pointers given out.
class Channels {
public:
    Channel* Get(std::string_view strModule) {
        const zemb::ForkGate gate;
        {
            std::shared_lock<std::shared_mutex> guard(m_lock);
            const auto it = m_mapChannel.find(strModule);
            if (it != m_mapChannel.end())
                return it->second.get();
        }
        std::unique_lock<std::shared_mutex> guard(m_lock);
        const auto it = m_mapChannel.find(strModule);
        if (it != m_mapChannel.end())
            return it->second.get();
        const std::string strName(strModule);
        return m_mapChannel.emplace(strName, std::make_unique<Channel>(strName))
            .first->second.get();
    }

private:
    std::shared_mutex m_lock;
    std::map<std::string, std::unique_ptr<Channel>, std::less<>> m_mapChannel;
};

Channels& AllChannels() {
    static base::Immortal<Channels> channels;
    return *channels;
}

}  // namespace

namespace NSTE_util {

TEDebugInterface* GetDebugInterface(const char* szModule) {
    if (szModule == nullptr || g_nNoChannel != 0 || zemb::IsFaulty("GetDebugInterface"))
        return nullptr;
    return AllChannels().Get(szModule);
}

TEDebugInterface* GetDefaultDebugInterface() {
    return GetDebugInterface(DEFAULT_CHANNEL);
}

void WriteException(const char* szText) noexcept {
    try {
        AllChannels().Get(DEFAULT_CHANNEL)->Write(KIND_EXCEPTION, base::ViewOf(szText));
    } catch (...) {
        // The sink of the host threw again: there is nobody left to tell.
    }
}

}  // namespace NSTE_util

bool ZembIsExit() {
    return g_bExit.load(std::memory_order_relaxed);
}

namespace zemb {

void SetExit(bool bExit) {
    g_bExit = bExit;
}

void SetTraceLevel(const std::string& strModule, int nLevel) {
    AllChannels().Get(strModule)->SetLevel(nLevel);
}

ScopedDebugSink::ScopedDebugSink(DebugSink sink, bool bPassOn)
    : m_nId(AllTaps().Add(std::move(sink), bPassOn)) {}

ScopedDebugSink::~ScopedDebugSink() {
    AllTaps().Remove(m_nId);
}

ScopedNoDebugChannel::ScopedNoDebugChannel() {
    ++g_nNoChannel;
}

ScopedNoDebugChannel::~ScopedNoDebugChannel() {
    --g_nNoChannel;
}

}  // namespace zemb
