#include "command.h"
#include "view/record.h"
#include "view/texts.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

// Identifiers, numbers, addresses and lists in all their forms, by the library's own readers. These
// take more than they can keep, so each text is compared with what it was read as, and a loss is
// told.
namespace host {

namespace {

constexpr unsigned long IDENTIFIER_END = 1UL << 32;

// A number without sign, leading zeros and prefix, in lower case.
std::string Bare(std::string strText) {
    strText = NSTN_util::StrToLower(NSTN_util::Trim(strText));
    const bool bSign = !strText.empty() && (strText.front() == '-' || strText.front() == '+');
    strText.erase(0, bSign ? 1 : 0);
    strText.erase(0, strText.compare(0, 2, "0x") == 0 ? 2 : 0);
    strText.erase(0, std::min(strText.find_first_not_of('0'), strText.size() - 1));
    return strText;
}

bool IsHexText(const std::string& strText) {
    return NSTN_util::StrToLower(strText.substr(0, 2)) == "0x";
}

// Whether a text says exactly that number.
bool Says(const std::string& strText, unsigned long nSize, bool bMinus) {
    const std::string strWritten = IsHexText(strText) ? NSTN_util::ConvertHEXToStr(nSize, true)
                                                      : NSTN_util::ConvertULONGToStr(nSize, true);
    const bool bSaysMinus = !strText.empty() && strText.front() == '-';
    return Bare(strText) == strWritten && (bSaysMinus == bMinus || nSize == 0);
}

void ShowIdentifier(const Session& session, const std::string& strText) {
    unsigned long id = 0;
    if (!NSTN_util::TEStr2NEID(strText.c_str(), id))
        throw CommandError(ANSWER_NO, "'" + strText +
                                          "' is no NE identifier; expected such as 5-3, 327683 or "
                                          "0x50003");
    const std::string strWritten = NSTN_util::TENEID2Str(id);
    const std::size_t nDash = strText.find('-');
    const bool bWhole =
        nDash == std::string::npos
            ? id < IDENTIFIER_END && Says(strText, id, false)
            : Bare(strText.substr(0, nDash)) + "-" + Bare(strText.substr(nDash + 1)) == strWritten;
    if (!bWhole)
        WarnOfLoss(strText, strWritten);
    session.out.Put(strWritten + "  " + NSTN_util::ConvertULONGToStr(id, true) + "  " + Hex(id),
                    RecordOf({{"neid", strWritten}, {"number", id}, {"hex", Hex(id)}}));
}

void ShowNumber(const Session& session, const std::string& strText) {
    const long long nValue = NSTN_util::HexDecStr2LongLong(strText);
    const auto nSize =
        nValue < 0 ? 0 - static_cast<unsigned long>(nValue) : static_cast<unsigned long>(nValue);
    const std::string strDecimal = NSTN_util::ConvertLONGToStr(static_cast<long>(nValue), true);
    if (!Says(strText, nSize, nValue < 0)) {
        if (nValue == 0 && Bare(strText) != "0")
            throw CommandError(ANSWER_NO, "'" + strText + "' is no number; it would be read as 0");
        WarnOfLoss(strText, strDecimal);
    }
    const std::string strHex = NSTN_util::IntToStr(static_cast<long>(nValue), true);
    session.out.Put(strDecimal + "  " + strHex, RecordOf({{"number", nValue}, {"hex", strHex}}));
}

std::uint32_t ReadAddressOrNumber(const std::string& strText) {
    unsigned long ip = 0;
    if (strText.find('.') != std::string::npos) {
        if (!NSTN_util::TEStr2Ip(strText.c_str(), ip))
            throw CommandError(ANSWER_NO, "'" + strText +
                                              "' is no IPv4 address; expected four numbers below "
                                              "256, such as 10.0.0.1");
        return static_cast<std::uint32_t>(ip);
    }
    const unsigned nValue = NSTN_util::HexDecStr2UInt(strText);
    if (nValue == 0 && Bare(strText) != "0")
        throw CommandError(ANSWER_NO, "'" + strText + "' is neither an IPv4 address nor a number");
    if (!Says(strText, nValue, false))
        WarnOfLoss(strText, NSTN_util::UInt2String(nValue));
    return nValue;
}

void ShowAddress(const Session& session, const std::string& strText) {
    const std::uint32_t ip = ReadAddressOrNumber(strText);
    const std::string strDotted = NSTN_util::IPInt2String(static_cast<int>(ip));
    session.out.Put((strDotted.empty() ? "no address" : strDotted) + "  " +
                        NSTN_util::UInt2String(ip) + "  " + Hex(ip),
                    RecordOf({{"ip", strDotted}, {"number", ip}, {"hex", Hex(ip)}}));
}

struct ListArguments {
    Texts texts;
    std::string strTo;
    bool bSort = false;
};

// Numbers too large for an int are cut to 32 bits by every list reader.
void WarnOfCutNumbers(const std::string& strText) {
    std::size_t nStart = 0;
    while ((nStart = strText.find_first_of("0123456789", nStart)) != std::string::npos) {
        const std::size_t nEnd =
            std::min(strText.find_first_not_of("0123456789", nStart), strText.size());
        const std::string strNumber = strText.substr(nStart, nEnd - nStart);
        int nValue = 0;
        NSTN_util::StrToInt(strNumber, nValue, 10);
        if (nValue < 0 || Bare(strNumber) != NSTN_util::Int2String(nValue))
            WarnOfLoss(strNumber, NSTN_util::Int2String(nValue));
        nStart = nEnd;
    }
}

Json::Value Numbers(const std::vector<int>& vec) {
    Json::Value array(Json::arrayValue);
    for (const int nValue : vec)
        array.append(nValue);
    return array;
}

std::vector<int> ReadNumbers(const std::string& strText, bool bSort) {
    const bool bAmpersand = strText.find('&') != std::string::npos;
    std::vector<int> vec;
    if (!(bAmpersand ? NSTN_util::TEStr2Vec(CStdString(strText), vec)
                     : NSTN_util::StrToNumList(CStdString(strText), vec)))
        throw CommandError(ANSWER_NO, "'" + strText + "': bad " +
                                          (bAmpersand ? "ampersand list" : "list") + " behind " +
                                          Counted(vec.size(), "number"));
    WarnOfCutNumbers(strText);
    if (bSort)
        std::sort(vec.begin(), vec.end());
    return vec;
}

// The plain list goes out piece by piece: a span of a few characters can be gigabytes of it.
void PutPlain(const Output& out, const std::vector<int>& vec) {
    constexpr std::size_t PIECE = 1U << 16;
    CStdString strPiece;
    for (std::size_t i = 0; i < vec.size(); i += PIECE) {
        const auto itFirst = vec.begin() + static_cast<std::ptrdiff_t>(i);
        const auto nPiece = static_cast<std::ptrdiff_t>(std::min(PIECE, vec.size() - i));
        NSTN_util::NumListToStr({itFirst, itFirst + nPiece}, strPiece);
        out.PutPart((i == 0 ? "" : ",") + strPiece);
    }
}

void ShowList(const Session& session, const ListArguments& args, const std::string& strText) {
    const Output& out = session.out;
    const std::vector<int> vec = ReadNumbers(strText, args.bSort);
    CStdString strSpan;
    CStdString strAmpersand;
    NSTN_util::NumListToStr2(vec, strSpan);
    NSTN_util::TEVec2Str(vec, strAmpersand);
    if (out.IsJson()) {
        out.PutPart("{\"ampersand\":\"" + strAmpersand + "\",\"numbers\":[");
        PutPlain(out, vec);
        out.PutPart("],\"plain\":\"");
        PutPlain(out, vec);
        out.PutPart("\",\"span\":\"" + strSpan + "\"}");
    } else if (args.strTo.empty()) {
        out.PutPart(Counted(vec.size(), "number") + "\n  plain      ");
        PutPlain(out, vec);
        out.PutPart("\n  span       " + strSpan + "\n  ampersand  " + strAmpersand);
    } else if (args.strTo == "plain") {
        PutPlain(out, vec);
    } else {
        out.PutPart(args.strTo == "span" ? strSpan : strAmpersand);
    }
    out.EndLine();
}

void ShowOid(const Session& session, const std::string& strText) {
    std::vector<int> vec;
    if (!NSTN_util::StrOIDToVec(strText, vec))
        throw CommandError(ANSWER_NO, "'" + strText + "' is no OID; expected such as 1,3,6-8");
    WarnOfCutNumbers(strText);
    std::string strCompressed;
    NSTN_util::CompOID2Str(vec, strCompressed);
    session.out.Put(strCompressed + "  (" + Counted(vec.size(), "number") + ")",
                    RecordOf({{"numbers", Numbers(vec)}, {"oid", strCompressed}}));
}

using ShowOne = void (*)(const Session&, const std::string&);

Runner DefineConverting(CLI::App& app, const std::string& strWhat, ShowOne show) {
    const auto pTexts = std::make_shared<Texts>();
    pTexts->Define(app, strWhat);
    return [pTexts, show](Session& session) {
        return pTexts->Each([&](const std::string& strText) { show(session, strText); });
    };
}

}  // namespace

Runner DefineNeId(CLI::App& app) {
    return DefineConverting(app, "an NE identifier: 5-3, 327683 or 0x50003", ShowIdentifier);
}

Runner DefineNum(CLI::App& app) {
    return DefineConverting(app, "a number, decimal or hexadecimal behind 0x", ShowNumber);
}

Runner DefineIp(CLI::App& app) {
    return DefineConverting(app, "an IPv4 address, dotted or as a number", ShowAddress);
}

Runner DefineOid(CLI::App& app) {
    return DefineConverting(app, "an OID: numbers and runs separated by commas", ShowOid);
}

Runner DefineList(CLI::App& app) {
    const auto pArgs = std::make_shared<ListArguments>();
    pArgs->texts.Define(app, "a list of numbers: 1,2,3 or 1-3,7 or 1&&3&7");
    app.add_option("--to", pArgs->strTo, "print only this notation: plain, span or ampersand")
        ->check(CLI::IsMember({"plain", "span", "ampersand"}));
    app.add_flag("--sort", pArgs->bSort, "sort the numbers first");
    return [pArgs](Session& session) {
        return pArgs->texts.Each(
            [&](const std::string& strText) { ShowList(session, *pArgs, strText); });
    };
}

}  // namespace host
