#pragma once
// The DMA engine's address side: mapped host memory and the transfer under way.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace board {

class DmaEngine {
  public:
    // Makes `bytes` at `memory` readable at `busAddress`. A later range hides an earlier one where
    // they overlap.
    void Map(uint32_t busAddress, const void* memory, size_t bytes);

    // Starts a transfer of `words` words. A transfer still under way is lost.
    void Start(uint32_t busAddress, uint32_t words);

    bool Busy() const { return wordsLeft_ != 0; }
    uint32_t WordsLeft() const { return wordsLeft_; }

    // Fetches the next word. False when nobody mapped its address: the transfer ends there.
    bool Next(uint32_t& word);

  private:
    struct Range {
        uint32_t busAddress;
        const uint8_t* memory;
        size_t bytes;
    };
    const uint8_t* Find(uint32_t busAddress) const;

    std::vector<Range> ranges_;
    uint32_t address_ = 0;
    uint32_t wordsLeft_ = 0;
};

} // namespace board
