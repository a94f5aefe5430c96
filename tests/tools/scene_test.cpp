#include "tests/tools/recording_painter.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

namespace korv {
namespace {

constexpr Extent kSizes[] = {{640, 480}, {64, 64}, {320, 1000}, {17, 9}};

TEST(Scenes, NamesAreDistinct) {
    std::set<std::string_view> names;
    for (const Scene& scene : Scenes()) {
        EXPECT_TRUE(names.insert(scene.name).second) << scene.name;
    }
}

TEST(Scenes, EveryVertexLiesInsideTheTarget) {
    for (const Scene& scene : Scenes()) {
        for (const Extent size : kSizes) {
            for (const bool allFactors : {false, true}) {
                SCOPED_TRACE(scene.name);
                RecordingPainter painter(size, allFactors);
                scene.draw(painter);
                ASSERT_FALSE(painter.corners.empty() && painter.blits.empty() &&
                             painter.fields.empty());
                EXPECT_EQ(painter.badIndices, 0u);
                for (const D3DTLVERTEX& v : painter.corners) {
                    ASSERT_GE(v.sx, 0);
                    ASSERT_LE(v.sx, size.width);
                    ASSERT_GE(v.sy, 0);
                    ASSERT_LE(v.sy, size.height);
                    ASSERT_GE(v.sz, 0);
                    ASSERT_LE(v.sz, 1);
                    ASSERT_GT(v.rhw, 0);
                }
            }
        }
    }
}

TEST(Scenes, ClearBeforeTheyDraw) {
    for (const Scene& scene : Scenes()) {
        RecordingPainter painter({64, 48});
        scene.draw(painter);
        EXPECT_EQ(painter.clears.size(), scene.flips ? painter.flips : 1u) << scene.name;
    }
}

TEST(Scenes, EveryBlitAndFillLiesInsideTargetAndImage) {
    const auto inside = [](const RECT& rect, LONG width, LONG height) {
        return rect.left >= 0 && rect.top >= 0 && rect.left < rect.right &&
               rect.top < rect.bottom && rect.right <= width && rect.bottom <= height;
    };
    for (const Scene& scene : Scenes()) {
        for (const Extent size : {Extent{640, 480}, {320, 1000}, {64, 64}, {17, 9}, {1, 1}}) {
            SCOPED_TRACE(scene.name);
            RecordingPainter painter(size);
            scene.draw(painter);
            for (const auto& blit : painter.blits) {
                EXPECT_TRUE(inside(blit.to, size.width, size.height));
                const host::Picture& image = painter.images.at(blit.image);
                EXPECT_TRUE(inside(blit.from, static_cast<LONG>(image.width),
                                   static_cast<LONG>(image.height)));
                EXPECT_EQ(image.width % 2, 0u);
            }
            for (const auto& fill : painter.fills) {
                EXPECT_TRUE(inside(fill.area, size.width, size.height));
            }
        }
    }
}

TEST(Scenes, DrawTheSameEveryTime) {
    for (const Scene& scene : Scenes()) {
        RecordingPainter first({320, 240}), second({320, 240});
        scene.draw(first);
        scene.draw(second);
        ASSERT_EQ(first.corners.size(), second.corners.size());
        for (size_t i = 0; i < first.corners.size(); ++i) {
            ASSERT_EQ(std::memcmp(&first.corners[i], &second.corners[i], sizeof(D3DTLVERTEX)), 0)
                << scene.name << ", corner " << i;
        }
    }
}

std::set<std::pair<DWORD, DWORD>> BlendPairs(bool allFactors) {
    RecordingPainter painter({640, 480}, allFactors);
    DrawBlendFactors(painter);
    std::set<std::pair<DWORD, DWORD>> pairs;
    DWORD source = 0;
    for (const auto& state : painter.states) {
        if (state.type == D3DRENDERSTATE_SRCBLEND) {
            source = state.value;
        }
        if (state.type == D3DRENDERSTATE_DESTBLEND) {
            pairs.insert({source, state.value});
        }
    }
    return pairs;
}

TEST(BlendScene, UsesTheFewPairsOfAChipWithoutTheFullSet) {
    const std::set<std::pair<DWORD, DWORD>> expected{{D3DBLEND_ONE, D3DBLEND_ZERO},
                                                     {D3DBLEND_ONE, D3DBLEND_ONE},
                                                     {D3DBLEND_ONE, D3DBLEND_INVSRCALPHA},
                                                     {D3DBLEND_SRCALPHA, D3DBLEND_INVSRCALPHA}};
    EXPECT_EQ(BlendPairs(false), expected);
}

TEST(BlendScene, UsesNineSourceAndEightDestinationFactorsElsewhere) {
    const auto pairs = BlendPairs(true);
    EXPECT_EQ(pairs.size(), 72u);
    // A destination factor can be no function of the destination's colour, a source factor none of
    // the source's.
    for (const auto& [source, dest] : pairs) {
        EXPECT_NE(source, D3DBLEND_SRCCOLOR);
        EXPECT_NE(source, D3DBLEND_INVSRCCOLOR);
        EXPECT_LE(dest, D3DBLEND_INVDESTALPHA);
    }
}

TEST(StippleScene, ShowsAllSixteenPatterns) {
    RecordingPainter painter({640, 480});
    DrawStippledAlpha(painter);
    std::set<uint32_t> patterns;
    for (const D3DTLVERTEX& v : painter.corners) {
        patterns.insert(v.color >> 28);
    }
    EXPECT_EQ(patterns.size(), 16u);
}

TEST(FogScene, GoesFromClearToAllFog) {
    RecordingPainter painter({640, 480});
    DrawFogFloor(painter);
    std::set<uint32_t> fog;
    for (const D3DTLVERTEX& v : painter.corners) {
        fog.insert(v.specular >> 24);
    }
    EXPECT_TRUE(fog.contains(0));
    EXPECT_TRUE(fog.contains(255));
    EXPECT_GT(fog.size(), 100u);
}

} // namespace
} // namespace korv
