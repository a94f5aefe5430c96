#pragma once
// Triangle set-up for a chip with no setup unit: the one template behind all triangle members that
// work out every start and slope on the host.
//
// Per triangle: snap, cull, sort, one divide, then the word groups of the member in a fixed order:
// colour, depth, fog, stipple, edges. Position and FIFO credit stay in locals.
#include "driver/core/dma.h"
#include "driver/raster/d3dfix.h"
#include "driver/raster/flt2fix.h"
#include "driver/raster/reciprocal.h"
#include "driver/raster/stipple.h"

#include <array>
#include <bit>
#include <cstdint>
#include <utility>

#define KORV_INLINE __attribute__((always_inline)) inline

namespace glint {

// What a member interpolates and sends.
struct TriangleTraits {
    bool depth = false;
    bool gouraud = false;
    bool fog = false;
    // Colour goes to the block-fill register, which needs the colour unit off during the batch.
    bool blockFill = false;
};

// Worst case of one triangle, in bytes.
inline constexpr uint32_t kTriangleBytes = 512;

inline constexpr uint32_t kTrapezoid = field::Render_Primitive.Put(0, 1);

// Where the next word goes, the end of the sub-buffer's space, and the FIFO space known to be free.
template <bool kWaits>
struct Output {
    D3DContext* ctx;
    uint32_t* at;
    const uint32_t* limit;
    int32_t credit;

    // Sees that `entries` words can be taken. Words written so far reach the chip before it is
    // asked.
    KORV_INLINE void Wait(uint32_t entries) {
        if constexpr (kWaits) {
            credit -= static_cast<int32_t>(entries);
            if (credit < 0) {
                StoreWritePointer(ctx->Stream, at);
                credit = PollFIFOSpace(ctx->Driver->Registers, entries);
            }
        }
    }
    KORV_INLINE void Word(uint32_t word) { PutWord(at++, word); }
    KORV_INLINE void Tag(uint32_t tagNumber, uint32_t data) {
        Word(tagNumber);
        Word(data);
    }
    // As ReserveSpace(), but looks at the stream's limit only when it may have changed.
    KORV_INLINE void Reserve(uint32_t bytes) {
        if (at + bytes / 4 > limit) [[unlikely]] {
            ReserveSpace(ctx, bytes);
            Load();
        }
        ctx->Stream.Guard.Allow(at + bytes / 4);
    }
    // Takes up the stream's position and limit.
    KORV_INLINE void Load() {
        at = ctx->Stream.WritePointer;
        limit = ctx->Stream.Current().Linear + ctx->Stream.SubBufferFlushWords;
    }
    KORV_INLINE void Store() { StoreWritePointer(ctx->Stream, at); }
};

// A triangle ready to be interpolated: vertex 0 is the bottom one, vertex 2 the top one.
struct Setup {
    D3DTLVERTEX* v0;
    D3DTLVERTEX* v1;
    D3DTLVERTEX* v2;
    uint32_t row0, row1, row2;
    float gradA, gradB; // of the plane, per pixel
    float invHeight;    // -1 / rows of the long edge
};

// Steps of a quantity per pixel from the long edge towards the other two, and per row up along the
// long edge.
struct Slopes {
    float dx;
    float dyDom;
};

// From the differences of the quantity at vertices 0 and 1 to that at vertex 2.
KORV_INLINE Slopes SlopesOf(const Setup& setup, float d02, float d12) {
    return {d02 * setup.gradB - d12 * setup.gradA, d02 * setup.invHeight};
}

// Of a quantity in whole numbers, such as a colour channel.
KORV_INLINE Slopes SlopesOfBytes(const Setup& setup, uint32_t p0, uint32_t p1, uint32_t p2) {
    return SlopesOf(setup, static_cast<float>(static_cast<int32_t>(p0 - p2)),
                    static_cast<float>(static_cast<int32_t>(p1 - p2)));
}

// The 9.15 word of a whole channel, the same as D3Dflt_to_fix_9_15 gives.
KORV_INLINE uint32_t ColourStart(uint32_t channel) {
    return channel << 15;
}

// The 2.22 word of a whole fog value, the same as D3Dflt_to_fix_2_22 gives.
KORV_INLINE uint32_t FogStart(uint32_t fog) {
    return fog << 14;
}

KORV_INLINE uint32_t Red(D3DCOLOR colour) {
    return (colour >> 16) & 0xFF;
}
KORV_INLINE uint32_t Green(D3DCOLOR colour) {
    return (colour >> 8) & 0xFF;
}
KORV_INLINE uint32_t Blue(D3DCOLOR colour) {
    return colour & 0xFF;
}
KORV_INLINE uint32_t Alpha(D3DCOLOR colour) {
    return colour >> 24;
}
KORV_INLINE bool IsGrey(D3DCOLOR colour) {
    return ((colour ^ (colour >> 8)) & 0xFFFF) == 0;
}

KORV_INLINE D3DCOLOR LitColour(const D3DTLVERTEX* vertex, uint32_t renderFlags) {
    return (renderFlags & RF_SPECULAR) != 0 ? SpecularAdd(vertex->color, vertex->specular)
                                            : vertex->color;
}

// Which vertex of the record comes in which place from the bottom row to the top one, and whether
// that took an odd number of swaps.
struct RowOrder {
    uint8_t place[3];
    uint8_t oddSwaps;
};

// How the rows compare, as an index of kRowOrders.
KORV_INLINE constexpr uint32_t CompareRows(uint32_t row0, uint32_t row1, uint32_t row2) {
    return uint32_t{row0 < row1} * 8 + uint32_t{row1 < row0} * 4 + uint32_t{row0 < row2} * 2 +
           uint32_t{row1 < row2};
}

// Three strict swaps, so that equal rows mostly stay in record order; X never breaks a tie.
constexpr RowOrder SortByRow(const uint32_t (&row)[3]) {
    RowOrder order{{0, 1, 2}, 0};
    constexpr uint8_t kPairs[][2] = {{0, 1}, {0, 2}, {1, 2}};
    for (const auto& [low, high] : kPairs) {
        if (row[order.place[low]] < row[order.place[high]]) {
            std::swap(order.place[low], order.place[high]);
            order.oddSwaps ^= 1;
        }
    }
    return order;
}

// A table, as no branch could be predicted.
inline constexpr auto kRowOrders = [] {
    std::array<RowOrder, 16> orders{};
    for (uint32_t rows = 0; rows < 27; ++rows) {
        const uint32_t row[3] = {rows / 9, rows / 3 % 3, rows % 3};
        orders[CompareRows(row[0], row[1], row[2])] = SortByRow(row);
    }
    return orders;
}();

// -1/|det|. With det of zero, its sign changed for an odd number of swaps decides the sign of the
// infinity, and with det NaN the sign of the result.
KORV_INLINE float InverseArea(float det, uint32_t oddSwaps) {
    const float size = __builtin_fabsf(det);
    if (size > 0.0f) [[likely]] {
        return -1.0f / size;
    }
    return -1.0f / std::bit_cast<float>(std::bit_cast<uint32_t>(det) ^ (oddSwaps << 31));
}

// Result: the word of the step down the long edge.
template <bool kWaits>
KORV_INLINE uint32_t ColourChannel(Output<kWaits>& out, const Setup& s, uint32_t p0, uint32_t p1,
                                   uint32_t p2) {
    const Slopes slopes = SlopesOfBytes(s, p0, p1, p2);
    const uint32_t dyDom = D3Dflt_to_fix_9_15(slopes.dyDom);
    out.Word(ColourStart(p0));
    out.Word(D3Dflt_to_fix_9_15(slopes.dx));
    out.Word(dyDom);
    return dyDom;
}

template <bool kWaits>
KORV_INLINE void GouraudGroup(Output<kWaits>& out, const Setup& s, bool blend, D3DCOLOR c0,
                              D3DCOLOR c1, D3DCOLOR c2) {
    // Decided ahead of blending: under grey the alpha registers keep the last triangle's words.
    const bool alpha = blend && !(IsGrey(c0) && IsGrey(c1) && IsGrey(c2));
    out.Wait(alpha ? 13 : 10);
    out.Word(alpha ? burst::ColourRGBA : burst::ColourRGB);
    ColourChannel(out, s, Red(c0), Red(c1), Red(c2));
    ColourChannel(out, s, Green(c0), Green(c1), Green(c2));
    const uint32_t blueDyDom = ColourChannel(out, s, Blue(c0), Blue(c1), Blue(c2));
    if (alpha) {
        const uint32_t keep = out.ctx->BlendForcesZeroAlpha == 1 ? 0 : 0xFF;
        const uint32_t a0 = Alpha(c0) & keep;
        const Slopes slopes = SlopesOfBytes(s, a0, Alpha(c1) & keep, Alpha(c2) & keep);
        out.Word(ColourStart(a0));
        out.Word(D3Dflt_to_fix_9_15(slopes.dx));
        // Alpha takes blue's step down the long edge.
        out.Word(blueDyDom);
    }
}

template <bool kWaits>
KORV_INLINE void DepthPair(Output<kWaits>& out, float value) {
    uint32_t pair[2];
    flt_to_fix_32_16(value, pair);
    out.Word(pair[0]);
    out.Word(pair[1]);
}

template <bool kWaits>
KORV_INLINE void DepthGroup(Output<kWaits>& out, const Setup& s) {
    constexpr float kDepthScale = 65535.0f;
    const float z0 = s.v0->sz * kDepthScale;
    const float z1 = s.v1->sz * kDepthScale;
    const float z2 = s.v2->sz * kDepthScale;
    const Slopes slopes = SlopesOf(s, z0 - z2, z1 - z2);
    out.Wait(7);
    out.Word(burst::Depth);
    DepthPair(out, z0);
    DepthPair(out, slopes.dx);
    DepthPair(out, slopes.dyDom);
}

// Fog is the top byte of specular, whatever else specular is used for.
template <bool kWaits>
KORV_INLINE void FogGroup(Output<kWaits>& out, const Setup& s) {
    const uint32_t f0 = Alpha(s.v0->specular);
    const Slopes slopes = SlopesOfBytes(s, f0, Alpha(s.v1->specular), Alpha(s.v2->specular));
    out.Wait(4);
    out.Word(burst::Fog);
    out.Word(FogStart(f0));
    out.Word(D3Dflt_to_fix_2_22(slopes.dx));
    out.Word(D3Dflt_to_fix_2_22(slopes.dyDom));
}

// Loads the pattern for a colour's alpha unless it is in the chip.
template <bool kWaits>
KORV_INLINE void StippleGroup(Output<kWaits>& out, D3DCOLOR colour) {
    const uint32_t index = colour >> 28;
    if (index == out.ctx->StippleIndex) {
        return;
    }
    out.ctx->StippleIndex = index;
    out.Wait(9);
    out.Word(burst::AreaStipple);
#pragma GCC unroll 8 // a rolled loop would become a call of the runtime library's memmove
    for (const uint32_t row : FlatStipplePatterns[index]) {
        out.Word(row);
    }
}

// The walk: upwards from the row above the bottom vertex, along the long edge, with the other two
// edges one after the other.
template <bool kWaits>
KORV_INLINE void EdgeGroup(Output<kWaits>& out, const Setup& s, uint32_t renderWord) {
    constexpr uint32_t kOneRow = 0x10000;
    constexpr uint32_t kRowUp = 0 - kOneRow;
    const uint32_t x0 = EncodeX(s.v0->sx);
    const uint32_t startY = (s.row0 << 16) - kOneRow;
    const uint32_t dXDom = flt_to_fix_16_16(s.invHeight * (s.v0->sx - s.v2->sx));

    const auto trapezoid = [&](uint32_t startXSub, uint32_t rows, float dx)
        __attribute__((always_inline)) {
        out.Wait(9);
        out.Word(burst::Trapezoid);
        out.Word(x0);
        out.Word(dXDom);
        out.Word(startXSub);
        out.Word(flt_to_fix_16_16(reciprocalTable[rows] * dx));
        out.Word(startY);
        out.Word(kRowUp);
        out.Word(rows);
        out.Word(renderWord);
    };

    if (s.row1 == s.row0) { // flat bottom
        trapezoid(EncodeX(s.v1->sx), s.row1 - s.row2, s.v1->sx - s.v2->sx);
        return;
    }
    trapezoid(x0, s.row0 - s.row1, s.v0->sx - s.v1->sx);
    if (s.row1 != s.row2) {
        const uint32_t rows = s.row1 - s.row2;
        out.Wait(4);
        out.Word(burst::NextSubEdge);
        out.Word(EncodeX(s.v1->sx));
        out.Word(flt_to_fix_16_16(reciprocalTable[rows] * (s.v1->sx - s.v2->sx)));
        out.Word(rows);
    }
}

template <bool kWaits>
KORV_INLINE void SetColorDDAMode(Output<kWaits>& out, uint32_t word) {
    out.Reserve(8);
    out.Wait(2);
    out.Tag(tag::ColorDDAMode, word);
    out.Store();
}

template <TriangleTraits kTraits, bool kWaits>
void TriangleBatch(D3DContext* ctx, const D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                   const void* records) {
    const uint32_t renderFlags = ctx->RenderFlags;
    const uint32_t cullMode = ctx->CullMode;
    uint32_t renderWord = ctx->RenderCommand | kTrapezoid;
    if constexpr (kTraits.blockFill) {
        renderWord = field::Render_FastFill.Put(renderWord, 1);
        if (ctx->Driver->ChipInfo->Family == FamilyPermedia) {
            renderWord = field::Render_BlockFillKind.Put(renderWord, 0);
        }
    }
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();
    if constexpr (kTraits.blockFill) {
        SetColorDDAMode(out, 0);
    }

    const auto* record = static_cast<const uint8_t*>(records);
    const uint32_t recordBytes = ins->bSize;
    uint32_t left = ins->wCount;
    do {
        const auto* triangle = reinterpret_cast<const D3DTRIANGLE*>(record);
        record += recordBytes;
        D3DTLVERTEX* const a = vertices + triangle->v1;
        D3DTLVERTEX* const b = vertices + triangle->v2;
        D3DTLVERTEX* const c = vertices + triangle->v3;
        const uint32_t rows[] = {SnapY(a->sy), SnapY(b->sy), SnapY(c->sy)};
        if (rows[0] == rows[1] && rows[0] == rows[2]) {
            continue;
        }

        const float det = (a->sx - c->sx) * (b->sy - c->sy) - (a->sy - c->sy) * (b->sx - c->sx);
        if (cullMode != D3DCULL_NONE && (cullMode == D3DCULL_CCW ? det <= 0.0f : !(det < 0.0f))) {
            continue;
        }

        D3DTLVERTEX* const corners[] = {a, b, c};
        const RowOrder& order = kRowOrders[CompareRows(rows[0], rows[1], rows[2])];
        Setup s;
        s.v0 = corners[order.place[0]];
        s.v1 = corners[order.place[1]];
        s.v2 = corners[order.place[2]];
        s.row0 = rows[order.place[0]];
        s.row1 = rows[order.place[1]];
        s.row2 = rows[order.place[2]];
        const float inverse = InverseArea(det, order.oddSwaps);
        s.gradA = inverse * (s.v0->sy - s.v2->sy);
        s.gradB = inverse * (s.v1->sy - s.v2->sy);
        s.invHeight = reciprocalTable[s.row0 - s.row2];

        out.Reserve(kTriangleBytes);
        D3DCOLOR c0 = s.v0->color;
        D3DCOLOR c1 = s.v1->color;
        D3DCOLOR c2 = s.v2->color;
        if ((renderFlags & RF_SPECULAR) != 0) {
            c0 = SpecularAdd(c0, s.v0->specular);
            c1 = SpecularAdd(c1, s.v1->specular);
            c2 = SpecularAdd(c2, s.v2->specular);
        }
        if constexpr (kTraits.gouraud) {
            GouraudGroup(out, s, (renderFlags & RF_BLEND) != 0, c0, c1, c2);
        } else {
            // Flat colour is the record's first vertex's, not the bottom one's.
            const D3DCOLOR colour = LitColour(a, renderFlags);
            out.Wait(2);
            if constexpr (kTraits.blockFill) {
                out.Tag(tag::FBBlockColor, FlatPack(colour, ctx->BytesPerPixel));
            } else {
                out.Tag(tag::ConstantColor, ExchangeRedBlue(colour));
            }
        }
        if constexpr (kTraits.depth) {
            DepthGroup(out, s);
        }
        if constexpr (kTraits.fog) {
            FogGroup(out, s);
        }
        if ((renderFlags & RF_STIPPLEDALPHA) != 0) {
            // By the bottom vertex, and by its own colour, without specular.
            StippleGroup(out, s.v0->color);
            renderWord = field::Render_AreaStipple.Put(renderWord, 1);
        }
        EdgeGroup(out, s, renderWord);
        out.Store();
    } while (--left != 0);

    if constexpr (kTraits.blockFill) {
        SetColorDDAMode(out, ctx->Copies.ColorDDAMode);
    }
}

// One member: decides once a batch whether FIFO space is waited for.
template <TriangleTraits kTraits>
void Triangles(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        TriangleBatch<kTraits, true>(ctx, ins, vertices, records);
    } else {
        TriangleBatch<kTraits, false>(ctx, ins, vertices, records);
    }
}

} // namespace glint
