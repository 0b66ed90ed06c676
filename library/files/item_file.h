#pragma once

#include <map>
#include <string>
#include <string_view>

// The configuration-item file: docs/formats/item-file.md.
namespace NSTN_util {

// Adds the items of a text to mapItem, later lines win. Reports lines without "=".
void ReadItems(std::string_view strText, std::map<std::string, std::string>& mapItem);

}  // namespace NSTN_util
