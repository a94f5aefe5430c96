#include "driver/services/context.h"

#include "driver/core/dma.h"
#include "driver/core/driverdata.h"
#include "driver/platform/minivdd.h"

namespace {

// IntEnable bits of the queue: DMA done, and error (the kick).
constexpr uint32_t kQueueInterrupts = field::IntEnable_DMA.Mask() | field::IntEnable_Error.Mask();
static_assert(kQueueInterrupts ==
              (field::DeltaIntEnable_DMA.Mask() | field::DeltaIntEnable_Error.Mask()));

struct Slot {
    ContextBlock* block;
    uint32_t index;
};

Slot FindSlot(ChipInfo* chip, uint32_t id) {
    ContextBlock* block = chip->ContextBlocks;
    while (id >= kContextsPerBlock) {
        block = block->NextBlock;
        id -= kContextsPerBlock;
    }
    return {block, id};
}

uint8_t* DataOf(const Slot& slot) {
    return reinterpret_cast<uint8_t*>(slot.block) + slot.block->DataOffset[slot.index];
}

uint32_t* ValuesOf(const Slot& slot) {
    return reinterpret_cast<uint32_t*>(DataOf(slot));
}

const RegisterList* ListOfType(ChipInfo* chip, uint32_t type) {
    return reinterpret_cast<const RegisterList*>(DataOf(FindSlot(chip, type)));
}

// Gives a slot with room to its new client, with the chip's present registers in it.
void Occupy(DriverData* driver, const Slot& slot, uint32_t type, const RegisterList* list,
            uint32_t handle, uint32_t owner) {
    ContextBlock* block = slot.block;
    block->Type[slot.index] = static_cast<uint16_t>(type);
    ++block->UsedCount;
    block->Owner[slot.index] = owner;
    block->Handle[slot.index] = handle;
    ReadRegisters(driver, list, ValuesOf(slot));
}

// Lowest freed slot with at least `need` bytes, or kContextsPerBlock.
uint32_t FreedSlotWithRoom(const ContextBlock* block, int32_t need) {
    if (block->SlotCount > block->UsedCount) {
        for (uint32_t slot = 0; slot < block->SlotCount; ++slot) {
            if (block->Size[slot] < 0 && -block->Size[slot] >= need) {
                return slot;
            }
        }
    }
    return kContextsPerBlock;
}

void EnableInterrupts(ChipRegisters* registers, uint32_t offset) {
    WriteChip(registers, offset, ReadChip(registers, offset) | kQueueInterrupts);
}

} // namespace

int32_t AddContextMemory(ChipInfo* chip) {
    uint32_t returned;
    return DoIOCTL(MiniVDDAddContextBlock, &chip, sizeof(chip), &chip, sizeof(chip), &returned);
}

void ReadRegisters(DriverData* driver, const RegisterList* list, uint32_t* data) {
    const uint32_t pairs = list->Count / 2;
    const uint16_t* offset = list->Offset;
    // A list has at least two entries, so the first round needs no test.
    uint32_t round = 0;
    do {
        data[0] = ReadChip(driver->Registers, offset[0]);
        data[1] = ReadChip(driver->Registers, offset[1]);
        data += 2;
        offset += 2;
    } while (++round < pairs);
    if ((list->Count & 1) != 0) {
        *data = ReadChip(driver->Registers, *offset);
    }
}

void WriteRegisters(DriverData* driver, const RegisterList* list, const uint32_t* data) {
    uint32_t left = list->Count;
    const uint16_t* offset = list->Offset;
    while (left != 0) {
        uint32_t room = ReadChip(driver->Registers, reg::InFIFOSpace);
        if (static_cast<int32_t>(room) > static_cast<int32_t>(left)) {
            room = left;
        }
        left -= room;
        for (; room != 0; --room) {
            WriteChip(driver->Registers, *offset++, *data++);
        }
    }
}

uint32_t CreateContext(DriverData* driver, ChipInfo* chip, uint32_t type, uint32_t handle,
                       uint32_t owner) {
    const RegisterList* list = ListOfType(chip, type);
    const int32_t need = list->Count * 4;
    for (;;) {
        uint32_t base = 0;
        for (ContextBlock* block = chip->ContextBlocks; block != nullptr;
             block = block->NextBlock, base += kContextsPerBlock) {
            uint32_t slot = FreedSlotWithRoom(block, need);
            if (slot != kContextsPerBlock) {
                block->Size[slot] = static_cast<int16_t>(-block->Size[slot]);
                Occupy(driver, {block, slot}, type, list, handle, owner);
                return base + slot;
            }
            if (block->SlotCount < kContextsPerBlock && block->FreeBytes >= need) {
                slot = block->SlotCount++;
                block->DataOffset[slot] = block->NextFree;
                block->Size[slot] = static_cast<int16_t>(need);
                block->FreeBytes = static_cast<uint16_t>(block->FreeBytes - need);
                block->NextFree = static_cast<uint16_t>(block->NextFree + need);
                Occupy(driver, {block, slot}, type, list, handle, owner);
                return base + slot;
            }
        }
        AddContextMemory(chip); // tried until it works
    }
}

void DeleteContext(DriverData* /*driver*/, ChipInfo* chip, uint32_t id) {
    if (id == chip->CurrentContext) {
        chip->CurrentContext = kNoContext;
    }
    const Slot slot = FindSlot(chip, id);
    slot.block->Size[slot.index] = static_cast<int16_t>(-slot.block->Size[slot.index]);
    --slot.block->UsedCount;
}

void SetEndIndex(ChipInfo* chip, uint32_t id, uint16_t endIndex) {
    if (id == kNoContext) {
        return;
    }
    const Slot slot = FindSlot(chip, id);
    slot.block->EndIndex[slot.index] = endIndex;
}

void ChangeContext(DriverData* driver, ChipInfo* chip, uint32_t id) {
    if (chip == nullptr || id == chip->CurrentContext) {
        return;
    }
    const uint32_t old = chip->CurrentContext;
    Slot oldSlot{};
    const RegisterList* oldList = nullptr;
    if (old != kNoContext) {
        oldSlot = FindSlot(chip, old);
        const Slot typeSlot = FindSlot(chip, oldSlot.block->Type[oldSlot.index]);
        oldList = reinterpret_cast<const RegisterList*>(DataOf(typeSlot));
        if (oldSlot.block->Owner[oldSlot.index] != 0 && oldSlot.block->Handle[oldSlot.index] != 0) {
            // The record comes from the block of the type's list, under the old slot's number: for
            // ids of 32 and more that is the first block's slot of that number.
            // A free slot still names its last client, whose record is gone.
            auto* ctx = reinterpret_cast<D3DContext*>(typeSlot.block->Owner[oldSlot.index]);
            if (ctx != nullptr && typeSlot.block->Size[oldSlot.index] >= 0) {
                // The other half of the circle with DMA: past the queue, so that it cannot come
                // back here.
                SendSubBufferDirect(driver, ctx);
            }
        }
    }
    SyncChip(driver);
    if (old != kNoContext) {
        ReadRegisters(driver, oldList, ValuesOf(oldSlot));
    }
    chip->CurrentContext = id & 0xFFFF;
    if (id != kNoContext) {
        const Slot slot = FindSlot(chip, id);
        chip->QueueEnd = slot.block->EndIndex[slot.index];
        WriteRegisters(driver, ListOfType(chip, slot.block->Type[slot.index]), ValuesOf(slot));
    }
    ClearDMAState(chip, DMAQueueOn);
    if (chip->QueueEnd > 0) {
        chip->QueueHead = 0;
        chip->QueueTail = 0;
        SetDMAState(chip, DMAQueueOn);
        EnableInterrupts(driver->Registers, reg::IntEnable);
        if ((chip->Flags & DeltaPresent) != 0) {
            EnableInterrupts(driver->Registers, reg::DeltaIntEnable);
        }
    }
}

int32_t KORV_STDCALL KORV_CreateContext(DriverData* driver, uint32_t subBuffers) {
    driver = ServiceDriver(driver);
    const uint32_t id = CreateContext(driver, driver->ChipInfo, kContextTypeClient, 0, 0);
    SetEndIndex(driver->ChipInfo, id, static_cast<uint16_t>(subBuffers < 3 ? 0 : subBuffers - 1));
    return static_cast<int32_t>(id);
}

int32_t KORV_STDCALL KORV_SwitchContext(DriverData* driver, uint32_t id) {
    driver = ServiceDriver(driver);
    ChangeContext(driver, driver->ChipInfo, id);
    return 0;
}

int32_t KORV_STDCALL KORV_DeleteContext(DriverData* driver, uint32_t id) {
    driver = ServiceDriver(driver);
    DeleteContext(driver, driver->ChipInfo, id);
    return 0;
}
