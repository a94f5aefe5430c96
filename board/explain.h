#pragma once
// Words of the command stream and aperture offsets in readable form.
#include "board/bus/decoder.h"
#include "board/values/tag_text.h"

#include <cstdint>
#include <string>

namespace board {

// Name of an aperture offset; mapped registers by their tag, words inside the FIFO window counted
// from its start ("FIFOWindow+4"), an offset without a name is "offset 5800".
std::string OffsetText(uint32_t offset);

// " Field=value" for each named field that is not zero in a word of the register at the aperture
// offset, values in hex.
std::string FieldsText(uint32_t offset, uint32_t word);

// Follows a command stream and explains it word by word.
class StreamExplainer {
  public:
    // Meaning of the next word of the stream.
    //   tag words:  "FogMode", "Color x64", "group 000 mask 00C8: dXSub, dY, Count"
    //   data words: "FogMode = 1 Enable=1"
    //   others:     "malformed"
    std::string Explain(uint32_t word);
    // True when the next word is data.
    bool ExpectsData() const { return decoder_.ExpectsData(); }

  private:
    StreamDecoder decoder_;
};

} // namespace board
