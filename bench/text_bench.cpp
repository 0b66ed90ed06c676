#include "ratio.h"
#include "row.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/stringutil.h"
#include "tovelkarin/telangresmgr.h"

#include "zemb/control.h"
#include "zemb/time.h"

#include <absl/container/flat_hash_map.h>
#include <absl/strings/ascii.h>
#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <absl/time/time.h>
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fnmatch.h>
#include <re2/re2.h>
#include <sqlite3.h>
#include <boost/algorithm/string/replace.hpp>

#include <charconv>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace NSTN_util;
using bench::Numbers;
using bench::Row;

template <class Format>
std::string ByToChars(Format format) {
    char szText[512];
    const char* const pEnd = format(szText, szText + sizeof szText).ptr;
    return std::string(szText, static_cast<std::size_t>(pEnd - szText));
}

template <class... Args>
std::string Printed(const char* szFormat, Args... args) {
    char szText[512];
    const int nLength = std::snprintf(szText, sizeof szText, szFormat, args...);
    return std::string(szText, static_cast<std::size_t>(nLength));
}

void NumberRows() {
    static const std::vector<int> INTS = Numbers<int>();
    static const std::vector<unsigned long> LONGS = Numbers<unsigned long>();
    static std::vector<double> DOUBLES;
    static std::vector<std::string> DECIMALS;
    static std::vector<std::string> HEXES;
    for (const int n : INTS) {
        DOUBLES.push_back(n / 8.0);
        DECIMALS.push_back(std::to_string(n));
        HEXES.push_back(Printed("0x%x", n));
    }
    Row("number_to_text", "ours", [](std::size_t i) { return Int2String(INTS[i & 1023]); });
    Row("number_to_text", "to_chars", [](std::size_t i) {
        return ByToChars([&](char* p, char* e) { return std::to_chars(p, e, INTS[i & 1023]); });
    });
    Row("number_to_text", "format_int", [](std::size_t i) {
        const fmt::format_int text(INTS[i & 1023]);
        return std::string(text.data(), text.size());
    });
    Row("number_to_text", "absl", [](std::size_t i) { return absl::StrCat(INTS[i & 1023]); });
    Row("number_to_hex", "ours",
        [](std::size_t i) { return IntToStr(static_cast<long>(LONGS[i & 1023]), true); });
    Row("number_to_hex", "to_chars", [](std::size_t i) {
        return ByToChars([&](char* p, char* e) {
            p[0] = '0';
            p[1] = 'x';
            return std::to_chars(p + 2, e, LONGS[i & 1023], 16);
        });
    });
    Row("number_to_hex", "absl",
        [](std::size_t i) { return absl::StrCat("0x", absl::Hex(LONGS[i & 1023])); });
    Row("double_to_text", "ours", [](std::size_t i) { return Double2String(DOUBLES[i & 1023]); });
    Row("double_to_text", "to_chars", [](std::size_t i) {
        return ByToChars([&](char* p, char* e) {
            return std::to_chars(p, e, DOUBLES[i & 1023], std::chars_format::fixed, 0);
        });
    });
    Row("double_to_text", "snprintf",
        [](std::size_t i) { return Printed("%.0f", DOUBLES[i & 1023]); });
    Row("text_to_number", "ours", [](std::size_t i) { return HexDecStr2Int(DECIMALS[i & 1023]); });
    Row("text_to_number", "from_chars", [](std::size_t i) {
        int n = 0;
        const std::string& s = DECIMALS[i & 1023];
        std::from_chars(s.data(), s.data() + s.size(), n);
        return n;
    });
    Row("text_to_number", "absl", [](std::size_t i) {
        int n = 0;
        return absl::SimpleAtoi(DECIMALS[i & 1023], &n) ? n : 0;
    });
    Row("hex_to_number", "ours", [](std::size_t i) { return HexDecStr2UInt(HEXES[i & 1023]); });
    Row("hex_to_number", "from_chars", [](std::size_t i) {
        unsigned n = 0;
        const std::string& s = HEXES[i & 1023];
        std::from_chars(s.data() + 2, s.data() + s.size(), n, 16);
        return n;
    });
    Row("hex_to_number", "strtol",
        [](std::size_t i) { return std::strtol(HEXES[i & 1023].c_str(), nullptr, 16); });
}

void IdentifierRows() {
    static std::vector<unsigned long> IDS;
    static std::vector<std::string> TEXTS;
    for (const unsigned n : Numbers<unsigned>()) {
        IDS.push_back(n & 0x7FFFFFFF);
        TEXTS.push_back(TENEID2Str(IDS.back()));
    }
    Row("neid_read", "ours", [](std::size_t i) {
        unsigned long id = 0;
        TEStr2NEID(TEXTS[i & 1023].c_str(), id);
        return id;
    });
    Row("neid_read", "from_chars", [](std::size_t i) {
        const std::string& s = TEXTS[i & 1023];
        unsigned nHigh = 0;
        unsigned nLow = 0;
        const char* const pEnd = s.data() + s.size();
        const auto result = std::from_chars(s.data(), pEnd, nHigh);
        std::from_chars(result.ptr + 1, pEnd, nLow);
        return nHigh << 16 | nLow;
    });
    Row("neid_write", "ours", [](std::size_t i) { return TENEID2Str(IDS[i & 1023]); });
    Row("neid_write", "absl", [](std::size_t i) {
        return absl::StrCat(static_cast<int>(IDS[i & 1023] >> 16), "-", IDS[i & 1023] & 0xFFFF);
    });
}

void AddressRows() {
    static const std::vector<unsigned> IPS = Numbers<unsigned>();
    static std::vector<std::string> TEXTS;
    for (const unsigned ip : IPS)
        TEXTS.push_back(IPInt2String(static_cast<int>(ip & 0x7FFFFFFF)));
    Row("ip_read", "ours", [](std::size_t i) {
        unsigned long ip = 0;
        TEStr2Ip(TEXTS[i & 1023].c_str(), ip);
        return ip;
    });
    Row("ip_read_unchecked", "ours", [](std::size_t i) { return IPString2Int(TEXTS[i & 1023]); });
    for (const char* const szRow : {"ip_read", "ip_read_unchecked"})
        Row(szRow, "inet_pton", [](std::size_t i) {
            in_addr addr{};
            inet_pton(AF_INET, TEXTS[i & 1023].c_str(), &addr);
            return ntohl(addr.s_addr);
        });
    Row("ip_write", "ours",
        [](std::size_t i) { return IPInt2String(static_cast<int>(IPS[i & 1023])); });
    Row("ip_write", "absl", [](std::size_t i) {
        const unsigned ip = IPS[i & 1023];
        return absl::StrCat(ip >> 24, ".", ip >> 16 & 255, ".", ip >> 8 & 255, ".", ip & 255);
    });
}

void MatchRow(const std::string& strRow, const std::string& strName, const std::string& strPattern,
              std::int64_t nSize) {
    const auto Add = [&](const char* szWho, auto call) { Row(strRow, szWho, call, nSize); };
    Add("ours", [=](std::size_t) { return IsNameMeetingRequire(strName, strPattern); });
    Add("sqlite3",
        [=](std::size_t) { return sqlite3_strglob(strPattern.c_str(), strName.c_str()) == 0; });
    if (nSize <= 300)  // takes minutes on long names
        Add("fnmatch",
            [=](std::size_t) { return fnmatch(strPattern.c_str(), strName.c_str(), 0) == 0; });
    std::string strExpression;
    for (const char c : strPattern)
        strExpression += c == '*' ? ".*" : c == '?' ? "." : std::string(1, c);
    const auto pExpression = std::make_shared<RE2>(strExpression);
    Add("re2", [=](std::size_t) { return RE2::FullMatch(strName, *pExpression); });
}

void MatchRows() {
    MatchRow("match_ordinary", "NE-5-Lindholm-OCH-17", "NE-?-*-OCH-*", 0);
    for (const std::size_t nSize : {std::size_t{30}, std::size_t{1000}, std::size_t{10000}}) {
        const auto n = static_cast<std::int64_t>(nSize);
        MatchRow("match_anchored", std::string(nSize, 'a'), "a*a*a*a*b", n);
        MatchRow("match_floating", std::string(nSize, 'a'), "*a*a*a*b*", n);
    }
}

void ReplaceRows() {
    const auto Text = [](std::size_t nSize, unsigned nEvery) {
        std::mt19937 random(9);
        std::string strText(nSize, 'x');
        for (char& c : strText)
            c = random() % nEvery == 0 ? '\'' : static_cast<char>('a' + random() % 26);
        return strText;
    };
    const auto Rows = [](const std::string& strRow, const std::string& strText, std::int64_t nSize,
                         const std::string& strFrom, const std::string& strTo) {
        Row(
            strRow, "ours",
            [=](std::size_t) {
                std::string str = strText;
                TransWildcardForSql(strFrom, strTo, str);
                return str.size();
            },
            nSize);
        Row(
            strRow, "absl",
            [=](std::size_t) {
                return absl::StrReplaceAll(strText, {{strFrom, strTo}}).size();
            },
            nSize);
        Row(
            strRow, "boost",
            [=](std::size_t) {
                std::string str = strText;
                boost::replace_all(str, strFrom, strTo);
                return str.size();
            },
            nSize);
    };
    Rows("replace", Text(1 << 10, 50), 1 << 10, "'", "''");
    Rows("replace_nothing", std::string(1 << 10, 'x'), 1 << 10, "'", "''");
    Rows("replace_nothing", std::string(1 << 20, 'x'), 1 << 20, "'", "''");
    Rows("replace", Text(1 << 20, 50), 1 << 20, "'", "''");
    Rows("replace_dense", Text(1 << 20, 2), 1 << 20, "'", "''");
    Rows("replace_words", Text(1 << 20, 50), 1 << 20, "ab", "xyz");
    for (const std::size_t nSize : {std::size_t{1} << 10, std::size_t{1} << 20}) {
        const std::string strText = Text(nSize, 10);
        const auto n = static_cast<std::int64_t>(nSize);
        Row(
            "replace_not_repeat", "ours",
            [=](std::size_t) {
                std::string str = strText;
                TransWildcardForSqlNotRepeat("'", "''", str);
                return str.size();
            },
            n);
        Row(
            "replace_two", "ours",
            [=](std::size_t) {
                std::string str = strText;
                TransTwoWildcardForSql("'", "_", "zz", "%", str);
                return str.size();
            },
            n);
    }
}

void TextRows() {
    for (const std::size_t nSize : {std::size_t{40}, std::size_t{4000}}) {
        const std::string strText = "  " + std::string(nSize, 'x') + " \n";
        const auto n = static_cast<std::int64_t>(nSize);
        Row(
            "trim", "ours", [=](std::size_t) { return Trim(strText).size(); }, n);
        Row(
            "trim", "absl",
            [=](std::size_t) { return std::string(absl::StripAsciiWhitespace(strText)).size(); },
            n);
        Row(
            "upper", "ours", [=](std::size_t) { return StrToUpper(strText).size(); }, n);
        Row(
            "upper", "absl", [=](std::size_t) { return absl::AsciiStrToUpper(strText).size(); }, n);
        std::string strList;
        while (strList.size() < nSize)
            strList += "port-7,";
        Row(
            "split", "ours",
            [=](std::size_t) {
                std::vector<std::string> vecPart;
                TEStr2StrVec(strList.c_str(), vecPart);
                return vecPart.size();
            },
            n);
        Row(
            "split", "absl",
            [=](std::size_t) {
                const std::vector<std::string> vecPart = absl::StrSplit(strList, ',');
                return vecPart.size();
            },
            n);
    }
}

void TimeRows() {
    zemb::SetTimeZone("Europe/Berlin");
    static absl::TimeZone zone;
    absl::LoadTimeZone("Europe/Berlin", &zone);
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    constexpr long BASE = 1772352000;
    Row("time_text", "ours", [](std::size_t) { return GetCurrTimeStr(); });
    Row("time_text", "strftime", [](std::size_t) {
        const std::time_t t = std::time(nullptr);
        tm parts{};
        localtime_r(&t, &parts);
        char szText[64];
        return std::string(szText,
                           std::strftime(szText, sizeof szText, "%Y/%m/%d/ %H:%M:%S", &parts));
    });
    Row("to_local", "ours", [](std::size_t i) {
        const long n = BASE + static_cast<long>(i & 1023) * 10000;
        return UTC2Local(n).tm_hour;
    });
    Row("to_local", "absl", [](std::size_t i) {
        const long n = BASE + static_cast<long>(i & 1023) * 10000;
        return absl::ToTM(absl::FromUnixSeconds(n), zone).tm_hour;
    });
    Row("to_local", "absl_at", [](std::size_t i) {
        const long n = BASE + static_cast<long>(i & 1023) * 10000;
        return zone.At(absl::FromUnixSeconds(n)).cs.hour();
    });
    // Steps of the calendar alone, without a zone: no peer of UTC2Local, but its floor.
    Row("to_local", "civil_second", [](std::size_t i) {
        return (absl::CivilSecond() + (BASE + static_cast<long>(i & 1023) * 10000)).hour();
    });
    static const std::tm PARTS = UTC2Local(BASE);
    Row("date_text", "ours", [](std::size_t i) {
        std::tm parts = PARTS;
        parts.tm_sec = static_cast<int>(i % 60);
        return DateTime2Str(parts);
    });
    Row("date_text", "strftime", [](std::size_t i) {
        std::tm parts = PARTS;
        parts.tm_sec = static_cast<int>(i % 60);
        char szText[64];
        return std::string(szText,
                           std::strftime(szText, sizeof szText, "%Y-%m-%d %H:%M:%S", &parts));
    });
    Row("date_text", "fmt", [](std::size_t i) {
        std::tm parts = PARTS;
        parts.tm_sec = static_cast<int>(i % 60);
        return fmt::format("{:%Y-%m-%d %H:%M:%S}", parts);
    });
    Row("to_utc", "ours", [](std::size_t i) {
        std::tm parts = PARTS;
        parts.tm_sec = static_cast<int>(i & 63);
        return Local2UTC(parts);
    });
    Row("to_utc", "civil_second", [](std::size_t i) {
        return absl::CivilSecond(PARTS.tm_year + 1900, PARTS.tm_mon + 1, PARTS.tm_mday,
                                 PARTS.tm_hour, PARTS.tm_min, static_cast<int>(i & 63)) -
               absl::CivilSecond();
    });
    Row("to_utc", "absl", [](std::size_t i) {
        std::tm parts = PARTS;
        parts.tm_sec = static_cast<int>(i & 63);
        return absl::ToUnixSeconds(absl::FromTM(parts, absl::UTCTimeZone()));
    });
    Row("local_to_utc", "ours", [](std::size_t i) {
        std::tm parts = PARTS;
        parts.tm_sec = static_cast<int>(i & 63);
        std::tm utc{};
        NSTE_util::TELOCAL2UTC(parts, utc);
        return Local2UTC(utc);
    });
    Row("local_to_utc", "absl", [](std::size_t i) {
        std::tm parts = PARTS;
        parts.tm_sec = static_cast<int>(i & 63);
        return absl::ToUnixSeconds(absl::FromTM(parts, zone));
    });
    Row("current_utc", "ours", [](std::size_t) { return GetCurUtcTime(); });
    Row("current_utc", "time", [](std::size_t) { return std::time(nullptr); });
}

void ResourceRows() {
    const std::string strFolder = bench::ScratchFolder() + "/lang/en";
    std::filesystem::create_directories(strFolder);
    static std::vector<std::string> KEYS;
    static absl::flat_hash_map<std::string, std::string> MAP;
    std::ofstream file(strFolder + "/a.res");
    for (int i = 0; i < 10000; ++i) {
        KEYS.push_back("RESOURCE_" + std::to_string(i * 7919 % 10007));
        MAP[KEYS.back()] = "Text " + std::to_string(i);
        file << KEYS.back() << " = " << MAP[KEYS.back()] << "\n";
    }
    file.close();
    zemb::SetRootPath(bench::ScratchFolder());
    const char* arrFile[] = {"a.res", nullptr};
    TELangResMgr::Instance()->LoadLangFile("/lang/", arrFile);
    Row("resource_text", "ours", [](std::size_t i) {
        return TELangResMgr::Instance()->GetResourceStr(KEYS[i * 2654435761 % 10000]);
    });
    Row("resource_text", "flat_hash_map", [](std::size_t i) {
        const auto it = MAP.find(KEYS[i * 2654435761 % 10000]);
        return it == MAP.end() ? std::string() : it->second;
    });
}

[[maybe_unused]] const bool g_bRegistered = [] {
    NumberRows();
    IdentifierRows();
    AddressRows();
    MatchRows();
    ReplaceRows();
    TextRows();
    TimeRows();
    ResourceRows();
    return true;
}();

}  // namespace
