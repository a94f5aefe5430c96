#include "board/played_board.h"
#include "tests/board/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

TEST(PlayedBoard, WritesAsItWasToldTo) {
    board::PlayedBoard board(rig::SmallConfig());
    board.PlayWrite(t::Mapped(t::FogColor), 0x1234);
    board.PlayWrite(t::ScreenBasePermedia, 0x55);
    EXPECT_EQ(board.PlayRead(t::Mapped(t::FogColor)), 0x1234u);
    EXPECT_EQ(board.Peek(t::ScreenBasePermedia), 0x55u);
    EXPECT_TRUE(board.FaultReport().unknownRegisters.empty());
}

TEST(PlayedBoard, ATransferEndsWithItsLastWord) {
    board::PlayedBoard board(rig::SmallConfig());
    board.PlayWrite(t::DMAAddress, 0x1000);
    board.PlayWrite(t::DMACount, 2);
    board.PlayDmaWord(t::FogColor);
    EXPECT_EQ(board.Peek(t::DMACount), 1u);
    EXPECT_EQ(board.Peek(t::IntFlags), 0u);
    board.PlayDmaWord(0x77);
    EXPECT_EQ(board.NextDmaAddress(), std::nullopt);
    EXPECT_EQ(board.Peek(t::DMACount), 0u);
    EXPECT_EQ(board.Peek(t::IntFlags), 1u);
}

TEST(PlayedBoard, ATransferThatEndsEarlyEndsAllTheSame) {
    board::PlayedBoard board(rig::SmallConfig());
    board.PlayWrite(t::DMAAddress, 0x1000);
    board.PlayWrite(t::DMACount, 3);
    EXPECT_EQ(board.NextDmaAddress(), 0x1000u);
    board.PlayDmaWord(t::FogColor);
    EXPECT_EQ(board.NextDmaAddress(), 0x1004u);
    EXPECT_EQ(board.Peek(t::IntFlags), 0u);
    board.PlayDmaFault();
    EXPECT_EQ(board.NextDmaAddress(), std::nullopt);
    EXPECT_EQ(board.Peek(t::IntFlags), 1u);
    EXPECT_EQ(board.FaultReport().badDmaAddresses, 1u);
}

} // namespace
