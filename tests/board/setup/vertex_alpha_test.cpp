// The alpha of stored vertices reads back, by whatever word it came.
#include "board/board.h"
#include "chip/registers.h"
#include "chip/words.h"

#include <gtest/gtest.h>

#include <bit>

namespace {

constexpr uint32_t kAlpha = 8, kPackedColour = 14; // words of a vertex group

class VertexAlpha : public testing::Test {
  protected:
    void Write(uint32_t tagNumber, uint32_t value) {
        board.Write(reg::MappedRegisters + tagNumber * 8, value);
    }
    uint32_t AlphaOf(uint32_t slot) {
        return board.Read(reg::MappedRegisters + (tag::V0Fixed + 16 * slot + kAlpha) * 8);
    }
    VertexAlpha() { board.Write(reg::DisconnectControl, 1); }
    board::Board board{{.chip = board::Chip::TX, .setupUnit = true}};
};

TEST_F(VertexAlpha, OfAllThreeFollowsTheColourStart) {
    Write(tag::AStart, 64u << 15); // 9.15 of 256
    for (uint32_t slot = 0; slot < 3; ++slot) {
        EXPECT_EQ(AlphaOf(slot), 0x10000000u); // a quarter in 2.30
    }
}

TEST_F(VertexAlpha, OfOneFollowsItsFixedFloatAndPackedWords) {
    Write(tag::AStart, 255u << 15);
    Write(tag::V0Fixed + kAlpha, 0x12345678);
    Write(tag::V1Float + kAlpha, std::bit_cast<uint32_t>(0.5f));
    Write(tag::V2Float + kPackedColour, 0x80FFFFFF);
    EXPECT_EQ(AlphaOf(0), 0x12345678u);
    EXPECT_EQ(AlphaOf(1), 0x20000000u);
    EXPECT_EQ(AlphaOf(2), 0x20000000u);
    Write(tag::V0Float + kPackedColour, 0x40000000);
    EXPECT_EQ(AlphaOf(0), 0x10000000u);
    EXPECT_EQ(board.FaultReport().Describe(), "");
}

TEST_F(VertexAlpha, OfNoUseIsHeldInWhatAWordCanTell) {
    Write(tag::V0Float + kAlpha, std::bit_cast<uint32_t>(1e9f));
    Write(tag::V1Float + kAlpha, std::bit_cast<uint32_t>(-1e9f));
    Write(tag::V2Float + kAlpha, 0x7FC00000);
    EXPECT_EQ(AlphaOf(0), 0x7FFFFFFFu);
    EXPECT_EQ(AlphaOf(1), 0x80000001u);
    EXPECT_EQ(AlphaOf(2), 0u);
}

} // namespace
