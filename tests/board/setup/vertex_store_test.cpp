#include "board/setup/vertex_store.h"
#include "tests/board/setup_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

namespace {

using board::Quantity;

uint32_t Bits(float value) {
    return std::bit_cast<uint32_t>(value);
}

TEST(VertexStore, FloatWordsFillTheirQuantityOfTheirSlot) {
    board::VertexStore store;
    const std::pair<uint32_t, Quantity> words[] = {
        {0, Quantity::S},   {1, Quantity::T},     {2, Quantity::Q},    {3, Quantity::Ks},
        {5, Quantity::Red}, {6, Quantity::Green}, {7, Quantity::Blue}, {8, Quantity::Alpha},
        {9, Quantity::Fog}, {10, Quantity::X},    {11, Quantity::Y},   {12, Quantity::Z}};
    for (uint32_t slot = 0; slot < 3; ++slot) {
        for (const auto& [word, quantity] : words) {
            const float value = 0.5f + static_cast<float>(slot * 16 + word);
            ASSERT_TRUE(store.Write({t::V0Float + slot * 16 + word, Bits(value)}, false));
        }
    }
    for (uint32_t slot = 0; slot < 3; ++slot) {
        for (const auto& [word, quantity] : words) {
            EXPECT_EQ(store[slot][quantity], 0.5 + slot * 16 + word);
        }
    }
}

TEST(VertexStore, FixedWordsFillTheSameQuantities) {
    board::VertexStore store;
    store.Write({t::V0Fixed + 5, 200u << 22}, false); // a channel lies at bits 22 to 29
    store.Write({t::V0Fixed + 8, 64u << 22}, false);
    store.Write({t::V1Fixed + 9, 128u << 14}, false);  // 2.22, 256 for 1.0
    store.Write({t::V1Fixed + 10, 0xFFFE8000}, false); // 16.16
    store.Write({t::V2Fixed, 0xE0000000}, false);      // 2.30
    store.Write({t::V2Fixed + 3, 0x00100000}, false);  // 2.22
    EXPECT_EQ(store[0][Quantity::Red], 200.0 / 256);
    EXPECT_EQ(store[0][Quantity::Alpha], 0.25);
    EXPECT_EQ(store[1][Quantity::Fog], 0.5);
    EXPECT_EQ(store[1][Quantity::X], -1.5);
    EXPECT_EQ(store[2][Quantity::S], -0.5);
    EXPECT_EQ(store[2][Quantity::Ks], 0.25);
}

TEST(VertexStore, TheLatestOfFixedAndFloatHolds) {
    board::VertexStore store;
    store.Write({t::V0Float + 9, Bits(0.75f)}, false);
    store.Write({t::V0Fixed + 9, 64u << 14}, false);
    EXPECT_EQ(store[0][Quantity::Fog], 0.25);
    store.Write({t::V0Float + 9, Bits(0.75f)}, false);
    EXPECT_EQ(store[0][Quantity::Fog], 0.75);
}

TEST(VertexStore, PackedColourFillsFourChannelsInEitherOrderAndGroup) {
    for (const uint32_t group : {t::V1Fixed, t::V1Float}) {
        board::VertexStore store;
        store.Write({group + 0xE, 0x10203040}, true);
        EXPECT_EQ(store[1][Quantity::Alpha], 16.0 / 256);
        EXPECT_EQ(store[1][Quantity::Red], 32.0 / 256);
        EXPECT_EQ(store[1][Quantity::Green], 48.0 / 256);
        EXPECT_EQ(store[1][Quantity::Blue], 64.0 / 256);
        store.Write({group + 0xE, 0x10203040}, false);
        EXPECT_EQ(store[1][Quantity::Red], 64.0 / 256);
        EXPECT_EQ(store[1][Quantity::Blue], 32.0 / 256);
        EXPECT_EQ(store[1][Quantity::Alpha], 16.0 / 256);
    }
}

TEST(VertexStore, VerticesAreOpaqueUntilToldOtherwise) {
    board::VertexStore store;
    EXPECT_EQ(store[2][Quantity::Alpha], 255.0 / 256);
    store.SetAlpha(0x400000); // 128.0 in 9.15
    EXPECT_EQ(store[0][Quantity::Alpha], 0.5);
    EXPECT_EQ(store[2][Quantity::Alpha], 0.5);
    store.Write({t::V2Fixed + 8, 0x10000000}, false);
    EXPECT_EQ(store[2][Quantity::Alpha], 0.25);
}

TEST(VertexStore, WordsOfNoQuantityAreCounted) {
    rig::SetupRig r;
    r.Float(1, 0xD, 1.0);
    r.Fixed(2, 4, 1);
    const std::map<std::string, uint64_t> expected = {{"V1Float+13", 1}, {"V2Fixed+4", 1}};
    EXPECT_EQ(r.board.FaultReport().unmodelled, expected);
}

} // namespace
