#include "tovelkarin/tntraceif.h"

#include "base/root_files.h"
#include "diagnosis/asn_sections.h"
#include "tovelkarin/tnreqtimeout.h"
#include "trace/trace_line.h"

#include "zemb/asn.h"
#include "zemb/debug.h"
#include "zemb/settings.h"

#include <ace/Guard_T.h>
#include <ace/RW_Thread_Mutex.h>

#include <atomic>

// Traces of messages between the process and its NEs. What is written depends on two switches of a
// file, which are asked again at each trace; the reader of configuration makes that cheap. Modes 1
// to 3 hold one lock while they print, so that the lines of two messages do not mix; mode 4 lets it
// go first.
namespace NSTN_util {

namespace {

constexpr const char* FILE_WORD = "tntraceif";
constexpr int LINE_EXIT = 51;  // message text
constexpr unsigned SECTIONS = 10;

enum EAdvTrace { FULL = 1, SUMMARY = 2, FIXED = 3, FIXED_UNLOCKED = 4 };
constexpr int BY_SWITCH = 0;
constexpr int FIXED_BY_SWITCH = -1;

std::atomic<int> g_nAdvTrace{FULL};
std::atomic<int> g_nExplicityTrace{0};
ACE_RW_Thread_Mutex g_lockAsnTrace;

void ChangeSwitch(std::atomic<int>& nSwitch, int nValue, const char* szLine) {
    const int nBefore = nSwitch;
    if (nBefore == nValue)
        return;
    Report(szLine, nBefore, nValue);
    nSwitch = nValue;
}

// The value of a key, 0 when it cannot be read.
int ReadSwitch(const std::string& strFile, const char* szKey, std::atomic<int>& nSwitch,
               int nFallback, const char* szFailed) {
    int nValue = 0;
    NSTE_util::TNReqTimeoutIF* const pConfig = NSTE_util::TNReqTimeoutIF::Instance();
    if (pConfig != nullptr && pConfig->GetItemValue(strFile, szKey, nValue))
        return nValue;
    Report(szFailed, strFile);
    nSwitch = nFallback;
    return 0;
}

void ReadSwitches() {
    const std::string strRoot = NSTE_util::GetZEMBRootPath();
    if (strRoot.empty())
        return;
    const std::string strFile = strRoot + base::COMMON_UNDER_ROOT;
    // Deliberate: a failed read falls back to 1 and is then stored as 0, with both lines.
    const int nAdvTrace = ReadSwitch(strFile, base::KEY_ADVANCE_ASN_TRACE, g_nAdvTrace, FULL,
                                     " read AdvAsnTrace failed! file = %s");
    ChangeSwitch(g_nAdvTrace, nAdvTrace, "AdvAsnTrace Configuration Changed (%d -> %d)");
    const int nExplicity = ReadSwitch(strFile, base::KEY_EXPLICITY_TRACE, g_nExplicityTrace, 0,
                                      " read bExplicityTrace failed! file = %s");
    ChangeSwitch(g_nExplicityTrace, nExplicity, "ExplicityTrace Configuration Changed (%d -> %d)");
}

// Runs one of the platform's prints; -1 when it throws.
template <class Print>
int Printed(Print print) {
    int nResult = -1;
    GuardedCall([&] {
        print();
        nResult = 0;
    });
    return nResult;
}

int PrintFull(const AsnType& value) {
    if (ZembIsExit())
        return 0;
    return Printed([&] {
        if (TEDebugInterface* const pDebug = NSTE_util::GetDefaultDebugInterface())
            NSTE_util::AsnTrace(value, *pDebug);
    });
}

int PrintFixed(const AsnType& value, int nOption) {
    if (AdvAsnTraceFix(value, SECTIONS, nOption))
        return 0;
    Report("use default asn trace");
    return PrintFull(value);
}

int Print(const AsnType& value, int nMode, int nOption) {
    // A lock that cannot be taken, such as by a channel that calls back, lets the work go on.
    ACE_Write_Guard<ACE_RW_Thread_Mutex> guard(g_lockAsnTrace);
    const int nEffective = nMode == BY_SWITCH ? g_nAdvTrace.load() : nMode;
    switch (nEffective) {
        case FULL: return PrintFull(value);
        case SUMMARY: return Printed([&] { Report("AATS>>> %s", value.GetTypeName()); });
        case FIXED: return PrintFixed(value, nOption);
        case FIXED_UNLOCKED: guard.release(); return PrintFixed(value, nOption);
        default:
            Report("Warning:Advance Trace Config Error!advTrace=%d", nEffective);
            return PrintFull(value);
    }
}

int PrintBySwitch(const AsnType& value, int nOption) {
    if (g_nAdvTrace != FIXED)
        return 0;
    // Waits for who is printing, and then prints beside the others.
    { const ACE_Write_Guard<ACE_RW_Thread_Mutex> guard(g_lockAsnTrace); }
    return PrintFixed(value, nOption);
}

}  // namespace

void RefreshAdvAsnTraceSwitch(int nValue) {
    GuardedCall([nValue] {
        if (nValue < FULL || nValue > FIXED_UNLOCKED)
            return ReadSwitches();
        Report("AdvAsnTrace Configuration Changed (%d -> %d)", g_nAdvTrace.load(), nValue);
        g_nAdvTrace = nValue;
    });
}

bool IsExplicityTrace() {
    return g_nExplicityTrace != 0;
}

int AdvAsnTrace(const AsnType* pValue, int nMode, int nOption) {
    int nResult = -1;
    GuardedCall([&] {
        if (ZembIsExit())
            return Report("Zemb is exit: file:%s,line:%d ", FILE_WORD, LINE_EXIT);
        if (pValue == nullptr)
            return Report("Error:Input Parameter Error!");
        ReadSwitches();
        nResult = nMode == FIXED_BY_SWITCH ? PrintBySwitch(*pValue, nOption)
                                           : Print(*pValue, nMode, nOption);
    });
    return nResult;
}

}  // namespace NSTN_util
