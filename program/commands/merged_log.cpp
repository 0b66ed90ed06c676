#include "commands/merged_log.h"

#include "view/command_error.h"

#include "zemb/paths.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <deque>
#include <system_error>
#include <utility>

// Each process writes a log of its own, and of each there are older files beside the present one.
// Those of a process are read one after the other, the oldest first, and of all processes the line
// with the earliest time comes next.
//
// When a log is followed, its file may give way to a new one while another process of the same name
// still writes into the old one, for a second at most: so the old one is looked at for some time
// more. A line that does not end yet is read again at the next look.
namespace host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto LOOKED_AT_FOR = std::chrono::seconds(3);  // a file that gave way

LogLine SplitLine(const std::string& strProcess, std::string strWhole) {
    LogLine line;
    line.strProcess = strProcess;
    const std::size_t nThread = strWhole.find(" [");
    const std::size_t nKind = strWhole.find("] ", nThread);
    if (nThread == std::string::npos || nKind == std::string::npos) {
        line.strText = strWhole;
    } else {
        const std::size_t nText = std::min(strWhole.find(' ', nKind + 2), strWhole.size());
        line.strTime = strWhole.substr(0, nThread);
        line.strThread = strWhole.substr(nThread + 2, nKind - nThread - 2);
        line.strKind = strWhole.substr(nKind + 2, nText - nKind - 2);
        line.strText = strWhole.substr(std::min(nText + 1, strWhole.size()));
    }
    line.strWhole = std::move(strWhole);
    return line;
}

std::FILE* OpenLog(const std::string& strFile) {
    std::FILE* const pFile = std::fopen(strFile.c_str(), "re");
    if (pFile == nullptr && errno != ENOENT)
        FailWithErrno(strFile);
    return pFile;
}

}  // namespace

LogReader::LogReader(std::string strFile)
    : m_strFile(std::move(strFile)), m_pFile(OpenLog(m_strFile)) {}

LogReader::~LogReader() {
    std::free(m_szLine);
}

bool LogReader::Next(std::string& strLine, bool bUnended) {
    if (m_pFile == nullptr)
        return false;
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

bool LogReader::IsReplaced() const {
    struct stat own {};
    struct stat named {};
    if (stat(m_strFile.c_str(), &named) != 0)
        return false;
    return m_pFile == nullptr || (fstat(fileno(m_pFile.get()), &own) == 0 &&
                                  (own.st_ino != named.st_ino || own.st_dev != named.st_dev ||
                                   own.st_size < ftello(m_pFile.get())));
}

// What one process wrote.
class MergedLog::Stream {
public:
    explicit Stream(std::string strProcess) : m_strProcess(std::move(strProcess)) {}

    const std::string& Process() const { return m_strProcess; }
    void AddFile(const std::string& strFile) {  // behind those that it has
        m_dequeReader.push_back(std::make_unique<LogReader>(strFile));
    }

    // The next line, which stays the next one until it is taken.
    const LogLine* Head(bool bUnended) {
        std::string strLine;
        while (!m_head && !m_dequeReader.empty()) {
            const bool bPresent = m_dequeReader.size() == 1;
            if (m_dequeReader.front()->Next(strLine, bUnended || !bPresent))
                m_head = Line(std::move(strLine));
            else if (bPresent)
                break;
            else
                m_dequeReader.pop_front();
        }
        return m_head ? &*m_head : nullptr;
    }

    LogLine Take() {
        LogLine line = std::move(*m_head);
        m_head.reset();
        return line;
    }

    void TakeNew(std::vector<LogLine>& vecLine) {
        for (const auto& [tUntil, pReader] : m_listLeft)
            ReadOn(*pReader, true, vecLine);
        // Asked first: what has come into the file before is read now.
        std::unique_ptr<LogReader>& pReader = m_dequeReader.front();
        const bool bReplaced = pReader->IsReplaced();
        ReadOn(*pReader, bReplaced, vecLine);
        if (bReplaced) {
            auto pNew = std::make_unique<LogReader>(pReader->File());
            m_listLeft.emplace_back(Clock::now() + LOOKED_AT_FOR, std::move(pReader));
            pReader = std::move(pNew);
            ReadOn(*pReader, false, vecLine);
        }
        while (!m_listLeft.empty() && m_listLeft.front().first < Clock::now())
            m_listLeft.pop_front();
    }

private:
    LogLine Line(std::string strLine) {
        LogLine line = SplitLine(m_strProcess, std::move(strLine));
        if (!line.strTime.empty())
            m_strTime = line.strTime;
        line.strPlace = m_strTime;
        return line;
    }

    void ReadOn(LogReader& reader, bool bUnended, std::vector<LogLine>& vecLine) {
        for (std::string strLine; reader.Next(strLine, bUnended);)
            vecLine.push_back(Line(std::move(strLine)));
    }

    const std::string m_strProcess;
    std::deque<std::unique_ptr<LogReader>> m_dequeReader;  // the present file is the last
    std::list<std::pair<Clock::time_point, std::unique_ptr<LogReader>>> m_listLeft;
    std::optional<LogLine> m_head;
    std::string m_strTime;  // of the last line that has one
};

MergedLog::MergedLog(const std::string& strModule, const std::string& strProcess)
    : m_strModule(strModule), m_strProcess(strProcess) {
    AddStreams();
    if (m_listStream.empty())
        throw CommandError(ANSWER_NO, "there is no log of module " + strModule +
                                          (strProcess.empty() ? "" : " and process " + strProcess) +
                                          " in " + zemb::GetStatePath() + "/log");
}

MergedLog::~MergedLog() = default;

bool MergedLog::Has(const std::string& strProcess) const {
    return std::any_of(m_listStream.begin(), m_listStream.end(),
                       [&](const Stream& stream) { return stream.Process() == strProcess; });
}

// Those of processes that are not known yet; their files come the oldest first.
void MergedLog::AddStreams() {
    std::vector<zemb::LogFileName> vecName;
    try {
        vecName = zemb::LogFilesOf(m_strModule);
    } catch (const std::system_error& error) {
        errno = error.code().value();
        FailWithErrno(zemb::GetStatePath() + "/log");
    }
    std::list<Stream> listNew;
    for (const zemb::LogFileName& name : vecName) {
        if ((!m_strProcess.empty() && name.strProcess != m_strProcess) || Has(name.strProcess))
            continue;
        if (listNew.empty() || listNew.back().Process() != name.strProcess)
            listNew.emplace_back(name.strProcess);
        listNew.back().AddFile(name.strFile);
    }
    m_listStream.splice(m_listStream.end(), listNew);
}

bool MergedLog::Next(LogLine& line, bool bUnended) {
    Stream* pFirst = nullptr;
    const LogLine* pLine = nullptr;
    for (Stream& stream : m_listStream)
        if (const LogLine* const pHead = stream.Head(bUnended);
            pHead != nullptr && (pLine == nullptr || pHead->strPlace < pLine->strPlace)) {
            pLine = pHead;
            pFirst = &stream;
        }
    if (pFirst == nullptr)
        return false;
    line = pFirst->Take();
    return true;
}

std::vector<LogLine> MergedLog::TakeNew() {
    AddStreams();
    std::vector<LogLine> vecLine;
    for (Stream& stream : m_listStream) {
        while (stream.Head(false) != nullptr)
            vecLine.push_back(stream.Take());
        stream.TakeNew(vecLine);
    }
    std::stable_sort(vecLine.begin(), vecLine.end(),
                     [](const LogLine& a, const LogLine& b) { return a.strPlace < b.strPlace; });
    return vecLine;
}

}  // namespace host
