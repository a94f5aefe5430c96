// Pictures that the driver and the board make together, against the reference rasteriser.
#include "tests/system/scenes.h"
#include "tests/system/stage.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace test;

constexpr double kPictureTolerance = 2;

class PictureTest : public testing::TestWithParam<TestBoard> {
  protected:
    // Draws the list on the chip and by the reference, and compares both ways.
    void Check(const std::vector<Triangle3>& list, uint32_t background = 0, bool interiors = true) {
        Stage stage(
            {.deviceId = GetParam().deviceId, .delta = GetParam().delta, .background = background});
        stage.Draw(list);
        const Image picture = stage.Picture();
        EXPECT_EQ(stage.Faults(), "");
        Reference reference(320, 240, background);
        for (const Triangle3& triangle : list) {
            reference.Draw(triangle);
        }
        const Verdict near = CompareWithinOnePixel(picture, reference, kPictureTolerance);
        EXPECT_EQ(near.bad, 0u) << near.first;
        if (interiors) {
            const Verdict inside = CompareInteriors(picture, reference, kPictureTolerance);
            EXPECT_GT(inside.compared, 1000u);
            EXPECT_EQ(inside.bad, 0u) << inside.first;
        }
    }
    bool IsPermedia() const { return GetParam().IsPermedia(); }
};

std::string BoardName(const testing::TestParamInfo<TestBoard>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Chips, PictureTest, testing::ValuesIn(kTestBoards), BoardName);

TEST_P(PictureTest, GouraudTriangles) {
    Check(GentleTriangles(40, 70, 1, {}));
}

TEST_P(PictureTest, FlatTrianglesTakeTheFirstVertexesColour) {
    Check(GentleTriangles(40, 60, 2, {.gouraud = false}));
}

TEST_P(PictureTest, FlatTrianglesWithDepth) {
    Check(GentleTriangles(30, 60, 3, {.gouraud = false, .zEnable = true}), 0, false);
}

TEST_P(PictureTest, CulledTrianglesAreNotDrawn) {
    for (const uint32_t cull : {D3DCULL_CW, D3DCULL_CCW}) {
        auto list = GentleTriangles(30, 60, 4, {.cull = cull});
        for (size_t i = 0; i < list.size(); i += 2) {
            std::swap(list[i].a, list[i].b);
        }
        Check(list);
    }
}

TEST_P(PictureTest, ABallWithDepth) {
    Check(Ball(160, 120, 100, 16, 0xE0C080, {.zEnable = true}), 0x203040, false);
}

TEST_P(PictureTest, SeparatedLayersKeepTheirOrderExactly) {
    const DrawState state{.gouraud = false, .zEnable = true};
    Check(Layers(60, 5, state));
}

TEST_P(PictureTest, EveryDepthComparison) {
    for (uint32_t function = D3DCMP_NEVER; function <= D3DCMP_ALWAYS; ++function) {
        std::vector<Triangle3> list = Layers(12, 6, {.gouraud = false, .zEnable = true});
        for (const Triangle3& t :
             Layers(12, 7, {.gouraud = false, .zEnable = true, .zFunc = function})) {
            list.push_back(t);
        }
        Check(list);
    }
}

TEST_P(PictureTest, DepthIsLeftAloneWithoutWrites) {
    std::vector<Triangle3> list =
        Layers(12, 8, {.gouraud = false, .zEnable = true, .zWrite = false});
    for (const Triangle3& t : Layers(12, 9, {.gouraud = false, .zEnable = true})) {
        list.push_back(t);
    }
    Check(list);
}

TEST_P(PictureTest, Fog) {
    Check(GentleTriangles(30, 75, 10, {.fog = true, .fogColor = 0x4080C0}));
    Check(GentleTriangles(30, 75, 11, {.zEnable = true, .fog = true, .fogColor = 0xC08040}), 0,
          false);
}

TEST_P(PictureTest, FogOnFlatTrianglesNeedsDepth) {
    Check(GentleTriangles(30, 75, 12,
                          {.gouraud = false, .zEnable = true, .fog = true, .fogColor = 0x4080C0}),
          0, false);
}

TEST_P(PictureTest, SpecularIsAdded) {
    auto list = GentleTriangles(30, 75, 13, {.specular = true});
    for (Triangle3& t : list) {
        for (Vertex* v : {&t.a, &t.b, &t.c}) {
            v->specular |= 0x141E0A;
            v->color &= 0xFFFEFEFE; // the add leaves the low bits out
        }
    }
    Check(list);
}

TEST_P(PictureTest, AlphaBlendingWithEachPairThatTheChipHas) {
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    if (IsPermedia()) {
        pairs = {{D3DBLEND_ONE, D3DBLEND_ZERO},
                 {D3DBLEND_ONE, D3DBLEND_ONE},
                 {D3DBLEND_ONE, D3DBLEND_INVSRCALPHA},
                 {D3DBLEND_SRCALPHA, D3DBLEND_INVSRCALPHA}};
    } else {
        // Not those that read the target's alpha: this target promises none to the application.
        for (const uint32_t source :
             {D3DBLEND_ZERO, D3DBLEND_ONE, D3DBLEND_DESTCOLOR, D3DBLEND_INVDESTCOLOR,
              D3DBLEND_SRCALPHA, D3DBLEND_INVSRCALPHA}) {
            for (const uint32_t dest :
                 {D3DBLEND_ZERO, D3DBLEND_ONE, D3DBLEND_SRCCOLOR, D3DBLEND_INVSRCCOLOR,
                  D3DBLEND_SRCALPHA, D3DBLEND_INVSRCALPHA}) {
                pairs.emplace_back(source, dest);
            }
        }
    }
    const uint32_t corners[4] = {0xFF206080, 0xFF406020, 0xFF805030, 0xFF303060};
    for (const auto& [source, dest] : pairs) {
        SCOPED_TRACE(testing::Message() << "source " << source << " dest " << dest);
        std::vector<Triangle3> list = Quad(10, 10, 310, 230, 0.5f, corners, 0xFF000000, {});
        // A single alpha for each triangle: down the long edge the driver steps alpha by blue's
        // slope.
        auto over = SeparateTriangles(14, {.blend = true, .source = source, .dest = dest});
        for (Triangle3& t : over) {
            const uint32_t alpha = t.a.color & 0xFF000000;
            const uint32_t blue = t.a.color & 0xFF;
            for (Vertex* v : {&t.a, &t.b, &t.c}) {
                v->color = alpha | (v->color & 0xFFFF00) | blue;
            }
        }
        list.insert(list.end(), over.begin(), over.end());
        Check(list, 0x101010);
    }
}

TEST_P(PictureTest, StippledAlphaScreensByTheBottomVertexOrWithASetupUnitByTheFirst) {
    std::vector<Triangle3> list;
    for (uint32_t i = 0; i < 16; ++i) {
        const float x = 10 + 75.0f * (i % 4);
        const float y = 6 + 58.0f * (i / 4);
        const Vertex a{x, y, 0.5f, (15 - i) << 28 | 0x404040}, b{x + 70, y + 4, 0.5f, 0x90404040};
        const Vertex c{x + 30, y + 52, 0.5f, i << 28 | 0x40E0C0};
        // With a setup unit, flat triangles without depth are filled as blocks, never stippled.
        list.push_back({a,
                        b,
                        c,
                        {.gouraud = false,
                         .zEnable = GetParam().HasSetupUnit(),
                         .zFunc = D3DCMP_ALWAYS,
                         .stippledAlpha = true}});
    }
    // Screen-door pixels are single: each must sit where the pattern says, edges aside.
    Stage stage({.deviceId = GetParam().deviceId, .delta = GetParam().delta});
    stage.Draw(list);
    const Image picture = stage.Picture();
    EXPECT_EQ(stage.Faults(), "");
    Reference reference(320, 240, 0, {.stipplesByFirst = GetParam().HasSetupUnit()});
    for (const Triangle3& t : list) {
        reference.Draw(t);
    }
    uint32_t set = 0;
    for (uint32_t i = 0; i < 16; ++i) {
        for (uint32_t y = 12 + 58 * (i / 4); y < 30 + 58 * (i / 4); ++y) {
            for (uint32_t x = 32 + 75 * (i % 4); x < 46 + 75 * (i % 4); ++x) {
                const uint8_t* seen = picture.At(x, y);
                for (int channel = 0; channel < 3; ++channel) {
                    EXPECT_NEAR(seen[channel], reference.At(x, y)[channel], kPictureTolerance)
                        << x << "," << y;
                }
                set += seen[1] != 0;
            }
        }
    }
    EXPECT_GT(set, 1000u);
}

TEST_P(PictureTest, SharedEdgesNeitherCrackNorOverlap) {
    // Each sliver adds 0x08 to what is there: a crack stays black, an overlap is twice as bright.
    const auto list = Slivers(180, 110, 15, 0xFF080808,
                              {.blend = true, .source = D3DBLEND_ONE, .dest = D3DBLEND_ONE});
    Stage stage({.deviceId = GetParam().deviceId, .delta = GetParam().delta});
    stage.Draw(list);
    const Image picture = stage.Picture();
    uint32_t inside = 0;
    for (int y = 0; y < 240; ++y) {
        for (int x = 0; x < 320; ++x) {
            const double distance = std::hypot(x + 0.5 - 160, y + 0.5 - 120);
            const uint8_t* seen = picture.At(x, y);
            if (distance < 108) {
                ++inside;
                EXPECT_EQ(seen[1], 8) << x << "," << y;
            } else if (distance > 112) {
                EXPECT_EQ(seen[1], 0) << x << "," << y;
            }
        }
    }
    EXPECT_GT(inside, 30000u);
}

class DepthOfColour : public testing::TestWithParam<std::tuple<TestBoard, uint32_t>> {};

INSTANTIATE_TEST_SUITE_P(Chips, DepthOfColour,
                         testing::Combine(testing::ValuesIn(kTestBoards), testing::Values(8u, 16u)),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    std::to_string(std::get<1>(info.param)) + "bits";
                         });

TEST_P(DepthOfColour, TheSameTrianglesInFewerColours) {
    const auto [board, bits] = GetParam();
    const auto list = GentleTriangles(30, 75, 16, {});
    Stage stage({.deviceId = board.deviceId, .delta = board.delta, .bits = bits});
    stage.Draw(list);
    const Image picture = stage.Picture();
    EXPECT_EQ(stage.Faults(), "");
    Reference reference(320, 240, 0);
    for (const Triangle3& t : list) {
        reference.Draw(t);
    }
    // One step of the coarsest channel: 255 / 31, or 255 / 3.
    const double step = bits == 16 ? 255.0 / 31 : 255.0 / 3;
    const Verdict near = CompareWithinOnePixel(picture, reference, step + 1);
    EXPECT_EQ(near.bad, 0u) << near.first;
}

} // namespace
