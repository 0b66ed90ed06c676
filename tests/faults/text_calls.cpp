#include "tests/faults/calls.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"
#include "tovelkarin/tntrace.h"
#include "tovelkarin/tntraceif.h"

#include "zemb/asn.h"

#include <ctime>

namespace faults {

namespace {

using namespace NSTN_util;
using Numbers = std::vector<int>;

// Long enough for memory of its own.
const std::string LONG_TEXT = "a text that has no room in the object itself";
const std::string LONG_LIST = "1-3,7,12-14,100,200,300,400,500";
const char* const LONG_NE = "70000-3";

std::tm Parts() {
    std::tm parts{};
    parts.tm_year = 126;
    parts.tm_mon = 2;
    parts.tm_mday = 1;
    return parts;
}

// fn changes its argument, a copy of strText.
template <class Fn>
std::string Changed(std::string strText, Fn fn) {
    fn(strText);
    return strText;
}

template <class Text, class Fn>
std::string ListOf(const Text& text, Fn fn) {
    Numbers vec;
    const bool bGood = fn(text, vec);
    return Show(bGood, vec);
}

template <class Text = std::string, class Fn>
std::string TextOf(Fn fn) {
    Text strOut;
    const Numbers vec = {1, 2, 3, 7, 12, 13, 14, 100, 200, 300, 400, 500};
    fn(vec, strOut);
    return strOut;
}

// Every form that takes arguments: one, two, and so on.
template <class... Arguments>
void TraceForms(std::string& strOut, Arguments... arguments) {
    TNTrace2Str(5120, strOut, std::string("% of % in %"), arguments...);
    TNTrace2Str(5120, strOut, "% of % in %", arguments...);
    if constexpr (sizeof...(Arguments) < 15)
        TraceForms(strOut, arguments..., LONG_TEXT);
}

std::vector<Call> TraceCalls() {
    return {
        {"TNTrace2Str",
         [] {
             std::string strOut;
             TNTrace2Str(5120, strOut, LONG_TEXT);
             TNTrace2Str(5120, strOut, std::string(LONG_TEXT));
             TraceForms(strOut, 2.5);
             return strOut;
         }},
        {"TNString", [] { return TNString(LONG_TEXT).Text() + TNString(-1.5).Text(); }},
        {"TNTrace2LogFile", [] { return TNTrace2LogFile("faults", 1, LONG_TEXT), ""; }},
        {"TNAssert2LogFile",
         [] { return TNAssert2LogFile("faults", LONG_TEXT, 17, LONG_TEXT), ""; }},
        {"TruncateStr",
         [] { return Changed(LONG_TEXT, [](std::string& str) { TruncateStr(str, 20); }); }},
        {"AdvAsnTrace", [] { return Show(AdvAsnTrace(nullptr, 1, 0)); }},
        {"AdvAsnTrace of a value",
         [] {
             RefreshAdvAsnTraceSwitch(3);
             const AsnText value(LONG_TEXT, "TText");
             return Show(AdvAsnTrace(&value, 3, 0), AdvAsnTrace(&value, 1, 1));
         }},
        {"IsExplicityTrace", [] { return Show(IsExplicityTrace()); }},
    };
}

std::vector<Call> NumberCalls() {
    return {
        {"Int2String", [] { return Int2String(-1234567890); }},
        {"UInt2String", [] { return UInt2String(1234567890); }},
        {"Double2String", [] { return Double2String(1e300); }},
        {"HexDecStr2UInt", [] { return Show(HexDecStr2UInt("0x7F"), HexDecStr2Int("12")); }},
        {"HexDecStr2Long", [] { return Show(HexDecStr2Long(LONG_TEXT), HexDecStr2LongLong("5")); }},
        {"HexDecStr2Double", [] { return Show(HexDecStr2Double("1.5"), HexDecStr2TimeT("7")); }},
        {"isHexDecStr",
         [] { return Show(isHexDecStr("0xAB"), isHexDecChar(16, 'a'), XDigitCharToInt('f')); }},
        {"IPString2Int", [] { return Show(IPString2Int("10.20.30.40"), IPInt2String(169090600)); }},
        {"MakeTopoLinkID", [] { return MakeTopoLinkID(123456789, 987654321); }},
        {"ConvertULONGToStr", [] { return ConvertULONGToStr(~0UL, true); }},
        {"ConvertLONGToStr", [] { return ConvertLONGToStr(-1234567890123456789, true); }},
        {"ConvertHEXToStr", [] { return ConvertHEXToStr(~0UL, false); }},
        {"IntToStr", [] { return IntToStr(1234567890123456789, true); }},
        {"Num2Str", [] { return Num2Str(-17); }},
        {"StrToInt",
         [] {
             int nOut = 0;
             return Show(StrToInt(CStdString("123"), nOut, 10), nOut);
         }},
        {"TEStr2NEID",
         [] {
             unsigned long nId = 0;
             return Show(TEStr2NEID(LONG_NE, nId), TENEID2Str(nId));
         }},
        {"TEVecStr2NEID",
         [] {
             std::vector<CStdString> vecText = {"5-3", "1-7", "9-9"};
             std::vector<unsigned long> vecId;
             return Show(TEVecStr2NEID(vecText, vecId), vecId);
         }},
        {"TEStr2Ip",
         [] {
             unsigned long nIp = 0;
             return Show(TEStr2Ip("10.20.30.40", nIp), nIp);
         }},
    };
}

std::vector<Call> ListCalls() {
    return {
        {"StrToNumList",
         [] {
             const auto Read = [](const auto& text, Numbers& vec) {
                 return StrToNumList(text, vec);
             };
             return ListOf(LONG_LIST, Read) + ListOf(LONG_LIST.c_str(), Read) +
                    ListOf(CStdString(LONG_LIST), Read);
         }},
        {"StrOIDToVec", [] { return ListOf(std::string("1,3,6,7,8"), StrOIDToVec); }},
        {"NumListToStr",
         [] {
             const auto Write = [](const Numbers& vec, auto& strOut) { NumListToStr(vec, strOut); };
             std::string strOut;
             NumListToStr(std::list<int>{1, 2, 3, 100, 200, 300, 400, 500}, strOut);
             return strOut + TextOf(Write) + TextOf<CStdString>(Write);
         }},
        {"NumListToStr2",
         [] {
             return TextOf<CStdString>(NumListToStr2) + TextOf(NumListToRawStr) +
                    TextOf([](Numbers vec, std::string& strOut) { CompOID2Str(vec, strOut); });
         }},
        {"TEVec2Str",
         [] {
             const auto Write = [](const Numbers& vec, auto& strOut) { TEVec2Str(vec, strOut); };
             return TextOf(Write) + TextOf<CStdString>(Write);
         }},
        {"TEStr2Vec",
         [] {
             return ListOf("1&&3&7", [](const char* szText, Numbers& vec) {
                 return TEStr2Vec(szText, vec) && TEStr2Vec(CStdString(szText), vec);
             });
         }},
        {"TEStr2StrVec",
         [] {
             std::vector<std::string> vecPart;
             TEStr2StrVec("one part that is long enough&another one of the kind", vecPart);
             return Show(vecPart);
         }},
        {"GetSpan",
         [] {
             int nFirst = 0;
             int nLast = 0;
             return Show(GetSpan(CStdString("3-17"), nFirst, nLast), nFirst, nLast);
         }},
        {"TERela2WaySort",
         [] {
             Numbers vecA = {3, 1, 2};
             Numbers vecB = {30, 10, 20};
             Numbers vecC = {300, 100, 200};
             TERela2WaySort(vecA, vecB, 0);
             TERela3WaySort(vecA, vecB, vecC, 1);
             return Show(vecA, vecB, vecC);
         }},
    };
}

std::vector<Call> PieceCalls() {
    return {
        {"SplitStrBySeparator",
         [] {
             std::string strLeft;
             std::string strRight;
             const bool bFound = SplitStrBySeparator(LONG_TEXT, "has", strLeft, strRight);
             return Show(bFound, strLeft, strRight);
         }},
        {"GetWordFromLine",
         [] {
             CStdString strWord;
             return Show(GetWordFromLine(LONG_TEXT, 0, CStdString("z"), strWord), strWord);
         }},
        {"TEStrTrim",
         [] { return Changed(LONG_TEXT, [](std::string& str) { TEStrTrim(str, true); }); }},
        {"TEStrSubStr2DateTime",
         [] {
             unsigned nIndex = 0;
             std::tm parts{};
             std::string strField = "2026";
             return Show(TEStrSubStr2DateTime(nIndex, parts, strField), nIndex, parts.tm_year);
         }},
        {"Str16ToStrChar",
         [] {
             CStdString strOut;
             return Show(Str16ToStrChar(CStdString("4142434445464748494A4B4C4D4E4F5051"), strOut),
                         strOut);
         }},
        {"Trim", [] { return Trim(LONG_TEXT) + LTrim(LONG_TEXT) + RTrim(LONG_TEXT); }},
        {"StrToUpper", [] { return StrToUpper(LONG_TEXT) + StrToLower(LONG_TEXT); }},
        {"IsNameMeetingRequire", [] { return Show(IsNameMeetingRequire(LONG_TEXT, "*room*?")); }},
        {"InsertTransferChar",
         [] {
             return Changed(LONG_TEXT, [](std::string& str) { InsertTransferChar(str, 'o', '!'); });
         }},
        {"GetCStrFromAsnOcts",
         [] {
             const AsnOcts octets(LONG_TEXT);
             return Show(GetCStrFromAsnOcts(octets), GetCStrFromAsnOcts(&octets));
         }},
        {"AppendRes",
         [] {
             std::string strResult = "begin ";
             return Show(AppendRes("NO_SUCH_KEY_IN_ANY_FILE_OF_THE_ROOT", 1, strResult),
                         AppendResAndTrimAChar("NO_SUCH_KEY_IN_ANY_FILE_OF_THE_ROOT", 2, strResult),
                         strResult);
         }},
        {"TransWildcardForSql",
         [] {
             std::string strText = LONG_TEXT;
             TransWildcardForSql("t", "ttt", strText);
             TransWildcardForSqlNotRepeat("h", "hh", strText);
             TransTwoWildcardForSql("a", "bb", "e", "ff", strText);
             return strText;
         }},
        {"TransWildcardForSqlLikeNotRepeat",
         [] {
             std::string strText = LONG_TEXT + "'%_*";
             TransWildcardForSqlSingleQuotes(strText);
             TransWildcardForSqlLikeNotRepeat(strText, true, true);
             TransWildcardForSqlLikeNotRepeatEx(strText, true, true);
             return strText;
         }},
    };
}

std::vector<Call> TimeCalls() {
    return {
        {"GetCurUtcTime", [] { return Show(GetCurUtcTime() > 0, GetCurTmTime().tm_year > 100); }},
        {"GetCurrTimeStr", [] { return Show(GetCurrTimeStr().size()); }},
        {"Local2UTC", [] { return Show(Local2UTC(Parts()), Local2UTCSTR(Parts())); }},
        {"UTC2Local", [] { return Show(UTC2Local(1772352000).tm_year); }},
    };
}

}  // namespace

std::vector<Call> TextCalls() {
    std::vector<Call> vecCall;
    for (const auto& Calls : {TraceCalls, NumberCalls, ListCalls, PieceCalls, TimeCalls})
        for (Call& call : Calls())
            vecCall.push_back(std::move(call));
    return vecCall;
}

}  // namespace faults
