#pragma once

#include "base/number_text.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace base {

// Gathers text in a buffer of its own and appends it to a string by large pieces.
template <std::size_t ROOM>
class Gatherer {
public:
    explicit Gatherer(std::string& strOut) : m_strOut(strOut) {}

    void Number(int nValue) {
        MakeRoom(INTEGER_ROOM);
        m_p = WriteInteger(m_p, nValue);
    }

    // Of at most ROOM characters.
    void Text(std::string_view strText) {
        MakeRoom(strText.size());
        m_p += strText.copy(m_p, strText.size());
    }

    void Char(char c) {
        MakeRoom(1);
        *m_p++ = c;
    }

    void Flush() {
        m_strOut.append(m_szBuffer, static_cast<std::size_t>(m_p - m_szBuffer));
        m_p = m_szBuffer;
    }

private:
    void MakeRoom(std::size_t nSize) {
        if (static_cast<std::size_t>(m_szBuffer + ROOM - m_p) < nSize)
            Flush();
    }

    std::string& m_strOut;
    char m_szBuffer[ROOM];
    char* m_p = m_szBuffer;
};

}  // namespace base
