#pragma once
// The members of Permedia 2 once more, the slow way: flags in variables, vertices by value, lists
// of what is kept, a list of words and waits.
#include "driver/raster/stipple.h"
#include "driver/texture/textures.h"
#include "tests/driver/raster/conversion_reference.h"
#include "tests/driver/raster/gl_gour_reference.h"
#include "tests/driver/raster/texcoord_reference.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <vector>

namespace reference {

struct P2Member {
    bool textured = false;
    bool fast = false;   // no range reduction, no waits
    bool mip = false;    // levels, ungated cull
    bool square = false; // width scales both
};

class P2Reference {
  public:
    std::vector<Step> steps;

    explicit P2Reference(D3DContext& context)
        : ctx(context), flags(context.RenderFlags),
          alphaMask((flags & RF_BLEND) != 0 && ctx.BlendForcesZeroAlpha == 1 ? 0xFFFFFF
                                                                             : 0xFFFFFFFF) {}

    std::vector<uint32_t> Words() const {
        std::vector<uint32_t> words;
        for (const Step& step : steps) {
            if (!step.wait) {
                words.push_back(step.value);
            }
        }
        return words;
    }

    // X, Y, Z or X, Y, with the strip flags.
    void Strips(bool depth, const std::vector<D3DTLVERTEX>& vertices,
                const std::vector<D3DTRIANGLE>& records) {
        uint32_t render = ctx.RenderCommand | (depth ? 0x40 : 0x48);
        if (!depth && ctx.Driver->ChipInfo->Family == 4) {
            render &= ~0x40000u;
        }
        if (!depth) {
            Wait(2);
            Put({0x0FC, 0});
        }
        bool restart = true;
        int flatLeft = 0;
        uint32_t older = 0x10, newer = 0x20;
        for (size_t i = 0; i < records.size(); ++i) {
            const D3DTRIANGLE& record = records[i];
            const D3DTLVERTEX& a = vertices[record.v1];
            const D3DTLVERTEX& b = vertices[record.v2];
            const D3DTLVERTEX& c = vertices[record.v3];
            const int code = record.wFlags & 31;
            if (!restart && code == 31) {
                std::swap(older, newer);
                const int t = flatLeft--;
                if (t <= 0 && ctx.CullMode != 1 && GatedCull(a, b, c)) {
                    continue;
                }
                Continuation(depth, a, c, newer, render);
                continue;
            }
            int n = restart ? 0 : code;
            older = 0x10;
            newer = 0x20;
            n = n > 29 ? 0 : n;
            if (ctx.CullMode != 1) {
                if (GatedCull(a, b, c)) {
                    i += n;
                    restart = true;
                    continue;
                }
                restart = false;
                flatLeft = n;
            }
            Full(depth, a, b, c, render);
        }
        if (!depth) {
            Wait(2);
            Put({0x0FC, ctx.Copies.ColorDDAMode});
        }
    }

    // Textured triangles. Vertices must not contain NaN.
    void Textured(const P2Member& member, const std::vector<D3DTLVERTEX>& vertices,
                  const std::vector<D3DTRIANGLE>& records) {
        struct Kept {
            uint32_t vertex;
            uint32_t slot;
        };
        std::vector<Kept> last; // A, B, C of the last triangle sent
        bool lastWrapped = false;
        int level = -1;
        uint32_t render = ctx.RenderCommand | 0x40;
        const bool gouraud = (flags & RF_GOURAUD) != 0;
        const bool specular = (flags & RF_SPECULAR) != 0;
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
                Reduce(u, ctx.TextureRepeatU, static_cast<int>(ctx.TextureRepeatMaskU));
                Reduce(v, ctx.TextureRepeatV, static_cast<int>(ctx.TextureRepeatMaskV));
                wrapped = (flags & RF_WRAPU) != 0 && Wrap(u);
                wrapped |= (flags & RF_WRAPV) != 0 && Wrap(v);
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
                Put({0x0FD, Exchange(corner[0].color & alphaMask)});
            }
            for (int i = 0; i < 3; ++i) {
                if (!sent[i]) {
                    continue;
                }
                const D3DTLVERTEX& vertex = corner[i];
                const float q = (flags & RF_PERSPECTIVE) != 0 ? vertex.rhw : 1.0f;
                const float s = widthScale * u[i], t = heightScale * v[i];
                Wait(7 + specular + gouraud);
                uint32_t mask = 0x1C07;
                std::vector<uint32_t> words = {Bits(s * q), Bits(t * q), Bits(q)};
                if (specular) {
                    mask |= 1 << 3;
                    words.push_back(Bits(Strength((gouraud ? vertex : corner[0]).specular)));
                }
                if ((flags & RF_FOG) != 0) {
                    mask |= 1 << 9;
                    words.push_back(Bits(std::ldexp(static_cast<float>(vertex.specular), -32)));
                }
                words.insert(words.end(), {Bits(vertex.sx), Bits(vertex.sy), Bits(vertex.sz)});
                if (gouraud) {
                    mask |= 1 << 14;
                    words.push_back(vertex.color & alphaMask);
                }
                Put({(mask << 16 | 0x8230) + *slot[i] * 0x10});
                for (const uint32_t word : words) {
                    Put({word});
                }
            }
            Wait(2);
            Put({0x261, render});
        }
    }

    void Wire(bool textured, const std::vector<D3DTLVERTEX>& vertices,
              const std::vector<D3DTRIANGLE>& records) {
        const uint32_t later = ctx.RenderCommand & ~0x44u, first = later | 4;
        for (const D3DTRIANGLE& record : records) {
            const D3DTLVERTEX corner[3] = {vertices[record.v1], vertices[record.v2],
                                           vertices[record.v3]};
            if (ctx.CullMode != 1 && GatedCull(corner[0], corner[1], corner[2])) {
                continue;
            }
            std::vector<float> u = {corner[0].tu, corner[1].tu, corner[2].tu};
            std::vector<float> v = {corner[0].tv, corner[1].tv, corner[2].tv};
            Reduce(u, ctx.TextureRepeatU, static_cast<int>(ctx.TextureRepeatMaskU));
            Reduce(v, ctx.TextureRepeatV, static_cast<int>(ctx.TextureRepeatMaskV));
            if ((flags & RF_WRAPU) != 0) {
                Wrap(u);
            }
            if ((flags & RF_WRAPV) != 0) {
                Wrap(v);
            }
            const auto load = [&](int i, uint32_t slot) {
                if (!textured) {
                    Put({0x1C008230 + slot});
                } else {
                    const float q = (flags & RF_PERSPECTIVE) != 0 ? corner[i].rhw : 1.0f;
                    const float s = ctx.TextureWidthScale * u[i];
                    const float t = ctx.TextureHeightScale * v[i];
                    const uint32_t from = corner[(flags & RF_GOURAUD) != 0 ? i : 0].specular;
                    // Ks goes whether specular light is on or not.
                    Put({0x1C0F8230 + slot, Bits(s * q), Bits(t * q), Bits(q),
                         Bits(Strength(from))});
                }
                Put({Bits(corner[i].sx), Bits(corner[i].sy), Bits(corner[i].sz)});
            };
            const auto fog = [&](int i, uint32_t slot) {
                if ((flags & RF_FOG) != 0) {
                    Wait(2);
                    Put({0x209 + slot, FixedFog(corner[i])});
                }
            };
            const auto colour = [&](int i, uint32_t slot) {
                if ((flags & RF_GOURAUD) != 0) {
                    Wait(2);
                    Put({0x40008200 + slot, Lit(corner[i]) & alphaMask});
                }
            };
            const auto line = [&](bool leftToRight, uint32_t word) {
                Wait(2);
                Put({leftToRight ? 0x263u : 0x264u, word});
            };
            Wait(textured ? 16 : 6);
            load(0, 0x00);
            load(1, 0x10);
            fog(0, 0x00);
            fog(1, 0x10);
            colour(0, 0x00);
            colour(1, 0x10);
            if ((flags & RF_GOURAUD) == 0) {
                Wait(2);
                Put({0x0FD, Exchange(Lit(corner[0]) & alphaMask)});
            }
            if ((record.wFlags & 0x100) != 0) {
                line(corner[0].sx < corner[1].sx, first);
            }
            Wait(textured ? 8 : 4);
            load(2, 0x00);
            fog(2, 0x00);
            colour(2, 0x00);
            if ((record.wFlags & 0x200) != 0) {
                line(corner[1].sx > corner[2].sx, later);
            }
            if ((record.wFlags & 0x400) != 0) {
                Wait(textured ? 8 : 4);
                load(0, 0x10);
                fog(0, 0x10);
                colour(0, 0x10);
                line(corner[0].sx > corner[2].sx, later);
            }
        }
    }

    void Points(const std::vector<D3DTLVERTEX>& vertices, const std::vector<D3DTRIANGLE>& records) {
        for (const D3DTRIANGLE& record : records) {
            const D3DTLVERTEX corner[3] = {vertices[record.v1], vertices[record.v2],
                                           vertices[record.v3]};
            if (ctx.CullMode != 1 && GatedCull(corner[0], corner[1], corner[2])) {
                continue;
            }
            for (int i = 0; i < 3; ++i) {
                const D3DTLVERTEX& at = corner[i];
                Wait(8);
                Put({0x1C008230, Bits(at.sx), Bits(at.sy), Bits(at.sz)});
                Put({0x1C008240, Bits(at.sx), Bits(at.sy + 1.0f), Bits(at.sz)});
                if ((flags & RF_FOG) != 0) {
                    Wait(4);
                    Put({0x209, FixedFog(at), 0x219, FixedFog(at)});
                }
                const uint32_t colour = Lit(at) & alphaMask;
                if ((flags & RF_GOURAUD) != 0) {
                    Wait(4);
                    Put({0x40008200, colour, 0x40008210, colour});
                } else {
                    Wait(2);
                    Put({0x0FD, Exchange(colour)});
                }
                if ((record.wFlags >> (8 + i) & 1) != 0) {
                    Wait(2);
                    Put({0x263, ctx.RenderCommand & ~0x2040u});
                }
            }
        }
    }

    void Lines(const std::vector<D3DTLVERTEX>& vertices, const std::vector<D3DLINE>& records) {
        Wait(2);
        Put({0x014, 0x20});
        for (const D3DLINE& record : records) {
            const D3DTLVERTEX ends[2] = {vertices[record.v1], vertices[record.v2]};
            std::vector<float> u = {ends[0].tu, ends[1].tu}, v = {ends[0].tv, ends[1].tv};
            const auto wrap = [](std::vector<float>& t) {
                if (std::fabs(t[0] - t[1]) > 0.5f) {
                    *std::min_element(t.begin(), t.end()) += 1.0f;
                }
            };
            if ((flags & RF_WRAPU) != 0) {
                wrap(u);
            }
            if ((flags & RF_WRAPV) != 0) {
                wrap(v);
            }
            for (uint32_t i = 0; i < 2; ++i) {
                const D3DTLVERTEX& end = ends[i];
                if ((flags & RF_TEXTURE) == 0) {
                    Wait(4);
                    Put({0x1C008230 + i * 0x10});
                } else {
                    const bool permedia = ctx.Driver->ChipInfo->Family == 4;
                    const float q = (flags & RF_PERSPECTIVE) != 0 ? end.rhw : 1.0f;
                    const float s = permedia ? u[i] * ctx.TextureWidthScale : u[i];
                    const float t = permedia ? v[i] * ctx.TextureHeightScale : v[i];
                    const bool ks = (flags & RF_SPECULAR) != 0;
                    Wait(ks ? 8 : 7);
                    Put({(ks ? 0x1C0F8230 : 0x1C078230) + i * 0x10, Bits(s * q), Bits(t * q),
                         Bits(q)});
                    if (ks) {
                        Put({Bits(Strength(end.specular))});
                    }
                }
                Put({Bits(end.sx), Bits(end.sy), Bits(end.sz)});
            }
            if ((flags & RF_FOG) != 0) {
                Wait(4);
                Put({0x209, FixedFog(ends[0]), 0x219, FixedFog(ends[1])});
            }
            if ((flags & RF_GOURAUD) != 0) {
                Wait(4);
                Put({0x40008200, ends[0].color & alphaMask, 0x40008210, ends[1].color & alphaMask});
            } else {
                Wait(2);
                Put({0x0FD, Exchange(ends[0].color & alphaMask)});
            }
            Wait(2);
            Put({0x263, (ctx.RenderCommand & ~0x40u) | 4});
            if ((flags & RF_LASTPIXEL) != 0) {
                Wait(2);
                Put({0x008, 1});
            }
        }
        Wait(2);
        Put({0x014, 0});
    }

    static float Det(const D3DTLVERTEX& a, const D3DTLVERTEX& b, const D3DTLVERTEX& c) {
        const float first = (b.sy - c.sy) * (a.sx - c.sx);
        const float second = (a.sy - c.sy) * (b.sx - c.sx);
        return first - second;
    }
    // With culling on, by what the modes keep.
    bool GatedCull(const D3DTLVERTEX& a, const D3DTLVERTEX& b, const D3DTLVERTEX& c) const {
        const float det = Det(a, b, c);
        return ctx.CullMode == 2 ? !std::signbit(det) : std::signbit(det);
    }
    static bool Alike(float p, float q, float r) {
        return std::nearbyint(p) == std::nearbyint(q) && std::nearbyint(p) == std::nearbyint(r);
    }

  private:
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

    // Channel by channel, as far as the carries of the packed add let one.
    uint32_t Lit(const D3DTLVERTEX& vertex) const {
        if ((flags & RF_SPECULAR) == 0) {
            return vertex.color;
        }
        uint32_t carry = 0, out = 0;
        for (uint32_t shift = 0; shift < 24; shift += 8) {
            const uint32_t sum = (vertex.color >> shift & 0xFE) + (vertex.specular >> shift & 0xFE);
            out |= (sum > 0xFF ? 0xFEu | (sum & 0xFE) | carry : (sum & 0xFE) | carry) << shift;
            carry = sum >> 8;
        }
        return out | ((vertex.color >> 24 & 0xFE) | carry) << 24;
    }

    void Stipple(uint32_t colour, uint32_t& render) {
        if ((flags & RF_STIPPLEDALPHA) == 0) {
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

    uint32_t FlatWord(const D3DTLVERTEX& a) const {
        const uint32_t c = Lit(a);
        if (ctx.BytesPerPixel != 2) {
            return c & 0xFFFFFF;
        }
        const uint32_t w = (c >> 19 & 31) << 10 | (c >> 11 & 31) << 5 | (c >> 3 & 31);
        return w | w << 16;
    }

    void Full(bool depth, const D3DTLVERTEX& a, const D3DTLVERTEX& b, const D3DTLVERTEX& c,
              uint32_t& render) {
        const D3DTLVERTEX corner[3] = {a, b, c};
        if (depth && (flags & RF_FOG) != 0) {
            Wait(3);
            Put({0x209, FixedFog(a), 0x219, FixedFog(b), 0x229, FixedFog(c)});
        }
        Wait(depth ? 9 : 6);
        for (uint32_t i = 0; i < 3; ++i) {
            Put({(depth ? 0x1C008230 : 0x0C008230) + i * 0x10, Bits(corner[i].sx),
                 Bits(corner[i].sy)});
            if (depth) {
                Put({Bits(corner[i].sz)});
            }
        }
        if (!depth) {
            Wait(1);
            Put({0x159, FlatWord(a)});
        } else {
            Stipple(a.color, render);
            if ((flags & RF_GOURAUD) != 0) {
                Wait(3);
                for (uint32_t i = 0; i < 3; ++i) {
                    Put({0x40008200 + i * 0x10, Lit(corner[i]) & alphaMask});
                }
            } else {
                Wait(1);
                Put({0x0FD, Exchange(Lit(a) & alphaMask)});
            }
        }
        Wait(1);
        Put({0x261, render});
    }

    void Continuation(bool depth, const D3DTLVERTEX& a, const D3DTLVERTEX& c, uint32_t newer,
                      uint32_t& render) {
        if (depth && (flags & RF_FOG) != 0) {
            Wait(2);
            Put({0x209 + newer, FixedFog(c)});
        }
        Wait(depth ? 4 : 3);
        Put({(depth ? 0x1C008230 : 0x0C008230) + newer, Bits(c.sx), Bits(c.sy)});
        if (depth) {
            Put({Bits(c.sz)});
            Stipple(a.color, render);
            Wait(2);
            if ((flags & RF_GOURAUD) != 0) {
                Put({0x40008230 + newer, Lit(c)});
            } else {
                Put({0x0FD, Exchange(Lit(a))});
            }
        } else {
            Wait(2);
            Put({0x159, FlatWord(a)});
        }
        Wait(2);
        Put({0x261, render});
    }

    // By the areas' exponents and mantissas as one number, not by the difference of patterns.
    static int Level(const D3DTLVERTEX (&corner)[3], float det, const TextureRecord& texture) {
        const D3DTLVERTEX &a = corner[0], &b = corner[1], &c = corner[2];
        const float first = (a.tu - c.tu) * (b.tv - c.tv);
        const float second = (a.tv - c.tv) * (b.tu - c.tu);
        const float texels = (first - second) * texture.TexelCount;
        const auto pseudoLog = [](float area) { // biased log2 in steps of 2^-23
            const uint32_t bits = std::bit_cast<uint32_t>(std::fabs(area));
            return static_cast<double>(bits >> 23) + (bits & 0x7FFFFF) / 8388608.0;
        };
        const double level = std::floor((pseudoLog(texels) - pseudoLog(det)) / 2);
        const int last = static_cast<int>(texture.LevelCount) - 1;
        return std::max(0, std::min(last, static_cast<int>(level)));
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
    uint32_t alphaMask;
};

} // namespace reference
