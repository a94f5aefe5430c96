#include "host/display/context_table.h"

#include "host/display/context_lists.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace host {

namespace {

static_assert(ListClient == kContextTypeClient && ListDirect3D == kContextTypeDirect3D &&
              Context2D == kContext2D);

constexpr uint16_t kNoType = 0xFFFF; // of a slot that holds a list

// The next slot's data.
uint8_t* TakeSlot(ContextBlock* block, uint32_t bytes, uint16_t type) {
    const uint32_t slot = block->SlotCount++;
    ++block->UsedCount;
    block->DataOffset[slot] = block->NextFree;
    block->Size[slot] = static_cast<int16_t>(bytes);
    block->Type[slot] = type;
    block->NextFree = static_cast<uint16_t>(block->NextFree + bytes);
    block->FreeBytes = static_cast<uint16_t>(block->FreeBytes - bytes);
    return reinterpret_cast<uint8_t*>(block) + block->DataOffset[slot];
}

} // namespace

void AddRegisterList(ContextBlock* block, const std::vector<uint16_t>& list) {
    const auto count = static_cast<uint16_t>(list.size());
    const uint32_t bytes = (2 + 2 * count + 3) & ~3u;
    uint8_t* data = TakeSlot(block, bytes, kNoType);
    std::memcpy(data, &count, 2);
    std::ranges::copy(std::as_bytes(std::span(list)), reinterpret_cast<std::byte*>(data + 2));
}

void AddContext(ContextBlock* block, uint16_t type, const std::vector<uint16_t>& list,
                const ReadRegister& read) {
    uint8_t* data = TakeSlot(block, static_cast<uint32_t>(list.size() * 4), type);
    for (const uint16_t offset : list) {
        const uint32_t value = read(offset);
        std::memcpy(data, &value, 4);
        data += 4;
    }
}

void BuildContextTable(ContextBlock* block, uint32_t deviceId, bool delta,
                       const ReadRegister& read) {
    const std::vector<uint16_t> all = StateRegisters(deviceId, delta);
    const std::vector<uint16_t> screen = ScreenRegisters(deviceId, delta);
    AddRegisterList(block, all);
    AddRegisterList(block, screen);
    AddRegisterList(block, all);
    AddRegisterList(block, all);
    AddContext(block, ListScreen, screen, read);
    AddContext(block, ListDriver, all, read);
}

} // namespace host
