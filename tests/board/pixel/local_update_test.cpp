// Fills and copies of the local buffer, with the words that a driver sends for them.
#include "board/pixel/local_update.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using rig::kReadSource;

// Window words: forced from the Depth register, and forced from the source.
constexpr uint32_t kFromRegister = 0x18, kFromSource = 0x08;
// What a mode change leaves in DepthMode: on, always passing, from the register, no writes.
constexpr uint32_t kDepthIdle = 0x79;

class LocalRig : public rig::Rig {
  public:
    explicit LocalRig(board::Chip chip) : Rig(rig::SmallConfig(chip)) {
        Send({{tag::LBWriteFormat, 2},
              {tag::Window, kFromRegister},
              {tag::DepthMode, kDepthIdle},
              {tag::FBWriteMode, 1},
              {tag::FBReadMode, rig::kPitch64}});
        std::mt19937 random(1);
        for (uint8_t& byte : board.LocalBuffer()) {
            byte = static_cast<uint8_t>(random());
        }
    }
    std::vector<uint32_t> Words() {
        std::vector<uint32_t> words(board.LocalBuffer().size() / 4);
        std::memcpy(words.data(), board.LocalBuffer().data(), words.size() * 4);
        return words;
    }
    void ExpectWords(const std::vector<uint32_t>& expected) {
        EXPECT_EQ(Words(), expected);
        EXPECT_FALSE(board.FaultReport().Any()) << board.FaultReport().Describe();
        for (const uint8_t byte : board.FrameBuffer()) {
            ASSERT_EQ(byte, 0) << "the frame buffer is no part of it";
        }
    }
};

TEST(LocalUpdate, FillWritesTheDepthRegister) {
    for (const board::Chip chip : {board::Chip::SX, board::Chip::TX, board::Chip::MX}) {
        LocalRig r(chip);
        auto expected = r.Words();
        r.Send({{tag::LBReadMode, rig::kPitch64 | rig::kPitch32 << 3},
                {tag::FBWriteMode, 0},
                {tag::LBWriteMode, 1},
                {tag::LBWindowBase, 500},
                {tag::Depth, 0xFFFFFFFE}});
        r.Rectangle(3, 4, 90, 30);
        r.Send({{tag::FBWriteMode, 1}, {tag::LBWriteMode, 0}});
        for (size_t y = 4; y < 30; ++y) {
            for (size_t x = 3; x < 90; ++x) {
                expected[500 + y * 96 + x] = 0xFFFFFFFE;
            }
        }
        r.ExpectWords(expected);
    }
}

TEST(LocalUpdate, CopyMovesWordsForward) {
    // The last two overlap: rows go down and words to the right, so those two smear.
    for (const int distance : {4000, -3000, 64 + 5, -(64 + 5), -2}) {
        LocalRig r(board::Chip::TX);
        auto expected = r.Words();
        r.Send({{tag::LBReadMode, rig::kPitch64 | kReadSource},
                {tag::LBWriteMode, 1},
                {tag::LBSourceOffset, static_cast<uint32_t>(distance)},
                {tag::LBWindowBase, 4000},
                {tag::FBWriteMode, 0},
                {tag::FBReadMode, 0},
                {tag::Window, kFromSource}});
        r.Rectangle(6, 2, 40, 20);
        r.Send({{tag::LBWriteMode, 0}, {tag::Window, kFromRegister}});
        for (int y = 2; y < 20; ++y) {
            for (int x = 6; x < 40; ++x) {
                const int at = 4000 + y * 64 + x;
                expected[static_cast<size_t>(at)] = expected[static_cast<size_t>(at + distance)];
            }
        }
        r.ExpectWords(expected);
    }
}

TEST(LocalUpdate, ScreenDrawingLeavesTheLocalBufferAlone) {
    LocalRig r(board::Chip::MX);
    const auto before = r.Words();
    r.Send({{tag::LogicalOpMode, 0x20}, {tag::FBWriteData, 0x1234}});
    r.Rectangle(0, 0, 20, 20);
    EXPECT_EQ(r.Words(), before);
    EXPECT_EQ(r.Pixel(19, 19), 0x1234u);
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

TEST(LocalUpdate, ScissorHoldsAndWordsOutsideTheMemoryAreCounted) {
    LocalRig r(board::Chip::TX);
    auto expected = r.Words();
    r.Send({{tag::LBReadMode, rig::kPitch64},
            {tag::FBWriteMode, 0},
            {tag::LBWriteMode, 1},
            {tag::Depth, 1},
            {tag::ScissorMode, 1},
            {tag::ScissorMinXY, 2},
            {tag::ScissorMaxXY, 1u << 16 | 4}});
    r.Rectangle(0, 0, 10, 10);
    expected[2] = expected[3] = 1;
    r.ExpectWords(expected);
    r.Send(tag::LBWindowBase, static_cast<uint32_t>(expected.size() - 3));
    r.Rectangle(0, 0, 10, 10);
    expected.back() = 1;
    EXPECT_EQ(r.Words(), expected);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 1u);
}

TEST(LocalUpdate, SourcesThatNobodyAsksForAreCountedAsFaults) {
    LocalRig r(board::Chip::TX);
    r.Send({{tag::LBReadMode, rig::kPitch64 | kReadSource}, {tag::FBWriteMode, 0}});
    r.Rectangle(0, 0, 1, 1);
    r.Send(tag::LBWriteMode, 1);
    r.Rectangle(0, 0, 1, 1);
    const std::map<std::string, uint64_t> expected = {
        {"local buffer copy that the window does not force", 1},
        {"forced local buffer update in this mode", 1}};
    EXPECT_EQ(r.board.FaultReport().unmodelled, expected);
}

} // namespace
