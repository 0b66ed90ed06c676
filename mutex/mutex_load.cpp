#include "mutex/temutexopermgrimpl.h"
#include "trace/trace_line.h"
#include "util/bounded_lines.h"
#include "util/read_file.h"

#include "zemb/text.h"

#include <ace/Guard_T.h>

// The format: docs/mutex-table-file.md.
namespace NSTE_util {

namespace {

constexpr std::size_t LINE_MAX_CHARS = 1023;
constexpr const char* SECTION_TABLE = "[MUTEX_TABLE]";
constexpr const char* SECTION_ERRORCODE = "[MUTEX_ERRORCODE]";
constexpr char FIELD_SEPARATOR = ':';

enum class ESection { NONE, TABLE, ERRORCODE };

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
    NSTN_util::BoundedLines lines(strText, LINE_MAX_CHARS);
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
    for (const int nOper2 : vecOper2)
        RegisterMutex(nOper1, nOper2, nFlag != 0);
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

void TEMutexOperMgrImpl::RegisterMutex(int nOper1, int nOper2, bool bBoth) {
    if (nOper1 == 0 && nOper2 == 0)
        return NSTN_util::Report(
            "Calling TEMutexOperMgrImpl::RegisterMutex() with nOper1=0 and nOper2=0");
    if (nOper1 == 0) {
        m_setExclusiveOper.insert(nOper2);
    } else if (nOper2 == 0) {
        m_setExclusiveOper.insert(nOper1);
    } else {
        m_mapMutexTable[nOper2].insert(nOper1);
        if (bBoth)
            m_mapMutexTable[nOper1].insert(nOper2);
    }
}

}  // namespace NSTE_util
