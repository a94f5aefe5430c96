#pragma once
// What a stream sends to registers, whatever carries it.
#include "board/bus/decoder.h"
#include "board/values/registers.h"
#include "stream/source.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace stream {

// A write of a register, by a word of the stream or past it; or what the processor stored.
struct Sent {
    // In the aperture, bytes; by words, mapped ones. kStore: a store of the processor.
    uint32_t offset = 0;
    uint32_t value = 0; // of a store: the checksum of its bytes
    // Stores: where in which memory, and how many bytes.
    Memory memory = Memory::FrameBuffer;
    uint32_t address = 0, bytes = 0;
    bool malformed = false; // a word of the stream, `value`, that is no tag word
    Position at;            // before it; of a word: of the data

    static constexpr uint32_t kStore = 0xFFFFFFFF;
    bool IsStore() const { return offset == kStore; }
    bool SameAs(const Sent& other) const {
        return offset == other.offset && value == other.value && memory == other.memory &&
               address == other.address && bytes == other.bytes && malformed == other.malformed;
    }
};

// How words are carried is left out: registers of FIFOs, DMA and interrupts.
bool CarriesWords(uint32_t offset);

// Reads a stream as what it sends.
class SentReader {
  public:
    explicit SentReader(Source& source) : source_(source) {}

    // False at the end.
    bool Next(Sent& sent);
    // Registers at the start, where the stream begins in the middle; else as power leaves them.
    const board::RegisterFile& Start() const { return start_; }
    Source& From() { return source_; }

  private:
    void TakeState(std::span<const uint8_t> state);

    Source& source_;
    board::StreamDecoder decoder_;
    board::RegisterFile start_;
};

} // namespace stream
