#include "commands/item_writer.h"

#include "base/item_line.h"
#include "check/finding.h"
#include "commands/locked_file.h"
#include "commands/new_file.h"
#include "view/output.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

// Changes one item of a file and nothing else: comments, order and line ends stay. The last line of
// a key is changed, as it is the one that counts; the new text is read back before it replaces the
// file, whole and under a lock.
namespace host {

namespace {

void CheckItem(const std::string& strKey, const std::string& strValue) {
    const auto Refuse = [](const std::string& strWhy) {
        throw CommandError(WRONG_USAGE, strWhy, EName::SUB_COMMAND);
    };
    if (strKey.empty() || strKey.front() == '#' ||
        strKey.find_first_of(std::string("=\n\0", 3)) != std::string::npos ||
        NSTN_util::Trim(strKey) != strKey)
        Refuse("the key '" + strKey +
               "' cannot be read back; expected no blanks around it, no '#' "
               "first and no '='");
    if (strValue.find_first_of(std::string("\n\0", 2)) != std::string::npos ||
        NSTN_util::Trim(strValue) != strValue)
        Refuse("the value cannot be read back; expected one line without blanks around it");
    if (strKey.size() + strValue.size() + 3 > base::ITEM_LINE_MAX)
        Refuse("the line gets over " + std::to_string(base::ITEM_LINE_MAX) + " characters");
}

// Where a value stands in a text.
struct Span {
    std::size_t nFrom = 0;
    std::size_t nTo = 0;
};

// Finds the value of the last line of strKey; false when no line has the key.
bool FindValue(const std::string& strFile, const std::string& strText, const std::string& strKey,
               Span& value) {
    bool bFound = false;
    base::ItemLine line;
    for (base::ItemLines lines(strText); lines.Next(line);) {
        if (lines.Bounds().IsTooLong() || lines.Bounds().HasZeroByte())
            throw CommandError(ANSWER_NO, PlaceText(strFile, lines.Bounds().Number()) +
                                              ": a line of over " +
                                              std::to_string(base::ITEM_LINE_MAX) +
                                              " characters, or a zero byte, "
                                              "hides from readers what follows");
        if (line.eKind == base::EItemLine::ITEM && line.strKey == strKey) {
            bFound = true;
            const auto nStart = static_cast<std::size_t>(line.strText.data() - strText.data());
            value = {nStart + line.strText.find('=') + 1, nStart + line.strText.size()};
        }
    }
    return bFound;
}

}  // namespace

std::string SetItem(const std::string& strFile, const std::string& strKey,
                    const std::string& strValue, bool bNew, int nWait) {
    CheckItem(strKey, strValue);
    if (bNew)  // nothing when it is there
        close(open(strFile.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    std::error_code error;
    const std::string strPath = std::filesystem::canonical(strFile, error).string();
    if (error)
        throw CommandError(SYSTEM_FAILED, strFile + ": " + error.message());
    const LockedFile old(strPath, nWait);
    std::string strText = old.Read();
    std::string strBefore;
    Span value;
    if (FindValue(strFile, strText, strKey, value)) {
        strBefore = NSTN_util::Trim(strText.substr(value.nFrom, value.nTo - value.nFrom));
        strText.replace(value.nFrom, value.nTo - value.nFrom,
                        strValue.empty() ? "" : " " + strValue);
        strBefore = strBefore == strValue
                        ? " (as before)"
                        : " (was " + (strBefore.empty() ? "empty" : strBefore) + ")";
    } else {
        const bool bCarriageReturns = strText.find("\r\n") != std::string::npos;
        const std::string strLineEnd = bCarriageReturns ? "\r\n" : "\n";
        if (!strText.empty() && strText.back() != '\n')
            strText += strLineEnd;
        strText += strKey + " = " + strValue + strLineEnd;
        strBefore = " (new)";
    }
    // The line may have blanks of its own; and what is written must be what will be read.
    Span written;
    if (!FindValue(strFile, strText, strKey, written) ||
        NSTN_util::Trim(strText.substr(written.nFrom, written.nTo - written.nFrom)) != strValue)
        throw CommandError(ANSWER_NO, strFile + ": the item would not be read back");
    NewFile file(strPath, old.Status());
    file.Write(strText);
    file.PutInPlace();
    return strBefore;
}

}  // namespace host
