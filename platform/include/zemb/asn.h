#pragma once

#include "zemb/export.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class TEDebugInterface;

// Values of the messages exchanged with NEs: a tree of sequences, lists, choices, numbers, texts
// and octets. A value belongs to one thread at a time, or to many that only read it.
class ZEMB_API AsnType {
public:
    AsnType() = default;
    explicit AsnType(std::string strTypeName) : m_strTypeName(std::move(strTypeName)) {}
    AsnType(const AsnType&) = default;
    AsnType(AsnType&&) = default;
    AsnType& operator=(const AsnType&) = default;
    AsnType& operator=(AsnType&&) = default;
    virtual ~AsnType();

    // The name of the value's type; "" when it has none.
    virtual std::string GetTypeName() const { return m_strTypeName; }

    // Appends the value's own text, behind its label, at a depth in the tree; it ends with a line
    // feed.
    virtual void AppendText(std::string& strOut, std::size_t nDepth) const = 0;

private:
    std::string m_strTypeName;
};

// A number.
class ZEMB_API AsnInt : public AsnType {
public:
    explicit AsnInt(long nValue = 0, std::string strTypeName = "")
        : AsnType(std::move(strTypeName)), m_nValue(nValue) {}
    long Value() const { return m_nValue; }
    void AppendText(std::string& strOut, std::size_t nDepth) const override;

private:
    long m_nValue;
};

// A string of octets; a zero octet always stands behind the last one.
class ZEMB_API AsnOcts : public AsnType {
public:
    AsnOcts() = default;
    explicit AsnOcts(std::string strData, std::string strTypeName = "")
        : AsnType(std::move(strTypeName)), m_strData(std::move(strData)) {}

    const char* data() const { return m_strData.c_str(); }
    std::size_t size() const { return m_strData.size(); }
    bool empty() const { return m_strData.empty(); }
    void AppendText(std::string& strOut, std::size_t nDepth) const override;

private:
    std::string m_strData;
};

// A text.
class ZEMB_API AsnText : public AsnType {
public:
    explicit AsnText(std::string strText, std::string strTypeName = "")
        : AsnType(std::move(strTypeName)), m_strText(std::move(strText)) {}
    void AppendText(std::string& strOut, std::size_t nDepth) const override;

private:
    std::string m_strText;
};

// A value of several parts: a sequence has names for them, a choice one part with its name, a list
// none.
class ZEMB_API AsnTree : public AsnType {
public:
    // Which of the three.
    enum class EKind { SEQUENCE, LIST, CHOICE };
    explicit AsnTree(EKind eKind, std::string strTypeName = "")
        : AsnType(std::move(strTypeName)), m_eKind(eKind) {}
    // A null part counts as an empty text.
    void Add(std::string strName, std::shared_ptr<const AsnType> pPart);
    void AppendText(std::string& strOut, std::size_t nDepth) const override;

private:
    struct Part {
        std::string strName;
        std::shared_ptr<const AsnType> pValue;
    };
    EKind m_eKind;
    std::vector<Part> m_vecPart;
};

// A list of numbers.
class ZEMB_API AsnIntList : public AsnType {
public:
    // Without numbers at first.
    using AsnType::AsnType;

    // As of a vector; an index outside of the list is not checked.
    std::size_t size() const { return m_vecInt.size(); }
    const AsnInt& operator[](std::size_t n) const { return m_vecInt[n]; }
    void Append(AsnInt value) { m_vecInt.push_back(std::move(value)); }
    void Reserve(std::size_t nSize) { m_vecInt.reserve(nSize); }
    void AppendText(std::string& strOut, std::size_t nDepth) const override;

private:
    std::vector<AsnInt> m_vecInt;
};

// Errors in the replies of NEs.
namespace qcommon {

// What an NE says of one error: numbers and two texts.
struct QAsnErrInfo {
    AsnIntList listValue;
    AsnOcts octsFirst;
    AsnOcts octsSecond;
};

// The errors of one reply.
using QAsnErrInfoList = std::vector<QAsnErrInfo>;

// A reply: its code, and its errors, if it tells of any.
struct QAsnErrInfoReturn {
    unsigned long nCode = 0;
    std::optional<QAsnErrInfoList> listInfo;
};

// The reply to a request for one thing: with the flag set all went well.
struct QAsnSingleReturn {
    bool bFlag = false;
    std::optional<unsigned long> nCode;
    AsnOcts octsText;
};

}  // namespace qcommon

namespace NSTE_util {

// The text of a value, a line for each number, text and tree: four blanks for each level, " --",
// the part's name or its place in the list, the type, the value. Line feeds in texts are written
// "\n", octets as hexadecimal digits. Cost: linear in the text, which grows with the depth.
ZEMB_API std::string toString(const AsnType& value);

// Writes the text of a value to a channel at level 1, line by line.
ZEMB_API void AsnTrace(const AsnType& value, TEDebugInterface& debug);

}  // namespace NSTE_util
