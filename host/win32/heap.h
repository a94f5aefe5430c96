#pragma once
// Heaps of the system: what the driver made, and refusals on demand.
#include "driver/platform/win32.h"

#include <cstddef>
#include <cstdint>

namespace host::heap {

struct Creation {
    uint32_t options, initialBytes, maximumBytes;
};

// Heaps made and not yet reset away.
size_t Heaps();
// Arguments of the last HeapCreate; zeros before the first.
Creation LastCreation();
// Blocks that are allocated in all heaps, and their bytes.
size_t LiveBlocks();
size_t LiveBytes();
// True for the address of a live block.
bool IsLive(const void* block);

// The next `count` allocations fail, after `skip` that still work.
void FailAllocations(uint32_t count = 1, uint32_t skip = 0);
// The next `count` calls of HeapCreate fail.
void FailCreations(uint32_t count = 1);

// Until the next Reset() a block has the address that was freed last of one of its size, if there
// is any: the same calls give blocks that lie on one another in the same way again.
void ReuseInOrder();

// Gives all blocks back.
void Reset();

} // namespace host::heap
