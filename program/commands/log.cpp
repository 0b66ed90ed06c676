#include "command.h"
#include "console/interrupt.h"
#include "view/record.h"

#include "tovelkarin/stringutil.h"
#include "tovelkarin/utilif.h"

#include <CLI/CLI.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <utility>

// Shows lines of a log, and new ones as they come. A line that does not end yet is read again at
// the next look. When the file gave way to a new one, its rest is shown first, as nobody writes
// into it any more.
namespace host {

namespace {

struct LogArguments {
    std::string strModule = TOVELKARIN_MODULE_NAME;
    int nLevel = 0;
    std::string strFrom;
    std::string strTo;
    std::string strPattern;
    std::size_t nLast = 0;
    bool bFollow = false;
};

// "2026-03-01 08:00:00.123Z [1234] 1 text"; an empty kind for a line of another form.
struct LogLine {
    std::string strTime;
    std::string strThread;
    std::string strKind;
    std::string strText;
};

LogLine Split(const std::string& strLine) {
    const std::size_t nThread = strLine.find(" [");
    const std::size_t nKind = strLine.find("] ", nThread);
    if (nThread == std::string::npos || nKind == std::string::npos)
        return {"", "", "", strLine};
    const std::size_t nText = std::min(strLine.find(' ', nKind + 2), strLine.size());
    return {strLine.substr(0, nThread), strLine.substr(nThread + 2, nKind - nThread - 2),
            strLine.substr(nKind + 2, nText - nKind - 2),
            strLine.substr(std::min(nText + 1, strLine.size()))};
}

// Assertions, prints and exceptions are of every level.
bool IsWanted(const LogLine& line, const LogArguments& args) {
    if (line.strKind.find_first_not_of("-0123456789") == std::string::npos &&
        std::strtol(line.strKind.c_str(), nullptr, 10) < args.nLevel)
        return false;
    return (args.strFrom.empty() || line.strTime >= args.strFrom) &&
           (args.strTo.empty() || line.strTime < args.strTo) &&
           (args.strPattern.empty() ||
            NSTN_util::IsNameMeetingRequire(line.strText, args.strPattern));
}

void Put(const Session& session, const LogLine& line, const std::string& strLine) {
    session.out.Put(strLine, RecordOf({{"time", line.strTime},
                                       {"thread", line.strThread},
                                       {"kind", line.strKind},
                                       {"text", line.strText}}));
}

// A log that others write, and whose file gives way to a new one.
class LogReader {
public:
    explicit LogReader(const std::string& strFile)
        : m_strFile(strFile), m_pFile(std::fopen(strFile.c_str(), "re")) {}
    ~LogReader() { std::free(m_szLine); }
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    bool IsOpen() const { return m_pFile != nullptr; }

    // The next line without its line feed; one that does not end yet only when bUnended.
    bool Next(std::string& strLine, bool bUnended) {
        const off_t nAt = ftello(m_pFile.get());
        const ssize_t nSize = getline(&m_szLine, &m_nRoom, m_pFile.get());
        const bool bEnded = nSize > 0 && m_szLine[nSize - 1] == '\n';
        if (nSize <= 0 || (!bEnded && !bUnended)) {
            fseeko(m_pFile.get(), nAt, SEEK_SET);  // also forgets that the file ended
            return false;
        }
        strLine.assign(m_szLine, static_cast<std::size_t>(nSize) - (bEnded ? 1 : 0));
        return true;
    }

    // Another file has the name now, or this one begins anew.
    bool IsReplaced() const {
        struct stat own {};
        struct stat named {};
        return fstat(fileno(m_pFile.get()), &own) == 0 && stat(m_strFile.c_str(), &named) == 0 &&
               (own.st_ino != named.st_ino || own.st_dev != named.st_dev ||
                own.st_size < ftello(m_pFile.get()));
    }

    void Reopen() {
        if (File pFile{std::fopen(m_strFile.c_str(), "re")})
            m_pFile = std::move(pFile);
    }

private:
    struct Close {
        void operator()(std::FILE* pFile) const { std::fclose(pFile); }
    };
    using File = std::unique_ptr<std::FILE, Close>;

    const std::string m_strFile;
    File m_pFile;
    char* m_szLine = nullptr;
    std::size_t m_nRoom = 0;
};

// Shows lines as they come, until it is interrupted. Of files that give way to one another between
// two looks only the last is shown.
void Follow(const Session& session, const LogArguments& args, LogReader& reader) {
    const Interruptible interruptible;
    do {
        // Asked first: whoever renamed a file writes no more into it, so its rest is its last.
        const bool bReplaced = reader.IsReplaced();
        for (std::string strLine; reader.Next(strLine, bReplaced);) {
            const LogLine line = Split(strLine);
            if (IsWanted(line, args))
                Put(session, line, strLine);
        }
        if (bReplaced)
            reader.Reopen();
    } while (!interruptible.Pause());
}

int ShowLog(const Session& session, const LogArguments& args) {
    const std::string strFile = Session::RequireState(zemb::LogFileOf(args.strModule));
    LogReader reader(strFile);
    if (!reader.IsOpen() && errno != ENOENT)
        FailWithErrno(strFile);
    if (!reader.IsOpen())
        throw CommandError(ANSWER_NO, strFile + ": there is no log of this module");
    std::deque<std::string> dequeLast;
    for (std::string strLine; reader.Next(strLine, !args.bFollow);) {
        const LogLine line = Split(strLine);
        if (!IsWanted(line, args))
            continue;
        if (args.nLast == 0)
            Put(session, line, strLine);
        else
            dequeLast.push_back(strLine);
        if (dequeLast.size() > args.nLast)
            dequeLast.pop_front();
    }
    for (const std::string& strLine : dequeLast)
        Put(session, Split(strLine), strLine);
    if (args.bFollow)
        Follow(session, args, reader);
    return DONE;
}

}  // namespace

Runner DefineLog(CLI::App& app) {
    const auto pArgs = std::make_shared<LogArguments>();
    app.add_option("MODULE", pArgs->strModule, "whose log")->capture_default_str();
    app.add_option("--level", pArgs->nLevel, "lines of this level and graver ones");
    app.add_option("--from", pArgs->strFrom, "not before this UTC time, or a beginning of it");
    app.add_option("--to", pArgs->strTo, "before this UTC time");
    app.add_option("--text", pArgs->strPattern, "the whole text; * and ? are wildcards");
    app.add_option("--last", pArgs->nLast, "only so many lines, the last ones");
    app.add_flag("--follow", pArgs->bFollow, "then show lines as they are written");
    return [pArgs](Session& session) { return ShowLog(session, *pArgs); };
}

}  // namespace host
