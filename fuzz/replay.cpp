// Stands in for libFuzzer where there is none: tries every named file, and every file in a named folder,
// once. Prints each name before its try, so the last name printed is the one that failed.

#include "harness.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

namespace fs = std::filesystem;

static void collect(const fs::path& place, std::set<fs::path>& files)
{
    if (!fs::is_directory(place)) {
        files.insert(place);
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(place))
        collect(entry.path(), files);
}

static bool replay(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return false;
    const std::vector<char> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    std::printf("%s\n", file.filename().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

int main(int argc, char** argv)
{
    std::set<fs::path> files;
    for (int i = 1; i < argc; ++i)
        collect(argv[i], files);
    if (files.empty()) {
        std::fprintf(stderr, "%s: nothing to replay; name files or folders of inputs\n", argv[0]);
        return 2;
    }

    LLVMFuzzerInitialize(&argc, &argv);
    for (const fs::path& file : files) {
        if (!replay(file)) {
            std::fprintf(stderr, "%s: cannot read %s\n", argv[0], file.c_str());
            return 1;
        }
    }
    return 0;
}
