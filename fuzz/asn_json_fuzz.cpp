#include "program/commands/asn_json.h"
#include "program/view/output.h"

#include "tests/naive/byte_source.h"
#include "zemb/asn.h"

#include <algorithm>

// A value is read from JSON, or a CommandError tells why not; each line of its text is one part.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    static const char* const PIECES[] = {
        "{",     "}",         "[",          "]",           ",",           ":", "\"",
        "\"a\"", "\"$type\"", "\"$value\"", "\"$octets\"", "\"$choice\"", "1", "-5",
        "1.5",   "true",      "null",       "\"0F\"",      "\\n",         " "};
    naive::ByteSource source(pData, nSize);
    std::string strJson;
    if (source.Below(4) == 0) {
        strJson = source.Rest();
    } else {
        while (!source.IsEmpty())
            strJson += PIECES[source.Below(static_cast<int>(std::size(PIECES)))];
    }
    try {
        const std::string strText = NSTE_util::toString(*host::ReadAsn("input", strJson));
        naive::Expect(!strText.empty() && strText.back() == '\n', "a last line feed");
        for (const char c : strText)
            naive::Expect(c == '\n' || static_cast<unsigned char>(c) >= ' ', "control character");
    } catch (const host::CommandError& error) {
        naive::Expect(error.nStatus == host::ANSWER_NO, "status");
    }
    return 0;
}
