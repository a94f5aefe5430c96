// Copies of the Permedia family over all of the board's memory: overlaps to all sides, stripes of
// surfaces at every place in the word. Fills of its Z buffers.
#include "tests/system/blit_stage.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace test;

class PermediaMemory : public testing::TestWithParam<BlitMode> {};

// A copy that reads all before it writes.
void CopyWhole(const Place& dest, const RECT& to, const Place& source, const RECT& from) {
    std::vector<uint32_t> pixels;
    for (LONG y = from.top; y != from.bottom; ++y) {
        for (LONG x = from.left; x != from.right; ++x) {
            pixels.push_back(source.Get(x, y));
        }
    }
    size_t next = 0;
    for (LONG y = to.top; y != to.bottom; ++y) {
        for (LONG x = to.left; x != to.right; ++x) {
            dest.Set(x, y, pixels[next++]);
        }
    }
}

TEST_P(PermediaMemory, CopiesOverlappingToAnySideArriveWhole) {
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

TEST_P(PermediaMemory, CopiesBetweenSurfacesOfAnyWidthTouchTheirRectangleAlone) {
    for (const uint32_t width : {33u, 62u, 97u, 100u}) {
        BlitStage stage(GetParam());
        Surfaces surfaces(stage.DirectDraw());
        host::Surface& other = stage.DirectDraw().CreateOffscreen(width, 50);
        for (int i = 0; i != 150; ++i) {
            host::Surface& given = surfaces.Any(stage.Random(0, 2));
            const bool out = stage.Random(0, 1) != 0;
            host::Surface& dest = out ? given : other;
            host::Surface& source = out ? other : given;
            const int columns = stage.Random(1, 33);
            const int lines = stage.Random(1, 50);
            const RECT to = stage.Area(dest, columns, lines);
            const RECT from = stage.Area(source, columns, lines);
            stage.Blt(dest, to, source, from);
            CopyWhole(stage.PlaceOf(dest), to, stage.PlaceOf(source), from);
        }
        ASSERT_NO_FATAL_FAILURE(stage.Compare(surfaces.primary));
    }
}

TEST_P(PermediaMemory, DepthFillsTouchTheirRectangleAlone) {
    BlitStage stage(GetParam());
    host::Surface& primary = stage.DirectDraw().CreatePrimary();
    host::Surface& depth = stage.DirectDraw().CreateZBuffer(GetParam().width, 100);
    Place place = stage.PlaceOf(depth);
    place.bytes = 2;
    for (int i = 0; i != 200; ++i) {
        const RECT area = stage.Area(depth);
        const uint32_t value = stage.Random(0, 0xFFFF);
        stage.DepthFill(depth, area, value);
        FillPlainly(place, area, value);
    }
    ASSERT_NO_FATAL_FAILURE(stage.Compare(primary));
}

INSTANTIATE_TEST_SUITE_P(EachMode, PermediaMemory, testing::ValuesIn(PermediaModes()),
                         testing::PrintToStringParamName());

} // namespace
