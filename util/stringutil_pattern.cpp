#include "tovelkarin/stringutil.h"

#include "trace/trace_line.h"
#include "util/text_search.h"

#include "zemb/text.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace NSTN_util {

namespace {

constexpr std::size_t NPOS = std::string_view::npos;

// A piece of a pattern between two stars: "?" is any character.
class Piece {
public:
    explicit Piece(std::string_view strPiece) : m_strPiece(strPiece) {
        m_nLead = std::min(strPiece.find_first_not_of('?'), strPiece.size());
        const std::size_t nEnd = std::min(strPiece.find('?', m_nLead), strPiece.size());
        m_strLiteral = strPiece.substr(m_nLead, nEnd - m_nLead);
        m_strTail = strPiece.substr(nEnd);
    }

    std::size_t Size() const { return m_strPiece.size(); }

    static bool Fits(std::string_view strName, std::string_view strPiece) {
        for (std::size_t i = 0; i < strPiece.size(); ++i)
            if (strPiece[i] != '?' && strPiece[i] != strName[i])
                return false;
        return true;
    }

    bool FitsAt(std::string_view strName, std::size_t nAt) const {
        return Fits(strName.substr(nAt, Size()), m_strPiece);
    }

    // The first place at or after nFrom where the piece fits; NPOS without one.
    std::size_t Find(std::string_view strName, std::size_t nFrom) const {
        if (strName.size() - nFrom < Size())
            return NPOS;
        // The characters before the literal and behind it must be there.
        const std::string_view strWithin = strName.substr(0, strName.size() - m_strTail.size());
        for (std::size_t nAt = nFrom + m_nLead;; ++nAt) {
            nAt = FindText(strWithin, m_strLiteral, nAt);
            if (nAt == NPOS)
                return NPOS;
            if (Fits(strName.substr(nAt + m_strLiteral.size(), m_strTail.size()), m_strTail))
                return nAt - m_nLead;
        }
    }

private:
    std::string_view m_strPiece;
    std::size_t m_nLead;  // "?" at the beginning
    std::string_view m_strLiteral;
    std::string_view m_strTail;  // from the next "?" on
};

// Both ends first, then each piece between stars at its first place: an earlier place never leaves
// less of the name for the pieces behind it.
bool IsFitting(std::string_view strName, std::string_view strPattern) {
    const std::size_t nStar = strPattern.find('*');
    if (nStar == NPOS)
        return strName.size() == strPattern.size() && Piece::Fits(strName, strPattern);
    const std::size_t nLastStar = strPattern.rfind('*');
    const std::string_view strHead = strPattern.substr(0, nStar);
    const std::string_view strEnd = strPattern.substr(nLastStar + 1);
    if (strName.size() < strHead.size() + strEnd.size() || !Piece::Fits(strName, strHead) ||
        !Piece::Fits(strName.substr(strName.size() - strEnd.size()), strEnd))
        return false;
    strName.remove_suffix(strEnd.size());
    std::size_t nAt = strHead.size();
    for (std::size_t nStart = nStar + 1; nStart <= nLastStar;) {
        const std::size_t nEnd = strPattern.find('*', nStart);
        const Piece piece(strPattern.substr(nStart, nEnd - nStart));
        nStart = nEnd + 1;
        nAt = piece.Find(strName, nAt);
        if (nAt == NPOS)
            return false;
        nAt += piece.Size();
    }
    return true;
}

// The occurrences of one pattern, asked for at rising places: what lies ahead is remembered, so
// that an absent pattern is searched once.
class Occurrences {
public:
    Occurrences(std::string_view strText, std::string_view strPiece)
        : m_strText(strText), m_strPiece(strPiece) {}

    // The first one at or after nFrom, or NPOS.
    std::size_t From(std::size_t nFrom) {
        if (!m_bKnown || (m_nNext != NPOS && m_nNext < nFrom)) {
            m_nNext = FindText(m_strText, m_strPiece, nFrom);
            m_bKnown = true;
        }
        return m_nNext;
    }

private:
    std::string_view m_strText;
    std::string_view m_strPiece;
    std::size_t m_nNext = 0;
    bool m_bKnown = false;
};

// Writes a text with every cFrom as strTo to where room for it was made.
void WriteReplaced(const std::string& strText, char cFrom, std::string_view strTo, char* p) {
    const char* pFrom = strText.data();
    const char* const pEnd = pFrom + strText.size();
    if (strTo.size() == 2) {
        // Without a branch: both bytes are written, the second one stays only behind a hit.
        for (; pFrom != pEnd; ++pFrom) {
            const bool bHit = *pFrom == cFrom;
            p[0] = bHit ? strTo[0] : *pFrom;
            p[1] = strTo[1];
            p += bHit ? 2 : 1;
        }
        return;
    }
    for (; pFrom != pEnd; ++pFrom) {
        if (*pFrom == cFrom) {
            std::memcpy(p, strTo.data(), strTo.size());
            p += strTo.size();
        } else {
            *p++ = *pFrom;
        }
    }
}

void ReplaceCharacter(std::string& strText, char cFrom, std::string_view strTo) {
    if (strTo.size() == 1) {
        std::replace(strText.begin(), strText.end(), cFrom, strTo.front());
        return;
    }
    const auto nHits = static_cast<std::size_t>(std::count(strText.begin(), strText.end(), cFrom));
    if (nHits == 0)
        return;
    const std::size_t nSize = strText.size() - nHits + nHits * strTo.size();
    std::string strOut(nSize + 1, '\0');  // one more: the byte behind the last is written too
    WriteReplaced(strText, cFrom, strTo, strOut.data());
    strOut.pop_back();
    strText.swap(strOut);
}

// What is already handled, and appends to it from a text that stays as it is.
class Rebuilt {
public:
    explicit Rebuilt(std::string_view strText) : m_strText(strText) {
        m_strOut.reserve(strText.size());
    }

    // Takes over the text up to nTo, then puts strPut for the nSkipped characters there.
    void Put(std::size_t nTo, std::string_view strPut, std::size_t nSkipped) {
        m_strOut.append(m_strText.substr(m_nDone, nTo - m_nDone)).append(strPut);
        m_nDone = nTo + nSkipped;
    }

    void MoveTo(std::string& strText) {
        if (m_nDone == 0 && m_strOut.empty())
            return;
        m_strOut.append(m_strText.substr(m_nDone));
        strText.swap(m_strOut);
    }

private:
    std::string_view m_strText;
    std::string m_strOut;
    std::size_t m_nDone = 0;
};

// A text that is eaten from its front, where pieces may also be put back. Places count from its
// end, so that they stay true.
class FrontBuffer {
public:
    explicit FrontBuffer(std::string_view strText) : m_strBuffer(strText) {}

    std::string_view Text() const { return std::string_view(m_strBuffer).substr(m_nHead); }
    std::size_t Size() const { return m_strBuffer.size() - m_nHead; }
    void Drop(std::size_t nCount) { m_nHead += nCount; }

    void PushFront(std::string_view strPut) {
        if (strPut.size() > m_nHead) {
            const std::size_t nRoom = m_strBuffer.size() + strPut.size();
            m_strBuffer.insert(0, nRoom, '\0');
            m_nHead += nRoom;
        }
        m_nHead -= strPut.size();
        strPut.copy(m_strBuffer.data() + m_nHead, strPut.size());
    }

private:
    std::string m_strBuffer;
    std::size_t m_nHead = 0;
};

// The next place of one pattern in a FrontBuffer, remembered as the characters from there to the
// end.
class NextInFront {
public:
    explicit NextInFront(std::string_view strPiece) : m_strPiece(strPiece) {}

    // The place, counted from the front, or NPOS. nPushed characters were put in front since the
    // last call.
    std::size_t Find(const FrontBuffer& rest, std::size_t nPushed) {
        const std::string_view strText = rest.Text();
        if (m_bKnown && nPushed != 0) {
            const std::size_t nAt =
                FindText(strText.substr(0, nPushed + m_strPiece.size() - 1), m_strPiece, 0);
            if (nAt != NPOS)
                return Remember(strText, nAt);
        }
        // What was remembered may have been eaten before the last characters were put in front.
        if (m_bKnown && (m_nToEnd == NPOS || m_nToEnd <= strText.size() - nPushed))
            return m_nToEnd == NPOS ? NPOS : strText.size() - m_nToEnd;
        return Remember(strText, FindText(strText, m_strPiece, 0));
    }

private:
    std::size_t Remember(std::string_view strText, std::size_t nAt) {
        m_bKnown = true;
        m_nToEnd = nAt == NPOS ? NPOS : strText.size() - nAt;
        return nAt;
    }

    std::string_view m_strPiece;
    std::size_t m_nToEnd = 0;
    bool m_bKnown = false;
};

constexpr const char* ONE_QUOTE = "'";
constexpr const char* TWO_QUOTES = "''";

// The beginning that both LIKE forms share.
void EscapeForLike(std::string& strText, bool bEscapeQuotes) {
    strText = dao::likeEscape(strText);
    if (bEscapeQuotes)
        TransWildcardForSqlSingleQuotes(strText);
}

void Wrap(std::string& strText) {
    if (!strText.empty())
        strText.insert(0, 1, '%').push_back('%');
}

}  // namespace

bool IsNameMeetingRequire(std::string strName, std::string strPattern) {
    return strPattern.empty() || IsFitting(strName, strPattern);
}

void InsertTransferChar(std::string& strText, char cTarget, char cEscape) {
    const char arrBoth[] = {cEscape, cTarget};
    ReplaceCharacter(strText, cTarget, {arrBoth, sizeof arrBoth});
}

void TransWildcardForSql(const std::string& strFrom, const std::string& strTo,
                         std::string& strText) {
    if (strFrom.empty())
        return;
    if (strFrom.size() == 1) {
        const std::string strCopy = strTo;  // it may be strText itself
        return ReplaceCharacter(strText, strFrom.front(), strCopy);
    }
    Rebuilt out(strText);
    for (std::size_t nAt = 0; (nAt = FindText(strText, strFrom, nAt)) != NPOS;
         nAt += strFrom.size())
        out.Put(nAt, strTo, strFrom.size());
    out.MoveTo(strText);
}

void TransWildcardForSqlNotRepeat(const std::string& strFrom, const std::string& strTo,
                                  std::string& strText) {
    const std::size_t nOffset = FindText(strTo, strFrom, 0);
    if (strFrom.empty() || nOffset == NPOS)
        return TransWildcardForSql(strFrom, strTo, strText);
    // What lies ahead of the search point is still the text as it came, so it is searched there.
    Rebuilt out(strText);
    Occurrences from(strText, strFrom);
    Occurrences to(strText, strTo);
    std::size_t nSearch = 0;
    for (std::size_t nAt; (nAt = from.From(nSearch)) != NPOS; nSearch = nAt + strFrom.size())
        if (const std::size_t nTo = to.From(nSearch); nTo == NPOS || nTo + nOffset != nAt)
            out.Put(nAt, strTo, strFrom.size());
    out.MoveTo(strText);
}

void TransWildcardForSqlSingleQuotes(std::string& strText) {
    TransWildcardForSql(ONE_QUOTE, TWO_QUOTES, strText);
}

void TransTwoWildcardForSql(const std::string& strFrom1, const std::string& strTo1,
                            const std::string& strFrom2, const std::string& strTo2,
                            std::string& strText) {
    if (FindText(strFrom1, strFrom2, 0) != NPOS || FindText(strFrom2, strFrom1, 0) != NPOS)
        return Report("Call TransTwoWildcardForSql error!\n");
    std::string strOut;
    strOut.reserve(strText.size());
    FrontBuffer rest(strText);
    NextInFront next1(strFrom1);
    NextInFront next2(strFrom2);
    const auto Commit = [&](std::size_t nCount) {
        strOut.append(rest.Text().substr(0, nCount));
        rest.Drop(std::min(nCount, rest.Size()));
    };
    for (std::size_t nPushed = 0;;) {
        const std::size_t nAt1 = next1.Find(rest, nPushed);
        const std::size_t nAt2 = next2.Find(rest, nPushed);
        if (nAt1 == NPOS && nAt2 == NPOS)
            break;
        const bool bFirst = nAt1 < nAt2;
        const std::string& strTo = bFirst ? strTo1 : strTo2;
        Commit(std::min(nAt1, nAt2));
        rest.Drop((bFirst ? strFrom1 : strFrom2).size());
        // Deliberate: the search goes on behind as many characters as strTo1 has, also after
        // strTo2.
        const std::size_t nWhole = std::min(strTo.size(), strTo1.size());
        strOut.append(strTo, 0, nWhole);
        nPushed = strTo.size() - nWhole;
        rest.PushFront(std::string_view(strTo).substr(nWhole));
        Commit(strTo1.size() - nWhole);
    }
    strOut.append(rest.Text());
    strText.swap(strOut);
}

void TransWildcardForSqlLikeNotRepeat(std::string& strText, bool bEscapeQuotes, bool bWrap) {
    if (strText.empty())
        return;
    EscapeForLike(strText, bEscapeQuotes);
    if (bWrap)
        Wrap(strText);
}

void TransWildcardForSqlLikeNotRepeatEx(std::string& strText, bool bEscapeQuotes, bool bWrap) {
    if (strText.empty())
        return;
    EscapeForLike(strText, bEscapeQuotes);
    TransWildcardForSqlNotRepeat("?", "_", strText);
    if (strText.find('*') != std::string::npos)
        TransWildcardForSqlNotRepeat("*", "%", strText);
    else if (bWrap)
        Wrap(strText);
}

}  // namespace NSTN_util
