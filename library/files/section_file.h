#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace NSTN_util {

// The lines of each section of a sectioned file, in file order; views into the text.
using SectionLines = std::map<std::string, std::vector<std::string_view>, std::less<>>;

// Cuts a text into sections: "#" and what follows is a comment, blanks, tabs and a carriage return
// around a line do not count, a line with "[", and "]" behind it, begins a section. What stands
// before the first one is dropped; a section that comes again goes on.
SectionLines SectionsOf(std::string_view strText);

}  // namespace NSTN_util
