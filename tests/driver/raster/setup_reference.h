#pragma once
// The members of a setup unit once more, the slow way, as far as Delta and Permedia 2 are one: a
// description of a member in variables, vertices by value. What each unit does in its own way are
// the virtual functions.
#include "driver/d3d/dcontext.h"
#include "driver/texture/textures.h"
#include "tests/driver/raster/colour_reference.h"
#include "tests/driver/raster/stream_reference.h"
#include "tests/driver/raster/texcoord_reference.h"
#include "tests/support/tag_names.h"
#include "tests/support/words.h"

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace reference {

using test::Bits;

struct SetupMember {
    bool textured = false;
    bool gamma = false;
    uint32_t strength = 0; // mask bit of the word for specular light: 3 is Ks, 9 is F, 0 none
    bool realFog = true;
};

inline constexpr SetupMember kPlainMember{};
inline constexpr uint32_t kSlot = 0x10; // from one slot of the vertex store to the next

class SetupReference : public StreamReference {
  public:
    using Vertices = std::vector<D3DTLVERTEX>;

    explicit SetupReference(D3DContext& context) : ctx(context), flags(context.RenderFlags) {}

    // Two coordinates and a block colour; `mono` takes its grey from blue.
    void Block(bool mono, const Vertices& vertices, const std::vector<D3DTRIANGLE>& records) {
        uint32_t render = ctx.RenderCommand | 0x48;
        if (ctx.Driver->ChipInfo->Family == 4) {
            render &= ~(1u << 18);
        }
        const auto place = [&](const D3DTLVERTEX& v, uint32_t slot) {
            Put({0x0C008230 + slot, Bits(v.sx), Bits(v.sy)});
        };
        const auto draw = [&](const D3DTLVERTEX& a, uint32_t entries) {
            Wait(entries);
            Put({t::FBBlockColor,
                 mono ? (a.color >> 3 & 31) * 0x04210421 : BlockWord(Lit(a), ctx.BytesPerPixel)});
            Wait(entries);
            Put({t::DrawTriangle, render});
        };
        Wait(2);
        Put({t::ColorDDAMode, 0});
        Strips(
            kPlainMember, vertices, records,
            [&](const Triangle& triangle) {
                Wait(6);
                for (uint32_t i = 0; i < 3; ++i) {
                    place(triangle.v[i], i * kSlot);
                }
                draw(triangle.v[0], 1);
            },
            [&](const Triangle& triangle, uint32_t slot) {
                Wait(3);
                place(triangle.v[2], slot);
                draw(triangle.v[0], 2);
            });
        Wait(2);
        Put({t::ColorDDAMode, ctx.Copies.ColorDDAMode});
    }

    void Wire(const SetupMember& member, const Vertices& vertices,
              const std::vector<D3DTRIANGLE>& records) {
        const uint32_t words = !member.textured ? 4 : member.strength != 0 ? 8 : 7;
        for (const D3DTRIANGLE& record : records) {
            Triangle triangle = Take(member, vertices, record);
            if (Culled(triangle)) {
                continue;
            }
            WireScale(triangle);
            uint32_t render = (ctx.RenderCommand & ~0x40u) | 4;
            const auto colour = [&](int i, uint32_t slot) {
                if (Has(RF_GOURAUD)) {
                    Wait(ColourEntries());
                    Colour(ColourOf(member, triangle.v[i]), slot);
                }
            };
            const auto line = [&](bool fromSlot0) {
                Wait(2);
                Put({fromSlot0 ? t::DrawLine01 : t::DrawLine10, render});
            };
            const auto load = [&](int i, uint32_t slot) {
                Vertex(member, triangle, i, slot);
                Fog(member, triangle.v[i], slot, 2);
                colour(i, slot);
            };
            Wait(member.textured ? 2 * words : 6);
            Vertex(member, triangle, 0, 0);
            Vertex(member, triangle, 1, kSlot);
            Fog(member, triangle.v[0], 0, 2);
            Fog(member, triangle.v[1], kSlot, 2);
            colour(0, 0);
            colour(1, kSlot);
            if (!Has(RF_GOURAUD)) {
                Wait(2);
                Put({t::ConstantColor, Exchange(ColourOf(member, triangle.v[0]))});
            }
            if ((record.wFlags & 0x100) != 0) {
                line(triangle.v[0].sx < triangle.v[1].sx);
            }
            render &= ~4u;
            Wait(words);
            load(2, 0);
            if ((record.wFlags & 0x200) != 0) {
                line(triangle.v[1].sx > triangle.v[2].sx);
            }
            if ((record.wFlags & 0x400) != 0) {
                Wait(words);
                load(0, kSlot);
                line(triangle.v[0].sx > triangle.v[2].sx);
            }
        }
    }

    void Points(const Vertices& vertices, const std::vector<D3DTRIANGLE>& records) {
        for (const D3DTRIANGLE& record : records) {
            const Triangle triangle = Take(kPlainMember, vertices, record);
            if (Culled(triangle)) {
                continue;
            }
            for (int i = 0; i < 3; ++i) {
                const D3DTLVERTEX& v = triangle.v[i];
                const uint32_t colour = ColourOf(kPlainMember, v);
                Wait(8);
                Put({0x1C008230, Bits(v.sx), Bits(v.sy), Bits(v.sz)});
                Put({0x1C008240, Bits(v.sx), Bits(v.sy + 1.0f), Bits(v.sz)});
                if (Has(RF_FOG)) {
                    Wait(4);
                    Put({t::V0Fixed + 9, FixedFog(v), t::V1Fixed + 9, FixedFog(v)});
                }
                if (Has(RF_GOURAUD)) {
                    Wait(2 * ColourEntries());
                    Colour(colour, 0);
                    Colour(colour, kSlot);
                } else {
                    Wait(2);
                    Put({t::ConstantColor, Exchange(colour)});
                }
                if ((record.wFlags >> (8 + i) & 1) != 0) {
                    Wait(2);
                    Put({t::DrawLine01, ctx.RenderCommand & ~0x2040u});
                }
            }
        }
    }

    // `strength` as in SetupMember.
    void Lines(uint32_t strength, const Vertices& vertices, const std::vector<D3DLINE>& records) {
        Wait(2);
        Put({t::RasterizerMode, 0x20});
        for (const D3DLINE& record : records) {
            Vertices array = vertices; // both ends may be one vertex
            D3DTLVERTEX &a = array[record.v1], &b = array[record.v2];
            BeginLine(a, b);
            std::vector<float> u = {a.tu, b.tu}, v = {a.tv, b.tv};
            WrapLine(Has(RF_WRAPU), u);
            WrapLine(Has(RF_WRAPV), v);
            for (uint32_t i = 0; i < 2; ++i) {
                const D3DTLVERTEX& end = i == 0 ? a : b;
                const uint32_t slot = i * kSlot;
                if (!Has(RF_TEXTURE)) {
                    Wait(4);
                    Put({0x1C008230 + slot});
                } else {
                    const bool light = Has(RF_SPECULAR);
                    Wait(light ? 8 : 7);
                    Put({((0x1C07 | (light ? 1u << strength : 0)) << 16 | 0x8230) + slot});
                    TextureWords(u[i], v[i], end.rhw, FamilyScaleU(), FamilyScaleV());
                    if (light) {
                        StrengthWord(strength, Strength(end.specular));
                    }
                }
                Put({Bits(end.sx), Bits(end.sy), Bits(end.sz)});
            }
            if (Has(RF_FOG)) {
                Wait(4);
                Put({t::V0Fixed + 9, FixedFog(a), t::V1Fixed + 9, FixedFog(b)});
            }
            if (Has(RF_GOURAUD)) {
                Wait(2 * ColourEntries());
                Colour(Cleared(a.color), 0);
                Colour(Cleared(b.color), kSlot);
            } else {
                Wait(2);
                Put({t::ConstantColor, Exchange(Cleared(a.color))});
            }
            Wait(2);
            Put({t::DrawLine01, (ctx.RenderCommand & ~0x40u) | 4});
            if (Has(RF_LASTPIXEL)) {
                Wait(2);
                Put({t::ContinueNewLine, 1});
            }
        }
        Wait(2);
        Put({t::RasterizerMode, 0});
    }

    static float Det(const D3DTLVERTEX& a, const D3DTLVERTEX& b, const D3DTLVERTEX& c) {
        const float first = (b.sy - c.sy) * (a.sx - c.sx);
        const float second = (a.sy - c.sy) * (b.sx - c.sx);
        return first - second;
    }

  protected:
    struct Triangle {
        D3DTLVERTEX v[3];
        std::vector<float> tu, tv; // reduced and wrapped
        float scaleU, scaleV;
    };

    ~SetupReference() = default;

    // With culling on: true if the side does not show.
    virtual bool Hides(float det) const = 0;
    // The colour that a vertex goes out with.
    virtual uint32_t ColourOf(const SetupMember& member, const D3DTLVERTEX& v) const = 0;
    // A vertex colour's words, and what is waited for ahead of them.
    virtual void Colour(uint32_t colour, uint32_t slot) = 0;
    virtual uint32_t ColourEntries() const = 0;
    // Scales of an outline where they are not the family's.
    virtual void WireScale(Triangle&) const {}
    // Ks goes as the vertex has it, whether specular light is on or not.
    virtual bool LightsAlways() const { return false; }
    // What happens to a line's first end.
    virtual void BeginLine(D3DTLVERTEX&, const D3DTLVERTEX&) const {}

    bool Has(uint32_t flag) const { return (flags & flag) != 0; }
    static uint32_t FixedFog(const D3DTLVERTEX& vertex) { return (vertex.specular >> 24) << 14; }
    uint32_t Lit(const D3DTLVERTEX& v) const {
        return Has(RF_SPECULAR) ? AddSpecular(v.color, v.specular) : v.color;
    }
    uint32_t Cleared(uint32_t c) const {
        return Has(RF_BLEND) && ctx.BlendForcesZeroAlpha == 1 ? c & 0xFFFFFF : c;
    }
    float FamilyScaleU() const {
        return ctx.Driver->ChipInfo->Family == 4 ? ctx.TextureWidthScale : 1.0f;
    }
    float FamilyScaleV() const {
        return ctx.Driver->ChipInfo->Family == 4 ? ctx.TextureHeightScale : 1.0f;
    }

    void Reduced(std::vector<float>& u, std::vector<float>& v) const {
        Reduce(u, ctx.TextureRepeatU, static_cast<int>(ctx.TextureRepeatMaskU));
        Reduce(v, ctx.TextureRepeatV, static_cast<int>(ctx.TextureRepeatMaskV));
    }
    Triangle Take(const SetupMember& member, const Vertices& vertices,
                  const D3DTRIANGLE& record) const {
        const D3DTLVERTEX &a = vertices[record.v1], &b = vertices[record.v2],
                          &c = vertices[record.v3];
        Triangle triangle{
            {a, b, c}, {a.tu, b.tu, c.tu}, {a.tv, b.tv, c.tv}, FamilyScaleU(), FamilyScaleV()};
        if (member.textured) {
            Reduced(triangle.tu, triangle.tv);
            if (Has(RF_WRAPU)) {
                Wrap(triangle.tu);
            }
            if (Has(RF_WRAPV)) {
                Wrap(triangle.tv);
            }
        }
        return triangle;
    }
    static void WrapLine(bool on, std::vector<float>& t) {
        if (on && std::fabs(t[0] - t[1]) > 0.5f) {
            (t[0] < t[1] ? t[0] : t[1]) += 1.0f;
        }
    }

    bool Culled(const Triangle& triangle) const {
        return ctx.CullMode != 1 && Hides(Det(triangle.v[0], triangle.v[1], triangle.v[2]));
    }

    // By the strip flags: `full` for a triangle of its own, `next` with the slot that the third
    // vertex takes for one that goes on from a kept triangle.
    template <class OnFull, class OnNext>
    void Strips(const SetupMember& member, const Vertices& vertices,
                const std::vector<D3DTRIANGLE>& records, const OnFull& full, const OnNext& next) {
        bool restart = true;
        int flatLeft = 0;
        uint32_t older = kSlot, newer = 2 * kSlot;
        for (size_t i = 0; i < records.size(); ++i) {
            const Triangle triangle = Take(member, vertices, records[i]);
            const int code = records[i].wFlags & 31;
            if (!restart && code == 31) {
                std::swap(older, newer);
                if (flatLeft-- <= 0 && Culled(triangle)) {
                    continue;
                }
                next(triangle, newer);
                continue;
            }
            const int run = restart || code > 29 ? 0 : code;
            older = kSlot;
            newer = 2 * kSlot;
            if (ctx.CullMode != 1) {
                restart = Culled(triangle);
                if (restart) {
                    i += run;
                    continue;
                }
                flatLeft = run;
            }
            full(triangle);
        }
    }

    void TextureWords(float u, float v, float rhw, float scaleU, float scaleV) {
        const float q = Has(RF_PERSPECTIVE) ? rhw : 1.0f;
        const float s = u * scaleU, t = v * scaleV;
        Put({Bits(s * q), Bits(t * q), Bits(q)});
    }
    // F has what specular light leaves, Ks the light itself.
    void StrengthWord(uint32_t strength, float light) {
        Put({Bits(strength == 9 ? 1.0f - light : light)});
    }
    void Vertex(const SetupMember& member, const Triangle& triangle, int i, uint32_t slot) {
        const D3DTLVERTEX& v = triangle.v[i];
        uint32_t mask = 0x1C00;
        if (member.textured) {
            mask |= 7;
        }
        if (member.strength != 0) {
            mask |= 1u << member.strength;
        }
        Put({(mask << 16 | 0x8230) + slot});
        if (member.textured) {
            TextureWords(triangle.tu[i], triangle.tv[i], v.rhw, triangle.scaleU, triangle.scaleV);
        }
        if (member.strength != 0) {
            const uint32_t from = Has(RF_GOURAUD) ? v.specular : triangle.v[0].specular;
            const bool lit = LightsAlways() || Has(RF_SPECULAR);
            StrengthWord(member.strength, lit ? Strength(from) : 0.0f);
        }
        Put({Bits(v.sx), Bits(v.sy), Bits(v.sz)});
    }
    void Fog(const SetupMember& member, const D3DTLVERTEX& v, uint32_t slot, uint32_t entries) {
        if (member.realFog && Has(RF_FOG)) {
            if (entries != 0) {
                Wait(entries);
            }
            Put({t::V0Fixed + 9 + slot, FixedFog(v)});
        }
    }
    void Stipple(uint32_t colour, uint32_t& render) {
        if (Has(RF_STIPPLEDALPHA)) {
            render |= 1;
            StippleRows(ctx.StippleIndex, colour >> 28);
        }
    }

    // Texels under the triangle, with the sign of its side.
    static float Texels(const D3DTLVERTEX (&v)[3], const TextureRecord& texture) {
        const float first = (v[0].tu - v[2].tu) * (v[1].tv - v[2].tv);
        const float second = (v[0].tv - v[2].tv) * (v[1].tu - v[2].tu);
        return (first - second) * texture.TexelCount;
    }
    // Half the difference of the areas' logarithms, read off exponent and mantissa as one number.
    static int HalfLogarithm(float texels, float pixels) {
        const auto biased = [](float area) {
            const uint32_t bits = Bits(std::fabs(area));
            return static_cast<double>(bits >> 23) + (bits & 0x7FFFFF) / 8388608.0;
        };
        return static_cast<int>(std::floor((biased(texels) - biased(pixels)) / 2));
    }
    static int LevelWithin(int level, const TextureRecord& texture) {
        const int last = static_cast<int>(texture.LevelCount) - 1;
        return level < 0 ? 0 : level > last ? last : level;
    }
    void Program(const TextureLevel& to, int level) {
        uint32_t& read = ctx.Copies.TextureReadMode;
        read = (read & ~0x3FE00u) | (to.LogWidth & 15) << 9 | (to.LogHeight & 15) << 13;
        if ((level == 0 ? ctx.TextureMagLinear : ctx.TextureMinLinear) == 1) {
            read |= 0x20000;
        }
        uint32_t& map = ctx.Copies.TextureMapFormat;
        map = (map & ~0x1FFu) | to.PP0 | to.PP1 << 3 | to.PP2 << 6;
        Wait(3);
        Put({t::TextureReadMode, read, t::TextureMapFormat, map, t::TextureBaseAddress,
             to.Address});
    }

    D3DContext& ctx;
    uint32_t flags;
};

} // namespace reference
