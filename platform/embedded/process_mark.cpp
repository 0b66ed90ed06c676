#include "embedded/process_mark.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

// What /proc says of processes. The name of a program stands in brackets and may hold any
// character, so the fields are counted from the last bracket on.
namespace zemb {

std::uint64_t StartTicksOf(std::uint32_t nProcess, EProcess& eState) {
    constexpr int FIELDS_TO_START = 19;  // behind the state
    constexpr int FIELD_OF_THREADS = 16;
    eState = EProcess::GONE;
    std::ifstream file("/proc/" + std::to_string(nProcess) + "/stat");
    std::string strText;
    std::getline(file, strText, '\0');
    const std::size_t nBracket = strText.rfind(") ");
    if (nBracket == std::string::npos)
        return 0;
    std::istringstream fields(strText.substr(nBracket + 2));
    char cState = 'X';
    std::string strField;
    fields >> cState;
    long nThreads = 0;
    for (int i = 0; i < FIELDS_TO_START; ++i) {
        fields >> strField;
        if (i == FIELD_OF_THREADS)
            nThreads = std::strtol(strField.c_str(), nullptr, 10);
    }
    // Of a process whose first thread has ended, while others go on, the first one is waited for.
    if (cState == 'Z' && nThreads > 1)
        cState = 'S';
    if (cState == 'Z' || cState == 'X' || cState == 'x')
        return 0;
    eState = cState == 'T' || cState == 't' ? EProcess::STOPPED : EProcess::ALIVE;
    return std::strtoull(strField.c_str(), nullptr, 10);
}

std::string BootOfSystem() {
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string strBoot;
    std::getline(file, strBoot);
    return strBoot;
}

}  // namespace zemb
