#pragma once
// Records of the board in the bytes of a capture. A list of numbers begins with their count: a
// later writer may know more of them, which a reader passes over.
#include "stream/bytes.h"
#include "stream/event.h"

namespace stream {

void WriteConfig(ByteWriter& out, const board::Config& config);
// StreamError for what no board is like.
board::Config ReadConfig(ByteReader& in);

void WriteTiming(ByteWriter& out, const board::Timing& timing);
board::Timing ReadTiming(ByteReader& in);

void WriteSignal(ByteWriter& out, const board::VideoSignal& signal);
board::VideoSignal ReadSignal(ByteReader& in);

void WritePosition(ByteWriter& out, const Position& position);
Position ReadPosition(ByteReader& in);

} // namespace stream
