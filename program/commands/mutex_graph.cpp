#include "commands/mutex_graph.h"

#include "view/output.h"

#include <map>
#include <utility>

// Operations are equal when they block the same ones and are blocked by the same ones, themselves
// included. Then all of them block each other, or none does, and an arrow between two groups holds
// for every pair of theirs: one arrow says what would be hundreds.
namespace host {

namespace {

// Which operations an operation blocks, and by which it is blocked, as positions.
using BlockRow = std::pair<std::vector<bool>, std::vector<bool>>;

BlockRow BlockRowOf(const MutexFile& table, const std::vector<int>& vecOper, int nOper) {
    BlockRow row;
    for (const int nOther : vecOper) {
        row.first.push_back(table.PairRule(nOper, nOther) != nullptr);
        row.second.push_back(table.PairRule(nOther, nOper) != nullptr);
    }
    return row;
}

std::vector<std::vector<int>> GroupsOf(const MutexFile& table, const std::vector<int>& vecOper) {
    std::vector<std::vector<int>> vecGroup;
    std::map<std::pair<bool, BlockRow>, std::size_t> mapGroup;
    for (const int nOper : vecOper) {
        const bool bExclusive = table.ExclusiveRule(nOper) != nullptr;
        const auto [it, bNew] =
            mapGroup.try_emplace({bExclusive, BlockRowOf(table, vecOper, nOper)}, vecGroup.size());
        if (bNew)
            vecGroup.emplace_back();
        vecGroup[it->second].push_back(nOper);
    }
    return vecGroup;
}

// A text between the quotes of a label.
std::string DotLabel(const std::string& strText) {
    std::string strLabel;
    for (const char c : OnOneLine(strText)) {
        if (c == '"' || c == '\\')
            strLabel += '\\';
        strLabel += c;
    }
    return strLabel;
}

std::string DotNode(const MutexFile& table, int nOper) {
    const std::string strNumber = std::to_string(nOper);
    const auto it = table.mapName.find(nOper);
    const std::string strName = it == table.mapName.end() ? "" : "\\n" + DotLabel(it->second);
    const bool bExclusive = table.ExclusiveRule(nOper) != nullptr;
    if (strName.empty() && !bExclusive)
        return "\"" + strNumber + "\";\n";
    return "\"" + strNumber + "\" [label=\"" + strNumber + strName + "\"" +
           (bExclusive ? ", peripheries=2];  // excludes all\n" : "];\n");
}

// A group of several is a cluster, to whose border its arrows go.
std::string DotCluster(const MutexFile& table, const std::vector<int>& vecGroup,
                       std::size_t nGroup) {
    const bool bEachOther = table.PairRule(vecGroup[0], vecGroup[0]) != nullptr;
    std::string strDot = "  subgraph cluster_" + std::to_string(nGroup) + " {\n    label=\"" +
                         (bEachOther ? "one at a time" : "") + "\";\n";
    for (const int nOper : vecGroup)
        strDot += "    " + DotNode(table, nOper);
    return strDot + "  }\n";
}

std::string DotArrow(const std::vector<std::vector<int>>& vecGroup, std::size_t nFrom,
                     std::size_t nTo, bool bBoth) {
    std::string strOptions;
    const auto Border = [&](std::size_t nGroup, const char* szEnd) {
        if (nFrom != nTo && vecGroup[nGroup].size() > 1)
            AppendItem(strOptions, szEnd + ("cluster_" + std::to_string(nGroup)));
    };
    Border(nFrom, "ltail=");
    Border(nTo, "lhead=");
    if (bBoth)
        AppendItem(strOptions, "dir=both");
    return "  \"" + std::to_string(vecGroup[nFrom].front()) + "\" -> \"" +
           std::to_string(vecGroup[nTo].front()) + "\"" +
           (strOptions.empty() ? "" : " [" + strOptions + "]") + ";\n";
}

}  // namespace

std::string MutexGraph(const MutexFile& table, const std::vector<int>& vecOper) {
    const std::vector<std::vector<int>> vecGroup = GroupsOf(table, vecOper);
    std::string strDot =
        "digraph mutex {\n"
        "  // An arrow leads from a running operation to what it blocks.\n"
        "  compound=true;\n"
        "  node [shape=box];\n";
    for (std::size_t n = 0; n < vecGroup.size(); ++n)
        strDot += vecGroup[n].size() > 1 ? DotCluster(table, vecGroup[n], n)
                                         : "  " + DotNode(table, vecGroup[n].front());
    const auto Blocks = [&](std::size_t nFrom, std::size_t nTo) {
        return table.PairRule(vecGroup[nFrom].front(), vecGroup[nTo].front()) != nullptr;
    };
    for (std::size_t nFrom = 0; nFrom < vecGroup.size(); ++nFrom) {
        if (vecGroup[nFrom].size() == 1 && Blocks(nFrom, nFrom))
            strDot += DotArrow(vecGroup, nFrom, nFrom, false);
        for (std::size_t nTo = nFrom + 1; nTo < vecGroup.size(); ++nTo) {
            const bool bForth = Blocks(nFrom, nTo);
            const bool bBack = Blocks(nTo, nFrom);
            if (bForth)
                strDot += DotArrow(vecGroup, nFrom, nTo, bBack);
            else if (bBack)
                strDot += DotArrow(vecGroup, nTo, nFrom, false);
        }
    }
    return strDot + "}";
}

}  // namespace host
