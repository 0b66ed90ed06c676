#pragma once

#include "finding.h"

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

    // Requested operation -> running operation that blocks it -> where the table says so.
    std::map<int, std::map<int, Place>> mapBlockers;
    std::map<int, Place> mapExclusive;
    struct Code {
        long nCode;
        Place place;
    };
    std::map<int, Code> mapCode;
    std::vector<Finding> vecFinding;

    // All operations that the file names, in ascending order.
    std::vector<int> Operations() const;
    // Whether nRunning blocks nRequested.
    bool Blocks(int nRunning, int nRequested) const;

private:
    enum class ESection { NONE, TABLE, ERRORCODE };
    struct Field {
        std::string strText;
        int nColumn;
    };

    void ReadLine(const Place& place);
    void ReadTableLine(const Place& place);
    void ReadErrorCodeLine(const Place& place);
    void Register(int nOper1, int nOper2, bool bBoth, const Place& place);
    bool ReadNumber(const Place& place, const Field& field, const char* szWhat, int& nValue);
    bool ReadList(const Place& place, const Field& field, std::vector<int>& vecOper);
    void Add(ESeverity eSeverity, Place place, int nColumn, const std::string& strWhat,
             const std::string& strExpected = "");
    static std::vector<Field> Fields(const Place& place);

    ESection m_eSection = ESection::NONE;
};

}  // namespace host
