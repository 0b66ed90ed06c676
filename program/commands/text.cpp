#include "command.h"
#include "view/record.h"
#include "view/texts.h"

#include "tovelkarin/stringutil.h"

#include <CLI/CLI.hpp>

#include <map>
#include <memory>

// Trimming, replacing, matching and LIKE patterns by the library's own functions, which a table
// leads to by name.
namespace host {

namespace {

struct TextArguments {
    Texts texts;
    std::string strOperation;
    std::string strSeparators = " ";
    std::string strFrom;
    std::string strTo;
};

std::string QuotedText(const std::string& strText) {
    std::string strOut = strText;
    NSTN_util::TransWildcardForSqlSingleQuotes(strOut);
    return strOut;
}

std::string Bytes(const std::string& strText) {
    CStdString strOut;
    for (const std::string& strWord : NSTE_util::Token(strText, ' ')) {
        int nByte = 0;
        if (!strWord.empty() &&
            (!NSTN_util::StrToInt(strWord, nByte, 16) || nByte < 1 || nByte > 255))
            WarnOfLoss(strWord,
                       (nByte & 255) == 0 ? "nothing" : NSTN_util::IntToStr(nByte & 255, true));
    }
    NSTN_util::Str16ToStrChar(strText, strOut);
    return strOut;
}

std::string Words(const std::string& strText, const std::string& strSeparators) {
    const CStdString strLine = strText;
    std::string strOut;
    int nStart = 0;
    do {
        CStdString strWord;
        nStart = NSTN_util::GetWordFromLine(strLine, nStart, strSeparators, strWord);
        AppendItem(strOut, strWord, "\n");
    } while (nStart != -1);
    return strOut;
}

using Operation = std::string (*)(const std::string&, const TextArguments&);

const std::map<std::string, Operation>& Operations() {
    using Text = const std::string&;
    using Args = const TextArguments&;
    static const std::map<std::string, Operation> mapOperation = {
        {"trim", [](Text strText, Args) { return NSTN_util::Trim(strText); }},
        {"ltrim", [](Text strText, Args) { return NSTN_util::LTrim(strText); }},
        {"rtrim", [](Text strText, Args) { return NSTN_util::RTrim(strText); }},
        {"upper", [](Text strText, Args) { return NSTN_util::StrToUpper(strText); }},
        {"lower", [](Text strText, Args) { return NSTN_util::StrToLower(strText); }},
        {"quote", [](Text strText, Args) { return QuotedText(strText); }},
        {"bytes", [](Text strText, Args) { return Bytes(strText); }},
        {"words", [](Text strText, Args args) { return Words(strText, args.strSeparators); }},
        {"replace",
         [](Text strText, Args args) {
             std::string strOut = strText;
             NSTN_util::TransWildcardForSql(args.strFrom, args.strTo, strOut);
             return strOut;
         }},
        {"escape",
         [](Text strText, Args args) {
             std::string strOut = strText;
             NSTN_util::TransWildcardForSqlNotRepeat(args.strFrom, args.strTo, strOut);
             return strOut;
         }},
    };
    return mapOperation;
}

struct MatchArguments {
    std::string strPattern;
    Texts texts;
};

int Match(const Session& session, const MatchArguments& args) {
    std::size_t nFitting = 0;
    const int nWorst = args.texts.Each([&](const std::string& strName) {
        if (!NSTN_util::IsNameMeetingRequire(strName, args.strPattern))
            return;
        session.out.Put(strName, RecordOf({{"name", strName}}));
        ++nFitting;
    });
    return nFitting == 0 ? ANSWER_NO : nWorst;
}

struct LikeArguments {
    Texts texts;
    bool bLiteral = false;
    bool bAnchored = false;
    bool bQuotes = false;
    std::string strColumn;
};

void ShowLike(const Session& session, const LikeArguments& args, const std::string& strText) {
    std::string strLike = strText;
    const bool bQuotes = args.bQuotes || !args.strColumn.empty();
    if (args.bLiteral)
        NSTN_util::TransWildcardForSqlLikeNotRepeat(strLike, bQuotes, !args.bAnchored);
    else
        NSTN_util::TransWildcardForSqlLikeNotRepeatEx(strLike, bQuotes, !args.bAnchored);
    session.out.Put(
        args.strColumn.empty() ? strLike : args.strColumn + " LIKE '" + strLike + "' ESCAPE '\\'",
        RecordOf({{"text", strText}, {"like", strLike}}));
}

}  // namespace

Runner DefineText(CLI::App& app) {
    const auto pArgs = std::make_shared<TextArguments>();
    app.add_option(
           "OPERATION", pArgs->strOperation,
           "trim, ltrim, rtrim, upper, lower; quote: double single quotes; bytes: hexadecimal "
           "numbers to characters; words: a word a line; replace: --from by --to; escape: "
           "the same, but what is part of a --to stays")
        ->required()
        ->check(CLI::IsMember(Operations()));
    pArgs->texts.Define(app, "the text");
    app.add_option("--separators", pArgs->strSeparators, "what stands between words")
        ->capture_default_str();
    app.add_option("--from", pArgs->strFrom, "what is replaced");
    app.add_option("--to", pArgs->strTo, "what comes in its place");
    return [pArgs](Session& session) {
        const Operation operation = Operations().at(pArgs->strOperation);
        return pArgs->texts.Each([&](const std::string& strText) {
            Json::Value record;
            record["text"] = strText;
            record["result"] = operation(strText, *pArgs);
            session.out.Put(record["result"].asString(), record);
        });
    };
}

Runner DefineMatch(CLI::App& app) {
    const auto pArgs = std::make_shared<MatchArguments>();
    app.add_option("PATTERN", pArgs->strPattern, "* is any run of characters, ? any one")
        ->required();
    pArgs->texts.Define(app, "a name; those that fit the whole pattern are printed");
    return [pArgs](Session& session) { return Match(session, *pArgs); };
}

Runner DefineLike(CLI::App& app) {
    const auto pArgs = std::make_shared<LikeArguments>();
    pArgs->texts.Define(app,
                        "what the user typed; with a * the pattern is anchored as typed, "
                        "without one it is searched within names");
    app.add_flag("--literal", pArgs->bLiteral, "* and ? are characters like any other");
    app.add_flag("--anchored", pArgs->bAnchored, "never put % around the pattern");
    app.add_flag("--quotes", pArgs->bQuotes, "double single quotes");
    app.add_option("--column", pArgs->strColumn, "print the whole SQL condition on this column");
    return [pArgs](Session& session) {
        return pArgs->texts.Each(
            [&](const std::string& strText) { ShowLike(session, *pArgs, strText); });
    };
}

}  // namespace host
