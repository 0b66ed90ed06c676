#include "zemb/settings.h"

#include "base/bounded_lines.h"
#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "base/item_line.h"
#include "base/read_number.h"
#include "base/root_files.h"
#include "embedded/fault_point.h"
#include "embedded/fork_gate.h"
#include "embedded/item_line.h"
#include "embedded/log_file.h"
#include "zemb/black_box.h"
#include "zemb/control.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <mutex>
#include <optional>
#include <string_view>

// Where the process stands: root, state folder and language, each as the host has set it, else as
// the environment says at the call. Each change by the host raises a generation, by which open log
// files see that they belong elsewhere. Items are read from their file at every call, as only the
// start asks for them.
namespace NSTE_util {

const char* emscfgfile = nullptr;
bool g_bEnableInt3 = false;
bool g_bEnableLog = false;
bool g_bEnableAsnLog = false;
bool g_bEnableMmlTrace = false;

}  // namespace NSTE_util

namespace {

std::atomic<unsigned long> g_nGeneration{1};

// What the host sets, or else a variable of the environment; without a variable the name of the
// program.
class Place {
public:
    explicit Place(const char* szVariable) : m_szVariable(szVariable) {}

    void Set(std::optional<std::string> strPath) {
        const zemb::ForkGate gate;
        std::lock_guard<std::mutex> guard(m_lock);
        m_strPath = std::move(strPath);
        ++g_nGeneration;
    }

    std::string Get() {
        const zemb::ForkGate gate;
        std::lock_guard<std::mutex> guard(m_lock);
        if (m_strPath)
            return *m_strPath;
        const char* const szValue =
            m_szVariable == nullptr ? program_invocation_short_name : std::getenv(m_szVariable);
        return szValue == nullptr ? "" : szValue;
    }

private:
    const char* const m_szVariable;
    std::mutex m_lock;
    std::optional<std::string> m_strPath;
};

// Both live from first use to the end of the process: they are asked before main and after it.
Place& Root() {
    static base::Immortal<Place> place("ZEMB_ROOT");
    return *place;
}

Place& State() {
    static base::Immortal<Place> place("ZEMB_STATE");
    return *place;
}

constexpr const char* DEFAULT_LANGUAGE = "en";

Place& Language() {
    static base::Immortal<Place> place("ZEMB_LANG");
    return *place;
}

Place& Process() {
    static base::Immortal<Place> place(nullptr);
    return *place;
}

bool ReadNumber(std::string_view strText, int& nValue) {
    const bool bMinus = !strText.empty() && strText.front() == '-';
    if (bMinus)
        strText.remove_prefix(1);
    const bool bHex = base::BeginsHex(strText);
    if (bHex)
        strText.remove_prefix(2);
    const base::DigitRun run = base::ReadDigits(strText, bHex ? 16 : 10);
    const unsigned long nMost = std::numeric_limits<int>::max() + (bMinus ? 1UL : 0UL);
    if (run.nLength == 0 || run.nLength != strText.size() || run.nValue > nMost)
        return false;
    const auto nRead = static_cast<long>(run.nValue);
    nValue = static_cast<int>(bMinus ? -nRead : nRead);
    return true;
}

// All of a file up to a line that is too long; "" for one that cannot be read.
std::string ReadLines(const std::string& strFile) {
    const base::CancelHold hold;
    std::ifstream file;
    if (std::error_code ignored; !std::filesystem::is_fifo(strFile, ignored))
        file.open(strFile);  // who would write into a pipe may never come
    std::string strText;
    char szBlock[4096];
    base::LongLineWatch watch(base::ITEM_LINE_MAX);
    while (!watch.IsTooLong(strText) && (file.read(szBlock, sizeof szBlock) || file.gcount() > 0))
        strText.append(szBlock, static_cast<std::size_t>(file.gcount()));
    return strText;
}

}  // namespace

int ZembGetRegInt(const char* szKey, int& nValue, const char* szFile) {
    if (szKey == nullptr || zemb::IsFaulty("ZembGetRegInt"))
        return 0;
    std::string strFile = szFile == nullptr ? "" : szFile;
    if (strFile.empty())
        strFile = NSTE_util::GetZEMBRootPath() + base::EMS_UNDER_ROOT;
    const std::optional<std::string> strValue = zemb::FindItem(szKey, strFile);
    return strValue && ReadNumber(*strValue, nValue) ? 1 : 0;
}

void EmfGetServerPath(std::string& strPath) {
    if (zemb::IsFaulty("EmfGetServerPath"))
        return;
    strPath = NSTE_util::GetZEMBRootPath();
    if (!strPath.empty())
        strPath += "/";
}

Zembcommon::ZembMsg* Zembcommon::ZembMsg::instance() {
    static ZembMsg message;  // without a destructor to run
    return &message;
}

std::string Zembcommon::ZembMsg::getLanguage() const {
    if (zemb::IsFaulty("getLanguage"))
        return "";
    const std::string strLanguage = Language().Get();
    return strLanguage.empty() ? DEFAULT_LANGUAGE : strLanguage;
}

int ZembGetLangType() {
    const std::string strLanguage = Zembcommon::ZembMsg::instance()->getLanguage();
    return strLanguage.compare(0, 2, "zh") == 0 ? ZEMB_LANG_TYPE_CHINESE : ZEMB_LANG_TYPE_WESTERN;
}

std::string NSTE_util::GetZEMBRootPath() {
    if (zemb::IsFaulty("GetZEMBRootPath"))
        return "";
    return zemb::RootPath();
}

namespace zemb {

std::string RootPath() {
    return Root().Get();
}

std::optional<std::string> FindItem(std::string_view strKey, const std::string& strFile) {
    const std::string strText = ReadLines(strFile);
    std::optional<std::string> strFound;
    base::ItemLine line;
    for (base::ItemLines lines(strText); lines.Next(line);)
        if (line.eKind == base::EItemLine::ITEM && line.strKey == strKey)
            strFound = line.strValue;
    return strFound;
}

std::uint32_t NumberUnderRoot(std::string_view strKey, std::uint32_t nUsual, std::uint32_t nLeast,
                              std::uint32_t nMost) {
    const std::optional<std::string> value =
        FindItem(strKey, RootPath() + base::TRANS_EMS_UNDER_ROOT);
    if (!value)
        return nUsual;
    const base::DigitRun run = base::ReadDigits(*value, 10);
    const bool bGood = run.nLength != 0 && run.nLength == value->size() && run.nLength <= 10 &&
                       run.nValue >= nLeast && run.nValue <= nMost;
    return bGood ? static_cast<std::uint32_t>(run.nValue) : nUsual;
}

std::string ProcessName() {
    return Process().Get();
}

void SetProcessName(const std::string& strName) {
    Process().Set(strName.empty() ? std::nullopt : std::optional<std::string>(strName));
}

void SetLanguage(const std::string& strLanguage) {
    Language().Set(strLanguage.empty() ? std::nullopt : std::optional<std::string>(strLanguage));
}

void SetRootPath(const std::string& strRoot) {
    Root().Set(strRoot);
}

void ResetRootPath() {
    Root().Set(std::nullopt);
}

void SetStatePath(const std::string& strState) {
    State().Set(strState);
}

void ResetStatePath() {
    State().Set(std::nullopt);
}

unsigned long StateGeneration() {
    return g_nGeneration;
}

std::string GetStatePath() {
    std::string strState = State().Get();
    if (!strState.empty())
        return strState;
    const std::string strRoot = Root().Get();
    return strRoot.empty() ? "" : strRoot + "/var";
}

}  // namespace zemb
