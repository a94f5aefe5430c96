#include "tests/system/scenes.h"

#include "tests/system/dice.h"

#include <algorithm>
#include <cmath>

namespace test {

namespace {

constexpr float kSceneWidth = 320;
constexpr float kSceneHeight = 240;
constexpr float kPi = 3.14159265f;

// Draws that do not depend on the library's distributions.
float Clamped(float value, float high) {
    return std::clamp(value, 0.0f, high);
}

} // namespace

namespace {

// A well-shaped triangle around (x, y), its corners `size` pixels out.
Triangle3 Gentle(Dice& dice, float x, float y, float size, const DrawState& state) {
    const float turn = dice.Between(0, 2 * kPi);
    const uint32_t base[3] = {dice.Byte(20, 190), dice.Byte(20, 190), dice.Byte(20, 190)};
    Vertex v[3];
    for (int k = 0; k < 3; ++k) {
        const float angle = turn + 2 * kPi / 3 * k;
        uint32_t rgb = 0;
        for (const uint32_t channel : base) {
            rgb = rgb << 8 | (channel + dice.Byte(0, 40));
        }
        v[k] = {Clamped(x + size * std::cos(angle), kSceneWidth),
                Clamped(y + size * std::sin(angle), kSceneHeight), dice.Between(0.1f, 0.9f),
                dice.Byte(60, 200) << 24 | rgb, dice.Byte(60, 255) << 24};
    }
    return {v[0], v[1], v[2], state};
}

} // namespace

std::vector<Triangle3> GentleTriangles(uint32_t count, float size, uint32_t seed,
                                       const DrawState& state) {
    Dice dice(seed);
    std::vector<Triangle3> list;
    for (uint32_t i = 0; i < count; ++i) {
        const float x = dice.Between(size, kSceneWidth - size);
        const float y = dice.Between(size, kSceneHeight - size);
        list.push_back(Gentle(dice, x, y, size, state));
    }
    return list;
}

std::vector<Triangle3> SeparateTriangles(uint32_t seed, const DrawState& state) {
    Dice dice(seed);
    std::vector<Triangle3> list;
    for (int i = 0; i < 6; ++i) {
        const float x = 53 + 107.0f * static_cast<float>(i % 3);
        const float y = 60 + 120.0f * static_cast<float>(i / 3);
        list.push_back(Gentle(dice, x, y, 52, state));
    }
    return list;
}

std::vector<Triangle3> TexturedTriangles(uint32_t count, float size, uint32_t seed,
                                         const DrawState& state, float from, float reach) {
    Dice dice(seed);
    std::vector<Triangle3> list;
    for (uint32_t i = 0; i < count; ++i) {
        const float x = dice.Between(size, kSceneWidth - size);
        const float y = dice.Between(size, kSceneHeight - size);
        Triangle3 triangle = Gentle(dice, x, y, size, state);
        const float turn = dice.Between(0, 2 * kPi);
        for (Vertex* v : {&triangle.a, &triangle.b, &triangle.c}) {
            v->y = std::round(v->y);
            const float dx = (v->x - x) / (2 * size), dy = (v->y - y) / (2 * size);
            v->u = from + reach * (0.5f + dx * std::cos(turn) - dy * std::sin(turn));
            v->v = from + reach * (0.5f + dx * std::sin(turn) + dy * std::cos(turn));
            v->rhw = state.perspective ? dice.Between(0.25f, 1) : 1;
        }
        list.push_back(triangle);
    }
    return list;
}

std::vector<Triangle3> Ball(float centreX, float centreY, float radius, uint32_t rings,
                            uint32_t tint, const DrawState& state) {
    const uint32_t slices = rings * 2;
    const auto at = [&](uint32_t ring, uint32_t slice) {
        const float theta = kPi * ring / rings;
        const float phi = 2 * kPi * slice / slices;
        const float nx = std::sin(theta) * std::cos(phi);
        const float ny = -std::cos(theta);
        const float nz = std::sin(theta) * std::sin(phi);
        const float light = std::max(0.0f, 0.45f * nx - 0.5f * ny - 0.74f * nz) * 0.85f + 0.15f;
        uint32_t rgb = 0;
        for (int shift = 16; shift >= 0; shift -= 8) {
            rgb = rgb << 8 | static_cast<uint32_t>(light * ((tint >> shift) & 0xFF));
        }
        return Vertex{centreX + radius * nx, centreY + radius * ny, 0.5f + 0.3f * nz,
                      0xFF000000 | rgb, 0xFF000000};
    };
    std::vector<Triangle3> list;
    for (uint32_t ring = 0; ring < rings; ++ring) {
        for (uint32_t slice = 0; slice < slices; ++slice) {
            const Vertex a = at(ring, slice), b = at(ring, slice + 1);
            const Vertex c = at(ring + 1, slice + 1), d = at(ring + 1, slice);
            list.push_back({a, b, c, state});
            list.push_back({a, c, d, state});
        }
    }
    return list;
}

std::vector<Triangle3> Quad(float x0, float y0, float x1, float y1, float z,
                            const uint32_t (&colors)[4], uint32_t specular,
                            const DrawState& state) {
    const Vertex a{x0, y0, z, colors[0], specular}, b{x1, y0, z, colors[1], specular};
    const Vertex c{x1, y1, z, colors[2], specular}, d{x0, y1, z, colors[3], specular};
    return {{a, b, c, state}, {a, c, d, state}};
}

std::vector<Triangle3> Layers(uint32_t count, uint32_t seed, const DrawState& state) {
    Dice dice(seed);
    std::vector<std::vector<Triangle3>> quads;
    for (uint32_t i = 0; i < count; ++i) {
        const float x = dice.Between(0, kSceneWidth - 90), y = dice.Between(0, kSceneHeight - 90);
        const uint32_t color =
            0xFF000000 | dice.Byte(0, 255) << 16 | dice.Byte(0, 255) << 8 | dice.Byte(0, 255);
        const uint32_t colors[4] = {color, color, color, color};
        quads.push_back(Quad(x, y, x + dice.Between(30, 90), y + dice.Between(30, 90),
                             (i + 1.0f) / (count + 1.0f), colors, 0xFF000000, state));
    }
    for (uint32_t i = count - 1; i > 0; --i) {
        std::swap(quads[i], quads[dice.Below(i + 1)]);
    }
    std::vector<Triangle3> list;
    for (const auto& quad : quads) {
        list.insert(list.end(), quad.begin(), quad.end());
    }
    return list;
}

std::vector<Triangle3> Slivers(uint32_t count, float radius, uint32_t seed, uint32_t color,
                               const DrawState& state) {
    Dice dice(seed);
    std::vector<float> angles;
    for (uint32_t i = 0; i < count; ++i) {
        angles.push_back(2 * kPi * (i + dice.Between(0, 0.9f)) / count);
    }
    const auto rim = [&](uint32_t i) {
        return Vertex{kSceneWidth / 2 + radius * std::cos(angles[i]),
                      kSceneHeight / 2 + radius * std::sin(angles[i]), 0.5f, color, 0xFF000000};
    };
    const Vertex centre{kSceneWidth / 2 + 0.3f, kSceneHeight / 2 - 0.2f, 0.5f, color, 0xFF000000};
    std::vector<Triangle3> list;
    for (uint32_t i = 0; i < count; ++i) {
        list.push_back({centre, rim(i), rim((i + 1) % count), state});
    }
    return list;
}

} // namespace test
