// The runtime's blits against the driver's dispatch, on a started display.
#include "driver/blit/pmblitfx.h"
#include "driver/blit/pmdirecx.h"
#include "driver/blit/txblitfx.h"
#include "host/ddraw/ddraw.h"
#include "host/inspect/unwaited.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/started_display.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using host::BltOptions;
using host::DirectDraw;
using host::DisplayConfig;
using host::HalAnswer;
using host::Surface;

// What the last primitive was called with.
struct Call {
    std::string slot;
    uint32_t offset = 0;
    uint32_t fill = 0;
    DDBLTFX fx{};
    int times = 0;
} last;

void Note(const char* slot, uint32_t offset, uint32_t fill, const DDBLTFX& fx = {}) {
    last = {slot, offset, fill, fx, last.times + 1};
}

class BlitOnChip : public ::testing::TestWithParam<uint32_t>, protected test::StartedDisplay {
  protected:
    BlitOnChip() : StartedDisplay(test::ConfigFor(GetParam())) {
        display.Board().Advance(20000); // Permedia waits for its first retrace
        last = {};
    }
    ~BlitOnChip() override { CHIPRender = {}; }

    bool IsGlint() { return display.IsGlint(); }

    // Puts recorders in place of what copies, stretches and fills.
    void Record() {
        CHIPRender.PackedCopyBlt = [](DriverData*, int32_t, int32_t, PrivateSurfaceData*,
                                      PrivateSurfaceData*, RECTL*, RECTL*, uint32_t offset, int32_t,
                                      uint32_t) { Note("copy", offset, 0); };
        CHIPRender.ScreenCopyBlt = [](DriverData*, RECTL*, RECTL*, int32_t, uint32_t offset,
                                      int32_t, uint32_t) { Note("copy", offset, 0); };
        CHIPRender.StretchCopyBlt = CHIPRender.MXStretchBlt =
            [](DriverData*, DDHAL_BLTDATA* data, PrivateSurfaceData*, PrivateSurfaceData*, RECTL*,
               RECTL*, uint32_t offset, uint32_t) { Note("stretch", offset, 0, data->bltFX); };
        CHIPRender.FastClear = [](DriverData*, DDRAWI_DDRAWSURFACE_GBL*, RECTL*, uint32_t offset,
                                  uint32_t fill) { Note("clear", offset, fill); };
        CHIPRender.FastLBClear = [](DriverData*, DDRAWI_DDRAWSURFACE_GBL*, RECTL*, uint32_t offset,
                                    uint32_t fill) { Note("depth clear", offset, fill); };
        CHIPRender.GlintClear = [](DriverData*, RECTL*, uint32_t offset, uint32_t fill) {
            Note("clear", offset, fill);
        };
        CHIPRender.GlintLBClear = [](DriverData*, DDRAWI_DDRAWSURFACE_LCL*, RECTL*, uint32_t offset,
                                     uint32_t fill) { Note("depth clear", offset, fill); };
    }
};

class TextureLoad : public BlitOnChip {};

constexpr RECT kSmall = {0, 0, 16, 8};
constexpr RECT kLarge = {0, 0, 32, 16};

TEST_P(BlitOnChip, CopiesStretchesAndMirrorsFindTheirPrimitives) {
    Surface& primary = directDraw.CreatePrimary();
    Surface& picture = directDraw.CreateOffscreen(64, 64);
    Record();
    EXPECT_TRUE(directDraw.Blt(primary, kSmall, picture, kSmall).Done());
    EXPECT_EQ(last.slot, "copy");
    EXPECT_EQ(last.offset, 0u);
    EXPECT_TRUE(directDraw.Blt(primary, kLarge, picture, kSmall).Done());
    EXPECT_EQ(last.slot, "stretch");
    BltOptions mirrored;
    mirrored.mirrorLeftRight = true;
    EXPECT_TRUE(directDraw.Blt(primary, kSmall, picture, kSmall, mirrored).Done());
    EXPECT_EQ(last.slot, "stretch");
    EXPECT_EQ(last.fx.dwDDFX, DDBLTFX_MIRRORLEFTRIGHT);
    EXPECT_EQ(last.times, 3);
}

TEST_P(BlitOnChip, AKeyFindsItsPrimitive) {
    Surface& primary = directDraw.CreatePrimary();
    Surface& picture = directDraw.CreateOffscreen(64, 64);
    BltOptions keyed;
    keyed.sourceKey = DDCOLORKEY{1, 1};
    directDraw.Blt(primary, kLarge, picture, kSmall, keyed);
    EXPECT_TRUE(IsGlint() ? CHIPRender.MXChromaBlt == MXStretchCopyChromaBlt
                          : CHIPRender.SourceChromaBlt == PermediaStretchCopyChromaBlt);
    directDraw.Blt(primary, kSmall, picture, kSmall, keyed);
    EXPECT_TRUE(IsGlint() ? CHIPRender.MXChromaBlt == MXSourceChromaBlt
                          : CHIPRender.SourceChromaBlt == PermediaSourceChromaBlt);
}

TEST_P(BlitOnChip, FillsCarryValueAndPlace) {
    directDraw.CreatePrimary();
    Surface& picture = directDraw.CreateOffscreen(64, 64);
    Surface& depth = directDraw.CreateZBuffer(64, 64);
    Record();
    const auto bytesFrom = [](const Surface& surface, const uint8_t* base) {
        return surface.Global()->fpVidMem - reinterpret_cast<uintptr_t>(base);
    };
    EXPECT_TRUE(directDraw.ColorFill(picture, kSmall, 0x1234).Done());
    EXPECT_EQ(last.slot, "clear");
    EXPECT_EQ(last.offset, bytesFrom(picture, display.FrameBuffer()) / 2);
    EXPECT_EQ(last.fill, 0x1234u);
    EXPECT_TRUE(directDraw.RopFill(picture, kSmall, WHITENESS).Done());
    EXPECT_EQ(last.fill, 0xFFFFFFFFu);
    EXPECT_TRUE(directDraw.DepthFill(depth, kSmall, 0xFFFF).Done());
    EXPECT_EQ(last.slot, "depth clear");
    EXPECT_EQ(last.offset, IsGlint() ? bytesFrom(depth, display.LocalBuffer()) / 4
                                     : bytesFrom(depth, display.FrameBuffer()) / 2);
    EXPECT_EQ(last.fill, 0xFFFFu);
}

TEST_P(BlitOnChip, ACopyWithoutASourceOnTheBoardIsLeftToTheRuntime) {
    Surface& primary = directDraw.CreatePrimary();
    const HalAnswer answer = directDraw.RopFill(primary, kSmall, SRCCOPY);
    EXPECT_FALSE(answer.handled);
}

// The loads that the last LoadTexture or Blt asked for.
struct Load {
    std::string slot;
    const DDRAWI_DDRAWSURFACE_LCL *source, *dest;
    LONG width, height; // of both rectangles
};
std::vector<Load> loads;

template <int kind>
void NoteLoad(DriverData*, PrivateSurfaceData* destPriv, DDRAWI_DDRAWSURFACE_LCL* source,
              RECTL* srcRect, DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    EXPECT_EQ(destPriv, PrivateOf(dest));
    EXPECT_EQ(srcRect->right - srcRect->left, destRect->right - destRect->left);
    EXPECT_EQ(srcRect->bottom - srcRect->top, destRect->bottom - destRect->top);
    loads.push_back({kind == 0 ? "texture" : "picture", source, dest,
                     destRect->right - destRect->left, destRect->bottom - destRect->top});
}

void RecordLoads() {
    loads.clear();
    CHIPRender.PatchedDownload = CHIPRender.TXPatchedDownload = NoteLoad<0>;
    CHIPRender.PackedDownload = CHIPRender.TXPackedDownload = NoteLoad<1>;
}

TEST_P(TextureLoad, GoesLevelByLevel) {
    Surface& texture = directDraw.CreateTexture(32, 16, host::Format4444(), 3);
    Surface& source = directDraw.CreateSystem(32, 16, host::Format4444(), DDSCAPS_TEXTURE, 3);
    RecordLoads();
    ASSERT_NO_THROW(directDraw.LoadTexture(texture, source));
    ASSERT_EQ(loads.size(), 3u);
    const Surface* from[] = {&source, source.Chain()[0], source.Chain()[1]};
    const Surface* to[] = {&texture, texture.Chain()[0], texture.Chain()[1]};
    for (int level = 0; level < 3; ++level) {
        EXPECT_EQ(loads[level].slot, "texture");
        EXPECT_EQ(loads[level].source, from[level]->Local());
        EXPECT_EQ(loads[level].dest, to[level]->Local());
        EXPECT_EQ(loads[level].width, 32 >> level);
        EXPECT_EQ(loads[level].height, 16 >> level);
    }
}

TEST_P(BlitOnChip, APictureFromSystemMemoryIsAPackedLoad) {
    Surface& primary = directDraw.CreatePrimary();
    Surface& source = directDraw.CreateSystem(16, 8);
    RecordLoads();
    EXPECT_TRUE(directDraw.Blt(primary, {40, 30, 56, 38}, source, kSmall).Done());
    ASSERT_EQ(loads.size(), 1u);
    EXPECT_EQ(loads[0].slot, "picture");
    EXPECT_EQ(loads[0].source, source.Local());
    EXPECT_EQ(loads[0].dest, primary.Local());
    EXPECT_EQ(loads[0].width, 16);
    EXPECT_EQ(loads[0].height, 8);
}

// The fifteen lowest bits, different in each pixel and level.
uint32_t Texel(size_t level, uint32_t x, uint32_t y) {
    return static_cast<uint32_t>((level * 0x1249 + y * 0x435 + x * 0x29) & 0x7FFF);
}

TEST_P(TextureLoad, LeavesTheTexelsOfTheSource) {
    for (const DDPIXELFORMAT& format : {host::Format4444(), host::Format555()}) {
        Surface& texture = directDraw.CreateTexture(32, 16, format, 3);
        Surface& source = directDraw.CreateSystem(32, 16, format, DDSCAPS_TEXTURE, 3);
        Surface* from[] = {&source, source.Chain()[0], source.Chain()[1]};
        Surface* to[] = {&texture, texture.Chain()[0], texture.Chain()[1]};
        for (size_t level = 0; level < 3; ++level) {
            for (uint32_t y = 0; y < from[level]->Height(); ++y) {
                for (uint32_t x = 0; x < from[level]->Width(); ++x) {
                    from[level]->SetPixel(x, y, Texel(level, x, y));
                }
            }
        }
        directDraw.LoadTexture(texture, source);
        directDraw.Finish(texture);
        for (size_t level = 0; level < 3; ++level) {
            ASSERT_EQ(PrivateOf(to[level]->Local())->Flags & SURFACE_PATCHED, 0u);
            for (uint32_t y = 0; y < to[level]->Height(); ++y) {
                for (uint32_t x = 0; x < to[level]->Width(); ++x) {
                    ASSERT_EQ(to[level]->Pixel(x, y), Texel(level, x, y))
                        << "level " << level << " at " << x << ',' << y;
                }
            }
        }
    }
    const board::Faults faults = host::UnexpectedFaults(display.Board());
    EXPECT_FALSE(faults.Any()) << faults.Describe();
}

TEST_P(BlitOnChip, APictureFromSystemMemoryReachesTheScreenAndNothingAroundIt) {
    Surface& primary = directDraw.CreatePrimary();
    Surface& source = directDraw.CreateSystem(16, 8);
    for (uint32_t y = 0; y < 8; ++y) {
        for (uint32_t x = 0; x < 16; ++x) {
            source.SetPixel(x, y, Texel(0, x, y));
        }
    }
    EXPECT_TRUE(directDraw.Blt(primary, {41, 30, 57, 38}, source, kSmall).Done());
    directDraw.Finish(primary);
    for (uint32_t y = 29; y < 39; ++y) {
        for (uint32_t x = 40; x < 58; ++x) {
            const bool inside = x >= 41 && x < 57 && y >= 30 && y < 38;
            ASSERT_EQ(primary.Pixel(x, y), inside ? Texel(0, x - 41, y - 30) : 0) << x << ',' << y;
        }
    }
    const board::Faults faults = host::UnexpectedFaults(display.Board());
    EXPECT_FALSE(faults.Any()) << faults.Describe();
}

INSTANTIATE_TEST_SUITE_P(Chips, BlitOnChip,
                         ::testing::Values(DeviceSX, DeviceTX, DeviceMX, DevicePermedia,
                                           DevicePermedia2));

INSTANTIATE_TEST_SUITE_P(Chips, TextureLoad,
                         ::testing::Values(DeviceTX, DeviceMX, DevicePermedia, DevicePermedia2));

} // namespace
