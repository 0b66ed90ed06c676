#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize);

// Runs a fuzz target over the files of a folder: the corpus as a plain test.
int main(int argc, char** argv) {
    int nFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argc > 1 ? argv[1] : ".")) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string strBytes((std::istreambuf_iterator<char>(file)), {});
        std::printf("%s\n", entry.path().c_str());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(strBytes.data()),
                               strBytes.size());
        ++nFiles;
    }
    return nFiles > 0 ? 0 : 1;
}
