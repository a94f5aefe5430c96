#include "board/values/memory.h"
#include "board/values/memory_block.h"
#include "board/values/registers.h"
#include "board/values/zeroed_memory.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

TEST(Memory, PitchIsTheSumOfThePartialProducts) {
    EXPECT_EQ(board::PitchFromProducts(0), 0u);
    const uint32_t sizes[] = {0, 32, 64, 128, 256, 512, 1024, 2048};
    for (uint32_t a = 0; a < 8; ++a) {
        for (uint32_t b = 0; b < 8; ++b) {
            for (uint32_t c = 0; c < 8; ++c) {
                EXPECT_EQ(board::PitchFromProducts(0xFFFFFE00u | c << 6 | b << 3 | a),
                          sizes[a] + sizes[b] + sizes[c]);
            }
        }
    }
}

TEST(Memory, ACopyOfZeroedBytesHoldsTheirValues) {
    board::ZeroedBytes bytes(1000);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), 1000);
    bytes[0] = 1;
    bytes[999] = 255;
    const board::ZeroedBytes copy = bytes;
    EXPECT_EQ(copy[0], 1);
    EXPECT_EQ(copy[500], 0);
    EXPECT_EQ(copy[999], 255);
    bytes[999] = 7;
    EXPECT_EQ(copy[999], 255);

    board::ZeroedBytes other(10);
    other = copy;
    EXPECT_EQ(other.size(), 1000u);
    EXPECT_EQ(other[0], 1);
    EXPECT_EQ(other[999], 255);
    EXPECT_NE(other.data(), copy.data());
    EXPECT_TRUE(board::ZeroedBytes().empty());
    EXPECT_EQ(board::ZeroedBytes(0).data(), nullptr);
}

TEST(Memory, ABlockIsCopiedFromItsOwnAndFromLentBytes) {
    std::vector<uint8_t> lent(100);
    board::MemoryBlock block;
    block.Init(60, lent);
    block[59] = 9;
    EXPECT_EQ(lent[59], 9);
    EXPECT_EQ(block.size(), 60u);
    board::MemoryBlock copy = block;
    EXPECT_TRUE(copy == block);
    copy[59] = 1;
    EXPECT_EQ(lent[59], 9);
    EXPECT_FALSE(copy == block);
    board::MemoryBlock& itself = copy;
    copy = itself;
    EXPECT_EQ(copy.size(), 60u);
    EXPECT_EQ(copy[59], 1);
    copy.Init(5, {});
    EXPECT_EQ(copy.size(), 5u);
    EXPECT_EQ(copy[4], 0);
}

TEST(Memory, PixelAddressIsOffsetPlusBasePlusRow) {
    rig::Rig r;
    // 512 + 128 = 640 pixels a row.
    r.Send({{tag::FBReadMode, 5 | 3 << 3},
            {tag::FBPixelOffset, 1000},
            {tag::FBWindowBase, 24},
            {tag::Color, 0x00C0FFEE}});
    r.Rectangle(7, 5, 8, 6);
    for (uint32_t i = 0; i < (1u << 18); ++i) {
        ASSERT_EQ(r.Element<uint32_t>(i), i == 1000 + 24 + 5 * 640 + 7 ? 0x00C0FFEEu : 0u) << i;
    }
}

TEST(Memory, PermediaPixelSizes) {
    rig::Rig r;
    r.Send({{tag::Color, 0x11223344}, {tag::FBReadPixel, rig::k8Bits}});
    r.Rectangle(3, 0, 4, 1);
    r.Send({{tag::FBReadPixel, rig::k16Bits}});
    r.Rectangle(5, 0, 6, 1);
    r.Send({{tag::FBReadPixel, rig::k24Bits}});
    r.Rectangle(7, 0, 8, 1);
    r.Send({{tag::FBReadPixel, rig::k32Bits}});
    r.Rectangle(9, 0, 10, 1);
    std::vector<uint8_t> expected(64);
    expected[3] = 0x44;
    expected[10] = 0x44, expected[11] = 0x33;
    expected[21] = 0x44, expected[22] = 0x33, expected[23] = 0x22;
    expected[36] = 0x44, expected[37] = 0x33, expected[38] = 0x22, expected[39] = 0x11;
    const auto memory = r.board.FrameBuffer().first(64);
    EXPECT_EQ(std::vector<uint8_t>(memory.begin(), memory.end()), expected);
}

TEST(Memory, GlintPixelSizesComeFromTheirOwnRegister) {
    for (const board::Chip chip : {board::Chip::TX, board::Chip::MX}) {
        rig::Rig r(rig::SmallConfig(chip));
        r.Send({{tag::FBReadMode, rig::kPitch64},
                {tag::FBWriteMode, 1},
                {tag::FBReadPixel, rig::k24Bits}, // no such register's effect here
                {tag::Color, 0x11223344}});
        for (const auto& [code, bytes] : {std::pair{0u, 4u}, {1u, 2u}, {2u, 1u}}) {
            r.Send(tag::PixelSize, code);
            r.SetElement<uint64_t>(0, 0);
            r.Rectangle(0, 0, 1, 1);
            const uint64_t kept = bytes == 4 ? 0x11223344 : bytes == 2 ? 0x3344 : 0x44;
            EXPECT_EQ(r.Element<uint64_t>(0), kept);
        }
    }
}

TEST(Memory, SxPixelSizeComesFromTheModeSelect) {
    rig::Rig r(rig::SmallConfig(board::Chip::SX));
    r.Send({{tag::FBReadMode, rig::kPitch64}, {tag::FBWriteMode, 1}, {tag::Color, 0x11223344}});
    for (const uint32_t other : {0u, 1u, 2u}) {
        r.Send(tag::PixelSize, other);
        for (const auto& [select, kept] : {std::pair{0x0u, 0x11223344u},
                                           {0x2u, 0x3344u},
                                           {0x4u, 0x44u},
                                           {0xFF9u, 0x11223344u}}) {
            r.board.Write(reg::FBModeSel, select);
            r.SetElement<uint64_t>(0, 0);
            r.Rectangle(0, 0, 1, 1);
            EXPECT_EQ(r.Element<uint64_t>(0), kept);
        }
    }
}

TEST(Memory, AccessesOutsideAreCountedAndDropped) {
    rig::Rig r;
    r.Send({{tag::Color, 5}, {tag::FBWindowBase, (1u << 18) - 4}});
    r.Rectangle(0, 0, 10, 1); // four pixels inside, six behind the end
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 6u);
    EXPECT_EQ(r.Element<uint32_t>((1u << 18) - 1), 5u);
    r.Send({{tag::FBWindowBase, 0}});
    r.Rectangle(-3, 0, 2, 1); // three pixels before the start
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 9u);
    EXPECT_EQ(r.Element<uint32_t>(0), 5u);
    r.Rectangle(0, -5, 8, -4);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 17u);
}

// Pixel by pixel: each whose element is outside is cut away and counted.
TEST(Memory, PatchedSpansAreCutWhereTheirElementsLeaveTheMemory) {
    std::mt19937 random(5);
    const auto between = [&random](int low, int high) {
        return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
    };
    for (int i = 0; i < 2000; ++i) {
        const board::Plane plane{
            nullptr, between(0, 4000), between(-3000, 3000), 16 * between(0, 8), 4, true};
        board::Span span{};
        span.y = between(-40, 80);
        span.left = between(-100, 100);
        span.right = span.left + between(1, 200);
        span.leftward = between(0, 1) != 0;
        int64_t inside = 0, first = span.right;
        for (int64_t x = span.left; x < span.right; ++x) {
            const int64_t element = plane.Index(x, span.y);
            if (element >= 0 && element < plane.elements) {
                first = std::min(first, x);
                ++inside;
            }
        }
        board::Span cut = span;
        const uint64_t count = plane.ClipToMemory(cut);
        EXPECT_EQ(count, static_cast<uint64_t>(span.right - span.left - inside));
        EXPECT_EQ(cut.Empty() ? 0 : cut.right - cut.left, inside);
        if (inside != 0) {
            EXPECT_EQ(cut.left, first);
            EXPECT_EQ(cut.skipped,
                      span.leftward ? span.right - (first + inside) : first - span.left);
        }
    }
}

TEST(Memory, WriteMasksKeepClearedBits) {
    for (const uint32_t maskTag : {tag::FBHardwareWriteMask, tag::FBSoftwareWriteMask}) {
        rig::Rig r;
        r.Send({{maskTag, 0x00FF0F0F}, {tag::Color, 0x12345678}});
        r.SetPixel(2, 0, 0xAAAAAAAA);
        r.Rectangle(2, 0, 3, 1);
        EXPECT_EQ(r.Pixel(2, 0), 0xAA34A6A8u);
    }
    rig::Rig both;
    both.Send({{tag::FBHardwareWriteMask, 0x0000FFFF},
               {tag::FBSoftwareWriteMask, 0x00FFFF00},
               {tag::Color, 0x12345678}});
    both.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(both.Pixel(0, 0), 0x00005600u);
}

TEST(Memory, MasksApplyByTheLaneOfThePixel) {
    rig::Rig r;
    r.Send({{tag::FBHardwareWriteMask, 0x00FF0F01}, {tag::Color, 0xFFFFFFFF}});
    r.Send(tag::FBReadPixel, rig::k8Bits);
    r.Rectangle(0, 0, 8, 1);
    EXPECT_EQ(r.Element<uint64_t>(0), 0x00FF0F0100FF0F01u);
    r.Send(tag::FBReadPixel, rig::k16Bits);
    r.Rectangle(4, 0, 8, 1);
    EXPECT_EQ(r.Element<uint64_t>(1), 0x00FF0F0100FF0F01u);
}

TEST(Memory, WritesNeedTheWriteModeEnabled) {
    rig::Rig r;
    r.Send({{tag::FBWriteMode, 0}, {tag::Color, 0xFFFFFFFF}});
    r.Rectangle(0, 0, 8, 8);
    r.Rectangle(0, 0, 8, 8, rig::kFastFill);
    EXPECT_EQ(r.Pixel(0, 0), 0u);
}

} // namespace
