#pragma once

#include "commands/descriptor.h"

#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace host {

// A file that is written beside the one whose name it gets when it is whole. Until then, and when
// it never is, the old one stays as it is. A link is neither followed nor replaced.
class NewFile {
public:
    // Gets the rights nMost, less the process's umask, and less what the old file, if there is
    // one, does not have; belongs to the process's user. Throws CommandError when it cannot be
    // made.
    NewFile(const std::string& strFile, mode_t nMost);

    // Takes the place of old, the file that the caller has read: gets its rights, and its owner
    // where that may be. Throws CommandError, also when somebody else may write in the folder, and
    // could exchange files there.
    NewFile(const std::string& strFile, const struct stat& old);

    ~NewFile();  // takes it away unless it has its name
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // Throws CommandError when it cannot be written.
    void Write(std::string_view strText);

    // Forces it to the disk and gives it its name. It gets a later modification time than the old
    // one in whole seconds, which readers compare. Throws CommandError, with the old file in its
    // place, when that fails, and when another file has come into the place of the old one.
    void PutInPlace();

private:
    explicit NewFile(const std::string& strFile);
    void Open(mode_t nMode);
    void TakeOver();
    void CheckPlace() const;
    std::optional<struct stat> Named() const;

    const std::string m_strFile;
    std::string m_strName;  // in the folder
    std::string m_strPart;
    Descriptor m_folder;
    std::optional<struct stat> m_old;
    mode_t m_nMost = 07777;
    bool m_bOwner = false;  // the old one's owner is taken over
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_pFile{nullptr, std::fclose};
};

}  // namespace host
