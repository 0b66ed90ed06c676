#include "check/text_lines.h"

#include "view/output.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/stringutil.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>

namespace host {

Place PlaceOf(const std::string& strFile, int nLine, const std::string& strRaw) {
    Place place{strFile, nLine, 1, NSTN_util::Trim(strRaw)};
    if (!place.strText.empty())
        place.nColumn += static_cast<int>(strRaw.find(place.strText));
    return place;
}

std::vector<TextLine> CutLines(const std::string& strFile, const std::string& strText) {
    std::vector<TextLine> vecLine;
    for (std::size_t nStart = 0; nStart < strText.size();) {
        const std::size_t nEnd = std::min(strText.find('\n', nStart), strText.size());
        TextLine line;
        line.strRaw = strText.substr(nStart, nEnd - nStart);
        line.bLineFeed = nEnd != strText.size();
        line.place = PlaceOf(strFile, static_cast<int>(vecLine.size()) + 1, line.strRaw);
        vecLine.push_back(std::move(line));
        nStart = nEnd + 1;
    }
    return vecLine;
}

namespace {

constexpr std::size_t TEXT_MOST = std::size_t{256} << 20;

[[noreturn]] void FailAsTooLong(const std::string& strFile) {
    throw CommandError(SYSTEM_FAILED, strFile + ": over 256 MB, more than is read as a whole");
}

std::string ReadStream(std::istream& input, const std::string& strFile) {
    std::string strText;
    std::array<char, 65536> arrPiece{};
    while (input.read(arrPiece.data(), arrPiece.size()) || input.gcount() > 0) {
        strText.append(arrPiece.data(), static_cast<std::size_t>(input.gcount()));
        if (strText.size() > TEXT_MOST)
            FailAsTooLong(strFile);
    }
    if (input.bad())
        FailWithErrno(strFile);
    return strText;
}

const std::string& StandardInput() {
    static const std::string s_strText = ReadStream(std::cin, "-");
    return s_strText;
}

// Standard input as a file without a name.
class InputCopy {
public:
    InputCopy() : m_nFile(memfd_create("standard input", MFD_CLOEXEC)) {
        std::string_view strRest = StandardInput();
        while (m_nFile != -1 && !strRest.empty()) {
            const ssize_t nWritten = write(m_nFile, strRest.data(), strRest.size());
            if (nWritten < 0)
                break;
            strRest.remove_prefix(static_cast<std::size_t>(nWritten));
        }
        if (m_nFile == -1 || !strRest.empty())
            FailWithErrno("-");
    }
    ~InputCopy() { close(m_nFile); }
    InputCopy(const InputCopy&) = delete;
    InputCopy& operator=(const InputCopy&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_nFile); }

private:
    const int m_nFile;
};

}  // namespace

bool IsOpenFile(const std::string& strFile) {
    static const std::string OPEN_FILES = "/dev/fd/";
    return strFile == "/dev/stdin" || strFile == "/dev/stdout" || strFile == "/dev/stderr" ||
           (strFile.rfind(OPEN_FILES, 0) == 0 &&
            strFile.find('/', OPEN_FILES.size()) == std::string::npos);
}

std::string PathOfInput(const std::string& strFile) {
    if (strFile != "-")
        return strFile;
    static const InputCopy s_copy;
    return s_copy.Path();
}

std::string ReadText(const std::string& strFile) {
    namespace fs = std::filesystem;
    if (strFile == "-")
        return StandardInput();
    std::error_code error;
    const fs::file_status status = fs::status(strFile, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        if (fs::is_directory(status) || !IsOpenFile(strFile))
            FailAsNoPlainFile(strFile);
        std::ifstream input(strFile);
        return ReadStream(input, strFile);
    }
    if (const std::uintmax_t nSize = fs::file_size(strFile, error); !error && nSize > TEXT_MOST)
        FailAsTooLong(strFile);
    std::string strText;
    if (const int nError = NSTN_util::ReadStrFromFile(strFile, strText); nError != 0)
        FailWith(nError, strFile);
    return strText;
}

std::vector<TextLine> ReadLines(const std::string& strFile) {
    return CutLines(strFile, ReadText(strFile));
}

}  // namespace host
