#pragma once
// The members of a Delta setup unit once more: what it does in its own way.
#include "tests/driver/raster/setup_reference.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace reference {

inline constexpr SetupMember kDeltaRGBF{true, true, 0, true};
inline constexpr SetupMember kDeltaFogSpecular{true, true, 9, false};
inline constexpr SetupMember kDeltaRGBFS{true, false, 3, true};

class DeltaReference final : public SetupReference {
  public:
    using SetupReference::SetupReference;

    // Solid triangles with depth, plain or textured.
    void Solid(const SetupMember& member, const Vertices& vertices,
               const std::vector<D3DTRIANGLE>& records) {
        uint32_t render = ctx.RenderCommand | 0x40;
        Strips(
            member, vertices, records,
            [&](const Triangle& triangle) { Full(member, triangle, render); },
            [&](const Triangle& triangle, uint32_t slot) { Next(member, triangle, slot, render); });
    }

    void MipMapped(const SetupMember& member, const Vertices& vertices,
                   const std::vector<D3DTRIANGLE>& records) {
        uint32_t render = ctx.RenderCommand | 0x40;
        int level = -1;
        for (const D3DTRIANGLE& record : records) {
            Triangle triangle = Take(member, vertices, record);
            if (Culled(triangle)) {
                continue;
            }
            const TextureRecord& texture = *ctx.CurrentTexture;
            const int wanted = Level(triangle, texture);
            const TextureLevel& to = texture.Levels[wanted];
            if (wanted != level) {
                level = wanted;
                Program(to, level);
            }
            triangle.scaleU = to.WidthScale;
            triangle.scaleV = to.HeightScale;
            Full(member, triangle, render);
        }
    }

    // With culling on: true if the side does not show.
    static bool FacesAway(uint32_t cullMode, float det) {
        return cullMode == D3DCULL_CCW ? det <= 0 : !(det < 0);
    }

  private:
    bool Hides(float det) const override { return FacesAway(ctx.CullMode, det); }
    uint32_t ColourOf(const SetupMember& member, const D3DTLVERTEX& v) const override {
        return Cleared(!member.textured ? Lit(v) : member.gamma ? Gamma(v.color) : v.color);
    }
    // Channels in fixed point, alpha only for blending.
    void Colour(uint32_t colour, uint32_t slot) override {
        const auto channel = [colour](uint32_t shift) { return (colour >> shift & 0xFF) << 22; };
        Put({(Has(RF_BLEND) ? 0x01E08200 : 0x00E08200) + slot, channel(16), channel(8),
             channel(0)});
        if (Has(RF_BLEND)) {
            Put({channel(24)});
        }
    }
    uint32_t ColourEntries() const override { return Has(RF_BLEND) ? 5 : 4; }
    // A line within one pixel starts a row higher.
    void BeginLine(D3DTLVERTEX& a, const D3DTLVERTEX& b) const override {
        const auto whole = [](float x) { return static_cast<int>(std::nearbyint(x)); };
        if (whole(a.sx) == whole(b.sx) && whole(a.sy) == whole(b.sy)) {
            a.sy -= 1.0f;
        }
    }

    void Full(const SetupMember& member, const Triangle& triangle, uint32_t& render) {
        if (!member.textured) {
            if (Has(RF_FOG)) {
                Wait(3);
            }
            for (uint32_t i = 0; i < 3; ++i) {
                Fog(member, triangle.v[i], i * kSlot, 0);
            }
            Wait(6);
        }
        for (uint32_t i = 0; i < 3; ++i) {
            if (member.textured) {
                Wait(member.strength != 0 ? 8 : 7);
            }
            Vertex(member, triangle, static_cast<int>(i), i * kSlot);
        }
        if (member.textured) {
            for (uint32_t i = 0; i < 3; ++i) {
                Fog(member, triangle.v[i], i * kSlot, 2);
            }
        }
        Stipple(triangle.v[0].color, render);
        if (Has(RF_GOURAUD)) {
            if (!member.textured) {
                Wait(Has(RF_BLEND) ? 9 : 6);
            }
            for (uint32_t i = 0; i < 3; ++i) {
                if (member.textured) {
                    Wait(ColourEntries());
                }
                Colour(ColourOf(member, triangle.v[i]), i * kSlot);
            }
        } else {
            Wait(2);
            Put({t::ConstantColor, Exchange(ColourOf(member, triangle.v[0]))});
        }
        Wait(2);
        Put({t::DrawTriangle, render});
    }

    void Next(const SetupMember& member, Triangle triangle, uint32_t slot, uint32_t& render) {
        const D3DTLVERTEX& c = triangle.v[2];
        if (!member.textured) {
            Fog(member, c, slot, 2);
            Wait(4);
            Vertex(member, triangle, 2, slot);
        } else {
            WrapNewest(triangle);
            Wait(member.strength != 0 ? 8 : 7);
            Vertex(member, triangle, 2, slot);
            Fog(member, c, slot, 2);
        }
        Stipple(triangle.v[0].color, render);
        if (Has(RF_GOURAUD)) {
            Wait(ColourEntries());
            Colour(ColourOf(member, c), slot);
        } else {
            Wait(2);
            Put({t::ConstantColor, Exchange(ColourOf(member, triangle.v[0]))});
        }
        Wait(2);
        Put({t::DrawTriangle, render});
    }

    // A continuation's third coordinates: the two that are there cannot move any more.
    void WrapNewest(Triangle& triangle) const {
        const auto& v = triangle.v;
        std::vector<float> tu = {v[0].tu, v[1].tu, v[2].tu}, tv = {v[0].tv, v[1].tv, v[2].tv};
        Reduced(tu, tv);
        triangle.tu[2] = Has(RF_WRAPU) ? WrapThird(tu[0], tu[1], tu[2]) : tu[2];
        triangle.tv[2] = Has(RF_WRAPV) ? WrapThird(tv[0], tv[1], tv[2]) : tv[2];
    }
    // By the cases that raise it.
    static float WrapThird(float u0, float u1, float u2) {
        const bool far01 = std::fabs(u1 - u0) > 0.5f, far12 = std::fabs(u2 - u1) > 0.5f,
                   far20 = std::fabs(u0 - u2) > 0.5f;
        bool raise = false;
        if (far01 && far12) {
            raise = u1 >= u2;
        } else if (far12 && far20) {
            raise = u2 < u0;
        } else if (far20 && far01) {
            raise = u0 >= u1;
        }
        return raise ? u2 + 1.0f : u2;
    }

    // A negative area on the screen leaves no level in between.
    static int Level(const Triangle& triangle, const TextureRecord& texture) {
        const float texels = std::fabs(Texels(triangle.v, texture));
        const float det = Det(triangle.v[0], triangle.v[1], triangle.v[2]);
        if (std::signbit(det)) {
            return texels >= std::fabs(det) ? 0 : static_cast<int>(texture.LevelCount) - 1;
        }
        return LevelWithin(HalfLogarithm(texels, det), texture);
    }
};

} // namespace reference
