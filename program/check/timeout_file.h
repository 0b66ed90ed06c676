#pragma once

#include "check/finding.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// A request time-out file as the library reads it, with the place of each fact, and with everything
// that is wrong or doubtful in it.
class TimeoutFile {
public:
    // Throws CommandError when the file cannot be read.
    explicit TimeoutFile(const std::string& strFile);

    // Takes over what next names, as a second load does; what it does not name stays.
    void LoadOver(const TimeoutFile& next);

    struct Fact {
        int nValue;
        Place place;
    };
    std::map<int, Fact> mapTimeout;
    std::map<int, Fact> mapDual;
    std::optional<Fact> defaultTimeout;
    std::optional<Fact> offset;
    std::optional<Fact> refresh;
    bool bCommon = false;  // the common section is there
    std::vector<Finding> vecFinding;

private:
    void ReadLine(const Place& place, const std::optional<std::string_view>& strTitle);
    void ReadHeader(const Place& place, const std::string& strName);
    void ReadCommon(const Place& place);
    void ReadCommand(const Place& place);
    void CheckWhole(const std::string& strFile);
    void Add(ESeverity eSeverity, const Place& place, const std::string& strWhat,
             const std::string& strExpected = "");

    enum class ESection { NONE, COMMON, TIMEOUT, DUAL, OTHER };
    ESection m_eSection = ESection::NONE;
};

}  // namespace host
