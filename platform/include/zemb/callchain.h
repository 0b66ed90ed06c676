#pragma once

#include "zemb/export.h"

#include <string>

namespace NSTE_util {

// Takes the records of call chains. Any thread.
class ZEMB_API CallChainMgr {
public:
    // Null while nobody wants them.
    static CallChainMgr* Instance();

    // Takes one record, a JSON object on one line; false when it is lost.
    virtual bool Write(const std::string& strRecord) = 0;

protected:
    virtual ~CallChainMgr();
};

}  // namespace NSTE_util
