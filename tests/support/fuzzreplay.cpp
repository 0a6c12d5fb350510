// Runs a fuzz target over the files of the folders that are named: what its seeds found
// once stays found, with any compiler.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv)
{
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "no seeds\n");
        return 1;
    }
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (const std::filesystem::path &path : files) {
        std::fprintf(stderr, "%s\n", path.filename().c_str()); // some look at standard output
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                      std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    }
    return 0;
}
