#pragma once
// Triangle members of the host set-up: a triangle worked out by hand, and the comparison of random
// batches with the plain set-up.
#include "tests/driver/raster/gl_gour_reference.h"
#include "tests/driver/raster/random_batch.h"
#include "tests/driver/raster/raster_rig.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace test {

struct GlintMember {
    const char* name;
    Renderer renderer;
    reference::Member traits;
};

// Rows 20 (A, top), 28 (B), 36 (C, bottom); the long edge is vertical at x 100, B lies 16 to the
// right of it. inv = -1/256, GradA = -1/16, GradB = -1/32, heights 16, 8, 8: a step in x is
// (2 d12 - d02) / 32, a step up is -d02 / 16.
inline std::vector<D3DTLVERTEX> HandTriangle() {
    std::vector<D3DTLVERTEX> vertices = {Vertex(100, 20, 1.0f, 0x40102030, 0x00000000),
                                         Vertex(116, 28, 0.0f, 0xC05020F0, 0x60000000),
                                         Vertex(100, 36, 1.0f, 0x80306090, 0x20000000)};
    const float q[] = {0.125f, 0.25f, 0.5f}, u[] = {0.75f, 0.25f, 0.5f}, v[] = {0.5f, 1.0f, 0.25f};
    for (int i = 0; i < 3; ++i) {
        vertices[i].rhw = q[i];
        vertices[i].tu = u[i];
        vertices[i].tv = v[i];
    }
    return vertices;
}
inline const std::vector<uint32_t> kOne = {0, 1, 2};

// 65535, 0, 65535: -65535 / 16 in x, 0 up.
inline const Words kHandDepth = {0x0FC08130, 0xFFFF, 0, 0xFFFFF000, 0x10000000, 0, 0};
// 32, 96, 0 of 255: 5 in x, -2 up.
inline const Words kHandFog = {0x007080D0, 0x80000, 0x14000, 0xFFFF8000};
inline const Words kHandConstantColor = {t::ConstantColor, 0x40302010};

inline Words HandEdges(uint32_t render) {
    return {0x00FF8000, 0x640000, 0,          0x640000, 0x20000,    0x230000, 0xFFFF0000,
            8,          render,   0x040C8000, 0x740000, 0xFFFE0000, 8};
}

// 64 by 32 texels.
inline void BindTexture(D3DContext& ctx) {
    ctx.TextureWidth = 64.0f;
    ctx.TextureHeight = 32.0f;
    ctx.TextureRepeatU = 32.0f;
    ctx.TextureRepeatMaskU = 31;
    ctx.TextureRepeatV = 64.0f;
    ctx.TextureRepeatMaskV = 63;
}

// The words of one triangle.
inline Words DrawOnce(Renderer member, RasterRig& rig, std::vector<D3DTLVERTEX> vertices) {
    BindTexture(rig.ctx);
    rig.Draw(member, vertices, kOne);
    return rig.Take();
}

// Words under DMA and what is left in context and vertices, over random batches.
inline void ExpectBatchesLikeReference(const GlintMember& member, std::mt19937& random,
                                       int rounds) {
    size_t total = 0;
    RasterRig rig;
    for (int round = 0; round < rounds; ++round) {
        RandomState(random, rig.ctx, rig.chip);
        Batch batch = RandomBatch(random);
        std::vector<D3DTLVERTEX> expectedVertices = batch.vertices;
        D3DContext expectedContext = rig.ctx;
        reference::TriangleReference expected;
        expected.Batch(member.traits, expectedContext, expectedVertices, batch.indices);

        rig.Draw(member.renderer, batch.vertices, batch.indices);
        const Words words = rig.Take();
        ASSERT_EQ(words, expected.Words()) << member.name << " round " << round;
        ASSERT_EQ(rig.ctx.StippleIndex, expectedContext.StippleIndex);
        for (size_t i = 0; i < batch.vertices.size(); ++i) {
            ASSERT_EQ(batch.vertices[i].sy, expectedVertices[i].sy);
            ASSERT_EQ(batch.vertices[i].tu, expectedVertices[i].tu);
            ASSERT_EQ(batch.vertices[i].rhw, expectedVertices[i].rhw);
        }
        total += words.size();
    }
    EXPECT_GT(total, 10000u);
}

// Where FIFO mode looks at the space.
inline void ExpectFifoLikeReference(const GlintMember& member, std::mt19937& random, int rounds) {
    RasterRig rig(false);
    for (int round = 0; round < rounds; ++round) {
        RandomState(random, rig.ctx, rig.chip);
        Batch batch = RandomBatch(random);
        std::vector<D3DTLVERTEX> vertices = batch.vertices;
        D3DContext context = rig.ctx;
        reference::TriangleReference expected;
        expected.Batch(member.traits, context, vertices, batch.indices);

        rig.bus.fifoSpace = 13 + random() % 60;
        rig.bus.Clear();
        rig.Draw(member.renderer, batch.vertices, batch.indices);
        ASSERT_EQ(rig.bus.events, expected.Events(rig.bus.fifoSpace))
            << member.name << " round " << round;
    }
}

} // namespace test
