#pragma once
// CRC-32 (the one of zlib and PNG), and the checksums of a board's state that captures carry.
#include <cstddef>
#include <cstdint>
#include <span>

namespace board {
class Board;
}

namespace stream {

// CRC-32 of `bytes` behind those whose CRC-32 is `before`.
uint32_t Crc32(std::span<const uint8_t> bytes, uint32_t before = 0);

// Of a memory: the CRC-32 of each page of 4096 bytes that is not all zero (a last one may be
// shorter), its number as 32-bit little-endian word before its bytes.
uint32_t MemoryChecksum(std::span<const uint8_t> memory);

struct Checksums {
    uint32_t frameBuffer = 0, localBuffer = 0;
    // CRC-32 of all registers as 32-bit little-endian words: by offset, those below the mapped ones
    // every 4 bytes, then the mapped ones.
    uint32_t registers = 0;
    bool operator==(const Checksums&) const = default;
};

Checksums ChecksumsOf(board::Board& board);

} // namespace stream
