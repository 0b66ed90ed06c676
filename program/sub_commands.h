#pragma once

#include "command.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace host {

// The commands of a command, such as "list" and "show" of "oplog". Each comes with what runs it;
// all read their arguments into one object, which lives as long as the runner does.
template <class Arguments>
class SubCommands {
public:
    using Handler = std::function<int(Session&, Arguments&)>;

    explicit SubCommands(CLI::App& app) : m_app(app) {}

    Arguments& Args() const { return *m_pArgs; }

    // Names one; the result takes its options.
    CLI::App* Add(const std::string& strName, const std::string& strSummary, Handler handler) {
        CLI::App* const pCommand = m_app.add_subcommand(strName, strSummary);
        m_vecCommand.emplace_back(pCommand, std::move(handler));
        return pCommand;
    }

    // Runs the command that was given; one must be.
    Runner RunGiven() const {
        m_app.require_subcommand(1);
        return RunGivenOr({});  // CLI11 lets nothing else through
    }

    // Runs the command that was given, the first one where there are several; handler when none
    // was.
    Runner RunGivenOr(const Handler& handler) const {
        return [vecCommand = m_vecCommand, pArgs = m_pArgs, handler](Session& session) {
            for (const auto& [pCommand, run] : vecCommand)
                if (pCommand->parsed())
                    return run(session, *pArgs);
            return handler(session, *pArgs);
        };
    }

private:
    CLI::App& m_app;
    const std::shared_ptr<Arguments> m_pArgs = std::make_shared<Arguments>();
    std::vector<std::pair<const CLI::App*, Handler>> m_vecCommand;
};

}  // namespace host
