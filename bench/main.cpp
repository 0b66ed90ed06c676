#include "ratio.h"

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <vector>

namespace bench {

namespace {

// clang-format off
constexpr Goal GOALS[] = {
    {"line_1_argument",                 0.8 },
    {"line_3_arguments",                1.0 },
    {"line_8_arguments",                1.25},
    {"line_4000_characters",            1.4 },
    {"number_int",                      1.1 },
    {"number_unsigned_long",            1.1 },
    {"granted/10",                      0.35},
    {"granted/1000",                    0.30},
    {"granted/100000",                  0.16},
    {"granted_two_threads",             0.4 },
    {"refused",                         0.15},
    {"trail_guard/10",                  1.3 },
    {"trail_guard/1000",                3.0 },
    {"trail_guard/100000",              6.0 },
    {"trace_line_to_file",              1.0 },
    {"number_to_text",                  1.05},
    {"number_to_hex",                   1.05},
    {"double_to_text",                  0.3 },
    {"text_to_number",                  1.3 },
    {"hex_to_number",                   1.3 },
    {"neid_read",                       1.3 },
    {"neid_write",                      0.5 },
    {"ip_read",                         0.8 },
    {"ip_read_unchecked",               0.8 },
    {"ip_write",                        0.45},
    {"plain_read",                      0.7 },
    {"span_read",                       0.7 },
    {"ampersand_read",                  0.7 },
    {"plain_write",                     0.65},
    {"span_write",                      0.65},
    {"ampersand_write",                 0.65},
    {"related_sort",                    1.0 },
    {"match_ordinary",                  1.5 },
    {"match_anchored",                  1.0 },
    {"match_floating",                  1.0 },
    {"replace/1024",                    0.8 },
    {"replace/1048576",                 0.55},
    {"replace_dense",                   0.12},
    {"replace_nothing/1024",            1.2 },
    {"replace_nothing/1048576",         1.1 },
    {"trim",                            1.1 },
    {"upper",                           1.1 },
    {"split",                           1.1 },
    {"time_text",                       0.35},
    {"date_text",                       0.35},
    {"to_local",                        1.5 },
    {"to_utc",                          1.5 },
    {"local_to_utc",                    1.5 },
    {"resource_text",                   3.0 },
    {"items_read/10",                   0.75},
    {"items_read/1000",                 0.7 },
    {"items_read/100000",               1.0 },
    {"items_sorted/10",                 0.75},
    {"items_sorted/1000",               0.7 },
    {"items_sorted/100000",             1.0 },
    {"items_write",                     0.85},
    {"lines_write",                     0.75},
    {"file_read",                       1.05},
    {"lines_read",                      0.9 },
    {"item_by_name",                    1.5 },
    {"timeout",                         1.6 },
    {"timeout_two_threads",             1.6 },
    {"timeouts_load",                   1.0 },
    {"tree_size",                       1.0 },
    {"folder_list",                     1.05},
    {"path_absolute",                   1.25},
    {"backup_build/100",                1.0 },
    {"backup_read/100",                 0.4 },
    {"backup_read/10000",               0.35},
    {"backup_children",                 1.0 },
    {"backup_list_write/1000000",       0.7 },
    {"backup_list_read/1000000",        0.7 },
    {"fdn_port",                        0.6 },
    {"fdn_build",                       0.9 },
    {"otn_read",                        0.55},
    {"otn_write",                       0.55},
    {"fbtype",                          1.0 },
    {"thread_register/1",               1.5 },
    {"oplog_one_writer",                1.1 },
    {"oplog_sixteen_writers",           0.3 },
    {"oplog_list",                      1.2 },
    {"asn_fixed",                       1.0 },
    {"progress_step",                   1.5 },
    {"progress_two_threads",            1.5 },
    {"asn_list",                        1.5 },
    {"error_code",                      0.5 },
    {"message",                         1.5 },
    {"box_request",                     1.4 },
    {"box_request_read",                1.5 },
    {"box_thread",                      1.3 },
    {"box_step",                        1.2 },
};

constexpr Growth GROWTHS[] = {
    {"granted",        "flat",   2.0, 10  },
    {"refused",        "flat",   2.0, 10  },
    {"among_running",  "flat",   2.0, 10  },
    {"among_running_everywhere", "flat", 2.0, 10},
    {"among_running_exclusive",  "flat", 2.0, 10},
    {"list_request",   "linear", 2.5, 1000},
    {"list_release",   "linear", 2.5, 1000},
    {"trail_guard",    "flat",   2.5, 10  },
    {"trails_held",    "linear", 3.0, 1000},
    {"table_load",     "linear", 2.5, 1000},
    {"lines_appended", "linear", 2.5, 1000},
    {"plain_read",     "linear", 2.5, 1000},
    {"span_read",      "linear", 2.5, 1000},
    {"ampersand_read", "linear", 2.5, 1000},
    {"plain_write",    "linear", 2.5, 1000},
    {"span_write",     "linear", 2.5, 1000},
    {"ampersand_write", "linear", 2.5, 1000},
    {"related_sort",   "linear", 3.0, 1000},
    {"match_anchored", "linear", 2.5, 1000},
    {"match_floating", "linear", 2.5, 1000},
    {"replace",        "linear", 2.5, 1024},
    {"replace_not_repeat", "linear", 2.5, 1024},
    {"items_read",     "linear", 2.5, 1000},
    {"items_sorted",   "linear", 2.5, 1000},
    {"timeouts_load",  "linear", 2.5, 1000},
    {"tree_size",      "linear", 2.5, 1000},
    {"path_absolute",  "linear", 2.5, 1000},
    {"replace_two",    "linear", 2.5, 1024},
    {"backup_build",   "linear", 2.5, 1000},
    {"thread_register", "flat",  2.5, 1},
    {"oplog_split",    "linear", 2.5, 1000},
    {"progress_step",  "flat",   2.5, 10},
    {"asn_list",       "linear", 2.5, 1000},
    {"message",        "linear", 2.5, 1024},
    {"asn_fixed",      "linear", 2.5, 1000000},
    {"backup_read",    "linear", 2.5, 1000},
    {"backup_children", "linear", 2.5, 1000},
    {"backup_list_write", "linear", 2.5, 1000},
    {"backup_list_read", "linear", 2.5, 1000},
};
// clang-format on

struct Name {
    std::string strRow;
    std::string strWho;
    std::int64_t nSize = 0;
};

Name Split(const std::string& strName) {
    Name name;
    const std::size_t nFirst = strName.find('/');
    name.strRow = strName.substr(0, nFirst);
    std::string strRest = strName.substr(nFirst + 1);
    const std::size_t nSecond = strRest.find('/');
    name.strWho = strRest.substr(0, nSecond);
    if (nSecond != std::string::npos)
        name.nSize = std::strtoll(strRest.c_str() + nSecond + 1, nullptr, 10);
    return name;
}

double GoalOf(const std::string& strRow, std::int64_t nSize) {
    const std::string strSized = strRow + "/" + std::to_string(nSize);
    for (const Goal& goal : GOALS)
        if (strRow == goal.szRow || strSized == goal.szRow)
            return goal.fRatio;
    return 0;
}

using RowKey = std::pair<std::string, std::int64_t>;

// Keeps the median of each benchmark's repetitions.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& vecRun) override {
        for (const Run& run : vecRun) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            const Name name = Split(run.run_name.function_name +
                                    (run.run_name.args.empty() ? "" : "/" + run.run_name.args));
            m_map[{name.strRow, name.nSize}][name.strWho].push_back(run.GetAdjustedRealTime());
        }
        ConsoleReporter::ReportRuns(vecRun);
    }

    // Whether every goal was reached.
    bool PrintRatios() {
        bool bAll = true;
        std::printf("\n%-28s %10s  %-20s %10s %7s %7s\n", "row", "ours ns", "best peer", "its ns",
                    "ratio", "goal");
        for (auto& [key, mapWho] : m_map) {
            const double fOurs = Median(mapWho["ours"]);
            std::string strBest;
            double fBest = 0;
            for (auto& [strWho, vecTime] : mapWho)
                if (strWho != "ours" && strWho != "limit" &&
                    (strBest.empty() || Median(vecTime) < fBest)) {
                    strBest = strWho;
                    fBest = Median(vecTime);
                }
            const std::string strRow =
                key.first + (key.second == 0 ? "" : "/" + std::to_string(key.second));
            if (strBest.empty()) {
                std::printf("%-28s %10.1f  %-20s\n", strRow.c_str(), fOurs, "-");
                continue;
            }
            const double fGoal = GoalOf(key.first, key.second);
            const bool bReached = fGoal == 0 || fOurs / fBest <= fGoal;
            bAll = bAll && bReached;
            std::printf("%-28s %10.1f  %-20s %10.1f %7.2f %7s%s", strRow.c_str(), fOurs,
                        strBest.c_str(), fBest, fOurs / fBest,
                        fGoal == 0 ? "-" : std::to_string(fGoal).substr(0, 4).c_str(),
                        bReached ? "" : "  MISSED");
            // The least work that the interface allows, which no peer has to do.
            if (const auto it = mapWho.find("limit"); it != mapWho.end())
                std::printf("  limit %.2f", Median(it->second) / fBest);
            std::puts("");
        }
        return bAll;
    }

    bool PrintGrowth() {
        bool bAll = true;
        std::printf("\n%-28s %-8s %10s %10s %7s %7s\n", "growth", "kind", "from", "to", "factor",
                    "goal");
        for (const Growth& growth : GROWTHS) {
            std::vector<std::pair<std::int64_t, double>> vecPoint;
            for (auto& [key, mapWho] : m_map)
                if (key.first == growth.szRow && key.second >= growth.nFrom)
                    vecPoint.emplace_back(key.second, Median(mapWho["ours"]));
            if (vecPoint.size() < 2)
                continue;
            const auto [nSmall, fSmall] = vecPoint.front();
            const auto [nLarge, fLarge] = vecPoint.back();
            double fFactor = fLarge / fSmall;
            if (std::strcmp(growth.szKind, "linear") == 0)
                fFactor *= static_cast<double>(nSmall) / static_cast<double>(nLarge);
            const bool bReached = fFactor <= growth.fFactor;
            bAll = bAll && bReached;
            std::printf("%-28s %-8s %10lld %10lld %7.2f %7.2f%s\n", growth.szRow, growth.szKind,
                        static_cast<long long>(nSmall), static_cast<long long>(nLarge), fFactor,
                        growth.fFactor, bReached ? "" : "  MISSED");
        }
        return bAll;
    }

private:
    static double Median(std::vector<double>& vecTime) {
        if (vecTime.empty())
            return 0;
        std::sort(vecTime.begin(), vecTime.end());
        return vecTime[vecTime.size() / 2];
    }

    std::map<RowKey, std::map<std::string, std::vector<double>>> m_map;
};

class Scratch {
public:
    Scratch() {
        char szName[] = "/tmp/tovelkarin-bench.XXXXXX";
        m_strPath = mkdtemp(szName);
    }
    ~Scratch() { std::filesystem::remove_all(m_strPath); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    const std::string& Path() const { return m_strPath; }

private:
    std::string m_strPath;
};

}  // namespace

std::int64_t HeapBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
}

const std::string& ScratchFolder() {
    static const Scratch scratch;
    return scratch.Path();
}

}  // namespace bench

void PrintMemory();
void PrintPlaces();

// Exit status 1 when a goal is missed. The memory rows come only without arguments.
int main(int argc, char** argv) {
    std::vector<char*> vecArgument(argv, argv + argc);
    char szRepetitions[] = "--benchmark_repetitions=7";
    char szTime[] = "--benchmark_min_time=0.05";
    char szMixed[] = "--benchmark_enable_random_interleaving=true";
    char szBrief[] = "--benchmark_report_aggregates_only=false";
    vecArgument.insert(vecArgument.begin() + 1, {szRepetitions, szTime, szMixed, szBrief});
    int nArguments = static_cast<int>(vecArgument.size());
    benchmark::Initialize(&nArguments, vecArgument.data());
    if (benchmark::ReportUnrecognizedArguments(nArguments, vecArgument.data()))
        return 2;
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const bool bRatios = reporter.PrintRatios();
    const bool bGrowth = reporter.PrintGrowth();
    if (argc == 1) {
        PrintMemory();
        PrintPlaces();
    }
    return bRatios && bGrowth ? 0 : 1;
}
