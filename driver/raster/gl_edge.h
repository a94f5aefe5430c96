#pragma once
// A line for a chip with no setup unit: a walk along its major axis, one pixel a step, with every
// quantity stepped along the way. One edge of a wireframe triangle is such a line too.
#include "driver/raster/flt2fix.h"
#include "driver/raster/output.h"
#include "driver/raster/strength.h"
#include "driver/raster/texcoord.h"

#include <cstdint>

namespace glint {

using namespace raster;

inline constexpr uint32_t kEdgeBytes = 512;       // worst case of one line
inline constexpr float kDepthRange = 65535.0f;    // of sz
inline constexpr uint32_t kRasteriserIdle = 0x20; // RasterizerMode between batches of lines

// What a batch of lines has in common.
struct EdgeStyle {
    uint32_t renderFlags;
    uint32_t renderWord;
    bool drawsLastPixel; // sends the last pixel as a walk of its own
};

// Where a line lies, and the step of the walk.
struct EdgeWalk {
    float x0, y0;
    float xStep, yStep; // pixels
    uint32_t count;     // steps
    float inverse;      // 1 / length along the major axis
    bool lowered;       // one pixel long only by having its start moved
};

// False for a line that rounds to no length.
inline bool SetUpEdge(const D3DTLVERTEX* a, const D3DTLVERTEX* b, uint32_t renderFlags,
                      EdgeWalk& walk) {
    const float x0 = a->sx;
    const float x1 = b->sx;
    const float y1 = b->sy;
    float y0 = a->sy;
    walk.lowered = (renderFlags & RF_LASTPIXEL) != 0 &&
                   fixed::RoundByUnit(x0) == fixed::RoundByUnit(x1) &&
                   fixed::RoundByUnit(y0) == fixed::RoundByUnit(y1);
    if (walk.lowered) {
        y0 -= 1.0f;
    }
    walk.x0 = x0;
    walk.y0 = y0;
    const float dx = x1 - x0;
    const float dy = y1 - y0;
    const bool xMajor = __builtin_fabsf(dy) <= __builtin_fabsf(dx);
    const float major = xMajor ? dx : dy;
    const float minor = xMajor ? dy : dx;
    const float start = xMajor ? x0 : y0;
    const float end = xMajor ? x1 : y1;
    const auto first = static_cast<int32_t>(fixed::RoundByUnit(start));
    const auto last = static_cast<int32_t>(fixed::RoundByUnit(end));
    if (first == last) {
        return false;
    }
    // The steps of a line from one end of the numbers to the other wrap.
    const uint32_t forwards = static_cast<uint32_t>(last) - static_cast<uint32_t>(first);
    walk.count = first < last ? forwards : 0 - forwards;
    const float inverse = 1.0f / major;
    walk.inverse = __builtin_fabsf(inverse);
    const float slope = minor / major;
    const float majorStep = end >= start ? 1.0f : -1.0f;
    const float minorStep = slope * majorStep;
    walk.xStep = xMajor ? majorStep : minorStep;
    walk.yStep = xMajor ? minorStep : majorStep;
    return true;
}

// Step of a quantity along the walk.
KORV_INLINE float EdgeStep(const EdgeWalk& walk, float p0, float p1) {
    const float difference = p1 - p0;
    return difference * walk.inverse;
}

template <bool kWaits>
inline void EdgeTexture(Output<kWaits>& out, const EdgeWalk& walk, const D3DTLVERTEX* a,
                        const D3DTLVERTEX* b, uint32_t renderFlags) {
    const D3DContext* ctx = out.ctx;
    const bool perspective = (renderFlags & RF_PERSPECTIVE) != 0;
    float u[] = {a->tu, b->tu};
    float v[] = {a->tv, b->tv};
    float q[] = {1.0f, 1.0f};
    if ((renderFlags & RF_WRAPU) != 0) {
        WrapLine(u[0], u[1]);
    }
    if ((renderFlags & RF_WRAPV) != 0) {
        WrapLine(v[0], v[1]);
    }
    if (perspective) {
        q[0] = a->rhw;
        q[1] = b->rhw;
    }
    for (int end = 0; end < 2; ++end) {
        if (perspective) {
            u[end] *= q[end];
            v[end] *= q[end];
        }
        u[end] *= ctx->TextureWidth;
        v[end] *= ctx->TextureHeight;
    }
    out.Wait(perspective ? 10 : 7);
    out.Word(perspective ? burst::TextureSTQ : burst::TextureST);
    out.Word(flt_to_fix_12_20(u[0]));
    out.Word(0);
    out.Word(flt_to_fix_12_20(EdgeStep(walk, u[0], u[1])));
    out.Word(flt_to_fix_12_20(v[0]));
    out.Word(0);
    out.Word(flt_to_fix_12_20(EdgeStep(walk, v[0], v[1])));
    if (perspective) {
        out.Word(float_to_fix_2_30(q[0]));
        out.Word(0);
        out.Word(float_to_fix_2_30(EdgeStep(walk, q[0], q[1])));
    }
}

template <bool kWaits>
KORV_INLINE void EdgeFogWords(Output<kWaits>& out, uint32_t start, uint32_t dyDom) {
    out.Wait(4);
    out.Word(burst::Fog);
    out.Word(start);
    out.Word(0);
    out.Word(dyDom);
}

// Specular light through the fog unit, 0.0 to 1.0.
template <bool kWaits>
inline void EdgeSpecularFog(Output<kWaits>& out, const EdgeWalk& walk, const D3DTLVERTEX* a,
                            const D3DTLVERTEX* b) {
    const float f0 = 1.0f - SpecularStrength(a->specular);
    const float f1 = 1.0f - SpecularStrength(b->specular);
    EdgeFogWords(out, flt_to_fix_2_22(f0), flt_to_fix_2_22(EdgeStep(walk, f0, f1)));
}

// A byte of a colour, `shift` bits up, as a single.
KORV_INLINE float ByteAt(uint32_t word, uint32_t shift) {
    return static_cast<float>(static_cast<int32_t>((word >> shift) & 0xFF));
}

// Real fog, 0.0 to 255.0.
template <bool kWaits>
inline void EdgeFog(Output<kWaits>& out, const EdgeWalk& walk, const D3DTLVERTEX* a,
                    const D3DTLVERTEX* b) {
    const float f0 = ByteAt(a->specular, 24);
    const float f1 = ByteAt(b->specular, 24);
    EdgeFogWords(out, D3Dflt_to_fix_2_22(f0), D3Dflt_to_fix_2_22(EdgeStep(walk, f0, f1)));
}

template <bool kWaits>
inline void EdgeColour(Output<kWaits>& out, const EdgeWalk& walk, const D3DTLVERTEX* a,
                       const D3DTLVERTEX* b, uint32_t renderFlags) {
    if ((renderFlags & RF_GOURAUD) == 0) {
        // Flat colour takes no specular light.
        out.Wait(2);
        out.Tag(tag::ConstantColor, ExchangeRedBlue(a->color));
        return;
    }
    const D3DCOLOR c0 = LitColour(a, renderFlags);
    const D3DCOLOR c1 = LitColour(b, renderFlags);
    out.Wait(7);
    out.Word(burst::EdgeColourRGB);
    constexpr uint32_t kRedGreenBlue[] = {16, 8, 0};
    for (const uint32_t shift : kRedGreenBlue) {
        const float p0 = ByteAt(c0, shift);
        out.Word(D3Dflt_to_fix_9_15(p0));
        out.Word(D3Dflt_to_fix_9_15(EdgeStep(walk, p0, ByteAt(c1, shift))));
    }
}

template <bool kWaits>
inline void EdgeDepth(Output<kWaits>& out, const EdgeWalk& walk, const D3DTLVERTEX* a,
                      const D3DTLVERTEX* b) {
    const float z0 = a->sz * kDepthRange;
    const float z1 = b->sz * kDepthRange;
    uint32_t start[2];
    uint32_t step[2];
    flt_to_fix_32_16(z0, start);
    flt_to_fix_32_16(EdgeStep(walk, z0, z1), step);
    out.Wait(5);
    out.Word(burst::EdgeDepth);
    out.Word(start[0]);
    out.Word(start[1]);
    out.Word(step[0]);
    out.Word(step[1]);
}

// One line from `a` to `b`.
template <bool kWaits>
inline void DrawEdge(Output<kWaits>& out, const D3DTLVERTEX* a, const D3DTLVERTEX* b,
                     const EdgeStyle& style) {
    const uint32_t flags = style.renderFlags;
    out.Reserve(kEdgeBytes);
    EdgeWalk walk;
    if (!SetUpEdge(a, b, flags, walk)) {
        return;
    }
    if ((flags & RF_TEXTURE) != 0) {
        EdgeTexture(out, walk, a, b, flags);
        if ((flags & RF_SPECULAR) != 0) {
            EdgeSpecularFog(out, walk, a, b);
        }
    }
    EdgeColour(out, walk, a, b, flags);
    if ((flags & RF_ZENABLE) != 0) {
        EdgeDepth(out, walk, a, b);
    }
    if ((flags & RF_FOG) != 0) {
        EdgeFog(out, walk, a, b);
    }
    out.Wait(7);
    out.Word(burst::Edge);
    out.Word(flt_to_fix_16_16(walk.x0));
    out.Word(flt_to_fix_16_16(walk.xStep));
    out.Word(flt_to_fix_16_16(walk.y0));
    out.Word(flt_to_fix_16_16(walk.yStep));
    out.Word(walk.count);
    out.Word(style.renderWord);
    if (style.drawsLastPixel && (flags & RF_LASTPIXEL) != 0 && !walk.lowered) {
        out.Wait(2);
        out.Tag(tag::ContinueNewLine, 1);
    }
}

} // namespace glint
