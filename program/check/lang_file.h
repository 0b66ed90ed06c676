#pragma once

#include "check/finding.h"

#include <map>
#include <string>
#include <vector>

namespace host {

// The names of the plain files of a folder, in ascending order. Throws CommandError when the folder
// cannot be read.
std::vector<std::string> FilesOf(const std::string& strFolder);

// The texts of one language folder with the place of each key, and what is wrong with them.
class LangFolder {
public:
    // Reads all files of the folder. Throws CommandError when one cannot be read.
    explicit LangFolder(const std::string& strFolderOf);

    std::string strFolder;
    std::map<std::string, Place> mapKey;
    std::vector<Finding> vecFinding;

private:
    void ReadFile(const std::string& strFile);
    void ReadLine(const Place& place);
    void Add(ESeverity eSeverity, const Place& place, std::size_t nOffset,
             const std::string& strWhat, const std::string& strExpected);
};

// What is wrong in language folders, one a language; a key that another folder has is missed.
std::vector<Finding> CheckLanguages(const std::vector<LangFolder>& vecLang);

}  // namespace host
