#include "tests/naive/byte_source.h"

#include "zemb/control.h"
#include "zemb/operlog.h"
#include "zemb/operlog_store.h"

#include <stdlib.h>

#include <cstring>
#include <filesystem>

namespace {

// A state folder of its own, gone at the end of the process.
struct Folder {
    Folder() {
        zemb::SetStatePath(mkdtemp(szName));
        zemb::SetOperLogSync(false);
    }
    ~Folder() { std::filesystem::remove_all(szName); }
    char szName[32] = "/tmp/tovelkarin.XXXXXX";
};

template <std::size_t SIZE>
std::string TextOf(const char (&szText)[SIZE]) {
    std::string strText(szText, SIZE);
    while (!strText.empty() && strText.back() == '\0')
        strText.pop_back();
    return strText;
}

}  // namespace

// Whatever an event brings is found again in the log.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    static const Folder folder;
    static long long nLast = 0;
    naive::ByteSource source(pData, nSize);
    ZembLogInfo info;
    info.nUserId = static_cast<int>(source.Byte() << 24 | source.Byte());
    info.nIpAddr = source.Byte() << 24 | source.Byte();
    info.nCmd = ~std::uint64_t{source.Byte()};
    info.nResult = std::uint64_t{source.Byte()} << 56;
    info.nResultKind = -static_cast<int>(source.Byte());
    const std::string strObject = source.Text(sizeof info.szObject);
    std::memcpy(info.szObject, strObject.data(), strObject.size());
    const std::string strDesc = source.Text(sizeof info.szDesc);
    std::memcpy(info.szDesc, strDesc.data(), strDesc.size());
    naive::Expect(FrameUtil::WriteOperationLog(info, 0) == FrameUtil::OPERLOG_WRITTEN, "written");
    zemb::OperLogFilter filter;
    filter.nAfterId = nLast;
    std::string strError;
    int nRows = 0;
    const bool bRead = zemb::ReadOperLog(
        filter,
        [&](const zemb::OperLogRow& row) {
            ++nRows;
            nLast = row.nId;
            naive::Expect(row.nUserId == info.nUserId && row.nIpAddr == info.nIpAddr &&
                              row.nCmd == info.nCmd && row.nResult == info.nResult &&
                              row.nResultKind == info.nResultKind,
                          "numbers");
            naive::Expect(
                row.strObject == TextOf(info.szObject) && row.strDesc == TextOf(info.szDesc),
                "texts");
            return true;
        },
        strError);
    naive::Expect(bRead && nRows == 1, "one entry: " + strError);
    return 0;
}
