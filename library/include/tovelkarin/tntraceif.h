#pragma once

#include "tovelkarin/export.h"

class AsnType;

// Traces of NE command messages. What a call writes is chosen by a switch of the process:
//   1 full      the platform's trace of the whole value, in its default channel
//   2 summary   the line "AATS>>> %s" with the name of the value's type
//   3 fixed     the value's text in sections of at most 4,000 characters, ten of them
//   4 fixed     the same, while others may print
// The switches come from <root>/etc/oss_cfg/e2e/nml_common/common.cfg, "AdvanceAsnTrace" (at first
// 1) and "bExplicityTrace" (at first 0), which every call looks at again, as TNReadCfg does. Any
// thread. Nothing is thrown.
namespace NSTN_util {

// Sets the first switch to nValue, 1 to 4, until the next look at the file; any other value looks
// at the file at once, if there is an installation root. A switch that cannot be read becomes 0.
// Lines: "AdvAsnTrace Configuration Changed (%d -> %d)", "ExplicityTrace Configuration Changed (%d
// -> %d)", " read AdvAsnTrace failed! file = %s", " read bExplicityTrace failed! file = %s".
TN_API void RefreshAdvAsnTraceSwitch(int nValue);

// Whether "bExplicityTrace" was not 0 at the last look.
TN_API bool IsExplicityTrace();

// Traces a value by the mode: 1 to 4 as above, 0 by the switch, -1 as 3, but only when the switch
// is 3. Any other mode is 1, behind the line "Warning:Advance Trace Config Error!advTrace=%d".
//
// The fixed print writes "AdvAsnTraceFix asn szie:%d", then a line " >>> Section(%d ~ %d)\n" with
// its piece for each section, "Total Size: %d " in front of the first one. A section ends at the
// first line feed at or behind its 4,000th character; where that is too far it has 4,000
// characters, and the one behind them is left out. The text is compacted before: one of over
// 40,000 characters loses pieces of its indentation, " --" and four blanks, from the front until
// it fits or none is left; with nOption other than 0 every text loses all of them. Lines besides:
// "Exception: AdvAsnTrace error! Asn size:%d", and "use default asn trace" when the full trace
// takes the place of a fixed print that failed.
//
// 0; -1 for null (line: "Error:Input Parameter Error!"), when the process is exiting (nothing is
// written then), and when the platform's trace threw. Modes 1 to 3 hold one lock of the process
// while they write, which others wait for; a channel that calls back is let through, on several
// threads at once too.
// Cost: linear in the value.
TN_API int AdvAsnTrace(const AsnType* pValue, int nMode, int nOption);

}  // namespace NSTN_util
