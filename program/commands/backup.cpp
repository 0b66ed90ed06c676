#include "check/text_lines.h"
#include "commands/backup_text.h"
#include "sub_commands.h"
#include "view/record.h"
#include "view/texts.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"
#include "tovelkarin/tnbackupobjstr.h"

#include "zemb/control.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <sstream>
#include <utility>

// Shows, reads and builds backup texts. A value is cut out twice: as it is shown, by the strict
// reader of this program, and as a server process would, by the library. Where the two differ the
// user is told. What is built is read back before it is given out.
namespace host {

namespace {

using NSTN_util::TNBackupObjStr;

constexpr std::size_t INDENT_MOST = 40;

struct BackupArguments {
    std::string strFile;
    std::string strName;
    std::vector<std::string> vecItem;
    std::vector<std::string> vecGroup;
    bool bText = false;
};

int PutNodes(const Session& session, const BackupText& text) {
    static const char* const KINDS[] = {"object", "attribute", "group"};
    for (const BackupNode& node : text.vecNode) {
        const std::string strName(node.strName);
        const std::string strShown = OnOneLine(strName);
        const std::string strValue(node.strValue);
        Json::Value record;
        record["kind"] = KINDS[static_cast<int>(node.eKind)];
        record["depth"] = static_cast<Json::UInt64>(node.nDepth);
        record["name"] = strName;
        std::string strLine(2 * std::min(node.nDepth, INDENT_MOST), ' ');
        if (node.eKind == BackupNode::EKind::ATTRIBUTE) {
            record["value"] = strValue;
            record["quoted"] = node.bQuoted;
            strLine += strShown + " = " +
                       (node.bQuoted ? "\"" + OnOneLine(strValue) + "\"" : OnOneLine(strValue));
        } else if (node.eKind == BackupNode::EKind::GROUP) {
            record["children"] = static_cast<Json::UInt64>(node.nChildren);
            strLine += strShown + " (" + std::to_string(node.nChildren) + ")";
        } else {
            strLine += strShown;
        }
        session.out.Put(strLine, record);
    }
    return DONE;
}

// Findings of a text that is at hand go to standard error.
int TellFindings(const std::vector<Finding>& vecFinding) {
    for (const Finding& finding : vecFinding)
        Complain(TextOf(finding));
    return CountErrors(vecFinding) == 0 ? DONE : ANSWER_NO;
}

int View(const Session& session, const BackupArguments& args) {
    const BackupText text(args.strFile, ReadText(args.strFile));
    PutNodes(session, text);
    return TellFindings(text.vecFinding);
}

std::vector<std::string> Words(const std::string& strText, char cSeparator) {
    std::vector<std::string> vecWord;
    std::istringstream stream(strText + cSeparator);
    for (std::string strWord; std::getline(stream, strWord, cSeparator);)
        vecWord.push_back(strWord);
    return vecWord;
}

// One step of a path: "PORTS/PORT[2]" or "label".
struct Step {
    std::string strGroup;
    std::string strChild;
    std::size_t nChild = 1;
};

Step ReadStep(const std::string& strGroup, std::string strChild) {
    Step step;
    step.strGroup = strGroup;
    const std::size_t nBracket = strChild.find('[');
    if (nBracket != std::string::npos) {
        int nChild = 0;
        if (strChild.back() != ']' ||
            !NSTN_util::StrToInt(strChild.substr(nBracket + 1, strChild.size() - nBracket - 2),
                                 nChild, 10) ||
            nChild < 1)
            throw CommandError(WRONG_USAGE,
                               "'" + strChild + "' is no child; expected such as PORT[2]",
                               EName::SUB_COMMAND);
        step.nChild = static_cast<std::size_t>(nChild);
        strChild.resize(nBracket);
    }
    step.strChild = strChild;
    return step;
}

// Cuts children out as a server process does, by the library's reader; "" where it finds none.
std::string ServersCut(std::string strText, const std::vector<Step>& vecStep) {
    const zemb::ScopedNoDebugChannel silent;
    for (const Step& step : vecStep) {
        std::vector<std::string> vecChild;
        TNBackupObjStr(strText, "").GetObjStrByObjName(step.strGroup, step.strChild, vecChild);
        if (vecChild.size() < step.nChild)
            return "";
        strText = vecChild[step.nChild - 1];
    }
    return strText;
}

// Cuts children out as 'backup view' shows them.
std::string ShownCut(const std::string& strFile, const std::string& strWhole,
                     const std::vector<Step>& vecStep) {
    const BackupText text(strFile, strWhole);
    std::optional<std::size_t> nObject;
    for (const Step& step : vecStep) {
        const std::vector<std::size_t> vecChild =
            text.Children(nObject, step.strGroup, step.strChild);
        if (vecChild.empty())
            throw CommandError(ANSWER_NO, strFile + ": no group " + step.strGroup +
                                              " with objects " + step.strChild);
        if (vecChild.size() < step.nChild)
            throw CommandError(ANSWER_NO, strFile + ": group " + step.strGroup + " holds " +
                                              Counted(vecChild.size(), "object") + " " +
                                              step.strChild);
        nObject = vecChild[step.nChild - 1];
    }
    return std::string(text.vecNode[*nObject].strText);
}

// Reads a value as a server process does. Where that would come to another child than the one that
// is shown there, it tells.
int GetAttributes(const Session& session, const BackupArguments& args) {
    const std::vector<std::string> vecWord = Words(args.strName, '/');
    std::string strText = ReadText(args.strFile);
    std::vector<Step> vecStep;
    for (std::size_t i = 0; i + 1 < vecWord.size(); i += 2)
        vecStep.push_back(ReadStep(vecWord[i], vecWord[i + 1]));
    int nStatus = DONE;
    if (!vecStep.empty()) {
        const std::string strShown = ShownCut(args.strFile, strText, vecStep);
        if (ServersCut(strText, vecStep) != strShown) {
            nStatus = ANSWER_NO;
            Complain(args.strFile + ": a server process finds something else at " + args.strName +
                     "; 'check backup' tells why");
        }
        strText = strShown;
    }
    Json::Value record;
    record["path"] = args.strName;
    if (vecWord.size() % 2 == 0) {
        record["text"] = strText;
        session.out.Put(strText, record);
        return nStatus;
    }
    std::string strValue;
    if (!TNBackupObjStr(strText, "").GetValueStrByName(vecWord.back(), strValue, args.bText))
        throw CommandError(ANSWER_NO,
                           args.strFile + ": no value of '" + vecWord.back() +
                               "' that a reader gives back; 'backup view' shows what is there");
    record["value"] = strValue;
    session.out.Put(strValue, record);
    return nStatus;
}

// Writes the object, and remembers what its readers should give back.
class Builder {
public:
    explicit Builder(const std::string& strName) : m_object(strName) {}

    // "name=value" or "name:type=value".
    void AddItem(const std::string& strItem) {
        const std::size_t nEqual = strItem.find('=');
        std::string strName = strItem.substr(0, nEqual);
        const std::size_t nColon = strName.rfind(':');
        std::string strType;
        if (nColon != std::string::npos) {
            strType = strName.substr(nColon + 1);
            strName.resize(nColon);
        }
        if (nEqual == std::string::npos || strName.empty())
            throw CommandError(WRONG_USAGE,
                               "'" + strItem + "' is no attribute; expected name=value",
                               EName::SUB_COMMAND);
        if (!AddTyped(strName, strType, strItem.substr(nEqual + 1)))
            throw CommandError(
                WRONG_USAGE,
                "'" + strItem +
                    "' is no such value; types are int, text, list (numbers 1-3,7) and texts (a,b)",
                EName::SUB_COMMAND);
    }

    void AddGroup(const std::vector<std::string>& vecChild, const std::string& strGroup) {
        m_object.AddObejctPara(vecChild, strGroup);
    }

    std::string Text() const { return m_object.GetObjStr(); }

    // Tells what will not be read back as it was given.
    int Check() const {
        const zemb::ScopedNoDebugChannel silent;
        int nStatus = DONE;
        for (const auto& [strName, IsBack] : m_vecBack) {
            if (IsBack(m_object))
                continue;
            Complain("backup build: '" + strName + "' will not be read back as it was given");
            nStatus = ANSWER_NO;
        }
        return nStatus;
    }

private:
    template <class Value>
    void Add(const std::string& strName, const Value& value, bool bQuoted) {
        m_object.AddAttributePara(strName.c_str(), value, bQuoted);
        m_vecBack.emplace_back(strName, [strName, value](const TNBackupObjStr& object) {
            Value back{};
            return object.GetAttributePara(strName.c_str(), back) && back == value;
        });
    }

    bool AddTyped(const std::string& strName, const std::string& strType,
                  const std::string& strValue) {
        int nValue = 0;
        std::vector<int> vecNumber;
        const bool bNumber = NSTN_util::StrToInt(strValue, nValue, 10);
        if (strType == "list" && NSTN_util::StrToNumList(strValue, vecNumber)) {
            Add(strName, vecNumber, false);
        } else if (strType == "texts") {
            std::vector<std::string> vecText;
            NSTN_util::TEStr2StrVec(strValue.c_str(), vecText);
            Add(strName, vecText, true);
        } else if (strType == "text" || (strType.empty() && !bNumber)) {
            Add(strName, strValue, true);
        } else if (bNumber && (strType.empty() || strType == "int")) {
            if (std::to_string(nValue) != strValue)
                WarnOfLoss(strValue, std::to_string(nValue));
            Add(strName, nValue, false);
        } else {
            return false;
        }
        return true;
    }

    TNBackupObjStr m_object;
    std::vector<std::pair<std::string, std::function<bool(const TNBackupObjStr&)>>> m_vecBack;
};

void AddGroup(Builder& builder, const std::string& strGroup) {
    const std::size_t nEqual = strGroup.find('=');
    if (nEqual == std::string::npos || nEqual == 0)
        throw CommandError(WRONG_USAGE, "'" + strGroup + "' is no group; expected NAME=FILE",
                           EName::SUB_COMMAND);
    const std::string strFile = strGroup.substr(nEqual + 1);
    const BackupText text(strFile, ReadText(strFile));
    if (TellFindings(text.vecFinding) != DONE)
        throw CommandError(ANSWER_NO, strFile + ": no clean backup text");
    builder.AddGroup({text.vecObject.begin(), text.vecObject.end()}, strGroup.substr(0, nEqual));
}

int Build(const Session& session, const BackupArguments& args) {
    Builder builder(args.strName);
    for (const std::string& strItem : args.vecItem)
        builder.AddItem(strItem);
    for (const std::string& strGroup : args.vecGroup)
        AddGroup(builder, strGroup);
    const std::string strText = builder.Text();
    session.out.Put(strText, RecordOf({{"text", strText}}));
    int nStatus = TellFindings(BackupText(args.strName, strText).vecFinding);
    nStatus = std::max(nStatus, builder.Check());
    if (!session.out.IsJson() && !session.out.IsRaw() && Shown(strText) != strText) {
        Complain(
            "backup build: control characters are escaped in this text; --raw writes it as it is");
        nStatus = ANSWER_NO;
    }
    return nStatus;
}

}  // namespace

Runner DefineBackup(CLI::App& app) {
    SubCommands<BackupArguments> commands(app);
    BackupArguments& args = commands.Args();
    CLI::App* const pView =
        commands.Add("view", "show the objects, groups and attributes of a text as a tree", View);
    pView->add_option("FILE", args.strFile, "a backup text; -: standard input")->required();
    CLI::App* const pGet =
        commands.Add("get", "read one value, or cut out one child", GetAttributes);
    pGet->add_option("FILE", args.strFile, "a backup text; -: standard input")->required();
    pGet->add_option("PATH", args.strName,
                     "an attribute; before it, or alone, GROUP/OBJECT[n], the first for no n")
        ->required();
    pGet->add_flag("--text", args.bText, "read as a text: only quoted values, or the first item");
    CLI::App* const pBuild = commands.Add("build", "write the text of an object", Build);
    pBuild->add_option("NAME", args.strName, "the object's name")->required();
    pBuild->add_option("ITEM", args.vecItem,
                       "attributes: name=value, a number or a text, or name:TYPE=value with TYPE "
                       "int, text, list (numbers 1-3,7), texts (a,b)");
    pBuild
        ->add_option("--group", args.vecGroup,
                     "GROUP=FILE: a group of the texts in a file; -: standard input")
        ->allow_extra_args(false);
    return commands.RunGiven();
}

}  // namespace host
