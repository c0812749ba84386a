// Runs a fuzz target once over each file named, or in a directory named, in order: an ordinary test with any
// compiler.
//
// usage: NAMEReplay FILE OR DIRECTORY ...
#include "target.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& named) {
    if (!fs::is_directory(named)) {
        return {named};
    }
    std::vector<fs::path> files(fs::directory_iterator(named), {});
    std::ranges::sort(files);
    return files;
}

bool replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
        return false;
    }
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    std::fprintf(stderr, "%s\n", path.c_str()); // so that a failure has its file's name above it
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::size_t replayed = 0;
    for (const fs::path named : std::vector<std::string>(argv + 1, argv + argc)) {
        for (const fs::path& path : filesOf(named)) {
            if (!replay(path)) {
                return EXIT_FAILURE;
            }
            ++replayed;
        }
    }
    std::fprintf(stderr, "%zu inputs replayed\n", replayed);
    return replayed == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
