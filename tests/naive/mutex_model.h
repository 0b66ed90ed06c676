#pragma once

#include "tovelkarin/temutexopermgr.h"

#include "zemb/text.h"

#include <list>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace naive {

using NSTE_util::TEOperObject;

// The operation manager with nothing but lists walked from end to end, and the trace and assertion
// lines it would write.
class MutexModel {
public:
    std::vector<std::string> vecLine;

    bool Load(const std::string& strText) {
        std::istringstream file(strText);
        std::string strSection;
        bool bResult = true;
        while (file.good()) {
            char szLine[1024] = {};
            file.getline(szLine, sizeof szLine);
            const std::string strLine = NSTE_util::Trim(szLine);
            if (strLine.empty() || strLine[0] == '#')
                continue;
            if (strLine == "[MUTEX_TABLE]" || strLine == "[MUTEX_ERRORCODE]")
                strSection = strLine;
            else if (strSection == "[MUTEX_TABLE]")
                bResult = LoadTableLine(strLine) && bResult;
            else if (strSection == "[MUTEX_ERRORCODE]")
                bResult = LoadCodeLine(strLine) && bResult;
            else
                bResult = false;
        }
        return bResult;
    }

    unsigned long Acquire(int nOper, const std::list<TEOperObject>& listObj) {
        if (setExclusive.count(nOper) != 0)
            for (const auto& [nRunning, listHeld] : mapRunning)
                if (Overlap(listObj, listHeld))
                    return CodeOf(nRunning);
        unsigned long nCode = Find(setExclusive, listObj);
        if (nCode != 0)
            return nCode;
        if (mapTable.count(nOper) != 0)
            nCode = Find(mapTable[nOper], listObj);
        else
            vecLine.push_back("No Mutex Operations Register for: " + std::to_string(nOper));
        if (nCode != 0)
            return nCode;
        auto& listHeld = mapRunning[nOper];
        listHeld.insert(listHeld.end(), listObj.begin(), listObj.end());
        return 0;
    }

    void Release(int nOper, const std::list<TEOperObject>& listObj) {
        for (const TEOperObject& obj : listObj) {
            const auto it = mapRunning.find(nOper);
            if (it == mapRunning.end()) {
                vecLine.push_back(
                    "ASSERT: file mutex, line 362 assertion failed for 'bAssertFlag'.");
                continue;
            }
            auto itObj = it->second.begin();
            while (itObj != it->second.end() && !(*itObj == obj))
                ++itObj;
            if (itObj == it->second.end()) {
                vecLine.push_back("ReleaseMutexOper warning:listIter end!");
                continue;
            }
            it->second.erase(itObj);
            if (it->second.empty())
                mapRunning.erase(it);
        }
    }

    static bool Overlap(const std::list<TEOperObject>& listA,
                        const std::list<TEOperObject>& listB) {
        for (const TEOperObject& a : listA)
            for (const TEOperObject& b : listB)
                if (Overlap(a, b))
                    return true;
        return false;
    }

    std::map<int, std::list<TEOperObject>> mapRunning;
    std::map<int, std::set<int>> mapTable;
    std::set<int> setExclusive;
    std::map<int, unsigned long> mapCode;

private:
    bool LoadTableLine(const std::string& strLine) {
        const auto vecField = NSTE_util::Token(strLine, ':');
        int nOper1 = 0;
        int nFlag = 0;
        std::vector<int> vecOper;
        if (vecField.size() != 3 || !NSTE_util::StrToInt(vecField[0], nOper1, 10) ||
            !NSTE_util::StrToNumList(vecField[1], vecOper) ||
            !NSTE_util::StrToInt(vecField[2], nFlag, 10))
            return false;
        for (const int nOper2 : vecOper) {
            if (nOper1 == 0 && nOper2 == 0)
                vecLine.push_back(
                    "Calling TEMutexOperMgrImpl::RegisterMutex() with nOper1=0 and nOper2=0");
            else if (nOper1 == 0 || nOper2 == 0)
                setExclusive.insert(nOper1 + nOper2);
            else
                mapTable[nOper2].insert(nOper1);
            if (nOper1 != 0 && nOper2 != 0 && nFlag != 0)
                mapTable[nOper1].insert(nOper2);
        }
        return true;
    }

    bool LoadCodeLine(const std::string& strLine) {
        const auto vecField = NSTE_util::Token(strLine, ':');
        int nOper = 0;
        int nCode = 0;
        if (vecField.size() != 2 || !NSTE_util::StrToInt(vecField[0], nOper, 10) ||
            !NSTE_util::StrToInt(vecField[1], nCode, 10))
            return false;
        mapCode.insert({nOper, static_cast<unsigned long>(static_cast<long>(nCode))});
        return true;
    }

    static bool Overlap(const TEOperObject& a, const TEOperObject& b) {
        if (a.nNeId == 0 || b.nNeId == 0)
            return true;
        if (a.nNeId != b.nNeId)
            return false;
        if (a.nObjId == 0 || b.nObjId == 0)
            return true;
        if (a.nObjId != b.nObjId)
            return false;
        return a.lSubObjId == 0 || b.lSubObjId == 0 || a.lSubObjId == b.lSubObjId;
    }

    unsigned long Find(const std::set<int>& setOper, const std::list<TEOperObject>& listObj) {
        for (const int nOper : setOper)
            if (mapRunning.count(nOper) != 0 && Overlap(listObj, mapRunning[nOper]))
                return CodeOf(nOper);
        return 0;
    }

    unsigned long CodeOf(int nOper) {
        if (mapCode.count(nOper) != 0)
            return mapCode[nOper];
        vecLine.push_back("Can't find match error of operation(" + std::to_string(nOper) + ")");
        return 0x4101F012;
    }
};

}  // namespace naive
