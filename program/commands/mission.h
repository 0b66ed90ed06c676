#pragma once

#include "zemb/message.h"
#include "zemb/task.h"

#include <cstdint>

namespace host {

// Where the program's operations come from, and how they stand in the operation log.
constexpr std::uint32_t LOCAL_ADDRESS = 0x7F000001;
constexpr unsigned char OPERATION_LEVEL = 4;
constexpr unsigned PROGRAM_CATEGORY = 100;  // no server writes entries of this one

// The command message of an operation that this process asks for.
ZembCmdMSG CommandMessage(int nOper, std::uint32_t nRequest = 0);

// The mission of a task, its number that of the task, as long as it lives.
class Mission {
public:
    explicit Mission(ZembGnlTask& task);
    ~Mission();
    Mission(const Mission&) = delete;
    Mission& operator=(const Mission&) = delete;

private:
    ZembGnlTask& m_task;
};

}  // namespace host
