#pragma once

#include "check/finding.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

struct BackupNode {
    enum class EKind { OBJECT, ATTRIBUTE, GROUP };
    EKind eKind;
    std::size_t nDepth;
    std::string_view strName;
    std::string_view strValue;  // of an attribute, without its quotes
    bool bQuoted = false;
    std::size_t nChildren = 0;  // of a group
    std::string_view strText;   // of an object that is closed, all of it
};

// Backup texts, one behind another, taken apart strictly by their grammar
// (docs/formats/backup-string.md), which the library's readers do not do; with everything that they
// will not give back.
class BackupText {
public:
    BackupText(const std::string& strFile, std::string strText);
    BackupText(const BackupText&) = delete;
    BackupText& operator=(const BackupText&) = delete;

    // Every part in the order of the text, as far as it keeps to the grammar.
    std::vector<BackupNode> vecNode;
    std::vector<std::string_view> vecObject;  // the whole objects, one behind another
    std::vector<Finding> vecFinding;

    // The places in vecNode of the objects strChild in the first group strGroup of an object: that
    // at nObject, or, for no place, the first of the outer ones that has them.
    std::vector<std::size_t> Children(std::optional<std::size_t> nObject, std::string_view strGroup,
                                      std::string_view strChild) const;

private:
    std::vector<std::size_t> ChildrenOf(std::size_t nObject, std::string_view strGroup,
                                        std::string_view strChild) const;

    struct Open {
        std::size_t nNode;
        std::size_t nBegin;  // where its begin tag stands
        bool bCut = false;   // told already
    };

    void Read();
    bool ReadPart();
    bool ReadChild();
    bool ReadObject();
    bool ReadAttributes();
    std::size_t ReadItem(std::size_t nItem, std::size_t nEnd);
    std::size_t ClosingQuote(std::string_view strRest) const;
    void CheckNames(std::size_t nFirstNode, const std::vector<std::size_t>& vecBegin,
                    std::size_t nEnd);
    void CheckValue(const BackupNode& node, std::size_t nItem, bool bFirst);
    bool ReadEnd();
    void Push(BackupNode::EKind eKind, std::string_view strName);
    void CheckGroup(std::string_view strName);
    void CheckCut(std::string_view strName, std::size_t nEndTag);

    std::string_view Rest() const { return std::string_view(m_strText).substr(m_nAt); }
    bool IsAt(std::string_view strTag) const { return Rest().substr(0, strTag.size()) == strTag; }
    bool Take(std::string_view strTag);
    std::string_view TagName() const;  // of the tag at hand; "" when there is none
    bool IsObjectHere() const;
    std::string Where(std::size_t nAt) const;
    Place PlaceOf(std::size_t nAt) const;
    bool Fail(std::size_t nAt, const std::string& strWhat, const std::string& strExpected);
    void Add(ESeverity eSeverity, std::size_t nAt, const std::string& strWhat,
             const std::string& strExpected = "");

    std::string m_strFile;
    std::string m_strText;
    std::size_t m_nAt = 0;
    std::vector<std::size_t> m_vecLineBegin;
    std::vector<Open> m_vecOpen;
    std::map<std::string_view, std::vector<std::size_t>> m_mapTags;   // where it begins, rising
    std::set<std::pair<std::size_t, std::string_view>> m_setSibling;  // group, name of a child
    std::map<std::string_view, std::vector<std::size_t>> m_mapOpen;   // indices of m_vecOpen
};

std::vector<Finding> CheckBackupFile(const std::string& strFile);

}  // namespace host
