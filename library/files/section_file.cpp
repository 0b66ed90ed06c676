#include "files/section_file.h"

#include <algorithm>
#include <iostream>
#include "base/trim.h"

namespace NSTN_util {

SectionLines SectionsOf(std::string_view strText) {
    SectionLines mapSection;
    std::vector<std::string_view>* pLines = nullptr;
    SectionLine line;
    for (SectionWalk walk(strText); walk.Next(line);) {
        if (line.strTitle)
            pLines = &mapSection.try_emplace(std::string(*line.strTitle)).first->second;
        else if (pLines != nullptr)
            pLines->push_back(line.strText);
    }
    return mapSection;
}

}  // namespace NSTN_util
