// Two-dimensional pictures of the Glint family, from the blit callback to the board's memory,
// against plain loops over a copy of that memory. Where the chip does otherwise than a naive blit,
// the loop does it too, and the test's name says so.
#include "tests/system/blit_stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace test;

class GlintBlits : public testing::TestWithParam<BlitMode> {};
class SXBlits : public GlintBlits {};
class UnitBlits : public GlintBlits {};

TEST_P(GlintBlits, OverlappingCopiesRunTopToBottomAndLeftToRightAndSmearDownAndRight) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    int smeared = 0;
    int whole = 0;
    InBatches(stage, surfaces, [&] {
        host::Surface& surface = surfaces.Any(stage.Random(0, 2));
        const int width = stage.Random(8, 60);
        const int height = stage.Random(8, 40);
        const RECT from = stage.Area(surface, width, height);
        const RECT to = Nearby(stage, surface, from, 5, 3);
        const Place place = stage.PlaceOf(surface);
        const std::vector<uint32_t> before = PixelsOf(place, from);
        stage.CopyAndFollow(surface, to, surface, from);
        const bool same = PixelsOf(place, to) == before;
        const bool overlaps = to.left < from.right && from.left < to.right &&
                              to.top < from.bottom && from.top < to.bottom;
        const bool later = to.top > from.top || (to.top == from.top && to.left > from.left);
        EXPECT_TRUE(same || (overlaps && later));
        (same ? whole : smeared) += overlaps;
    });
    EXPECT_GT(smeared, 20);
    EXPECT_GT(whole, 20);
}

INSTANTIATE_TEST_SUITE_P(EachMode, GlintBlits, testing::ValuesIn(GlintModes()),
                         testing::PrintToStringParamName());

// Keyed copies and stretches, by chroma test and texture unit of TX and MX.

// A plain key: every field of the pixel lies between those of the two ends.
bool InsideKey(uint32_t bits, const DDCOLORKEY& key, uint32_t pixel) {
    const uint32_t fields16[] = {0x7C00, 0x03E0, 0x001F};
    const uint32_t fields32[] = {0xFF0000, 0x00FF00, 0x0000FF};
    const uint32_t fields8[] = {0xFF, 0, 0};
    for (int i = 0; i != 3; ++i) {
        const uint32_t field = bits == 8 ? fields8[i] : bits == 16 ? fields16[i] : fields32[i];
        if ((pixel & field) < (key.dwColorSpaceLowValue & field) ||
            (pixel & field) > (key.dwColorSpaceHighValue & field)) {
            return false;
        }
    }
    return true;
}

// About one pixel in four lies inside.
DDCOLORKEY Key(uint32_t bits) {
    switch (bits) {
    case 8:
        return {0x30, 0x70};
    case 16:
        return {0x1863, 0x6B5A};
    default:
        return {0x00303030, 0x00D0D0D0};
    }
}

TEST_P(UnitBlits, KeyedCopiesLeaveOutTheKeyAndRunByTheSignOfTheirDistance) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    const DDCOLORKEY key = Key(GetParam().bits);
    int left = 0;
    int drawn = 0;
    InBatches(stage, surfaces, [&] {
        host::Surface& dest = surfaces.Any(stage.Random(0, 2));
        host::Surface& source = surfaces.Any(stage.Random(0, 2));
        const auto [to, from] = stage.AreasOfOneSize(dest, source, 75, 60);
        const int width = to.right - to.left;
        const int height = to.bottom - to.top;
        stage.Blt(dest, to, source, from, {.sourceKey = key});
        const Place a = stage.PlaceOf(dest);
        const Place b = stage.PlaceOf(source);
        const bool backward = b.At(from.left, from.top) < a.At(to.left, to.top);
        for (int n = 0; n != width * height; ++n) {
            const int at = backward ? width * height - 1 - n : n;
            const uint32_t pixel = b.Get(from.left + at % width, from.top + at / width);
            if (InsideKey(GetParam().bits, key, pixel)) {
                ++left;
            } else {
                ++drawn;
                a.Set(to.left + at % width, to.top + at / width, pixel);
            }
        }
    });
    EXPECT_GT(left, 10000);
    EXPECT_GT(drawn, 10000);
}

// One axis of a stretch: the source's pixel for the n-th pixel walked.
struct Axis {
    int32_t start;
    int64_t step; // 11.21

    uint32_t Pixel(int n) const {
        return static_cast<uint32_t>(int64_t{start} * 0x200000 + n * step) >> 21;
    }
};

// A size is divided by one more than the destination's, so that the last pixel is not reached. A
// mirrored part is the one that lies across the surface.
int64_t Step(int source, int dest) {
    const auto quotient = static_cast<float>(source / (dest + 1.0));
    return std::llrint(quotient * 2097152.0);
}

void StretchPlainly(const Place& dest, const RECT& to, const Place& source,
                    const host::Surface& sourceSurface, const RECT& from, bool oneSurface,
                    const host::BltOptions& options, uint32_t bits) {
    const int width = to.right - to.left;
    const int height = to.bottom - to.top;
    const bool backward =
        oneSurface && (from.top < to.top || (from.top == to.top && from.left < to.left));
    const bool effects = options.mirrorLeftRight || options.mirrorUpDown;
    const bool flipX = options.mirrorLeftRight != backward;
    const bool flipY = options.mirrorUpDown != backward;
    // With a mirror at all, a reversed axis starts from the edge across the surface.
    const int right = effects ? static_cast<int>(sourceSurface.Width()) - from.left : from.right;
    const int bottom = effects ? static_cast<int>(sourceSurface.Height()) - from.top : from.bottom;
    const int64_t stepX = Step(from.right - from.left, width);
    const int64_t stepY = Step(from.bottom - from.top, height);
    // Reversed columns begin one past the edge, reversed lines do not.
    const Axis s = flipX ? Axis{right, -stepX} : Axis{from.left, stepX};
    const Axis t = flipY ? Axis{bottom - 1, -stepY} : Axis{from.top, stepY};
    for (int line = 0; line != height; ++line) {
        for (int column = 0; column != width; ++column) {
            const uint32_t pixel = source.Get(s.Pixel(column), t.Pixel(line));
            if (!options.sourceKey || !InsideKey(bits, *options.sourceKey, pixel)) {
                dest.Set(backward ? to.right - 1 - column : to.left + column,
                         backward ? to.bottom - 1 - line : to.top + line, pixel);
            }
        }
    }
}

// Sizes that differ, or a mirror, so that the blit is no plain copy.
struct StretchCase {
    RECT to, from;
    host::BltOptions options;
};

StretchCase RandomStretch(BlitStage& stage, host::Surface& dest, host::Surface& source) {
    StretchCase result;
    result.from = stage.Area(source, stage.Random(1, 70), stage.Random(1, 55));
    result.to = stage.Area(dest, stage.Random(1, 74), stage.Random(1, 60));
    result.options.mirrorLeftRight = stage.Random(0, 2) == 0;
    result.options.mirrorUpDown = stage.Random(0, 2) == 0;
    if (result.to.right - result.to.left == result.from.right - result.from.left &&
        result.to.bottom - result.to.top == result.from.bottom - result.from.top) {
        result.options.mirrorUpDown = true;
    }
    return result;
}

TEST_P(UnitBlits, StretchAndMirrorWithStepsThatStopShortOfTheFarEdge) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    InBatches(stage, surfaces, [&] {
        host::Surface& dest = surfaces.Any(stage.Random(0, 2));
        host::Surface& source = surfaces.Any(stage.Random(0, 2));
        const StretchCase c = RandomStretch(stage, dest, source);
        stage.Blt(dest, c.to, source, c.from, c.options);
        StretchPlainly(stage.PlaceOf(dest), c.to, stage.PlaceOf(source), source, c.from,
                       &dest == &source, c.options, GetParam().bits);
    });
}

TEST_P(UnitBlits,
       KeyedStretchesReadTheirSourceAsManyPixelsEarlierAsTheDestinationLiesBehindTheStart) {
    // The source's place is told as a distance and taken as a place: they agree on the primary.
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    InBatches(stage, surfaces, [&] {
        host::Surface& dest = surfaces.Any(stage.Random(0, 1));
        host::Surface& source =
            &dest == &surfaces.primary ? surfaces.Any(stage.Random(0, 2)) : surfaces.sprite;
        StretchCase c = RandomStretch(stage, dest, source);
        c.options.sourceKey = Key(GetParam().bits);
        const Place a = stage.PlaceOf(dest);
        Place b = stage.PlaceOf(source);
        b.base -= a.base;
        ASSERT_GE(b.base, 0);
        stage.Blt(dest, c.to, source, c.from, c.options);
        StretchPlainly(a, c.to, b, source, c.from, &dest == &source, c.options, GetParam().bits);
    });
}

std::vector<BlitMode> UnitModes() {
    std::vector<BlitMode> modes = GlintModes();
    std::erase_if(modes, [](const BlitMode& mode) {
        return mode.deviceId == DeviceSX || (mode.deviceId == DeviceTX && mode.width == 640);
    });
    return modes;
}

INSTANTIATE_TEST_SUITE_P(EachMode, UnitBlits, testing::ValuesIn(UnitModes()),
                         testing::PrintToStringParamName());

// The driver's dispatch sends the same words to an SX, which has neither unit. Nothing announces
// such blits there, and no picture is promised: the board counts what it was asked for.

TEST_P(SXBlits, AKeyedCopyTakesKeyColouredPixelsTooAndTheBoardCountsTheChromaTest) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    const RECT from = {3, 5, 63, 45}, to = {20, 11, 80, 51};
    stage.CopyAndFollow(surfaces.back, to, surfaces.sprite, from,
                        {.sourceKey = Key(GetParam().bits)});
    stage.CompareMemory(surfaces.primary);
    EXPECT_EQ(stage.Unmodelled(), (std::map<std::string, uint64_t>{{"chroma test", 1}}));
}

TEST_P(SXBlits, AStretchDrawsNothingAndTheBoardCountsTheTextureUnit) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    stage.Blt(surfaces.back, {20, 11, 80, 51}, surfaces.sprite, {3, 5, 33, 45});
    stage.Blt(surfaces.back, {20, 11, 80, 51}, surfaces.sprite, {3, 5, 63, 45},
              {.sourceKey = {}, .mirrorUpDown = true});
    stage.Blt(surfaces.back, {0, 0, 80, 51}, surfaces.sprite, {3, 5, 63, 45},
              {.sourceKey = Key(GetParam().bits)});
    stage.CompareMemory(surfaces.primary);
    EXPECT_EQ(stage.Unmodelled(), (std::map<std::string, uint64_t>{{"texture unit", 3}}));
    // And the chip is as ready as ever.
    stage.FillAndFollow(surfaces.back, {5, 5, 70, 60}, 0x5A);
    const RECT from = {3, 5, 63, 45}, to = {20, 11, 80, 51};
    stage.CopyAndFollow(surfaces.back, to, surfaces.sprite, from);
    stage.CompareMemory(surfaces.primary);
    EXPECT_EQ(stage.Unmodelled().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(EachMode, SXBlits,
                         testing::Values(BlitMode{DeviceSX, 8, 320}, BlitMode{DeviceSX, 16, 416},
                                         BlitMode{DeviceSX, 32, 640}),
                         testing::PrintToStringParamName());

// Textures, on the chips that have a texture unit.

std::vector<BlitMode> TextureGlintModes() {
    return {{DeviceTX, 16, 320},
            {DeviceTX, 32, 640},
            {DeviceMX, 8, 320},
            {DeviceMX, 16, 320},
            {DeviceMX, 32, 640}};
}

class GlintTextureBlits : public GlintBlits {};

// The memory that a surface's fill counts as one line: words as many as a line has pixels.
Place WordsOf(const Place& place) {
    return {place.memory, place.base, place.pitch / place.bytes * 4, 4};
}

TEST_P(GlintTextureBlits, FillsOf32BitTexturesArePlain) {
    BlitStage stage(GetParam());
    host::Surface& primary = stage.DirectDraw().CreatePrimary();
    host::Surface& texture = stage.DirectDraw().CreateTexture(64, 64, host::Format8888());
    for (int i = 0; i != 100; ++i) {
        const RECT area = stage.Area(texture);
        const uint32_t pixel = stage.Random(0, 0x7FFFFFFF);
        stage.FillAndFollow(texture, area, pixel);
    }
    ASSERT_NO_FATAL_FAILURE(stage.Compare(primary));
}

TEST_P(GlintTextureBlits, FillsOfNarrowTexturesTakeTheirPitchInPixelsForOneInWords) {
    // The processor's columns lie as the pixels do; the chip's words do so in the first line alone.
    for (const DDPIXELFORMAT& format : {host::Format1555(), host::Format332()}) {
        BlitStage stage(GetParam());
        host::Surface& primary = stage.DirectDraw().CreatePrimary();
        host::Surface& texture = stage.DirectDraw().CreateTexture(64, 64, format);
        const bool bytes = texture.Bits() == 8;
        for (int i = 0; i != 100; ++i) {
            const RECT area = stage.Area(texture);
            const uint32_t pixel = stage.Random(0, bytes ? 0xFF : 0xFFFF);
            stage.ColorFill(texture, area, pixel);
            const Place place = stage.PlaceOf(texture);
            const int perWord = bytes ? 4 : 2;
            const LONG firstWord = (area.left + perWord - 1) / perWord;
            const LONG endWord = area.right / perWord;
            if (endWord < firstWord) {
                // Both edges in one word, which is filled whole.
                FillPlainly(place, {endWord * 4, area.top, endWord * 4 + 4, area.bottom}, pixel);
            } else {
                FillPlainly(place, {area.left, area.top, firstWord * perWord, area.bottom}, pixel);
                FillPlainly(place, {endWord * perWord, area.top, area.right, area.bottom}, pixel);
                if (!bytes && area.left % 2 == 0) {
                    FillPlainly(place, {area.right - 1, area.top, area.right, area.bottom}, pixel);
                }
            }
            FillPlainly(
                WordsOf(place),
                {std::min(firstWord, endWord), area.top, std::max(firstWord, endWord), area.bottom},
                bytes ? pixel * 0x01010101u : pixel * 0x00010001u);
        }
        ASSERT_NO_FATAL_FAILURE(stage.Compare(primary));
    }
}

TEST_P(GlintTextureBlits, CopiesOfNarrowTexturesMoveTheWordsInWhichTheirPixelsLie) {
    for (const DDPIXELFORMAT& format : {host::Format1555(), host::Format332()}) {
        BlitStage stage(GetParam());
        host::Surface& primary = stage.DirectDraw().CreatePrimary();
        host::Surface& first = stage.DirectDraw().CreateTexture(128, 64, format);
        host::Surface& second = stage.DirectDraw().CreateTexture(128, 64, format);
        const int shift = first.Bits() == 16 ? 1 : 2;
        for (int i = 0; i != 200; ++i) {
            host::Surface& dest = i % 2 == 0 ? first : second;
            host::Surface& source = stage.Random(0, 1) == 0 ? first : second;
            const auto [to, from] = stage.AreasOfOneSize(dest, source, 128, 64);
            stage.Blt(dest, to, source, from);
            Place a = stage.PlaceOf(dest);
            Place b = stage.PlaceOf(source);
            a.bytes = b.bytes = 4;
            const RECT words = {to.left >> shift, to.top, to.right >> shift, to.bottom};
            CopyForward(a, words, b, {from.left >> shift, from.top, 0, 0});
        }
        ASSERT_NO_FATAL_FAILURE(stage.Compare(primary));
    }
}

TEST_P(GlintTextureBlits, CopiesOf32BitPixelsHaveNoPitchAndLandInTheFirstLine) {
    // Surfaces of whole words have no pitch in words on record.
    for (const bool depth : {false, true}) {
        BlitStage stage(GetParam());
        host::DirectDraw& directDraw = stage.DirectDraw();
        host::Surface& primary = directDraw.CreatePrimary();
        const auto create = [&]() -> host::Surface& {
            return depth ? directDraw.CreateZBuffer(64, 64)
                         : directDraw.CreateTexture(64, 64, host::Format8888());
        };
        host::Surface& dest = create();
        host::Surface& source = create();
        for (int i = 0; i != 100; ++i) {
            const auto [to, from] = stage.AreasOfOneSize(dest, source, 64, 64);
            stage.Blt(dest, to, source, from);
            const Place a = stage.PlaceOf(dest);
            const Place b = stage.PlaceOf(source);
            // From the line by which the rectangles differ, which may be before the source.
            for (LONG x = 0; x != to.right - to.left; ++x) {
                a.Set(to.left + x, 0, b.Get(from.left + x, from.top - to.top));
            }
        }
        ASSERT_NO_FATAL_FAILURE(stage.Compare(primary));
    }
}

INSTANTIATE_TEST_SUITE_P(EachMode, GlintTextureBlits, testing::ValuesIn(TextureGlintModes()),
                         testing::PrintToStringParamName());

} // namespace
