#include "check/mutex_file.h"

#include "tests/naive/mutex_check.h"

#include <algorithm>

namespace {

// The check finds the table that the manager loads, and an error wherever a line is left out.
void CompareCheck(const std::string& strText) {
    naive::MutexModel model;
    const bool bLoaded = model.Load(strText);
    const naive::MutexFile file;
    host::MutexFile table;
    table.Read(file.Write(strText));
    naive::Expect(bLoaded || std::any_of(table.vecFinding.begin(), table.vecFinding.end(),
                                         [](const host::Finding& finding) {
                                             return finding.eSeverity == host::ESeverity::ERROR;
                                         }),
                  "a finding for what is left out");
    naive::Expect(table.mapCode.size() == model.mapCode.size(), "number of codes");
    for (const auto& [nOper, code] : table.mapCode)
        naive::Expect(
            model.mapCode.at(nOper) == static_cast<unsigned long>(static_cast<long>(code.nCode)),
            "code");
    if (table.CountOperations() > 64)
        return;
    const std::vector<int> vecOper = table.Operations();
    for (const int nBlocker : vecOper) {
        naive::Expect(
            (table.ExclusiveRule(nBlocker) != nullptr) == (model.setExclusive.count(nBlocker) != 0),
            "excludes all");
        for (const int nRequested : vecOper)
            naive::Expect((table.PairRule(nBlocker, nRequested) != nullptr) ==
                              (model.mapTable[nRequested].count(nBlocker) != 0),
                          "blocks");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckMutexFile(pData, nSize);
    CompareCheck(std::string(reinterpret_cast<const char*>(pData), nSize));
    return 0;
}
