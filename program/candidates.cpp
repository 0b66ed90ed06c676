#include "candidates.h"

#include "base/root_files.h"
#include "check/lang_file.h"
#include "check/mutex_file.h"
#include "command.h"
#include "global_arguments.h"
#include "mistake.h"

#include "zemb/black_box.h"
#include "zemb/control.h"
#include "zemb/settings.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <set>

// The one completion: the scripts of the shells ask the program, so that they know what the root
// and the state folder hold. A line is read as far as it goes; a word that nobody knows is passed
// over.
namespace host {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t OFFERED_MOST = 1000;

using WordList = std::vector<std::string>;

WordList OperationNames() {
    MutexFile table;
    table.Read(NSTE_util::GetZEMBRootPath() + base::MUTEX_TABLE_UNDER_ROOT);
    WordList vecName;
    if (table.CountOperations() <= OFFERED_MOST)
        for (const int nOper : table.Operations())
            vecName.push_back(std::to_string(nOper));
    return vecName;
}

// Those that have a log.
WordList ModuleNames() {
    std::set<std::string> setName;
    for (const std::string& strFile : FilesOf(zemb::GetStatePath() + "/log"))
        if (fs::path(strFile).extension() == ".log")
            setName.insert(strFile.substr(0, strFile.find('.')));
    return {setName.begin(), setName.end()};
}

WordList ProcessNames() {
    std::set<std::string> setName = {"all"};
    for (const zemb::BoxSummary& box : zemb::ListBlackBoxes(zemb::GetStatePath()))
        if (box.strError.empty()) {
            setName.insert(std::to_string(box.nProcess));
            setName.insert(box.strProgram);
        }
    return {setName.begin(), setName.end()};
}

WordList LanguageNames() {
    WordList vecName;
    const std::string strFolder = NSTE_util::GetZEMBRootPath() + base::LANG_UNDER_ROOT;
    for (const fs::directory_entry& entry : fs::directory_iterator(strFolder))
        if (entry.is_directory())
            vecName.push_back(entry.path().filename().string());
    return vecName;
}

WordList CommandNames() {
    WordList vecName;
    for (const Command& command : Commands())
        vecName.emplace_back(command.szName);
    return vecName;
}

template <const auto& FILE>
WordList OfRoot() {
    return {NSTE_util::GetZEMBRootPath() + FILE};
}

// What an argument takes, by its name and, where that says too little, by its command.
struct ValueSource {
    const char* szCommand;  // "": any
    const char* szArgument;
    WordList (*fnValues)();
};

// clang-format off
constexpr ValueSource VALUE_SOURCES[] = {
    {"",               "OPERATION", OperationNames},
    {"",               "--oper",    OperationNames},
    {"",               "--process", ProcessNames},
    {"post-mortem",    "PROCESS",   ProcessNames},
    {"",               "MODULE",    ModuleNames},
    {"",               "--module",  ModuleNames},
    {"help",           "COMMAND",   CommandNames},
    {"",               "LANGUAGE",  LanguageNames},
    {"",               "OTHER",     LanguageNames},
    {"",               "--language", LanguageNames},
    {"check mutex",    "FILE",      OfRoot<base::MUTEX_TABLE_UNDER_ROOT>},
    {"mutex matrix",   "FILE",      OfRoot<base::MUTEX_TABLE_UNDER_ROOT>},
    {"mutex load",     "FILE",      OfRoot<base::MUTEX_TABLE_UNDER_ROOT>},
    {"check timeouts", "FILE",      OfRoot<base::TIMEOUTS_UNDER_ROOT>},
    {"timeout",        "--file",    OfRoot<base::TIMEOUTS_UNDER_ROOT>},
    {"timeouts",       "--file",    OfRoot<base::TIMEOUTS_UNDER_ROOT>},
    {"check items",    "FILE",      OfRoot<base::EMS_UNDER_ROOT>},
    {"cfg",            "FILE",      OfRoot<base::EMS_UNDER_ROOT>},
};
// clang-format on

// The members of a choice, which stand in braces in the name of an option's type.
WordList ChoiceMembers(const CLI::Option& option) {
    const std::string strType = option.get_type_name();
    const std::size_t nBegin = strType.find('{');
    if (nBegin == std::string::npos)
        return {};
    return CLI::detail::split(strType.substr(nBegin + 1, strType.rfind('}') - nBegin - 1), ',');
}

// A command line as far as it is typed.
class TypedLine {
public:
    explicit TypedLine(const WordList& vecWord) : m_strLast(vecWord.back()) {
        DefineGlobal(m_global, m_args);
        m_global.add_option("--process", m_args.strProcess);
        for (auto it = vecWord.begin(); it + 1 != vecWord.end(); ++it)
            Take(*it);
    }

    WordList Candidates() const {
        if (m_strLast == "=")
            return {};
        if (m_pOption != nullptr)
            return ValuesOf(*m_pOption);
        if (m_strLast.compare(0, 1, "-") == 0)
            return Options();
        if (m_pCommand == nullptr)
            return CommandNames();
        WordList vecName;
        for (const CLI::App* const pSub : m_pApp->get_subcommands(nullptr))
            vecName.push_back(pSub->get_name());
        const WordList vecValue = Positional();
        vecName.insert(vecName.end(), vecValue.begin(), vecValue.end());
        return vecName;
    }

private:
    void Take(const std::string& strWord) {
        if (strWord == "=")  // bash takes "--root=X" for three words
            return;
        if (m_pOption != nullptr)
            return TakeValue(strWord);
        if (strWord.compare(0, 2, "--") == 0 && strWord.size() > 2)
            return TakeOption(strWord);
        if (m_pCommand == nullptr)
            return TakeCommand(strWord);
        const WordList vecName = CLI::detail::split(m_strName, ' ');
        const CLI::App* const pSub = vecName.size() == 1 ? OwnCommand(*m_pApp, strWord) : nullptr;
        if (pSub == nullptr) {
            ++m_nPositionals;
            return;
        }
        m_pApp = pSub;
        m_strName += " " + strWord;
    }

    void TakeCommand(const std::string& strWord) {
        m_pCommand = FindCommand(strWord);
        if (m_pCommand == nullptr)
            return;
        m_strName = strWord;
        m_pCommand->Define(m_app);
    }

    void TakeOption(const std::string& strWord) {
        const std::size_t nEqual = strWord.find('=');
        m_pOption = OptionOf(strWord.substr(0, nEqual));
        if (m_pOption == nullptr || m_pOption->get_items_expected_max() == 0)
            m_pOption = nullptr;
        else if (nEqual != std::string::npos)
            TakeValue(strWord.substr(nEqual + 1));
    }

    void TakeValue(const std::string& strWord) {
        if (m_pOption == m_global.get_option("--root"))
            zemb::SetRootPath(strWord);
        if (m_pOption == m_global.get_option("--state"))
            zemb::SetStatePath(strWord);
        m_pOption = nullptr;
    }

    const CLI::Option* OptionOf(const std::string& strName) const {
        for (const CLI::App* const pApp : {m_pApp, static_cast<const CLI::App*>(&m_app),
                                           static_cast<const CLI::App*>(&m_global)})
            if (const CLI::Option* const pOption = pApp->get_option_no_throw(strName))
                return pOption;
        return nullptr;
    }

    WordList Options() const {
        WordList vecName;
        for (const CLI::App* const pApp : {m_pApp, static_cast<const CLI::App*>(&m_global)})
            for (const CLI::Option* const pOption : pApp->get_options())
                for (const std::string& strName : pOption->get_lnames())
                    vecName.push_back("--" + strName);
        if (m_pCommand == nullptr)
            vecName.emplace_back("--version");
        return vecName;
    }

    // Of the argument that is at hand; the last one may come many times.
    WordList Positional() const {
        std::vector<const CLI::Option*> vecOption;
        for (const CLI::Option* const pOption : m_pApp->get_options())
            if (pOption->get_positional())
                vecOption.push_back(pOption);
        if (vecOption.empty())
            return {};
        const CLI::Option* const pOption =
            vecOption[std::min(m_nPositionals, vecOption.size() - 1)];
        const bool bOver =
            m_nPositionals >= vecOption.size() && pOption->get_items_expected_max() == 1;
        return bOver ? WordList() : ValuesOf(*pOption);
    }

    WordList ValuesOf(const CLI::Option& option) const {
        if (WordList vecMember = ChoiceMembers(option); !vecMember.empty())
            return vecMember;
        const std::string strArgument =
            option.get_positional() ? option.get_name(true) : "--" + option.get_lnames().front();
        for (const ValueSource& source : VALUE_SOURCES)
            if ((*source.szCommand == '\0' || m_strName == source.szCommand) &&
                strArgument == source.szArgument)
                try {
                    return source.fnValues();
                } catch (const std::exception&) {
                    return {};  // there is none of it
                }
        return {};
    }

    const std::string m_strLast;
    GlobalArguments m_args;
    CLI::App m_global;
    CLI::App m_app;
    const CLI::App* m_pApp = &m_app;
    const Command* m_pCommand = nullptr;
    std::string m_strName;
    const CLI::Option* m_pOption = nullptr;  // whose value comes next
    std::size_t m_nPositionals = 0;
};

}  // namespace

std::vector<std::string> Candidates(const std::vector<std::string>& vecWord) {
    if (vecWord.empty())
        return {};
    const std::string& strLast = vecWord.back();
    WordList vecFitting;
    for (const std::string& strName : TypedLine(vecWord).Candidates())
        if (strName.compare(0, strLast.size(), strLast) == 0)
            vecFitting.push_back(strName);
    return vecFitting;
}

}  // namespace host
