#include "base/bounded_lines.h"
#include "files/read_file.h"
#include "mutex/temutexopermgrimpl.h"
#include "trace/trace_line.h"

#include "zemb/text.h"

#include <ace/Guard_T.h>

// Reads a table file under the manager's lock. Lines are added to what is loaded; a bad line is
// left out and makes the answer false, and the good ones count all the same. Numbers of a list that
// follow each other are registered as one span: the table keeps what the file names, not each
// operation of it.
// The format: docs/formats/mutex-table-file.md.
namespace NSTE_util {

namespace {

constexpr std::size_t LINE_MAX_CHARS = 1023;
constexpr const char* SECTION_TABLE = "[MUTEX_TABLE]";
constexpr const char* SECTION_ERRORCODE = "[MUTEX_ERRORCODE]";
constexpr char FIELD_SEPARATOR = ':';

enum class ESection { NONE, TABLE, ERRORCODE };

// The index behind the numbers that follow each other from nStart on.
std::size_t EndOfRun(const std::vector<int>& vecOper, std::size_t nStart) {
    std::size_t nEnd = nStart + 1;
    while (nEnd < vecOper.size() && vecOper[nEnd - 1] < vecOper[nEnd] &&
           vecOper[nEnd] - 1 == vecOper[nEnd - 1])
        ++nEnd;
    return nEnd;
}

}  // namespace

bool TEMutexOperMgrImpl::LoadMutexCfg(const std::string& strFile) {
    bool bResult = false;
    NSTN_util::GuardedCall([&] {
        std::string strText;
        const NSTN_util::EReadFile eRead = NSTN_util::ReadFile(strFile, LINE_MAX_CHARS, strText);
        if (eRead == NSTN_util::EReadFile::NOT_OPENED)
            return NSTN_util::Report("Open file(%s) error! ", strFile);
        ACE_Guard<ACE_Thread_Mutex> guard(m_lock);
        bResult = LoadLines_nolock(strText) && eRead == NSTN_util::EReadFile::WHOLE;
    });
    return bResult;
}

bool TEMutexOperMgrImpl::LoadLines_nolock(std::string_view strText) {
    bool bResult = true;
    ESection eSection = ESection::NONE;
    base::BoundedLines lines(strText, LINE_MAX_CHARS);
    for (std::string_view strRaw; lines.Next(strRaw);) {
        const std::string strLine = Trim(std::string(strRaw));
        if (strLine.empty() || strLine.front() == '#')
            continue;
        if (strLine == SECTION_TABLE)
            eSection = ESection::TABLE;
        else if (strLine == SECTION_ERRORCODE)
            eSection = ESection::ERRORCODE;
        else if (eSection == ESection::TABLE)
            bResult = LoadTableLine_nolock(strLine) && bResult;
        else if (eSection == ESection::ERRORCODE)
            bResult = LoadErrorCodeLine_nolock(strLine) && bResult;
        else
            bResult = false;
    }
    return bResult;
}

bool TEMutexOperMgrImpl::LoadTableLine_nolock(const std::string& strLine) {
    const std::vector<std::string> vecField = Token(strLine, FIELD_SEPARATOR);
    int nOper1 = 0;
    int nFlag = 0;
    std::vector<int> vecOper2;
    if (vecField.size() != 3 || !StrToInt(vecField[0], nOper1, 10) ||
        !StrToNumList(vecField[1], vecOper2) || !StrToInt(vecField[2], nFlag, 10))
        return false;
    for (std::size_t i = 0; i < vecOper2.size();) {
        const std::size_t nEnd = EndOfRun(vecOper2, i);
        RegisterMutex(nOper1, vecOper2[i], vecOper2[nEnd - 1], nFlag != 0);
        i = nEnd;
    }
    return true;
}

bool TEMutexOperMgrImpl::LoadErrorCodeLine_nolock(const std::string& strLine) {
    const std::vector<std::string> vecField = Token(strLine, FIELD_SEPARATOR);
    int nOper = 0;
    int nCode = 0;
    if (vecField.size() != 2 || !StrToInt(vecField[0], nOper, 10) ||
        !StrToInt(vecField[1], nCode, 10))
        return false;
    // The first code of an operation stays; a negative one is widened with its sign.
    m_mapErrorCode.emplace(nOper, static_cast<unsigned long>(static_cast<long>(nCode)));
    return true;
}

// For all numbers from nFirst2 to nLast2; the 0 among them means every operation.
void TEMutexOperMgrImpl::RegisterMutex(int nOper1, int nFirst2, int nLast2, bool bBoth) {
    if (nFirst2 > 0 || nLast2 < 0)
        return RegisterPairs(nOper1, nFirst2, nLast2, bBoth);
    if (nFirst2 < 0)
        RegisterPairs(nOper1, nFirst2, -1, bBoth);
    if (nOper1 == 0)
        NSTN_util::Report("Calling TEMutexOperMgrImpl::RegisterMutex() with nOper1=0 and nOper2=0");
    else
        m_table.AddExclusive(nOper1, nOper1);
    if (nLast2 > 0)
        RegisterPairs(nOper1, 1, nLast2, bBoth);
}

void TEMutexOperMgrImpl::RegisterPairs(int nOper1, int nFirst2, int nLast2, bool bBoth) {
    if (nOper1 == 0)
        m_table.AddExclusive(nFirst2, nLast2);
    else
        m_table.AddPairs(nOper1, nFirst2, nLast2, bBoth);
}

}  // namespace NSTE_util
