#pragma once
// Random triangles and states that meet every branch of the set-up.
#include "tests/driver/raster/raster_rig.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace test {

// Vertices of many kinds: near and far, snapped and not, grey and coloured, with rows in common.
struct Batch {
    std::vector<D3DTLVERTEX> vertices;
    std::vector<uint32_t> indices;
};

inline Batch RandomBatch(std::mt19937& random) {
    const auto pick = [&random](uint32_t n) { return static_cast<uint32_t>(random() % n); };
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    const float spread = std::array{2.0f, 20.0f, 300.0f, 2047.0f}[pick(4)];
    Batch batch;
    for (int i = 0; i < 12; ++i) {
        D3DTLVERTEX v = Vertex(unit(random) * spread, unit(random) * spread, unit(random),
                               static_cast<D3DCOLOR>(random()), static_cast<D3DCOLOR>(random()));
        v.rhw = 0.01f + unit(random);
        v.tu = (unit(random) - 0.25f) * 2.0f;
        v.tv = (unit(random) - 0.25f) * 2.0f;
        if (pick(3) == 0) {
            v.sx = std::floor(v.sx);
            v.sy = std::floor(v.sy) + (pick(2) != 0 ? 0.5f : 0.0f);
        }
        if (pick(4) == 0) {
            v.sz = std::array{0.0f, 1.0f, -0.5f, 40000.0f}[pick(4)];
        }
        if (pick(2) == 0) {
            v.color = (v.color & 0xFF000000) | (v.color & 0xFF) * 0x010101;
        }
        if (pick(3) == 0) {
            v.specular &= 0xFF000000;
        }
        if (pick(6) == 0) {
            v.tu *= 20.0f;
            v.tv *= -8.0f;
        }
        if (pick(3) == 0) {
            v.rhw = std::array{0.0f, 1.0f, 0.5f, 1e-20f}[pick(4)];
        }
        if (i > 0 && pick(4) == 0) {
            v.sy = batch.vertices.back().sy;
        }
        if (i > 0 && pick(8) == 0) {
            v.sx = batch.vertices.back().sx;
        }
        batch.vertices.push_back(v);
    }
    const bool allGrey = pick(3) == 0;
    for (D3DTLVERTEX& v : batch.vertices) {
        if (allGrey) {
            v.color = (v.color & 0xFF000000) | (v.color & 0xFF) * 0x010101;
        }
    }
    for (int i = 0; i < 3 * 10; ++i) {
        batch.indices.push_back(pick(12));
    }
    return batch;
}

inline void RandomState(std::mt19937& random, D3DContext& ctx, ChipInfo& chip) {
    const auto pick = [&random](uint32_t n) { return static_cast<uint32_t>(random() % n); };
    ctx.RenderFlags = (pick(2) * RF_SPECULAR) | (pick(2) * RF_BLEND) |
                      (pick(2) * RF_STIPPLEDALPHA) | (pick(2) * RF_FOG) | (pick(2) * RF_GOURAUD) |
                      (pick(2) * RF_WRAPU) | (pick(2) * RF_WRAPV) | (pick(2) * RF_PERSPECTIVE);
    ctx.CullMode = 1 + pick(3);
    ctx.BlendForcesZeroAlpha = pick(2);
    ctx.BytesPerPixel = pick(2) == 0 ? 2 : 4;
    ctx.RenderCommand = static_cast<uint32_t>(random());
    const auto repeats = 1u << pick(9), repeatsDown = 1u << pick(9);
    ctx.TextureWidth = 2048.0f / static_cast<float>(repeats);
    ctx.TextureHeight = 2048.0f / static_cast<float>(repeatsDown);
    ctx.TextureRepeatU = static_cast<float>(repeats);
    ctx.TextureRepeatV = static_cast<float>(repeatsDown);
    ctx.TextureRepeatMaskU = repeats - 1;
    ctx.TextureRepeatMaskV = repeatsDown - 1;
    ctx.Copies.ColorDDAMode = pick(4);
    chip.Family = pick(2) == 0 ? FamilyGlint : FamilyPermedia;
}

} // namespace test
