#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace NSTN_util {

// An index of a table of texts that only ever grows, for any number of threads that look up while
// one adds. A place of it is written once and never emptied, so a look-up takes no lock and writes
// nothing. When it gets full a larger one takes its place; the smaller ones, which look-ups may
// still be in, are kept to the end: together they are smaller than the last.
class LangTexts {
public:
    using Entry = std::map<std::string, std::string>::value_type;  // stays where it is in its map

    LangTexts();
    ~LangTexts();
    LangTexts(const LangTexts&) = delete;
    LangTexts& operator=(const LangTexts&) = delete;

    // Null without such a key. Any thread.
    const Entry* Find(std::string_view strKey) const noexcept;

    // Adds an entry unless its key is there. One thread at a time.
    void Add(const Entry& entry);

private:
    struct Places;

    void Grow();

    std::vector<std::unique_ptr<Places>> m_vecPlaces;  // the last one is in use
    std::atomic<const Places*> m_pPlaces;
    std::size_t m_nEntries = 0;
};

}  // namespace NSTN_util
