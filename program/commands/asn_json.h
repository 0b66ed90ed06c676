#pragma once

#include <memory>
#include <string>

class AsnType;

namespace host {

// Reads a value from JSON: objects are sequences, arrays lists, integers numbers, strings texts;
// {"$octets": "00FF"} is a string of octets, {"$choice": {"name": value}} a choice, and a member
// "$type" of an object names its type. Throws CommandError with file, line and what was expected.
std::shared_ptr<const AsnType> ReadAsn(const std::string& strFile, const std::string& strText);

}  // namespace host
