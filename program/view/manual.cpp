#include "view/manual.h"

#include "base/root_files.h"
#include "command.h"
#include "global_arguments.h"
#include "mistake.h"

#include <CLI/CLI.hpp>

#include <sstream>

// The manual page, out of the table of commands and their arguments, so that page and program
// cannot disagree. What is not in the table (exit status, variables, files) stands in tables of its
// own here.
namespace host {

namespace {

constexpr const char* DESCRIPTION =
    "Loads the tovelkarin module as a server process does, starts it over an installation root, "
    "and "
    "runs one command, or many from a script or a terminal (the command host). Beside that it "
    "checks "
    "configuration files, explains answers, and takes texts and numbers of the system apart.";

struct Entry {
    const char* szName;
    const char* szText;
};

constexpr Entry EXIT_STATUS[] = {
    {"0", "done"},
    {"1", "the answer is no: refused, not found, the file has faults"},
    {"2", "wrong usage"},
    {"3", "the system failed"},
};

constexpr Entry ENVIRONMENT[] = {
    {"ZEMB_ROOT", "the installation root, without --root"},
    {"ZEMB_STATE", "the folder of logs and databases, without --state; else var under the root"},
    {"NO_COLOR", "when it is set, no colours without --color=always"},
    {"XDG_STATE_HOME", "where the history lies; else ~/.local/state"},
    {"ZEMB_LANG", "the language of texts; else en"},
    {"TZ", "the time zone; else that of the system"},
};

constexpr Entry FILES_OF_ROOT[] = {
    {base::MUTEX_TABLE_UNDER_ROOT, "tovelkarin-mutex-table(5)"},
    {base::TIMEOUTS_UNDER_ROOT, "tovelkarin-timeouts(5)"},
    {base::EMS_UNDER_ROOT, "tovelkarin-configuration(5)"},
    {base::TRANS_EMS_UNDER_ROOT, "tovelkarin-configuration(5)"},
    {base::COMMON_UNDER_ROOT, "tovelkarin-configuration(5)"},
};

constexpr Entry OTHER_FILES[] = {
    {"<state>/operlog.db", "tovelkarin-operation-log(5)"},
    {"<state>/log/<module>.log", "a line for each entry: UTC time, thread, level, text"},
    {"<state>/log/callchain.jsonl", "a JSON object for each record of a call chain"},
    {"<state>/usercfg.db", "the values of 'usercfg'"},
    {"$XDG_STATE_HOME/tovelkarin/history", "what was typed at the prompt of 'host'"},
};

constexpr const char* SEE_ALSO =
    "tovelkarin-asn(5), tovelkarin-backup(5), tovelkarin-configuration(5), tovelkarin-fdn(5), "
    "tovelkarin-items(5), tovelkarin-json(5), tovelkarin-language(5), tovelkarin-lists(5), "
    "tovelkarin-mutex-table(5), "
    "tovelkarin-ne(5), tovelkarin-operation-log(5), tovelkarin-otn(5), tovelkarin-timeouts(5)";

// A text that roff takes as it stands, so that a shell takes it back.
std::string Roff(const std::string& strText) {
    std::string strOut;
    bool bLineBegins = true;
    for (const char c : strText) {
        if (bLineBegins && (c == '.' || c == '\''))
            strOut += "\\&";
        bLineBegins = c == '\n';
        switch (c) {
            case '\\': strOut += "\\e"; break;
            case '-': strOut += "\\-"; break;
            case '\'': strOut += "\\(aq"; break;
            case '`': strOut += "\\(ga"; break;
            case '^': strOut += "\\(ha"; break;
            case '~': strOut += "\\(ti"; break;
            default: strOut += c;
        }
    }
    return strOut;
}

class Page {
public:
    void Section(const std::string& strTitle) { m_out << ".SH " << strTitle << "\n"; }
    void Command(const std::string& strName) { m_out << ".SS " << Roff(strName) << "\n"; }
    void Text(const std::string& strText) { m_out << Roff(strText) << "\n"; }
    void Paragraph(const std::string& strText) { m_out << ".PP\n" << Roff(strText) << "\n"; }

    void Item(const std::string& strName, const std::string& strText) {
        m_out << ".TP\n\\fB" << Roff(strName) << "\\fR\n"
              << (strText.empty() ? "\\&" : Roff(strText)) << "\n";
    }

    void Usage(const CLI::App& app, const std::string& strName) {
        // CLI11 puts an empty line before it and one behind it.
        const std::string strUsage = CLI::Formatter().make_usage(&app, strName);
        m_out << ".PP\n.B " << Roff(CLI::detail::trim_copy(strUsage)) << "\n";
    }

    void Options(const CLI::App& app) {
        const CLI::Formatter formatter;
        for (const CLI::Option* const pOption : app.get_options())
            if (pOption != app.get_help_ptr() && pOption != app.get_version_ptr())
                Item(formatter.make_option_name(pOption, pOption->get_positional()) +
                         formatter.make_option_opts(pOption),
                     formatter.make_option_desc(pOption));
    }

    void Example(const std::string& strText) {
        m_out << ".PP\nExample:\n.PP\n.RS 4\n.EX\n" << Roff(strText) << "\n.EE\n.RE\n";
    }

    template <std::size_t SIZE>
    void Entries(const Entry (&arrEntry)[SIZE]) {
        for (const Entry& entry : arrEntry)
            Item(entry.szName, entry.szText);
    }

    std::string Roffed() const { return m_out.str(); }
    std::ostringstream& Out() { return m_out; }

private:
    std::ostringstream m_out;
};

void AddCommand(const Command& command, Page& page) {
    CLI::App app("", command.szName);
    command.Define(app);
    TellForHost(app);
    page.Command(command.szName);
    page.Text(std::string(command.szSummary) + ".");
    if (!app.get_description().empty())
        page.Text(app.get_description().substr(1));
    page.Usage(app, command.szName);
    page.Options(app);
    for (const CLI::App* const pSub : app.get_subcommands(nullptr)) {
        page.Usage(*pSub, std::string(command.szName) + " " + pSub->get_name());
        page.Paragraph(pSub->get_description() + ".");
        page.Options(*pSub);
    }
    std::string strExample = command.strExample;
    for (std::size_t n = 0; (n = strExample.find("\n  ", n)) != std::string::npos;)
        strExample.erase(n + 1, 2);
    page.Example(strExample);
}

}  // namespace

std::string ManualPage() {
    Page page;
    page.Out() << ".TH TOVELKARIN 1 \"\" \"tovelkarin " TOVELKARIN_VERSION "\" \"tovelkarin\"\n";
    page.Section("NAME");
    page.Text("tovelkarin - host process and toolbox of the tovelkarin module");
    page.Section("SYNOPSIS");
    page.Out() << ".B tovelkarin\n[\\fIOPTIONS\\fR] \\fICOMMAND\\fR ...\n";
    page.Section("DESCRIPTION");
    page.Text(DESCRIPTION);
    page.Section("OPTIONS");
    CLI::App app;
    GlobalArguments args;
    DefineGlobal(app, args);
    page.Options(app);
    page.Item("--version", "the version");
    page.Item("-h,--help", "the commands; behind a command all about it");
    page.Section("COMMANDS");
    for (const Command& command : Commands())
        AddCommand(command, page);
    page.Section("\"EXIT STATUS\"");
    page.Entries(EXIT_STATUS);
    page.Section("ENVIRONMENT");
    page.Entries(ENVIRONMENT);
    page.Section("FILES");
    for (const Entry& entry : FILES_OF_ROOT)
        page.Item(std::string("<root>") + entry.szName, entry.szText);
    page.Item(std::string("<root>") + base::LANG_UNDER_ROOT + "<language>/",
              "tovelkarin-language(5)");
    page.Entries(OTHER_FILES);
    page.Section("\"SEE ALSO\"");
    page.Text(SEE_ALSO);
    return page.Roffed();
}

}  // namespace host
