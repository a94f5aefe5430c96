#include "tools/korv/base/temporary_name.h"

#include <array>
#include <atomic>
#include <csignal>
#include <unistd.h>

namespace korv {

namespace {

// Read by signal handlers. A forked process has those of its parent, too, which are not its own.
struct Slot {
    std::atomic<const char*> path;
    pid_t owner;
};
std::array<Slot, 64> slots;

void OnEnd(int signal) {
    RemoveTemporaryFiles();
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
    raise(signal);
}

// What is ignored, as under nohup, or caught stays so.
void WatchSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler == SIG_DFL) {
            action.sa_handler = OnEnd;
            sigaction(signal, &action, nullptr);
        }
    }
}

} // namespace

TemporaryName::TemporaryName(std::string path) : path_(std::move(path)) {
    WatchSignals();
    for (size_t i = 0; i < slots.size(); ++i) {
        const char* free = nullptr;
        if (slots[i].path.load() == nullptr) {
            slots[i].owner = getpid();
            if (slots[i].path.compare_exchange_strong(free, path_.c_str())) {
                slot_ = static_cast<int>(i);
                break;
            }
        }
    }
}

TemporaryName::~TemporaryName() {
    if (!path_.empty()) {
        unlink(path_.c_str());
    }
    Renamed();
}

void TemporaryName::Renamed() {
    if (slot_ >= 0) {
        slots[slot_].path = nullptr;
        slot_ = -1;
    }
    path_.clear();
}

void RemoveTemporaryFiles() {
    for (const Slot& slot : slots) {
        const char* path = slot.path;
        if (path != nullptr && slot.owner == getpid()) {
            unlink(path);
        }
    }
}

} // namespace korv
