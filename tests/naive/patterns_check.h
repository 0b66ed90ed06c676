#pragma once

#include "tests/naive/byte_source.h"

#include "tovelkarin/stringutil.h"

#include <sqlite3.h>

#include <string>

// Wildcards matched and texts replaced step by step; LIKE patterns tried by a database.
namespace naive {

inline bool Match(const char* szName, const char* szPattern) {
    if (*szPattern == '\0')
        return *szName == '\0';
    if (*szPattern == '*')
        return Match(szName, szPattern + 1) || (*szName != '\0' && Match(szName + 1, szPattern));
    return *szName != '\0' && (*szPattern == '?' || *szPattern == *szName) &&
           Match(szName + 1, szPattern + 1);
}

inline void Replace(const std::string& strFrom, const std::string& strTo, std::string& strText) {
    for (std::size_t n = 0; (n = strText.find(strFrom, n)) != std::string::npos; n += strTo.size())
        strText.replace(n, strFrom.size(), strTo);
}

inline void ReplaceNotRepeat(const std::string& strFrom, const std::string& strTo,
                             std::string& strText) {
    const std::size_t k = strTo.find(strFrom);
    if (k == std::string::npos)
        return Replace(strFrom, strTo, strText);
    std::size_t nSearch = 0;
    for (std::size_t n; (n = strText.find(strFrom, nSearch)) != std::string::npos;) {
        const std::size_t nTo = strText.find(strTo, nSearch);
        if (nTo != std::string::npos && n >= k && nTo == n - k) {
            nSearch = n + strFrom.size();
        } else {
            strText.replace(n, strFrom.size(), strTo);
            nSearch = n + strTo.size();
        }
    }
}

// False when it was given up as endless.
inline bool ReplaceTwo(const std::string& strFrom1, const std::string& strTo1,
                       const std::string& strFrom2, const std::string& strTo2,
                       std::string& strText) {
    std::size_t nSearch = 0;
    for (int nSteps = 0; nSteps < 1000; ++nSteps) {
        const std::size_t n1 = strText.find(strFrom1, nSearch);
        const std::size_t n2 = strText.find(strFrom2, nSearch);
        if (n1 == std::string::npos && n2 == std::string::npos)
            return true;
        if (n1 < n2)
            strText.replace(n1, strFrom1.size(), strTo1);
        else
            strText.replace(n2, strFrom2.size(), strTo2);
        nSearch = std::min(n1, n2) + strTo1.size();
    }
    return false;
}

// A database that answers "name LIKE pattern".
class LikeDatabase {
public:
    LikeDatabase() {
        sqlite3_open(":memory:", &m_pDatabase);
        sqlite3_exec(m_pDatabase, "PRAGMA case_sensitive_like = ON", nullptr, nullptr, nullptr);
        sqlite3_prepare_v2(m_pDatabase, "SELECT ?1 LIKE ?2 ESCAPE '\\'", -1, &m_pQuery, nullptr);
    }
    ~LikeDatabase() {
        sqlite3_finalize(m_pQuery);
        sqlite3_close(m_pDatabase);
    }
    LikeDatabase(const LikeDatabase&) = delete;
    LikeDatabase& operator=(const LikeDatabase&) = delete;

    bool IsLike(const std::string& strName, const std::string& strPattern) {
        sqlite3_reset(m_pQuery);
        sqlite3_bind_text(m_pQuery, 1, strName.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(m_pQuery, 2, strPattern.c_str(), -1, SQLITE_TRANSIENT);
        Expect(sqlite3_step(m_pQuery) == SQLITE_ROW, "the database takes " + strPattern);
        return sqlite3_column_int(m_pQuery, 0) == 1;
    }

private:
    sqlite3* m_pDatabase = nullptr;
    sqlite3_stmt* m_pQuery = nullptr;
};

inline void CheckReplacements(ByteSource& source) {
    const std::string ALPHABET = "ab'*%";
    const std::string strFrom1 = source.TextOf(ALPHABET, 3);
    const std::string strTo1 = source.TextOf(ALPHABET, 4);
    const std::string strFrom2 = source.TextOf(ALPHABET, 3);
    const std::string strTo2 = source.TextOf(ALPHABET, 4);
    const std::string strText = source.TextOf(ALPHABET, 60);
    if (strFrom1.empty() || strFrom2.empty())
        return;
    std::string strOurs = strText;
    std::string strNaive = strText;
    NSTN_util::TransWildcardForSql(strFrom1, strTo1, strOurs);
    Replace(strFrom1, strTo1, strNaive);
    Expect(strOurs == strNaive, "TransWildcardForSql in " + strText);

    strOurs = strNaive = strText;
    NSTN_util::TransWildcardForSqlNotRepeat(strFrom1, strTo1, strOurs);
    ReplaceNotRepeat(strFrom1, strTo1, strNaive);
    Expect(strOurs == strNaive, "TransWildcardForSqlNotRepeat in " + strText);

    strOurs = strNaive = strText;
    if (strFrom1.find(strFrom2) == std::string::npos &&
        strFrom2.find(strFrom1) == std::string::npos &&
        ReplaceTwo(strFrom1, strTo1, strFrom2, strTo2, strNaive)) {
        NSTN_util::TransTwoWildcardForSql(strFrom1, strTo1, strFrom2, strTo2, strOurs);
        Expect(strOurs == strNaive, "TransTwoWildcardForSql " + strFrom1 + "," + strTo1 + "," +
                                        strFrom2 + "," + strTo2 + " in " + strText);
    }

    const char cTarget = strFrom1.front();
    const char cEscape = strFrom2.front();
    strOurs = strNaive = strText;
    NSTN_util::InsertTransferChar(strOurs, cTarget, cEscape);
    for (std::size_t n = 0; (n = strNaive.find(cTarget, n)) != std::string::npos; n += 2)
        strNaive.insert(n, 1, cEscape);
    Expect(strOurs == strNaive, "InsertTransferChar in " + strText);
}

inline void CheckWildcards(ByteSource& source) {
    const std::string strName = source.TextOf("aaab%_\\'", 14);
    const std::string strPattern = source.TextOf("aab*?*?%_\\'", 10);
    const bool bFits = NSTN_util::IsNameMeetingRequire(strName, strPattern);
    if (strName.find('\0') != std::string::npos || strPattern.find('\0') != std::string::npos)
        return;
    Expect(bFits == (strPattern.empty() || Match(strName.c_str(), strPattern.c_str())),
           strName + " fits " + strPattern);

    for (const char c : strName + strPattern)
        if (static_cast<unsigned char>(c) > 0x7F)
            return;  // the database counts characters, not bytes
    static LikeDatabase database;
    if (strPattern.empty())
        return;
    std::string strLike = strPattern;
    NSTN_util::TransWildcardForSqlLikeNotRepeatEx(strLike, false, false);
    Expect(database.IsLike(strName, strLike) == bFits, strName + " LIKE " + strLike);
    strLike = strPattern;
    NSTN_util::TransWildcardForSqlLikeNotRepeat(strLike, false, true);
    Expect(database.IsLike(strName, strLike) == (strName.find(strPattern) != std::string::npos),
           strName + " contains " + strLike);
}

inline void CheckPatterns(const std::uint8_t* pData, std::size_t nSize) {
    ByteSource source(pData, nSize);
    CheckReplacements(source);
    CheckWildcards(source);
}

}  // namespace naive
