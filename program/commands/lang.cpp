#include "base/root_files.h"
#include "check/lang_file.h"
#include "sub_commands.h"
#include "view/record.h"
#include "view/texts.h"

#include "tovelkarin/telangresmgr.h"

#include "zemb/settings.h"

#include <filesystem>

// Loads language texts as a process does, looks keys up, and lists what one of two languages lacks.
namespace host {

namespace {

struct LangArguments {
    std::string strDir = base::LANG_UNDER_ROOT;
    std::string strLanguage;
    std::vector<std::string> vecFile;
    Texts keys;
    bool bLoad = false;
    std::string strFirst;
    std::string strSecond;
};

struct Loaded {
    std::string strFolder;
    std::size_t nFiles;
    std::size_t nMissing;
};

Loaded LoadTexts(const LangArguments& args) {
    if (!args.strLanguage.empty())
        zemb::SetLanguage(args.strLanguage);
    const std::string strFolder = NSTE_util::GetZEMBRootPath() + args.strDir +
                                  Zembcommon::ZembMsg::instance()->getLanguage() + "/";
    const std::vector<std::string> vecFile =
        args.vecFile.empty() ? FilesOf(strFolder) : args.vecFile;
    std::vector<const char*> vecName;
    std::size_t nMissing = 0;
    for (const std::string& strFile : vecFile) {
        vecName.push_back(strFile.c_str());
        std::error_code ignored;
        if (std::filesystem::is_regular_file(strFolder + strFile, ignored))
            continue;
        Complain(strFolder + strFile + ": missing");
        ++nMissing;
    }
    vecName.push_back(nullptr);
    if (NSTN_util::TELangResMgr::Instance()->LoadLangFile(args.strDir.c_str(), vecName.data()) == 0)
        throw CommandError(SYSTEM_FAILED, "there is no usable installation root", EName::COMMAND);
    return {strFolder, vecFile.size() - nMissing, nMissing};
}

int LoadAndCount(const Session& session, const LangArguments& args) {
    const Loaded loaded = LoadTexts(args);
    session.out.Put("loaded " + Counted(loaded.nFiles, "file") + " of " + loaded.strFolder,
                    RecordOf({{"folder", loaded.strFolder}, {"files", loaded.nFiles}}));
    return loaded.nMissing == 0 ? DONE : ANSWER_NO;
}

void GetOne(const Session& session, const LangArguments& args, const std::string& strKey) {
    const std::string strText = NSTN_util::TELangResMgr::Instance()->GetResourceStr(strKey);
    if (strText.empty())
        throw CommandError(ANSWER_NO, strKey + ": no text of that key is loaded" +
                                          (args.bLoad ? "" : "; 'lang load', or --load, loads"));
    session.out.Put(strText, RecordOf({{"key", strKey}, {"text", strText}}));
}

int ShowText(const Session& session, const LangArguments& args) {
    if (args.bLoad)
        LoadTexts(args);
    return args.keys.Each([&](const std::string& strKey) { GetOne(session, args, strKey); });
}

int ListMissing(const Session& session, const LangArguments& args) {
    const std::string strRoot = NSTE_util::GetZEMBRootPath();
    const LangFolder first(strRoot + args.strDir + args.strFirst);
    const LangFolder second(strRoot + args.strDir + args.strSecond);
    std::size_t nMissing = 0;
    const auto Put = [&](const LangFolder& with, const LangFolder& without,
                         const std::string& strLanguage) {
        for (const auto& [strKey, place] : with.mapKey)
            if (without.mapKey.count(strKey) == 0) {
                session.out.Put(
                    strKey + " is missing in " + strLanguage + " (" + place.Text() + ")",
                    RecordOf({{"key", strKey}, {"missing_in", strLanguage}}));
                ++nMissing;
            }
    };
    Put(first, second, args.strSecond);
    Put(second, first, args.strFirst);
    session.out.Say(nMissing == 0 ? "no key is missing" : Counted(nMissing, "key") + " missing");
    return nMissing == 0 ? DONE : ANSWER_NO;
}

}  // namespace

Runner DefineLang(CLI::App& app) {
    SubCommands<LangArguments> commands(app);
    LangArguments& args = commands.Args();
    app.add_option("--dir", args.strDir, "folder of the languages under the root")
        ->capture_default_str();
    CLI::App* const pLoad =
        commands.Add("load", "load the texts of the process language", LoadAndCount);
    pLoad->add_option("FILE", args.vecFile, "names in the language folder; none: all");
    pLoad->add_option("--language", args.strLanguage, "make this the language of the process");
    CLI::App* const pGet = commands.Add("get", "look a key up in what is loaded", ShowText);
    args.keys.Define(*pGet, "a key, exactly");
    pGet->add_flag("--load", args.bLoad, "load the texts of the process language first");
    CLI::App* const pMissing =
        commands.Add("missing", "list the keys that one of two languages lacks", ListMissing);
    pMissing->add_option("LANGUAGE", args.strFirst, "a language folder")->required();
    pMissing->add_option("OTHER", args.strSecond, "another one")->required();
    return commands.RunGiven();
}

}  // namespace host
