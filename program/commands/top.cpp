#include "command.h"
#include "commands/processes.h"
#include "commands/top_rows.h"
#include "console/top_screen.h"

#include "zemb/clock.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

// A full-screen view of server processes, made anew every second from their black boxes: what a key
// changes is a wish, the rows come from top_rows.cpp, their place on the screen from top_frame.cpp.
namespace host {

namespace {

constexpr const char* KEYS =
    "q quit  s sort  f NE  p pause  Tab section  up/down row  Enter open  h help";
constexpr const char* ANY_KEY = "any key: back";
constexpr int LONGEST_NUMBER = 9;

const std::vector<std::string> HELP = {
    "q, Ctrl-C  quit",
    "s          sort grants by age, operation or NE",
    "f          grants of one NE only: type its number and Enter; without a number: of all",
    "p          pause, and go on",
    "Tab        to the next section",
    "up, down   choose a row",
    "Enter      all that is known of the row; of a grant: the lines of the table by which it",
    "           is in the way of others",
};

struct TopArguments {
    std::string strProcess;
    std::size_t nWidth = 80;
    bool bOnce = false;
};

class Top {
public:
    explicit Top(std::string strProcess) : m_strProcess(std::move(strProcess)) {}

    // Throws CommandError when nobody is there.
    const TopPicture& Look() {
        const std::vector<zemb::BlackBox> vecBox =
            ChosenBoxes(m_strProcess.empty() ? "all" : m_strProcess);
        m_picture = PictureOf(vecBox, m_wish, zemb::NowMicroseconds());
        return m_picture;
    }

    void Watch() {
        Look();
        m_pScreen = std::make_unique<TopScreen>();
        for (TopKey key; key.eKey != ETopKey::QUIT; key = m_pScreen->NextKey()) {
            if (!Act(key))
                return;
            if (!m_bPaused)
                LookAgain();
            m_view.nWidth = m_pScreen->Width();
            m_view.nHeight = m_pScreen->Height() - 1;
            Choose(m_view.nSection, m_view.nRow);
            m_pScreen->Draw(TopFrame(m_picture, m_view), m_bPaused ? "PAUSED  p goes on" : KEYS);
        }
    }

private:
    // Processes come and go while somebody looks.
    void LookAgain() {
        try {
            Look();
        } catch (const CommandError& error) {
            m_picture = {error.what(), {}};
        }
    }

    // Keeps what is chosen within what there is.
    void Choose(std::size_t nSection, std::size_t nRow) {
        const std::vector<TopSection>& vecSection = m_picture.vecSection;
        m_view.nSection = nSection < vecSection.size() ? nSection : 0;
        const std::size_t nRows =
            vecSection.empty() ? 0 : vecSection[m_view.nSection].vecRow.size();
        m_view.nRow = std::min(nRow, nRows == 0 ? 0 : nRows - 1);
    }

    // False when the program is to end.
    bool Act(const TopKey& key) {
        switch (key.eKey) {
            case ETopKey::SORT:
                m_wish.eSort = m_wish.eSort == ETopSort::AGE         ? ETopSort::OPERATION
                               : m_wish.eSort == ETopSort::OPERATION ? ETopSort::NE
                                                                     : ETopSort::AGE;
                break;
            case ETopKey::PAUSE: m_bPaused = !m_bPaused; break;
            case ETopKey::NEXT: Choose(m_view.nSection + 1, 0); break;
            case ETopKey::UP:
                Choose(m_view.nSection, m_view.nRow == 0 ? 0 : m_view.nRow - 1);
                break;
            case ETopKey::DOWN: Choose(m_view.nSection, m_view.nRow + 1); break;
            case ETopKey::FILTER: return AskNe();
            case ETopKey::HELP: return Show(HELP);
            case ETopKey::OPEN: return Open();
            default: break;
        }
        return true;
    }

    bool Open() {
        Choose(m_view.nSection, m_view.nRow);
        if (m_picture.vecSection.empty() || m_picture.vecSection[m_view.nSection].vecRow.empty())
            return true;
        const TopRow& row = m_picture.vecSection[m_view.nSection].vecRow[m_view.nRow];
        std::vector<std::string> vecLine = row.vecDetail;
        if (row.fnMore)
            for (std::string& strLine : row.fnMore())
                vecLine.push_back(std::move(strLine));
        return Show(vecLine);
    }

    // Until a key comes.
    bool Show(const std::vector<std::string>& vecText) const {
        std::vector<TopLine> vecLine;
        vecLine.reserve(vecText.size());
        for (const std::string& strText : vecText)
            vecLine.push_back({ETopLine::PLAIN, strText});
        for (;;) {
            m_pScreen->Draw(vecLine, ANY_KEY);
            if (const TopKey key = m_pScreen->NextKey(); key.eKey != ETopKey::NONE)
                return key.eKey != ETopKey::QUIT;
        }
    }

    bool AskNe() {
        std::string strNumber;
        for (;;) {
            m_pScreen->Draw(TopFrame(m_picture, m_view),
                            "NE, then Enter; without a number: all: " + strNumber);
            const TopKey key = m_pScreen->NextKey();
            if (key.eKey == ETopKey::QUIT)
                return false;
            if (key.eKey == ETopKey::DIGIT && strNumber.size() < LONGEST_NUMBER)
                strNumber += key.cDigit;
            if (key.eKey == ETopKey::ERASE && !strNumber.empty())
                strNumber.pop_back();
            if (key.eKey == ETopKey::OPEN) {
                m_wish.nNe = strNumber.empty() ? -1 : std::stoi(strNumber);
                return true;
            }
        }
    }

    const std::string m_strProcess;
    std::unique_ptr<TopScreen> m_pScreen;
    TopPicture m_picture;
    TopWish m_wish;
    TopView m_view;
    bool m_bPaused = false;
};

int PutOnce(const Output& out, const TopPicture& picture, std::size_t nWidth) {
    TopView view;
    view.nWidth = nWidth;
    view.nSection = picture.vecSection.size();  // no row is chosen
    if (!out.IsJson())
        for (const TopLine& line : TopFrame(picture, view))
            out.Say(line.strText);
    for (const TopSection& section : picture.vecSection)
        for (const TopRow& row : section.vecRow)
            if (out.IsJson())
                out.Put("", RecordOf(section.vecColumn, row.vecCell));
    return DONE;
}

}  // namespace

Runner DefineTop(CLI::App& app) {
    const auto pArgs = std::make_shared<TopArguments>();
    AddProcessOption(app, pArgs->strProcess);
    CLI::Option* const pOnce = app.add_flag(
        "--once", pArgs->bOnce, "print one frame of 24 lines and end; with --json all rows");
    app.add_option("--width", pArgs->nWidth, "columns of that frame")
        ->capture_default_str()
        ->check(CLI::Range(20, 1000))
        ->needs(pOnce);
    return [pArgs](Session& session) {
        Top top(pArgs->strProcess);
        if (pArgs->bOnce)
            return PutOnce(session.out, top.Look(), pArgs->nWidth);
        if (session.out.IsJson())
            throw CommandError(WRONG_USAGE, "top: JSON is for --once");
        top.Watch();
        return DONE;
    };
}

}  // namespace host
