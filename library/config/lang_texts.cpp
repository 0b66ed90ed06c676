#include "config/lang_texts.h"

#include <functional>
#include <utility>

namespace NSTN_util {

namespace {

constexpr std::size_t FIRST_PLACES = 64;

// The hash is written before the entry and tells nearly all others apart, whose keys lie elsewhere
// in memory: a look-up meets one key, its own.
struct Place {
    std::atomic<const LangTexts::Entry*> pEntry{nullptr};
    std::size_t nHash = 0;
};

std::size_t HashOf(std::string_view strKey) {
    return std::hash<std::string_view>()(strKey);
}

}  // namespace

// As many places as a power of two, at most half of them taken: every search meets a free one.
struct LangTexts::Places {
    explicit Places(std::size_t nPlaces) : nMask(nPlaces - 1), arrPlace(new Place[nPlaces]()) {}

    // The entry of a key; null, with the free place where it belongs, without one.
    const Entry* Find(std::string_view strKey, std::size_t nHash, Place*& pFree) const noexcept {
        for (std::size_t n = nHash & nMask;; n = (n + 1) & nMask) {
            Place& place = arrPlace[n];
            const Entry* const pEntry = place.pEntry.load(std::memory_order_acquire);
            if (pEntry == nullptr)
                pFree = &place;
            if (pEntry == nullptr || (place.nHash == nHash && pEntry->first == strKey))
                return pEntry;
        }
    }

    // False when the key is there.
    bool Put(const Entry& entry, std::size_t nHash) noexcept {
        Place* pFree = nullptr;
        if (Find(entry.first, nHash, pFree) != nullptr)
            return false;
        pFree->nHash = nHash;
        pFree->pEntry.store(&entry, std::memory_order_release);
        return true;
    }

    const std::size_t nMask;
    const std::unique_ptr<Place[]> arrPlace;
};

LangTexts::LangTexts() : m_pPlaces(nullptr) {
    m_vecPlaces.push_back(std::make_unique<Places>(FIRST_PLACES));
    m_pPlaces = m_vecPlaces.back().get();
}

LangTexts::~LangTexts() = default;

const LangTexts::Entry* LangTexts::Find(std::string_view strKey) const noexcept {
    Place* pIgnored = nullptr;
    return m_pPlaces.load(std::memory_order_acquire)->Find(strKey, HashOf(strKey), pIgnored);
}

void LangTexts::Add(const Entry& entry) {
    if (2 * (m_nEntries + 1) > m_vecPlaces.back()->nMask)
        Grow();
    if (m_vecPlaces.back()->Put(entry, HashOf(entry.first)))
        ++m_nEntries;
}

void LangTexts::Grow() {
    const Places& before = *m_vecPlaces.back();
    auto pNext = std::make_unique<Places>(2 * (before.nMask + 1));
    for (std::size_t n = 0; n <= before.nMask; ++n) {
        const Place& place = before.arrPlace[n];
        if (const Entry* const pEntry = place.pEntry.load(std::memory_order_relaxed))
            pNext->Put(*pEntry, place.nHash);
    }
    m_vecPlaces.push_back(std::move(pNext));
    m_pPlaces.store(m_vecPlaces.back().get(), std::memory_order_release);
}

}  // namespace NSTN_util
