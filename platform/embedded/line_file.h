#pragma once

#include <cstddef>
#include <string>

namespace zemb {

// A file that lines are appended to, possibly by several processes; closed with the object. Each
// line is one write to the system, so that whole lines are in the file and none is lost when the
// process dies. One thread at a time. As long as the object lives it holds a shared lock (flock) on
// the file: who deletes old files sees by it that somebody may still write.
class LineFile {
public:
    // Makes the file, and the folders above it, unless they are there. Throws std::exception when
    // that fails, and when what has the name is a link or a pipe, belongs to another user, or has
    // another name besides: nobody else decides what is written through it.
    explicit LineFile(const std::string& strFile);
    ~LineFile();
    LineFile(const LineFile&) = delete;
    LineFile& operator=(const LineFile&) = delete;

    std::size_t Size() const { return m_nSize; }  // as far as this object knows
    // Looks at the file: its size, and whether it still has its name.
    bool IsNamed();

    // Appends a line, which ends in a line feed. Where the file does not end in one, since a
    // process was killed or the disk was full, the line begins with one. A line that was not
    // written whole is written anew as the next one. Throws std::system_error.
    void Append(const std::string& strLine);

private:
    bool WriteOnce(const std::string& strLine);

    const std::string m_strFile;
    const int m_nFile;
    std::size_t m_nSize = 0;
    bool m_bTorn = false;  // the last line has no end
};

}  // namespace zemb
