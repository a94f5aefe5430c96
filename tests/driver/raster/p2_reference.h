#pragma once
// The members of Permedia 2 once more: what it does in its own way.
#include "tests/driver/raster/setup_reference.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

namespace reference {

// A textured triangle member.
struct P2Member {
    bool fast = false;   // no range reduction, no waits
    bool mip = false;    // levels, ungated cull
    bool square = false; // width scales both
};

inline constexpr SetupMember kP2TexturedWire{true, false, 3, true};

class P2Reference final : public SetupReference {
  public:
    using SetupReference::SetupReference;

    // Untextured triangles with depth.
    void Solid(const Vertices& vertices, const std::vector<D3DTRIANGLE>& records) {
        uint32_t render = ctx.RenderCommand | 0x40;
        Strips(
            kPlainMember, vertices, records,
            [&](const Triangle& triangle) { Full(triangle, render); },
            [&](const Triangle& triangle, uint32_t slot) { Next(triangle, slot, render); });
    }

    // Textured triangles. Vertices must not contain NaN.
    void Textured(const P2Member& member, const Vertices& vertices,
                  const std::vector<D3DTRIANGLE>& records) {
        struct Kept {
            uint32_t vertex;
            uint32_t slot;
        };
        std::vector<Kept> last; // A, B, C of the last triangle sent
        bool lastWrapped = false;
        int level = -1;
        uint32_t render = ctx.RenderCommand | 0x40;
        const bool gouraud = Has(RF_GOURAUD);
        const bool specular = Has(RF_SPECULAR);
        for (const D3DTRIANGLE& record : records) {
            const uint32_t index[3] = {record.v1, record.v2, record.v3};
            const D3DTLVERTEX corner[3] = {vertices[index[0]], vertices[index[1]],
                                           vertices[index[2]]};
            const float det = Det(corner[0], corner[1], corner[2]);
            const uint32_t turned = std::bit_cast<uint32_t>(det) ^ ctx.CullSignB;
            const bool gate = member.mip || ctx.CullMode != 1;
            if (member.mip ? (ctx.CullSignA & turned) >> 31 != 0
                           : ctx.CullMode != 1 && turned >> 31 != 0) {
                continue;
            }
            if (gate && turned < std::bit_cast<uint32_t>(3.0f) &&
                (Alike(corner[0].sy, corner[1].sy, corner[2].sy) ||
                 Alike(corner[0].sx, corner[1].sx, corner[2].sx))) {
                continue;
            }

            bool changed = false;
            float widthScale = ctx.TextureWidthScale, heightScale = ctx.TextureHeightScale;
            if (member.mip) {
                const TextureRecord& texture = *ctx.CurrentTexture;
                const int wanted = Level(corner, det, texture);
                changed = wanted != level;
                level = wanted;
                const TextureLevel& to = texture.Levels[level];
                widthScale = to.WidthScale;
                heightScale = member.square ? to.WidthScale : to.HeightScale;
                if (changed) {
                    Program(to, level);
                }
            }

            std::vector<float> u = {corner[0].tu, corner[1].tu, corner[2].tu};
            std::vector<float> v = {corner[0].tv, corner[1].tv, corner[2].tv};
            bool wrapped = false;
            if (!member.fast) {
                Reduced(u, v);
                wrapped = Has(RF_WRAPU) && Wrap(u);
                wrapped |= Has(RF_WRAPV) && Wrap(v);
            }

            std::optional<uint32_t> slot[3];
            bool sent[3] = {true, true, true};
            const bool all =
                (specular && !gouraud) || (member.mip ? changed : lastWrapped || wrapped);
            if (!all && !last.empty()) {
                for (int i = 0; i < 2; ++i) {
                    // Own place, and the order in which the last triangle's are looked at.
                    const std::vector<int> order = !member.mip ? std::vector{2, i}
                                                   : i == 0    ? std::vector{0, 1, 2}
                                                               : std::vector{1, 0, 2};
                    for (const int j : order) {
                        if (!slot[i] && last[j].vertex == index[i]) {
                            slot[i] = last[j].slot;
                            sent[i] = false;
                        }
                    }
                    if (member.mip) {
                        sent[i] = last[i].vertex != index[i];
                    }
                }
            }
            std::vector<uint32_t> free = {0, 1, 2};
            for (const auto& taken : slot) {
                if (taken) {
                    std::erase(free, *taken);
                }
            }
            last.clear();
            for (int i = 0; i < 3; ++i) {
                if (!slot[i]) {
                    slot[i] = free.front();
                    free.erase(free.begin());
                }
                last.push_back({index[i], *slot[i]});
            }
            lastWrapped = wrapped;

            Stipple(corner[0].color, render);
            if (!gouraud) {
                Wait(2);
                Put({t::ConstantColor, Exchange(Cleared(corner[0].color))});
            }
            for (int i = 0; i < 3; ++i) {
                if (!sent[i]) {
                    continue;
                }
                const D3DTLVERTEX& vertex = corner[i];
                const float q = Has(RF_PERSPECTIVE) ? vertex.rhw : 1.0f;
                const float s = widthScale * u[i], t = heightScale * v[i];
                Wait(7 + specular + gouraud);
                uint32_t mask = 0x1C07;
                std::vector<uint32_t> words = {Bits(s * q), Bits(t * q), Bits(q)};
                if (specular) {
                    mask |= 1 << 3;
                    words.push_back(Bits(Strength((gouraud ? vertex : corner[0]).specular)));
                }
                if (Has(RF_FOG)) {
                    mask |= 1 << 9;
                    words.push_back(Bits(std::ldexp(static_cast<float>(vertex.specular), -32)));
                }
                words.insert(words.end(), {Bits(vertex.sx), Bits(vertex.sy), Bits(vertex.sz)});
                if (gouraud) {
                    mask |= 1 << 14;
                    words.push_back(Cleared(vertex.color));
                }
                Put({(mask << 16 | 0x8230) + *slot[i] * kSlot});
                for (const uint32_t word : words) {
                    Put({word});
                }
            }
            Wait(2);
            Put({t::DrawTriangle, render});
        }
    }

    // With culling on, by what the modes keep.
    static bool FacesAway(uint32_t cullMode, float det) {
        return cullMode == D3DCULL_CW ? !std::signbit(det) : std::signbit(det);
    }
    static bool Alike(float p, float q, float r) {
        return std::nearbyint(p) == std::nearbyint(q) && std::nearbyint(p) == std::nearbyint(r);
    }

  private:
    bool Hides(float det) const override { return FacesAway(ctx.CullMode, det); }
    uint32_t ColourOf(const SetupMember&, const D3DTLVERTEX& v) const override {
        return Cleared(Lit(v));
    }
    // One packed word.
    void Colour(uint32_t colour, uint32_t slot) override { Put({0x40008200 + slot, colour}); }
    uint32_t ColourEntries() const override { return 2; }
    bool LightsAlways() const override { return true; }
    void WireScale(Triangle& triangle) const override {
        triangle.scaleU = ctx.TextureWidthScale;
        triangle.scaleV = ctx.TextureHeightScale;
    }

    void Full(const Triangle& triangle, uint32_t& render) {
        if (Has(RF_FOG)) {
            Wait(3);
        }
        for (uint32_t i = 0; i < 3; ++i) {
            Fog(kPlainMember, triangle.v[i], i * kSlot, 0);
        }
        Wait(9);
        for (uint32_t i = 0; i < 3; ++i) {
            Vertex(kPlainMember, triangle, static_cast<int>(i), i * kSlot);
        }
        Stipple(triangle.v[0].color, render);
        Wait(Has(RF_GOURAUD) ? 3 : 1);
        if (Has(RF_GOURAUD)) {
            for (uint32_t i = 0; i < 3; ++i) {
                Colour(ColourOf(kPlainMember, triangle.v[i]), i * kSlot);
            }
        } else {
            Put({t::ConstantColor, Exchange(ColourOf(kPlainMember, triangle.v[0]))});
        }
        Wait(1);
        Put({t::DrawTriangle, render});
    }

    // A continuation keeps its alpha, and its colour goes to the float group.
    void Next(const Triangle& triangle, uint32_t slot, uint32_t& render) {
        Fog(kPlainMember, triangle.v[2], slot, 2);
        Wait(4);
        Vertex(kPlainMember, triangle, 2, slot);
        Stipple(triangle.v[0].color, render);
        Wait(2);
        if (Has(RF_GOURAUD)) {
            Put({0x40008230 + slot, Lit(triangle.v[2])});
        } else {
            Put({t::ConstantColor, Exchange(Lit(triangle.v[0]))});
        }
        Wait(2);
        Put({t::DrawTriangle, render});
    }

    static int Level(const D3DTLVERTEX (&corner)[3], float det, const TextureRecord& texture) {
        return LevelWithin(HalfLogarithm(Texels(corner, texture), det), texture);
    }
};

} // namespace reference
