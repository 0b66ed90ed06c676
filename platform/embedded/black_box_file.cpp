#include "embedded/black_box_file.h"

#include "base/root_files.h"
#include "embedded/descriptor.h"
#include "embedded/item_line.h"
#include "embedded/process_mark.h"
#include "embedded/state_folder.h"
#include "zemb/black_box.h"
#include "zemb/clock.h"
#include "zemb/paths.h"
#include "zemb/settings.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

// The file of the black box. All its room is taken from the disk when it is made, so that a full
// disk is met there and never by a store into the mapping. The file is made under its own name and
// never through a link; its magic is written last, so that nobody reads it half made.
namespace zemb {

namespace {

constexpr std::size_t BOXES_KEPT = 16;

struct Capacity {
    box::EPart ePart;
    std::uint32_t nBytes;
    std::uint32_t nUsual;
    const char* szKey;  // null: no setting
};
constexpr Capacity CAPACITIES[box::PARTS] = {
    {box::FACTS, sizeof(box::Fact), 64, nullptr},
    {box::THREADS, sizeof(box::Thread), 1024, base::KEY_BOX_THREADS},
    {box::HELD, sizeof(box::Held), 16384, base::KEY_BOX_HELD},
    {box::TRAILS, sizeof(box::Held), 1024, nullptr},
    {box::TASKS, sizeof(box::Task), 4096, base::KEY_BOX_TASKS},
    {box::ERRORS, sizeof(box::Error), 64, nullptr},
    {box::EVENTS, sizeof(box::Event), 16384, base::KEY_BOX_EVENTS},
    {box::OTHER_EVENTS, sizeof(box::Event), 2048, nullptr},
};

std::uint32_t CapacityOf(const Capacity& capacity) {
    if (capacity.szKey == nullptr)
        return capacity.nUsual;
    return NumberUnderRoot(capacity.szKey, capacity.nUsual, 2, box::RECORDS_MOST);
}

// A box that a process of this number left gets another name. Even the same process may have left
// it, when it began another program: then its start would speak for the old box.
void PutAside(const std::string& strFile) {
    {
        const Descriptor file(
            open(strFile.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        const std::uint64_t nGone = 0;
        if (file.Get() != -1 && pwrite(file.Get(), &nGone, sizeof nGone,
                                       offsetof(box::Header, nStartTicks)) != sizeof nGone)
            return;
    }
    const std::string strStem = strFile.substr(0, strFile.rfind('.'));
    for (int n = 1; n <= 1000; ++n)
        if (renameat2(AT_FDCWD, strFile.c_str(), AT_FDCWD,
                      (strStem + "." + std::to_string(n) + ".box").c_str(),
                      RENAME_NOREPLACE) == 0 ||
            errno != EEXIST)
            return;
}

int OpenNew(const std::string& strFile) {
    constexpr int FLAGS = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    int nFile = open(strFile.c_str(), FLAGS, STATE_FILE_MODE);
    if (nFile == -1 && errno == EEXIST) {
        PutAside(strFile);
        nFile = open(strFile.c_str(), FLAGS, STATE_FILE_MODE);
    }
    if (nFile == -1)
        FailOn(strFile, errno);
    return nFile;
}

// A path that means the same to readers who stand in another folder.
std::string Whole(const std::string& strPath) {
    return strPath.empty() ? "" : std::filesystem::absolute(strPath).string();
}

void Fill(box::Header& header, const BoxLayout& layout, const std::string& strProgram,
          std::uint32_t nParent) {
    header.nVersion = box::VERSION;
    header.nByteOrder = box::BYTE_ORDER_MARK;
    header.nFileBytes = layout.Bytes();
    std::copy(layout.Parts().begin(), layout.Parts().end(), header.arrPart);
    header.nProcess = static_cast<std::uint32_t>(getpid());
    EProcess eState{};
    header.nStartTicks = StartTicksOf(header.nProcess, eState);
    header.nBegun = NowMicroseconds();
    header.nCounters = static_cast<std::uint32_t>(ELiveCounter::COUNT);
    for (std::uint32_t i = 0; i < header.nCounters; ++i)
        std::strncpy(header.szCounter[i], LiveCounterName(static_cast<ELiveCounter>(i)),
                     sizeof header.szCounter[i] - 1);
    std::strncpy(header.szBoot, BootOfSystem().c_str(), sizeof header.szBoot - 1);
    std::strncpy(header.szProgram, strProgram.c_str(), sizeof header.szProgram - 1);
    std::strncpy(header.szRoot, Whole(RootPath()).c_str(), sizeof header.szRoot - 1);
    std::strncpy(header.szState, Whole(GetStatePath()).c_str(), sizeof header.szState - 1);
    header.nParent = nParent;
}

// Whether a box that cannot be read has the name of a process that is not there.
bool IsOfNobody(const std::string& strFile) {
    EProcess eState{};
    const std::string strName = std::filesystem::path(strFile).filename().string();
    StartTicksOf(static_cast<std::uint32_t>(std::strtoul(strName.c_str(), nullptr, 10)), eState);
    return eState == EProcess::GONE;
}

// Of those of child processes as many stay as of others, so that many short children push out no
// server's.
void DeleteOld() {
    std::vector<std::pair<std::int64_t, std::string>> arrGone[2];
    for (const BoxSummary& box : ListBlackBoxes(GetStatePath()))
        if (box.strError.empty() ? box.eState == EBoxState::DIED : IsOfNobody(box.strFile))
            arrGone[box.nParent == 0 ? 0 : 1].emplace_back(box.nBegun, box.strFile);
    for (auto& vecGone : arrGone) {
        std::sort(vecGone.begin(), vecGone.end());
        for (std::size_t i = 0; i + BOXES_KEPT < vecGone.size(); ++i)
            unlink(vecGone[i].second.c_str());
    }
}

}  // namespace

BoxLayout::BoxLayout(const std::array<std::uint32_t, box::PARTS>& arrRecords) {
    for (const Capacity& capacity : CAPACITIES) {
        const std::uint32_t nRecords = arrRecords[capacity.ePart];
        m_arrPart[capacity.ePart] = {m_nBytes, capacity.nBytes, nRecords};
        constexpr std::uint64_t PAGE = 4096;
        m_nBytes += (std::uint64_t{capacity.nBytes} * nRecords + PAGE - 1) / PAGE * PAGE;
    }
}

BoxLayout BoxLayout::OfSettings() {
    std::array<std::uint32_t, box::PARTS> arrRecords{};
    for (const Capacity& capacity : CAPACITIES)
        arrRecords[capacity.ePart] = CapacityOf(capacity);
    return BoxLayout(arrRecords);
}

std::string BoxFolder() {
    const std::string strState = GetStatePath();
    return strState.empty() ? "" : strState + "/run";
}

void BoxFile::Make(const BoxLayout& layout, const std::string& strProgram, std::uint32_t nParent) {
    const std::string strFile =
        std::filesystem::absolute(BoxFolder()).string() + "/" + std::to_string(getpid()) + ".box";
    // Beyond this the system would end the process.
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < layout.Bytes())
        FailOn(strFile, EFBIG);
    MakeStateFolder(BoxFolder());
    DeleteOld();
    const Descriptor file(OpenNew(strFile));
    const auto Refuse = [&](int nError) {
        unlink(strFile.c_str());
        FailOn(strFile, nError);
    };
    if (const int nError = posix_fallocate(file.Get(), 0, static_cast<off_t>(layout.Bytes())))
        Refuse(nError);
    struct stat status {};
    const int nFixed = m_pMemory == nullptr ? 0 : MAP_FIXED;
    void* const pMemory = fstat(file.Get(), &status) != 0
                              ? MAP_FAILED
                              : mmap(m_pMemory, layout.Bytes(), PROT_READ | PROT_WRITE,
                                     MAP_SHARED | nFixed, file.Get(), 0);
    if (pMemory == MAP_FAILED)
        Refuse(errno);
    m_strFile = strFile;
    m_nDevice = status.st_dev;
    m_nInode = status.st_ino;
    m_nBytes = layout.Bytes();
    m_pMemory = static_cast<char*>(pMemory);
    Fill(*reinterpret_cast<box::Header*>(m_pMemory), layout, strProgram, nParent);
}

void BoxFile::Complete() noexcept {
    std::atomic_thread_fence(std::memory_order_release);
    std::memcpy(m_pMemory, box::MAGIC, sizeof box::MAGIC);
}

void BoxFile::TakeAway() noexcept {
    reinterpret_cast<box::Header*>(m_pMemory)->bEnded = 1;
    struct stat status {};
    if (lstat(m_strFile.c_str(), &status) == 0 && status.st_dev == m_nDevice &&
        status.st_ino == m_nInode)
        unlink(m_strFile.c_str());
    if (!Leave())
        m_strFile.clear();  // the memory stays that of a file that nobody finds any more
}

bool BoxFile::Leave() noexcept {
    return mmap(m_pMemory, m_nBytes, PROT_READ | PROT_WRITE,
                MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED;
}

}  // namespace zemb
