// What Glint and Permedia blit alike, over all of the board's memory: fills by colour, by raster
// operation and of Z buffers, copies from one surface to another.
#include "tests/system/blit_stage.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

class BothFamilies : public testing::TestWithParam<BlitMode> {};

TEST_P(BothFamilies, FillAnyRectangleOfTheScreenAndOfSurfacesBehindIt) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    InBatches(stage, surfaces, [&] {
        host::Surface& surface = surfaces.Any(stage.Random(0, 2));
        const RECT area = stage.Area(surface);
        stage.FillAndFollow(surface, area, stage.Pixel());
    });
}

TEST_P(BothFamilies, FillWithZerosForBlacknessAndOnesForWhiteness) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    for (int i = 0; i != kBatch; ++i) {
        host::Surface& surface = surfaces.Any(stage.Random(0, 2));
        const RECT area = stage.Area(surface);
        const bool white = i % 2 != 0;
        stage.RopFill(surface, area, white);
        FillPlainly(stage.PlaceOf(surface), area, white ? 0xFFFFFFFF : 0);
    }
    ASSERT_NO_FATAL_FAILURE(stage.Compare(surfaces.primary));
}

TEST_P(BothFamilies, FillAnyRectangleOfAZBuffer) {
    BlitStage stage(GetParam());
    host::Surface& primary = stage.DirectDraw().CreatePrimary();
    host::Surface& depth = stage.DirectDraw().CreateZBuffer(GetParam().width, 100);
    Place place = stage.PlaceOf(depth);
    place.bytes = IsGlint(GetParam()) ? 4 : 2;
    for (int i = 0; i != 200; ++i) {
        const RECT area = stage.Area(depth);
        const uint32_t value = stage.Random(0, place.bytes == 4 ? 0x7FFFFFFF : 0xFFFF);
        stage.DepthFill(depth, area, value);
        FillPlainly(place, area, value);
    }
    ASSERT_NO_FATAL_FAILURE(stage.Compare(primary));
}

TEST_P(BothFamilies, CopyBetweenSurfacesAtAnyPlace) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    InBatches(stage, surfaces, [&] {
        const int first = stage.Random(0, 2);
        host::Surface& dest = surfaces.Any(first);
        host::Surface& source = surfaces.Any((first + stage.Random(1, 2)) % 3);
        const auto [to, from] = stage.AreasOfOneSize(dest, source, 75, 60);
        stage.CopyAndFollow(dest, to, source, from);
    });
}

TEST_P(BothFamilies, FillAndCopyTheSameOnASlowBoard) {
    // The smallest FIFO, slowly drained.
    BlitStage stage(GetParam(), {.fifoDepth = 16, .fifoDrainPerTick = 1});
    Surfaces surfaces(stage.DirectDraw());
    for (int i = 0; i != kBatch; ++i) {
        const RECT to = stage.Area(surfaces.back, 30, 20);
        const RECT from = stage.Area(surfaces.sprite, 30, 20);
        stage.CopyAndFollow(surfaces.back, to, surfaces.sprite, from);
        const RECT area = stage.Area(surfaces.primary);
        stage.FillAndFollow(surfaces.primary, area, stage.Pixel());
    }
    ASSERT_NO_FATAL_FAILURE(stage.Compare(surfaces.primary));
}

INSTANTIATE_TEST_SUITE_P(Glint, BothFamilies, testing::ValuesIn(GlintModes()),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Permedia, BothFamilies, testing::ValuesIn(PermediaModes()),
                         testing::PrintToStringParamName());

} // namespace
