#pragma once

#include <functional>
#include <list>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// Every exported operation once, as the walks over all faults call it.
namespace faults {

struct Call {
    const char* szName;
    // Calls it and returns what it answered, the same each time that nothing goes wrong.
    std::function<std::string()> fn;
};

// Thrown where Instance() answered null, as it may when memory or its lock is lacking.
struct NoService {};

template <class Service>
Service& The() {
    if (Service* const pService = Service::Instance())
        return *pService;
    throw NoService();
}

// By header families.
std::vector<Call> TextCalls();
std::vector<Call> FileCalls(const std::string& strFolder);
std::vector<Call> ObjectCalls();
std::vector<Call> WorkCalls();

inline std::vector<Call> AllCalls(const std::string& strFolder) {
    std::vector<Call> vecCall;
    for (const auto& vecPart : {TextCalls(), FileCalls(strFolder), ObjectCalls(), WorkCalls()})
        vecCall.insert(vecCall.end(), vecPart.begin(), vecPart.end());
    return vecCall;
}

template <class Value>
void Add(std::ostream& out, const Value& value) {
    out << value;
}
template <class Key, class Value>
void Add(std::ostream& out, const std::pair<Key, Value>& pairOf) {
    out << pairOf.first << '=' << pairOf.second;
}
template <class Container>
void AddAll(std::ostream& out, const Container& container) {
    for (const auto& value : container) {
        Add(out, value);
        out << ',';
    }
}
template <class Value>
void Add(std::ostream& out, const std::vector<Value>& vec) {
    AddAll(out, vec);
}
template <class Value>
void Add(std::ostream& out, const std::list<Value>& listValue) {
    AddAll(out, listValue);
}
template <class Key, class Value>
void Add(std::ostream& out, const std::map<Key, Value>& mapValue) {
    AddAll(out, mapValue);
}

// "a b c": answers, one behind the other.
template <class... Values>
std::string Show(const Values&... values) {
    std::ostringstream out;
    ((Add(out, values), out << ' '), ...);
    return out.str();
}

}  // namespace faults
