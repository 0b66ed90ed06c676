#pragma once

#include <json/value.h>

#include <initializer_list>
#include <string>
#include <type_traits>

namespace host {

// The JSON of a text, a number, a boolean or a JSON value; Json::Value itself does not take every
// kind of integer.
template <class Value>
Json::Value JsonOf(const Value& value) {
    if constexpr (!std::is_integral_v<Value> || std::is_same_v<Value, bool>)
        return value;
    else if constexpr (std::is_signed_v<Value>)
        return Json::Int64{value};
    else
        return Json::UInt64{value};
}

// A member of a record.
struct Member {
    template <class Value>
    Member(const char* szKeyOf, const Value& valueOf) : szKey(szKeyOf), value(JsonOf(valueOf)) {}

    const char* szKey;
    Json::Value value;
};

// A record of its members: RecordOf({{"file", strFile}, {"entries", nEntries}}).
inline Json::Value RecordOf(std::initializer_list<Member> listMember) {
    Json::Value record;
    for (const Member& member : listMember)
        record[member.szKey] = member.value;
    return record;
}

}  // namespace host
