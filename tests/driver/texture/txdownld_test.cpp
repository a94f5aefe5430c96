#include "driver/texture/txdownld.h"
#include "tests/driver/texture/download_support.h"
#include "tests/support/tag_names.h"

using namespace test;

namespace {

// A texture in the local buffer.
struct Texture : Loading {
    explicit Texture(uint32_t pixelSize, int32_t pitch = 256, uint32_t deviceId = DeviceTX)
        : Loading(deviceId) {
        SetDest(pixelSize, pitch, 0);
        dest->Global().fpVidMem = reinterpret_cast<uint32_t>(rig.driver->LocalBufferBase) + kOffset;
        SetSource(SourceBytes(), kPitch);
    }
    static constexpr uint32_t kOffset = 0x4800;
};

struct GlintPacked : Loading {
    explicit GlintPacked(uint32_t pixelSize, uint32_t bits = 16, uint32_t deviceId = DeviceTX)
        : Loading(deviceId, bits) {
        SetDest(pixelSize, kPitch, 0x6000);
        SetSource(SourceBytes(), kPitch);
    }
};

struct GlintPackedSetup {
    uint32_t base, first, right, top, height;
};

// State behind the scissor words.
Words GlintWordsOf(const GlintPackedSetup& s) {
    return Pairs({{t::LogicalOpMode, 0},
                  {t::FBReadMode, 0x123},
                  {t::FBPixelOffset, 0},
                  {t::FBWindowBase, s.base},
                  {t::StartXDom, s.first << 16},
                  {t::StartXSub, s.right << 16},
                  {t::StartY, s.top << 16},
                  {t::dY, 0x10000},
                  {t::Count, s.height},
                  {t::Render, 0x41048}});
}

const Words kEnd = {t::ScissorMode, 0, t::WaitForCompletion, 0};

TEST(TXPatchedDownload, RawWordsGoToTextureDataByPixelSize) {
    const struct {
        uint32_t pixelSize;
        size_t words; // of a line of 24 pixels
    } cases[] = {{PixelSize8, 6}, {PixelSize16, 12}, {PixelSize32, 24}, {PixelSize4, 3}};
    for (const auto& c : cases) {
        Texture load(c.pixelSize);
        load.Run(TXPatchedTextureDownload, {0, 0, 24, 3});
        EXPECT_EQ(load.Sent(), Pairs({{t::LBWindowBase, Texture::kOffset / 4},
                                      {t::TextureCacheControl, 3},
                                      {t::TextureDownloadOffset, 0},
                                      {t::LBReadMode, 0}}) +
                                   Lines(t::TextureData, 0, c.words, 3) +
                                   Words({t::WaitForCompletion, 0}));
    }
}

TEST(TXPatchedDownload, OfTwentyFourBitTexelsNoWordGoes) {
    Texture load(PixelSize24);
    load.Run(TXPatchedTextureDownload, {0, 0, 24, 3});
    EXPECT_EQ(load.Sent(), Pairs({{t::LBWindowBase, Texture::kOffset / 4},
                                  {t::TextureCacheControl, 3},
                                  {t::TextureDownloadOffset, 0},
                                  {t::LBReadMode, 0},
                                  {t::WaitForCompletion, 0}}));
}

TEST(TXPatchedDownload, AFourBitTextureOfWidth16GoesAs2WordsALine) {
    Texture load(PixelSize4);
    load.Run(TXPatchedTextureDownload, {0, 0, 16, 2});
    const Bytes& bytes = SourceBytes();
    const Words want = Pairs({{t::LBWindowBase, Texture::kOffset / 4},
                              {t::TextureCacheControl, 3},
                              {t::TextureDownloadOffset, 0},
                              {t::LBReadMode, 0}}) +
                       Words{0x1011D, WordAt(bytes, 0),      WordAt(bytes, 4),
                             0x1011D, WordAt(bytes, kPitch), WordAt(bytes, kPitch + 4)} +
                       Pairs({{t::WaitForCompletion, 0}});
    EXPECT_EQ(load.Sent(), want);
}

TEST(TXPatchedDownload, ALineOf130WordsGoesAsRunsOf64And64And2) {
    Texture load(PixelSize32);
    load.Run(TXPatchedTextureDownload, {0, 0, 130, 1});
    const Words sent = load.Sent();
    ASSERT_EQ(sent.size(), 8u + 133 + 2);
    EXPECT_EQ(sent[8], 0x003F011Du);
    EXPECT_EQ(sent[8 + 65], 0x003F011Du);
    EXPECT_EQ(sent[8 + 130], 0x0001011Du);
    EXPECT_EQ(Words(sent.begin() + 8, sent.end() - 2), Lines(t::TextureData, 0, 130, 1));
}

TEST(TXPatchedDownload, APatchedTexturesPitchGoesIntoTheReadMode) {
    const struct {
        int32_t pitch;
        uint32_t word;
    } cases[] = {{128, 0x20u << 14}, // bit 7 is not in the mask
                 {256, 0x120u << 14},
                 {224, 0x20u << 14},
                 {0x3FF, 0x320u << 14}};
    for (const auto& c : cases) {
        Texture load(PixelSize16, c.pitch);
        load.dest->priv.Flags |= SURFACE_PATCHED;
        load.Run(TXPatchedTextureDownload, {0, 0, 8, 1});
        EXPECT_EQ(load.Sent()[7], c.word);
        EXPECT_NE(load.dest->priv.Flags & SURFACE_PATCHED_NOW, 0u);
    }
}

TEST(TXPatchedDownload, AnUnpatchedTextureLeavesTheReadModeAt0WhateverItsPitch) {
    Texture load(PixelSize16, 0x3FF);
    load.dest->priv.Flags |= SURFACE_PATCHED_NOW;
    load.Run(TXPatchedTextureDownload, {0, 0, 8, 1});
    EXPECT_EQ(load.Sent()[6], 0x110u);
    EXPECT_EQ(load.Sent()[7], 0u);
    EXPECT_EQ(load.dest->priv.Flags & SURFACE_PATCHED_NOW, 0u);
}

TEST(TXPatchedDownload, OnlyTheSizeOfTheDestinationRectangleCounts) {
    Texture at(PixelSize16), moved(PixelSize16);
    at.Run(TXPatchedTextureDownload, {0, 0, 10, 3});
    moved.Run(TXPatchedTextureDownload, {5, 6, 7, 8}, {30, 40, 40, 43});
    EXPECT_EQ(at.Sent(), moved.Sent());
    EXPECT_EQ(at.Sent().size(), 8u + 3 * 6 + 2);
}

TEST(TXPatchedDownload, DisconnectStandsInForWaits) {
    for (uint32_t delta : {0u, uint32_t{DeltaPresent}}) {
        Texture load(PixelSize16);
        load.rig.chip->Flags = delta;
        load.Run(TXPatchedTextureDownload, {0, 0, 300, 16});
        load.ExpectBracket(delta != 0 ? 0x868 : 0x68);
    }
}

TEST(TXPatchedDownload, NoWordFallsOutOfTheWindow) {
    for (int left = 0; left != 64; ++left) {
        Texture load(PixelSize32);
        CommandStream& stream = load.rig.driver->Stream;
        stream.WritePointer = stream.SubBuffers[0].Last - left;
        load.Run(TXPatchedTextureDownload, {0, 0, 28, 1});
        const Words sent = load.Sent();
        ASSERT_GE(sent.size(), 8u);
        EXPECT_EQ(Words(sent.begin() + 8, sent.end()),
                  Lines(t::TextureData, 0, 28, 1) + Words({t::WaitForCompletion, 0}));
        if (left == 0) { // the set-up goes back to the start already
            EXPECT_EQ(stream.WritePointer, stream.SubBuffers[0].Linear + sent.size());
        }
    }
}

TEST(TXPackedDownload, ASixteenBitLoadAtAnOddSourceStartsAPixelEarlierBehindTheScissor) {
    GlintPacked load(PixelSize16);
    load.Run(TXPackedDownload, {3, 2, 9, 4}, {10, 5, 16, 7});
    // From 9 to 16: (16 - 9 + 1) / 2 = 4 words, read from the source's own left.
    EXPECT_EQ(load.Sent(), Words({t::ScissorMode, 3, t::ScissorMinXY, 10}) +
                               GlintWordsOf({0x3000, 9, 16, 5, 2}) +
                               Lines(t::Color, 2 * kPitch + 3 * 2, 4, 2) + kEnd);
}

TEST(TXPackedDownload, AnEvenSourceStartsWhereItIs) {
    GlintPacked load(PixelSize16);
    load.Run(TXPackedDownload, {4, 0, 9, 2}, {11, 5, 16, 7});
    EXPECT_EQ(load.Sent(), Words({t::ScissorMode, 3, t::ScissorMinXY, 11}) +
                               GlintWordsOf({0x3000, 11, 16, 5, 2}) + Lines(t::Color, 4 * 2, 3, 2) +
                               kEnd);
}

TEST(TXPackedDownload, EightBitPixelsWidenByTheirPlaceInTheWord) {
    GlintPacked load(PixelSize8, 8);
    load.Run(TXPackedDownload, {7, 1, 12, 2}, {20, 0, 25, 1});
    // From 17 to 25: (8 + 3) / 4 = 2 words.
    EXPECT_EQ(load.Sent(), Words({t::ScissorMode, 3, t::ScissorMinXY, 20}) +
                               GlintWordsOf({0x6000, 17, 25, 0, 1}) +
                               Lines(t::Color, kPitch + 7, 2, 1) + kEnd);
}

TEST(TXPackedDownload, ThirtyTwoBitPixelsNeedNoScissor) {
    GlintPacked load(PixelSize32, 32);
    load.Run(TXPackedDownload, {7, 1, 12, 3}, {20, 4, 25, 6});
    EXPECT_EQ(load.Sent(),
              GlintWordsOf({0x1800, 20, 25, 4, 2}) + Lines(t::Color, kPitch + 7 * 4, 5, 2) + kEnd);
}

TEST(TXPackedDownload, TheClipMovesTopAndSourceButNotTheColumns) {
    GlintPacked load(PixelSize16);
    load.Run(TXPackedDownload, {-3, -2, 5, 3}, {10, 20, 18, 25});
    // Left stays 10 and the odd source -3 widens it; top moves to 22, the height is 3, and the
    // source is read from its origin. (18 - 9 + 1) / 2 = 5 words.
    EXPECT_EQ(load.Sent(), Words({t::ScissorMode, 3, t::ScissorMinXY, 10}) +
                               GlintWordsOf({0x3000, 9, 18, 22, 3}) + Lines(t::Color, 0, 5, 3) +
                               kEnd);
}

TEST(TXPackedDownload, ASourceWhollyAboveOrLeftIsDropped) {
    for (const RECTL& rect : {RECTL{0, -9, 8, -1}, RECTL{-9, 0, -1, 8}}) {
        GlintPacked load(PixelSize16);
        load.rig.chip->Flags = CursorExclude;
        load.rig.driver->FBDepth = 0;
        load.Run(TXPackedDownload, rect, {0, 0, 8, 8});
        EXPECT_TRUE(load.rig.bus->events.empty());
        EXPECT_EQ(load.rig.chip->Flags, uint32_t{CursorExclude});
    }
}

TEST(TXPackedDownload, ADepthLeftByOthersIsPutBackFirst) {
    GlintPacked load(PixelSize32, 16);
    load.rig.driver->FBDepth = 2;
    load.Run(TXPackedDownload, {0, 0, 1, 1});
    const Words sent = load.Sent();
    EXPECT_EQ(Words(sent.begin(), sent.begin() + 3), Words({t::PixelSize, 1, t::LogicalOpMode}));
    EXPECT_EQ(load.rig.driver->FBDepth, 1u);
}

TEST(TXPackedDownload, ClearsCursorExclude) {
    GlintPacked load(PixelSize16);
    load.rig.chip->Flags = CursorExclude | DeltaPresent;
    load.Run(TXPackedDownload, {0, 0, 4, 4});
    EXPECT_EQ(load.rig.chip->Flags, uint32_t{DeltaPresent});
}

TEST(TXPackedDownload, DisconnectStandsInForWaits) {
    for (uint32_t delta : {0u, uint32_t{DeltaPresent}}) {
        GlintPacked load(PixelSize16);
        load.rig.chip->Flags = delta;
        load.Run(TXPackedDownload, {0, 0, 400, 16});
        load.ExpectBracket(delta != 0 ? 0x868 : 0x68);
    }
}

TEST(TXPackedDownload, NoWordFallsOutOfTheWindow) {
    for (uint32_t words = 940; words != 970; ++words) {
        GlintPacked load(PixelSize32, 32);
        load.rig.driver->Stream.WritePointer += words;
        load.Run(TXPackedDownload, {0, 0, 28, 1});
        const Words sent = load.Sent();
        EXPECT_EQ(Words(sent.begin() + 20, sent.end()), Lines(t::Color, 0, 28, 1) + kEnd);
    }
}

} // namespace
