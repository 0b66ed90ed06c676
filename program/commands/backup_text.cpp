#include "commands/backup_text.h"

#include "check/text_lines.h"
#include "view/output.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/tnbackupobjstr.h"

#include "zemb/control.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <tuple>

// A strict reader of backup texts. The library's readers take the first thing that looks like what
// they want, inside of values too; this one follows the grammar and reports each place where a
// reader would find something else. All tags that were met are kept by name and place, so each
// check is a search in them. The text is walked without recursion, however deep it is.
namespace host {

namespace {

constexpr std::size_t NPOS = std::string_view::npos;
constexpr std::string_view LIST_BEGIN = "<attribute>";
constexpr std::string_view LIST_END = "</attribute>";
constexpr std::string_view OBJECTS_BEGIN = "<object>";
constexpr std::string_view OBJECTS_END = "</object>";
constexpr std::size_t SHOWN_MOST = 40;

// A piece of text that fits into a message.
std::string Shown(std::string_view strText) {
    std::string strShown(strText.substr(0, SHOWN_MOST));
    for (char& c : strShown)
        c = static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    return strText.size() <= SHOWN_MOST ? strShown : strShown + "...";
}

std::string Quoted(std::string_view strText) {
    return "'" + Shown(strText) + "'";
}

}  // namespace

BackupText::BackupText(const std::string& strFile, std::string strText)
    : m_strFile(strFile), m_strText(std::move(strText)), m_vecLineBegin{0} {
    m_strText.resize(m_strText.find_last_not_of(" \t\r\n") + 1);
    for (std::size_t n = m_strText.find('\n'); n != NPOS; n = m_strText.find('\n', n + 1))
        m_vecLineBegin.push_back(n + 1);
    Read();
}

void BackupText::Read() {
    while (ReadPart()) {
    }
    if (vecNode.empty() && vecFinding.empty())
        Add(ESeverity::ERROR, 0, "no object", "<NAME><attribute>...");
    if (m_nAt == m_strText.size())
        for (const Open& open : m_vecOpen)
            Add(ESeverity::ERROR, open.nBegin,
                "<" + Shown(vecNode[open.nNode].strName) + "> is not closed");
    std::stable_sort(vecFinding.begin(), vecFinding.end(), [](const Finding& a, const Finding& b) {
        return std::tie(a.place.nLine, a.place.nColumn) < std::tie(b.place.nLine, b.place.nColumn);
    });
}

// False at the end of the text, and where it leaves the grammar.
bool BackupText::ReadPart() {
    if (m_vecOpen.empty()) {
        m_nAt = std::min(m_strText.find_first_not_of(" \t\r\n", m_nAt), m_strText.size());
        return m_nAt != m_strText.size() && ReadObject();
    }
    if (m_nAt == m_strText.size())
        return false;
    if (IsAt("</"))
        return ReadEnd();
    if (vecNode[m_vecOpen.back().nNode].eKind == BackupNode::EKind::GROUP)
        return ReadChild();
    if (IsObjectHere()) {
        Add(ESeverity::ERROR, m_nAt,
            "<" + Shown(TagName()) + "> stands in no group: no reader cuts it out");
        return ReadObject();
    }
    const std::string_view strName = TagName();
    if (strName.empty())
        return Fail(m_nAt, Quoted(Rest()) + " between the groups", "a group, <NAME>");
    CheckGroup(strName);
    Push(BackupNode::EKind::GROUP, strName);
    return true;
}

bool BackupText::ReadChild() {
    const Open group = m_vecOpen.back();
    ++vecNode[group.nNode].nChildren;
    const std::string_view strName = TagName();
    const auto it = m_mapTags.find(strName);
    if (it != m_mapTags.end()) {
        // Readers take every tag of the name inside of the group.
        const auto itFirst = std::lower_bound(it->second.begin(), it->second.end(), group.nBegin);
        if (itFirst != it->second.end() && m_setSibling.count({group.nNode, strName}) == 0)
            Add(ESeverity::ERROR, m_nAt,
                "readers of " + Quoted(strName) + " in this group find the <" + Shown(strName) +
                    "> at " + Where(*itFirst) + " first");
    }
    m_setSibling.emplace(group.nNode, strName);
    return ReadObject();
}

bool BackupText::ReadObject() {
    const std::string_view strName = TagName();
    if (strName.empty())
        return Fail(m_nAt, Quoted(Rest()) + " where an object should begin", "<NAME><attribute>");
    Push(BackupNode::EKind::OBJECT, strName);
    if (!Take(LIST_BEGIN))
        return Fail(m_nAt, "object " + Shown(strName) + " has no attribute list",
                    std::string(LIST_BEGIN));
    return ReadAttributes();
}

bool BackupText::ReadAttributes() {
    const std::size_t nEnd = m_strText.find(LIST_END, m_nAt);
    if (nEnd == NPOS)
        return Fail(m_nAt, "the attribute list does not end", std::string(LIST_END));
    const std::size_t nFirstNode = vecNode.size();
    std::vector<std::size_t> vecBegin;
    for (std::size_t nItem = m_nAt; nItem < nEnd;) {
        const std::size_t nNext = ReadItem(nItem, nEnd);
        if (vecNode.size() - nFirstNode > vecBegin.size())
            vecBegin.push_back(nItem);
        nItem = nNext;
    }
    CheckNames(nFirstNode, vecBegin, nEnd);
    for (std::size_t i = 0; i < vecBegin.size(); ++i)
        CheckValue(vecNode[nFirstNode + i], vecBegin[i], vecBegin[i] == m_nAt);
    m_nAt = nEnd + LIST_END.size();
    return Take(OBJECTS_BEGIN) ||
           Fail(m_nAt, "no groups behind the attributes", std::string(OBJECTS_BEGIN));
}

// Reads one item; returns where the next one begins.
std::size_t BackupText::ReadItem(std::size_t nItem, std::size_t nEnd) {
    const std::string_view strList = std::string_view(m_strText).substr(0, nEnd);
    const std::size_t nComma = std::min(strList.find(',', nItem), nEnd);
    const std::size_t nEqual = strList.substr(0, nComma).find('=', nItem);
    if (nEqual == NPOS) {
        Add(ESeverity::ERROR, nItem,
            Quoted(strList.substr(nItem, nComma - nItem)) +
                " is no item: a comma in a value before it cut it off, or '=' is missing",
            "name=value,");
        return nComma + 1;
    }
    BackupNode node{BackupNode::EKind::ATTRIBUTE,
                    m_vecOpen.size(),
                    strList.substr(nItem, nEqual - nItem),
                    {},
                    false,
                    0,
                    {}};
    const std::string_view strRest = strList.substr(nEqual + 1);
    if (!strRest.empty() && strRest.front() == '"') {
        const std::size_t nQuote = ClosingQuote(strRest);
        if (nQuote == NPOS) {
            const bool bComma = strRest.substr(1, 1) == ",";
            Add(ESeverity::ERROR, nEqual + 1,
                "the quote of " + Quoted(node.strName) +
                    (bComma ? " begins with a comma" : " is not closed") +
                    ": no reader gives the value back",
                bComma ? "another character before it" : "a quote and a comma behind the value");
            const std::size_t nNext = strRest.find("\",", 1);
            return nNext == NPOS ? nComma + 1 : nEqual + 1 + nNext + 2;
        }
        node.bQuoted = true;
        node.strValue = strRest.substr(1, nQuote - 1);
        vecNode.push_back(node);
        return nEqual + 1 + nQuote + 2;
    }
    if (nComma == nEnd) {
        Add(ESeverity::ERROR, nItem, "the value of " + Quoted(node.strName) + " does not end",
            "a comma behind every value");
        return nEnd;
    }
    node.strValue = strList.substr(nEqual + 1, nComma - nEqual - 1);
    vecNode.push_back(node);
    return nComma + 1;
}

// Readers take the first place of a name, inside of a quoted value, too; readers of texts the first
// one that a quote follows.
void BackupText::CheckNames(std::size_t nFirstNode, const std::vector<std::size_t>& vecBegin,
                            std::size_t nEnd) {
    std::map<std::string_view, std::size_t> mapFirst;
    std::map<std::string_view, std::size_t> mapFirstQuoted;
    const std::string_view strList = std::string_view(m_strText).substr(0, nEnd);
    for (std::size_t nEqual = strList.find('=', m_nAt); nEqual != NPOS;
         nEqual = strList.find('=', nEqual + 1)) {
        std::size_t nBegin = nEqual;
        while (nBegin > m_nAt && strList[nBegin - 1] != ',' && strList[nBegin - 1] != '=')
            --nBegin;
        if (nBegin != m_nAt && strList[nBegin - 1] != ',')
            continue;
        const std::string_view strName = strList.substr(nBegin, nEqual - nBegin);
        mapFirst.emplace(strName, nBegin);
        if (nBegin == m_nAt || strList.substr(nEqual + 1, 1) == "\"")
            mapFirstQuoted.emplace(strName, nBegin);
    }
    for (std::size_t i = 0; i < vecBegin.size(); ++i) {
        const BackupNode& node = vecNode[nFirstNode + i];
        const auto itFirst = mapFirst.find(node.strName);
        const auto itQuoted = mapFirstQuoted.find(node.strName);
        const bool bText = node.bQuoted && itQuoted->second == vecBegin[i];
        if (itFirst->second < vecBegin[i])
            Add(bText ? ESeverity::WARNING : ESeverity::ERROR, vecBegin[i],
                "readers of " + std::string(bText ? "numbers " : "") + Quoted(node.strName) +
                    " find the one at " + Where(itFirst->second) + " first");
    }
}

// By the library's own rule; asked with longer and longer pieces, as it searches all it is given.
std::size_t BackupText::ClosingQuote(std::string_view strRest) const {
    const zemb::ScopedNoDebugChannel silent;
    const NSTN_util::TNBackupObjStr reader;
    for (std::size_t nPiece = 64;; nPiece *= 2) {
        const std::size_t nQuote = reader.FindStringEnd(std::string(strRest.substr(0, nPiece)));
        if (nQuote != NPOS || nPiece >= strRest.size())
            return nQuote;
    }
}

void BackupText::CheckValue(const BackupNode& node, std::size_t nItem, bool bFirst) {
    if (node.strName.empty())
        Add(ESeverity::ERROR, nItem, "an item without a name: no reader finds it", "name=value,");
    if (node.strValue.find("<object>") != NPOS || node.strValue.find("<attribute>") != NPOS)
        Add(ESeverity::ERROR, nItem,
            "the value of " + Quoted(node.strName) +
                " holds a tag of the text itself: no attribute of the object is read");
    else if (node.strValue.find('<') != NPOS)
        Add(ESeverity::WARNING, nItem,
            "the value of " + Quoted(node.strName) +
                " holds '<': readers take what looks like a tag for one");
    if (node.bQuoted && node.strValue.find("=\"") != NPOS)
        Add(ESeverity::WARNING, nItem,
            "the value of " + Quoted(node.strName) +
                " holds what looks like another value: perhaps its own quote is not closed");
    if (node.bQuoted)
        return;
    if (node.strValue.empty())
        Add(ESeverity::WARNING, nItem,
            "the value of " + Quoted(node.strName) +
                " is empty: readers of numbers and lists refuse it");
    if (node.strValue.find('"') != NPOS)
        Add(ESeverity::WARNING, nItem,
            "the value of " + Quoted(node.strName) +
                " holds a quote: perhaps a value before it was cut at a quote and comma");
    const bool bNumbers = node.strValue.find_first_not_of("0123456789&-+ ") == NPOS;
    if (!bFirst && !node.strValue.empty() && !bNumbers)
        Add(ESeverity::WARNING, nItem,
            "the text of " + Quoted(node.strName) +
                " is not quoted: readers of texts find it only as the first item");
}

bool BackupText::ReadEnd() {
    const Open open = m_vecOpen.back();
    const BackupNode& node = vecNode[open.nNode];
    const bool bObject = node.eKind == BackupNode::EKind::OBJECT;
    const std::size_t nEnd = m_nAt;
    const std::string strTag = "</" + std::string(node.strName) + ">";
    if (bObject && !Take(OBJECTS_END))
        return Fail(nEnd, Quoted(Rest()) + " in the groups of " + Shown(node.strName),
                    std::string(OBJECTS_END));
    if (!Take(strTag))
        return Fail(m_nAt, Quoted(Rest()) + " at the end of " + Shown(node.strName), strTag);
    m_vecOpen.pop_back();
    m_mapOpen[node.strName].pop_back();
    CheckCut(node.strName, m_nAt - strTag.size());
    if (bObject)
        vecNode[open.nNode].strText =
            std::string_view(m_strText).substr(open.nBegin, m_nAt - open.nBegin);
    if (m_vecOpen.empty())
        vecObject.push_back(vecNode[open.nNode].strText);
    return true;
}

std::vector<std::size_t> BackupText::Children(std::optional<std::size_t> nObject,
                                              std::string_view strGroup,
                                              std::string_view strChild) const {
    if (nObject)
        return ChildrenOf(*nObject, strGroup, strChild);
    std::vector<std::size_t> vecChild;
    for (std::size_t i = 0; i < vecNode.size() && vecChild.empty(); ++i)
        if (vecNode[i].nDepth == 0)
            vecChild = ChildrenOf(i, strGroup, strChild);
    return vecChild;
}

std::vector<std::size_t> BackupText::ChildrenOf(std::size_t nObject, std::string_view strGroup,
                                                std::string_view strChild) const {
    const std::size_t nDepth = vecNode[nObject].nDepth;
    std::vector<std::size_t> vecChild;
    bool bInside = false;
    for (std::size_t i = nObject + 1; i < vecNode.size() && vecNode[i].nDepth > nDepth; ++i) {
        const BackupNode& node = vecNode[i];
        if (node.eKind == BackupNode::EKind::GROUP && node.nDepth == nDepth + 1) {
            if (bInside)
                break;
            bInside = node.strName == strGroup;
        }
        if (bInside && node.eKind == BackupNode::EKind::OBJECT && node.nDepth == nDepth + 2 &&
            node.strName == strChild)
            vecChild.push_back(i);
    }
    return vecChild;
}

// A group of this name deeper in an earlier group is what readers find.
void BackupText::CheckGroup(std::string_view strName) {
    const auto it = m_mapTags.find(strName);
    if (it == m_mapTags.end())
        return;
    const std::size_t nParent = m_vecOpen.back().nBegin;
    const auto itFirst = std::lower_bound(it->second.begin(), it->second.end(), nParent);
    if (itFirst != it->second.end())
        Add(ESeverity::ERROR, m_nAt,
            "readers of group " + Quoted(strName) + " find the <" + Shown(strName) + "> at " +
                Where(*itFirst) + " first");
}

// An end tag of this name ends, for readers, whatever of the name is open around it.
void BackupText::CheckCut(std::string_view strName, std::size_t nEndTag) {
    const std::vector<std::size_t>& vecAround = m_mapOpen[strName];
    if (vecAround.empty() || vecAround.back() == 0)  // nobody cuts out the outermost object
        return;
    Open& open = m_vecOpen[vecAround.back()];
    if (!open.bCut)
        Add(ESeverity::ERROR, open.nBegin,
            "<" + Shown(strName) + "> holds another one: readers end it at the inner </" +
                Shown(strName) + ">, at " + Where(nEndTag));
    open.bCut = true;
}

void BackupText::Push(BackupNode::EKind eKind, std::string_view strName) {
    if (strName == "attribute" || strName == "object")
        Add(ESeverity::ERROR, m_nAt,
            "<" + Shown(strName) + "> is a tag of the text itself: readers go wrong with it",
            "another name");
    m_mapTags[strName].push_back(m_nAt);
    m_mapOpen[strName].push_back(m_vecOpen.size());
    vecNode.push_back({eKind, m_vecOpen.size(), strName, {}, false, 0, {}});
    m_vecOpen.push_back({vecNode.size() - 1, m_nAt});
    m_nAt += strName.size() + 2;
}

bool BackupText::Take(std::string_view strTag) {
    if (!IsAt(strTag))
        return false;
    m_nAt += strTag.size();
    return true;
}

std::string_view BackupText::TagName() const {
    const std::string_view strRest = Rest();
    const std::size_t nEnd = strRest.find_first_of("<>", 1);
    if (strRest.empty() || strRest.front() != '<' || nEnd == NPOS || strRest[nEnd] == '<' ||
        strRest[1] == '/')
        return {};
    return strRest.substr(1, nEnd - 1);
}

bool BackupText::IsObjectHere() const {
    const std::size_t nBehind = TagName().size() + 2;
    return nBehind > 2 && Rest().substr(nBehind, LIST_BEGIN.size()) == LIST_BEGIN;
}

Place BackupText::PlaceOf(std::size_t nAt) const {
    const auto it = std::upper_bound(m_vecLineBegin.begin(), m_vecLineBegin.end(), nAt) - 1;
    Place place;
    place.strFile = m_strFile;
    place.nLine = static_cast<int>(it - m_vecLineBegin.begin()) + 1;
    place.nColumn = static_cast<int>(nAt - *it) + 1;
    return place;
}

std::string BackupText::Where(std::size_t nAt) const {
    const Place place = PlaceOf(nAt);
    return PlaceText("", place.nLine, place.nColumn);
}

bool BackupText::Fail(std::size_t nAt, const std::string& strWhat, const std::string& strExpected) {
    Add(ESeverity::ERROR, nAt, strWhat + "; the rest is not looked at", strExpected);
    return false;
}

void BackupText::Add(ESeverity eSeverity, std::size_t nAt, const std::string& strWhat,
                     const std::string& strExpected) {
    vecFinding.push_back({PlaceOf(nAt), eSeverity, strWhat, strExpected});
}

std::vector<Finding> CheckBackupFile(const std::string& strFile) {
    return BackupText(strFile, ReadText(strFile)).vecFinding;
}

}  // namespace host
