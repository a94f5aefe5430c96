#pragma once
// The triangle set-up once more, the slow way: flags in variables, plain formulas, a list of words.
// Slopes are singles combined in the required order; words come from the reference conversions.
#include "driver/d3d/dcontext.h"
#include "tests/driver/raster/colour_reference.h"
#include "tests/driver/raster/conversion_reference.h"
#include "tests/driver/raster/stream_reference.h"
#include "tests/driver/raster/texcoord_reference.h"
#include "tests/support/tag_names.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace reference {

struct Member {
    bool depth;
    bool gouraud;
    bool fog;
    bool block;      // FBBlockColor and the ColorDDAMode bracket
    int texture = 0; // coordinates sent: none, 2 (S, T) or 3 (S, T, Q)
};

class TriangleReference : public StreamReference {
  public:
    // Updates ctx.StippleIndex and the vertices' sy, as the renderer does.
    void Batch(const Member& member, D3DContext& ctx, std::vector<D3DTLVERTEX>& vertices,
               const std::vector<uint32_t>& indices) {
        uint32_t render = ctx.RenderCommand | 0x40;
        if (member.block) {
            render |= 0x08;
            if (ctx.Driver->ChipInfo->Family == 4) {
                render &= ~(1u << 18);
            }
            Wait(2);
            Put({t::ColorDDAMode, 0});
        }
        for (size_t i = 0; i < indices.size(); i += 3) {
            Triangle(member, ctx, render, vertices[indices[i]], vertices[indices[i + 1]],
                     vertices[indices[i + 2]]);
        }
        if (member.block) {
            Wait(2);
            Put({t::ColorDDAMode, ctx.Copies.ColorDDAMode});
        }
    }

  private:
    struct Corner {
        float x, y, z;
        int row;
        uint32_t color, specular;
        float q, u, v;
    };

    float gradA_ = 0, gradB_ = 0, invHeight_ = 0;

    static float Reciprocal(int n) {
        if (n == 0) {
            return 0.0f;
        }
        // Ten decimals; no quotient falls so near a half that the double misses it (checked by
        // the table's own test).
        const double decimals = std::floor(1e10 / n + 0.5);
        return static_cast<float>(-(decimals / 1e10));
    }

    static int Snap(D3DTLVERTEX& vertex) {
        const float row = std::nearbyintf(vertex.sy);
        vertex.sy = row;
        return static_cast<int>(row);
    }

    static uint32_t XWord(float x) {
        return static_cast<uint32_t>(std::nearbyint(static_cast<double>(x) * 1024.0)) * 64;
    }

    float StepX(float p0, float p1, float p2) const {
        const float left = (p0 - p2) * gradB_;
        const float right = (p1 - p2) * gradA_;
        return left - right;
    }
    float StepY(float p0, float p2) const { return (p0 - p2) * invHeight_; }

    static float Channel(uint32_t colour, int shift) {
        return static_cast<float>((colour >> shift) & 0xFF);
    }

    static bool Grey(uint32_t c) {
        return (c & 0xFF) == ((c >> 8) & 0xFF) && (c & 0xFF) == ((c >> 16) & 0xFF);
    }

    void Triangle(const Member& member, D3DContext& ctx, uint32_t& render, D3DTLVERTEX& a,
                  D3DTLVERTEX& b, D3DTLVERTEX& c) {
        const int rowA = Snap(a), rowB = Snap(b), rowC = Snap(c);
        if (rowA == rowB && rowB == rowC) {
            return;
        }
        const float dxAC = a.sx - c.sx, dxBC = b.sx - c.sx;
        const float dyAC = a.sy - c.sy, dyBC = b.sy - c.sy;
        const float first = dxAC * dyBC, second = dyAC * dxBC;
        float det = first - second;
        if (ctx.CullMode == 3 && det <= 0) {
            return;
        }
        if (ctx.CullMode != 3 && ctx.CullMode != 1 && !(det < 0)) {
            return;
        }
        Corner v[3] = {{a.sx, a.sy, a.sz, rowA, a.color, a.specular, a.rhw, a.tu, a.tv},
                       {b.sx, b.sy, b.sz, rowB, b.color, b.specular, b.rhw, b.tu, b.tv},
                       {c.sx, c.sy, c.sz, rowC, c.color, c.specular, c.rhw, c.tu, c.tv}};
        int swaps = 0;
        const int pairs[3][2] = {{0, 1}, {0, 2}, {1, 2}};
        for (const auto& [low, high] : pairs) {
            if (v[low].row < v[high].row) {
                const Corner other = v[low];
                v[low] = v[high];
                v[high] = other;
                ++swaps;
            }
        }
        if (swaps % 2 != 0) {
            det = -det;
        }
        const float inv = det < 0 ? 1.0f / det : -1.0f / det;
        gradA_ = inv * (v[0].y - v[2].y);
        gradB_ = inv * (v[1].y - v[2].y);
        invHeight_ = Reciprocal(v[0].row - v[2].row);

        const bool specular = (ctx.RenderFlags & 0x04) != 0;
        const bool textured = member.texture != 0;
        if (member.gouraud) {
            uint32_t colours[3];
            for (int i = 0; i < 3; ++i) {
                colours[i] = textured   ? Gamma(v[i].color)
                             : specular ? AddSpecular(v[i].color, v[i].specular)
                                        : v[i].color;
            }
            GouraudWords(ctx, colours);
        } else {
            const uint32_t colour =
                specular && !textured ? AddSpecular(a.color, a.specular) : a.color;
            Wait(2);
            if (member.block) {
                Put({t::FBBlockColor, BlockWord(colour, ctx.BytesPerPixel)});
            } else {
                Put({t::ConstantColor, Exchange(colour)});
            }
        }
        if (member.depth) {
            const float z0 = v[0].z * 65535.0f, z1 = v[1].z * 65535.0f, z2 = v[2].z * 65535.0f;
            const Pair start = Fix32_16(z0), dx = Fix32_16(StepX(z0, z1, z2)),
                       dy = Fix32_16(StepY(z0, z2));
            Wait(7);
            Put({0x0FC08130, start.upper, start.lower, dx.upper, dx.lower, dy.upper, dy.lower});
        }
        if (textured) {
            TextureWords(member.texture, ctx, v);
        }
        if (textured && specular) {
            float f[3];
            for (int i = 0; i < 3; ++i) {
                f[i] = 1.0f - Strength(member.gouraud ? v[i].specular : a.specular);
            }
            Wait(4);
            Put({0x007080D0, Fix2_22(f[0]), Fix2_22(StepX(f[0], f[1], f[2])),
                 Fix2_22(StepY(f[0], f[2]))});
        } else if (member.fog) {
            const float f0 = Channel(v[0].specular, 24), f1 = Channel(v[1].specular, 24),
                        f2 = Channel(v[2].specular, 24);
            Wait(4);
            Put({0x007080D0, D3DFix2_22(f0), D3DFix2_22(StepX(f0, f1, f2)),
                 D3DFix2_22(StepY(f0, f2))});
        }
        if ((ctx.RenderFlags & 0x400) != 0) {
            StippleRows(ctx.StippleIndex, v[0].color >> 28);
            render |= 1;
        }
        EdgeWords(v, render);
    }

    void TextureWords(int count, const D3DContext& ctx, const Corner (&v)[3]) {
        std::vector<float> u = {v[0].u, v[1].u, v[2].u}, t = {v[0].v, v[1].v, v[2].v};
        std::vector<float> q = {v[0].q, v[1].q, v[2].q};
        Reduce(u, ctx.TextureRepeatU, static_cast<int>(ctx.TextureRepeatMaskU));
        Reduce(t, ctx.TextureRepeatV, static_cast<int>(ctx.TextureRepeatMaskV));
        if ((ctx.RenderFlags & 0x100) != 0) {
            Wrap(u);
        }
        if ((ctx.RenderFlags & 0x200) != 0) {
            Wrap(t);
        }
        if (count == 3) {
            int top = 2;
            if (q[0] > q[1]) {
                top = q[0] > q[2] ? 0 : 2;
            } else if (q[1] > q[2]) {
                top = 1;
            }
            const float inv = 1.0f / q[top];
            for (int i = 0; i < 3; ++i) {
                q[i] = i == top ? 1.0f : q[i] * inv;
                u[i] = u[i] * q[i];
                t[i] = t[i] * q[i];
            }
        }
        Wait(count == 3 ? 10 : 7);
        Put({count == 3 ? 0x03FE8070u : 0x007E8070u});
        for (std::vector<float>* p : {&u, &t}) {
            for (float& value : *p) {
                value *= p == &u ? ctx.TextureWidth : ctx.TextureHeight;
            }
            Put({Fix12_20((*p)[0]), Fix12_20(StepX((*p)[0], (*p)[1], (*p)[2])),
                 Fix12_20(StepY((*p)[0], (*p)[2]))});
        }
        if (count == 3) {
            Put({Rounded2_30(q[0]), Rounded2_30(StepX(q[0], q[1], q[2])),
                 Rounded2_30(StepY(q[0], q[2]))});
        }
    }

    void GouraudWords(const D3DContext& ctx, const uint32_t (&c)[3]) {
        const auto words = [&](int shift, uint32_t mask = 0xFF) {
            const float p0 = Channel(c[0], shift), p1 = Channel(c[1], shift),
                        p2 = Channel(c[2], shift);
            const float k = mask != 0 ? 1.0f : 0.0f;
            return std::array<uint32_t, 3>{D3DFix9_15(p0 * k),
                                           D3DFix9_15(StepX(p0 * k, p1 * k, p2 * k)),
                                           D3DFix9_15(StepY(p0 * k, p2 * k))};
        };
        const auto red = words(16), green = words(8), blue = words(0);
        if (Grey(c[0]) && Grey(c[1]) && Grey(c[2])) {
            Wait(10);
            Put({0x01FF80F0, blue[0], blue[1], blue[2], blue[0], blue[1], blue[2], blue[0], blue[1],
                 blue[2]});
        } else if ((ctx.RenderFlags & 0x40) != 0) {
            const auto alpha = words(24, ctx.BlendForcesZeroAlpha == 1 ? 0 : 0xFF);
            Wait(13);
            Put({0x0FFF80F0, red[0], red[1], red[2], green[0], green[1], green[2], blue[0], blue[1],
                 blue[2], alpha[0], alpha[1], blue[2]});
        } else {
            Wait(10);
            Put({0x01FF80F0, red[0], red[1], red[2], green[0], green[1], green[2], blue[0], blue[1],
                 blue[2]});
        }
    }

    void EdgeWords(const Corner (&v)[3], uint32_t render) {
        const int y0 = v[0].row, y1 = v[1].row, y2 = v[2].row;
        const uint32_t x0 = XWord(v[0].x), x1 = XWord(v[1].x);
        const uint32_t dom = Fix16_16(Reciprocal(y0 - y2) * (v[0].x - v[2].x));
        const uint32_t startY = (static_cast<uint32_t>(y0) << 16) - 0x10000;
        const uint32_t lower = Fix16_16(Reciprocal(y0 - y1) * (v[0].x - v[1].x));
        const uint32_t upper = Fix16_16(Reciprocal(y1 - y2) * (v[1].x - v[2].x));
        Wait(9);
        if (y1 == y2) {
            Put({0x00FF8000, x0, dom, x0, lower, startY, 0xFFFF0000, static_cast<uint32_t>(y0 - y1),
                 render});
        } else if (y1 == y0) {
            Put({0x00FF8000, x0, dom, x1, upper, startY, 0xFFFF0000, static_cast<uint32_t>(y1 - y2),
                 render});
        } else {
            Put({0x00FF8000, x0, dom, x0, lower, startY, 0xFFFF0000, static_cast<uint32_t>(y0 - y1),
                 render});
            Wait(4);
            Put({0x040C8000, x1, upper, static_cast<uint32_t>(y1 - y2)});
        }
    }
};

} // namespace reference
