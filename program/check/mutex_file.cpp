#include "check/mutex_file.h"

#include "check/text_lines.h"
#include "view/output.h"

#include "zemb/text.h"

#include <algorithm>
#include <cctype>

// Reads a table file as the library does, but keeps where each fact stands and says what is wrong
// with a line. Operations are kept as spans with the place that named them first, so a million
// neighbours of one line take the room of one.
// The format: docs/formats/mutex-table-file.md.
namespace host {

namespace {

constexpr std::size_t LINE_MAX_CHARS = 1023;
constexpr const char* SECTION_TABLE = "[MUTEX_TABLE]";
constexpr const char* SECTION_ERRORCODE = "[MUTEX_ERRORCODE]";

// Fields are trimmed of blanks alone: a tab is no part of a number.
std::string TrimBlanks(const std::string& strText) {
    const std::size_t nFirst = strText.find_first_not_of(' ');
    if (nFirst == std::string::npos)
        return "";
    return strText.substr(nFirst, strText.find_last_not_of(' ') - nFirst + 1);
}

// The section that a line means to start, read generously; null when none.
const char* MeantSection(const std::string& strLine) {
    std::string strLetters;
    for (const char c : strLine)
        if (std::isalpha(static_cast<unsigned char>(c)) != 0)
            strLetters += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (strLetters == "MUTEXTABLE")
        return SECTION_TABLE;
    return strLetters == "MUTEXERRORCODE" ? SECTION_ERRORCODE : nullptr;
}

// A whole number with an optional sign, whatever its size.
bool LooksLikeNumber(const std::string& strText) {
    const std::size_t nFirst = strText.find_first_not_of("+-");
    return nFirst != std::string::npos && nFirst <= 1 &&
           strText.find_first_not_of("0123456789", nFirst) == std::string::npos;
}

int ColumnOf(int nColumn, std::size_t nOffset) {
    return nColumn + static_cast<int>(nOffset);
}

std::size_t BlanksBefore(const std::string& strText) {
    const std::size_t nFirst = strText.find_first_not_of(' ');
    return nFirst == std::string::npos ? 0 : nFirst;
}

}  // namespace

void MutexFile::Read(const std::string& strFile) {
    m_eSection = ESection::NONE;
    for (const TextLine& line : ReadLines(strFile)) {
        const bool bTooLong = line.strRaw.size() > LINE_MAX_CHARS;
        std::string strRaw = line.strRaw.substr(0, LINE_MAX_CHARS);
        const std::size_t nZero = strRaw.find('\0');
        if (nZero != std::string::npos) {
            Add(ESeverity::ERROR, {strFile, line.place.nLine, 1, ""}, ColumnOf(1, nZero),
                "a zero byte: the rest of the line is not read", "a text file");
            strRaw.resize(nZero);
        }
        const Place place = PlaceOf(strFile, line.place.nLine, strRaw);
        ReadLine(place);
        if (bTooLong) {
            Add(ESeverity::ERROR, place, ColumnOf(1, LINE_MAX_CHARS),
                "line longer than the reader takes: it is cut here and nothing after it is read",
                "at most 1023 characters");
            break;
        }
    }
}

void MutexFile::Add(ESeverity eSeverity, Place place, int nColumn, const std::string& strWhat,
                    const std::string& strExpected) {
    place.nColumn = nColumn;
    vecFinding.push_back({std::move(place), eSeverity, strWhat, strExpected});
}

void MutexFile::ReadLine(const Place& place) {
    const std::string& strLine = place.strText;
    if (strLine.empty() || strLine.front() == '#')
        return;
    if (strLine == SECTION_TABLE) {
        m_eSection = ESection::TABLE;
    } else if (strLine == SECTION_ERRORCODE) {
        m_eSection = ESection::ERRORCODE;
    } else if (strLine.compare(0, 3, BYTE_ORDER_MARK) == 0) {
        Add(ESeverity::ERROR, place, place.nColumn,
            "byte-order mark: the line is not taken for a header or comment",
            "a file without byte-order mark");
    } else if (const char* const szMeant = MeantSection(strLine)) {
        Add(ESeverity::ERROR, place, place.nColumn, "this is no section header and starts none",
            std::string("exactly ") + szMeant);
    } else if (m_eSection == ESection::TABLE) {
        ReadTableLine(place);
    } else if (m_eSection == ESection::ERRORCODE) {
        ReadErrorCodeLine(place);
    } else {
        Add(ESeverity::ERROR, place, place.nColumn, "line outside a section",
            "[MUTEX_TABLE] or [MUTEX_ERRORCODE] before it");
    }
}

std::vector<MutexFile::Field> MutexFile::Fields(const Place& place) {
    std::vector<Field> vecField;
    int nColumn = place.nColumn;
    for (const std::string& strText : NSTE_util::Token(place.strText, ':')) {
        vecField.push_back({strText, nColumn});
        nColumn = ColumnOf(nColumn, strText.size() + 1);
    }
    return vecField;
}

bool MutexFile::ReadNumber(const Place& place, const Field& field, const char* szWhat,
                           int& nValue) {
    if (NSTE_util::StrToInt(field.strText, nValue, 10))
        return true;
    const std::string strTrimmed = TrimBlanks(field.strText);
    Add(ESeverity::ERROR, place, ColumnOf(field.nColumn, BlanksBefore(field.strText)),
        std::string(szWhat) + " '" + strTrimmed +
            (LooksLikeNumber(strTrimmed) ? "' is out of range" : "' is no number"),
        "a decimal number from -2147483648 to 2147483647");
    return false;
}

namespace {

// What is wrong with a piece of an operation list; "" when nothing is.
std::string FaultOf(const std::string& strPiece) {
    const std::size_t nDash = strPiece.find('-');
    const std::string strFirst = TrimBlanks(strPiece.substr(0, nDash));
    const std::string strLast =
        nDash == std::string::npos ? strFirst : TrimBlanks(strPiece.substr(nDash + 1));
    if (strFirst.empty() && LooksLikeNumber(strLast))
        return "is negative";
    if (!LooksLikeNumber(strFirst) || !LooksLikeNumber(strLast))
        return "is no operation number or span";
    int nFirst = 0;
    int nLast = 0;
    std::vector<int> vecOper;
    if (!NSTE_util::StrToInt(strFirst, nFirst, 10) || !NSTE_util::StrToInt(strLast, nLast, 10))
        return "is out of range" +
               std::string(NSTE_util::StrToNumList(strPiece, vecOper) && !vecOper.empty()
                               ? ": it is read as " + std::to_string(vecOper.front())
                               : "");
    if (nFirst > nLast)
        return "is a descending span";
    return NSTE_util::StrToNumList(strPiece, vecOper) ? "" : "is too long a span";
}

}  // namespace

bool MutexFile::ReadList(const Place& place, const Field& field, std::vector<int>& vecOper) {
    const bool bRead = NSTE_util::StrToNumList(field.strText, vecOper);
    int nColumn = field.nColumn;
    bool bFault = false;
    for (const std::string& strPiece : NSTE_util::Token(field.strText, ',')) {
        const std::string strTrimmed = TrimBlanks(strPiece);
        const std::string strFault = strTrimmed.empty() ? "" : FaultOf(strTrimmed);
        if (!strFault.empty()) {
            Add(ESeverity::ERROR, place, ColumnOf(nColumn, BlanksBefore(strPiece)),
                "'" + strTrimmed + "' " + strFault,
                "numbers from 0 to 2147483647 and spans first-last, separated by ','");
            bFault = true;
        }
        nColumn = ColumnOf(nColumn, strPiece.size() + 1);
    }
    if (!bRead && !bFault)
        Add(ESeverity::ERROR, place, field.nColumn, "the list names too many operations",
            "at most " + std::to_string(NSTE_util::NUM_LIST_MAX));
    return bRead;
}

void MutexFile::ReadTableLine(const Place& place) {
    const std::vector<Field> vecField = Fields(place);
    if (vecField.size() != 3)
        return Add(ESeverity::ERROR, place,
                   vecField[std::min<std::size_t>(vecField.size() - 1, 3)].nColumn,
                   Counted(vecField.size(), "field"),
                   "3: operation:blocked operations:both directions (0 or 1)");
    int nOper1 = 0;
    int nFlag = 0;
    std::vector<int> vecOper2;
    const bool bOper = ReadNumber(place, vecField[0], "operation", nOper1);
    const bool bList = ReadList(place, vecField[1], vecOper2);
    const bool bFlag = ReadNumber(place, vecField[2], "flag", nFlag);
    if (!bOper || !bList || !bFlag)
        return;
    if (vecOper2.empty())
        Add(ESeverity::WARNING, place, vecField[1].nColumn, "no operations: the line does nothing");
    m_vecPlace.push_back(place);
    for (std::size_t i = 0; i < vecOper2.size();) {
        std::size_t nEnd = i + 1;
        while (nEnd < vecOper2.size() && vecOper2[nEnd] - 1 == vecOper2[nEnd - 1])
            ++nEnd;
        Register(nOper1, vecOper2[i], vecOper2[nEnd - 1], nFlag != 0);
        i = nEnd;
    }
}

// For all numbers from nFirst2, 0 or more, to nLast2, by the last place.
void MutexFile::Register(int nOper1, int nFirst2, int nLast2, bool bBoth) {
    const Place& place = m_vecPlace.back();
    if (nFirst2 == 0 && nOper1 == 0)
        Add(ESeverity::WARNING, place, place.nColumn, "0 and 0: nothing is registered",
            "one operation beside the 0");
    else if (nFirst2 == 0)
        exclusive.AddMissing(nOper1, nOper1, m_vecPlace.size() - 1);
    if (nLast2 > 0)
        RegisterPairs(nOper1, std::max(nFirst2, 1), nLast2, bBoth);
}

void MutexFile::RegisterPairs(int nOper1, int nFirst2, int nLast2, bool bBoth) {
    const std::size_t nPlace = m_vecPlace.size() - 1;
    if (nOper1 == 0)
        return exclusive.AddMissing(nFirst2, nLast2, nPlace);
    m_mapBlocks[nOper1].AddMissing(nFirst2, nLast2, nPlace);
    if (bBoth)
        m_mapBlockedBy[nOper1].AddMissing(nFirst2, nLast2, nPlace);
}

void MutexFile::ReadErrorCodeLine(const Place& place) {
    const std::vector<Field> vecField = Fields(place);
    if (vecField.size() != 2)
        return Add(ESeverity::ERROR, place,
                   vecField[std::min<std::size_t>(vecField.size() - 1, 2)].nColumn,
                   Counted(vecField.size(), "field"), "2: operation:code");
    int nOper = 0;
    int nCode = 0;
    const bool bOper = ReadNumber(place, vecField[0], "operation", nOper);
    const bool bCode = ReadNumber(place, vecField[1], "code", nCode);
    if (!bOper || !bCode)
        return;
    const auto [it, bNew] = mapCode.emplace(nOper, Code{nCode, place});
    if (!bNew)
        return Add(ESeverity::WARNING, place, place.nColumn,
                   "second code of operation " + std::to_string(nOper) + ": the first one, at " +
                       it->second.place.Text() + ", counts");
    if (nCode == 0)
        Add(ESeverity::WARNING, place, vecField[1].nColumn,
            "a code of 0 looks like a grant to the refused caller", "a code other than 0");
}

namespace {

const std::size_t* Find(const std::map<int, PlacedSpans>& mapSpans, int nOper, int nOther) {
    const auto it = mapSpans.find(nOper);
    return it == mapSpans.end() ? nullptr : it->second.PlaceOf(nOther);
}

}  // namespace

const Place* MutexFile::ExclusiveRule(int nOper) const {
    const std::size_t* const pPlace = exclusive.PlaceOf(nOper);
    return pPlace == nullptr ? nullptr : &PlaceAt(*pPlace);
}

const Place* MutexFile::PairRule(int nRunning, int nRequested) const {
    const std::size_t* const pForth = Find(m_mapBlocks, nRunning, nRequested);
    const std::size_t* const pBack = Find(m_mapBlockedBy, nRequested, nRunning);
    if (pForth == nullptr || pBack == nullptr)
        return pForth != nullptr  ? &PlaceAt(*pForth)
               : pBack != nullptr ? &PlaceAt(*pBack)
                                  : nullptr;
    return &PlaceAt(std::min(*pForth, *pBack));
}

bool MutexFile::Blocks(int nRunning, int nRequested) const {
    return ExclusiveRule(nRunning) != nullptr || ExclusiveRule(nRequested) != nullptr ||
           PairRule(nRunning, nRequested) != nullptr;
}

namespace {

// Who blocks in return is named by the same line as blocked.
std::map<int, int> AllRuns(const PlacedSpans& exclusive,
                           const std::map<int, PlacedSpans>& mapBlocks) {
    PlacedSpans all = exclusive;
    for (const auto& [nOper, spans] : mapBlocks) {
        all.AddMissing(nOper, nOper, 0);
        for (const auto& [nFirst, nLast] : spans.Runs())
            all.AddMissing(nFirst, nLast, 0);
    }
    return all.Runs();
}

}  // namespace

std::uint64_t MutexFile::CountOperations() const {
    std::uint64_t nCount = 0;
    for (const auto& [nFirst, nLast] : AllRuns(exclusive, m_mapBlocks))
        nCount += static_cast<std::uint64_t>(std::int64_t{nLast} - nFirst + 1);
    return nCount;
}

std::vector<int> MutexFile::Operations() const {
    std::vector<int> vecOper;
    for (const auto& [nFirst, nLast] : AllRuns(exclusive, m_mapBlocks))
        for (std::int64_t nOper = nFirst; nOper <= nLast; ++nOper)
            vecOper.push_back(static_cast<int>(nOper));
    return vecOper;
}

}  // namespace host
