#include "config/lang_texts.h"

#include <functional>
#include <utility>

namespace NSTN_util {

namespace {

constexpr std::size_t FIRST_PLACES = 64;

using Place = std::atomic<const LangTexts::Entry*>;

}  // namespace

// As many places as a power of two, at most half of them taken: every search meets a free one.
struct LangTexts::Places {
    explicit Places(std::size_t nPlaces) : nMask(nPlaces - 1), arrPlace(new Place[nPlaces]()) {}

    // The place of a key, or the free one where it belongs.
    Place& Of(std::string_view strKey) const noexcept {
        std::size_t n = std::hash<std::string_view>()(strKey) & nMask;
        for (;; n = (n + 1) & nMask) {
            const Entry* const pEntry = arrPlace[n].load(std::memory_order_acquire);
            if (pEntry == nullptr || pEntry->first == strKey)
                return arrPlace[n];
        }
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
    return m_pPlaces.load(std::memory_order_acquire)->Of(strKey).load(std::memory_order_acquire);
}

void LangTexts::Add(const Entry& entry) {
    if (2 * (m_nEntries + 1) > m_vecPlaces.back()->nMask)
        Grow();
    Place& place = m_vecPlaces.back()->Of(entry.first);
    if (place.load(std::memory_order_relaxed) != nullptr)
        return;
    place.store(&entry, std::memory_order_release);
    ++m_nEntries;
}

void LangTexts::Grow() {
    const Places& before = *m_vecPlaces.back();
    auto pNext = std::make_unique<Places>(2 * (before.nMask + 1));
    for (std::size_t n = 0; n <= before.nMask; ++n)
        if (const Entry* const pEntry = before.arrPlace[n].load(std::memory_order_relaxed))
            pNext->Of(pEntry->first).store(pEntry, std::memory_order_relaxed);
    m_vecPlaces.push_back(std::move(pNext));
    m_pPlaces.store(m_vecPlaces.back().get(), std::memory_order_release);
}

}  // namespace NSTN_util
