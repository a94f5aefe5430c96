#pragma once
// Where in a stream each primitive is.
#include "board/bus/decoder.h"

#include <cstdint>
#include <optional>

namespace stream {

// Words that make a primitive, by their numbers in the stream.
struct PrimitiveWords {
    uint64_t first = 0, count = 0;
};

// Writing this register begins to draw something.
bool BeginsPrimitive(uint32_t tagNumber);

// Follows a stream word by word. A primitive is what a drawing command begins: it has the words
// that set it up, from the end of the one before, the command, and the continuations and pixels
// from the host behind it with what is set between them.
class PrimitiveWalker {
  public:
    // Takes word `number`. The primitive before, once the command of the next one shows where it
    // has ended.
    std::optional<PrimitiveWords> Take(uint64_t number, uint32_t word);
    // What comes from word `number` on does not belong to what came before. The last primitive.
    std::optional<PrimitiveWords> Cut(uint64_t number);

  private:
    board::StreamDecoder decoder_;
    uint64_t first_ = 0, end_ = 0; // of the primitive under way; end: behind its latest command
    bool drawn_ = false;           // it has a command
    bool fromHost_ = false;        // which takes pixels from the host
};

} // namespace stream
