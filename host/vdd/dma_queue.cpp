#include "host/vdd/dma_queue.h"

#include "host/vdd/processor_barrier.h"

namespace host {

namespace {

// What this handler answers for. The end of a field of video has no other meaning here.
constexpr uint32_t kAnswered =
    field::IntFlags_DMA.Mask() | field::IntFlags_Error.Mask() | field::IntFlags_Video.Mask();

uint32_t Load(const volatile uint32_t& word) {
    return __atomic_load_n(&word, __ATOMIC_SEQ_CST);
}

void Store(volatile uint32_t& word, uint32_t value) {
    __atomic_store_n(&word, value, __ATOMIC_SEQ_CST);
}

} // namespace

void DmaQueueHandler::Interrupt() {
    if (calls_.fetch_add(1) != 0) {
        return;
    }
    uint32_t seen = 1;
    while (true) {
        ++interrupts_;
        Service();
        if (calls_.compare_exchange_strong(seen, 0)) {
            return;
        }
    }
}

DmaQueueCounters DmaQueueHandler::Counters() const {
    return {interrupts_, transfers_, blanks_};
}

void DmaQueueHandler::Service() {
    // The flags go first: what happens from here on raises the line again.
    const uint32_t flags = ReadChip(registers_, reg::IntFlags);
    if ((flags & kAnswered) != 0) {
        WriteChip(registers_, reg::IntFlags, flags & kAnswered);
    }
    NoteBlank(flags);
    Drain();
}

void DmaQueueHandler::NoteBlank(uint32_t flags) {
    // Without VBlankByInterrupt the retrace flag is the driver's, to read and to clear.
    if (field::IntFlags_Retrace.Get(flags) != 0 && (Load(chip_->Flags) & VBlankByInterrupt) != 0) {
        WriteChip(registers_, reg::IntFlags, field::IntFlags_Retrace.Mask());
        __atomic_fetch_or(&chip_->Flags, VBlankSeen, __ATOMIC_SEQ_CST);
        ++blanks_;
    }
}

// The queue as the driver may be changing it. A change of context switches the queue off, zeroes
// head and tail, and switches it on, in this order; so a tail that reads the same before and after
// head and switch belongs to them.
bool DmaQueueHandler::HasEntry(uint32_t& tail) const {
    while (true) {
        tail = Load(chip_->QueueTail);
        const uint32_t head = Load(chip_->QueueHead);
        const bool on = (Load(chip_->DMAState) & DMAQueueOn) != 0;
        if (Load(chip_->QueueTail) == tail) {
            return on && head != tail;
        }
    }
}

void DmaQueueHandler::Drain() {
    uint32_t tail;
    while (true) {
        if (ReadChip(registers_, reg::DMACount) != 0) {
            return; // its end raises the line; QueueRunning stays as it is
        }
        if (HasEntry(tail)) {
            Start(tail);
            continue;
        }
        Store(chip_->QueueRunning, 0);
        // A driver on another processor may have stored its head after our look and still have read
        // the old QueueRunning. Once its stores and loads are in order, either we see the entry or
        // it saw the zero and kicks.
        SerialiseProcessors();
        if (!HasEntry(tail)) {
            return;
        }
    }
}

void DmaQueueHandler::Start(uint32_t tail) {
    Store(chip_->QueueRunning, 1);
    WriteChip(registers_, reg::DMAAddress, Load(chip_->QueueAddress[tail]));
    WriteChip(registers_, reg::DMACount, Load(chip_->QueueCount[tail]));
    ++transfers_;
    // Only now: a driver that finds the queue empty goes on to look at DMACount.
    const uint32_t next = tail + 1;
    Store(chip_->QueueTail, next == Load(chip_->QueueEnd) ? 0 : next);
}

} // namespace host
