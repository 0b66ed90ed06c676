#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace host {

// A file that is written beside the one whose name it gets when it is whole. Until then, and when
// it never is, the old one stays as it is; a link is followed, and stays a link.
class NewFile {
public:
    // Throws CommandError when it cannot be made.
    explicit NewFile(const std::string& strFile);
    ~NewFile();  // takes it away unless it has its name
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // Throws CommandError when it cannot be written.
    void Write(std::string_view strText);

    // Forces it to the disk and gives it its name. It gets the rights of the old file, its owner
    // where that may be, and a later modification time in whole seconds, which readers compare.
    // Throws CommandError, with the old file in its place, when that fails.
    void PutInPlace();

private:
    void TakeOver();

    const std::string m_strFile;
    std::string m_strPart;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_pFile{nullptr, std::fclose};
};

}  // namespace host
