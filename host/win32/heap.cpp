#include "host/win32/heap.h"

#include "host/win32/handles.h"

#include <cstdlib>
#include <map>
#include <vector>

namespace host::heap {

namespace {

struct Heap : handles::Object {};

struct Block {
    HANDLE heap;
    size_t bytes;
};

struct State {
    std::map<void*, Block> blocks;
    Creation lastCreation{};
    uint32_t failSkip = 0, failCount = 0, failCreations = 0;
    bool reusesInOrder = false;
    std::map<size_t, std::vector<void*>> freed; // by bytes, the latest last
};

State& TheState() {
    static State state;
    return state;
}

// What a block holds where it was not asked to be zero.
constexpr int kStaleByte = 0xCD;

} // namespace

size_t Heaps() {
    return handles::Count(
        [](const handles::Object& o) { return dynamic_cast<const Heap*>(&o) != nullptr; });
}

Creation LastCreation() {
    return TheState().lastCreation;
}

size_t LiveBlocks() {
    return TheState().blocks.size();
}

size_t LiveBytes() {
    size_t sum = 0;
    for (const auto& [address, block] : TheState().blocks) {
        sum += block.bytes;
    }
    return sum;
}

bool IsLive(const void* block) {
    return TheState().blocks.contains(const_cast<void*>(block));
}

void FailAllocations(uint32_t count, uint32_t skip) {
    TheState().failCount = count;
    TheState().failSkip = skip;
}

void FailCreations(uint32_t count) {
    TheState().failCreations = count;
}

void ReuseInOrder() {
    TheState().reusesInOrder = true;
}

void Reset() {
    for (const auto& [address, block] : TheState().blocks) {
        std::free(address);
    }
    for (const auto& [bytes, blocks] : TheState().freed) {
        for (void* block : blocks) {
            std::free(block);
        }
    }
    TheState() = {};
}

} // namespace host::heap

using namespace host;
using namespace host::heap;

extern "C" HANDLE KORV_STDCALL HeapCreate(DWORD options, DWORD initialBytes, DWORD maximumBytes) {
    State& state = TheState();
    state.lastCreation = {options, initialBytes, maximumBytes};
    if (state.failCreations != 0) {
        --state.failCreations;
        return nullptr;
    }
    return handles::Open(std::make_shared<Heap>());
}

extern "C" void* KORV_STDCALL HeapAlloc(HANDLE heap, DWORD flags, DWORD bytes) {
    State& state = TheState();
    if (handles::FindAs<Heap>(heap) == nullptr || (flags & ~HEAP_ZERO_MEMORY) != 0) {
        return nullptr;
    }
    if (state.failSkip != 0) {
        --state.failSkip;
    } else if (state.failCount != 0) {
        --state.failCount;
        return nullptr;
    }
    void* block = nullptr;
    if (const auto found = state.freed.find(bytes);
        found != state.freed.end() && !found->second.empty()) {
        block = found->second.back();
        found->second.pop_back();
    } else {
        block = std::malloc(bytes != 0 ? bytes : 1);
    }
    if (block == nullptr) {
        return nullptr;
    }
    __builtin_memset(block, (flags & HEAP_ZERO_MEMORY) != 0 ? 0 : kStaleByte, bytes);
    state.blocks[block] = {heap, bytes};
    return block;
}

extern "C" BOOL KORV_STDCALL HeapFree(HANDLE heap, DWORD flags, void* block) {
    State& state = TheState();
    const auto it = state.blocks.find(block);
    if (it == state.blocks.end() || it->second.heap != heap || flags != 0) {
        return 0;
    }
    if (state.reusesInOrder) {
        state.freed[it->second.bytes].push_back(block);
    } else {
        std::free(block);
    }
    state.blocks.erase(it);
    return 1;
}
