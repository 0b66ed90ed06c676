#include "embedded/database_wal.h"

#include "embedded/database.h"
#include "embedded/fork_gate.h"
#include "embedded/state_folder.h"

#include <endian.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <vector>

// A write-ahead log is a header of 32 octets and frames of 24 octets with a page each. The header
// names the generation of the log by two numbers, the salts, which each frame repeats: frames of an
// older generation stay behind those of the newest. A check sum runs through header and frames, so
// the log ends for SQLite at the first frame that does not continue it. Behind that frame there may
// be, in a log that nobody has damaged, the beginning of a change that was being written when its
// process died: one frame at most that is not whole, and never the frame that ends a change. A last
// frame of a change of this generation behind the end therefore tells of damage, and so does a
// whole frame that ends the file and is wrong.
//
// That alone would raise false alarms: a change that was never acknowledged, since its process was
// killed at the last moment or the disk failed, leaves such frames when a smaller one was written
// over its beginning. So SQLite's index beside the log has the last word, unless the machine was
// started since: it tells how many frames were published, and nothing is acknowledged before that.
namespace zemb {

namespace {

constexpr std::size_t HEADER_BYTES = 32;
constexpr std::size_t FRAME_HEADER_BYTES = 24;
constexpr std::uint32_t MAGIC = 0x377F0682;  // the lowest bit: check sums of big-endian words
constexpr std::uint32_t FORMAT = 3007000;
constexpr std::size_t PAGE_LEAST = 512;
constexpr std::size_t PAGE_MOST = 65536;
constexpr std::size_t INDEX_COPIES = 2;
constexpr std::size_t INDEX_HEADER_BYTES = 48;
constexpr std::size_t INDEX_FRAMES = 16;  // where they stand in it
constexpr std::size_t INDEX_SALTS = 32;
constexpr std::size_t INDEX_SUM = 40;
constexpr std::size_t COPIED_AT_ONCE = 1U << 16;

using Octets = unsigned char;
using Sum = std::array<std::uint32_t, 2>;

std::uint32_t WordAt(const Octets* pOctets) {
    std::uint32_t nWord = 0;
    std::memcpy(&nWord, pOctets, sizeof nWord);
    return be32toh(nWord);
}

// Continues a check sum over octets, eight at a time.
void Add(Sum& sum, bool bBigEndian, const Octets* pOctets, std::size_t nOctets) {
    for (std::size_t i = 0; i < nOctets; i += 8) {
        std::uint32_t arrWord[2];
        std::memcpy(arrWord, pOctets + i, sizeof arrWord);
        sum[0] += (bBigEndian ? be32toh(arrWord[0]) : le32toh(arrWord[0])) + sum[1];
        sum[1] += (bBigEndian ? be32toh(arrWord[1]) : le32toh(arrWord[1])) + sum[0];
    }
}

// The descriptor of a file that is only read here. SQLite puts no locks on a write-ahead log, so it
// may be opened and closed beside SQLite.
class WalFile {
public:
    explicit WalFile(const std::string& strFile)
        : m_nFile(open(strFile.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)) {
        struct stat status {};
        if (m_nFile != -1 && fstat(m_nFile, &status) == 0 && S_ISREG(status.st_mode))
            m_nSize = static_cast<std::uint64_t>(status.st_size);
    }
    ~WalFile() {
        if (m_nFile != -1)
            close(m_nFile);
    }
    WalFile(const WalFile&) = delete;
    WalFile& operator=(const WalFile&) = delete;

    // As long as it was when it was opened; 0 for no file.
    std::uint64_t Size() const { return m_nSize; }

    bool Read(std::uint64_t nFrom, Octets* pOctets, std::size_t nOctets) const {
        return pread(m_nFile, pOctets, nOctets, static_cast<off_t>(nFrom)) ==
               static_cast<ssize_t>(nOctets);
    }

private:
    const int m_nFile;
    std::uint64_t m_nSize = 0;
};

struct Damage {
    std::uint64_t nFrame = 0;    // the first that is not as it was written, from 1; 0: the header
    std::uint64_t nChanges = 0;  // that end behind it
};

class WalReader {
public:
    explicit WalReader(const WalFile& file) : m_file(file) {}

    // The generation in hexadecimal digits; "" when there is no header.
    std::string Generation() {
        if (!m_file.Read(0, m_arrHeader, HEADER_BYTES))
            return "";
        char szSalts[17];
        std::snprintf(szSalts, sizeof szSalts, "%08x%08x", WordAt(m_arrHeader + 16),
                      WordAt(m_arrHeader + 20));
        return szSalts;
    }

    // What frames of this generation repeat, eight octets; after Generation().
    const Octets* Salts() const { return m_arrHeader + 16; }

    // After Generation(). False for a log that ends as it may.
    bool FindDamage(Damage& damage) {
        damage = {};
        if (!IsHeaderGood())
            return m_file.Size() > HEADER_BYTES;
        std::vector<Octets> vecFrame(FRAME_HEADER_BYTES + m_nPage);
        std::uint64_t nFrame = 0;
        while (ReadFrame(nFrame, vecFrame) && Continues(vecFrame))
            ++nFrame;
        damage.nFrame = nFrame + 1;
        const std::uint64_t nFrames = (m_file.Size() - HEADER_BYTES) / vecFrame.size();
        const bool bEndsFile = m_file.Size() == HEADER_BYTES + (nFrame + 1) * vecFrame.size();
        damage.nChanges = bEndsFile && IsOfThisGeneration(nFrame) ? 1 : 0;
        for (std::uint64_t n = nFrame + 1; n < nFrames; ++n)
            if (IsOfThisGeneration(n) && WordAt(m_arrFrame + 4) != 0)
                ++damage.nChanges;
        return damage.nChanges != 0;
    }

private:
    bool IsHeaderGood() {
        m_bBigEndian = (WordAt(m_arrHeader) & 1U) != 0;
        m_nPage = WordAt(m_arrHeader + 8);
        m_sum = {};
        Add(m_sum, m_bBigEndian, m_arrHeader, 24);
        return (WordAt(m_arrHeader) & ~1U) == MAGIC && WordAt(m_arrHeader + 4) == FORMAT &&
               m_nPage >= PAGE_LEAST && m_nPage <= PAGE_MOST && (m_nPage & (m_nPage - 1)) == 0 &&
               IsSum(m_arrHeader + 24);
    }

    bool ReadFrame(std::uint64_t nFrame, std::vector<Octets>& vecFrame) const {
        return m_file.Read(HEADER_BYTES + nFrame * vecFrame.size(), vecFrame.data(),
                           vecFrame.size());
    }

    // Also moves the check sum on.
    bool Continues(const std::vector<Octets>& vecFrame) {
        if (std::memcmp(vecFrame.data() + 8, Salts(), 8) != 0 || WordAt(vecFrame.data()) == 0)
            return false;
        Add(m_sum, m_bBigEndian, vecFrame.data(), 8);
        Add(m_sum, m_bBigEndian, vecFrame.data() + FRAME_HEADER_BYTES, m_nPage);
        return IsSum(vecFrame.data() + 16);
    }

    bool IsOfThisGeneration(std::uint64_t nFrame) {
        return m_file.Read(HEADER_BYTES + nFrame * (FRAME_HEADER_BYTES + m_nPage), m_arrFrame,
                           FRAME_HEADER_BYTES) &&
               std::memcmp(m_arrFrame + 8, Salts(), 8) == 0;
    }

    bool IsSum(const Octets* pOctets) const {
        return WordAt(pOctets) == m_sum[0] && WordAt(pOctets + 4) == m_sum[1];
    }

    const WalFile& m_file;
    Octets m_arrHeader[HEADER_BYTES] = {};
    Octets m_arrFrame[FRAME_HEADER_BYTES] = {};
    bool m_bBigEndian = false;
    std::size_t m_nPage = 0;
    Sum m_sum{};
};

// Locked through a look: another thread must not begin to write what is still being copied.
struct Seen {
    std::mutex lock;
    std::map<std::string, std::string> mapGeneration;  // of each log that was looked at last
    std::map<Identity, int> mapIndex;                  // descriptors
};
PerProcess<Seen> g_seen;

// SQLite has locks on the index. The system drops them with any descriptor of the file that the
// process closes, so this one stays open; few logs ever come to be suspected.
int OpenIndex(Seen& seen, const std::string& strFile) {
    const auto [it, bNew] = seen.mapIndex.try_emplace(IdentityOf(strFile), -1);
    if (it->second == -1)
        it->second = open(strFile.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    return it->second;
}

// After a power cut the index may be older than the log. What counts is when it was written: the
// rights of a file change at any start of a service. A time to come is that of a clock that was
// wrong.
bool IsSinceTheStartOfTheMachine(const timespec& time) {
    timespec now{};
    timespec running{};
    return clock_gettime(CLOCK_REALTIME, &now) == 0 &&
           clock_gettime(CLOCK_BOOTTIME, &running) == 0 && time.tv_sec <= now.tv_sec &&
           time.tv_sec > now.tv_sec - running.tv_sec;
}

// How many frames of a generation of the log the index has published: those of one of the two
// copies of its header, the smaller number while one is being written. None where it cannot be
// known. An index of the next generation, without frames, tells that all is in the database.
std::optional<std::uint32_t> PublishedFrames(Seen& seen, const std::string& strDatabase,
                                             const Octets* pSalts) {
    Octets arrHeader[INDEX_COPIES][INDEX_HEADER_BYTES];
    const int nFile = OpenIndex(seen, strDatabase + "-shm");
    struct stat status {};
    std::optional<std::uint32_t> published;
    if (fstat(nFile, &status) != 0 || !S_ISREG(status.st_mode) ||
        !IsSinceTheStartOfTheMachine(status.st_mtim) ||
        pread(nFile, arrHeader, sizeof arrHeader, 0) != sizeof arrHeader)
        return published;
    for (const Octets(&header)[INDEX_HEADER_BYTES] : arrHeader) {
        Sum sum{};  // the index has the machine's order of octets
        Add(sum, BYTE_ORDER == BIG_ENDIAN, header, INDEX_SUM);
        std::uint32_t nVersion = 0;
        std::uint32_t nFrames = 0;
        std::memcpy(&nVersion, header, sizeof nVersion);
        std::memcpy(&nFrames, header + INDEX_FRAMES, sizeof nFrames);
        if (nVersion == FORMAT && std::memcmp(header + INDEX_SUM, sum.data(), sizeof sum) == 0 &&
            (std::memcmp(header + INDEX_SALTS, pSalts, 8) == 0 ||
             (nFrames == 0 && WordAt(header + INDEX_SALTS) == WordAt(pSalts) + 1)))
            published = std::min(nFrames, published.value_or(nFrames));
    }
    return published;
}

std::string CopyName(const std::string& strDatabase) {
    return strDatabase + ".damaged-wal-";
}

void Copy(const WalFile& file, int nTarget, const std::string& strTarget) {
    std::vector<Octets> vecPart(COPIED_AT_ONCE);
    for (std::uint64_t nAt = 0; nAt < file.Size();) {
        const std::size_t nPart =
            static_cast<std::size_t>(std::min<std::uint64_t>(vecPart.size(), file.Size() - nAt));
        errno = EIO;
        if (!file.Read(nAt, vecPart.data(), nPart) ||
            write(nTarget, vecPart.data(), nPart) != static_cast<ssize_t>(nPart))
            throw std::system_error(errno, std::generic_category(), strTarget);
        nAt += nPart;
    }
}

bool HasSameContent(const WalFile& file, const WalFile& other) {
    if (file.Size() != other.Size())
        return false;
    std::vector<Octets> vecPart(COPIED_AT_ONCE);
    std::vector<Octets> vecOther(COPIED_AT_ONCE);
    for (std::uint64_t nAt = 0; nAt < file.Size(); nAt += COPIED_AT_ONCE) {
        const std::size_t nPart =
            static_cast<std::size_t>(std::min<std::uint64_t>(COPIED_AT_ONCE, file.Size() - nAt));
        if (!file.Read(nAt, vecPart.data(), nPart) || !other.Read(nAt, vecOther.data(), nPart) ||
            std::memcmp(vecPart.data(), vecOther.data(), nPart) != 0)
            return false;
    }
    return true;
}

// Keeps a log under the first name that is free, and returns it; "" when it is kept already.
std::string Keep(const WalFile& file, const std::string& strName) {
    for (int n = 1;; ++n) {
        std::string strCopy = n == 1 ? strName : strName + "-" + std::to_string(n);
        if (PlaceNewFile(strCopy, [&](int nTarget) { Copy(file, nTarget, strCopy); }))
            return strCopy;
        if (HasSameContent(file, WalFile(strCopy)))
            return "";
    }
}

std::string NoticeOf(const std::string& strFile, const Damage& damage, const std::string& strCopy) {
    return strFile + "-wal is damaged at " +
           (damage.nFrame == 0 ? "its beginning" : "frame " + std::to_string(damage.nFrame)) +
           (damage.nChanges == 0 ? ""
                                 : ": " + std::to_string(damage.nChanges) + " changes behind") +
           "; it is kept as " + strCopy;
}

// Two looks that find the same, in the same generation: a process may have written what the first
// one met half done, or have begun a new generation, whose header is written before its frames. The
// index is read between them, since nothing is published before it stands in the log. It says
// nothing of a header, which is written at once.
bool FindDamage(WalReader& reader, Seen& seen, const std::string& strFile, Damage& damage) {
    Damage first;
    const std::string strGeneration = reader.Generation();
    if (!reader.FindDamage(first))
        return false;
    const std::optional<std::uint32_t> published = PublishedFrames(seen, strFile, reader.Salts());
    return reader.FindDamage(damage) && damage.nFrame == first.nFrame &&
           (damage.nFrame == 0 || !published.has_value() || *published >= damage.nFrame) &&
           reader.Generation() == strGeneration;
}

}  // namespace

bool IsDamagedWalOf(const std::string& strDatabase, const std::string& strName) {
    const std::string strBegin = CopyName(strDatabase.substr(strDatabase.find_last_of('/') + 1));
    return strName.compare(0, strBegin.size(), strBegin) == 0;
}

std::string KeepDamagedWal(const std::string& strFile) {
    const WalFile file(strFile + "-wal");
    if (file.Size() == 0)
        return "";
    WalReader reader(file);
    const std::string strGeneration = reader.Generation();
    Seen& seen = g_seen.Get();
    const std::lock_guard<std::mutex> guard(seen.lock);
    std::string& strSeen = seen.mapGeneration[strFile];
    if (strGeneration.empty() || strSeen == strGeneration)
        return "";
    Damage damage;
    std::string strCopy;
    if (FindDamage(reader, seen, strFile, damage))
        strCopy = Keep(file, CopyName(strFile) + strGeneration);
    strSeen = strGeneration;
    return strCopy.empty() ? "" : NoticeOf(strFile, damage, strCopy);
}

void ForgetWal(const std::string& strFile) noexcept {
    Seen& seen = g_seen.Get();
    const std::lock_guard<std::mutex> guard(seen.lock);
    seen.mapGeneration.erase(strFile);
}

}  // namespace zemb
