#include "stream/checksum.h"

#include "board/board.h"
#include "chip/registers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <vector>

namespace stream {

namespace {

constexpr size_t kPage = 4096;
constexpr size_t kSlices = 8;

// Row k, byte b: the CRC of b with k zero bytes behind it.
constexpr auto kTable = [] {
    std::array<std::array<uint32_t, 256>, kSlices> table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320u : 0u);
        }
        table[0][byte] = crc;
    }
    for (size_t k = 1; k < kSlices; ++k) {
        for (uint32_t byte = 0; byte < 256; ++byte) {
            const uint32_t before = table[k - 1][byte];
            table[k][byte] = (before >> 8) ^ table[0][before & 0xFF];
        }
    }
    return table;
}();

uint32_t LoadWord(const uint8_t* bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

std::array<uint8_t, 4> WordBytes(uint32_t word) {
    return {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8),
            static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 24)};
}

bool IsZero(std::span<const uint8_t> page) {
    return page[0] == 0 && std::memcmp(page.data(), page.data() + 1, page.size() - 1) == 0;
}

} // namespace

uint32_t Crc32(std::span<const uint8_t> bytes, uint32_t before) {
    uint32_t crc = ~before;
    const uint8_t* at = bytes.data();
    size_t left = bytes.size();
    for (; left >= kSlices; left -= kSlices, at += kSlices) {
        const uint32_t low = LoadWord(at) ^ crc, high = LoadWord(at + 4);
        crc = kTable[7][low & 0xFF] ^ kTable[6][low >> 8 & 0xFF] ^ kTable[5][low >> 16 & 0xFF] ^
              kTable[4][low >> 24] ^ kTable[3][high & 0xFF] ^ kTable[2][high >> 8 & 0xFF] ^
              kTable[1][high >> 16 & 0xFF] ^ kTable[0][high >> 24];
    }
    for (; left != 0; --left, ++at) {
        crc = (crc >> 8) ^ kTable[0][(crc ^ *at) & 0xFF];
    }
    return ~crc;
}

uint32_t MemoryChecksum(std::span<const uint8_t> memory) {
    uint32_t crc = 0;
    for (size_t start = 0; start < memory.size(); start += kPage) {
        const auto page = memory.subspan(start, std::min(kPage, memory.size() - start));
        if (!IsZero(page)) {
            crc = Crc32(WordBytes(static_cast<uint32_t>(start / kPage)), crc);
            crc = Crc32(page, crc);
        }
    }
    return crc;
}

Checksums ChecksumsOf(board::Board& board) {
    constexpr uint32_t kPlain = reg::MappedRegisters / 4,
                       kMapped = (reg::ApertureBytes - reg::MappedRegisters) / 8;
    std::vector<uint8_t> registers((kPlain + kMapped) * 4);
    uint8_t* next = registers.data();
    const auto add = [&](uint32_t offset) {
        const auto bytes = WordBytes(board.RegisterAt(offset));
        std::memcpy(next, bytes.data(), bytes.size());
        next += bytes.size();
    };
    for (uint32_t offset = 0; offset < reg::MappedRegisters; offset += 4) {
        add(offset);
    }
    for (uint32_t offset = reg::MappedRegisters; offset < reg::ApertureBytes; offset += 8) {
        add(offset);
    }
    return {MemoryChecksum(board.FrameBuffer()), MemoryChecksum(board.LocalBuffer()),
            Crc32(registers)};
}

} // namespace stream
