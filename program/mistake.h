#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace host {

class Session;

// One of the own commands of a command; null when there is none of that name.
const CLI::App* OwnCommand(const CLI::App& app, const std::string& strName);

// "did you mean 'oplog'? " for a command that there is not; "" when none is near.
std::string CommandMeant(const std::string& strName);

// The same for the first word that a command could not read: one of its own commands, or an option.
std::string WordMeant(const CLI::App& app, const std::vector<std::string>& vecWord);

// Throws CommandError for a command, given with its own ("mutex load"), whose work ends with the
// process that does it, unless that process is a host: nobody would ever see anything of it.
void RequireHost(const Session& session, const std::string& strName);

// Whether that is so of a command and of everything that it can do.
bool IsForHost(const std::string& strName);

// Says so in the help of those own commands of which it is.
void TellForHost(CLI::App& app);

}  // namespace host
