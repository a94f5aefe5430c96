#pragma once
// A chip bus that records every event and answers from a script: no board, no time.
#include "driver/core/chipbus.h"
#include "driver/core/registers.h"
#include "tests/support/tag_names.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <vector>

namespace test {

struct BusEvent {
    char kind;       // 'r' register read, 'w' register write, 'f' word in the FIFO window, 'i' idle
    uint32_t offset; // 0 for words; rounds for 'i'
    uint32_t value;
    bool operator==(const BusEvent&) const = default;

    bool IsSpaceRead() const { return kind == 'r' && offset == reg::InFIFOSpace; }
};

// One transfer that was started by a write of DMACount.
struct Transfer {
    uint32_t address;
    std::vector<uint32_t> words; // as they stood at the start
};

// The register writes by which the driver waits until the chip has done all: the answer to Sync is
// let out, and then held back again.
inline std::vector<BusEvent> SyncWrites() {
    return {{'w', t::Mapped(t::FilterMode), 0x400},
            {'w', t::Mapped(t::Sync), 0},
            {'w', t::Mapped(t::FilterMode), 0}};
}

class RecordingBus {
  public:
    explicit RecordingBus(ChipRegisters* registers);
    ~RecordingBus();
    RecordingBus(const RecordingBus&) = delete;
    RecordingBus& operator=(const RecordingBus&) = delete;

    // Everything, in order.
    std::vector<BusEvent> events;
    // Transfers in order; DMACount reads back 0 at once unless `readDMACount` says otherwise.
    std::vector<Transfer> transfers;
    // Register file: what was written last, or preset; mapped registers included.
    std::map<uint32_t, uint32_t> registers;
    // Answers a Sync write puts here; InFIFOSpace and OutFIFOWords come from these.
    std::deque<uint32_t> output;
    std::function<uint32_t()> readOutFIFOWords; // answers OutFIFOWords in place of `output`
    uint32_t fifoSpace = 1000;
    // Scripts that take precedence over the above, when set.
    std::function<uint32_t()> readFIFOSpace;
    std::function<uint32_t()> readDMACount;
    std::function<uint32_t()> readLineCounter;
    std::function<void(uint32_t rounds)> onIdle;

    // From now on reads of the space find these values, each once; a read more fails the test.
    void ScriptFIFOSpace(const std::vector<uint32_t>& answers);

    // From now on each read of the space in a row finds one entry more, so that a wait for n takes
    // exactly n reads and leaves no credit.
    void MeterFIFO() {
        readFIFOSpace = [this, granted = 0u]() mutable {
            granted = !events.empty() && events.back().IsSpaceRead() ? granted + 1 : 1;
            return granted;
        };
    }

    // Makes words at a bus address known, so that transfers carry their contents.
    void MapMemory(uint32_t address, const uint32_t* words, uint32_t bytes);

    // Words that entered the FIFO window so far.
    std::vector<uint32_t> FifoWords() const;
    // Offsets and values of register writes so far.
    std::vector<BusEvent> Writes() const;
    // Number of reads of a register so far.
    size_t ReadsOf(uint32_t offset) const;
    void Clear();

  private:
    uint32_t Read(uint32_t offset);
    void Write(uint32_t offset, uint32_t value);

    struct Range {
        uint32_t address;
        const uint32_t* words;
        uint32_t bytes;
    };

    ChipRegisters* aperture_;
    std::vector<Range> memory_;
};

} // namespace test
