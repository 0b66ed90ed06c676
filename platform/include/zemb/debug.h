#pragma once

#include "zemb/export.h"

#include <string>

// Where diagnostic lines go. Obtained from NSTE_util::GetDebugInterface; lives to the end of the
// process and may be called from any thread. No operation throws but std::bad_alloc, but a sink
// that the host has put behind it may; a caller that must not throw catches.
class ZEMB_API TEDebugInterface {
public:
    // One line at a level; larger numbers are graver. A null text counts as "".
    virtual void Trace(int nLevel, const char* szText) = 0;
    // One assertion line; one line feed at its end is taken as the end of the line.
    virtual void Assert(const char* szText) = 0;
    // One line as by printf; one line feed at its end is taken as the end of the line.
    // Returns the number of characters of the whole text, or -1 when the format is no good.
    virtual int Printf(const char* szFormat, ...) __attribute__((format(printf, 2, 3))) = 0;

    // After the operations: the first two slots of the interface are Trace and Assert.
    virtual ~TEDebugInterface();
};

// A command of the debug console.
class ZEMB_API TEDebugCommand {
public:
    // The word that calls it.
    virtual std::string GetName() = 0;
    virtual ~TEDebugCommand();
};

namespace NSTE_util {

// The channel of a module, made at the first call; the same pointer for the same name ever after.
// May be null: a null name, or the host has taken the channels away. Cost: logarithmic in the
// number of channels.
ZEMB_API TEDebugInterface* GetDebugInterface(const char* szModule);

// The channel of lines that belong to no module; may be null as above.
ZEMB_API TEDebugInterface* GetDefaultDebugInterface();

// Notes in the default channel that an exception was caught and dropped. Throws nothing.
ZEMB_API void WriteException(const char* szText) noexcept;

}  // namespace NSTE_util

// True from the moment the host announces that the process is exiting.
ZEMB_API bool ZembIsExit();
