#include "zemb/debug.h"

#include "embedded/log_file.h"
#include "zemb/control.h"

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

TEDebugInterface::~TEDebugInterface() = default;

namespace {

constexpr const char* DEFAULT_CHANNEL = "zembedded";
constexpr const char* KIND_ASSERT = "A";
constexpr const char* KIND_PRINT = "P";
constexpr const char* KIND_EXCEPTION = "E";

// What the host has put behind all channels; read by every line, so behind a reader's lock.
struct Tap {
    zemb::DebugSink sink;
    bool bFileToo;
};

std::shared_mutex& TapLock() {
    static std::shared_mutex& lock = *new std::shared_mutex;
    return lock;
}

std::atomic<std::shared_ptr<const Tap>*> g_pTap{nullptr};
std::atomic<int> g_nNoChannel{0};
std::atomic<bool> g_bExit{false};

std::shared_ptr<const Tap> CurrentTap() {
    if (g_pTap.load(std::memory_order_acquire) == nullptr)
        return nullptr;
    std::shared_lock<std::shared_mutex> guard(TapLock());
    const std::shared_ptr<const Tap>* const pTap = g_pTap.load();
    return pTap == nullptr ? nullptr : *pTap;
}

std::string_view WithoutLineEnd(std::string_view strText) {
    if (!strText.empty() && strText.back() == '\n')
        strText.remove_suffix(1);
    return strText;
}

class Channel final : public TEDebugInterface {
public:
    explicit Channel(const std::string& strModule) : m_strModule(strModule), m_file(strModule) {}

    void Trace(int nLevel, const char* szText) override {
        if (nLevel < m_nLevel.load(std::memory_order_relaxed))
            return;
        char szKind[16];
        std::snprintf(szKind, sizeof szKind, "%d", nLevel);
        Write(szKind, szText == nullptr ? "" : szText);
    }

    void Assert(const char* szText) override {
        Write(KIND_ASSERT, WithoutLineEnd(szText == nullptr ? "" : szText));
    }

    int Printf(const char* szFormat, ...) override __attribute__((format(printf, 2, 3))) {
        if (szFormat == nullptr)
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

    void Write(const char* szKind, std::string_view strText) {
        if (const std::shared_ptr<const Tap> pTap = CurrentTap()) {
            pTap->sink({m_strModule, szKind, std::string(strText)});
            if (!pTap->bFileToo)
                return;
        }
        m_file.Write(szKind, strText);
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
    static Channels& channels = *new Channels;
    return channels;
}

}  // namespace

namespace NSTE_util {

TEDebugInterface* GetDebugInterface(const char* szModule) {
    if (szModule == nullptr || g_nNoChannel != 0)
        return nullptr;
    return AllChannels().Get(szModule);
}

TEDebugInterface* GetDefaultDebugInterface() {
    return GetDebugInterface(DEFAULT_CHANNEL);
}

void WriteException(const char* szText) noexcept {
    try {
        AllChannels().Get(DEFAULT_CHANNEL)->Write(KIND_EXCEPTION, szText == nullptr ? "" : szText);
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

ScopedDebugSink::ScopedDebugSink(DebugSink sink, bool bFileToo) {
    auto* const pTap = new std::shared_ptr<const Tap>(new Tap{std::move(sink), bFileToo});
    std::unique_lock<std::shared_mutex> guard(TapLock());
    m_pBefore = g_pTap.exchange(pTap);
}

ScopedDebugSink::~ScopedDebugSink() {
    std::unique_lock<std::shared_mutex> guard(TapLock());
    delete g_pTap.exchange(static_cast<std::shared_ptr<const Tap>*>(m_pBefore));
}

ScopedNoDebugChannel::ScopedNoDebugChannel() {
    ++g_nNoChannel;
}

ScopedNoDebugChannel::~ScopedNoDebugChannel() {
    --g_nNoChannel;
}

}  // namespace zemb
