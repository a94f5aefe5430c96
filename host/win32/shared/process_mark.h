#pragma once
// Which process made something, and whether it still runs.
#include <cstdint>

namespace host {

// Process numbers come again; with the moment of its start a process is told from all others.
struct ProcessMark {
    int32_t pid;
    uint32_t unused;
    uint64_t start; // clock ticks since the system's start

    friend bool operator==(const ProcessMark&, const ProcessMark&) = default;
};
static_assert(sizeof(ProcessMark) == 16);

ProcessMark ThisProcess();
// False for a process that has ended, whether or not its parent has taken note of it.
bool IsRunning(const ProcessMark& process);

} // namespace host
