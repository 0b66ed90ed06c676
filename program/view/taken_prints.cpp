#include "view/taken_prints.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace host {

TakenPrints::TakenPrints()
    : m_nFile(memfd_create("prints", MFD_CLOEXEC)), m_nBefore(m_nFile == -1 ? -1 : dup(1)) {
    std::cout.flush();
    std::fflush(stdout);
    if (m_nBefore != -1)
        dup2(m_nFile, STDOUT_FILENO);
}

TakenPrints::~TakenPrints() {
    Take();
    if (m_nFile != -1)
        close(m_nFile);
}

std::string TakenPrints::Take() {
    std::string strText;
    if (m_nBefore == -1)
        return strText;
    std::fflush(stdout);
    dup2(m_nBefore, STDOUT_FILENO);
    close(m_nBefore);
    m_nBefore = -1;
    char szPiece[4096];
    lseek(m_nFile, 0, SEEK_SET);
    for (ssize_t nRead = 0; (nRead = read(m_nFile, szPiece, sizeof szPiece)) > 0;)
        strText.append(szPiece, static_cast<std::size_t>(nRead));
    strText.erase(strText.find_last_not_of('\n') + 1);
    return strText;
}

}  // namespace host
