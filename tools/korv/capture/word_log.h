#pragma once
// What a trace hands over from the traced program to the tool, in memory that both have.
#include <atomic>
#include <cstdint>

namespace korv::trace {

// Words of the command stream on their way from the traced program to the tool, in the order in
// which the boards took them. Positions count words and run over at 2^32.
struct WordLog {
    static constexpr uint32_t kCapacity = 1u << 21; // words
    static constexpr uint8_t kByDma = 1;            // a bit of the origin
    static constexpr uint32_t kStreamShift = 1;     // above it, the number of the board

    std::atomic<uint32_t> written; // position; the traced program's
    std::atomic<uint32_t> read;    // position; the tool's
    std::atomic<uint32_t> lost;    // words for which there was no room
    // Of the batch reported last. The traced program leaves them alone until it has leave for the
    // next batch.
    uint32_t batchStart, batchEnd; // positions
    uint32_t context;              // hardware context; 0 if no words were sent
    std::atomic<uint32_t> reports; // batches reported; counts once the three before are written
    uint32_t words[kCapacity];
    uint8_t origins[kCapacity];

    void Put(uint32_t word, uint8_t origin) {
        const uint32_t at = written;
        if (at - read == kCapacity) {
            ++lost;
            return;
        }
        words[at % kCapacity] = word;
        origins[at % kCapacity] = origin;
        written = at + 1;
    }
};
static_assert(sizeof(WordLog) == 28 + 5 * WordLog::kCapacity);

} // namespace korv::trace
