#pragma once
// The DMA engine: the transfer under way.
#include "board/values/host_memory.h"
#include "board/values/state_visitor.h"

#include <cstdint>
#include <span>

namespace board {

class DmaEngine {
  public:
    explicit DmaEngine(const HostMemory& host) : host_(host) {}

    // Starts a transfer of `words` words. A transfer still under way is lost.
    void Start(uint32_t busAddress, uint32_t words);

    uint32_t Address() const { return address_; }
    // Goes on behind the next word without fetching it.
    void Pass() {
        address_ += sizeof(uint32_t);
        --wordsLeft_;
        source_ = {};
    }
    void Stop() { wordsLeft_ = 0; }

    bool Busy() const { return wordsLeft_ != 0; }
    uint32_t WordsLeft() const { return wordsLeft_; }

    // Fetches the next word. False when nobody mapped its address: the transfer ends there.
    bool Next(uint32_t& word);
    void Visit(StateVisitor& visit) {
        auto& [host, address, wordsLeft, source, revision] = *this;
        visit.Value("address", address);
        visit.Value("wordsLeft", wordsLeft);
        source = {};
    }

  private:
    const HostMemory& host_;
    uint32_t address_ = 0;
    uint32_t wordsLeft_ = 0;
    // What lies at the address, as the mappings stood at that revision.
    std::span<const uint8_t> source_;
    uint32_t revision_ = 0;
};

} // namespace board
