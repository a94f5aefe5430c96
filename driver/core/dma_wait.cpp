// Handing DMA to the chip, DMA buffers, and every wait on the chip.
#include "driver/core/dma.h"
#include "driver/platform/processor.h"
#include "driver/services/context.h"

namespace {

// Written to ErrorFlags in front of a read of the empty output FIFO: the error interrupt that
// follows wakes the queue's handler.
constexpr uint32_t kClearErrors = field::ErrorFlags_InputFIFO.Mask() |
                                  field::ErrorFlags_OutputFIFO.Mask() |
                                  field::ErrorFlags_Unknown2.Mask();

constexpr uint32_t kSyncFilter = field::FilterMode_SyncTag.Mask();

void QueueDMA(ChipInfo* chip, ChipRegisters* registers, uint32_t count, uint32_t physical) {
    const uint32_t head = chip->QueueHead;
    uint32_t next = head + 1;
    if (next == chip->QueueEnd) {
        next = 0;
    }
    while (next == chip->QueueTail) {
        DelayRounds(registers, 1);
    }
    // The entry must stand before the handler can see the head move.
    chip->QueueAddress[head] = physical;
    chip->QueueCount[head] = count;
    chip->QueueHead = next;
    if (chip->QueueRunning != 0) {
        return;
    }
    WriteChip(registers, reg::ErrorFlags, kClearErrors);
    ReadChip(registers, reg::OutFIFOWord);
}

} // namespace

int32_t GetDMABuffer(DriverData* driver, DMABufferRecord* out) {
    ChipInfo* chip = driver->ChipInfo;
    for (uint32_t i = 0; i < chip->DMABufferCount; ++i) {
        const uint32_t bit = 1u << i;
        if ((chip->DMABufferInUse & bit) == 0) {
            *out = {chip->DMABufferSize, chip->DMABufferPhysical[i], chip->DMABufferLinear[i]};
            chip->DMABufferInUse = static_cast<uint16_t>(chip->DMABufferInUse | bit);
            return static_cast<int32_t>(i);
        }
    }
    return -1;
}

int32_t FreeDMABuffer(DriverData* driver, int32_t index) {
    ChipInfo* chip = driver->ChipInfo;
    if (static_cast<uint32_t>(index) >= chip->DMABufferCount) {
        return -1;
    }
    const uint32_t bit = 1u << index;
    if ((chip->DMABufferInUse & bit) == 0) {
        return -1;
    }
    chip->DMABufferInUse = static_cast<uint16_t>(chip->DMABufferInUse & ~bit);
    return 0;
}

int32_t StartDMA(DriverData* driver, uint32_t context, uint32_t count, uint32_t physical,
                 uint32_t* /*linear*/, uint32_t /*reserved*/) {
    if (count == 0) {
        return -1;
    }
    ChipInfo* chip = driver->ChipInfo;
    ChipRegisters* registers = driver->Registers;
    // Upwards, and with it the one circle of files: a transfer takes the chip for its context, and
    // a change of context sends what the outgoing one has pending.
    ChangeContext(driver, chip, context);
    ClearDMAState(chip, DMAIdle);
    // Before the chip reads the buffer.
    processor::ForceWritesOut();
    if ((chip->DMAState & DMAQueueOn) != 0) {
        QueueDMA(chip, registers, count, physical);
        return 0;
    }
    if (chip->PrimaryDisplay != 1) {
        return 0;
    }
    // The address register is free as soon as the transfer before has begun, so it is loaded ahead
    // of the wait.
    WriteChip(registers, reg::DMAAddress, physical);
    for (uint32_t left = ReadChip(registers, reg::DMACount); left != 0;
         left = ReadChip(registers, reg::DMACount)) {
        DelayRounds(registers, left - 1);
    }
    WriteChip(registers, reg::DMACount, count);
    return 0;
}

void WaitDMACountZero(ChipRegisters* registers) {
    for (uint32_t left = ReadChip(registers, reg::DMACount); left != 0;
         left = ReadChip(registers, reg::DMACount)) {
        const uint32_t countdown = static_cast<int32_t>(left) < 32 ? 1 : 2 * left;
        DelayRounds(registers, countdown - 1);
    }
}

void WaitDMAIdle(DriverData* driver) {
    ChipInfo* chip = driver->ChipInfo;
    if ((chip->DMAState & DMAIdle) != 0) {
        return;
    }
    if ((chip->DMAState & DMAQueueOn) != 0) {
        const uint32_t head = chip->QueueHead;
        while (chip->QueueTail != head) {
            DelayRounds(driver->Registers, 1);
        }
    }
    WaitDMACountZero(driver->Registers);
    SetDMAState(chip, DMAIdle);
}

int32_t PollFIFOSpace(ChipRegisters* registers, uint32_t entries) {
    int32_t left;
    do {
        left = static_cast<int32_t>(ReadChip(registers, reg::InFIFOSpace) - entries);
    } while (left < 0);
    return left;
}

void SyncChip(DriverData* driver) {
    ChipRegisters* registers = driver->Registers;
    WaitDMAIdle(driver);
    PollFIFOSpace(registers, 3);
    WriteChipRegister(driver, tag::FilterMode, kSyncFilter);
    WriteChipRegister(driver, tag::Sync, 0);
    WriteChipRegister(driver, tag::FilterMode, 0);
    uint32_t word;
    do {
        while (ReadChip(registers, reg::OutFIFOWords) == 0) {
        }
        word = ReadChip(registers, reg::OutFIFOWord);
    } while (word != tag::Sync);
}

uint32_t ReadOutputFIFOPair(DriverData* driver, uint32_t tagNumber) {
    ChipRegisters* registers = driver->Registers;
    uint32_t word;
    do {
        while (ReadChip(registers, reg::OutFIFOWords) < 2) {
        }
        word = ReadChip(registers, reg::OutFIFOWord);
    } while (word != tagNumber);
    return ReadChip(registers, reg::OutFIFOSecondWord);
}
