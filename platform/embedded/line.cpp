#include "zemb/settings.h"

#include "base/cancel_hold.h"
#include "base/item_line.h"
#include "base/utf8.h"
#include "embedded/fault_point.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

// Cuts to what the buffer holds; a UTF-8 character that does not fit whole is left out.
void Store(std::string_view strText, char* szBuffer) {
    std::size_t nLength = std::min(strText.size(), ZEMB_LINE_BUFFER - 1);
    if (nLength < strText.size())
        for (int i = 0; i < 3 && nLength > 0 && base::IsContinuation(strText[nLength]); ++i)
            --nLength;
    strText.copy(szBuffer, nLength);
    szBuffer[nLength] = '\0';
}

}  // namespace

int ZembGetLine(char* szKey, char* szText, std::FILE* pFile) {
    const base::CancelHold hold;
    if (szKey == nullptr || szText == nullptr || pFile == nullptr)
        return -1;
    szKey[0] = '\0';
    szText[0] = '\0';
    if (zemb::IsFaultyNoThrow("ZembGetLine"))
        return -1;
    char* pRead = nullptr;
    std::size_t nRoom = 0;
    const ssize_t nRead = getline(&pRead, &nRoom, pFile);
    const std::unique_ptr<char, decltype(&std::free)> line(pRead, &std::free);
    if (nRead < 0)
        return std::feof(pFile) != 0 ? 0 : -1;
    const base::ItemLine item = base::ReadItemLine({line.get(), static_cast<std::size_t>(nRead)});
    if (item.eKind != base::EItemLine::ITEM)
        return 2;
    Store(item.strKey, szKey);
    Store(item.strValue, szText);
    return 1;
}
