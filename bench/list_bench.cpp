#include "row.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"

#include <absl/strings/str_join.h>
#include <hwloc.h>
#include <boost/sort/pdqsort/pdqsort.hpp>
#include <range/v3/algorithm/stable_sort.hpp>
#include <range/v3/view/zip.hpp>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace NSTN_util;
using bench::Row;

struct ListData {
    std::vector<int> vec;
    std::string strPlain;
    CStdString strSpan;
    std::string strAmpersand;
};

// Numbers below 4096 times the size; seven of eight follow the one before.
const ListData& ListOf(std::size_t nSize) {
    static std::map<std::size_t, ListData> mapData;
    ListData& data = mapData[nSize];
    if (data.vec.empty()) {
        std::mt19937 random(1);
        int nNext = 1;
        while (data.vec.size() < nSize) {
            nNext += random() % 8 == 0 ? static_cast<int>(random() % 50) + 2 : 1;
            data.vec.push_back(nNext);
        }
        data.strPlain = absl::StrJoin(data.vec, ",");
        NumListToStr2(data.vec, data.strSpan);
        TEVec2Str(data.vec, data.strAmpersand);
    }
    return data;
}

// A list as most write its reader.
bool ReadByStrtol(const std::string& strText, std::vector<int>& vec) {
    vec.clear();
    const char* p = strText.c_str();
    while (*p != '\0') {
        char* pEnd = nullptr;
        long nValue = std::strtol(p, &pEnd, 10);
        if (pEnd == p)
            return false;
        long nLast = nValue;
        const bool bAmpersands = pEnd[0] == '&' && pEnd[1] == '&';
        if (*pEnd == '-' || bAmpersands)
            nLast = std::strtol(pEnd + (bAmpersands ? 2 : 1), &pEnd, 10);
        for (; nValue <= nLast; ++nValue)
            vec.push_back(static_cast<int>(nValue));
        p = *pEnd == '\0' ? pEnd : pEnd + 1;
    }
    return true;
}

std::string SpansByAppend(const std::vector<int>& vec, absl::string_view strRun, const char* szItem,
                          std::size_t nShortest) {
    std::string strOut;
    for (std::size_t i = 0; i < vec.size();) {
        std::size_t nEnd = i + 1;
        while (nEnd < vec.size() && vec[nEnd] == vec[nEnd - 1] + 1)
            ++nEnd;
        if (nEnd - i < nShortest)
            nEnd = i + 1;
        absl::StrAppend(&strOut, i == 0 ? "" : szItem, vec[i]);
        if (nEnd - i > 1)
            absl::StrAppend(&strOut, strRun, vec[nEnd - 1]);
        i = nEnd;
    }
    return strOut;
}

void ListRows() {
    for (const std::size_t nSize : {std::size_t{10}, std::size_t{1000}, std::size_t{1000000}}) {
        const ListData& data = ListOf(nSize);
        const auto n = static_cast<std::int64_t>(nSize);
        const auto Reads = [&](const std::string& strRow, const CStdString& strText) {
            Row(
                strRow, "ours",
                [strText](std::size_t) {
                    std::vector<int> vec;
                    StrToNumList(strText, vec);
                    return vec.size();
                },
                n);
            Row(
                strRow, "strtol",
                [strText](std::size_t) {
                    std::vector<int> vec;
                    ReadByStrtol(strText, vec);
                    return vec.size();
                },
                n);
        };
        Reads("plain_read", data.strPlain);
        Reads("span_read", data.strSpan);
        Row(
            "span_read", "hwloc",
            [&data](std::size_t) {
                const hwloc_bitmap_t bitmap = hwloc_bitmap_alloc();
                hwloc_bitmap_list_sscanf(bitmap, data.strSpan.c_str());
                std::vector<int> vec;
                for (int i = hwloc_bitmap_first(bitmap); i != -1; i = hwloc_bitmap_next(bitmap, i))
                    vec.push_back(i);
                hwloc_bitmap_free(bitmap);
                return vec.size();
            },
            n);
        Row(
            "ampersand_read", "ours",
            [&data](std::size_t) {
                std::vector<int> vec;
                TEStr2Vec(data.strAmpersand.c_str(), vec);
                return vec.size();
            },
            n);
        Row(
            "ampersand_read", "strtol",
            [&data](std::size_t) {
                std::vector<int> vec;
                ReadByStrtol(data.strAmpersand, vec);
                return vec.size();
            },
            n);
        Row(
            "plain_write", "ours",
            [&data](std::size_t) {
                CStdString strOut;
                NumListToStr(data.vec, strOut);
                return strOut.size();
            },
            n);
        Row(
            "plain_write", "absl",
            [&data](std::size_t) { return absl::StrJoin(data.vec, ",").size(); }, n);
        Row(
            "span_write", "ours",
            [&data](std::size_t) {
                CStdString strOut;
                NumListToStr2(data.vec, strOut);
                return strOut.size();
            },
            n);
        Row(
            "span_write", "absl",
            [&data](std::size_t) { return SpansByAppend(data.vec, "-", ",", 2).size(); }, n);
        Row(
            "ampersand_write", "ours",
            [&data](std::size_t) {
                std::string strOut;
                TEVec2Str(data.vec, strOut);
                return strOut.size();
            },
            n);
        Row(
            "ampersand_write", "absl",
            [&data](std::size_t) { return SpansByAppend(data.vec, "&&", "&", 3).size(); }, n);
    }
}

void SortRows() {
    for (const std::size_t nSize : {std::size_t{10}, std::size_t{1000}, std::size_t{100000}}) {
        std::mt19937 random(5);
        std::vector<int> vecKey(nSize);
        std::vector<int> vecOther(nSize);
        for (std::size_t i = 0; i < nSize; ++i) {
            vecKey[i] = static_cast<int>(random());
            vecOther[i] = static_cast<int>(i);
        }
        const auto n = static_cast<std::int64_t>(nSize);
        // The copies that are sorted are made anew each time, for all alike.
        const auto Sorts = [&](const char* szWho, auto sort) {
            Row(
                "related_sort", szWho,
                [vecKey, vecOther, sort](std::size_t) {
                    std::vector<int> a = vecKey;
                    std::vector<int> b = vecOther;
                    sort(a, b);
                    return a.front() + b.front();
                },
                n);
        };
        Sorts("ours", [](auto& a, auto& b) { TERela2WaySort(a, b, 1); });
        Sorts("range_v3", [](auto& a, auto& b) {
            ranges::stable_sort(ranges::views::zip(a, b), std::less<>{},
                                [](const auto& pair) { return std::get<0>(pair); });
        });
        Sorts("pdqsort", [](auto& a, auto& b) {
            std::vector<std::pair<std::uint64_t, int>> vecPair(a.size());
            for (std::size_t i = 0; i < a.size(); ++i)
                vecPair[i] = {
                    static_cast<std::uint64_t>(static_cast<unsigned>(a[i]) ^ 0x80000000U) << 32 | i,
                    b[i]};
            boost::sort::pdqsort_branchless(vecPair.begin(), vecPair.end());
            for (std::size_t i = 0; i < a.size(); ++i) {
                a[i] =
                    static_cast<int>(static_cast<unsigned>(vecPair[i].first >> 32) ^ 0x80000000U);
                b[i] = vecPair[i].second;
            }
        });
    }
}

[[maybe_unused]] const bool g_bRegistered = [] {
    ListRows();
    SortRows();
    return true;
}();

}  // namespace
