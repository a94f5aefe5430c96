#include "tests/fuzz/target.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

namespace {

constexpr Target kTargets[] = {
    {"script", RunScript},
    {"execute", RunExecute},
    {"words", RunWords},
    {"snapshot", RunSnapshot},
    {"interface", RunInterface},
    {"capture", RunCapture},
    {"text", RunText},
    {"board-server", RunBoardServer},
    {"board-client", RunBoardClient},
    {"dll", RunDll},
    {"obj", RunObj},
    {"png", RunPng},
};

} // namespace

std::span<const Target> Targets() {
    return kTargets;
}

const Target* FindTarget(std::string_view name) {
    const auto* const found = std::ranges::find(kTargets, name, &Target::name);
    return found == std::end(kTargets) ? nullptr : found;
}

void Fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

MemoryFile::MemoryFile()
    : file_(memfd_create("fuzz", MFD_CLOEXEC)), path_("/proc/self/fd/" + std::to_string(file_)) {
    Expect(file_ >= 0, "no file in memory to be had");
}

void MemoryFile::Set(Bytes bytes) {
    Expect(ftruncate(file_, 0) == 0 &&
               pwrite(file_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
           "a file in memory cannot be written");
    lseek(file_, 0, SEEK_SET);
}

} // namespace fuzz
