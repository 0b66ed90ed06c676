#pragma once

#include "base/cancel_hold.h"
#include "files/open_file.h"

#include <cerrno>
#include <string>
#include <string_view>

namespace NSTN_util {

// Writes text to a file by large blocks. A cancel of the thread waits as long as it lives.
class FileWriter {
public:
    // szMode as for fopen: "w" or "a".
    FileWriter(const std::string& strPath, const char* szMode)
        : m_file(ZEMB_OS::fopen(strPath.c_str(), szMode, PATH_CODE_SET)) {
        if (m_file == nullptr)
            m_nError = errno;
        else
            std::setvbuf(m_file.get(), nullptr, _IONBF, 0);  // the blocks are made here
    }

    void Put(std::string_view strText) {
        if (m_strBlock.size() + strText.size() > BLOCK)
            Flush();
        m_strBlock.append(strText);
    }

    // As "%s" writes a text: up to its first zero byte.
    void PutText(const std::string& strText) { Put(strText.c_str()); }

    // Writes what is left and closes the file. 0, or the first error from errno.
    int Finish() {
        Flush();
        if (m_file != nullptr && std::fclose(m_file.release()) != 0)
            KeepFirst(errno);
        return m_nError;
    }

private:
    static constexpr std::size_t BLOCK = std::size_t{64} * 1024;

    void Flush() {
        if (m_file != nullptr && m_nError == 0 && !m_strBlock.empty() &&
            std::fwrite(m_strBlock.data(), 1, m_strBlock.size(), m_file.get()) != m_strBlock.size())
            KeepFirst(errno);
        m_strBlock.clear();
    }

    void KeepFirst(int nError) {
        if (m_nError == 0)
            m_nError = nError;
    }

    const base::CancelHold m_hold;
    OpenFile m_file;
    int m_nError = 0;
    std::string m_strBlock;
};

}  // namespace NSTN_util
