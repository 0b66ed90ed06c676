#pragma once

#include "zemb/export.h"

class ZembGnlTask;

// The task that a thread works on. Any thread unless said
// otherwise; what a scope object replaces is put back when the object goes.
namespace zemb {

// Makes the calling thread work on pTask; null: on none.
class ZEMB_API ScopedTask {
public:
    explicit ScopedTask(ZembGnlTask* pTask);
    ~ScopedTask();
    ScopedTask(const ScopedTask&) = delete;
    ScopedTask& operator=(const ScopedTask&) = delete;

private:
    ZembGnlTask* m_pBefore;
};

}  // namespace zemb
