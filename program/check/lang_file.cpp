#include "check/lang_file.h"

#include "base/item_line.h"
#include "check/text_lines.h"
#include "view/output.h"

#include "zemb/settings.h"

#include <algorithm>
#include <filesystem>

// Reads the files of a language folder with the place of each key. Several folders are compared key
// by key: each language must have what any other has.
// The format: docs/formats/language-files.md.
namespace host {

std::vector<std::string> FilesOf(const std::string& strFolder) {
    std::error_code error;
    std::vector<std::string> vecName;
    for (const auto& entry : std::filesystem::directory_iterator(strFolder, error))
        if (std::error_code ignored; entry.is_regular_file(ignored))
            vecName.push_back(entry.path().filename().string());
    if (error)
        throw CommandError(SYSTEM_FAILED, strFolder + ": " + error.message());
    std::sort(vecName.begin(), vecName.end());
    return vecName;
}

LangFolder::LangFolder(const std::string& strFolderOf) : strFolder(strFolderOf) {
    for (const std::string& strName : FilesOf(strFolder))
        ReadFile(strFolder + "/" + strName);
}

void LangFolder::ReadFile(const std::string& strFile) {
    for (const TextLine& line : ReadLines(strFile))
        ReadLine(line.place);
}

void LangFolder::Add(ESeverity eSeverity, const Place& place, std::size_t nOffset,
                     const std::string& strWhat, const std::string& strExpected) {
    vecFinding.push_back(FindingAt(eSeverity, place, nOffset, strWhat, strExpected));
}

void LangFolder::ReadLine(const Place& place) {
    const base::ItemLine line = base::ReadItemLine(place.strText);
    if (line.eKind == base::EItemLine::NOTHING)
        return;
    if (line.eKind == base::EItemLine::NO_EQUAL)
        return Add(ESeverity::ERROR, place, 0, "no '=': the line is left out", "key = text");
    const std::size_t nEqual = place.strText.find('=');
    const std::string strKey(line.strKey);
    const std::string strText(line.strValue);
    for (const std::string* const pPart : {&strKey, &strText})
        if (pPart->size() >= ZEMB_LINE_BUFFER)
            Add(ESeverity::ERROR, place, pPart == &strKey ? 0 : nEqual + 1,
                std::string(pPart == &strKey ? "key" : "text") + " of " +
                    Counted(pPart->size(), "byte") + ": it is cut",
                "at most " + std::to_string(ZEMB_LINE_BUFFER - 1) + " bytes");
    if (strText.empty())
        Add(ESeverity::WARNING, place, nEqual + 1, "'" + strKey + "' has no text",
            "a text; an empty one reads like a missing key");
    const auto [it, bNew] = mapKey.emplace(strKey, place);
    if (!bNew)
        Add(ESeverity::WARNING, place, 0,
            "second text of '" + strKey + "': the first one, at " + it->second.Text() + ", counts",
            "");
}

std::vector<Finding> CheckLanguages(const std::vector<LangFolder>& vecLang) {
    std::vector<Finding> vecFinding;
    for (const LangFolder& lang : vecLang) {
        vecFinding.insert(vecFinding.end(), lang.vecFinding.begin(), lang.vecFinding.end());
        for (const auto& [strKey, place] : lang.mapKey)
            for (const LangFolder& other : vecLang)
                if (other.mapKey.count(strKey) == 0)
                    vecFinding.push_back({place, ESeverity::WARNING,
                                          "'" + strKey + "' is missing in " + other.strFolder,
                                          "the key in every language"});
    }
    return vecFinding;
}

}  // namespace host
