#pragma once

#include "zemb/export.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// The platform's string: a standard string that also takes a null pointer, as "". A class of its
// own, so that overloads can tell it from std::string; either converts to the other.
class CStdString : public std::string {
public:
    using std::string::string;
    using std::string::operator=;
    CStdString() = default;
    CStdString(const std::string& strText) : std::string(strText) {}
    CStdString(std::string&& strText) noexcept : std::string(std::move(strText)) {}
    CStdString(const char* szText) : std::string(szText == nullptr ? "" : szText) {}
    // Null counts as "" here too.
    CStdString& operator=(const std::string& strText) {
        assign(strText);
        return *this;
    }
    CStdString& operator=(std::string&& strText) noexcept {
        std::string::operator=(std::move(strText));
        return *this;
    }
    CStdString& operator=(const char* szText) {
        assign(szText == nullptr ? "" : szText);
        return *this;
    }
};

// Text helpers of the platform. Stateless; cost linear in the text and in what is produced.
namespace NSTE_util {

// The longest list that StrToNumList makes, in numbers.
constexpr std::size_t NUM_LIST_MAX = 1U << 20;

// strText without blanks, tabs, carriage returns and line feeds at both ends.
ZEMB_API std::string Trim(const std::string& strText);

// The pieces of strText between the characters cSeparator, empty ones included: "10:20:" gives
// three, "" gives one.
ZEMB_API std::vector<std::string> Token(const std::string& strText, char cSeparator);

// Reads a whole number in base 2 to 36; blanks around it are ignored, a sign may stand before it.
// False, with nValue untouched, when anything else stands there or 32 bits do not hold it.
ZEMB_API bool StrToInt(const std::string& strText, int& nValue, int nBase);

// Reads numbers and spans separated by ",": "1-3, 7" gives 1, 2, 3, 7. Blanks around a piece are
// ignored, empty pieces skipped. Of a number too large the low 32 bits count: 4294967298 reads
// as 2. False for a negative number, a falling span, anything that is no number, or a list of over
// NUM_LIST_MAX numbers; vecNumber then holds what stood before it.
ZEMB_API bool StrToNumList(const std::string& strText, std::vector<int>& vecNumber);

}  // namespace NSTE_util

// Text for the database.
namespace dao {

// strText for use within an SQL LIKE pattern that is followed by ESCAPE '\\': a backslash stands
// before every "%", "_" and backslash. "*", "?" and "'" stay as they are. Throws nothing but
// std::bad_alloc.
ZEMB_API std::string likeEscape(const std::string& strText);

}  // namespace dao
