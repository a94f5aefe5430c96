// What a probe is told of pixels, by hand-made primitives.
#include "board/values/probe.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

using board::PixelReport;
using board::PixelTest;
using board::PixelWay;

struct Cut {
    PixelTest test;
    int64_t y, left, right;
    bool operator==(const Cut&) const = default;
};

class KeptProbe final : public board::PixelProbe {
  public:
    void OnEnter(board::RegisterWrite write) override { entered.push_back(write.tag); }
    void OnExecute(board::RegisterWrite write) override { executed.push_back(write.tag); }
    void OnPrimitive(board::PrimitiveKind kind) override { primitives.push_back(kind); }
    void OnPixel(const PixelReport& pixel) override { pixels.push_back(pixel); }
    void OnCut(const board::CutPixels& run) override {
        cuts.push_back({run.test, run.y, run.left, run.right});
    }

    std::vector<uint32_t> entered, executed;
    std::vector<board::PrimitiveKind> primitives;
    std::vector<PixelReport> pixels;
    std::vector<Cut> cuts;
};

// A Permedia with 32-bit pixels, 64 a row, and 16-bit depths behind them.
class ProbeRig : public rig::Rig {
  public:
    static constexpr uint32_t kDepthBase = 100000; // elements of 16 bits

    ProbeRig() {
        Send({{tag::LBWindowBase, kDepthBase},
              {tag::LBReadMode, rig::kPitch64 | rig::kReadDest},
              {tag::LBWriteMode, 1}});
        board.SetProbe(&probe);
    }

    KeptProbe probe;
};

uint32_t Bits(std::initializer_list<PixelTest> tests) {
    uint32_t bits = 0;
    for (const PixelTest test : tests) {
        bits |= 1u << static_cast<int>(test);
    }
    return bits;
}

TEST(PixelProbe, FragmentTellsPlaceTestsAndWhatItLeaves) {
    ProbeRig r;
    r.SetPixel(5, 2, 0x11111111);
    r.SetElement<uint16_t>(ProbeRig::kDepthBase + 2 * 64 + 5, 500);
    constexpr uint32_t kLessWrites = 1 | 2 | 1 << 4;
    r.Send({{tag::DepthMode, kLessWrites}, {tag::ZStartU, 499}, {tag::Color, 0x12345678}});
    r.Rectangle(5, 2, 6, 3);
    ASSERT_EQ(r.probe.pixels.size(), 1u);
    const PixelReport& pixel = r.probe.pixels[0];
    EXPECT_EQ(pixel.way, PixelWay::Fragment);
    EXPECT_TRUE(pixel.placed);
    EXPECT_EQ(pixel.x, 5);
    EXPECT_EQ(pixel.y, 2);
    EXPECT_EQ(pixel.met, Bits({PixelTest::Scissor, PixelTest::Memory, PixelTest::Depth}));
    EXPECT_EQ(pixel.failed, 0u);
    EXPECT_TRUE(pixel.Passed());
    EXPECT_EQ(pixel.colour.place, (2 * 64 + 5) * 4);
    EXPECT_EQ(pixel.colour.bytes, 4u);
    EXPECT_FALSE(pixel.colour.local);
    EXPECT_EQ(pixel.colour.before, 0x11111111u);
    EXPECT_EQ(pixel.colour.after, 0x12345678u);
    EXPECT_TRUE(pixel.colour.written);
    EXPECT_EQ(pixel.depth.place, (ProbeRig::kDepthBase + 2 * 64 + 5) * 2);
    EXPECT_EQ(pixel.depth.bytes, 2u);
    EXPECT_EQ(pixel.depth.before, 500u);
    EXPECT_EQ(pixel.depth.after, 499u);
    EXPECT_TRUE(pixel.depth.written);
    EXPECT_EQ(pixel.fragmentDepth, 499u);
    EXPECT_EQ(pixel.storedDepth, 500u);
    EXPECT_EQ(pixel.depthCompare, board::Compare::Less);
    EXPECT_TRUE(pixel.shaded);
    EXPECT_EQ(pixel.fragment.red, 0x78);
    EXPECT_EQ(pixel.fragment.alpha, 0x12);
    EXPECT_EQ(r.Pixel(5, 2), 0x12345678u);
    ASSERT_EQ(r.probe.primitives.size(), 1u);
    EXPECT_EQ(r.probe.primitives[0], board::PrimitiveKind::Trapezoid);
}

TEST(PixelProbe, TheFirstTestThatFailsIsTheLastOneMet) {
    struct Case {
        std::vector<std::pair<uint32_t, uint32_t>> registers;
        uint32_t render;
        uint32_t met, failed;
    };
    constexpr uint32_t kNever = 0, kGreater = 4;
    const uint32_t inside = Bits({PixelTest::Scissor, PixelTest::Memory});
    const Case cases[] = {
        {{{tag::AreaStippleMode, 1}},
         rig::kAreaStipple,
         inside | Bits({PixelTest::Stipple}),
         Bits({PixelTest::Stipple})},
        {{{tag::AlphaTestMode, 1 | kNever << 1 | 0x55 << 4}, {tag::DepthMode, 1 | 7 << 4}},
         0,
         inside | Bits({PixelTest::Alpha}),
         Bits({PixelTest::Alpha})},
        {{{tag::AlphaTestMode, 1 | 7 << 1}, {tag::DepthMode, 1 | 2 | kGreater << 4}},
         0,
         inside | Bits({PixelTest::Alpha, PixelTest::Depth}),
         Bits({PixelTest::Depth})},
        {{{tag::StatisticMode, 1}, {tag::MinRegion, 0}, {tag::MaxRegion, 1 << 16 | 1}},
         0,
         inside | Bits({PixelTest::Pick}),
         Bits({PixelTest::Pick})},
    };
    for (const Case& c : cases) {
        ProbeRig r;
        r.SetPixel(3, 1, 7);
        for (const auto& [number, value] : c.registers) {
            r.Send(number, value);
        }
        r.Send(tag::Color, 9);
        r.Rectangle(3, 1, 4, 2, c.render);
        ASSERT_EQ(r.probe.pixels.size(), 1u);
        const PixelReport& pixel = r.probe.pixels[0];
        EXPECT_EQ(pixel.met, c.met);
        EXPECT_EQ(pixel.failed, c.failed);
        const bool drawn = c.failed == Bits({PixelTest::Pick});
        EXPECT_EQ(pixel.Passed(), drawn);
        EXPECT_EQ(pixel.colour.written, drawn);
        EXPECT_EQ(pixel.colour.before, 7u);
        EXPECT_EQ(pixel.colour.after, drawn ? 9u : 7u);
        EXPECT_FALSE(pixel.depth.written);
    }
}

TEST(PixelProbe, ScissorAndMemoryCutRunsOfPixels) {
    ProbeRig r;
    r.Send({{tag::ScissorMode, 1}, {tag::ScissorMinXY, 1u << 16 | 10}});
    r.Send(tag::ScissorMaxXY, 3u << 16 | 20);
    r.Rectangle(8, 0, 23, 3);
    const std::vector<Cut> cuts = {{PixelTest::Scissor, 0, 8, 23},
                                   {PixelTest::Scissor, 1, 8, 10},
                                   {PixelTest::Scissor, 1, 20, 23},
                                   {PixelTest::Scissor, 2, 8, 10},
                                   {PixelTest::Scissor, 2, 20, 23}};
    EXPECT_EQ(r.probe.cuts, cuts);
    EXPECT_EQ(r.probe.pixels.size(), 20u);

    r.probe = {};
    r.Send(tag::ScissorMode, 0);
    r.Rectangle(-5, 0, 2, 1); // the memory begins at pixel (0, 0)
    EXPECT_EQ(r.probe.cuts, (std::vector<Cut>{{PixelTest::Memory, 0, -5, 0}}));
    EXPECT_EQ(r.probe.pixels.size(), 2u);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 5u);
}

TEST(PixelProbe, FillsCopiesAndWordsFromTheHostAreTold) {
    ProbeRig r;
    r.Send(tag::FBBlockColor, 0xABCDABCD);
    r.Rectangle(0, 0, 2, 1, rig::kFastFill);
    ASSERT_EQ(r.probe.pixels.size(), 2u);
    EXPECT_EQ(r.probe.pixels[1].way, PixelWay::Fill);
    EXPECT_EQ(r.probe.pixels[1].colour.place, 4);
    EXPECT_EQ(r.probe.pixels[1].colour.after, 0xABCDABCDu);

    // One row down, from the pixels just filled.
    r.probe = {};
    r.Send({{tag::FBReadMode, rig::kPitch64 | rig::kReadSource},
            {tag::FBWriteConfig, rig::kPitch64},
            {tag::FBSourceOffset, 0u - 64}});
    r.Rectangle(1, 1, 2, 2);
    ASSERT_EQ(r.probe.pixels.size(), 1u);
    EXPECT_EQ(r.probe.pixels[0].way, PixelWay::Copy);
    EXPECT_EQ(r.probe.pixels[0].source, 4);
    EXPECT_EQ(r.probe.pixels[0].colour.after, 0xABCDABCDu);
    EXPECT_EQ(r.probe.pixels[0].met,
              Bits({PixelTest::Scissor, PixelTest::Memory, PixelTest::Source}));

    // A word of a packed download: two pixels of 16 bits, of which the first is outside.
    r.probe = {};
    constexpr uint32_t kHostData = 1 << 12;
    r.Send({{tag::FBReadPixel, rig::k16Bits},
            {tag::FBReadMode, rig::kPitch64 | rig::kPacked},
            {tag::PackedDataLimits, 1u << 16 | 2}});
    r.Rectangle(0, 2, 1, 3, kHostData);
    r.Send(tag::Color, 0x22221111);
    ASSERT_EQ(r.probe.pixels.size(), 2u);
    EXPECT_EQ(r.probe.pixels[0].way, PixelWay::Download);
    EXPECT_TRUE(r.probe.pixels[0].Failed(PixelTest::Limits));
    EXPECT_EQ(r.probe.pixels[1].x, 1);
    EXPECT_EQ(r.probe.pixels[1].colour.place, (2 * 64 + 1) * 2);
    EXPECT_EQ(r.probe.pixels[1].colour.after, 0x2222u);

    r.probe = {};
    r.Send({{tag::TextureDownloadOffset, 1000}, {tag::TextureData, 77}});
    ASSERT_EQ(r.probe.pixels.size(), 1u);
    EXPECT_EQ(r.probe.pixels[0].way, PixelWay::TextureData);
    EXPECT_FALSE(r.probe.pixels[0].placed);
    EXPECT_EQ(r.probe.pixels[0].colour.place, 4000);
    EXPECT_EQ(r.probe.pixels[0].colour.after, 77u);
}

TEST(PixelProbe, PackedCopiesTellWhatEachWordHasOfAPixel) {
    ProbeRig r;
    // Pixels of 24 bits: four of them in three words. The first row goes to the second.
    for (uint32_t i = 0; i < 12; ++i) {
        r.SetElement<uint8_t>(i, static_cast<uint8_t>(i + 1));
    }
    r.Send({{tag::FBReadPixel, rig::k24Bits},
            {tag::FBReadMode, rig::kPitch64 | rig::kReadSource | rig::kPacked},
            {tag::FBSourceOffset, 0u - 64},
            {tag::PackedDataLimits, 0u << 16 | 4}});
    r.Rectangle(0, 1, 3, 2);
    // Word 0 has pixel 0 and a byte of pixel 1, and so on.
    struct Part {
        int64_t x, place;
        uint32_t bytes, after;
    };
    const Part parts[] = {{0, 192, 3, 0x030201}, {1, 195, 1, 0x04}, {1, 196, 2, 0x0605},
                          {2, 198, 2, 0x0807},   {2, 200, 1, 0x09}, {3, 201, 3, 0x0C0B0A}};
    ASSERT_EQ(r.probe.pixels.size(), std::size(parts));
    for (size_t i = 0; i < std::size(parts); ++i) {
        const PixelReport& pixel = r.probe.pixels[i];
        EXPECT_EQ(pixel.way, PixelWay::PackedCopy);
        EXPECT_EQ(pixel.x, parts[i].x);
        EXPECT_EQ(pixel.colour.place, parts[i].place);
        EXPECT_EQ(pixel.colour.bytes, parts[i].bytes);
        EXPECT_EQ(pixel.colour.after, parts[i].after);
        EXPECT_EQ(pixel.source, parts[i].place - 192);
        EXPECT_EQ(pixel.rest, i == 2 || i == 4);
    }
}

// Words 1 and 2 of a row that the scissor leaves out.
TEST(PixelProbe, PackedRowsThatAreCutAreToldInPixels) {
    const std::pair<uint32_t, Cut> cases[] = {{rig::k8Bits, {PixelTest::Scissor, 1, 4, 12}},
                                              {rig::k16Bits, {PixelTest::Scissor, 1, 2, 6}},
                                              {rig::k24Bits, {PixelTest::Scissor, 1, 1, 4}}};
    for (const auto& [size, cut] : cases) {
        ProbeRig r;
        r.Send({{tag::FBReadPixel, size},
                {tag::FBReadMode, rig::kPitch64 | rig::kReadSource | rig::kPacked},
                {tag::PackedDataLimits, 64},
                {tag::ScissorMode, 1},
                {tag::ScissorMinXY, 0},
                {tag::ScissorMaxXY, 1u << 16 | 64}});
        r.Rectangle(1, 1, 3, 2);
        EXPECT_EQ(r.probe.cuts, std::vector<Cut>{cut}) << size;
    }
}

// Rows that a probe wants nothing of are drawn all the same.
TEST(PixelProbe, IsNotToldOfRowsThatItDoesNotWant) {
    class Picky final : public board::PixelProbe {
      public:
        bool Wants(const board::PixelRow& row) override { return row.y == 3; }
        void OnPixel(const PixelReport& pixel) override { told += pixel.y == 3 ? 1 : 1000; }
        int told = 0;
    };
    ProbeRig r;
    Picky probe;
    r.board.SetProbe(&probe);
    r.Send(tag::Color, 0x55);
    r.Rectangle(2, 1, 6, 5);
    EXPECT_EQ(probe.told, 4);
    for (int y = 0; y < 6; ++y) {
        EXPECT_EQ(r.Pixel(3, y), y >= 1 && y < 5 ? 0x55u : 0u);
    }
}

// Rows that a probe skips are not drawn, and the primitive goes on below them.
TEST(PixelProbe, KeepsRowsFromBeingDrawn) {
    class Sparing final : public board::PixelProbe {
      public:
        bool Skips(const board::PixelRow& row) override { return row.y == 3; }
        void OnPixel(const PixelReport& pixel) override { told += pixel.y == 3 ? 1000 : 1; }
        int told = 0;
    };
    ProbeRig r;
    Sparing probe;
    r.board.SetProbe(&probe);
    r.Send(tag::Color, 0x55);
    r.Rectangle(2, 1, 6, 5);
    EXPECT_EQ(probe.told, 12);
    for (int y = 0; y < 6; ++y) {
        EXPECT_EQ(r.Pixel(3, y), y >= 1 && y < 5 && y != 3 ? 0x55u : 0u);
    }
}

TEST(PixelProbe, UpdatesOfTheLocalBufferAreDepths) {
    rig::Rig r(rig::SmallConfig(board::Chip::TX));
    KeptProbe probe;
    r.Send({{tag::PixelSize, 0}, {tag::FBReadMode, rig::kPitch64}});
    r.Send({{tag::LBReadMode, rig::kPitch64}, {tag::LBWriteMode, 1}, {tag::Depth, 0x1234}});
    r.Send({{tag::DepthMode, 2u << 2}, {tag::Window, 1 << 3 | 1 << 4}});
    r.board.SetProbe(&probe);
    r.Rectangle(3, 1, 4, 2);
    ASSERT_FALSE(probe.pixels.empty());
    const PixelReport& pixel = probe.pixels[0];
    EXPECT_EQ(pixel.way, PixelWay::LocalFill);
    EXPECT_EQ(pixel.colour.bytes, 0u);
    EXPECT_TRUE(pixel.depth.local);
    EXPECT_EQ(pixel.depth.place, (64 + 3) * 4);
    EXPECT_EQ(pixel.depth.after, 0x1234u);
}

TEST(PixelProbe, WritesAreToldAsTheyComeAndAsTheyAreCarriedOut) {
    board::Config config = rig::SmallConfig();
    config.timing.fifoDepth = 8;
    config.timing.fifoDrainPerTick = 1;
    config.timing.microsecondsPerTick = 1;
    board::Board board(config);
    KeptProbe probe;
    board.SetProbe(&probe);
    // An entry a tick leaves, one or none a word comes: the last one still waits.
    const uint32_t words[] = {tag::Color, 1, tag::ConstantColor, 2};
    board.WriteFifo(words, 4);
    EXPECT_EQ(probe.entered, (std::vector<uint32_t>{tag::Color, tag::ConstantColor}));
    EXPECT_EQ(probe.executed, (std::vector<uint32_t>{tag::Color}));
    board.Idle(4);
    EXPECT_EQ(probe.executed, probe.entered);
}

TEST(PixelProbe, WritesThatAreCarriedOutAtOnceAreToldTwiceInARow) {
    ProbeRig r;
    r.Send({{tag::Color, 1}, {tag::ConstantColor, 2}});
    EXPECT_EQ(r.probe.entered, (std::vector<uint32_t>{tag::Color, tag::ConstantColor}));
    EXPECT_EQ(r.probe.executed, r.probe.entered);
}

TEST(PixelProbe, PixelsOfLinesAreDrawnAndTold) {
    ProbeRig r;
    r.Send({{tag::ColorDDAMode, 1},
            {tag::ConstantColor, 9},
            {tag::StartXDom, 10u << 16},
            {tag::dXDom, 0x10000},
            {tag::StartY, 5u << 16},
            {tag::dY, 0},
            {tag::Count, 3},
            {tag::Render, 0}});
    ASSERT_EQ(r.probe.pixels.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(r.probe.pixels[static_cast<size_t>(i)].x, 10 + i);
        EXPECT_EQ(r.Pixel(10 + i, 5), 9u);
    }
    EXPECT_EQ(r.Pixel(13, 5), 0u);
}

TEST(PixelProbe, ACopyThatTheChipCannotDoWritesNoColour) {
    // Without a texture unit nothing reads texels of the frame buffer.
    rig::Rig r(rig::SmallConfig(board::Chip::SX));
    KeptProbe probe;
    r.Send(
        {{tag::FBReadMode, rig::kPitch64 | rig::kReadSource | field::FBReadMode_ReadTexels.Mask()},
         {tag::FBWriteMode, 1},
         {tag::FBSourceOffset, 640}});
    r.board.SetProbe(&probe);
    r.Rectangle(0, 0, 8, 4);
    EXPECT_NE(r.board.FaultReport().Describe().find("texture unit"), std::string::npos);
    ASSERT_EQ(probe.pixels.size(), 32u);
    for (const PixelReport& pixel : probe.pixels) {
        EXPECT_FALSE(pixel.colour.written);
    }
    r.board.SetProbe(nullptr);
}

} // namespace
