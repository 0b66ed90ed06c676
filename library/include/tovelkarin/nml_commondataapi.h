#pragma once

#include "tovelkarin/export.h"

#include "zemb/text.h"

#include <ctime>
#include <list>
#include <string>
#include <vector>

// Numbers, addresses, lists and OIDs as text. Functions of their arguments alone: any thread,
// nothing thrown on bad input. Cost: linear in the text and in what is produced.
namespace NSTN_util {

// Decimal text.
TN_API std::string Int2String(int nValue);
TN_API std::string UInt2String(unsigned int nValue);
// Rounded to a whole number, half to even; -0.4 gives "-0". At most 63 characters.
TN_API std::string Double2String(double dValue);

// The value of a hexadecimal digit of either case; 0 for any other character.
TN_API int XDigitCharToInt(char c);

// Whether c is a digit of base 10 or 16; false in any other base.
TN_API bool isHexDecChar(int nBase, char c);

// Whether a text has only digits: hexadecimal ones down to its last "x" when it begins with "0x" or
// "0X", decimal ones otherwise. "0x" and "x" are true; "", "-1" and "1g" false.
TN_API bool isHexDecStr(const std::string& strText);

// The number at the end of a text, hexadecimal when the text begins with "0x" or "0X", else
// decimal: digits back to the last "x", "X" or "-", or to the beginning; a "-" negates it. What
// stands before is ignored: "12x5" is 5, "5-3" is -3. 0 for "" and when anything else than a digit
// is met. What is too large wraps around, in the width of the result; of a double of over
// 300 digits nothing useful remains.
TN_API unsigned HexDecStr2UInt(const std::string& strText);
TN_API std::time_t HexDecStr2TimeT(const std::string& strText);
TN_API long HexDecStr2Long(const std::string& strText);
TN_API int HexDecStr2Int(const std::string& strText);
TN_API double HexDecStr2Double(const std::string& strText);
TN_API long long HexDecStr2LongLong(const std::string& strText);

// "10.0.0.1" as 0x0A000001; -1 for "". Nothing is checked: each piece is read as by strtol, "" as
// 0, and ORed in, a fifth one where the first went.
TN_API int IPString2Int(const std::string& strText);
// 0x0A000001 as "10.0.0.1"; "" for -1, which stands for no address.
TN_API std::string IPInt2String(int ip);

// "LTUNNELVIEW:", nFirst and nSecond, with nothing between them: (12, 3) and (1, 23) are the same.
TN_API std::string MakeTopoLinkID(int nFirst, int nSecond);

// Cuts strText at its first strSeparator; both sides are trimmed of blanks, tabs and line ends.
// False, with nothing changed, when there is none, or strSeparator is "".
TN_API bool SplitStrBySeparator(const std::string& strText, const std::string& strSeparator,
                                std::string& strLeft, std::string& strRight);

// Reads the plain and the span list as stringutil.h's function of the name does. Line on failure:
// "Error: strVlanNum = %s ! file:%s,line:%d ".
TN_API bool StrToNumList(const std::string& strText, std::vector<int>& vec);
TN_API bool StrToNumList(const char* szText, std::vector<int>& vec);

// The same for an OID. Line on failure: "Error: StrOIDToVec = %s ! file:%s,line:%d ".
TN_API bool StrOIDToVec(const std::string& strText, std::vector<int>& vec);

// Writes an integer sequence, in its order, as a span list: 1, 2, 3, 7 as "1-3,7".
TN_API void CompOID2Str(std::vector<int>& vec, std::string& strOut);

// Writes the numbers, sorted and each once, as a span list.
TN_API void NumListToStr(const std::vector<int>& vec, std::string& strOut);
// Writes the numbers, sorted, as a span list; a repeated number ends a run: 1, 2, 2, 3 as
// "1-2,2-3".
TN_API void NumListToStr(const std::list<int>& listNumber, std::string& strOut);

// Writes the numbers as they come as a plain list.
TN_API void NumListToRawStr(const std::vector<int>& vec, std::string& strOut);

}  // namespace NSTN_util
