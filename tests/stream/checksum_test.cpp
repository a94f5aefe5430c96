#include "stream/checksum.h"

#include <gtest/gtest.h>

#include <random>
#include <string_view>
#include <vector>

namespace stream {
namespace {

// Bit by bit, as the polynomial says.
uint32_t PlainCrc(std::span<const uint8_t> bytes, uint32_t crc = 0) {
    crc = ~crc;
    for (const uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320u : 0);
        }
    }
    return ~crc;
}

TEST(Checksum, IsTheCrcOfZlib) {
    const std::string_view check = "123456789";
    EXPECT_EQ(Crc32({reinterpret_cast<const uint8_t*>(check.data()), check.size()}), 0xCBF43926u);
    std::mt19937 dice(1);
    std::vector<uint8_t> bytes(1000);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(dice());
    }
    for (size_t length = 0; length < 40; ++length) {
        const auto some = std::span(bytes).first(length);
        EXPECT_EQ(Crc32(some), PlainCrc(some));
    }
    EXPECT_EQ(Crc32(std::span(bytes).subspan(333), Crc32(std::span(bytes).first(333))),
              PlainCrc(bytes));
}

TEST(Checksum, OfAMemoryLeavesZeroPagesOut) {
    std::vector<uint8_t> memory(3 * 4096 + 100);
    EXPECT_EQ(MemoryChecksum(memory), 0u);
    memory[2 * 4096 + 7] = 9;
    const uint8_t number[] = {2, 0, 0, 0};
    EXPECT_EQ(MemoryChecksum(memory),
              PlainCrc(std::span(memory).subspan(2 * 4096, 4096), PlainCrc(number)));
    // The last page is a short one.
    memory[2 * 4096 + 7] = 0;
    memory[3 * 4096 + 99] = 1;
    const uint8_t last[] = {3, 0, 0, 0};
    EXPECT_EQ(MemoryChecksum(memory),
              PlainCrc(std::span(memory).subspan(3 * 4096), PlainCrc(last)));
}

} // namespace
} // namespace stream
