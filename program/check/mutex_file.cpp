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
        return NSTE_util::SECTION_TABLE;
    return strLetters == "MUTEXERRORCODE" ? NSTE_util::SECTION_ERRORCODE : nullptr;
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
    const std::string strText = ReadText(strFile);
    NSTE_util::MutexLine line;
    for (NSTE_util::MutexLines lines(strText); lines.Next(line);) {
        const int nLine = lines.Bounds().Number();
        if (lines.Bounds().HasZeroByte())
            Add(ESeverity::ERROR, {strFile, nLine, 1, ""}, ColumnOf(1, line.strRaw.size()),
                "a zero byte: the rest of the line is not read", "a text file");
        const Place place = PlaceOf(strFile, nLine, std::string(line.strRaw));
        ReadLine(place, line.eKind);
        if (lines.Bounds().IsTooLong())
            Add(ESeverity::ERROR, place, ColumnOf(1, NSTE_util::MUTEX_LINE_MAX),
                "line longer than the reader takes: it is cut here and nothing after it is read",
                "at most " + std::to_string(NSTE_util::MUTEX_LINE_MAX) + " characters");
    }
}

void MutexFile::Add(ESeverity eSeverity, Place place, int nColumn, const std::string& strWhat,
                    const std::string& strExpected) {
    place.nColumn = nColumn;
    vecFinding.push_back({std::move(place), eSeverity, strWhat, strExpected});
}

void MutexFile::ReadLine(const Place& place, NSTE_util::EMutexLine eKind) {
    const std::string& strLine = place.strText;
    if (eKind == NSTE_util::EMutexLine::NOTHING)
        return ReadComment(strLine);
    if (eKind == NSTE_util::EMutexLine::HEADER)
        return;
    if (strLine.compare(0, 3, BYTE_ORDER_MARK) == 0) {
        Add(ESeverity::ERROR, place, place.nColumn,
            "byte-order mark: the line is not taken for a header or comment",
            "a file without byte-order mark");
    } else if (const char* const szMeant = MeantSection(strLine)) {
        Add(ESeverity::ERROR, place, place.nColumn, "this is no section header and starts none",
            std::string("exactly ") + szMeant);
    } else if (eKind == NSTE_util::EMutexLine::TABLE) {
        ReadTableLine(place);
    } else if (eKind == NSTE_util::EMutexLine::ERRORCODE) {
        ReadErrorCodeLine(place);
    } else {
        Add(ESeverity::ERROR, place, place.nColumn, "line outside a section",
            "[MUTEX_TABLE] or [MUTEX_ERRORCODE] before it");
    }
}

// The pieces between commas, up to a colon, that begin with a number and go on with a name.
void MutexFile::ReadComment(const std::string& strLine) {
    if (strLine.empty() || strLine.front() != '#')
        return;
    for (const std::string& strPiece :
         NSTE_util::Token(strLine.substr(1, strLine.find(':') - 1), ',')) {
        const std::string strTrimmed = TrimBlanks(strPiece);
        const std::size_t nEnd = std::min(strTrimmed.find(' '), strTrimmed.size());
        int nOper = 0;
        if (const std::string strName = TrimBlanks(strTrimmed.substr(nEnd));
            !strName.empty() && NSTE_util::StrToInt(strTrimmed.substr(0, nEnd), nOper, 10))
            mapName.emplace(nOper, strName);
    }
}

// Where a field begins: the fields stand side by side with one character between two of them.
int MutexFile::ColumnOfField(const Place& place, const Fields& vecField, std::size_t nField) {
    int nColumn = place.nColumn;
    for (std::size_t i = 0; i < nField; ++i)
        nColumn = ColumnOf(nColumn, vecField[i].size() + 1);
    return nColumn;
}

// Whether a line has as many fields as it should; the first one too many, or the last, is named.
bool MutexFile::HasFields(const Place& place, const Fields& vecField, std::size_t nFields,
                          const std::string& strExpected) {
    if (vecField.size() == nFields)
        return true;
    Add(ESeverity::ERROR, place,
        ColumnOfField(place, vecField, std::min(vecField.size() - 1, nFields)),
        Counted(vecField.size(), "field"), strExpected);
    return false;
}

void MutexFile::CheckNumber(const Place& place, const Fields& vecField, std::size_t nField,
                            const std::optional<int>& number, const char* szWhat) {
    if (number)
        return;
    const std::string& strField = vecField[nField];
    const std::string strTrimmed = TrimBlanks(strField);
    Add(ESeverity::ERROR, place,
        ColumnOf(ColumnOfField(place, vecField, nField), BlanksBefore(strField)),
        std::string(szWhat) + " '" + strTrimmed +
            (LooksLikeNumber(strTrimmed) ? "' is out of range" : "' is no number"),
        "a decimal number from -2147483648 to 2147483647");
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

void MutexFile::CheckList(const Place& place, const NSTE_util::MutexTableLine& line) {
    const int nField = ColumnOfField(place, line.vecField, 1);
    int nColumn = nField;
    bool bFault = false;
    for (const std::string& strPiece : NSTE_util::Token(line.vecField[1], ',')) {
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
    if (!line.bList && !bFault)
        Add(ESeverity::ERROR, place, nField, "the list names too many operations",
            "at most " + std::to_string(NSTE_util::NUM_LIST_MAX));
}

void MutexFile::ReadTableLine(const Place& place) {
    const NSTE_util::MutexTableLine line(place.strText);
    if (!HasFields(place, line.vecField, line.FIELDS,
                   "3: operation:blocked operations:both directions (0 or 1)"))
        return;
    CheckNumber(place, line.vecField, 0, line.oper, "operation");
    CheckList(place, line);
    CheckNumber(place, line.vecField, 2, line.flag, "flag");
    if (!line.IsGood())
        return;
    if (line.vecBlocked.empty())
        Add(ESeverity::WARNING, place, ColumnOfField(place, line.vecField, 1),
            "no operations: the line does nothing");
    m_vecPlace.push_back(place);
    NSTE_util::ForEachRun(line.vecBlocked, [&](int nFirst, int nLast) {
        if (!NSTE_util::RegisterMutex(*this, *line.oper, nFirst, nLast, *line.flag != 0))
            Add(ESeverity::WARNING, place, place.nColumn, "0 and 0: nothing is registered",
                "one operation beside the 0");
    });
}

void MutexFile::AddExclusive(int nFirst, int nLast) {
    exclusive.AddMissing(nFirst, nLast, m_vecPlace.size() - 1);
}

void MutexFile::AddPairs(int nBlocker, int nFirst, int nLast, bool bBoth) {
    const std::size_t nPlace = m_vecPlace.size() - 1;
    m_mapBlocks[nBlocker].AddMissing(nFirst, nLast, nPlace);
    if (bBoth)
        m_mapBlockedBy[nBlocker].AddMissing(nFirst, nLast, nPlace);
}

void MutexFile::ReadErrorCodeLine(const Place& place) {
    const NSTE_util::MutexCodeLine line(place.strText);
    if (!HasFields(place, line.vecField, line.FIELDS, "2: operation:code"))
        return;
    CheckNumber(place, line.vecField, 0, line.oper, "operation");
    CheckNumber(place, line.vecField, 1, line.code, "code");
    if (!line.IsGood())
        return;
    const auto [it, bNew] = mapCode.emplace(*line.oper, Code{*line.code, place});
    if (!bNew)
        return Add(ESeverity::WARNING, place, place.nColumn,
                   "second code of operation " + std::to_string(*line.oper) +
                       ": the first one, at " + it->second.place.Text() + ", counts");
    if (*line.code == 0)
        Add(ESeverity::WARNING, place, ColumnOfField(place, line.vecField, 1),
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
