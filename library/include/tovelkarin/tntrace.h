#pragma once

#include "tovelkarin/export.h"

#include <string>

namespace NSTN_util {

// The text of one trace argument. Any number or text becomes one at the call, by value:
//   char, short, int, long, long long    decimal; a char is a number, 'A' gives "65"
//   unsigned char ... unsigned long      decimal
//   float, double                        rounded to a whole number, ties to even; at most 63
//                                        characters are kept; "-0", "inf" and "nan" can occur
//   const char*, std::string             the text itself; a null pointer gives ""
// Cost: linear in the text.
class TN_API TNString {
public:
    TNString(char cValue);
    TNString(short nValue);
    TNString(int nValue);
    TNString(unsigned char nValue);
    TNString(unsigned short nValue);
    TNString(unsigned int nValue);
    TNString(long nValue);
    TNString(unsigned long nValue);
    TNString(long long nValue);
    TNString(float fValue);
    TNString(double dValue);
    TNString(const char* szText);
    TNString(const std::string& strText);

    const std::string& Text() const noexcept { return m_strText; }

private:
    std::string m_strText;
};

// Builds one diagnostic line at the end of strOut, which is never cleared. All forms may be called
// from any thread; cost is linear in the characters appended.
//
// Without arguments: appends strText (a null szText appends nothing), then cuts strOut, what it
// held before included, to nMaxLen characters.
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strText);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szText);

// With 1 to 15 arguments: "%" and the one character after it, whatever it is ("%%" too), are a
// slot and give way to the next argument; slots left over stay as they are.
//   more arguments than slots   ends with " \n TNTRACE ERROR Parameter: \n", the whole format,
//                               " : " and the first argument without a slot
//   strOut too long             once an argument leaves strOut longer than the bound (nMaxLen up
//                               to 1000, else nMaxLen - 100), the line ends with
//                               "...... \n TNTRACE ERROR Parameter: string too more! \n"
// strOut is not cut: it may pass the bound by the last argument and the rest of the format.
// clang-format off
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11, TNString a12);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11, TNString a12, TNString a13);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11, TNString a12, TNString a13, TNString a14);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11, TNString a12, TNString a13, TNString a14, TNString a15);
// clang-format on

// The same with a format that is taken where it lies, as a literal is: it is not copied into a
// string first, which for more than 15 characters takes memory. A null szFormat is an empty one.
// clang-format off
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11, TNString a12);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11, TNString a12, TNString a13);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11, TNString a12, TNString a13, TNString a14);
TN_API void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat,
                        TNString a1, TNString a2, TNString a3, TNString a4, TNString a5,
                        TNString a6, TNString a7, TNString a8, TNString a9, TNString a10,
                        TNString a11, TNString a12, TNString a13, TNString a14, TNString a15);
// clang-format on

// Cuts strText to nMaxLen characters when it is longer.
TN_API void TruncateStr(std::string& strText, unsigned int nMaxLen);

// Writes strText as one line of the module's log. The library's own lines have level 1, the two
// about a missing call-chain manager level 3. Dropped silently while the process is exiting
// (ZembIsExit()) or when the module has no debug channel. Throws nothing: what the channel throws
// is reported as "Log Info::Exception c style format!" through NSTE_util::WriteException. Any
// thread; no lock of the library is held.
TN_API void TNTrace2LogFile(const std::string& strModule, int nLevel, const std::string& strText);

// Writes "ASSERT: file <file>, line <line>assertion failed for <expression>.\n" to the module's
// channel: nothing stands between the line number and "assertion". Otherwise as TNTrace2LogFile.
TN_API void TNAssert2LogFile(const std::string& strModule, TNString strFile, TNString strLine,
                             const std::string& strExpression);

}  // namespace NSTN_util
