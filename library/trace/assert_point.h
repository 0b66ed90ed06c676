#pragma once

namespace NSTN_util {

// Where an assertion line says it comes from. All of it is message text: nLine is a fixed number,
// not a line of our own file, and never __LINE__.
struct TNAssertPoint {
    const char* szFileWord;
    int nLine;
    const char* szExpr;
};

// Prints "ASSERT: file %s, line %d assertion failed for '%s'.\n" through the platform's default
// debug interface, if there is one. Throws nothing; does not ask whether the process is exiting.
void ReportAssert(const TNAssertPoint& point) noexcept;

}  // namespace NSTN_util
