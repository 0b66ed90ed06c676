#pragma once

#include <sys/types.h>

#include <cerrno>
#include <functional>
#include <string>

// What the platform writes under the state folder: read by the user's group, by nobody else, and
// never through a link that somebody put in a file's place.
namespace zemb {

constexpr mode_t STATE_FILE_MODE = 0640;
constexpr mode_t STATE_FOLDER_MODE = 0750;

// Throws the std::system_error of a path.
[[noreturn]] void FailOn(const std::string& strPath, int nError = errno);

// Makes a folder and those above it so that they outlast a power cut. Throws std::system_error.
void MakeStateFolder(const std::string& strFolder);

// Makes the folder of a file and an empty file, unless they are there. Throws std::system_error,
// also when the file is a link. Not for a file that SQLite may have open: it is opened and closed.
void MakeStateFile(const std::string& strFile);

// Makes the folder of a file, and the file with what fnWrite writes into it, so that both outlast a
// power cut: it is closed before it gets its name, and is never seen half written. A file, or a
// link, that is there already stays as it is: false then. Throws std::system_error.
bool PlaceNewFile(const std::string& strFile, const std::function<void(int nFile)>& fnWrite);

}  // namespace zemb
