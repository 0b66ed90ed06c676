#include "console/console.h"

#include "candidates.h"
#include "check/finding.h"
#include "command.h"
#include "console/interrupt.h"
#include "view/record.h"

#include "tovelkarin/stringutil.h"

#include "zemb/settings.h"

#include <editline/readline.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

// Commands from a script or a terminal. A line is split into words much as a shell does it. A
// script ends at the first failure but goes on after an answer "no", because refusals are what many
// scripts want to show.
namespace host {

namespace {

constexpr const char* PROMPT = "tovelkarin> ";

// What fits the word at hand; libedit asks for one after the other.
std::vector<std::string> g_vecCandidate;

char* NextCompletion(const char* /*szBegin*/, int nState) {
    const auto nNext = static_cast<std::size_t>(nState);
    return nNext < g_vecCandidate.size() ? strdup(g_vecCandidate[nNext].c_str()) : nullptr;
}

// Where nothing fits libedit offers files.
char** Complete(const char* szWord, int nStart, int) {
    try {
        std::vector<std::string> vecWord =
            SplitWords(std::string(rl_line_buffer).substr(0, static_cast<std::size_t>(nStart)));
        vecWord.emplace_back(szWord);
        g_vecCandidate = Candidates(vecWord);
    } catch (const std::exception&) {
        return nullptr;  // a quote is open
    }
    return g_vecCandidate.empty() ? nullptr : rl_completion_matches(szWord, NextCompletion);
}

// In the folder for what programs remember of their user; "" when it cannot be made.
std::string HistoryFile() {
    const char* const szState = std::getenv("XDG_STATE_HOME");
    const char* const szHome = std::getenv("HOME");
    std::filesystem::path folder = szState == nullptr ? "" : szState;
    if (!folder.is_absolute())  // what is not, does not count
        folder = szHome == nullptr ? "" : std::filesystem::path(szHome) / ".local/state";
    if (!folder.is_absolute())
        return "";
    folder /= "tovelkarin";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return error ? "" : (folder / "history").string();
}

}  // namespace

std::vector<std::string> SplitWords(const std::string& strLine) {
    std::vector<std::string> vecWord;
    std::string strWord;
    bool bInWord = false;
    char cQuote = '\0';
    for (std::size_t i = 0; i < strLine.size(); ++i) {
        const char c = strLine[i];
        if (c == '\\' && cQuote != '\'' && i + 1 < strLine.size()) {
            strWord += strLine[++i];
            bInWord = true;
        } else if (cQuote != '\0') {
            if (c == cQuote)
                cQuote = '\0';
            else
                strWord += c;
        } else if (c == '\'' || c == '"') {
            cQuote = c;
            bInWord = true;
        } else if (c == '#' && !bInWord) {
            break;
        } else if (c != ' ' && c != '\t' && c != '\r') {
            strWord += c;
            bInWord = true;
        } else if (bInWord) {
            vecWord.push_back(std::move(strWord));
            strWord.clear();
            bInWord = false;
        }
    }
    if (cQuote != '\0')
        throw CommandError(WRONG_USAGE, std::string("a quote ") + cQuote + " is not closed");
    if (bInWord)
        vecWord.push_back(std::move(strWord));
    return vecWord;
}

namespace {

// A word with $ROOT and $STATE as the folders that they are.
std::string Expanded(std::string strWord) {
    NSTN_util::TransWildcardForSql("$ROOT", NSTE_util::GetZEMBRootPath(), strWord);
    NSTN_util::TransWildcardForSql("$STATE", zemb::GetStatePath(), strWord);
    return strWord;
}

// Runs one line; an empty one is done.
int RunLine(Session& session, const std::string& strLine) {
    try {
        std::vector<std::string> vecWord = SplitWords(strLine);
        std::transform(vecWord.begin(), vecWord.end(), vecWord.begin(), Expanded);
        return vecWord.empty() ? DONE : RunCommand(session, vecWord);
    } catch (const CommandError& error) {
        Complain(error.what());
        return error.nStatus;
    }
}

// Whether a script shows the line before it runs it.
bool IsShown(const std::string& strLine) {
    const std::size_t nFirst = strLine.find_first_not_of(" \t\r");
    return nFirst != std::string::npos && strLine[nFirst] != '#' &&
           strLine.compare(nFirst, 3, "say") != 0;
}

}  // namespace

int RunScript(Session& session, std::istream& input, const std::string& strName, bool bEcho) {
    std::string strLine;
    for (int nLine = 1; !session.IsQuit() && std::getline(input, strLine); ++nLine) {
        if (bEcho && IsShown(strLine))
            session.out.Put(PROMPT + strLine, RecordOf({{"input", strLine}}));
        const int nStatus = RunLine(session, strLine);
        if (nStatus != DONE && nStatus != ANSWER_NO) {
            Complain(PlaceText(strName, nLine) + ": ended here");
            return nStatus;
        }
    }
    return DONE;
}

// Nothing at the end of the input. Ctrl-C begins a new line.
std::optional<std::string> NextLine() {
    for (;;) {
        const Interruptible interruptible;
        const std::unique_ptr<char, decltype(&std::free)> line(readline(PROMPT), &std::free);
        if (!interruptible.HasCome())
            return line == nullptr ? std::nullopt : std::optional<std::string>(line.get());
        std::cout << std::endl;
    }
}

int RunTerminal(Session& session) {
    rl_attempted_completion_function = Complete;
    const std::string strHistory = HistoryFile();
    using_history();
    if (!strHistory.empty())
        read_history(strHistory.c_str());
    std::cout << "'help' lists the commands, 'quit' ends." << std::endl;
    while (!session.IsQuit()) {
        const std::optional<std::string> line = NextLine();
        if (!line)
            break;
        if (!line->empty())
            add_history(line->c_str());
        RunLine(session, *line);
    }
    if (!strHistory.empty()) {
        // For its user alone, and not through a link.
        const int nFile =
            open(strHistory.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (nFile != -1 && close(nFile) == 0)
            write_history(strHistory.c_str());
    }
    return DONE;
}

}  // namespace host
