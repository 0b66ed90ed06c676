#include "check/item_check.h"

#include "base/item_line.h"
#include "base/root_files.h"
#include "check/line_file.h"
#include "view/output.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/stringutil.h"

#include "zemb/text.h"

#include <algorithm>
#include <map>
#include <utility>

// Looks over a file of items with the eyes of its readers: lines that are left out, keys that come
// again, values that are no integer or wrap around. Of the files whose keys are known, it also
// names keys that nobody reads, with the nearest one that somebody does.
// The format: docs/formats/item-file.md.
namespace host {

namespace {

// Files whose keys are known. Of their values KEY_MODULES alone is a text, all others are numbers.
struct KnownFile {
    const char* szUnderRoot;  // a file of the same name elsewhere is taken for it
    std::vector<std::string> vecKey;
};
const KnownFile KNOWN_FILES[] = {
    {base::EMS_UNDER_ROOT,
     {base::KEY_INT3, base::KEY_LOG, base::KEY_ASN_LOG, base::KEY_MML_TRACE, base::KEY_OVERTIME_LOW,
      base::KEY_OVERTIME_MID, base::KEY_OVERTIME_HIGH}},
    {base::TRANS_EMS_UNDER_ROOT,
     {base::KEY_EXPORT_INTERVAL, base::KEY_MODULES, base::KEY_BOX_HELD, base::KEY_BOX_EVENTS,
      base::KEY_BOX_THREADS, base::KEY_BOX_TASKS, base::KEY_LOG_BYTES, base::KEY_LOG_FILES}},
    {base::COMMON_UNDER_ROOT, {base::KEY_ADVANCE_ASN_TRACE, base::KEY_EXPLICITY_TRACE}},
};

bool BeginsLikeNumber(const std::string& strValue) {
    return strValue.find_first_of("0123456789") == (strValue.find_first_of("+-") == 0 ? 1U : 0U);
}

// Whether 32 bits do not hold a number of digits alone.
bool Wraps(const std::string& strNumber) {
    const bool bHex = strNumber.size() > 1 && (strNumber[1] == 'x' || strNumber[1] == 'X');
    const std::size_t nFirst = strNumber.find_first_not_of('0', bHex ? 2 : 0);
    const std::size_t nDigits = nFirst == std::string::npos ? 0 : strNumber.size() - nFirst;
    return nDigits > 10 || (bHex && nDigits > 8) ||
           (!bHex && NSTN_util::HexDecStr2LongLong(strNumber) > 4294967295LL);
}

class ItemCheck {
public:
    explicit ItemCheck(const std::string& strFile) : m_file(strFile) {
        for (const KnownFile& known : KNOWN_FILES)
            if (NSTN_util::GetFileNameFromPath(known.szUnderRoot) ==
                NSTN_util::GetFileNameFromPath(strFile))
                m_pKnown = &known.vecKey;
    }

    std::vector<Finding> Findings() {
        base::ItemLine line;
        for (base::ItemLines lines(m_file.strText); lines.Next(line);) {
            const int nLine = lines.Bounds().Number();
            const TextLine& whole = m_file.vecLine[static_cast<std::size_t>(nLine) - 1];
            CheckLine(PlaceOf(whole.place.strFile, nLine, std::string(line.strRaw)), line);
            if (lines.Bounds().IsTooLong())
                Add(ESeverity::ERROR, whole.place, 0,
                    "line of " + Counted(whole.strRaw.size(), "character") +
                        ": the reading ends here, and what follows is not read",
                    "at most " + std::to_string(base::ITEM_LINE_MAX));
        }
        return std::move(m_file.vecFinding);
    }

private:
    void Add(ESeverity eSeverity, const Place& place, std::size_t nOffset,
             const std::string& strWhat, const std::string& strExpected = "") {
        m_file.vecFinding.push_back(FindingAt(eSeverity, place, nOffset, strWhat, strExpected));
    }

    void CheckLine(const Place& place, const base::ItemLine& line) {
        if (line.eKind == base::EItemLine::NOTHING)
            return;
        if (line.eKind == base::EItemLine::NO_EQUAL)
            return Add(ESeverity::ERROR, place, 0, "no '=': the line is left out", "key = value");
        const std::string strKey(line.strKey);
        const std::string strValue(line.strValue);
        const std::size_t nValue =
            strValue.empty() ? place.strText.size() : place.strText.size() - strValue.size();
        if (strKey.empty())
            Add(ESeverity::WARNING, place, 0, "the key is empty", "key = value");
        const auto [it, bNew] = m_mapKey.emplace(strKey, place);
        if (!bNew) {
            Add(ESeverity::WARNING, place, 0,
                "'" + strKey + "' again: this line counts, not the one at " + it->second.Text());
            it->second = place;
        }
        if (m_pKnown != nullptr && strKey == base::KEY_MODULES)
            return CheckModules(place, strValue, nValue);
        if ((m_pKnown != nullptr || BeginsLikeNumber(strValue)) &&
            !NSTN_util::isHexDecStr(strValue))
            Add(ESeverity::WARNING, place, nValue,
                "'" + strValue + "' is read as text only, not as an integer",
                "decimal digits, or hexadecimal ones behind 0x");
        else if (BeginsLikeNumber(strValue) && Wraps(strValue))
            Add(ESeverity::WARNING, place, nValue,
                "'" + strValue + "' is read as " +
                    std::to_string(NSTN_util::HexDecStr2Int(strValue)) + ", its low 32 bits",
                "a number that 32 bits hold");
        CheckKnown(place, strKey, strValue, nValue);
    }

    // Shared objects by plain names are the loader's to find, and what is under the root is not
    // known here.
    void CheckModules(const Place& place, const std::string& strValue, std::size_t nValue) {
        for (const std::string& strPiece : NSTE_util::Token(strValue, ',')) {
            const std::string strName = NSTN_util::Trim(strPiece.c_str());
            if (!strName.empty() && strName.front() == '/' && !NSTN_util::IsFile(strName))
                Add(ESeverity::ERROR, place, nValue + strPiece.find(strName),
                    "'" + strName + "' is no file: the start fails",
                    "shared objects, separated by commas");
            nValue += strPiece.size() + 1;
        }
    }

    void CheckKnown(const Place& place, const std::string& strKey, const std::string& strValue,
                    std::size_t nValue) {
        if (m_pKnown == nullptr)
            return;
        if (std::find(m_pKnown->begin(), m_pKnown->end(), strKey) == m_pKnown->end()) {
            return Add(ESeverity::WARNING, place, 0, "nobody reads '" + strKey + "'",
                       LineFile::Perhaps(strKey, *m_pKnown));
        }
        const int nNumber = NSTN_util::HexDecStr2Int(strValue);
        if (strKey == base::KEY_EXPORT_INTERVAL && nNumber > 0 &&
            nNumber < base::EXPORT_INTERVAL_MIN)
            Add(ESeverity::WARNING, place, nValue,
                "'" + strValue + "' is raised to " + std::to_string(base::EXPORT_INTERVAL_MIN),
                std::to_string(base::EXPORT_INTERVAL_MIN) + " or more, or 0");
    }

    LineFile m_file;
    const std::vector<std::string>* m_pKnown = nullptr;
    std::map<std::string, Place> m_mapKey;
};

}  // namespace

std::vector<Finding> CheckItemFile(const std::string& strFile) {
    return ItemCheck(strFile).Findings();
}

}  // namespace host
