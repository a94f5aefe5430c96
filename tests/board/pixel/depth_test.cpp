#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

using rig::kReadDest;

constexpr uint32_t kDepthBase = 100000; // elements of 16 bits: behind the pixels

// Depth values in the frame buffer, 16 bits wide, 64 elements a row.
class DepthRig : public rig::Rig {
  public:
    DepthRig() {
        Send({{tag::LBWindowBase, kDepthBase},
              {tag::LBReadMode, rig::kPitch64 | kReadDest},
              {tag::LBWriteMode, 1},
              {tag::Color, 1}});
    }
    void Mode(uint32_t compare, bool writes = true) {
        Send(tag::DepthMode, 1u | (writes ? 2u : 0u) | compare << 4);
    }
    void FragmentDepth(int32_t integer, uint32_t fraction = 0) {
        Send({{tag::ZStartU, static_cast<uint32_t>(integer)}, {tag::ZStartL, fraction << 16}});
    }
    uint16_t Depth(uint32_t x, uint32_t y) { return Element<uint16_t>(kDepthBase + y * 64 + x); }
    void SetDepth(uint32_t x, uint32_t y, uint16_t value) {
        SetElement<uint16_t>(kDepthBase + y * 64 + x, value);
    }
};

TEST(Depth, EachCompareCodeTestsNewAgainstStored) {
    const bool passes[8][3] = {
        // new less, equal, greater
        {false, false, false}, {true, false, false}, {false, true, false}, {true, true, false},
        {false, false, true},  {true, false, true},  {false, true, true},  {true, true, true},
    };
    for (uint32_t compare = 0; compare < 8; ++compare) {
        DepthRig r;
        r.Mode(compare);
        for (uint32_t x = 0; x < 3; ++x) {
            r.SetDepth(x, 0, 500);
            r.FragmentDepth(499 + static_cast<int32_t>(x));
            r.Rectangle(static_cast<int>(x), 0, static_cast<int>(x) + 1, 1);
            EXPECT_EQ(r.Pixel(static_cast<int>(x), 0), passes[compare][x] ? 1u : 0u);
            EXPECT_EQ(r.Depth(x, 0), passes[compare][x] ? 499 + x : 500) << compare << ' ' << x;
        }
    }
}

TEST(Depth, WidthsThatTheBoardHasNotAreTold) {
    for (const uint32_t code : {0u, 1u, 2u, 3u}) {
        DepthRig r;
        r.Send(tag::LBReadFormat, code);
        r.Mode(7);
        r.Rectangle(0, 0, 1, 1);
        const auto told = r.board.FaultReport().unmodelled;
        EXPECT_EQ(told.contains("depth width code " + std::to_string(code)), code % 2 == 1);
    }
}

TEST(Depth, StoredValueIsWrittenOnlyWhenAllEnablesAllow) {
    constexpr uint32_t kDisableUpdate = 1u << 18;
    struct Case {
        bool unitWrites;
        uint32_t writeMode, window;
        bool written;
    };
    for (const Case& c : {Case{true, 1, 0, true}, Case{false, 1, 0, false}, Case{true, 0, 0, false},
                          Case{true, 1, kDisableUpdate, false}}) {
        DepthRig r;
        r.Mode(7, c.unitWrites);
        r.Send({{tag::LBWriteMode, c.writeMode}, {tag::Window, c.window}});
        r.FragmentDepth(77);
        r.Rectangle(0, 0, 1, 1);
        EXPECT_EQ(r.Depth(0, 0), c.written ? 77 : 0);
        EXPECT_EQ(r.Pixel(0, 0), 1u);
    }
}

TEST(Depth, ValuesOutsideTheMemoryAreCountedPrimitiveByPrimitive) {
    DepthRig r;
    r.Mode(7);
    r.Send(tag::LBWindowBase, static_cast<uint32_t>(r.board.FrameBuffer().size() / 2 - 1));
    r.Rectangle(0, 0, 4, 1); // the last three
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 3u);
    r.Rectangle(0, 0, 3, 1);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 5u);
}

TEST(Depth, WithoutReadingTheStoredValueCountsAsZero) {
    DepthRig r;
    r.Send(tag::LBReadMode, rig::kPitch64);
    r.SetDepth(0, 0, 500);
    r.Mode(4);
    r.FragmentDepth(1);
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Pixel(0, 0), 1u);
    EXPECT_EQ(r.Depth(0, 0), 1);
}

TEST(Depth, ValuesAreCutAndHeldInsideTheFormat) {
    DepthRig r;
    r.Mode(7);
    // 65533.75, then a step of one and a quarter a pixel; then from -1.5 up.
    r.FragmentDepth(65533, 0xC000);
    r.Send({{tag::dZdxU, 1}, {tag::dZdxL, 0x40000000}});
    r.Rectangle(0, 0, 4, 1);
    EXPECT_EQ(r.Depth(0, 0), 65533);
    EXPECT_EQ(r.Depth(1, 0), 65535);
    EXPECT_EQ(r.Depth(2, 0), 65535);
    EXPECT_EQ(r.Depth(3, 0), 65535);
    r.FragmentDepth(-2, 0x8000);
    r.Rectangle(0, 1, 4, 2);
    EXPECT_EQ(r.Depth(0, 1), 0);
    EXPECT_EQ(r.Depth(1, 1), 0);
    EXPECT_EQ(r.Depth(2, 1), 1);
    EXPECT_EQ(r.Depth(3, 1), 2);
}

TEST(Depth, SlopesRunAlongTheEdgeAndAcrossTheSpan) {
    DepthRig r;
    r.Mode(7);
    r.FragmentDepth(1000);
    r.Send({{tag::dZdxU, 0xFFFFFFFF},
            {tag::dZdxL, 0x80000000}, // -0.5
            {tag::dZdyDomU, 10},
            {tag::dZdyDomL, 0}});
    r.Rectangle(2, 1, 12, 5, rig::kSubPixel);
    for (int y = 1; y < 5; ++y) {
        for (int x = 2; x < 12; ++x) {
            const double value = 1000 + 10 * (y - 1) - 0.5 * (x + 0.5 - 2);
            ASSERT_EQ(r.Depth(static_cast<uint32_t>(x), static_cast<uint32_t>(y)),
                      static_cast<int>(value));
        }
    }
}

TEST(Depth, PatchedBufferIsReadBackAsItWasWritten) {
    DepthRig r;
    r.Send(tag::LBReadMode, rig::kPitch64 | kReadDest | 1u << 19);
    r.Mode(7);
    r.FragmentDepth(300);
    r.Send({{tag::dZdxU, 1}, {tag::dZdyDomU, 64}});
    r.Rectangle(0, 0, 32, 16);
    r.Mode(2); // equal
    r.Send(tag::Color, 2);
    r.Rectangle(0, 0, 32, 16);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 32; ++x) {
            ASSERT_EQ(r.Pixel(x, y), 2u);
        }
    }
}

TEST(Depth, GlintKeepsDepthInTheLocalBuffer) {
    constexpr uint32_t kDisableUpdate = 1u << 18;
    for (const auto& [widthCode, bytes] : {std::pair{2u, 4u}, {0u, 2u}}) {
        rig::Rig r(rig::SmallConfig(board::Chip::TX));
        r.Send({{tag::FBReadMode, rig::kPitch64},
                {tag::FBWriteMode, 1},
                {tag::LBReadFormat, widthCode},
                {tag::LBWriteFormat, widthCode},
                {tag::LBReadMode, rig::kPitch32 | kReadDest},
                {tag::LBWriteMode, 1},
                {tag::LBWindowBase, 10},
                {tag::Window, kDisableUpdate}, // of no effect on this family
                {tag::DepthMode, 3 | 7 << 4},
                {tag::ZStartU, 0x12345}});
        r.Rectangle(3, 2, 4, 3);
        uint32_t value = 0;
        std::memcpy(&value, r.board.LocalBuffer().data() + (10 + 2 * 32 + 3) * bytes, bytes);
        EXPECT_EQ(value, bytes == 4 ? 0x12345u : 0xFFFFu);
        EXPECT_FALSE(r.board.FaultReport().Any());
    }
}

TEST(Depth, ThirtyTwoBitDepthHoldsTheWholeUnsignedRange) {
    rig::Rig r(rig::SmallConfig(board::Chip::MX));
    r.Send({{tag::FBReadMode, rig::kPitch64},
            {tag::LBReadFormat, 2},
            {tag::LBReadMode, rig::kPitch64},
            {tag::LBWriteMode, 1},
            {tag::DepthMode, 3 | 7 << 4},
            {tag::ZStartU, 0x7FFFFFFF},
            {tag::dZdxU, 0x60000000}});
    r.Rectangle(0, 0, 4, 1);
    const uint32_t expected[] = {0x7FFFFFFF, 0xDFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
    EXPECT_EQ(std::memcmp(r.board.LocalBuffer().data(), expected, sizeof expected), 0);
}

TEST(Depth, AccessesOutsideTheBufferAreCounted) {
    DepthRig r;
    r.Mode(7);
    r.Send(tag::LBWindowBase, (1u << 19) - 2);
    r.Rectangle(0, 0, 8, 1);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 6u);
}

TEST(AlphaTest, DropsFragmentsBeforeTheDepthTest) {
    const bool passes[8][3] = {
        {false, false, false}, {true, false, false}, {false, true, false}, {true, true, false},
        {false, false, true},  {true, false, true},  {false, true, true},  {true, true, true},
    };
    for (uint32_t compare = 0; compare < 8; ++compare) {
        DepthRig r;
        r.Mode(7);
        r.FragmentDepth(9);
        r.Send(tag::AlphaTestMode, 1 | compare << 1 | 100u << 4);
        for (int x = 0; x < 3; ++x) {
            r.Send(tag::Color, static_cast<uint32_t>(99 + x) << 24 | 1);
            r.Rectangle(x, 0, x + 1, 1);
            EXPECT_EQ(r.Pixel(x, 0) & 1, passes[compare][x] ? 1u : 0u);
            EXPECT_EQ(r.Depth(static_cast<uint32_t>(x), 0), passes[compare][x] ? 9 : 0);
        }
    }
}

} // namespace
