#pragma once

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace host {

// Exit status of the program and of each command.
constexpr int DONE = 0;
constexpr int ANSWER_NO = 1;  // refused, not found, the file has faults
constexpr int WRONG_USAGE = 2;
constexpr int SYSTEM_FAILED = 3;

// Whose name stands before the text of an error: nobody's, that of the command ("oplog: "), or that
// of the one of its own commands which was given ("oplog list: ").
enum class EName { NONE, COMMAND, SUB_COMMAND };

// Ends a command with a status; the text goes to standard error behind the program's name.
class CommandError : public std::runtime_error {
public:
    CommandError(int nStatusOf, const std::string& strText, EName eNameOf = EName::NONE)
        : std::runtime_error(strText), nStatus(nStatusOf), eName(eNameOf) {}
    const int nStatus;
    const EName eName;  // Report puts it there
};

// Throw it for a file that the system refused, as errno or nError tells, and for what is none that
// can be read as a whole.
[[noreturn]] void FailWithErrno(const std::string& strFile);
[[noreturn]] void FailWith(int nError, const std::string& strFile);
[[noreturn]] void FailAsNoPlainFile(const std::string& strFile);

// Throws for a file that is there and may not be read, or written, as access() has it: whoever
// finds none would take it for empty.
void RequireAccess(const std::string& strFile, int nMode);

// A command's name, with those of its own commands as far as they were read: "task finish".
std::string NameOfParsed(const CLI::App& app);

// Tells an error of a command, or of one of its own commands, on standard error; returns its
// status.
int Report(const CommandError& error, const CLI::App& app);

}  // namespace host
