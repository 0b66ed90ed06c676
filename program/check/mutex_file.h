#pragma once

#include "check/finding.h"
#include "check/placed_spans.h"

#include <cstdint>
#include <map>
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

    // How many operations the table names, and all of them in ascending order.
    std::uint64_t CountOperations() const;
    std::vector<int> Operations() const;

private:
    enum class ESection { NONE, TABLE, ERRORCODE };
    struct Field {
        std::string strText;
        int nColumn;
    };

    void ReadLine(const Place& place);
    void ReadTableLine(const Place& place);
    void ReadErrorCodeLine(const Place& place);
    void Register(int nOper1, int nFirst2, int nLast2, bool bBoth);
    void RegisterPairs(int nOper1, int nFirst2, int nLast2, bool bBoth);
    bool ReadNumber(const Place& place, const Field& field, const char* szWhat, int& nValue);
    bool ReadList(const Place& place, const Field& field, std::vector<int>& vecOper);
    void Add(ESeverity eSeverity, Place place, int nColumn, const std::string& strWhat,
             const std::string& strExpected = "");
    static std::vector<Field> Fields(const Place& place);

    PlacedSpans FirstBlocks() const;
    void CheckCodes();
    void CheckReturns();

    // Numbers of places: the table lines in the order in which they were read.
    std::vector<Place> m_vecPlace;
    std::map<int, PlacedSpans> m_mapBlocks;     // operation -> what it blocks
    std::map<int, PlacedSpans> m_mapBlockedBy;  // operation -> what it blocks and blocks it
    ESection m_eSection = ESection::NONE;
};

}  // namespace host
