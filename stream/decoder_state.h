#pragma once
// What a reader of words needs of the state with which a stream begins in the middle.
#include "board/bus/decoder.h"
#include "board/values/registers.h"

#include <cstdint>
#include <span>

namespace stream {

// As at a stream's start, where `state` is no snapshot of a board.
board::StreamDecoder DecoderIn(std::span<const uint8_t> state);
board::RegisterFile RegistersIn(std::span<const uint8_t> state);

} // namespace stream
