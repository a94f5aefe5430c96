#pragma once
// The members of a Delta setup unit once more, the slow way: one description of a member in
// variables, vertices by value, a list of words and waits.
#include "driver/raster/stipple.h"
#include "driver/texture/textures.h"
#include "tests/driver/raster/gl_gour_reference.h"
#include "tests/driver/raster/texcoord_reference.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

namespace reference {

struct DeltaMember {
    bool textured = false;
    bool gamma = false;
    uint32_t strength = 0; // mask bit of the word for specular light: 3 is Ks, 9 is F, 0 none
    bool realFog = true;
};

inline constexpr DeltaMember kDeltaPlain{};
inline constexpr DeltaMember kDeltaRGBF{true, true, 0, true};
inline constexpr DeltaMember kDeltaFogSpecular{true, true, 9, false};
inline constexpr DeltaMember kDeltaRGBFS{true, false, 3, true};

class DeltaReference {
  public:
    std::vector<Step> steps;

    explicit DeltaReference(D3DContext& context) : ctx(context), flags(context.RenderFlags) {}

    std::vector<uint32_t> Words() const {
        std::vector<uint32_t> words;
        for (const Step& step : steps) {
            if (!step.wait) {
                words.push_back(step.value);
            }
        }
        return words;
    }

    using Vertices = std::vector<D3DTLVERTEX>;

    // Solid triangles with depth, plain or textured.
    void Solid(const DeltaMember& member, const Vertices& vertices,
               const std::vector<D3DTRIANGLE>& records) {
        uint32_t render = ctx.RenderCommand | 0x40;
        const auto full = [&](const Triangle& t) { Full(member, t, render); };
        const auto next = [&](const Triangle& t, uint32_t slot) {
            const D3DTLVERTEX& c = t.v[2];
            if (!member.textured) {
                Fog(member, c, slot, 2);
                Wait(4);
                Vertex(member, t, 2, slot);
            } else {
                Wait(member.strength != 0 ? 8 : 7);
                Vertex(member, t, 2, slot);
                Fog(member, c, slot, 2);
            }
            Stipple(t.v[0].color, render);
            if (Has(RF_GOURAUD)) {
                Wait(Has(RF_BLEND) ? 5 : 4);
                Colour(ColourOf(member, c), slot);
            } else {
                Wait(2);
                Put({0x0FD, Exchange(ColourOf(member, t.v[0]))});
            }
            Wait(2);
            Put({0x261, render});
        };
        Strips(member, vertices, records, full, next);
    }

    // Two coordinates and a block colour.
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
            Put({0x159, mono ? MonoWord(a.color) : BlockWord(Lit(a))});
            Wait(entries);
            Put({0x261, render});
        };
        Wait(2);
        Put({0x0FC, 0});
        Strips(
            kDeltaPlain, vertices, records,
            [&](const Triangle& t) {
                Wait(6);
                place(t.v[0], 0);
                place(t.v[1], 0x10);
                place(t.v[2], 0x20);
                draw(t.v[0], 1);
            },
            [&](const Triangle& t, uint32_t slot) {
                Wait(3);
                place(t.v[2], slot);
                draw(t.v[0], 2);
            });
        Wait(2);
        Put({0x0FC, ctx.Copies.ColorDDAMode});
    }

    void Wire(const DeltaMember& member, const Vertices& vertices,
              const std::vector<D3DTRIANGLE>& records) {
        const uint32_t words = member.textured ? (member.strength != 0 ? 8 : 7) : 4;
        for (const D3DTRIANGLE& record : records) {
            const Triangle t = Take(member, vertices, record);
            if (Culled(t)) {
                continue;
            }
            uint32_t render = (ctx.RenderCommand & ~0x40u) | 4;
            const auto along = [&](int i, uint32_t slot) { Fog(member, t.v[i], slot, 2); };
            const auto colour = [&](int i, uint32_t slot) {
                if (Has(RF_GOURAUD)) {
                    Wait(Has(RF_BLEND) ? 5 : 4);
                    Colour(ColourOf(member, t.v[i]), slot);
                }
            };
            const auto line = [&](bool fromSlot0) {
                Wait(2);
                Put({fromSlot0 ? 0x263u : 0x264u, render});
            };
            Wait(member.textured ? 2 * words : 6);
            Vertex(member, t, 0, 0);
            Vertex(member, t, 1, 0x10);
            along(0, 0);
            along(1, 0x10);
            colour(0, 0);
            colour(1, 0x10);
            if (!Has(RF_GOURAUD)) {
                Wait(2);
                Put({0x0FD, Exchange(ColourOf(member, t.v[0]))});
            }
            if ((record.wFlags & 0x100) != 0) {
                line(t.v[0].sx < t.v[1].sx);
            }
            render &= ~4u;
            Wait(words);
            Vertex(member, t, 2, 0);
            along(2, 0);
            colour(2, 0);
            if ((record.wFlags & 0x200) != 0) {
                line(t.v[1].sx > t.v[2].sx);
            }
            if ((record.wFlags & 0x400) != 0) {
                Wait(words);
                Vertex(member, t, 0, 0x10);
                along(0, 0x10);
                colour(0, 0x10);
                line(t.v[0].sx > t.v[2].sx);
            }
        }
    }

    void Points(const Vertices& vertices, const std::vector<D3DTRIANGLE>& records) {
        for (const D3DTRIANGLE& record : records) {
            const Triangle t = Take(kDeltaPlain, vertices, record);
            if (Culled(t)) {
                continue;
            }
            for (int i = 0; i < 3; ++i) {
                D3DTLVERTEX v = t.v[i];
                Wait(8);
                Put({0x1C008230, Bits(v.sx), Bits(v.sy), Bits(v.sz)});
                Put({0x1C008240, Bits(v.sx), Bits(v.sy + 1.0f), Bits(v.sz)});
                if (Has(RF_FOG)) {
                    Wait(4);
                    Put({0x209, FixedFog(v), 0x219, FixedFog(v)});
                }
                if (Has(RF_GOURAUD)) {
                    Wait(Has(RF_BLEND) ? 10 : 8);
                    Colour(ColourOf(kDeltaPlain, v), 0);
                    Colour(ColourOf(kDeltaPlain, v), 0x10);
                } else {
                    Wait(2);
                    Put({0x0FD, Exchange(ColourOf(kDeltaPlain, v))});
                }
                if ((record.wFlags >> (8 + i) & 1) != 0) {
                    Wait(2);
                    Put({0x263, ctx.RenderCommand & ~0x2040u});
                }
            }
        }
    }

    // `strength` as in DeltaMember.
    void Lines(uint32_t strength, const Vertices& vertices, const std::vector<D3DLINE>& records) {
        Wait(2);
        Put({0x014, 0x20});
        for (const D3DLINE& record : records) {
            Vertices array = vertices;
            D3DTLVERTEX &a = array[record.v1], &b = array[record.v2];
            const auto whole = [](float x) { return static_cast<int>(std::nearbyint(x)); };
            if (whole(a.sx) == whole(b.sx) && whole(a.sy) == whole(b.sy)) {
                a.sy -= 1.0f;
            }
            float u[2] = {a.tu, b.tu}, v[2] = {a.tv, b.tv};
            const auto wrap = [](float(&t)[2]) {
                if (std::fabs(t[0] - t[1]) > 0.5f) {
                    t[t[0] < t[1] ? 0 : 1] += 1.0f;
                }
            };
            if (Has(RF_WRAPU)) {
                wrap(u);
            }
            if (Has(RF_WRAPV)) {
                wrap(v);
            }
            for (uint32_t i = 0; i < 2; ++i) {
                const D3DTLVERTEX& end = i == 0 ? a : b;
                const uint32_t slot = i * 0x10;
                if (!Has(RF_TEXTURE)) {
                    Wait(4);
                    Put({0x1C008230 + slot});
                } else {
                    uint32_t mask = 0x1C07;
                    std::vector<uint32_t> light;
                    if (Has(RF_SPECULAR)) {
                        mask |= 1u << strength;
                        const float l = Strength(end.specular);
                        light = {Bits(strength == 9 ? 1.0f - l : l)};
                    }
                    Wait(Has(RF_SPECULAR) ? 8 : 7);
                    Put({(mask << 16 | 0x8230) + slot});
                    TextureWords(u[i], v[i], end.rhw, FamilyScaleU(), FamilyScaleV());
                    for (const uint32_t word : light) {
                        Put({word});
                    }
                }
                Put({Bits(end.sx), Bits(end.sy), Bits(end.sz)});
            }
            if (Has(RF_FOG)) {
                Wait(4);
                Put({0x209, FixedFog(a), 0x219, FixedFog(b)});
            }
            if (Has(RF_GOURAUD)) {
                Wait(Has(RF_BLEND) ? 10 : 8);
                Colour(Cleared(a.color), 0);
                Colour(Cleared(b.color), 0x10);
            } else {
                Wait(2);
                Put({0x0FD, Exchange(Cleared(a.color))});
            }
            Wait(2);
            Put({0x263, (ctx.RenderCommand & ~0x40u) | 4});
            if (Has(RF_LASTPIXEL)) {
                Wait(2);
                Put({0x008, 1});
            }
        }
        Wait(2);
        Put({0x014, 0});
    }

    void MipMapped(const DeltaMember& member, const Vertices& vertices,
                   const std::vector<D3DTRIANGLE>& records) {
        uint32_t render = ctx.RenderCommand | 0x40;
        int level = -1;
        for (const D3DTRIANGLE& record : records) {
            Triangle t = Take(member, vertices, record);
            if (Culled(t)) {
                continue;
            }
            const TextureRecord& texture = *ctx.CurrentTexture;
            const int wanted = Level(t, texture);
            const TextureLevel& to = texture.Levels[wanted];
            if (wanted != level) {
                level = wanted;
                Program(to, level);
            }
            t.scaleU = to.WidthScale;
            t.scaleV = to.HeightScale;
            Full(member, t, render);
        }
    }

    static float Det(const D3DTLVERTEX& a, const D3DTLVERTEX& b, const D3DTLVERTEX& c) {
        const float first = (b.sy - c.sy) * (a.sx - c.sx);
        const float second = (a.sy - c.sy) * (b.sx - c.sx);
        return first - second;
    }
    // With culling on: true if the side does not show.
    static bool FacesAway(uint32_t cullMode, float det) {
        return cullMode == D3DCULL_CCW ? det <= 0 : !(det < 0);
    }

  private:
    struct Triangle {
        D3DTLVERTEX v[3];
        std::vector<float> tu, tv; // reduced and wrapped
        float scaleU, scaleV;
    };

    bool Has(uint32_t flag) const { return (flags & flag) != 0; }
    void Wait(uint32_t entries) { steps.push_back({true, entries}); }
    void Put(std::initializer_list<uint32_t> words) {
        for (const uint32_t word : words) {
            steps.push_back({false, word});
        }
    }
    static uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }
    static uint32_t Exchange(uint32_t c) {
        return (c & 0xFF00FF00) | (c & 0xFF) << 16 | (c >> 16 & 0xFF);
    }
    static uint32_t FixedFog(const D3DTLVERTEX& vertex) { return (vertex.specular >> 24) << 14; }
    static uint32_t MonoWord(uint32_t c) {
        const uint32_t b = c >> 3 & 31;
        return b * 0x04210421;
    }
    uint32_t BlockWord(uint32_t c) const {
        if (ctx.BytesPerPixel != 2) {
            return c & 0xFFFFFF;
        }
        return ((c >> 19 & 31) << 10 | (c >> 11 & 31) << 5 | (c >> 3 & 31)) * 0x10001;
    }

    float FamilyScaleU() const {
        return ctx.Driver->ChipInfo->Family == 4 ? ctx.TextureWidthScale : 1.0f;
    }
    float FamilyScaleV() const {
        return ctx.Driver->ChipInfo->Family == 4 ? ctx.TextureHeightScale : 1.0f;
    }

    uint32_t Cleared(uint32_t c) const {
        return Has(RF_BLEND) && ctx.BlendForcesZeroAlpha == 1 ? c & 0xFFFFFF : c;
    }
    uint32_t Lit(const D3DTLVERTEX& v) const {
        if (!Has(RF_SPECULAR)) {
            return v.color;
        }
        const uint32_t sum = (v.specular & 0xFEFEFE) + (v.color & 0xFEFEFEFE);
        uint32_t full = 0;
        for (uint32_t shift = 0; shift < 24; shift += 8) {
            if ((v.specular >> shift & 0xFE) + (v.color >> shift & 0xFE) +
                    (shift != 0 && (sum >> shift & 1)) >
                0xFF) {
                full |= 0xFEu << shift;
            }
        }
        return sum | full;
    }
    uint32_t ColourOf(const DeltaMember& member, const D3DTLVERTEX& v) const {
        return Cleared(!member.textured ? Lit(v) : member.gamma ? Gamma(v.color) : v.color);
    }

    Triangle Take(const DeltaMember& member, const Vertices& vertices,
                  const D3DTRIANGLE& record) const {
        const D3DTLVERTEX &a = vertices[record.v1], &b = vertices[record.v2],
                          &c = vertices[record.v3];
        Triangle t{
            {a, b, c}, {a.tu, b.tu, c.tu}, {a.tv, b.tv, c.tv}, FamilyScaleU(), FamilyScaleV()};
        if (member.textured) {
            Reduce(t.tu, ctx.TextureRepeatU, static_cast<int>(ctx.TextureRepeatMaskU));
            Reduce(t.tv, ctx.TextureRepeatV, static_cast<int>(ctx.TextureRepeatMaskV));
            if (Has(RF_WRAPU)) {
                Wrap(t.tu);
            }
            if (Has(RF_WRAPV)) {
                Wrap(t.tv);
            }
        }
        return t;
    }
    // What a continuation's third coordinate becomes, by the cases that raise it.
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

    bool Culled(const Triangle& t) const {
        return ctx.CullMode != 1 && FacesAway(ctx.CullMode, Det(t.v[0], t.v[1], t.v[2]));
    }

    template <class OnFull, class OnNext>
    void Strips(const DeltaMember& member, const Vertices& vertices,
                const std::vector<D3DTRIANGLE>& records, const OnFull& full, const OnNext& next) {
        bool restart = true;
        int flatLeft = 0;
        uint32_t older = 0x10, newer = 0x20;
        for (size_t i = 0; i < records.size(); ++i) {
            Triangle t = Take(member, vertices, records[i]);
            const int code = records[i].wFlags & 31;
            if (!restart && code == 31) {
                std::swap(older, newer);
                if (flatLeft-- <= 0 && Culled(t)) {
                    continue;
                }
                if (member.textured) {
                    std::vector<float> u = {t.v[0].tu, t.v[1].tu, t.v[2].tu};
                    std::vector<float> v = {t.v[0].tv, t.v[1].tv, t.v[2].tv};
                    Reduce(u, ctx.TextureRepeatU, static_cast<int>(ctx.TextureRepeatMaskU));
                    Reduce(v, ctx.TextureRepeatV, static_cast<int>(ctx.TextureRepeatMaskV));
                    t.tu[2] = Has(RF_WRAPU) ? WrapThird(u[0], u[1], u[2]) : u[2];
                    t.tv[2] = Has(RF_WRAPV) ? WrapThird(v[0], v[1], v[2]) : v[2];
                }
                next(t, newer);
                continue;
            }
            int n = restart ? 0 : code;
            older = 0x10;
            newer = 0x20;
            if (n > 29) {
                n = 0;
            }
            if (ctx.CullMode != 1) {
                restart = Culled(t);
                if (restart) {
                    i += n;
                    continue;
                }
                flatLeft = n;
            }
            full(t);
        }
    }

    void TextureWords(float u, float v, float rhw, float scaleU, float scaleV) {
        const float q = Has(RF_PERSPECTIVE) ? rhw : 1.0f;
        const float s = u * scaleU, t = v * scaleV;
        Put({Bits(s * q), Bits(t * q), Bits(q)});
    }
    void Vertex(const DeltaMember& member, const Triangle& t, int i, uint32_t slot) {
        const D3DTLVERTEX& v = t.v[i];
        uint32_t mask = 0x1C00;
        if (member.textured) {
            mask |= 7;
        }
        if (member.strength != 0) {
            mask |= 1u << member.strength;
        }
        Put({(mask << 16 | 0x8230) + slot});
        if (member.textured) {
            TextureWords(t.tu[i], t.tv[i], v.rhw, t.scaleU, t.scaleV);
        }
        if (member.strength != 0) {
            const uint32_t from = Has(RF_GOURAUD) ? v.specular : t.v[0].specular;
            const float l = Has(RF_SPECULAR) ? Strength(from) : 0.0f;
            Put({Bits(member.strength == 9 ? 1.0f - l : l)});
        }
        Put({Bits(v.sx), Bits(v.sy), Bits(v.sz)});
    }
    void Fog(const DeltaMember& member, const D3DTLVERTEX& v, uint32_t slot, uint32_t entries) {
        if (member.realFog && Has(RF_FOG)) {
            if (entries != 0) {
                Wait(entries);
            }
            Put({0x209 + slot, FixedFog(v)});
        }
    }
    void Colour(uint32_t c, uint32_t slot) {
        const auto channel = [c](uint32_t shift) { return (c >> shift & 0xFF) << 22; };
        Put({(Has(RF_BLEND) ? 0x01E08200 : 0x00E08200) + slot, channel(16), channel(8),
             channel(0)});
        if (Has(RF_BLEND)) {
            Put({channel(24)});
        }
    }
    void Stipple(uint32_t colour, uint32_t& render) {
        if (!Has(RF_STIPPLEDALPHA)) {
            return;
        }
        render |= 1;
        if (ctx.StippleIndex != colour >> 28) {
            ctx.StippleIndex = colour >> 28;
            Wait(9);
            Put({0x00FF8040});
            for (const uint32_t row : FlatStipplePatterns[colour >> 28]) {
                Put({row});
            }
        }
    }

    void Full(const DeltaMember& member, const Triangle& t, uint32_t& render) {
        if (!member.textured) {
            if (Has(RF_FOG)) {
                Wait(3);
            }
            for (uint32_t i = 0; i < 3; ++i) {
                Fog(member, t.v[i], i * 0x10, 0);
            }
            Wait(6);
        }
        for (uint32_t i = 0; i < 3; ++i) {
            if (member.textured) {
                Wait(member.strength != 0 ? 8 : 7);
            }
            Vertex(member, t, static_cast<int>(i), i * 0x10);
        }
        if (member.textured) {
            for (uint32_t i = 0; i < 3; ++i) {
                Fog(member, t.v[i], i * 0x10, 2);
            }
        }
        Stipple(t.v[0].color, render);
        if (Has(RF_GOURAUD)) {
            if (!member.textured) {
                Wait(Has(RF_BLEND) ? 9 : 6);
            }
            for (uint32_t i = 0; i < 3; ++i) {
                if (member.textured) {
                    Wait(Has(RF_BLEND) ? 5 : 4);
                }
                Colour(ColourOf(member, t.v[i]), i * 0x10);
            }
        } else {
            Wait(2);
            Put({0x0FD, Exchange(ColourOf(member, t.v[0]))});
        }
        Wait(2);
        Put({0x261, render});
    }

    // From half the difference of the areas' logarithms, read off exponent and mantissa. A negative
    // area on the screen leaves no level in between.
    int Level(const Triangle& t, const TextureRecord& texture) const {
        const D3DTLVERTEX &a = t.v[0], &b = t.v[1], &c = t.v[2];
        const float first = (a.tu - c.tu) * (b.tv - c.tv);
        const float second = (a.tv - c.tv) * (b.tu - c.tu);
        const float texels = std::fabs((first - second) * texture.TexelCount);
        const float det = Det(a, b, c);
        const int last = static_cast<int>(texture.LevelCount) - 1;
        if (std::signbit(det)) {
            return texels >= std::fabs(det) ? 0 : last;
        }
        const auto pseudoLog = [](float area) {
            const uint32_t bits = Bits(area);
            return static_cast<double>(bits >> 23) + (bits & 0x7FFFFF) / 8388608.0;
        };
        const double level = std::floor((pseudoLog(texels) - pseudoLog(det)) / 2);
        return level < 0 ? 0 : level > last ? last : static_cast<int>(level);
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
        Put({0x0CE, read, 0x0B1, map, 0x0B0, to.Address});
    }

    D3DContext& ctx;
    uint32_t flags;
};

} // namespace reference
