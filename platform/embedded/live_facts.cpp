#include "embedded/live_facts.h"

#include "base/immortal.h"
#include "embedded/fork_gate.h"
#include "zemb/live.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <utility>

// What the library told of settings and loaded files, whether or not there is a black box yet. A
// box gets all of it at its beginning, and again whenever something changed.
namespace zemb {

namespace {

struct Facts {
    std::mutex lock;
    std::map<std::pair<std::string, std::string>, std::string> mapValue;  // by kind and name
};

Facts& TheFacts() {
    static base::Immortal<Facts> facts;
    return *facts;
}

// The names of files are for readers who stand in another folder.
std::string WholeName(const std::string& strKind, const std::string& strName) {
    return strKind == "setting" ? strName : std::filesystem::absolute(strName).string();
}

}  // namespace

void LiveFact(const std::string& strKind, const std::string& strName,
              const std::string& strValue) noexcept {
    const ForkGate gate;
    try {
        {
            Facts& facts = TheFacts();
            const std::lock_guard<std::mutex> guard(facts.lock);
            facts.mapValue[{strKind, WholeName(strKind, strName)}] = strValue;
        }
        PutLiveFacts();
    } catch (...) {
        // Without memory for it, it is not seen.
    }
}

void ForEachLiveFact(const std::function<void(const std::string& strFact)>& fn) {
    const ForkGate gate;
    Facts& facts = TheFacts();
    const std::lock_guard<std::mutex> guard(facts.lock);
    const auto Tell = [&](bool bTables) {
        for (const auto& [key, strValue] : facts.mapValue)
            if ((key.first == "table") == bTables)
                fn(key.first + '\0' + key.second + '\0' + strValue);
    };
    Tell(true);  // first, since others ask by them who is in the way
    Tell(false);
}

}  // namespace zemb
