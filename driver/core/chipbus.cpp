// The hosted side of the chip seam: a short table from aperture address to attached bus.
#ifndef _WIN32

#include "driver/core/chipbus.h"

#include "driver/core/checked.h"

#include <cstdio>
#include <cstdlib>

namespace {

struct Attachment {
    uint8_t* base;
    ChipBus bus;
};

constexpr uint32_t kMaxAttachments = 8;
Attachment attachments[kMaxAttachments];

[[noreturn]] void Fail(const char* what, const void* address) {
    std::fprintf(stderr, "chip bus: %s at %p\n", what, address);
    std::abort();
}

const ChipBus& BusAt(const void* address, uint32_t* offset) {
    const auto* at = static_cast<const uint8_t*>(address);
    for (const Attachment& attachment : attachments) {
        const auto distance = static_cast<uint32_t>(at - attachment.base);
        if (attachment.base != nullptr && distance < reg::ApertureBytes) {
            *offset = distance;
            return attachment.bus;
        }
    }
    Fail("no bus attached", address);
}

} // namespace

void AttachChipBus(ChipRegisters* registers, const ChipBus& bus) {
    DetachChipBus(registers);
    for (Attachment& attachment : attachments) {
        if (attachment.base == nullptr) {
            attachment = {registers->bytes, bus};
            return;
        }
    }
    Fail("too many buses", registers);
}

void DetachChipBus(ChipRegisters* registers) {
    for (Attachment& attachment : attachments) {
        if (attachment.base == registers->bytes) {
            attachment = {};
        }
    }
}

uint32_t ReadChip(ChipRegisters* registers, uint32_t offset) {
    uint32_t base;
    const ChipBus& bus = BusAt(registers, &base);
    return bus.Read(bus.self, offset);
}

void WriteChip(ChipRegisters* registers, uint32_t offset, uint32_t value) {
    uint32_t base;
    const ChipBus& bus = BusAt(registers, &base);
    bus.Write(bus.self, offset, value);
}

void HandOverWords(const uint32_t* from, const uint32_t* to) {
    if (from == to) {
        return;
    }
    uint32_t offset;
    const ChipBus& bus = BusAt(from, &offset);
    const auto count = static_cast<uint32_t>(to - from);
    if (to < from || offset < reg::FIFOWindow ||
        offset + count * 4 > reg::FIFOWindow + reg::FIFOPageBytes) {
        Fail("words outside the FIFO window", from);
    }
    bus.Words(bus.self, from, count);
}

void DelayRounds(ChipRegisters* registers, uint32_t rounds) {
    uint32_t base;
    const ChipBus& bus = BusAt(registers, &base);
    bus.Idle(bus.self, rounds);
}

#ifdef KORV_CHECKED
void ReserveExceeded(const uint32_t* at, const uint32_t* limit) {
    std::fprintf(stderr, "command stream: %d words written beyond the reservation\n",
                 static_cast<int>(at - limit));
    std::abort();
}
#endif

#endif
