#include "ratio.h"
#include "row.h"

#include "tovelkarin/tntrace.h"

#include "zemb/control.h"

#include <absl/strings/substitute.h>
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <charconv>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr unsigned BOUND = 5120;
const std::string NAME = "NE-5 Lindholm";
const std::string PATH = "/etc/oss_cfg/trans/core/conf/mutex_oper.cfg";

// Keeps what the compiler could compute at compile time out of its sight.
template <class Value>
Value Hidden(Value value) {
    benchmark::DoNotOptimize(value);
    return value;
}

#define ROW(row, who, expression)                    \
    void row##_##who(benchmark::State& state) {      \
        int n = Hidden(4711);                        \
        unsigned long u = Hidden(1090646021UL);      \
        for (auto _ : state) {                       \
            std::string strOut;                      \
            expression;                              \
            benchmark::DoNotOptimize(strOut.data()); \
            ++n;                                     \
            ++u;                                     \
        }                                            \
    }                                                \
    BENCHMARK(row##_##who)->Name(#row "/" #who)

template <class... Args>
std::string Printed(const char* szFormat, const Args&... args) {
    char szBuffer[6000];
    const int nLength = std::snprintf(szBuffer, sizeof szBuffer, szFormat, args...);
    return std::string(szBuffer, static_cast<std::size_t>(nLength));
}

ROW(line_1_argument, ours,
    NSTN_util::TNTrace2Str(BOUND, strOut, "No Mutex Operations Register for: %d", n));
ROW(line_1_argument, absl, strOut = absl::Substitute("No Mutex Operations Register for: $0", n));
ROW(line_1_argument, fmt,
    strOut = fmt::format(fmt::runtime("No Mutex Operations Register for: {}"), n));
ROW(line_1_argument, snprintf, strOut = Printed("No Mutex Operations Register for: %d", n));

ROW(line_3_arguments, ours,
    NSTN_util::TNTrace2Str(BOUND, strOut, "operation %d on %s answered %u", n, NAME, u));
ROW(line_3_arguments, absl,
    strOut = absl::Substitute("operation $0 on $1 answered $2", n, NAME, u));
ROW(line_3_arguments, fmt,
    strOut = fmt::format(fmt::runtime("operation {} on {} answered {}"), n, NAME, u));
ROW(line_3_arguments, snprintf,
    strOut = Printed("operation %d on %s answered %lu", n, NAME.c_str(), u));

ROW(line_8_arguments, ours,
    NSTN_util::TNTrace2Str(BOUND, strOut,
                           "op %d user %d NE %s file %s line %u code %u retry %d of %d", n, n, NAME,
                           PATH, u, u, n, n));
ROW(line_8_arguments, absl,
    strOut = absl::Substitute("op $0 user $1 NE $2 file $3 line $4 code $5 retry $6 of $7", n, n,
                              NAME, PATH, u, u, n, n));
ROW(line_8_arguments, fmt,
    strOut = fmt::format(fmt::runtime("op {} user {} NE {} file {} line {} code {} retry {} of {}"),
                         n, n, NAME, PATH, u, u, n, n));
ROW(line_8_arguments, snprintf,
    strOut = Printed("op %d user %d NE %s file %s line %lu code %lu retry %d of %d", n, n,
                     NAME.c_str(), PATH.c_str(), u, u, n, n));

const std::string LONG_TEXT(4000, 'x');
ROW(line_4000_characters, ours,
    NSTN_util::TNTrace2Str(BOUND, strOut, "text(%s) of %d", LONG_TEXT, n));
ROW(line_4000_characters, absl, strOut = absl::Substitute("text($0) of $1", LONG_TEXT, n));
ROW(line_4000_characters, fmt, strOut = fmt::format(fmt::runtime("text({}) of {}"), LONG_TEXT, n));
ROW(line_4000_characters, snprintf, strOut = Printed("text(%s) of %d", LONG_TEXT.c_str(), n));

// Many lines into one string, which is never cleared.
void LinesAppended(benchmark::State& state) {
    for (auto _ : state) {
        std::string strOut;
        for (std::int64_t i = 0; i < state.range(0); ++i)
            NSTN_util::TNTrace2Str(0xFFFFFFFF, strOut, "line %d of many, with some text\n", i);
        benchmark::DoNotOptimize(strOut.data());
    }
}
BENCHMARK(LinesAppended)->Name("lines_appended/ours")->Arg(1000)->Arg(100000);

template <class Number, class Convert>
void NumberRow(benchmark::State& state, Convert convert) {
    const std::vector<Number> vecNumber = bench::Numbers<Number>();
    std::size_t i = 0;
    for (auto _ : state) {
        const auto text = convert(vecNumber[i++ & 1023]);
        benchmark::DoNotOptimize(&text);
    }
}

const auto ByOurs = [](auto nValue) { return NSTN_util::TNString(nValue); };
const auto ByToChars = [](auto nValue) {
    char szText[24];
    const char* const pEnd = std::to_chars(szText, szText + sizeof szText, nValue).ptr;
    return std::string(szText, static_cast<std::size_t>(pEnd - szText));
};
const auto ByFmt = [](auto nValue) { return fmt::format_int(nValue).str(); };

template <class Number>
void RegisterNumberRow(const std::string& strRow) {
    const auto Register = [&](const char* szWho, auto convert) {
        benchmark::RegisterBenchmark(
            (strRow + "/" + szWho).c_str(),
            [convert](benchmark::State& state) { NumberRow<Number>(state, convert); });
    };
    Register("ours", ByOurs);
    Register("to_chars", ByToChars);
    Register("fmt", ByFmt);
}

const bool NUMBERS_REGISTERED = [] {
    RegisterNumberRow<int>("number_int");
    RegisterNumberRow<unsigned long>("number_unsigned_long");
    return true;
}();

const std::string LINE = "Can't find match error of operation(4711)";

void TraceLineOurs(benchmark::State& state) {
    zemb::SetStatePath(bench::ScratchFolder());
    for (auto _ : state)
        NSTN_util::TNTrace2LogFile("tovelkarin", 1, LINE);
}
BENCHMARK(TraceLineOurs)->Name("trace_line_to_file/ours");

// The same promises: time, thread and level in front, rotated at 10 MB, with the system on return.
void TraceLineSpdlog(benchmark::State& state) {
    static const auto pLogger = [] {
        auto pSink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
            bench::ScratchFolder() + "/spdlog.log", 10U << 20, 5);
        auto pNew = std::make_shared<spdlog::logger>("tovelkarin", pSink);
        pNew->set_formatter(std::make_unique<spdlog::pattern_formatter>(
            "%Y-%m-%d %H:%M:%S.%eZ [%t] %l %v", spdlog::pattern_time_type::utc));
        pNew->flush_on(spdlog::level::info);
        return pNew;
    }();
    for (auto _ : state)
        pLogger->info(LINE);
}
BENCHMARK(TraceLineSpdlog)->Name("trace_line_to_file/spdlog");

}  // namespace
