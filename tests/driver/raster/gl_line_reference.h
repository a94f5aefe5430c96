#pragma once
// Lines, outlines and points of the host set-up once more: plain formulas, a list of words and
// waits.
#include "driver/d3d/dcontext.h"
#include "tests/driver/raster/colour_reference.h"
#include "tests/driver/raster/conversion_reference.h"
#include "tests/driver/raster/stream_reference.h"
#include "tests/driver/raster/texcoord_reference.h"
#include "tests/support/tag_names.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace reference {

class LineReference : public StreamReference {
  public:
    explicit LineReference(const D3DContext& ctx) : ctx_(ctx), flags_(ctx.RenderFlags) {}

    void Group(const std::vector<uint32_t>& words) {
        steps.push_back({true, static_cast<uint32_t>(words.size())});
        for (const uint32_t word : words) {
            steps.push_back({false, word});
        }
    }

    void Line(const D3DTLVERTEX& a, const D3DTLVERTEX& b, uint32_t render, bool lastPixelWord) {
        double y0 = a.sy;
        bool lowered = false;
        if (Flag(0x1000) && Whole(a.sx) == Whole(b.sx) && Whole(a.sy) == Whole(b.sy)) {
            y0 = a.sy - 1.0f;
            lowered = true;
        }
        const float dx = b.sx - a.sx;
        const float dy = b.sy - static_cast<float>(y0);
        const bool xMajor = std::fabs(dy) <= std::fabs(dx);
        const long i0 = xMajor ? Whole(a.sx) : Whole(static_cast<float>(y0));
        const long i1 = xMajor ? Whole(b.sx) : Whole(b.sy);
        if (i0 == i1) {
            return;
        }
        w_ = std::fabs(1.0f / (xMajor ? dx : dy));
        const float m = xMajor ? dy / dx : dx / dy;
        const bool up = xMajor ? b.sx >= a.sx : b.sy >= static_cast<float>(y0);
        const float along = up ? 1.0f : -1.0f;
        const float across = m * along;

        if (Flag(0x20)) {
            std::vector<float> u = {a.tu, b.tu}, v = {a.tv, b.tv}, q = {1.0f, 1.0f};
            WrapPair(Flag(0x100), u);
            WrapPair(Flag(0x200), v);
            if (Flag(0x10)) {
                q = {a.rhw, b.rhw};
                u = {u[0] * q[0], u[1] * q[1]};
                v = {v[0] * q[0], v[1] * q[1]};
            }
            u = {u[0] * ctx_.TextureWidth, u[1] * ctx_.TextureWidth};
            v = {v[0] * ctx_.TextureHeight, v[1] * ctx_.TextureHeight};
            std::vector<uint32_t> words = {Flag(0x10) ? 0x03FE8070u : 0x007E8070u};
            for (const std::vector<float>& p : {u, v}) {
                words.insert(words.end(), {Fix12_20(p[0]), 0, Fix12_20(Dy(p[0], p[1]))});
            }
            if (Flag(0x10)) {
                words.insert(words.end(), {Rounded2_30(q[0]), 0, Rounded2_30(Dy(q[0], q[1]))});
            }
            Group(words);
            if (Flag(0x04)) {
                const float f0 = 1.0f - Strength(a.specular), f1 = 1.0f - Strength(b.specular);
                Group({0x007080D0, Fix2_22(f0), 0, Fix2_22(Dy(f0, f1))});
            }
        }
        if (Flag(0x01)) {
            const uint32_t c0 = Lit(a), c1 = Lit(b);
            std::vector<uint32_t> words = {0x016D80F0};
            for (const int shift : {16, 8, 0}) {
                const float p0 = Byte(c0, shift), p1 = Byte(c1, shift);
                words.insert(words.end(), {D3DFix9_15(p0), D3DFix9_15(Dy(p0, p1))});
            }
            Group(words);
        } else {
            Group({t::ConstantColor, Exchange(a.color)});
        }
        if (Flag(0x02)) {
            const float z0 = a.sz * 65535.0f, z1 = b.sz * 65535.0f;
            const Pair start = Fix32_16(z0), step = Fix32_16(Dy(z0, z1));
            Group({0x0CC08130, start.upper, start.lower, step.upper, step.lower});
        }
        if (Flag(0x08)) {
            const float f0 = Byte(a.specular, 24), f1 = Byte(b.specular, 24);
            Group({0x007080D0, D3DFix2_22(f0), 0, D3DFix2_22(Dy(f0, f1))});
        }
        Group({0x00F38000, Fix16_16(a.sx), Fix16_16(xMajor ? along : across),
               Fix16_16(static_cast<float>(y0)), Fix16_16(xMajor ? across : along),
               static_cast<uint32_t>(std::labs(i1 - i0)), render});
        if (lastPixelWord && Flag(0x1000) && !lowered) {
            Group({t::ContinueNewLine, 1});
        }
    }

    bool Kept(const D3DTLVERTEX& a, const D3DTLVERTEX& b, const D3DTLVERTEX& c) const {
        const float left = (a.sx - c.sx) * (b.sy - c.sy), right = (a.sy - c.sy) * (b.sx - c.sx);
        const float det = left - right;
        return ctx_.CullMode == 1 || (ctx_.CullMode == 3 ? det > 0.0f : det < 0.0f);
    }

    void Wire(const D3DTLVERTEX* const (&v)[3], uint32_t wFlags) {
        uint32_t render = ctx_.RenderCommand & ~0x40u;
        if (Flag(0x20) && Flag(0x04)) {
            render |= 0x4000;
        }
        if (!Kept(*v[0], *v[1], *v[2])) {
            return;
        }
        for (int edge = 0; edge < 3; ++edge) {
            if ((wFlags & (0x100u << edge)) != 0) {
                Line(*v[edge], *v[(edge + 1) % 3], render, false);
            }
        }
    }

    void Points(const D3DTLVERTEX* const (&v)[3], uint32_t wFlags, bool textured) {
        if (!Kept(*v[0], *v[1], *v[2])) {
            return;
        }
        for (int i = 0; i < 3; ++i) {
            if ((wFlags & (0x100u << i)) == 0) {
                continue;
            }
            if (textured && Flag(0x20)) {
                Group({0x03FE8070, Fix12_20(v[i]->tu * ctx_.TextureWidth), 0, 0,
                       Fix12_20(v[i]->tv * ctx_.TextureHeight), 0, 0, 0x100000, 0, 0});
            }
            const bool depthFirst = textured && i > 0;
            for (int group = 0; group < 2; ++group) {
                if ((group == 0) == depthFirst) {
                    if (!textured || Flag(0x02)) {
                        const Pair z = Fix32_16(v[i]->sz * 65535.0f);
                        Group({0x0FC08130, z.upper, z.lower, 0, 0, 0, 0});
                    }
                } else if (Flag(0x08)) {
                    Group({0x007080D0, D3DFix2_22(Byte(v[i]->specular, 24)), 0, 0});
                }
            }
            const uint32_t colour = Exchange(Lit(*v[i]));
            Group({t::ConstantColor, textured ? colour : colour & 0xFFFFFF});
            Group({0x00F38000, Fix16_16(v[i]->sx), 0, Fix16_16(v[i]->sy), 0, 1,
                   ctx_.RenderCommand | 0x80});
        }
    }

  private:
    const D3DContext& ctx_;
    uint32_t flags_;
    float w_ = 0;

    bool Flag(uint32_t flag) const { return (flags_ & flag) != 0; }
    static long Whole(float x) { return std::lrint(x); }
    float Dy(float p0, float p1) const { return (p1 - p0) * w_; }
    static float Byte(uint32_t word, int shift) {
        return static_cast<float>((word >> shift) & 0xFF);
    }
    static void WrapPair(bool on, std::vector<float>& t) {
        if (on && std::fabs(t[0] - t[1]) > 0.5f) {
            (t[0] < t[1] ? t[0] : t[1]) += 1.0f;
        }
    }
    uint32_t Lit(const D3DTLVERTEX& v) const {
        return Flag(0x04) ? AddSpecular(v.color, v.specular) : v.color;
    }
};

} // namespace reference
