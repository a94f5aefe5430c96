#pragma once
// Memory of the host that the board reads over the bus: DMA buffers and AGP textures.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

namespace board {

class HostMemory {
  public:
    // Copies the bytes at a bus address; false: nobody is there.
    using Reader = std::function<bool(uint32_t busAddress, void* to, size_t bytes)>;

    // Makes `bytes` at `memory` readable at `busAddress`. A later range hides an earlier one where
    // they overlap; one at the same address replaces it, and with no bytes only takes it away.
    void Map(uint32_t busAddress, const void* memory, size_t bytes);

    // The bytes from `busAddress` to the end of their range; empty when nobody mapped the address.
    std::span<const uint8_t> From(uint32_t busAddress) const;

    // Who is asked for words where nothing is mapped; null for nobody.
    void SetReader(Reader reader) { reader_ = std::move(reader); }
    // The word at `busAddress`. False: nobody is there.
    bool ReadWord(uint32_t busAddress, uint32_t& word) const;

    // The same bytes as far as a reader of whole words from `busAddress` on finds them there: up to
    // where a later range begins.
    std::span<const uint8_t> WordsFrom(uint32_t busAddress) const;

    // Another number whenever a range has been mapped.
    uint32_t Revision() const { return revision_; }

  private:
    struct Range {
        uint32_t busAddress;
        std::span<const uint8_t> bytes;
    };
    std::vector<Range> ranges_;
    Reader reader_;
    uint32_t revision_ = 0;
};

} // namespace board
