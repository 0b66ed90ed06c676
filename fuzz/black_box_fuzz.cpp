#include "platform/embedded/black_box_format.h"
#include "zemb/black_box.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

// A box whose header says of its parts what the input says: 16 octets for each, then the parts.

namespace box = zemb::box;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    constexpr std::size_t PLACES = sizeof(box::PartPlace) * box::PARTS;
    if (nSize < PLACES)
        return 0;
    static const std::string s_strFile = "/tmp/black_box_fuzz." + std::to_string(getpid()) + ".box";
    std::string strBox(box::HEADER_BYTES, '\0');
    auto& header = *reinterpret_cast<box::Header*>(strBox.data());
    std::memcpy(header.szMagic, box::MAGIC, sizeof header.szMagic);
    header.nVersion = box::VERSION;
    header.nByteOrder = box::BYTE_ORDER_MARK;
    header.nFileBytes = box::HEADER_BYTES + nSize - PLACES;
    header.nCounters = pData[0];
    std::memcpy(header.arrPart, pData, PLACES);
    constexpr std::uint32_t RECORD_BYTES[] = {
        sizeof(box::Fact), sizeof(box::Thread), sizeof(box::Held),  sizeof(box::Held),
        sizeof(box::Task), sizeof(box::Error),  sizeof(box::Event), sizeof(box::Event)};
    static_assert(std::size(RECORD_BYTES) == box::PARTS);
    if (pData[1] % 8 != 0)  // mostly a layout that is read
        for (int i = 0; i < box::PARTS; ++i) {
            header.arrPart[i].nRecordBytes = RECORD_BYTES[i];
            header.arrPart[i].nRecords = header.arrPart[i].nRecords % 8 + 1;
            header.arrPart[i].nOffset = box::HEADER_BYTES + header.arrPart[i].nOffset % 512 * 8;
        }
    strBox.append(reinterpret_cast<const char*>(pData + PLACES), nSize - PLACES);
    std::FILE* const pFile = std::fopen(s_strFile.c_str(), "w");
    if (pFile == nullptr || std::fwrite(strBox.data(), 1, strBox.size(), pFile) != strBox.size() ||
        std::fclose(pFile) != 0)
        std::abort();
    zemb::BlackBox read;
    std::string strError;
    if (!zemb::ReadBlackBox(s_strFile, read, strError) && strError.empty())
        std::abort();
    std::remove(s_strFile.c_str());
    return 0;
}
