#include "tests/support/recording_bus.h"

#include "driver/core/tags.h"

#include <gtest/gtest.h>

namespace test {

RecordingBus::RecordingBus(ChipRegisters* aperture) : aperture_(aperture) {
    ChipBus bus{};
    bus.self = this;
    bus.Read = [](void* self, uint32_t offset) {
        return static_cast<RecordingBus*>(self)->Read(offset);
    };
    bus.Write = [](void* self, uint32_t offset, uint32_t value) {
        static_cast<RecordingBus*>(self)->Write(offset, value);
    };
    bus.Words = [](void* self, const uint32_t* words, uint32_t count) {
        auto* that = static_cast<RecordingBus*>(self);
        for (uint32_t i = 0; i < count; ++i) {
            that->events.push_back({'f', 0, words[i]});
        }
    };
    bus.Idle = [](void* self, uint32_t rounds) {
        auto* that = static_cast<RecordingBus*>(self);
        that->events.push_back({'i', rounds, 0});
        if (that->onIdle) {
            that->onIdle(rounds);
        }
    };
    AttachChipBus(aperture_, bus);
}

RecordingBus::~RecordingBus() {
    DetachChipBus(aperture_);
}

uint32_t RecordingBus::Read(uint32_t offset) {
    uint32_t value = 0;
    switch (offset) {
    case reg::InFIFOSpace:
        value = readFIFOSpace ? readFIFOSpace() : fifoSpace;
        break;
    case reg::OutFIFOWords:
        value = readOutFIFOWords ? readOutFIFOWords() : static_cast<uint32_t>(output.size());
        break;
    case reg::OutFIFOWord:
    case reg::OutFIFOSecondWord:
        if (!output.empty()) {
            value = output.front();
            output.pop_front();
        }
        break;
    case reg::DMACount:
        value = readDMACount ? readDMACount() : 0;
        break;
    case reg::LineCounter:
        value = readLineCounter ? readLineCounter() : registers[offset];
        break;
    default:
        value = registers[offset];
        break;
    }
    events.push_back({'r', offset, value});
    return value;
}

void RecordingBus::Write(uint32_t offset, uint32_t value) {
    events.push_back({'w', offset, value});
    registers[offset] = value;
    if (offset == MappedOffset(tag::Sync)) {
        output.push_back(tag::Sync);
    }
    if (offset == reg::DMACount) {
        Transfer transfer{registers[reg::DMAAddress], {}};
        for (const Range& range : memory_) {
            const uint32_t distance = transfer.address - range.address;
            if (distance < range.bytes) {
                const uint32_t* from = range.words + distance / 4;
                transfer.words.assign(from, from + value);
            }
        }
        transfers.push_back(transfer);
    }
}

void RecordingBus::ScriptFIFOSpace(const std::vector<uint32_t>& answers) {
    readFIFOSpace = [this, left = std::deque(answers.begin(), answers.end())]() mutable {
        if (left.empty()) {
            ADD_FAILURE() << "InFIFOSpace is read more often than the test answers";
            return fifoSpace;
        }
        const uint32_t answer = left.front();
        left.pop_front();
        return answer;
    };
}

void RecordingBus::MapMemory(uint32_t address, const uint32_t* words, uint32_t bytes) {
    memory_.push_back({address, words, bytes});
}

std::vector<uint32_t> RecordingBus::FifoWords() const {
    std::vector<uint32_t> words;
    for (const BusEvent& event : events) {
        if (event.kind == 'f') {
            words.push_back(event.value);
        }
    }
    return words;
}

std::vector<BusEvent> RecordingBus::Writes() const {
    std::vector<BusEvent> writes;
    for (const BusEvent& event : events) {
        if (event.kind == 'w') {
            writes.push_back(event);
        }
    }
    return writes;
}

size_t RecordingBus::ReadsOf(uint32_t offset) const {
    size_t count = 0;
    for (const BusEvent& event : events) {
        count += event.kind == 'r' && event.offset == offset;
    }
    return count;
}

void RecordingBus::Clear() {
    events.clear();
    transfers.clear();
}

} // namespace test
