// Fills by colour and by raster operation, of both families, over all of the board's memory.
#include "tests/system/blit_stage.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

class Fills : public testing::TestWithParam<BlitMode> {};

TEST_P(Fills, AnyRectangleOfTheScreenAndOfSurfacesBehindIt) {
    BlitStage stage(GetParam());
    Surfaces surfaces(stage.DirectDraw());
    InBatches(stage, surfaces, [&] {
        host::Surface& surface = surfaces.Any(stage.Random(0, 2));
        const RECT area = stage.Area(surface);
        const uint32_t pixel = stage.Pixel();
        stage.ColorFill(surface, area, pixel);
        FillPlainly(stage.PlaceOf(surface), area, pixel);
    });
}

TEST_P(Fills, BlacknessAndWhitenessAreZerosAndOnes) {
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

TEST_P(Fills, AndCopiesBetweenThemGiveTheSameOnASlowBoard) {
    // The smallest FIFO, slowly drained.
    BlitStage stage(GetParam(), {.fifoDepth = 16, .fifoDrainPerTick = 1});
    Surfaces surfaces(stage.DirectDraw());
    for (int i = 0; i != kBatch; ++i) {
        const RECT to = stage.Area(surfaces.back, 30, 20);
        const RECT from = stage.Area(surfaces.sprite, 30, 20);
        stage.Blt(surfaces.back, to, surfaces.sprite, from);
        CopyForward(stage.PlaceOf(surfaces.back), to, stage.PlaceOf(surfaces.sprite), from);
        const RECT area = stage.Area(surfaces.primary);
        const uint32_t pixel = stage.Pixel();
        stage.ColorFill(surfaces.primary, area, pixel);
        FillPlainly(stage.PlaceOf(surfaces.primary), area, pixel);
    }
    ASSERT_NO_FATAL_FAILURE(stage.Compare(surfaces.primary));
}

INSTANTIATE_TEST_SUITE_P(Glint, Fills, testing::ValuesIn(GlintModes()),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Permedia, Fills, testing::ValuesIn(PermediaModes()),
                         testing::PrintToStringParamName());

} // namespace
