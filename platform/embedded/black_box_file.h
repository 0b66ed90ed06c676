#pragma once

#include "embedded/black_box_format.h"

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zemb {

// Where the parts of a box stand in it.
class BoxLayout {
public:
    // With the capacities that the root's settings name, or the usual ones.
    static BoxLayout OfSettings();

    std::uint32_t Records(box::EPart ePart) const { return m_arrPart[ePart].nRecords; }
    std::uint64_t Offset(box::EPart ePart) const { return m_arrPart[ePart].nOffset; }
    std::uint64_t Bytes() const { return m_nBytes; }
    const std::array<box::PartPlace, box::PARTS>& Parts() const { return m_arrPart; }

private:
    explicit BoxLayout(const std::array<std::uint32_t, box::PARTS>& arrRecords);

    std::array<box::PartPlace, box::PARTS> m_arrPart{};
    std::uint64_t m_nBytes = box::HEADER_BYTES;
};

// The folder of the boxes under the state folder; "" without one.
std::string BoxFolder();

// The file of a box and its place in memory, which stays the same for all boxes of a process and is
// never given back.
class BoxFile {
public:
    // Makes the file, with all its room on the disk, and maps it. Old boxes give way: of processes
    // that are gone the last 16 stay, and the last 16 of those that have, as nParent says, a parent
    // with a box. Throws std::system_error.
    void Make(const BoxLayout& layout, const std::string& strProgram, std::uint32_t nParent);
    // From now on readers know it.
    void Complete() noexcept;
    char* Memory() const { return m_pMemory; }
    // Deletes the file. The memory goes on without it.
    void TakeAway() noexcept;
    // The same, but the file stays: it is that of the process above this one. False when the memory
    // is still that of the file.
    [[nodiscard]] bool Leave() noexcept;

private:
    std::string m_strFile;
    dev_t m_nDevice = 0;
    ino_t m_nInode = 0;
    char* m_pMemory = nullptr;
    std::size_t m_nBytes = 0;
};

}  // namespace zemb
