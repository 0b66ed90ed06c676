#pragma once

#include "tests/naive/byte_source.h"
#include "tests/naive/mutex_model.h"

#include "zemb/control.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>

namespace naive {

// A file of this process that is gone with the object.
class MutexFile {
public:
    MutexFile() : m_strPath("/tmp/tovelkarin." + std::to_string(getpid()) + ".cfg") {}
    ~MutexFile() { std::remove(m_strPath.c_str()); }
    MutexFile(const MutexFile&) = delete;
    MutexFile& operator=(const MutexFile&) = delete;

    const std::string& Write(const std::string& strText) const {
        std::ofstream(m_strPath, std::ios::binary) << strText;
        return m_strPath;
    }

private:
    const std::string m_strPath;
};

// The library's manager and the model, side by side: every answer and every line must agree.
class MutexPair {
public:
    MutexPair()
        : m_sink([this](const zemb::DebugLine& line) { m_vecLine.push_back(line.strText); }) {
        NSTE_util::TEMutexOperMgr::Destroy();
    }
    ~MutexPair() { NSTE_util::TEMutexOperMgr::Destroy(); }

    void Load(const std::string& strText) {
        const bool bLoaded = Manager().LoadMutexCfg(m_file.Write(strText));
        Expect(bLoaded == m_model.Load(strText), "result of load");
        CompareLines();
    }

    void Acquire(int nOper, const std::list<TEOperObject>& listObj) {
        const unsigned long nCode = Manager().AcquireMutexOper(nOper, listObj);
        Expect(nCode == m_model.Acquire(nOper, listObj), "code of acquire");
        Expect(Manager().IsOperRunning(nOper) == (m_model.mapRunning.count(nOper) != 0), "running");
        CompareLines();
    }

    void Release(int nOper, const std::list<TEOperObject>& listObj) {
        Manager().ReleaseMutexOper(nOper, listObj);
        m_model.Release(nOper, listObj);
        Expect(Manager().IsOperRunning(nOper) == (m_model.mapRunning.count(nOper) != 0), "running");
        Expect(Manager().HasRunningOper() == !m_model.mapRunning.empty(), "any running");
        CompareLines();
    }

    // Asks for every operation that is known, on one object; what is granted is given back.
    void ProbeAll(const TEOperObject& obj) {
        std::set<int> setOper = m_model.setExclusive;
        for (const auto& [nOper, setBlocker] : m_model.mapTable) {
            setOper.insert(nOper);
            setOper.insert(setBlocker.begin(), setBlocker.end());
        }
        for (const int nHeld : setOper) {
            Acquire(nHeld, {obj});
            for (const int nAsked : setOper)
                Acquire(nAsked, {obj});
            while (!m_model.mapRunning.empty()) {
                const auto& [nOper, listHeld] = *m_model.mapRunning.begin();
                Release(int{nOper}, std::list<TEOperObject>(listHeld));
            }
        }
    }

    MutexModel& Model() { return m_model; }

private:
    static NSTE_util::TEMutexOperMgr& Manager() { return *NSTE_util::TEMutexOperMgr::Instance(); }

    void CompareLines() {
        Expect(m_vecLine == m_model.vecLine, "lines written");
        m_vecLine.clear();
        m_model.vecLine.clear();
    }

    MutexFile m_file;
    MutexModel m_model;
    std::vector<std::string> m_vecLine;
    zemb::ScopedDebugSink m_sink;
};

// Any bytes as a table file; what was loaded is compared through requests.
inline void CheckMutexFile(const std::uint8_t* pData, std::size_t nSize) {
    ByteSource source(pData, nSize);
    MutexPair pair;
    pair.Load(std::string(reinterpret_cast<const char*>(pData), nSize));
    std::size_t nKnown = pair.Model().setExclusive.size();
    for (const auto& [nOper, setBlocker] : pair.Model().mapTable)
        nKnown += setBlocker.size() + 1;
    if (nKnown <= 64)
        pair.ProbeAll({1, 2, 3});
}

// Bytes as a script of acquires and releases over few operations and objects.
inline void CheckMutexScript(const std::uint8_t* pData, std::size_t nSize) {
    ByteSource source(pData, nSize);
    MutexPair pair;
    std::string strTable = "[MUTEX_TABLE]\n";
    for (int n = source.Below(8); n > 0; --n) {
        const int nFirst = source.Below(7);
        const int nSecond = source.Below(7);
        strTable += std::to_string(nFirst) + ":" + std::to_string(nSecond) + "-" +
                    std::to_string(nSecond + source.Below(3)) + ":" +
                    std::to_string(source.Below(2)) + "\n";
    }
    strTable += "[MUTEX_ERRORCODE]\n";
    for (int n = source.Below(6); n > 0; --n) {
        const int nOper = source.Below(7);
        strTable += std::to_string(nOper) + ":" + std::to_string(source.Below(4) * 100) + "\n";
    }
    pair.Load(strTable);
    while (!source.IsEmpty()) {
        const int nKind = source.Below(5);
        const int nOper = source.Below(9) - 1;
        std::list<TEOperObject> listObj;
        for (int n = source.Below(4); n > 0; --n) {
            const int nNe = source.Below(3);
            const int nObj = source.Below(3);
            listObj.push_back({nNe, nObj, source.Below(3)});
        }
        if (nKind < 3)
            pair.Acquire(nOper, listObj);
        else
            pair.Release(nOper, listObj);
    }
}

}  // namespace naive
