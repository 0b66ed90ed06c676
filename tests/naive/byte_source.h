#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace naive {

// Turns arbitrary bytes into choices; zeros once they are used up.
class ByteSource {
public:
    ByteSource(const std::uint8_t* pData, std::size_t nSize) : m_pData(pData), m_nSize(nSize) {}

    bool IsEmpty() const { return m_nAt >= m_nSize; }
    unsigned Byte() { return IsEmpty() ? 0 : m_pData[m_nAt++]; }
    int Below(int nBound) { return static_cast<int>(Byte()) % nBound; }

    // A text of up to nMost characters, ended early by the byte 0xFF.
    std::string Text(std::size_t nMost) {
        std::string strText;
        while (strText.size() < nMost && !IsEmpty()) {
            const unsigned nByte = Byte();
            if (nByte == 0xFF)
                break;
            strText += static_cast<char>(nByte);
        }
        return strText;
    }

    // A text of up to nMost characters, most of them of strAlphabet; ended early by the byte 0xFF.
    std::string TextOf(const std::string& strAlphabet, std::size_t nMost) {
        std::string strText;
        while (strText.size() < nMost && !IsEmpty()) {
            const unsigned nByte = Byte();
            if (nByte == 0xFF)
                break;
            strText +=
                nByte >= 0xF8 ? static_cast<char>(Byte()) : strAlphabet[nByte % strAlphabet.size()];
        }
        return strText;
    }

    std::string Rest() { return Text(m_nSize); }

private:
    const std::uint8_t* m_pData;
    std::size_t m_nSize;
    std::size_t m_nAt = 0;
};

// The pieces between the characters cSeparator, empty ones included.
inline std::vector<std::string> Pieces(const std::string& strText, char cSeparator) {
    std::vector<std::string> vecPiece(1);
    for (const char c : strText)
        if (c == cSeparator)
            vecPiece.emplace_back();
        else
            vecPiece.back() += c;
    return vecPiece;
}

// Throws when the library and the naive model disagree; ends a fuzz run and fails a test alike.
inline void Expect(bool bAgree, const std::string& strWhat) {
    if (!bAgree)
        throw std::logic_error("library and model disagree: " + strWhat);
}

}  // namespace naive
