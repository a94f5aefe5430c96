// Memory with two views needs a system that maps it twice. A module has none, so nobody may ask for
// it here (host::Observer::WatchesMemories).
#include "host/observe/watched_memory.h"

#include <stdexcept>

namespace host {

FaultHandler::FaultHandler() = default;
FaultHandler::~FaultHandler() = default;

WatchedMemory::WatchedMemory(size_t bytes) : bytes_(bytes), mapped_(bytes) {
    throw std::runtime_error("memories cannot be watched in a WebAssembly module");
}

WatchedMemory::~WatchedMemory() = default;

bool WatchedMemory::OnFault(void*, ucontext_t*) {
    return false;
}

void WatchedMemory::CollectPages(
    const std::function<void(uint32_t, std::span<const uint8_t>)>& /*found*/) {}

} // namespace host
