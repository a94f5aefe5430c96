// Two-dimensional pictures of the Permedia family, over all of the board's memory, against plain
// loops: overlaps to all sides, stripes of surfaces at every place in the word, stretches.
#include "tests/system/blit_stage.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace test;

class PermediaBlits : public testing::TestWithParam<BlitMode> {};

// A copy that reads all before it writes.
void CopyWhole(const Place& dest, const RECT& to, const Place& source, const RECT& from) {
    const std::vector<uint32_t> pixels = PixelsOf(source, from);
    size_t next = 0;
    for (LONG y = to.top; y != to.bottom; ++y) {
        for (LONG x = to.left; x != to.right; ++x) {
            dest.Set(x, y, pixels[next++]);
        }
    }
}

TEST_P(PermediaBlits, CopiesOverlappingToAnySideArriveWhole) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    InBatches(stage, surfaces, [&] {
        host::Surface& surface = surfaces.Any(stage.Random(0, 2));
        const int width = stage.Random(1, 60);
        const int height = stage.Random(1, 40);
        const RECT from = stage.Area(surface, width, height);
        const RECT to = Nearby(stage, surface, from, 9, 2);
        stage.Blt(surface, to, surface, from);
        CopyWhole(stage.PlaceOf(surface), to, stage.PlaceOf(surface), from);
    });
}

TEST_P(PermediaBlits, CopiesBetweenSurfacesOfAnyWidthTouchTheirRectangleAlone) {
    for (const uint32_t width : {33u, 62u, 97u, 100u}) {
        BlitStage stage(GetParam());
        Surfaces surfaces(stage.DirectDraw());
        host::Surface& other = stage.DirectDraw().CreateOffscreen(width, 50);
        for (int i = 0; i != 150; ++i) {
            host::Surface& given = surfaces.Any(stage.Random(0, 2));
            const bool out = stage.Random(0, 1) != 0;
            host::Surface& dest = out ? given : other;
            host::Surface& source = out ? other : given;
            const auto [to, from] = stage.AreasOfOneSize(dest, source, 33, 50);
            stage.CopyAndFollow(dest, to, source, from);
        }
        ASSERT_NO_FATAL_FAILURE(stage.Compare(surfaces.primary));
    }
}

// A few colours, so that a key matches some pixels. A 15-bit pixel has no bit to spare.
uint32_t Colour(BlitStage& stage, uint32_t bits) {
    constexpr uint32_t kColours[] = {0x2F1E63, 0x1C5A3A, 0x0077C4, 0x7F7F7F, 0x000000};
    return kColours[stage.Random(0, 4)] & ((1u << (bits == 16 ? 15 : std::min(bits, 24u))) - 1);
}

TEST_P(PermediaBlits, StretchAndMirrorWithAKeyOrWithout) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    host::Surface &dest = surfaces.back, &source = surfaces.sprite;
    const Place a = stage.PlaceOf(dest), b = stage.PlaceOf(source);
    for (uint32_t y = 0; y != source.Height(); ++y) {
        for (uint32_t x = 0; x != source.Width(); ++x) {
            const uint32_t pixel = Colour(stage, GetParam().bits);
            source.SetPixel(x, y, pixel);
            b.Set(x, y, pixel);
        }
    }
    for (int i = 0; i != 60; ++i) {
        const int width = stage.Random(1, 40);
        const int height = stage.Random(1, 30);
        // Of equal size every second time, which a keyed copy without a mirror takes up.
        const int destWidth = i % 4 < 2 ? width : stage.Random(1, 90);
        const int destHeight = i % 4 < 2 ? height : stage.Random(1, 60);
        host::BltOptions options;
        options.mirrorLeftRight = i % 3 == 1;
        options.mirrorUpDown = i % 5 == 1;
        const uint32_t key = Colour(stage, GetParam().bits);
        if (i % 2 != 0) {
            options.sourceKey = DDCOLORKEY{key, key};
        }
        const RECT from = stage.Area(source, width, height);
        const RECT to = stage.Area(dest, destWidth, destHeight);
        stage.Blt(dest, to, source, from, options);
        // A mirror counts within the whole surface: it takes the part that lies across.
        const auto texel = [](bool mirrored, uint32_t size, int first, int step, int n) {
            const int64_t start = mirrored ? static_cast<int>(size) - first - 1 : first;
            return (start * 0x100000 + (mirrored ? -n : n) * int64_t{step}) >> 20;
        };
        const int stepS = (width << 20) / destWidth;
        const int stepT = (height << 20) / destHeight;
        for (int y = 0; y != destHeight; ++y) {
            for (int x = 0; x != destWidth; ++x) {
                const uint32_t pixel =
                    b.Get(texel(options.mirrorLeftRight, source.Width(), from.left, stepS, x),
                          texel(options.mirrorUpDown, source.Height(), from.top, stepT, y));
                if (!options.sourceKey || pixel != key) {
                    a.Set(to.left + x, to.top + y, pixel);
                }
            }
        }
    }
    ASSERT_NO_FATAL_FAILURE(stage.Compare(surfaces.primary));
}

INSTANTIATE_TEST_SUITE_P(EachMode, PermediaBlits, testing::ValuesIn(PermediaModes()),
                         testing::PrintToStringParamName());

} // namespace
