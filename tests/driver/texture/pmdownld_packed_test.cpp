#include "driver/texture/pmdownld.h"
#include "tests/driver/texture/download_support.h"
#include "tests/support/tag_names.h"

using namespace test;

namespace {

struct PermediaPacked : Loading {
    explicit PermediaPacked(uint32_t pixelSize, uint32_t bits = 16)
        : Loading(DevicePermedia2, bits) {
        SetDest(pixelSize, kPitch, 0x6000);
        dest->priv.PackedPPCode = 0x0AB;
        SetSource(SourceBytes(), kPitch);
    }
};

// The state in front of the data.
struct PermediaPackedSetup {
    uint32_t readMode, readPixel, base, xDom, xSub, limits, top, height;
};

Words WordsOf(const PermediaPackedSetup& s) {
    return Pairs({{t::LogicalOpMode, 0},
                  {t::FBReadMode, s.readMode},
                  {t::FBReadPixel, s.readPixel},
                  {t::FBPixelOffset, 0},
                  {t::FBWindowBase, s.base},
                  {t::StartXDom, s.xDom},
                  {t::StartXSub, s.xSub},
                  {t::PackedDataLimits, s.limits},
                  {t::StartY, s.top << 16},
                  {t::dY, 0x10000},
                  {t::Count, s.height},
                  {t::Render, 0x1040}});
}

uint32_t DataOf(const Words& words, uint32_t tagNumber) {
    for (size_t i = 0; i + 1 < words.size(); i += 2) {
        if (words[i] == tagNumber) {
            return words[i + 1];
        }
    }
    ADD_FAILURE() << "no word for tag " << tagNumber;
    return 0;
}

TEST(PackedDownload, SixteenBitPixelsGoTwoToAWord) {
    PermediaPacked load(PixelSize16, 32);
    load.Run(PermediaPackedDownload, {4, 2, 10, 5}, {6, 3, 12, 6});
    // Columns 3 to (12 + 3) / 2 = 7: four words a line.
    EXPECT_EQ(load.Sent(), WordsOf({0x80123, 1, 0x3000, 3 << 16, 7 << 16, 6 << 16 | 12, 3, 3}) +
                               Lines(t::Color, 2 * kPitch + 4 * 2, 4, 3) +
                               Words({t::FBReadPixel, 2}));
}

TEST(PackedDownload, EightBitPixelsGoFourToAWord) {
    PermediaPacked load(PixelSize8);
    load.Run(PermediaPackedDownload, {9, 0, 19, 2}, {13, 7, 23, 9});
    // Both start at pixel 1 of their word. Columns 3 to (23 + 7) / 4 = 7; the source starts at
    // pixel 8.
    EXPECT_EQ(load.Sent(), WordsOf({0x80123, 0, 0x6000, 3 << 16, 7 << 16, 13 << 16 | 23, 7, 2}) +
                               Lines(t::Color, 8, 4, 2) + Words({t::FBReadPixel, 1}));
    // To a whole word the same columns: (24 + 7) / 4.
    PermediaPacked whole(PixelSize8);
    whole.Run(PermediaPackedDownload, {9, 0, 20, 2}, {13, 7, 24, 9});
    EXPECT_EQ(whole.Sent(), WordsOf({0x80123, 0, 0x6000, 3 << 16, 7 << 16, 13 << 16 | 24, 7, 2}) +
                                Lines(t::Color, 8, 4, 2) + Words({t::FBReadPixel, 1}));
}

TEST(PackedDownload, ThirtyTwoBitPixelsAreWords) {
    PermediaPacked load(PixelSize32, 32);
    load.Run(PermediaPackedDownload, {5, 1, 8, 3}, {2, 0, 5, 2});
    EXPECT_EQ(load.Sent(), WordsOf({0x80123, 2, 0x1800, 2 << 16, 5 << 16, 2 << 16 | 5, 0, 2}) +
                               Lines(t::Color, kPitch + 5 * 4, 3, 2) + Words({t::FBReadPixel, 2}));
}

TEST(PackedDownload, FourAndTwentyFourBitPixelsFollowTheSixteenBitColumns) {
    PermediaPacked four(PixelSize4);
    four.Run(PermediaPackedDownload, {19, 1, 27, 2}, {3, 0, 11, 1});
    // Source pixel 19 is in the word of pixels 16 to 23; the offset is shifted by the code itself.
    EXPECT_EQ(four.Sent(),
              WordsOf({0x80123, 3, 0x6000 >> 3, 1 << 16, 7 << 16, 3 << 16 | 11, 0, 1}) +
                  Lines(t::Color, kPitch + (16 << 3), 6, 1) + Words({t::FBReadPixel, 1}));
    PermediaPacked whole(PixelSize24, 24);
    whole.Run(PermediaPackedDownload, {3, 1, 7, 2}, {4, 2, 8, 3});
    EXPECT_EQ(whole.Sent(),
              WordsOf({0x80123, 4, 0x6000 >> 4, 2 << 16, 5 << 16, 4 << 16 | 8, 2, 1}) +
                  Lines(t::Color, kPitch + (3 << 4), 3, 1) + Words({t::FBReadPixel, 4}));
}

TEST(PackedDownload, TheRelativeOffsetIsTheDifferenceOfThePlacesInTheirWords) {
    const struct {
        uint32_t pixelSize;
        LONG source, dest;
        uint32_t relative;
    } cases[] = {{PixelSize8, 3, 1, 6},  {PixelSize8, 1, 3, 2},  {PixelSize8, 7, 4, 5},
                 {PixelSize8, 6, 2, 0},  {PixelSize8, 0, 3, 3},  {PixelSize16, 0, 1, 1},
                 {PixelSize16, 1, 0, 7}, {PixelSize16, 3, 1, 0}, {PixelSize32, 1, 2, 0},
                 {PixelSize4, 1, 2, 0},  {PixelSize24, 3, 2, 0}};
    for (const auto& c : cases) {
        PermediaPacked load(c.pixelSize);
        load.Run(PermediaPackedDownload, {c.source, 0, c.source + 8, 1},
                 {c.dest, 0, c.dest + 8, 1});
        const Words sent = load.Sent();
        EXPECT_EQ(DataOf(sent, t::FBReadMode), 0x80123u | c.relative << 20);
        EXPECT_EQ(DataOf(sent, t::PackedDataLimits),
                  c.relative << 29 | static_cast<uint32_t>(c.dest << 16 | (c.dest + 8)));
    }
}

TEST(PackedDownload, ALineOf130WordsGoesAsRunsOf64And64And2) {
    PermediaPacked load(PixelSize32, 32);
    load.Run(PermediaPackedDownload, {0, 0, 130, 2});
    const Words sent = load.Sent();
    ASSERT_EQ(sent.size(), 24u + 2 * 133 + 2);
    for (size_t at : {24u, 24u + 133u}) {
        EXPECT_EQ(sent[at], 0x003F00FEu);
        EXPECT_EQ(sent[at + 65], 0x003F00FEu);
        EXPECT_EQ(sent[at + 130], 0x000100FEu);
    }
    EXPECT_EQ(Words(sent.begin() + 24, sent.end() - 2), Lines(t::Color, 0, 130, 2));
}

TEST(PackedDownload, RunsOfEveryLengthCarryTheirWords) {
    for (LONG words = 1; words != 80; ++words) {
        PermediaPacked load(PixelSize32, 32);
        load.Run(PermediaPackedDownload, {1, 0, 1 + words, 1}, {0, 0, words, 1});
        const Words sent = load.Sent();
        EXPECT_EQ(Words(sent.begin() + 24, sent.end() - 2), Lines(t::Color, 4, words, 1));
    }
}

TEST(PackedDownload, ASourceWhollyAboveOrLeftIsDropped) {
    for (const RECTL& rect : {RECTL{0, -9, 8, -1}, RECTL{-9, 0, -1, 8}, RECTL{-9, -9, -1, -1}}) {
        for (Download download :
             {PermediaPackedDownload, PermediaPacked16BitDownload, PermediaPacked8BitDownload}) {
            PermediaPacked load(PixelSize16);
            load.Run(download, rect, {0, 0, 8, 8});
            EXPECT_TRUE(load.rig.bus->events.empty());
        }
    }
}

TEST(PackedDownload, ASourcePartlyAboveMovesTheDestinationDown) {
    PermediaPacked load(PixelSize16);
    load.Run(PermediaPackedDownload, {0, -3, 4, 2}, {0, 10, 4, 15});
    EXPECT_EQ(load.Sent(), WordsOf({0x80123, 1, 0x3000, 0, 3 << 16, 4, 13, 2}) +
                               Lines(t::Color, 0, 3, 2) + Words({t::FBReadPixel, 1}));
}

TEST(PackedDownload, ASourcePartlyLeftMovesTheDestinationRight) {
    PermediaPacked load(PixelSize16);
    load.Run(PermediaPackedDownload, {-3, 1, 4, 3}, {10, 0, 17, 2});
    // The destination starts at 13, an odd pixel, the source at 0.
    EXPECT_EQ(load.Sent(),
              WordsOf({0x180123, 1, 0x3000, 6 << 16, 10 << 16, 1u << 29 | 13 << 16 | 17, 0, 2}) +
                  Lines(t::Color, kPitch, 4, 2) + Words({t::FBReadPixel, 1}));
}

TEST(PackedDownload, ASourceThatOnlyTouchesTheEdgeIsNotDroppedButHasNoLines) {
    PermediaPacked load(PixelSize16);
    load.Run(PermediaPackedDownload, {0, -4, 4, 0}, {0, 10, 4, 14});
    EXPECT_EQ(load.Sent(),
              WordsOf({0x80123, 1, 0x3000, 0, 3 << 16, 4, 14, 0}) + Words({t::FBReadPixel, 1}));
}

TEST(PackedDownload, DisconnectStandsInForWaits) {
    for (uint32_t delta : {0u, uint32_t{DeltaPresent}}) {
        for (Download download :
             {PermediaPackedDownload, PermediaPacked16BitDownload, PermediaPacked8BitDownload}) {
            PermediaPacked load(PixelSize16);
            load.rig.chip->Flags = delta;
            load.Run(download, {0, 0, 200, 16});
            load.ExpectBracket(delta != 0 ? 0x868 : 0x68);
        }
    }
}

TEST(PackedDownload, NoWordFallsOutOfTheWindow) {
    for (uint32_t words = 930; words != 960; ++words) {
        PermediaPacked load(PixelSize32, 32);
        load.rig.driver->Stream.WritePointer += words;
        load.Run(PermediaPackedDownload, {0, 0, 25, 1});
        const Words sent = load.Sent();
        EXPECT_EQ(Words(sent.begin() + 24, sent.end()),
                  Lines(t::Color, 0, 25, 1) + Words({t::FBReadPixel, 2}));
    }
}

TEST(PackedDisplayDownload, TwoSixteenBitPixelsAreDrawnAsOneOf32Bits) {
    PermediaPacked load(PixelSize16);
    load.Run(PermediaPacked16BitDownload, {3, 2, 11, 4}, {5, 6, 13, 8});
    const Words want = Pairs({{t::LogicalOpMode, 0},
                              {t::FBReadMode, 0x0AB},
                              {t::FBReadPixel, 2},
                              {t::FBPixelOffset, 0},
                              {t::FBWindowBase, 0x1800},
                              {t::StartXDom, 2 << 16},
                              {t::StartXSub, 6 << 16},
                              {t::StartY, 6 << 16},
                              {t::dY, 0x10000},
                              {t::Count, 2},
                              {t::Render, 0x1040}});
    EXPECT_EQ(load.Sent(),
              want + Lines(t::Color, 2 * kPitch + 3 * 2, 4, 2) + Words({t::FBReadPixel, 1}));
}

TEST(PackedDisplayDownload, FourEightBitPixelsAreDrawnAsOneOf32Bits) {
    PermediaPacked load(PixelSize8, 8);
    load.Run(PermediaPacked8BitDownload, {3, 2, 14, 4}, {5, 6, 16, 8});
    const Words want = Pairs({{t::LogicalOpMode, 0},
                              {t::FBReadMode, 0x0AB},
                              {t::FBReadPixel, 2},
                              {t::FBPixelOffset, 0},
                              {t::FBWindowBase, 0x1800},
                              {t::StartXDom, 1 << 16},
                              {t::StartXSub, 4 << 16},
                              {t::StartY, 6 << 16},
                              {t::dY, 0x10000},
                              {t::Count, 2},
                              {t::Render, 0x1040}});
    EXPECT_EQ(load.Sent(),
              want + Lines(t::Color, 2 * kPitch + 3, 2, 2) + Words({t::FBReadPixel, 0}));
}

TEST(PackedDisplayDownload, SizeIsTakenBeforeTheClip) {
    PermediaPacked load(PixelSize16);
    load.Run(PermediaPacked16BitDownload, {-2, -1, 6, 3}, {4, 5, 12, 9});
    const Words sent = load.Sent();
    EXPECT_EQ(DataOf(sent, t::StartXDom), 3u << 16); // left is 6 after the clip
    EXPECT_EQ(DataOf(sent, t::StartY), 6u << 16);
    EXPECT_EQ(DataOf(sent, t::Count), 4u);
    EXPECT_EQ(Words(sent.begin() + 22, sent.end()),
              Lines(t::Color, 0, 4, 4) + Words({t::FBReadPixel, 1}));
}

} // namespace
