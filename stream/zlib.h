#pragma once
// Compression of chunks, in the format of zlib (RFC 1950).
#include <cstdint>
#include <span>
#include <vector>

namespace stream {

std::vector<uint8_t> Deflate(std::span<const uint8_t> bytes);

// Fills `out`, which has the size that the bytes had before. False if `stored` gives other than so
// many bytes.
bool Inflate(std::span<const uint8_t> stored, std::span<uint8_t> out);

} // namespace stream
