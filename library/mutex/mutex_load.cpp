#include "base/bounded_lines.h"
#include "files/loaded_file.h"
#include "files/read_file.h"
#include "mutex/mutex_format.h"
#include "mutex/temutexopermgrimpl.h"
#include "trace/trace_line.h"

#include "zemb/live.h"

#include <ace/Guard_T.h>

// Reads a table file under the manager's lock. Lines are added to what is loaded; a bad line is
// left out and makes the answer false, and the good ones count all the same. Numbers of a list that
// follow each other are registered as one span: the table keeps what the file names, not each
// operation of it.
// The format: docs/formats/mutex-table-file.md.
namespace NSTE_util {

bool TEMutexOperMgrImpl::LoadMutexCfg(const std::string& strFile) {
    bool bResult = false;
    NSTN_util::GuardedCall([&] {
        std::string strText;
        const NSTN_util::EReadFile eRead = NSTN_util::ReadFile(strFile, MUTEX_LINE_MAX, strText);
        if (eRead == NSTN_util::EReadFile::NOT_OPENED)
            return NSTN_util::Report("Open file(%s) error! ", strFile);
        {
            ACE_Guard<ACE_Thread_Mutex> guard(m_lock);
            bResult = LoadLines_nolock(strText) && eRead == NSTN_util::EReadFile::WHOLE;
        }
        zemb::LiveCount(zemb::ELiveCounter::RELOADS);
        NSTN_util::TellLoaded("table", strFile, strText);
    });
    return bResult;
}

bool TEMutexOperMgrImpl::LoadLines_nolock(std::string_view strText) {
    bool bResult = true;
    MutexLine line;
    for (MutexLines lines(strText); lines.Next(line);) {
        switch (line.eKind) {
            case EMutexLine::NOTHING:
            case EMutexLine::HEADER: break;
            case EMutexLine::TABLE: bResult = LoadTableLine_nolock(line.strText) && bResult; break;
            case EMutexLine::ERRORCODE:
                bResult = LoadErrorCodeLine_nolock(line.strText) && bResult;
                break;
            case EMutexLine::OUTSIDE: bResult = false;
        }
    }
    return bResult;
}

bool TEMutexOperMgrImpl::LoadTableLine_nolock(const std::string& strLine) {
    const MutexTableLine line(strLine);
    if (!line.IsGood())
        return false;
    ForEachRun(line.vecBlocked, [&](int nFirst, int nLast) {
        if (!RegisterMutex(m_table, *line.oper, nFirst, nLast, *line.flag != 0))
            NSTN_util::Report(
                "Calling TEMutexOperMgrImpl::RegisterMutex() with nOper1=0 and nOper2=0");
    });
    return true;
}

bool TEMutexOperMgrImpl::LoadErrorCodeLine_nolock(const std::string& strLine) {
    const MutexCodeLine line(strLine);
    if (!line.IsGood())
        return false;
    // The first code of an operation stays; a negative one is widened with its sign.
    m_mapErrorCode.emplace(*line.oper, static_cast<unsigned long>(static_cast<long>(*line.code)));
    return true;
}

}  // namespace NSTE_util
