#pragma once

#include "check/finding.h"
#include "check/placed_spans.h"
#include "mutex/mutex_format.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace host {

// A mutex table file as the library reads it, with the place of each fact, which the library does
// not keep, and with everything that is wrong or doubtful in it.
class MutexFile {
public:
    // Reads a file and adds it to what is there. Throws CommandError when it cannot be read.
    void Read(const std::string& strFile);

    // What the whole content lacks; call it once, after the last file.
    void CheckWhole();

    struct Code {
        long nCode;
        Place place;
    };
    std::map<int, Code> mapCode;
    // What comments call operations: "# 101 create, 102 delete: one at a time" names two.
    std::map<int, std::string> mapName;
    std::vector<Finding> vecFinding;

    // The operations that exclude all others, with the lines that say so: PlaceAt.
    PlacedSpans exclusive;
    const Place& PlaceAt(std::size_t nPlace) const { return m_vecPlace[nPlace]; }

    // The first line that makes nOper exclude all others, or nRunning block nRequested; null when
    // there is none.
    const Place* ExclusiveRule(int nOper) const;
    const Place* PairRule(int nRunning, int nRequested) const;
    // Whether nRunning blocks nRequested, by either.
    bool Blocks(int nRunning, int nRequested) const;

    // What a table line registers, as NSTE_util::RegisterMutex hands it over.
    void AddExclusive(int nFirst, int nLast);
    void AddPairs(int nBlocker, int nFirst, int nLast, bool bBoth);

    // How many operations the table names, and all of them in ascending order.
    std::uint64_t CountOperations() const;
    std::vector<int> Operations() const;

private:
    using Fields = std::vector<std::string>;

    void ReadLine(const Place& place, NSTE_util::EMutexLine eKind);
    void ReadComment(const std::string& strLine);
    void ReadTableLine(const Place& place);
    void ReadErrorCodeLine(const Place& place);
    bool HasFields(const Place& place, const Fields& vecField, std::size_t nFields,
                   const std::string& strExpected);
    void CheckNumber(const Place& place, const Fields& vecField, std::size_t nField,
                     const std::optional<int>& number, const char* szWhat);
    void CheckList(const Place& place, const NSTE_util::MutexTableLine& line);
    void Add(ESeverity eSeverity, Place place, int nColumn, const std::string& strWhat,
             const std::string& strExpected = "");
    static int ColumnOfField(const Place& place, const Fields& vecField, std::size_t nField);

    PlacedSpans FirstBlocks() const;
    void CheckCodes();
    void CheckReturns();

    // Numbers of places: the table lines in the order in which they were read.
    std::vector<Place> m_vecPlace;
    std::map<int, PlacedSpans> m_mapBlocks;     // operation -> what it blocks
    std::map<int, PlacedSpans> m_mapBlockedBy;  // operation -> what it blocks and blocks it
};

}  // namespace host
