#include "embedded/log_names.h"

#include "base/escape.h"
#include "base/read_number.h"
#include "embedded/item_line.h"
#include "zemb/control.h"
#include "zemb/debug_sink.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <system_error>
#include <tuple>

// The names of log files: module, process and, of files that gave way to newer ones, an age,
// separated by dots. Neither a module nor a process has a dot in it there, nor is a process a
// number, so a name says what it is.
namespace zemb {

namespace {

constexpr std::size_t NAME_MAX_CHARS = 64;
constexpr const char* SUFFIX = ".log";

bool IsNumber(const std::string& strText) {
    return !strText.empty() && strText.find_first_not_of("0123456789") == std::string::npos;
}

// A name of any characters as a part of a file's name.
std::string PartOf(const std::string& strName) {
    std::string strPart = strName.empty() ? "%" : "";
    for (const char c : strName.substr(0, NAME_MAX_CHARS)) {
        const bool bPlain = base::IsLetterOrDigit(c) || c == '-' || c == '_';
        strPart += bPlain ? c : '%';
        if (!bPlain)
            base::AppendHex(c, strPart);
    }
    if (strName.size() > NAME_MAX_CHARS)
        strPart += "%" + std::to_string(std::hash<std::string>()(strName));
    return strPart;
}

std::string PartOfProcess(const std::string& strProcess) {
    const std::string strPart = PartOf(strProcess);
    return IsNumber(strPart) ? "%" + strPart : strPart;
}

// What PartOfProcess() was made of, as far as the part still tells.
std::string ProcessOf(const std::string& strPart) {
    const auto IsHex = [&](std::size_t i) {
        return i < strPart.size() && base::DigitValue(strPart[i]) < 16;
    };
    std::string strProcess;
    for (std::size_t i = 0; i < strPart.size(); ++i) {
        // Digits alone behind the sign are the number of a long name, or a name of digits.
        if (strPart[i] == '%' && IsHex(i + 1) && IsHex(i + 2) && !IsNumber(strPart.substr(i + 1))) {
            strProcess += static_cast<char>(base::DigitValue(strPart[i + 1]) * 16 +
                                            base::DigitValue(strPart[i + 2]));
            i += 2;
        } else if (strPart[i] != '%') {
            strProcess += strPart[i];
        }
    }
    return strProcess;
}

// Reads what stands between the module and ".log"; false for what no log has there.
bool ReadName(const std::string& strMiddle, LogFileName& name) {
    const std::size_t nDot = strMiddle.find('.');
    const std::string strFirst = strMiddle.substr(0, nDot);
    const std::string strSecond = nDot == std::string::npos ? "" : strMiddle.substr(nDot + 1);
    const std::string& strAge = IsNumber(strFirst) ? strFirst : strSecond;
    if ((!strAge.empty() && (!IsNumber(strAge) || strAge.size() > 9)) ||
        (IsNumber(strFirst) && !strSecond.empty()) || (!IsNumber(strFirst) && strFirst.empty()))
        return false;
    name.strProcess = IsNumber(strFirst) ? "" : ProcessOf(strFirst);
    name.nAge = strAge.empty() ? 0 : std::stoi(strAge);
    return true;
}

std::string LogFolder() {
    const std::string strState = GetStatePath();
    return strState.empty() ? "" : strState + "/log/";
}

}  // namespace

std::string RotatedName(const std::string& strFile, int nAge) {
    const std::size_t nDot = strFile.rfind('.');
    return nAge == 0 ? strFile
                     : strFile.substr(0, nDot) + "." + std::to_string(nAge) + strFile.substr(nDot);
}

std::string LogFileOf(const std::string& strModule) {
    const std::string strFolder = LogFolder();
    return strFolder.empty()
               ? ""
               : strFolder + PartOf(strModule) + "." + PartOfProcess(ProcessName()) + SUFFIX;
}

std::vector<LogFileName> LogFilesOf(const std::string& strModule) {
    std::vector<LogFileName> vecName;
    const std::string strFolder = LogFolder();
    const std::string strBegin = PartOf(strModule);
    std::error_code error;
    if (strFolder.empty() || !std::filesystem::exists(strFolder, error))
        return vecName;
    for (std::filesystem::directory_iterator it(strFolder, error), end; !error && it != end;
         it.increment(error)) {
        const std::string strName = it->path().filename().string();
        const std::string strRest = strName.substr(std::min(strBegin.size(), strName.size()));
        const std::size_t nEnd = strRest.size() < 4 ? 0 : strRest.size() - 4;
        if (strName.compare(0, strBegin.size(), strBegin) != 0 ||
            strRest.compare(nEnd, std::string::npos, SUFFIX) != 0)
            continue;
        LogFileName name;
        name.strFile = strFolder + strName;
        if (nEnd == 0 || (strRest[0] == '.' && ReadName(strRest.substr(1, nEnd - 1), name)))
            vecName.push_back(name);
    }
    if (error)
        throw std::system_error(error, strFolder);
    std::sort(vecName.begin(), vecName.end(), [](const LogFileName& a, const LogFileName& b) {
        return std::make_tuple(a.strProcess, -a.nAge, a.strFile) <
               std::make_tuple(b.strProcess, -b.nAge, b.strFile);
    });
    return vecName;
}

}  // namespace zemb
