#pragma once

#include <cstddef>

// The configuration-item file: docs/formats/item-file.md.
namespace base {

constexpr std::size_t ITEM_LINE_MAX = 1022;  // characters; a longer line ends the reading

}  // namespace base
