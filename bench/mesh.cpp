#include "bench/mesh.h"

#include <random>

namespace bench {

namespace {

constexpr float kScreen = 640.0f;

D3DTLVERTEX RandomVertex(std::mt19937& random, float x, float y) {
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    D3DTLVERTEX v{};
    v.sx = x;
    v.sy = y;
    v.sz = unit(random);
    v.rhw = 0.1f + unit(random);
    v.color = random();
    v.specular = random();
    v.tu = unit(random);
    v.tv = unit(random);
    return v;
}

D3DTRIANGLE Triangle(uint32_t a, uint32_t b, uint32_t c, uint32_t flags) {
    D3DTRIANGLE triangle{};
    triangle.v1 = static_cast<WORD>(a);
    triangle.v2 = static_cast<WORD>(b);
    triangle.v3 = static_cast<WORD>(c);
    triangle.wFlags = static_cast<WORD>(flags | D3DTRIFLAG_EDGEENABLETRIANGLE);
    return triangle;
}

} // namespace

Mesh StripMesh(bool strips) {
    constexpr uint32_t kSide = 64;
    constexpr float kCell = kScreen / kSide;
    std::mt19937 random(1);
    std::uniform_real_distribution<float> jitter(-0.24f * kCell, 0.24f * kCell);
    Mesh mesh{Facing::One, {}, {}};
    for (uint32_t y = 0; y < kSide; ++y) {
        for (uint32_t x = 0; x < kSide; ++x) {
            const float toX = jitter(random), toY = jitter(random);
            mesh.vertices.push_back(RandomVertex(random,
                                                 (static_cast<float>(x) + 0.5f) * kCell + toX,
                                                 (static_cast<float>(y) + 0.5f) * kCell + toY));
        }
    }
    for (uint32_t y = 0; y + 1 < kSide; ++y) {
        uint32_t flags = D3DTRIFLAG_START;
        for (uint32_t x = 0; x + 1 < kSide; ++x) {
            const uint32_t above = y * kSide + x, below = above + kSide;
            mesh.triangles.push_back(Triangle(above, below, above + 1, flags));
            flags = strips ? D3DTRIFLAG_EVEN : D3DTRIFLAG_START;
            mesh.triangles.push_back(Triangle(above + 1, below, below + 1, flags));
        }
    }
    return mesh;
}

Mesh RandomTriangles(uint32_t count) {
    std::mt19937 random(2);
    std::uniform_real_distribution<float> place(0.0f, kScreen);
    Mesh mesh{Facing::Any, {}, {}};
    for (uint32_t i = 0; i < count * 3; ++i) {
        const float x = place(random), y = place(random);
        mesh.vertices.push_back(RandomVertex(random, x, y));
    }
    for (uint32_t i = 0; i < count; ++i) {
        mesh.triangles.push_back(Triangle(3 * i, 3 * i + 1, 3 * i + 2, D3DTRIFLAG_START));
    }
    return mesh;
}

} // namespace bench
