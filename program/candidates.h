#pragma once

#include <string>
#include <vector>

namespace host {

// What the last word of a command line may become, for shells and for the prompt: commands, their
// own commands, options, and the values that an argument takes. The words are those behind the
// program's name, the last one "" when nothing of it is typed yet. Nothing for a file: shells know
// those. "--root" and "--state" among the words count.
std::vector<std::string> Candidates(const std::vector<std::string>& vecWord);

}  // namespace host
