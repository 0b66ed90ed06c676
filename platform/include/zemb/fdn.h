#pragma once

#include "zemb/export.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Text of FDNs. An object belongs to one thread at a time; a null text counts as "".
namespace FrameUtil {

// Reads an FDN: pairs "key=value" with a comma behind each, the last comma may be missing. Blanks
// around a key do not count, a value is taken as it stands and may be empty.
class ZEMB_API StrUIDParser {
public:
    StrUIDParser();
    ~StrUIDParser();
    StrUIDParser(const StrUIDParser&) = delete;
    StrUIDParser& operator=(const StrUIDParser&) = delete;

    // False, with no pairs, for "", for a piece without "=" or key, and for an empty piece before
    // the last comma.
    bool Parse(const char* szText);

    // Kept for callers that walk the pairs: no operation here depends on it.
    void SetCurToFirst();

    // The value of occurrence nIndex of a key, counted from 0: as text, or as the number that it
    // begins with, at most ULONG_MAX; one behind "-" as StrUIDFactory writes it, in two's
    // complement, LONG_MIN at least. False, with the value untouched, when there is none.
    bool GetValue(unsigned long& nValue, const char* szKey, unsigned long nIndex) const;
    bool GetValue(std::string& strValue, const char* szKey, unsigned long nIndex) const;

    // The pairs in their order, as views that live until the next Parse.
    std::size_t Size() const;
    std::string_view Key(std::size_t nPair) const;
    std::string_view Value(std::size_t nPair) const;

private:
    struct Pair {
        std::string_view strKey;
        std::string_view strValue;
    };
    const Pair* Find(const char* szKey, unsigned long nIndex) const;

    std::string m_strText;
    std::vector<Pair> m_vecPair;
    std::size_t m_nCur;
};

// Cuts a text at one character and gives the pieces as numbers.
class ZEMB_API StrSpliter {
public:
    explicit StrSpliter(char cSeparator);
    ~StrSpliter();

    // False for "".
    bool Parse(const char* szText);

    // The number that the next piece begins with, read as by StrUIDParser; 0 without one, and
    // behind the last piece.
    StrSpliter& operator>>(unsigned long& nValue);

private:
    char m_cSeparator;
    std::string m_strText;
    std::size_t m_nNext;  // behind the text: no piece is left
};

// Writes an FDN.
class ZEMB_API StrUIDFactory {
public:
    StrUIDFactory();
    ~StrUIDFactory();
    // Adds "key=value,".
    void Append(const char* szKey, long nValue);
    std::string GetStr() const&;
    std::string GetStr() &&;

private:
    std::string m_strText;
};

}  // namespace FrameUtil
