#include "driver/texture/pmdownld.h"
#include "tests/driver/texture/download_support.h"
#include "tests/support/tag_names.h"

using namespace test;

namespace {

constexpr RECTL kNoRect = {0, 0, 0, 0};

Bytes Halves(const std::vector<uint16_t>& pixels) {
    Bytes bytes;
    for (uint16_t pixel : pixels) {
        bytes.push_back(static_cast<uint8_t>(pixel));
        bytes.push_back(static_cast<uint8_t>(pixel >> 8));
    }
    return bytes;
}

// The data words of a load of `pixels` in one line.
Words ColoursOf16Bit(uint32_t redMask, const std::vector<uint16_t>& pixels) {
    Loading load(DevicePermedia);
    const auto count = static_cast<LONG>(pixels.size());
    load.SetDest(PixelSize16, 64, 0).RedMask = redMask;
    load.SetSource(Halves(pixels), 2 * count);
    load.Run(PermediaPatchedTextureDownload, {0, 0, count, 1});
    const Words sent = load.Sent();
    const Words data = Runs(t::Color, Words(pixels.size()));
    constexpr size_t kTail = 6;
    Words colours;
    for (size_t i = sent.size() - kTail - data.size(), n = 0; i != sent.size() - kTail; ++i, ++n) {
        if (n % 65 != 0) { // past the tag words
            colours.push_back(sent[i]);
        }
    }
    return colours;
}

// Begins a load of two columns.
Words TwoColumns(uint32_t readPixel, uint32_t dither, uint32_t readMode, uint32_t windowBase,
                 uint32_t rows) {
    return Pairs({{t::FBReadPixel, readPixel},
                  {t::DitherMode, dither},
                  {t::TextureColorMode, 0},
                  {t::LogicalOpMode, 0},
                  {t::FBReadMode, readMode},
                  {t::FBPixelOffset, 0},
                  {t::FBWindowBase, windowBase},
                  {t::StartXDom, 0},
                  {t::StartXSub, 0x20000},
                  {t::StartY, 0},
                  {t::dY, 0x10000},
                  {t::Count, rows},
                  {t::Render, 0x1040}});
}

// The screen's depth is put back.
Words AtTheEnd(uint32_t readPixel) {
    return Pairs({{t::DitherMode, 0}, {t::FBReadPixel, readPixel}, {t::WaitForCompletion, 0}});
}

TEST(PatchedDownload, EightBitPixelsGoLineByLineInEveryColourByte) {
    Loading load(DevicePermedia, 32);
    load.SetDest(PixelSize8, 64, 0x4321);
    load.SetSource({0x01, 0x80, 0xFF, 0x99, 0x10, 0x00, 0x7F, 0x99}, 4);
    load.Run(PermediaPatchedTextureDownload, {0, 0, 3, 2});
    const Words want =
        Pairs({{t::FBReadPixel, 0},
               {t::TextureColorMode, 0},
               {t::LogicalOpMode, 0},
               {t::FBReadMode, 0x123},
               {t::FBPixelOffset, 0},
               {t::FBWindowBase, 0x4321},
               {t::StartXDom, 0},
               {t::StartXSub, 3 << 16},
               {t::StartY, 0},
               {t::dY, 0x10000},
               {t::Count, 2},
               {t::Render, 0x1040}}) +
        Words{0x200FE, 0x010101, 0x808080, 0xFFFFFF, 0x200FE, 0x101010, 0x000000, 0x7F7F7F} +
        Pairs({{t::FBReadPixel, 2}, {t::WaitForCompletion, 0}});
    EXPECT_EQ(load.Sent(), want);
}

TEST(PatchedDownload, SixteenBitPixelsAreDitheredToTheSurfacesFormat) {
    Loading load(DevicePermedia, 32);
    PrivateSurfaceData& record = load.SetDest(PixelSize16, 64, 0x4000);
    record.Format = 0;
    record.FormatExtension = 1;
    record.RedMask = 0xF800;
    load.SetSource(Halves({0xF800, 0x07E0, 0x001F, 0x0821}), 4);
    load.Run(PermediaPatchedTextureDownload, {0, 0, 2, 2});
    const Words want = TwoColumns(1, 0x10001, 0x123, 0x2000, 2) +
                       Words{0x300FE, 0xF80000, 0x00FC00, 0x0000F8, 0x080408} + AtTheEnd(2);
    EXPECT_EQ(load.Sent(), want);
}

TEST(PatchedDownload, EachBitOfASixteenBitPixelHasItsPlace) {
    std::vector<uint16_t> single;
    for (uint32_t bit = 0; bit != 16; ++bit) {
        single.push_back(static_cast<uint16_t>(1u << bit));
    }
    const auto bits = [](const std::vector<uint32_t>& places) {
        Words words;
        for (uint32_t place : places) {
            words.push_back(1u << place);
        }
        return words;
    };
    EXPECT_EQ(ColoursOf16Bit(0x7C00, single),
              bits({3, 4, 5, 6, 7, 11, 12, 13, 14, 15, 19, 20, 21, 22, 23, 31}));
    EXPECT_EQ(ColoursOf16Bit(0xF00, single),
              bits({4, 5, 6, 7, 12, 13, 14, 15, 20, 21, 22, 23, 28, 29, 30, 31}));
    EXPECT_EQ(ColoursOf16Bit(0xF800, single),
              bits({3, 4, 5, 6, 7, 10, 11, 12, 13, 14, 15, 19, 20, 21, 22, 23}));
    EXPECT_EQ(ColoursOf16Bit(0, {0xFFFF}), Words{0x00F8FCF8});
    EXPECT_EQ(ColoursOf16Bit(0x7C00, {0xFFFF}), Words{0x80F8F8F8});
    EXPECT_EQ(ColoursOf16Bit(0xF00, {0xFFFF}), Words{0xF0F0F0F0});
}

TEST(PatchedDownload, ThirtyTwoBitPixelsGoAsTheyStand) {
    Loading load(DevicePermedia2, 8);
    load.SetDest(PixelSize32, 64, 0x4000);
    load.SetSource({1, 2, 3, 4, 5, 6, 7, 8}, 8);
    load.Run(PermediaPatchedTextureDownload, {0, 0, 2, 1});
    const Words want =
        TwoColumns(2, 1, 0x123, 0x1000, 1) + Words{0x100FE, 0x04030201, 0x08070605} + AtTheEnd(0);
    EXPECT_EQ(load.Sent(), want);
}

TEST(PatchedDownload, TwentyFourBitSurfacesTakeWordsAtAThirdOfTheOffset) {
    Loading load(DevicePermedia2, 24);
    PrivateSurfaceData& record = load.SetDest(PixelSize24, 96, 3 * 0x1000 + 2);
    record.Format = 4;
    record.FormatExtension = 1;
    load.SetSource(Pattern(16), 6);
    load.Run(PermediaPatchedTextureDownload, {0, 0, 2, 2});
    const Words want = TwoColumns(4, 0x10011, 0x123, 0x1000, 2) +
                       Runs(t::Color, WordsAt(Pattern(16), 0, 4)) + AtTheEnd(4);
    EXPECT_EQ(load.Sent(), want);
}

TEST(PatchedDownload, AFourBitSurfaceIsDrawnAsAnEightBitOneOfHalfTheWidth) {
    // A pitch of 576 bytes is 512 + 64: codes 5 and 2 in ascending order of their bits.
    for (bool patched : {false, true}) {
        Loading load(DevicePermedia2, 16);
        PrivateSurfaceData& record = load.SetDest(PixelSize4, 576, 0x4003);
        record.Format = 15;
        record.Flags |= patched ? SURFACE_PATCHED : 0u;
        load.SetSource({0x21, 0x43, 0x99, 0xBA, 0xDC, 0x99}, 3);
        load.Run(PermediaPatchedTextureDownload, {0, 0, 4, 2});
        const uint32_t code = (5u << 3 | 2u) | (patched ? 0x4040000u : 0u);
        const Words want = TwoColumns(0, 0, code, 0x4003, 2) +
                           Words{0x100FE, 0x21, 0x43, 0x100FE, 0xBA, 0xDC} + AtTheEnd(1);
        EXPECT_EQ(load.Sent(), want);
    }
}

TEST(PatchedDownload, PatchedSurfacesGetThePatchedReadModeAndAreMarked) {
    for (uint32_t flags : {0u, uint32_t{SURFACE_PATCHED}, uint32_t{SURFACE_PATCHED_NOW}}) {
        Loading load(DevicePermedia);
        PrivateSurfaceData& record = load.SetDest(PixelSize16, 64, 0);
        record.Flags |= flags;
        load.SetSource(Pattern(4), 2);
        load.Run(PermediaPatchedTextureDownload, {0, 0, 1, 1});
        const bool patched = flags == SURFACE_PATCHED;
        EXPECT_EQ((record.Flags & SURFACE_PATCHED_NOW) != 0, patched);
        const Words sent = load.Sent();
        EXPECT_EQ(sent[8], 0x150u);
        EXPECT_EQ(sent[9], patched ? 0x2040123u : 0x123u);
    }
}

TEST(PatchedDownload, OnlyTheSizeOfTheDestinationRectangleCounts) {
    Loading at(DevicePermedia), moved(DevicePermedia);
    for (Loading* load : {&at, &moved}) {
        load->SetDest(PixelSize8, 64, 0x100);
        load->SetSource(Pattern(64), 8);
    }
    at.Run(PermediaPatchedTextureDownload, kNoRect, {0, 0, 5, 3});
    moved.Run(PermediaPatchedTextureDownload, {7, 9, 8, 10}, {20, 30, 25, 33});
    EXPECT_EQ(at.Sent(), moved.Sent());
    EXPECT_EQ(at.Sent().size(), 24u + 3 * 6 + 4);
}

TEST(PatchedDownload, ALineOf130WordsGoesAsRunsOf64And64And2) {
    Loading load(DevicePermedia);
    load.SetDest(PixelSize8, 256, 0);
    load.SetSource(Pattern(2 * 130), 130);
    load.Run(PermediaPatchedTextureDownload, {0, 0, 130, 2});
    const Words sent = load.Sent();
    ASSERT_EQ(sent.size(), 24u + 2 * 133 + 4);
    for (size_t line : {0u, 1u}) {
        const size_t at = 24 + line * 133;
        EXPECT_EQ(sent[at], 0x003F00FEu);
        EXPECT_EQ(sent[at + 65], 0x003F00FEu);
        EXPECT_EQ(sent[at + 130], 0x000100FEu);
        EXPECT_EQ(sent[at + 132], Pattern(260)[line * 130 + 129] * 0x010101u);
    }
}

TEST(PatchedDownload, ASixteenBitSourceIsReadAsContiguousWhateverItsPitch) {
    Loading tight(DevicePermedia), wide(DevicePermedia);
    tight.SetSource(Pattern(3 * 4 * 2), 6);
    wide.SetSource(Pattern(3 * 4 * 2), 100);
    for (Loading* load : {&tight, &wide}) {
        load->SetDest(PixelSize16, 64, 0);
        load->Run(PermediaPatchedTextureDownload, {0, 0, 3, 4});
    }
    EXPECT_EQ(tight.Sent(), wide.Sent());
    const Bytes bytes = Pattern(24);
    const uint32_t last = bytes[22] | bytes[23] << 8;
    EXPECT_EQ(tight.Sent()[26 + 12],
              (last & 0x1F) << 3 | (last & 0x7E0) << 5 | (last & 0xF800) << 8);
}

TEST(PatchedDownload, AnEightBitSourceStepsByItsPitch) {
    Loading load(DevicePermedia);
    load.SetDest(PixelSize8, 64, 0);
    load.SetSource(Pattern(300), 100);
    load.Run(PermediaPatchedTextureDownload, {0, 0, 1, 3});
    const Words sent = load.Sent();
    const Bytes bytes = Pattern(300);
    EXPECT_EQ(sent[25], bytes[0] * 0x010101u);
    EXPECT_EQ(sent[27], bytes[100] * 0x010101u);
    EXPECT_EQ(sent[29], bytes[200] * 0x010101u);
}

TEST(PatchedDownload, DisconnectStandsInForWaits) {
    for (uint32_t delta : {0u, uint32_t{DeltaPresent}}) {
        Loading load(DevicePermedia);
        load.rig.chip->Flags = delta;
        load.SetDest(PixelSize16, 64, 0);
        load.SetSource(Pattern(64 * 64 * 2), 128);
        load.Run(PermediaPatchedTextureDownload, {0, 0, 64, 64});
        load.ExpectBracket(delta != 0 ? 0x868 : 0x68);
    }
}

TEST(PatchedDownload, TheFirstWordWaitsForOneFreeEntry) {
    Loading load(DevicePermedia);
    int asked = 0;
    load.rig.bus->readFIFOSpace = [&] { return ++asked < 4 ? 0u : 1u; };
    load.SetDest(PixelSize16, 64, 0);
    load.SetSource(Pattern(2), 2);
    load.Run(PermediaPatchedTextureDownload, {0, 0, 1, 1});
    EXPECT_EQ(asked, 4);
    EXPECT_EQ(load.rig.bus->events[4], (BusEvent{'w', t::DisconnectControl, 1}));
}

// The pairs behind the data are not reserved, so a load may end past the window of 1000 words: 24
// words, a run of 9, 4 behind it.
TEST(PatchedDownload, ReservesNothingBehindTheLastRun) {
    for (const auto& [start, end] : {std::pair{900u, 937u}, {966u, 1003u}, {967u, 13u}}) {
        Loading load(DevicePermedia);
        load.SetDest(PixelSize8, 64, 0);
        load.SetSource(Pattern(8), 8);
        load.rig.driver->Stream.WritePointer += start;
        load.Run(PermediaPatchedTextureDownload, {0, 0, 8, 1});
        EXPECT_EQ(load.rig.driver->Stream.WordsWritten(), end);
    }
}

TEST(PatchedDownload, SendsTheSameWordsWhereverInTheWindowItStarts) {
    for (uint32_t words = 950; words != 980; ++words) {
        Loading load(DevicePermedia);
        load.SetDest(PixelSize8, 64, 0);
        load.SetSource(Pattern(8), 8);
        load.rig.driver->Stream.WritePointer += words;
        load.Run(PermediaPatchedTextureDownload, {0, 0, 8, 1});
        Words want;
        for (uint8_t byte : Pattern(8)) {
            want.push_back(byte * 0x010101u);
        }
        want = Runs(t::Color, want) + Words{t::FBReadPixel, 1, t::WaitForCompletion, 0};
        const Words sent = load.Sent();
        EXPECT_EQ(sent.size(), 24 + want.size());
        EXPECT_EQ(Words(sent.begin() + 24, sent.end()), want);
    }
}

TEST(PatchedDownload, EverySixteenBitPixelIsConvertedInALoadOf65536) {
    // Fields of a pixel from the lowest up: width in bits, and the top of the byte that they go to.
    struct Field {
        uint32_t width, top;
    };
    const struct {
        uint32_t redMask;
        std::vector<Field> fields;
    } formats[] = {{0x7C00, {{5, 8}, {5, 16}, {5, 24}, {1, 32}}},
                   {0xF00, {{4, 8}, {4, 16}, {4, 24}, {4, 32}}},
                   {0xF800, {{5, 8}, {6, 16}, {5, 24}}}};
    std::vector<uint16_t> pixels;
    for (uint32_t pixel = 0; pixel != 65536; ++pixel) {
        pixels.push_back(static_cast<uint16_t>(pixel));
    }
    for (const auto& format : formats) {
        Loading load(DevicePermedia);
        load.SetDest(PixelSize16, 512, 0).RedMask = format.redMask;
        load.SetSource(Halves(pixels), 512);
        load.Run(PermediaPatchedTextureDownload, {0, 0, 256, 256});
        Words data;
        for (uint32_t pixel : pixels) {
            uint32_t word = 0;
            uint32_t low = 0;
            for (const Field& f : format.fields) {
                word |= (pixel >> low) % (1u << f.width) << (f.top - f.width);
                low += f.width;
            }
            data.push_back(word);
        }
        const Words sent = load.Sent();
        ASSERT_EQ(sent.size(), 26u + 65536 + 1024 + 6);
        EXPECT_TRUE(Words(sent.begin() + 26, sent.end() - 6) == Runs(t::Color, data));
    }
}

} // namespace
