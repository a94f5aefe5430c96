// Runs a target on files: those of its corpus as a test, or a find again.
#include "tests/fuzz/target.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const fuzz::Target* target = argc > 2 ? fuzz::FindTarget(argv[1]) : nullptr;
    if (target == nullptr) {
        std::fputs("fuzz_replay: expected TARGET FILE-OR-FOLDER...\n", stderr);
        return 2;
    }
    std::vector<std::filesystem::path> files;
    for (int i = 2; i < argc; ++i) {
        if (std::filesystem::is_directory(argv[i])) {
            for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
                files.push_back(entry.path());
            }
        } else {
            files.emplace_back(argv[i]);
        }
    }
    std::ranges::sort(files);
    for (const std::filesystem::path& path : files) {
        // The one that ends the process is the last that is told.
        std::printf("%s\n", path.c_str());
        std::fflush(stdout);
        std::ifstream in(path, std::ios::binary);
        if (!in) {
            std::fputs("fuzz_replay: it cannot be read\n", stderr);
            return 2;
        }
        const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), {});
        target->run({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    }
    std::printf("%zu inputs\n", files.size());
    return files.empty() ? 2 : 0;
}
