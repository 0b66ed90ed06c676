#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace NSTN_util {

// Counts this thread among those who read published objects; the counter is to be lowered when it
// is done. Threads have counters of their own, on cache lines of their own, as long as there are no
// more than READER_LINES of them: to read costs the same however many do.
std::atomic<unsigned>& EnterReaders() noexcept;

// Returns when all who were reading at the call are done. Those who come later are not waited for,
// so it ends however many read without pause.
void WaitForReaders() noexcept;

constexpr unsigned READER_LINES = 64;

// An object that many threads read while another object takes its place. A reader sees one of them,
// whole, and takes no lock; what was replaced goes as soon as its last reader is done.
template <class Object>
class Published {
public:
    explicit Published(std::unique_ptr<const Object> pFirst) : m_pObject(pFirst.release()) {}
    ~Published() { delete m_pObject.load(); }
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    // The object that is in force, which stays as long as the look lasts. A look is a matter of
    // moments: nothing that may wait, and no Put, is done meanwhile.
    class Look {
    public:
        explicit Look(const Published& published)
            : m_nReaders(EnterReaders()), m_pObject(published.m_pObject.load()) {}
        ~Look() { m_nReaders.fetch_sub(1, std::memory_order_release); }
        Look(const Look&) = delete;
        Look& operator=(const Look&) = delete;

        const Object* operator->() const { return m_pObject; }

    private:
        std::atomic<unsigned>& m_nReaders;
        const Object* const m_pObject;
    };

    // Any thread, several at once.
    void Put(std::unique_ptr<const Object> pNext) noexcept {
        const std::unique_ptr<const Object> pBefore(m_pObject.exchange(pNext.release()));
        WaitForReaders();
    }

private:
    std::atomic<const Object*> m_pObject;
};

}  // namespace NSTN_util
