#pragma once

#include <string>

namespace host {

// Puts strValue in the last line of strKey, or adds a line at the end, and leaves every other byte
// of the file as it is. The file is written anew beside the old one, forced to the disk and put in
// its place, so that at any moment one of them is there, whole; its modification time is another
// one than before, even within one second. Returns what to tell about the
// value before. Throws CommandError, with the file untouched, when the item cannot be written so
// that it is read back, when others may exchange files in its folder, or the system fails.
// With bNew a file that is not there is made. Two calls for one file wait for each other, and for
// whoever else has locked it (flock), at most nWait seconds.
std::string SetItem(const std::string& strFile, const std::string& strKey,
                    const std::string& strValue, bool bNew, int nWait);

}  // namespace host
