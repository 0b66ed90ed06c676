#include "tovelkarin/nml_commondataapi.h"

#include "base/number_text.h"
#include "base/plain_ip.h"
#include "base/read_number.h"
#include "base/text_search.h"
#include "base/view_of.h"
#include "text/number_list.h"
#include "tovelkarin/stringutil.h"
#include "trace/trace_line.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

// Numbers, addresses and lists as users and files write them. The general readers go by the
// interface's own rules, which take more than is ever written: from right to left, with what stands
// left of an x ignored. So each text is first tried as the plain form, digits alone, in one pass,
// and only what is anything else pays for the rules. Addresses are written from a table of all
// octets with their dots, which takes a fifth of the time of the best peer.
namespace NSTN_util {

namespace {

constexpr const char* FILE_WORD = "nml_commondataapi";
constexpr int LINE_NUM_LIST = 335;  // message text, like the one below
constexpr int LINE_OID = 350;

bool IsX(char c) {
    return c == 'x' || c == 'X';
}

// Whole numbers wrap around in the unsigned type of the same width.
template <class Number>
struct Wrapping {
    using Type = std::make_unsigned_t<Number>;
};
template <>
struct Wrapping<double> {
    using Type = double;
};

// A whole number of nothing but digits, behind "0x" or "-" or nothing, read from its beginning.
template <class Sum>
bool ReadForward(std::string_view strText, unsigned nBase, Sum& sum) {
    const bool bMinus = !strText.empty() && strText.front() == '-';
    std::size_t i = nBase == 16 ? 2 : bMinus ? 1 : 0;
    for (; i < strText.size(); ++i) {
        const unsigned nDigit = base::DigitValue(strText[i]);
        if (nDigit >= nBase)
            return false;
        sum = sum * static_cast<Sum>(nBase) + static_cast<Sum>(nDigit);
    }
    if (bMinus)
        sum = -sum;
    return true;
}

template <class Number>
Number HexDecNumber(std::string_view strText) {
    using Sum = typename Wrapping<Number>::Type;
    const unsigned nBase = base::BeginsHex(strText) ? 16 : 10;
    // Of a double the order of the additions shows in the last bits.
    if (Sum sumForward = 0; std::is_integral_v<Number> && ReadForward(strText, nBase, sumForward))
        return static_cast<Number>(sumForward);
    Sum sum = 0;
    Sum weight = 1;
    for (std::size_t i = strText.size(); i > 0; --i) {
        const char c = strText[i - 1];
        const unsigned nDigit = base::DigitValue(c);
        if (nDigit < nBase) {
            sum += static_cast<Sum>(nDigit) * weight;
            weight *= static_cast<Sum>(nBase);
        } else if (c == '-') {
            return static_cast<Number>(-sum);
        } else if (IsX(c)) {
            break;  // Deliberate: what stands to the left is ignored.
        } else {
            return 0;
        }
    }
    return static_cast<Number>(sum);
}

// The text of an octet with a "." behind it. Fast path: an address is four copies of four bytes
// (row ip_write of figures.md: a fifth of the best peer's time).
struct OctetText {
    char szText[4];
    unsigned char nLength;
};

constexpr std::array<OctetText, 256> OCTETS = [] {
    std::array<OctetText, 256> arrOctet{};
    for (unsigned i = 0; i < 256; ++i) {
        OctetText& octet = arrOctet[i];
        if (i >= 100)
            octet.szText[octet.nLength++] = static_cast<char>('0' + i / 100);
        if (i >= 10)
            octet.szText[octet.nLength++] = static_cast<char>('0' + i / 10 % 10);
        octet.szText[octet.nLength++] = static_cast<char>('0' + i % 10);
        octet.szText[octet.nLength++] = '.';
    }
    return arrOctet;
}();

std::vector<int> Sorted(std::vector<int> vec) {
    std::sort(vec.begin(), vec.end());
    return vec;
}

}  // namespace

std::string Int2String(int nValue) {
    return base::IntegerText(nValue);
}

std::string UInt2String(unsigned int nValue) {
    return base::IntegerText(nValue);
}

std::string Double2String(double dValue) {
    return base::RoundedText(dValue);
}

int XDigitCharToInt(char c) {
    const unsigned nDigit = base::DigitValue(c);
    return nDigit < 16 ? static_cast<int>(nDigit) : 0;
}

bool isHexDecChar(int nBase, char c) {
    return (nBase == 10 || nBase == 16) && base::DigitValue(c) < static_cast<unsigned>(nBase);
}

bool isHexDecStr(const std::string& strText) {
    const unsigned nBase = base::BeginsHex(strText) ? 16 : 10;
    for (std::size_t i = strText.size(); i > 0; --i) {
        if (IsX(strText[i - 1]))
            return true;
        if (base::DigitValue(strText[i - 1]) >= nBase)
            return false;
    }
    return !strText.empty();
}

unsigned HexDecStr2UInt(const std::string& strText) {
    return HexDecNumber<unsigned>(strText);
}

std::time_t HexDecStr2TimeT(const std::string& strText) {
    return HexDecNumber<std::time_t>(strText);
}

long HexDecStr2Long(const std::string& strText) {
    return HexDecStr2TimeT(strText);
}

int HexDecStr2Int(const std::string& strText) {
    return HexDecNumber<int>(strText);
}

double HexDecStr2Double(const std::string& strText) {
    return HexDecNumber<double>(strText);
}

long long HexDecStr2LongLong(const std::string& strText) {
    return HexDecNumber<long long>(strText);
}

int IPString2Int(const std::string& strText) {
    if (strText.empty())
        return -1;
    std::uint32_t ip = 0;
    if (base::ReadPlainIp(strText, ip))
        return static_cast<int>(ip);
    unsigned nShift = 24;
    std::string_view strRest = strText;
    for (std::size_t nDot = 0; nDot != std::string_view::npos; nShift = (nShift - 8) % 32) {
        nDot = strRest.find('.');
        ip |= static_cast<std::uint32_t>(base::ReadLong(strRest.substr(0, nDot), 10).nValue)
              << nShift;
        strRest.remove_prefix(nDot == std::string_view::npos ? strRest.size() : nDot + 1);
    }
    return static_cast<int>(ip);
}

std::string IPInt2String(int ip) {
    if (ip == -1)
        return "";
    char szText[16];
    char* p = szText;
    for (unsigned nShift = 32; nShift != 0;) {
        nShift -= 8;
        const OctetText& octet = OCTETS[(static_cast<std::uint32_t>(ip) >> nShift) & 0xFF];
        std::memcpy(p, octet.szText, sizeof octet.szText);
        p += octet.nLength;
    }
    return std::string(szText, static_cast<std::size_t>(p - szText) - 1);
}

std::string MakeTopoLinkID(int nFirst, int nSecond) {
    // Deliberate: nothing stands between the numbers.
    return "LTUNNELVIEW:" + base::IntegerText(nFirst) + base::IntegerText(nSecond);
}

bool SplitStrBySeparator(const std::string& strText, const std::string& strSeparator,
                         std::string& strLeft, std::string& strRight) {
    const std::size_t nAt = base::FindText(strText, strSeparator, 0);
    if (strText.empty() || strSeparator.empty() || nAt == std::string::npos)
        return false;
    std::string strBefore = Trim(strText.substr(0, nAt));
    strRight = Trim(strText.substr(nAt + strSeparator.size()));
    strLeft = std::move(strBefore);
    return true;
}

bool StrToNumList(const std::string& strText, std::vector<int>& vec) {
    if (ReadSpanList(strText, vec))
        return true;
    Report("Error: strVlanNum = %s ! file:%s,line:%d ", strText, FILE_WORD, LINE_NUM_LIST);
    return false;
}

bool StrToNumList(const char* szText, std::vector<int>& vec) {
    return StrToNumList(std::string(base::ViewOf(szText)), vec);
}

bool StrOIDToVec(const std::string& strText, std::vector<int>& vec) {
    if (ReadSpanList(strText, vec))
        return true;
    Report("Error: StrOIDToVec = %s ! file:%s,line:%d ", strText, FILE_WORD, LINE_OID);
    return false;
}

void CompOID2Str(std::vector<int>& vec, std::string& strOut) {
    WriteNumberList(vec, SPAN_LIST, strOut);
}

void NumListToStr(const std::vector<int>& vec, std::string& strOut) {
    std::vector<int> vecEach = Sorted(vec);
    vecEach.erase(std::unique(vecEach.begin(), vecEach.end()), vecEach.end());
    WriteNumberList(vecEach, SPAN_LIST, strOut);
}

void NumListToStr(const std::list<int>& listNumber, std::string& strOut) {
    WriteNumberList(Sorted({listNumber.begin(), listNumber.end()}), SPAN_LIST, strOut);
}

void NumListToRawStr(const std::vector<int>& vec, std::string& strOut) {
    WriteNumberList(vec, PLAIN_LIST, strOut);
}

}  // namespace NSTN_util
