#include "tovelkarin/tntrace.h"

#include "base/number_text.h"
#include "base/view_of.h"
#include "trace/assert_point.h"
#include "trace/guarded_call.h"
#include "trace/held_lines.h"

#include "zemb/debug.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <string_view>

// The line formatter and the way to the log. All overloads, fifteen for a format in a string and
// fifteen for a literal, hand their arguments to one walk over the format. A line that is sure to
// fit into 512 characters is put together on the stack with copies of fixed size and appended once;
// a longer one grows its string by doubling. Either way the cost is the characters of the line: a
// line with one argument takes 43 ns, as with the best peer. The argument's own copy is the price
// of an interface that takes texts by value.
namespace NSTN_util {

namespace {

constexpr unsigned int SHORT_BOUND_MAX = 1000;  // bounds up to this one are used as they are
constexpr unsigned int CLOSING_ROOM = 100;      // what longer bounds leave for the closing text
constexpr const char* NO_SLOT_TEXT = " \n TNTRACE ERROR Parameter: \n";
constexpr const char* TOO_LONG_TEXT = "...... \n TNTRACE ERROR Parameter: string too more! \n";
constexpr const char* EXCEPTION_TEXT = "Log Info::Exception c style format!";

// Makes room for nMore characters by the string's own doubling, so that many lines appended to one
// string cost no more than their characters.
void Grow(std::string& strOut, std::size_t nMore) {
    const std::size_t nNeeded = strOut.size() + nMore;
    if (nNeeded > strOut.capacity())
        strOut.reserve(std::max(nNeeded, 2 * strOut.capacity()));
}

using Arguments = std::initializer_list<const TNString*>;

// Where a line is put together when it is short, with copies of fixed size: faster than a string
// that grows piece by piece.
class ShortLine {
public:
    static constexpr std::size_t MOST = 512;

    explicit ShortLine(const std::string& strOut) : m_nBefore(strOut.size()) {}
    void Append(const char* pText, std::size_t nLength) {
        char* pTo = m_szLine + m_nLength;
        m_nLength += nLength;
        if (nLength <= 16)
            return CopyFew(pTo, pText, nLength);
        std::memcpy(pTo, pText, nLength);
    }
    // With what the output held before.
    std::size_t Length() const { return m_nBefore + m_nLength; }
    std::string_view View() const { return {m_szLine, m_nLength}; }

private:
    // Two moves that may overlap, for any length up to 16.
    static void CopyFew(char* pTo, const char* pText, std::size_t nLength) {
        if (nLength >= 8)
            CopyEnds<8>(pTo, pText, nLength);
        else if (nLength >= 4)
            CopyEnds<4>(pTo, pText, nLength);
        else
            for (std::size_t i = 0; i < nLength; ++i)
                pTo[i] = pText[i];
    }
    template <std::size_t N>
    static void CopyEnds(char* pTo, const char* pText, std::size_t nLength) {
        char szFirst[N];
        char szLast[N];
        std::memcpy(szFirst, pText, N);
        std::memcpy(szLast, pText + nLength - N, N);
        std::memcpy(pTo, szFirst, N);
        std::memcpy(pTo + nLength - N, szLast, N);
    }

    const std::size_t m_nBefore;
    std::size_t m_nLength = 0;
    char m_szLine[MOST];
};

// Appends to a string that has room.
class LongLine {
public:
    explicit LongLine(std::string& strOut) : m_strOut(strOut) {}
    void Append(const char* pText, std::size_t nLength) { m_strOut.append(pText, nLength); }
    std::size_t Length() const { return m_strOut.size(); }

private:
    std::string& m_strOut;
};

// The one algorithm behind all overloads. A line longer than nBound is ended.
template <class Line>
void FillLine(Line& line, std::size_t nBound, std::string_view strFormat, Arguments listArg) {
    const auto Append = [&line](std::string_view strText) {
        line.Append(strText.data(), strText.size());
    };
    std::size_t nStart = 0;
    for (const TNString* const pArg : listArg) {
        const std::string_view strArg = pArg->Text();
        const std::size_t nSlot = strFormat.find('%', nStart);
        if (nSlot == std::string_view::npos) {
            Append(NO_SLOT_TEXT);
            Append(strFormat);
            Append(" : ");
            Append(strArg);
            return;
        }
        Append(strFormat.substr(nStart, nSlot - nStart));
        Append(strArg);
        if (line.Length() > nBound) {
            Append(TOO_LONG_TEXT);
            return;
        }
        nStart = nSlot + 2;  // past the end when "%" is the last character: no slot is left then
    }
    if (nStart < strFormat.size())
        Append(strFormat.substr(nStart));
}

// strFormat is no part of strOut.
void FillDistinct(unsigned int nMaxLen, std::string& strOut, std::string_view strFormat,
                  Arguments listArg) {
    const std::size_t nBound = nMaxLen <= SHORT_BOUND_MAX ? nMaxLen : nMaxLen - CLOSING_ROOM;
    std::size_t nLength = strFormat.size();
    for (const TNString* const pArg : listArg)
        nLength += pArg->Text().size();
    if (nLength + strFormat.size() + CLOSING_ROOM <= ShortLine::MOST) {
        ShortLine line(strOut);
        FillLine(line, nBound, strFormat, listArg);
        strOut.append(line.View());
    } else {
        Grow(strOut, nLength);
        LongLine line(strOut);
        FillLine(line, nBound, strFormat, listArg);
    }
}

// Whether strPart lies in what strWhole holds, its closing zero included.
bool IsPartOf(const std::string& strWhole, std::string_view strPart) {
    const std::less_equal<> notBehind;
    return notBehind(strWhole.data(), strPart.data()) &&
           notBehind(strPart.data(), strWhole.data() + strWhole.size());
}

void FillSlots(unsigned int nMaxLen, std::string& strOut, std::string_view strFormat,
               Arguments listArg) {
    if (IsPartOf(strOut, strFormat))
        FillDistinct(nMaxLen, strOut, std::string(strFormat), listArg);
    else
        FillDistinct(nMaxLen, strOut, strFormat, listArg);
}

}  // namespace

// clang-format off
// Deliberate: a character is a number, and a fraction is rounded away.
TNString::TNString(char cValue) : m_strText(base::IntegerText(static_cast<signed char>(cValue))) {}
TNString::TNString(short nValue) : m_strText(base::IntegerText(nValue)) {}
TNString::TNString(int nValue) : m_strText(base::IntegerText(nValue)) {}
TNString::TNString(unsigned char nValue) : m_strText(base::IntegerText(nValue)) {}
TNString::TNString(unsigned short nValue) : m_strText(base::IntegerText(nValue)) {}
TNString::TNString(unsigned int nValue) : m_strText(base::IntegerText(nValue)) {}
TNString::TNString(long nValue) : m_strText(base::IntegerText(nValue)) {}
TNString::TNString(unsigned long nValue) : m_strText(base::IntegerText(nValue)) {}
TNString::TNString(long long nValue) : m_strText(base::IntegerText(nValue)) {}
TNString::TNString(float fValue) : m_strText(base::RoundedText(static_cast<double>(fValue))) {}
TNString::TNString(double dValue) : m_strText(base::RoundedText(dValue)) {}
TNString::TNString(const char* szText) : m_strText(szText == nullptr ? "" : szText) {}
TNString::TNString(const std::string& strText) : m_strText(strText) {}
// clang-format on

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strText) {
    strOut.append(strText);
    TruncateStr(strOut, nMaxLen);
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szText) {
    if (szText != nullptr)
        strOut.append(szText);
    TruncateStr(strOut, nMaxLen);
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2, &a3});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2, &a3, &a4});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2, &a3, &a4, &a5});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2, &a3, &a4, &a5, &a6});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2, &a3, &a4, &a5, &a6, &a7});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7, TNString a8) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7, TNString a8, TNString a9) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7, TNString a8, TNString a9, TNString a10) {
    FillSlots(nMaxLen, strOut, strFormat, {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7, TNString a8, TNString a9, TNString a10, TNString a11) {
    FillSlots(nMaxLen, strOut, strFormat,
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7, TNString a8, TNString a9, TNString a10, TNString a11, TNString a12) {
    FillSlots(nMaxLen, strOut, strFormat,
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7, TNString a8, TNString a9, TNString a10, TNString a11, TNString a12,
                 TNString a13) {
    FillSlots(nMaxLen, strOut, strFormat,
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12, &a13});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7, TNString a8, TNString a9, TNString a10, TNString a11, TNString a12,
                 TNString a13, TNString a14) {
    FillSlots(nMaxLen, strOut, strFormat,
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12, &a13, &a14});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const std::string& strFormat,
                 TNString a1, TNString a2, TNString a3, TNString a4, TNString a5, TNString a6,
                 TNString a7, TNString a8, TNString a9, TNString a10, TNString a11, TNString a12,
                 TNString a13, TNString a14, TNString a15) {
    FillSlots(nMaxLen, strOut, strFormat,
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12, &a13, &a14, &a15});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat), {&a1});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat), {&a1, &a2});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat), {&a1, &a2, &a3});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat), {&a1, &a2, &a3, &a4});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat), {&a1, &a2, &a3, &a4, &a5});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat), {&a1, &a2, &a3, &a4, &a5, &a6});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat), {&a1, &a2, &a3, &a4, &a5, &a6, &a7});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7,
                 TNString a8) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat), {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7,
                 TNString a8, TNString a9) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat),
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7,
                 TNString a8, TNString a9, TNString a10) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat),
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7,
                 TNString a8, TNString a9, TNString a10, TNString a11) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat),
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7,
                 TNString a8, TNString a9, TNString a10, TNString a11, TNString a12) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat),
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7,
                 TNString a8, TNString a9, TNString a10, TNString a11, TNString a12, TNString a13) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat),
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12, &a13});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7,
                 TNString a8, TNString a9, TNString a10, TNString a11, TNString a12, TNString a13,
                 TNString a14) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat),
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12, &a13, &a14});
}

void TNTrace2Str(unsigned int nMaxLen, std::string& strOut, const char* szFormat, TNString a1,
                 TNString a2, TNString a3, TNString a4, TNString a5, TNString a6, TNString a7,
                 TNString a8, TNString a9, TNString a10, TNString a11, TNString a12, TNString a13,
                 TNString a14, TNString a15) {
    FillSlots(nMaxLen, strOut, base::ViewOf(szFormat),
              {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12, &a13, &a14, &a15});
}

void TruncateStr(std::string& strText, unsigned int nMaxLen) {
    if (strText.size() > nMaxLen)
        strText.resize(nMaxLen);
}

void TNTrace2LogFile(const std::string& strModule, int nLevel, const std::string& strText) {
    GuardedCall([&] {
        if (ZembIsExit())
            return;
        if (TEDebugInterface* const pDebug = NSTE_util::GetDebugInterface(strModule.c_str()))
            pDebug->Trace(nLevel, strText.c_str());
    });
}

void TNAssert2LogFile(const std::string& strModule, TNString strFile, TNString strLine,
                      const std::string& strExpression) {
    GuardedCall([&] {
        if (ZembIsExit())
            return;
        // Deliberate: no separator between the line number and "assertion failed for ".
        const std::string strText = "ASSERT: file " + strFile.Text() + ", line " + strLine.Text() +
                                    "assertion failed for " + strExpression + ".\n";
        if (TEDebugInterface* const pDebug = NSTE_util::GetDebugInterface(strModule.c_str()))
            pDebug->Assert(strText.c_str());
    });
}

void ReportAssert(const TNAssertPoint& point) noexcept {
    GuardedCall([&] {
        if (TEDebugInterface* const pDebug = NSTE_util::GetDefaultDebugInterface())
            pDebug->Printf("ASSERT: file %s, line %d assertion failed for '%s'.\n",
                           point.szFileWord, point.nLine, point.szExpr);
    });
}

void ReportException() noexcept {
    try {
        if (!HeldLines::Take(std::nullopt))
            NSTE_util::WriteException(EXCEPTION_TEXT);
    } catch (...) {
        // The platform could not even note it.
    }
}

}  // namespace NSTN_util
