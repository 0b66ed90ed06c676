#include "embedded/state_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace zemb {

namespace {

[[noreturn]] void Fail(const std::string& strPath) {
    throw std::system_error(errno, std::generic_category(), strPath);
}

void Sync(const std::string& strFolder) {
    const int nFolder =
        open(strFolder.empty() ? "." : strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nFolder == -1)
        return;
    fsync(nFolder);
    close(nFolder);
}

}  // namespace

void MakeStateFolder(const std::string& strFolder) {
    std::error_code ignored;  // what is wrong with the path, mkdir tells
    if (strFolder.empty() || std::filesystem::is_directory(strFolder, ignored))
        return;
    const std::string strParent = std::filesystem::path(strFolder).parent_path().string();
    if (strParent != strFolder)
        MakeStateFolder(strParent);
    if (mkdir(strFolder.c_str(), STATE_FOLDER_MODE) != 0 && errno != EEXIST)
        Fail(strFolder);
    Sync(strParent);
}

void MakeStateFile(const std::string& strFile) {
    MakeStateFolder(std::filesystem::path(strFile).parent_path().string());
    const int nFile =
        open(strFile.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, STATE_FILE_MODE);
    if (nFile == -1)
        Fail(strFile);
    close(nFile);
}

}  // namespace zemb
