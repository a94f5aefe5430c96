#pragma once
// An input FIFO behind the recording bus that empties only as far as it is asked: each read of
// InFIFOSpace frees one entry. What enters is counted against the last answer.
#include "tests/support/recording_bus.h"

#include <bit>
#include <string>

namespace test {

class CountedFifo {
  public:
    static constexpr uint32_t kDepth = 16;

    explicit CountedFifo(RecordingBus& bus) : bus_(bus), seen_(bus.events.size()) {
        bus.readFIFOSpace = [this] {
            CatchUp();
            used_ -= used_ != 0;
            granted_ = kDepth - used_;
            return granted_;
        };
    }
    ~CountedFifo() { bus_.readFIFOSpace = nullptr; }
    CountedFifo(const CountedFifo&) = delete;
    CountedFifo& operator=(const CountedFifo&) = delete;

    // Entries that were not waited for, by the tag of each: "0B0 11D", or nothing.
    std::string Unwaited() {
        CatchUp();
        return unwaited_;
    }

  private:
    void CatchUp() {
        for (; seen_ < bus_.events.size(); ++seen_) {
            const BusEvent& event = bus_.events[seen_];
            if (event.kind == 'f') {
                Word(event.value);
            } else if (event.kind == 'w' && event.offset >= reg::MappedRegisters) {
                Entry((event.offset - reg::MappedRegisters) / 8);
            } else if (event.kind == 'w' && (event.offset == reg::DisconnectControl ||
                                             event.offset == reg::DeltaDisconnectControl)) {
                holdsBus_ = event.value == 1;
            }
        }
    }
    void Word(uint32_t word) {
        if (mask_ != 0) {
            Entry(group_ + static_cast<uint32_t>(std::countr_zero(mask_)));
            mask_ &= mask_ - 1;
        } else if (left_ != 0) {
            Entry(group_);
            --left_;
        } else if ((word & 0x8000) != 0) {
            group_ = word & 0x3F0;
            mask_ = word >> 16;
        } else {
            group_ = word & 0x3FF;
            left_ = (word >> 16) + 1;
        }
    }
    void Entry(uint32_t tagNumber) {
        used_ += used_ != kDepth;
        if (holdsBus_) {
            granted_ = 0;
        } else if (granted_ != 0) {
            --granted_;
        } else {
            char text[8];
            std::snprintf(text, sizeof(text), "%03X ", static_cast<unsigned>(tagNumber));
            unwaited_ += text;
        }
    }

    RecordingBus& bus_;
    size_t seen_;
    uint32_t used_ = 0;
    uint32_t granted_ = 0;
    bool holdsBus_ = false;
    uint32_t group_ = 0; // of the burst at hand
    uint32_t mask_ = 0;
    uint32_t left_ = 0;
    std::string unwaited_;
};

} // namespace test
