#include "tests/tools/recording_painter.h"
#include "tools/korv/model/terrain.h"
#include "tools/korv/painting/strips.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

#include <numbers>

namespace korv {
namespace {

// A painter that also keeps the triangles' records, call by call.
struct StripPainter : RecordingPainter {
    using RecordingPainter::RecordingPainter;
    void Triangles(std::span<const D3DTLVERTEX> vertices,
                   std::span<const D3DTRIANGLE> triangles) override {
        RecordingPainter::Triangles(vertices, triangles);
        strips.emplace_back(triangles.begin(), triangles.end());
    }
    std::vector<std::vector<D3DTRIANGLE>> strips;
};

// What a device that follows the flags takes the corners for.
void ExpectFlagsTellTheTruth(const std::vector<D3DTRIANGLE>& strip) {
    for (size_t i = 0; i < strip.size(); ++i) {
        const WORD code = strip[i].wFlags & 0x1F;
        if (code == D3DTRIFLAG_EVEN) {
            ASSERT_GT(i, 0u);
            EXPECT_EQ(strip[i].v1, strip[i - 1].v1);
            EXPECT_EQ(strip[i].v2, strip[i - 1].v3);
        } else if (code == D3DTRIFLAG_ODD) {
            ASSERT_GT(i, 0u);
            EXPECT_EQ(strip[i].v1, strip[i - 1].v3);
            EXPECT_EQ(strip[i].v2, strip[i - 1].v2);
        }
    }
}

TEST(Terrain, LandscapeIsMoreThanTwentyThousandTrianglesInStrips) {
    StripPainter painter({640, 480});
    DrawLandscape(painter);
    EXPECT_EQ(painter.corners.size(), 3u * 25088);
    EXPECT_EQ(painter.badIndices, 0u);
    EXPECT_EQ(painter.strips.size(), 112u);
    size_t shared = 0;
    for (const auto& strip : painter.strips) {
        ExpectFlagsTellTheTruth(strip);
        EXPECT_EQ(strip.front().wFlags & 0x1F, D3DTRIFLAG_START);
        for (const D3DTRIANGLE& t : strip) {
            shared += (t.wFlags & 0x1F) == D3DTRIFLAG_EVEN;
        }
    }
    EXPECT_GT(shared, 12000u);
}

TEST(Terrain, AStripThatLeavesTheViewBeginsAnew) {
    // Close by, so that much of it lies outside.
    StripPainter painter({320, 240});
    const Camera camera =
        LookAt({0, -0.6, 0.5}, {0, 0.2, 0}, 40 * std::numbers::pi / 180, 0.1, 4, painter.Size());
    DrawStrips(painter, Terrain(40), 40, camera, {});
    ASSERT_FALSE(painter.strips.empty());
    EXPECT_LT(painter.corners.size(), 3u * 40 * 40 * 2);
    for (const auto& strip : painter.strips) {
        ExpectFlagsTellTheTruth(strip);
    }
}

} // namespace
} // namespace korv
