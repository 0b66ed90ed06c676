#pragma once

#include "tovelkarin/export.h"

#include "zemb/asn.h"
#include "zemb/text.h"

#include <ctime>
#include <string>
#include <vector>

// Text of the daily work: NE identifiers, numbers, words, integer lists, wildcards, times, LIKE
// patterns. Any thread; nothing is thrown on bad input, and a null text counts as "". Cost: linear
// in the text and in what is produced, where nothing else is said.
namespace NSTN_util {

// NE identifiers (docs/formats/ne-identifier.md): two 16-bit halves in the low 32 bits, 0x00050003
// is written "5-3".

// Reads "5-3", or a number in decimal or after "0x". Numbers are read as by a stream: blanks before
// one are skipped, it ends at the first other character, so "5x-3" is 5-3; of the two numbers 32
// bits are read and 16 kept, so "70000-3" is 4464-3. False when a number is missing or too large;
// id may then be overwritten.
TN_API bool TEStr2NEID(const char* szText, unsigned long& id);

// The text of an identifier; its upper half is what stands above the lower 16 bits, cut to int.
TN_API std::string TENEID2Str(unsigned long id);

// Reads all texts; when one is bad the result is false and vecId empty.
TN_API bool TEVecStr2NEID(std::vector<CStdString>& vecText, std::vector<unsigned long>& vecId);

// Numbers to text.

// The digits of nValue; with bPlain false and ZembGetLangType() being 1 a blank before them. The
// language type is asked once per process, at the first call with bPlain false, whatever it
// answers; one that throws is reported and counts as another type, without the blank, from then on.
TN_API std::string ConvertULONGToStr(unsigned long nValue, bool bPlain);
TN_API std::string ConvertLONGToStr(long nValue, bool bPlain);
// The same in hexadecimal: lower case, no prefix.
TN_API std::string ConvertHEXToStr(unsigned long nValue, bool bPlain);

// With bHex "0x" and nValue in upper-case hexadecimal, else its low 32 bits as a decimal int.
TN_API std::string IntToStr(long nValue, bool bHex);
TN_API std::string Num2Str(int nValue);

// Text to numbers.

// Reads what strtol reads in nBase, blanks (" ") around it ignored, cut to int; what no long holds
// counts as the nearest one. True only if nothing follows the number; nOut is written unless the
// text is blank.
TN_API bool StrToInt(const CStdString& strText, int& nOut, int nBase);

// Reads "3-7", or "3" as 3 to 3. False unless 0 <= nFirst <= nLast; what was read is written, and
// without a "-" nLast becomes nFirst in any case.
TN_API bool GetSpan(const CStdString& strText, int& nFirst, int& nLast);

// Removes blanks (" ") at both ends of strText. False when it is empty then, or, with bDigitsOnly,
// when anything but '0' to '9' is in it.
TN_API bool TEStrTrim(std::string& strText, bool bDigitsOnly);

// Reads "10.1.2.3" as 0x0A010203: four decimal numbers below 256, blanks around each and one "."
// at the end accepted. False for anything else; ip then holds what was read before.
TN_API bool TEStr2Ip(const char* szText, unsigned long& ip);

// Reads the number that strField begins with and stores it in a field of parts:
//   nIndex  field    accepted     stored
//   0       tm_year  1900 - 3000  number - 1900
//   1       tm_mon   1 - 12       number - 1
//   2       tm_mday  1 - 31       number
//   3       tm_hour  0 - 23       number
//   4, 5    tm_min, tm_sec  0 - 59  number
// A number that is not accepted is stored as it is and gives false, as does any other nIndex.
// nIndex and strField are only read.
TN_API bool TEStrSubStr2DateTime(unsigned& nIndex, std::tm& parts, std::string& strField);

// Reads hexadecimal numbers between blanks and appends the low byte of each, unless it is 0, to
// what strOut holds after being cleared: "41 42 43" gives "ABC". Always true.
TN_API bool Str16ToStrChar(const CStdString& strIn, CStdString& strOut);

// Words and lists (docs/formats/list-notations.md). A span, or range, that would bring a list to
// over NUM_SPAN_MAX numbers is a bad item: it fails instead of exhausting the memory.

// In numbers.
constexpr std::size_t NUM_SPAN_MAX = std::size_t{1} << 26;

// Sets strWord to the text from nStart to the next of the characters strSeparators and returns the
// index behind that one; without one, to the rest, and returns -1. A start outside the text gives
// "" and -1. Cost: linear in the word.
TN_API int GetWordFromLine(const CStdString& strLine, int nStart, const CStdString& strSeparators,
                           CStdString& strWord);

// Reads the plain and the span list: "1-3, 7" gives 1, 2, 3, 7. Blanks around an item are ignored,
// empty items skipped. False at the first bad item (see GetSpan); vec holds what stood before it.
TN_API bool StrToNumList(const CStdString& strText, std::vector<int>& vec);

// Writes the plain list, "1,2,3". Always true.
TN_API bool NumListToStr(const std::vector<int>& vec, CStdString& strOut);

// Writes the span list: 1, 2, 3, 5, 7, 8 as "1-3,5,7-8".
TN_API void NumListToStr2(const std::vector<int>& vec, CStdString& strOut);

// Writes the ampersand list: 1, 2, 3, 5, 7, 8 as "1&&3&5&7&8".
TN_API void TEVec2Str(const std::vector<int>& vec, std::string& strOut);
TN_API void TEVec2Str(const std::vector<int>& vec, CStdString& strOut);

// Reads the ampersand list; "3&&1" gives 3, 2, 1. False for no number at all, for "&" at either end
// and for an item that is not of digits, blanks around it ignored; vec holds what stood before it.
TN_API bool TEStr2Vec(const char* szText, std::vector<int>& vec);
TN_API bool TEStr2Vec(const CStdString& strText, std::vector<int>& vec);

// Appends the pieces between commas to vecPart, empty ones too: "" is one empty piece, null none.
TN_API void TEStr2StrVec(const char* szText, std::vector<std::string>& vecPart);

// Sorts the key vector ascending (nKey 2: vecB, 3: vecC, else vecA) and moves the elements of the
// others with it; equal keys keep their order. Vectors of different lengths, or of over 2^32
// elements, stay as they are. No vector may be passed twice.
// Cost: n log n at most, linear when sorted already.
TN_API void TERela2WaySort(std::vector<int>& vecA, std::vector<int>& vecB, int nKey);
TN_API void TERela3WaySort(std::vector<int>& vecA, std::vector<int>& vecB, std::vector<int>& vecC,
                           int nKey);

// Other text.

// strText without blanks, tabs, line feeds and carriage returns at the right end, the left, both.
TN_API std::string RTrim(const std::string& strText);
TN_API std::string LTrim(const std::string& strText);
TN_API std::string Trim(const std::string& strText);

// Each character through toupper or tolower of the process's locale.
TN_API std::string StrToUpper(std::string strText);
TN_API std::string StrToLower(std::string strText);

// Whether the whole name fits the pattern: "*" is any run of characters, "?" any one, every other
// itself. Everything fits "". Cost: linear in the name for a given pattern.
TN_API bool IsNameMeetingRequire(std::string strName, std::string strPattern);

// Puts cEscape before every cTarget.
TN_API void InsertTransferChar(std::string& strText, char cTarget, char cEscape);

// The octets, up to their first zero; "" for null. The result lives as long as the value.
TN_API const char* GetCStrFromAsnOcts(const AsnOcts& octets);
TN_API const char* GetCStrFromAsnOcts(const AsnOcts* pOctets);

// Appends the resource text of szKey, with nIndex >= 0 of szKey and nIndex in upper-case
// hexadecimal ("KEY", 10: "KEYA"), to strResult. 1; 0 without a resource manager (assertion line
// "pRes != __null").
TN_API int AppendRes(const char* szKey, int nIndex, std::string& strResult);
// The same; of a text of two or more characters that begins and ends with "A" both are left away.
TN_API int AppendResAndTrimAChar(const char* szKey, int nIndex, std::string& strResult);

// Times, by the platform's clock and time zone.

// Seconds since 1970, UTC.
TN_API long GetCurUtcTime();
// Local time, broken down.
TN_API std::tm GetCurTmTime();
// Local time as "2026/03/01/ 08:00:00".
TN_API std::string GetCurrTimeStr();
// Seconds since 1970 of a broken-down time that is taken as UTC, whatever its name says.
TN_API long Local2UTC(std::tm parts);
// Those seconds in decimal.
TN_API std::string Local2UTCSTR(std::tm parts);
// Local time of seconds since 1970, UTC.
TN_API std::tm UTC2Local(const long& nSeconds);

// SQL LIKE patterns (docs/formats/like-patterns.md), in place. An empty strFrom changes nothing.

// Replaces every strFrom by strTo, from left to right; what was put in is not looked at again.
TN_API void TransWildcardForSql(const std::string& strFrom, const std::string& strTo,
                                std::string& strText);

// The same, but a strFrom that is already part of a strTo stays: "%" to "!%" leaves "!%" alone.
// What is part of a strTo is judged from the search point on, behind the last place handled; when
// strTo begins with strFrom, the rest of a strTo that was skipped is looked at on its own: "'" to
// "''" makes three quotes of two.
TN_API void TransWildcardForSqlNotRepeat(const std::string& strFrom, const std::string& strTo,
                                         std::string& strText);

// Doubles every single quote.
TN_API void TransWildcardForSqlSingleQuotes(std::string& strText);

// Replaces both in one pass, the nearer one first; behind either the search goes on as many
// characters after the place as strTo1 has. Nothing changes when one of strFrom1 and strFrom2 holds
// the other; line: "Call TransTwoWildcardForSql error!\n".
//
// May not end, once strFrom2 is found, when strTo2 without its first strTo1.size() characters holds
// strFrom2: each replacement then makes the next one.
TN_API void TransTwoWildcardForSql(const std::string& strFrom1, const std::string& strTo1,
                                   const std::string& strFrom2, const std::string& strTo2,
                                   std::string& strText);

// Makes a LIKE pattern of a text that is meant literally: escaped by dao::likeEscape, with
// bEscapeQuotes every single quote doubled, with bWrap "%" before and after it. "" stays "".
TN_API void TransWildcardForSqlLikeNotRepeat(std::string& strText, bool bEscapeQuotes, bool bWrap);

// The same for a text with wildcards: "?" becomes "_" and "*" becomes "%"; a text with "*" is never
// wrapped.
TN_API void TransWildcardForSqlLikeNotRepeatEx(std::string& strText, bool bEscapeQuotes,
                                               bool bWrap);

}  // namespace NSTN_util
