#pragma once

#include <string>

namespace host {

// While it lives, what the library prints to standard output is kept, so that it can go out as all
// texts do. Where there is no memory for that it is printed as ever. One at a time, one thread.
class TakenPrints {
public:
    TakenPrints();
    ~TakenPrints();
    TakenPrints(const TakenPrints&) = delete;
    TakenPrints& operator=(const TakenPrints&) = delete;

    // What was printed, without line feeds at its end; from now on standard output is free again.
    std::string Take();

private:
    int m_nFile;
    int m_nBefore;
};

}  // namespace host
