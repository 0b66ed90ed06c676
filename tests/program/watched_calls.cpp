// Stands between a program and the system (LD_PRELOAD): notes the calls that bring a file to the
// disk and give it its name, in the file $WATCH_LOG, and lets things happen in between.
//   $WATCH_AT_FSYNC  a shell command, run before the first fsync
//   $WATCH_FLOCK     an error number that flock answers

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void Note(const std::string& strCall) {
    if (const char* const szLog = getenv("WATCH_LOG")) {
        const int nFile = open(szLog, O_WRONLY | O_CREAT | O_APPEND, 0644);
        const std::string strLine = strCall + "\n";
        [[maybe_unused]] const ssize_t nWritten = write(nFile, strLine.data(), strLine.size());
        close(nFile);
    }
}

template <class Function>
Function* Real(Function* /*pForType*/, const char* szName) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, szName));
}

}  // namespace

extern "C" {

int fsync(int nFile) {
    struct stat info {};
    fstat(nFile, &info);
    Note(S_ISDIR(info.st_mode) ? "fsync folder" : "fsync file");
    if (const char* const szCommand = getenv("WATCH_AT_FSYNC")) {
        const std::string strCommand = szCommand;
        unsetenv("WATCH_AT_FSYNC");
        unsetenv("LD_PRELOAD");
        if (std::system(strCommand.c_str()) != 0)
            Note("the command failed");
    }
    return Real(&fsync, "fsync")(nFile);
}

int renameat(int nFrom, const char* szFrom, int nTo, const char* szTo) noexcept {
    Note("rename");
    return Real(&renameat, "renameat")(nFrom, szFrom, nTo, szTo);
}

int flock(int nFile, int nHow) noexcept {
    const char* const szError = getenv("WATCH_FLOCK");
    if (szError == nullptr)
        return Real(&flock, "flock")(nFile, nHow);
    errno = std::atoi(szError);
    return -1;
}

}  // extern "C"
