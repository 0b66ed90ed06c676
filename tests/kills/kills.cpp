// Whether acknowledged entries of the operation log, and user values, survive everything that
// processes do to one state folder at once: groups of processes with several threads that write,
// prune, read, verify, change how they synchronise, and fork; processes that became daemons after
// their first entry; others that open and close the databases all the time; and one of them killed
// whenever some more entries have been acknowledged. In the end each acknowledged entry must be
// there exactly once, every other one at most once, and each value must be the last that was
// accepted, or one on its way.
//
//   tovelkarin_kills [KILLS]            so many kills; 40 without
//   tovelkarin_kills --seconds SECONDS  as many as there is time for
#include "zemb/control.h"
#include "zemb/operlog.h"
#include "zemb/operlog_store.h"
#include "zemb/settings.h"
#include "zemb/user_config.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int GROUPS = 4;  // the last one opens and closes only
constexpr int THREADS = 3;
constexpr int ACKS_BETWEEN_KILLS = 60;

// One acknowledgement in the pipe: an entry, or a value of a section that was accepted.
struct Ack {
    int nEntry;    // 0: a value
    int nSection;  // of the value
    int nValue;
};

// Shared by all processes: numbers of entries and sections are never used twice.
struct Numbers {
    std::atomic<int> nEntry{0};
    std::atomic<int> nSection{0};
};
Numbers* g_pNumbers;
int g_nPipe;

void Tell(const Ack& ack) {
    if (write(g_nPipe, &ack, sizeof ack) != sizeof ack)
        _exit(1);
}

void WriteEntry() {
    ZembLogInfo info;
    info.nUserId = ++g_pNumbers->nEntry;
    std::snprintf(info.szDesc, sizeof info.szDesc, "entry %d", info.nUserId);
    if (FrameUtil::WriteOperationLog(info, 0) == FrameUtil::OPERLOG_WRITTEN)
        Tell({info.nUserId, 0, 0});
}

void WriteValue(int nSection, int& nValue) {
    std::string strError;
    const std::string strSection = std::to_string(nSection);
    if (zemb::SetUserCfg({strSection, "key", std::to_string(nValue + 1)}, strError))
        Tell({0, nSection, ++nValue});
    std::string strValue;
    if (nValue > 0 && FrameUtil::GetUserCfgInfo(strSection, "key", strValue) &&
        std::stoi(strValue) < nValue)
        std::printf("section %d: %s was read after %d\n", nSection, strValue.c_str(), nValue);
}

// Opens and closes what others are writing.
void Visit(std::mt19937& random) {
    std::string strError;
    long long nDeleted = 0;
    zemb::OperLogFilter filter;
    filter.nLast = random() % 200;
    std::vector<zemb::UserCfgItem> vecItem;
    switch (random() % 4) {
        case 0: zemb::PruneOperLog("2010", nDeleted, strError); break;
        case 1: zemb::VerifyOperLog(); break;
        case 2: zemb::ReadUserCfg(vecItem, strError); break;
        default:
            zemb::ReadOperLog(
                filter, [](const zemb::OperLogRow&) { return true; }, strError);
    }
}

// A child of a process with several threads writes at once.
void Fork() {
    const pid_t nChild = fork();
    if (nChild == 0) {
        WriteEntry();
        WriteEntry();
        _exit(0);
    }
    if (nChild > 0)
        waitpid(nChild, nullptr, 0);
}

[[noreturn]] void Work(bool bVisitor, unsigned nSeed) {
    {
        zemb::ScopedClock clock;  // what may be pruned
        clock.Freeze(1000000000LL * 1000000);
        ZembLogInfo info;
        for (int i = 0; i < 10 && !bVisitor; ++i)
            FrameUtil::WriteOperationLog(info, 0);
    }
    if (!bVisitor && nSeed % 2 == 0) {
        WriteEntry();
        if (fork() != 0)  // as a daemon begins
            _exit(0);
    }
    std::vector<std::thread> vecThread;
    for (unsigned n = 0; n < THREADS; ++n)
        vecThread.emplace_back([=] {
            std::mt19937 random(nSeed * THREADS + n);
            const int nSection = ++g_pNumbers->nSection;
            for (int nValue = 0;;) {
                const unsigned nWhat = bVisitor ? 0 : static_cast<unsigned>(random() % 16);
                if (nWhat == 0)
                    Visit(random);
                else if (nWhat == 1)
                    zemb::SetOperLogSync(random() % 2 == 0);
                else if (nWhat == 2)
                    Fork();
                else if (nWhat < 6)
                    WriteValue(nSection, nValue);
                else
                    WriteEntry();
            }
        });
    for (std::thread& thread : vecThread)
        thread.join();
    _exit(0);
}

class Judge {
public:
    // Reads what is in the pipe, and at least nMost acknowledgements unless everybody who writes
    // ended.
    void Read(int nPipe, int nMost) {
        Ack ack{};
        for (; nMost > 0 && read(nPipe, &ack, sizeof ack) == sizeof ack; --nMost)
            if (ack.nEntry != 0)
                m_mapEntry[ack.nEntry] = 0;
            else
                m_mapValue[ack.nSection] = ack.nValue;
    }

    bool IsGood() {
        int nLost = 0;
        int nTwice = 0;
        std::map<int, int> mapOther;
        const auto Count = [&](const zemb::OperLogRow& row) {
            const auto it = m_mapEntry.find(row.nUserId);
            if (row.nUserId != 0 &&
                ++(it == m_mapEntry.end() ? mapOther[row.nUserId] : it->second) == 2)
                ++nTwice;
            return true;
        };
        std::string strError;
        if (!zemb::ReadOperLog({}, Count, strError))
            std::printf("%s\n", strError.c_str());
        for (const auto& [nEntry, nCount] : m_mapEntry)
            nLost += nCount == 0 ? 1 : 0;
        const int nValuesLost = CountLostValues();
        const std::vector<std::string> vecProblem = zemb::VerifyOperLog();
        for (const std::string& strProblem : vecProblem)
            std::printf("%s\n", strProblem.c_str());
        std::printf("acknowledged entries: %zu, lost: %d, twice: %d; values: %zu, lost: %d\n",
                    m_mapEntry.size(), nLost, nTwice, m_mapValue.size(), nValuesLost);
        return strError.empty() && nLost + nTwice + nValuesLost == 0 && vecProblem.empty() &&
               !m_mapEntry.empty() && !m_mapValue.empty();
    }

private:
    // The last value that was accepted, or the one that its writer was about to be told of.
    int CountLostValues() const {
        std::map<std::string, int> mapFound;
        std::vector<zemb::UserCfgItem> vecItem;
        std::string strError;
        if (!zemb::ReadUserCfg(vecItem, strError))
            std::printf("%s\n", strError.c_str());
        for (const zemb::UserCfgItem& item : vecItem)
            mapFound[item.strSection] = std::stoi(item.strValue);
        int nLost = 0;
        for (const auto& [nSection, nValue] : m_mapValue) {
            const int nFound = mapFound[std::to_string(nSection)];
            nLost += nFound == nValue || nFound == nValue + 1 ? 0 : 1;
        }
        return nLost;
    }

    std::map<int, int> m_mapEntry;  // how often each was found
    std::map<int, int> m_mapValue;
};

pid_t Start(bool bVisitor, unsigned nSeed) {
    std::fflush(stdout);
    const pid_t nGroup = fork();
    if (nGroup == 0) {
        setpgid(0, 0);
        Work(bVisitor, nSeed);
    }
    setpgid(nGroup, nGroup);
    return nGroup;
}

// A whole group, daemons and children, and waits for all of it.
void Kill(pid_t nGroup) {
    while (kill(-nGroup, SIGKILL) == 0 && waitpid(-nGroup, nullptr, 0) > 0) {
    }
}

}  // namespace

int main(int argc, char** argv) {
    const bool bTimed = argc == 3 && std::strcmp(argv[1], "--seconds") == 0;
    const auto until =
        std::chrono::steady_clock::now() + std::chrono::seconds(bTimed ? std::atoi(argv[2]) : 0);
    const int nKills = argc == 2 ? std::atoi(argv[1]) : 40;
    char szFolder[] = "/tmp/tovelkarin.kills.XXXXXX";
    if (mkdtemp(szFolder) == nullptr || prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        return 1;
    zemb::SetStatePath(szFolder);
    g_pNumbers = new (mmap(nullptr, sizeof(Numbers), PROT_READ | PROT_WRITE,
                           MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Numbers;
    int arrPipe[2];
    if (pipe(arrPipe) != 0)
        return 1;
    g_nPipe = arrPipe[1];
    std::mt19937 random(1);
    unsigned nSeed = 0;
    std::vector<pid_t> vecGroup;
    for (int i = 0; i < GROUPS; ++i)
        vecGroup.push_back(Start(i == GROUPS - 1, nSeed++));
    Judge judge;
    int nKilled = 0;
    for (; bTimed ? std::chrono::steady_clock::now() < until : nKilled < nKills; ++nKilled) {
        judge.Read(arrPipe[0], 1 + static_cast<int>(random() % ACKS_BETWEEN_KILLS));
        const std::size_t nVictim = random() % GROUPS;
        Kill(vecGroup[nVictim]);
        vecGroup[nVictim] = Start(nVictim == GROUPS - 1, nSeed++);
    }
    for (const pid_t nGroup : vecGroup)
        Kill(nGroup);
    close(arrPipe[1]);
    judge.Read(arrPipe[0], 1 << 30);
    std::printf("kills: %d, ", nKilled);
    const bool bGood = judge.IsGood();
    if (bGood)
        std::filesystem::remove_all(szFolder);
    else
        std::printf("kept: %s\n", szFolder);
    return bGood ? 0 : 1;
}
