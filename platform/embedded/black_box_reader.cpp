#include "zemb/black_box.h"

#include "base/cancel_hold.h"
#include "embedded/black_box_format.h"
#include "embedded/process_mark.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <system_error>

// Reads black boxes with plain reads: a mapping would end the reader by a signal when somebody cut
// the file. Everything in the file is taken for a claim: places are held against the size of the
// file, texts end where their field ends.
//
// A part is read three times. A record is whole when its sequence number was the same, and even, in
// the first and in the third reading: then nobody wrote while the second one was made.
namespace zemb {

namespace {

constexpr std::size_t CHUNK_BYTES = 1U << 16;
constexpr int TRIES = 50;
constexpr const char* COUNTER_NAMES[] = {
    "grants",          "refusals",     "releases",       "threads",          "progress_steps",
    "timeout_queries", "reloads",      "language_loads", "lines_written",    "lines_lost",
    "entries_written", "entries_kept", "entries_lost",   "operation_errors", "events_lost"};
static_assert(std::size(COUNTER_NAMES) == static_cast<std::size_t>(ELiveCounter::COUNT));
constexpr const char* MAKER_NAMES[] = {"call", "object guard", "NE guard", "lock", "trail guard"};

constexpr std::size_t RECORD_BYTES[box::PARTS] = {
    sizeof(box::Fact), sizeof(box::Thread), sizeof(box::Held),  sizeof(box::Held),
    sizeof(box::Task), sizeof(box::Error),  sizeof(box::Event), sizeof(box::Event)};

// What is wrong with a file, for people.
class BoxFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

template <std::size_t SIZE>
std::string FieldText(const char (&szText)[SIZE]) {
    return std::string(szText, strnlen(szText, SIZE));
}

class BoxReader {
public:
    explicit BoxReader(const std::string& strFile)
        : m_nFile(open(strFile.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)) {
        if (m_nFile == -1)
            throw BoxFault(errno == ELOOP ? "a link stands in its place" : std::strerror(errno));
        try {
            Check();
        } catch (...) {
            close(m_nFile);
            throw;
        }
    }
    ~BoxReader() { close(m_nFile); }
    BoxReader(const BoxReader&) = delete;
    BoxReader& operator=(const BoxReader&) = delete;

    const box::Header& Header() const { return *reinterpret_cast<const box::Header*>(m_arrHeader); }

    std::uint64_t Torn() const { return m_nTorn; }

    bool IsFile(const std::string& strFile) const {
        struct stat own {};
        struct stat named {};
        return fstat(m_nFile, &own) == 0 && lstat(strFile.c_str(), &named) == 0 &&
               own.st_dev == named.st_dev && own.st_ino == named.st_ino;
    }

    void Read(std::uint64_t nFrom, char* pTo, std::size_t nBytes) const {
        errno = 0;
        if (pread(m_nFile, pTo, nBytes, static_cast<off_t>(nFrom)) != static_cast<ssize_t>(nBytes))
            throw BoxFault(errno == 0 ? "it was cut" : std::strerror(errno));
    }

    // Calls fn with each record that was ever written: as it was before, in and after the reading
    // in the midst, and its number.
    template <class Record, class Fn>
    void ForEach(box::EPart ePart, Fn fn) {
        const box::PartPlace& part = Header().arrPart[ePart];
        const std::uint32_t nAtOnce = static_cast<std::uint32_t>(CHUNK_BYTES / sizeof(Record));
        std::vector<std::uint64_t> arrCopy[3];
        for (auto& vecCopy : arrCopy)
            vecCopy.resize(nAtOnce * sizeof(Record) / sizeof(std::uint64_t));
        for (std::uint32_t nFirst = 0; nFirst < part.nRecords; nFirst += nAtOnce) {
            const std::uint32_t nRecords = std::min(nAtOnce, part.nRecords - nFirst);
            ReadThrice<Record>(part, nFirst, nRecords, arrCopy);
            for (std::uint32_t i = 0; i < nRecords; ++i)
                if (Take<Record>(arrCopy, i, nFirst + i, fn) == ETaken::TORN)
                    TakeAlone<Record>(part, nFirst + i, fn);
        }
    }

private:
    enum class ETaken { WHOLE, UNUSED, TORN };
    using Copy = std::vector<std::uint64_t>;

    void Check() {
        struct stat status {};
        if (fstat(m_nFile, &status) != 0)
            throw BoxFault(std::strerror(errno));
        if (!S_ISREG(status.st_mode))
            throw BoxFault("it is no plain file");
        if ((status.st_mode & S_IWOTH) != 0)
            throw BoxFault("everybody may write it, so it proves nothing");
        if (status.st_size < static_cast<off_t>(box::HEADER_BYTES))
            throw BoxFault("it was cut");
        Read(0, m_arrHeader, sizeof m_arrHeader);
        const box::Header& header = Header();
        const char arrNone[sizeof header.szMagic] = {};
        if (std::memcmp(header.szMagic, arrNone, sizeof arrNone) == 0)
            throw BoxFault("it is not complete: its process is making it, or ended while it did");
        if (std::memcmp(header.szMagic, box::MAGIC, sizeof box::MAGIC) != 0)
            throw BoxFault("it is no black box");
        if (header.nByteOrder != box::BYTE_ORDER_MARK || header.nVersion != box::VERSION)
            throw BoxFault("it has version " + std::to_string(header.nVersion) +
                           " of the format; this program reads version " +
                           std::to_string(box::VERSION) + " of this machine's kind");
        if (static_cast<std::uint64_t>(status.st_size) < header.nFileBytes)
            throw BoxFault("it was cut");
        for (int i = 0; i < box::PARTS; ++i) {
            const box::PartPlace& part = header.arrPart[i];
            if (part.nRecordBytes != RECORD_BYTES[i] || part.nRecords == 0 ||
                part.nRecords > box::RECORDS_MOST || part.nOffset < box::HEADER_BYTES ||
                part.nOffset % sizeof(std::uint64_t) != 0 || part.nOffset > header.nFileBytes ||
                std::uint64_t{part.nRecords} * part.nRecordBytes > header.nFileBytes - part.nOffset)
                throw BoxFault("its layout is not that of its version");
        }
        if (header.nCounters > box::COUNTERS_MAX)
            throw BoxFault("its layout is not that of its version");
    }

    template <class Record>
    void ReadThrice(const box::PartPlace& part, std::uint32_t nFirst, std::uint32_t nRecords,
                    Copy (&arrCopy)[3]) const {
        for (Copy& vecCopy : arrCopy)
            Read(part.nOffset + std::uint64_t{nFirst} * sizeof(Record),
                 reinterpret_cast<char*>(vecCopy.data()), nRecords * sizeof(Record));
    }

    template <class Record, class Fn>
    ETaken Take(const Copy (&arrCopy)[3], std::uint32_t i, std::uint32_t nRecord, Fn& fn) const {
        const auto At = [&](int n) -> const Record& {
            return reinterpret_cast<const Record*>(arrCopy[n].data())[i];
        };
        const std::uint64_t nSequence = At(2).nSequence.load(std::memory_order_relaxed);
        if (nSequence == 0)
            return ETaken::UNUSED;
        if (nSequence % 2 != 0 || At(0).nSequence.load(std::memory_order_relaxed) != nSequence)
            return ETaken::TORN;
        fn(At(0), At(1), At(2), nRecord);
        return ETaken::WHOLE;
    }

    // A record that was being written.
    template <class Record, class Fn>
    void TakeAlone(const box::PartPlace& part, std::uint32_t nRecord, Fn& fn) {
        Copy arrCopy[3];
        for (Copy& vecCopy : arrCopy)
            vecCopy.resize(sizeof(Record) / sizeof(std::uint64_t));
        for (int nTry = 0; nTry < TRIES; ++nTry) {
            ReadThrice<Record>(part, nRecord, 1, arrCopy);
            if (Take<Record>(arrCopy, 0, nRecord, fn) != ETaken::TORN)
                return;
        }
        ++m_nTorn;
    }

    const int m_nFile;
    alignas(8) char m_arrHeader[box::HEADER_BYTES] = {};
    std::uint64_t m_nTorn = 0;
};

EBoxState StateOf(const box::Header& header, const std::string& strBoot) {
    EProcess eState{};
    // Where /proc hides the processes of others, they are still known to be there.
    if (strBoot == FieldText(header.szBoot) && StartTicksOf(header.nProcess, eState) == 0 &&
        kill(static_cast<pid_t>(header.nProcess), 0) != 0 && errno == EPERM)
        return EBoxState::ALIVE;
    if (strBoot != FieldText(header.szBoot) ||
        StartTicksOf(header.nProcess, eState) != header.nStartTicks || eState == EProcess::GONE)
        return EBoxState::DIED;
    return eState == EProcess::STOPPED ? EBoxState::STOPPED : EBoxState::ALIVE;
}

void Summarise(const BoxReader& reader, BoxSummary& box) {
    const box::Header& header = reader.Header();
    box.nProcess = header.nProcess;
    box.nParent = header.nParent;
    box.eState = StateOf(header, BootOfSystem());
    box.nBegun = header.nBegun;
    box.strProgram = FieldText(header.szProgram);
    box.strRoot = FieldText(header.szRoot);
    box.strState = FieldText(header.szState);
}

LiveObject ObjectOf(const box::Object& object) {
    return {object.nNe, object.nObj, static_cast<long>(object.nSub)};
}

ELiveMaker MakerOf(std::uint8_t nMaker) {
    return nMaker < std::size(MAKER_NAMES) ? static_cast<ELiveMaker>(nMaker) : ELiveMaker::CALL;
}

class BoxContents {
public:
    BoxContents(BoxReader& reader, BlackBox& box) : m_reader(reader), m_box(box) {}

    void Read() {
        Summarise(m_reader, m_box);
        m_box.nOtherBefore = Tallies().nNextOther;
        m_box.nEventBefore = Tallies().nNextEvent;
        ReadFacts();
        ReadHeld(box::HELD, m_box.vecHeld);
        ReadHeld(box::TRAILS, m_box.vecTrail);
        ReadThreads();
        ReadTasks();
        ReadErrors();
        ReadEvents();
        for (std::vector<BoxHeld>* const pHeld : {&m_box.vecHeld, &m_box.vecTrail})
            std::stable_sort(pHeld->begin(), pHeld->end(),
                             [](const auto& a, const auto& b) { return a.nSince < b.nSince; });
        m_box.nTorn = m_reader.Torn();
    }

private:
    void ReadFacts() {
        m_reader.ForEach<box::Fact>(box::FACTS, [&](auto&, const box::Fact& fact, auto&, auto) {
            std::string arrText[3];
            const char* pText = fact.szText;
            const char* const pEnd = fact.szText + sizeof fact.szText;
            for (std::string& strText : arrText) {
                strText.assign(pText, strnlen(pText, static_cast<std::size_t>(pEnd - pText)));
                pText = std::min(pEnd, pText + strText.size() + 1);
            }
            m_box.vecFact.emplace_back(arrText[0], arrText[1], arrText[2]);
        });
    }

    void ReadHeld(box::EPart ePart, std::vector<BoxHeld>& vecHeld) {
        m_reader.ForEach<box::Held>(ePart, [&](auto&, const box::Held& held, auto&, auto) {
            if (held.bUsed == 0)
                return;
            BoxHeld one;
            one.nOper = held.nOper;
            one.obj = ObjectOf(held.object);
            one.bNoObject = held.bNoObject != 0;
            one.eMaker = MakerOf(held.nMaker);
            one.nSince = held.nSince;
            one.nThread = held.nThread;
            one.strLabel = FieldText(held.szLabel);
            one.nTask = held.nTask;
            one.nMission = held.nMission;
            one.nUser = held.nUser;
            vecHeld.push_back(one);
            m_vecCallOfHeld.emplace_back(held.nSlot, held.nCall);
        });
    }

    void ReadThreads() {
        std::vector<std::uint64_t> vecCall;
        std::vector<std::uint64_t> vecSum(m_reader.Header().nCounters);
        const auto Take = [&](const box::Thread& before, const box::Thread& thread,
                              const box::Thread& after, std::uint32_t nSlot) {
            for (std::size_t i = 0; i < vecSum.size(); ++i)
                vecSum[i] += thread.arrCounter[i].load(std::memory_order_relaxed);
            vecCall.resize(std::max<std::size_t>(vecCall.size(), nSlot + 1));
            vecCall[nSlot] = after.nCall.load(std::memory_order_relaxed);
            if (thread.nThread != 0)
                m_box.vecThread.push_back(ThreadOf(before, thread, after));
        };
        m_reader.ForEach<box::Thread>(box::THREADS, Take);
        // The first record is never written whole: threads without a place only count there.
        alignas(box::Thread) char arrShared[sizeof(box::Thread)];
        m_reader.Read(m_reader.Header().arrPart[box::THREADS].nOffset, arrShared, sizeof arrShared);
        const auto& shared = *reinterpret_cast<const box::Thread*>(arrShared);
        for (std::size_t i = 0; i < vecSum.size(); ++i)
            m_box.vecCounter.emplace_back(
                FieldText(m_reader.Header().szCounter[i]),
                vecSum[i] + shared.arrCounter[i].load(std::memory_order_relaxed));
        Mark(vecCall);
    }

    static BoxThread ThreadOf(const box::Thread& before, const box::Thread& thread,
                              const box::Thread& after) {
        BoxThread one;
        one.nThread = thread.nThread;
        one.nPthread = thread.nPthread;
        one.nNesting = thread.nNesting;
        one.nSince = thread.nSince;
        one.strLabel = FieldText(thread.szLabel);
        const std::uint64_t nCall = after.nCall.load(std::memory_order_relaxed);
        one.bInCall = nCall % 2 != 0 && nCall == before.nCall.load(std::memory_order_relaxed);
        if (!one.bInCall)
            return one;
        one.eCall = thread.nKind == static_cast<std::uint8_t>(ELiveCall::RELEASE)
                        ? ELiveCall::RELEASE
                        : ELiveCall::ACQUIRE;
        one.eMaker = MakerOf(thread.nMaker);
        one.nOper = thread.nOper;
        one.nObjects = thread.nObjects;
        one.nCallSince = thread.nCallSince;
        for (std::size_t i = 0; i < std::min<std::uint64_t>(one.nObjects, box::FIRST_OBJECTS); ++i)
            one.vecFirst.push_back(ObjectOf(thread.arrFirst[i]));
        return one;
    }

    // What a call is at work on may be held or not.
    void Mark(const std::vector<std::uint64_t>& vecCall) {
        std::size_t nPlace = 0;
        for (std::vector<BoxHeld>* const pHeld : {&m_box.vecHeld, &m_box.vecTrail})
            for (BoxHeld& held : *pHeld) {
                const auto& [nSlot, nCall] = m_vecCallOfHeld[nPlace++];
                held.bUnderWay =
                    (nSlot < vecCall.size() && nCall % 2 != 0 && vecCall[nSlot] == nCall) ||
                    std::any_of(
                        m_box.vecThread.begin(), m_box.vecThread.end(),
                        [&](const BoxThread& thread) { return IsGivingBack(thread, held); });
            }
    }

    static bool IsGivingBack(const BoxThread& thread, const BoxHeld& held) {
        if (!thread.bInCall || thread.eCall != ELiveCall::RELEASE || thread.nOper != held.nOper ||
            (thread.eMaker == ELiveMaker::TRAIL_GUARD) != (held.eMaker == ELiveMaker::TRAIL_GUARD))
            return false;
        return thread.nObjects > thread.vecFirst.size() ||
               std::any_of(
                   thread.vecFirst.begin(), thread.vecFirst.end(), [&](const LiveObject& obj) {
                       return obj.nNeId == held.obj.nNeId && obj.nObjId == held.obj.nObjId &&
                              obj.lSubObjId == held.obj.lSubObjId;
                   });
    }

    void ReadTasks() {
        m_reader.ForEach<box::Task>(box::TASKS, [&](auto&, const box::Task& task, auto&, auto) {
            if (task.nTask != 0)
                m_box.vecTask.push_back({task.nTask, task.nMission, task.nMissions, task.nUser,
                                         task.nSince, task.nPercent, task.fScale, task.bAbort != 0,
                                         task.nBase, task.nRange, task.nSteps, task.nStep,
                                         task.nThread, FieldText(task.szText)});
        });
        std::stable_sort(m_box.vecTask.begin(), m_box.vecTask.end(),
                         [](const auto& a, const auto& b) { return a.nTask < b.nTask; });
    }

    struct TalliesRead {
        std::uint64_t nNextEvent;
        std::uint64_t nNextOther;
        std::uint64_t arrNotShown[box::PARTS];
    };
    static_assert(sizeof(TalliesRead) == sizeof(box::Tallies));

    TalliesRead Tallies() const {
        TalliesRead tallies{};
        m_reader.Read(box::TALLIES_AT, reinterpret_cast<char*>(&tallies), sizeof tallies);
        return tallies;
    }

    void ReadErrors() {
        std::vector<std::pair<std::uint64_t, BoxError>> vecError;
        m_reader.ForEach<box::Error>(box::ERRORS, [&](auto&, const box::Error& error, auto&, auto) {
            vecError.emplace_back(error.nOrder, BoxError{error.nTime, error.nCode, error.nTask,
                                                         error.nUser, FieldText(error.szText)});
        });
        std::sort(vecError.begin(), vecError.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        for (auto& [nOrder, error] : vecError)
            m_box.vecError.push_back(std::move(error));
    }

    // What comes while a ring is read is left for the next reading, so that nothing is missing.
    std::vector<BoxEvent> ReadRing(box::EPart ePart, std::uint64_t nNext) {
        std::vector<BoxEvent> vecEvent;
        m_reader.ForEach<box::Event>(ePart, [&](auto&, const box::Event& event, auto&, auto) {
            if (event.nKind < static_cast<std::uint8_t>(EBoxEvent::GRANTED) ||
                event.nKind > static_cast<std::uint8_t>(EBoxEvent::TASK_ENDED) ||
                event.nSequence.load(std::memory_order_relaxed) / 2 > nNext)
                return;
            vecEvent.push_back({event.nSequence.load(std::memory_order_relaxed) / 2 - 1,
                                static_cast<EBoxEvent>(event.nKind), MakerOf(event.nMaker),
                                event.nTime, event.nThread, (event.nCall + 1) / 2, event.nOper,
                                ObjectOf(event.object), event.nPlace, event.nOf, event.nBlocker,
                                event.nCode, event.nTask});
        });
        std::sort(vecEvent.begin(), vecEvent.end(),
                  [](const auto& a, const auto& b) { return a.nNumber < b.nNumber; });
        return vecEvent;
    }

    void ReadEvents() {
        m_box.nNextOther = Tallies().nNextOther;
        std::vector<BoxEvent> vecOther = ReadRing(box::OTHER_EVENTS, m_box.nNextOther);
        const TalliesRead tallies = Tallies();
        m_box.nNextEvent = tallies.nNextEvent;
        const std::vector<BoxEvent> vecOper = ReadRing(box::EVENTS, m_box.nNextEvent);
        // Another event stands in front of the operation's that was next when it came.
        auto itOper = vecOper.begin();
        for (BoxEvent& other : vecOther) {
            const auto nBack = static_cast<std::uint32_t>(m_box.nNextEvent) -
                               static_cast<std::uint32_t>(other.nOper);
            other.nOper = 0;
            for (; itOper != vecOper.end() && itOper->nNumber + nBack < m_box.nNextEvent; ++itOper)
                m_box.vecEvent.push_back(*itOper);
            m_box.vecEvent.push_back(other);
        }
        m_box.vecEvent.insert(m_box.vecEvent.end(), itOper, vecOper.end());
        m_box.nFactsNotShown = tallies.arrNotShown[box::FACTS];
        m_box.nHeldNotShown = tallies.arrNotShown[box::HELD];
        m_box.nTrailsNotShown = tallies.arrNotShown[box::TRAILS];
        m_box.nThreadsNotShown = tallies.arrNotShown[box::THREADS];
        m_box.nTasksNotShown = tallies.arrNotShown[box::TASKS];
    }

    BoxReader& m_reader;
    BlackBox& m_box;
    std::vector<std::pair<std::uint32_t, std::uint64_t>> m_vecCallOfHeld;  // slot and call
};

}  // namespace

const char* LiveCounterName(ELiveCounter eCounter) {
    return COUNTER_NAMES[static_cast<std::size_t>(eCounter)];
}

const char* LiveMakerName(ELiveMaker eMaker) {
    return MAKER_NAMES[static_cast<std::size_t>(eMaker)];
}

std::vector<BoxSummary> ListBlackBoxes(const std::string& strState) {
    const base::CancelHold hold;
    std::vector<BoxSummary> vecBox;
    std::error_code ignored;  // no folder, no boxes
    for (std::filesystem::directory_iterator it(strState + "/run", ignored), end;
         !ignored && it != end; it.increment(ignored)) {
        if (it->path().extension() != ".box")
            continue;
        BoxSummary box;
        box.strFile = it->path().string();
        try {
            const BoxReader reader(box.strFile);
            if (reader.Header().bEnded != 0)
                continue;
            Summarise(reader, box);
        } catch (const BoxFault& fault) {
            box.strError = fault.what();
        }
        vecBox.push_back(std::move(box));
    }
    std::sort(vecBox.begin(), vecBox.end(), [](const BoxSummary& a, const BoxSummary& b) {
        return std::tie(a.nProcess, a.nBegun, a.strFile) <
               std::tie(b.nProcess, b.nBegun, b.strFile);
    });
    return vecBox;
}

bool ReadBlackBox(const std::string& strFile, BlackBox& box, std::string& strError) {
    return BoxWatch(strFile).Read(box, strError);
}

struct BoxWatch::Hidden {
    std::string strFile;
    std::unique_ptr<BoxReader> pReader;
    std::string strError;  // without a reader
};

BoxWatch::BoxWatch(const std::string& strFile) : m_pHidden(std::make_unique<Hidden>()) {
    const base::CancelHold hold;
    m_pHidden->strFile = strFile;
    try {
        m_pHidden->pReader = std::make_unique<BoxReader>(strFile);
    } catch (const BoxFault& fault) {
        m_pHidden->strError = strFile + ": " + fault.what();
    }
}

BoxWatch::~BoxWatch() = default;

bool BoxWatch::Read(BlackBox& box, std::string& strError) {
    const base::CancelHold hold;
    strError = m_pHidden->strError;
    if (m_pHidden->pReader == nullptr)
        return false;
    try {
        BlackBox read;
        read.strFile = m_pHidden->strFile;
        BoxContents(*m_pHidden->pReader, read).Read();
        box = std::move(read);
        return true;
    } catch (const BoxFault& fault) {
        strError = m_pHidden->strFile + ": " + fault.what();
        return false;
    }
}

bool BoxWatch::IsInPlace() const {
    return m_pHidden->pReader != nullptr && m_pHidden->pReader->IsFile(m_pHidden->strFile);
}

}  // namespace zemb
