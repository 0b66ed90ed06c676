#pragma once

#include "check/finding.h"

#include <cstddef>
#include <string>
#include <vector>

namespace host {

constexpr const char* BYTE_ORDER_MARK = "\xEF\xBB\xBF";

struct TextLine {
    Place place;             // its text, trimmed, and where that begins
    std::string strRaw;      // all of it but the line feed
    bool bLineFeed = false;  // the last line may have none
};

// What a reader sees of a line that it takes for strRaw.
Place PlaceOf(const std::string& strFile, int nLine, const std::string& strRaw);

// All of a plain file, of standard input for "-", or of an open file of this process such as the
// "/dev/fd/63" that a shell makes of <(...). Standard input is read once and stays; whoever asks
// again gets the same. Throws CommandError for anything else (a pipe might never end), for a file
// that cannot be read, and for over 256 MB.
std::string ReadText(const std::string& strFile);

// A path by which readers of the library get what ReadText would: for "-" that of a copy of
// standard input, which lasts as long as the process.
std::string PathOfInput(const std::string& strFile);

// Whether a path leads to an open file of the process itself, which the system shows as a link.
bool IsOpenFile(const std::string& strFile);

std::vector<TextLine> CutLines(const std::string& strFile, const std::string& strText);

// The lines of a plain file. Throws CommandError as ReadText does.
std::vector<TextLine> ReadLines(const std::string& strFile);

}  // namespace host
