#pragma once
// The textured triangles of Permedia 2: one template behind the general member, its mip-mapped
// relative, and their specialisations for a few common states.
//
// Per triangle: cull, drop slivers, pick the mip level, bring the texture coordinates into range,
// then stipple, flat colour, the vertices that are not in the vertex store yet, and the draw word.
#include "driver/raster/cull.h"
#include "driver/raster/su_colour.h"
#include "driver/raster/su_mip.h"
#include "driver/raster/su_reuse.h"
#include "driver/raster/su_texture.h"
#include "driver/raster/su_tri.h"

#include <bit>
#include <type_traits>

namespace su {

struct P2TexturedTraits {
    uint32_t reserve; // bytes, the worst case of one triangle
    // Coordinates are slid into the chip's range; without it they have to be there.
    bool reduceRange = true;
    bool mipMapped = false;
    // T is scaled by the level's width too.
    bool widthScalesBoth = false;
};

// What is sent of a vertex.
template <class FlagSet>
KORV_INLINE uint32_t P2VertexMask(FlagSet flags) {
    return words::XYZ | words::STQ | (flags.Has(RF_SPECULAR) ? words::Ks : 0) |
           (flags.Has(RF_FOG) ? words::F : 0) | (flags.Has(RF_GOURAUD) ? words::Colour : 0);
}

// Whether the cull mode may drop triangles: known for the batch, or asked for each triangle.
enum class Culling { Off, On, Asked };

template <P2TexturedTraits kTraits, Culling kCulling, bool kWaits, class FlagSet>
[[gnu::noinline]] void P2TexturedBatch(D3DContext* ctx, const D3DINSTRUCTION* ins,
                                       const D3DTLVERTEX* vertices, const void* records,
                                       FlagSet flags) {
    const uint32_t drawWord = TriangleWord(ctx, flags);
    const uint32_t header = FloatHeader(P2VertexMask(flags));
    // A vertex's Ks is then another one's.
    const bool sendAll = flags.Has(RF_SPECULAR) && !flags.Has(RF_GOURAUD);
    const uint32_t alphaMask = flags.Has(RF_BLEND) ? PackedColour(ctx).mask : 0xFFFFFFFF;
    const SignCull cull(ctx);
    const uint32_t cullGate = ctx->CullSignA;
    const TextureRecord* const texture = ctx->CurrentTexture;
    [[maybe_unused]] uint32_t levels = 0;
    if constexpr (kTraits.mipMapped) {
        levels = LevelsOf(texture);
    }
    TextureScale scale = ScaleOf(ctx);
    CurrentLevel level;
    KeptVertices kept;
    bool wrapped = false;
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();

    const auto* record = static_cast<const uint8_t*>(records);
    const uint32_t recordBytes = ins->bSize;
    int32_t left = ins->wCount;
    do {
        const auto* triangle = reinterpret_cast<const D3DTRIANGLE*>(record);
        record += recordBytes;
        const D3DTLVERTEX* const a = vertices + triangle->v1;
        const D3DTLVERTEX* const b = vertices + triangle->v2;
        const D3DTLVERTEX* const c = vertices + triangle->v3;

        float det = 0.0f;
        if constexpr (kTraits.mipMapped) {
            det = Determinant(a, b, c);
            const uint32_t turned = cull.Turned(det);
            // Slivers go even where culling is off, if their sign is right.
            if (static_cast<int32_t>(cullGate & turned) < 0 || IsSliver(turned, a, b, c)) {
                continue;
            }
        } else if (kCulling == Culling::On || (kCulling == Culling::Asked && cull.Active())) {
            det = Determinant(a, b, c);
            if (cull.Drops(det) || IsSliver(cull.Turned(det), a, b, c)) {
                continue;
            }
        }
        out.Reserve(kTraits.reserve);

        bool newLevel = false;
        if constexpr (kTraits.mipMapped) {
            constexpr uint32_t kMagnitude = 0x7FFFFFFF;
            const float texels = TexelArea(a, b, c, texture->TexelCount);
            const int32_t wanted = LevelFor(std::bit_cast<uint32_t>(texels) & kMagnitude,
                                            std::bit_cast<uint32_t>(det) & kMagnitude, levels);
            newLevel = level.Change(out, texture, wanted);
            if (newLevel) {
                const TextureLevel& to = texture->Levels[wanted];
                scale = {to.WidthScale, kTraits.widthScalesBoth ? to.WidthScale : to.HeightScale};
            }
        }
        [[maybe_unused]] std::conditional_t<kTraits.reduceRange, TriangleTexture, RawTexture> at(
            a, b, c);
        const bool lastWrapped = wrapped;
        if constexpr (kTraits.reduceRange) {
            at.Reduce(ctx);
            wrapped = at.Wrap(flags);
        }

        Sends sends;
        if constexpr (kTraits.mipMapped) {
            // What was kept is for the old level. Wrapping does not matter here.
            sends = newLevel || sendAll ? kept.All(a, b, c) : kept.ChooseAnyPlace(a, b, c);
        } else {
            // Under wrapping a vertex's words depend on its neighbours.
            sends = lastWrapped || wrapped || sendAll ? kept.All(a, b, c) : kept.Choose(a, b, c);
        }

        if (flags.Has(RF_STIPPLEDALPHA)) {
            StippleGroup(out, a->color);
        }
        if (!flags.Has(RF_GOURAUD)) {
            out.Wait(2);
            out.Tag(tag::ConstantColor, ExchangeRedBlue(a->color & alphaMask));
        }
        const auto load = [&](uint32_t slot, const D3DTLVERTEX* vertex, int corner)
            __attribute__((always_inline)) {
            const float tu = at.U(vertex, corner);
            const float tv = at.V(vertex, corner);
            // F is not counted.
            out.Wait(7 + flags.Has(RF_SPECULAR) + flags.Has(RF_GOURAUD));
            out.Word(header + slot);
            PutSTQ(out, scale.Place(tu, tv, vertex, flags));
            if (flags.Has(RF_SPECULAR)) {
                const D3DTLVERTEX* const lit = flags.Has(RF_GOURAUD) ? vertex : a;
                out.Float(SpecularStrength(lit->specular));
            }
            if (flags.Has(RF_FOG)) {
                out.Float(FloatFog(vertex));
            }
            PutXYZ(out, vertex);
            if (flags.Has(RF_GOURAUD)) {
                out.Word(vertex->color & alphaMask);
            }
        };
        if (sends.a) {
            load(kept.slotA, a, 0);
        }
        if (sends.b) {
            load(kept.slotB, b, 1);
        }
        load(kept.slotC, c, 2);
        out.Wait(2);
        out.Tag(tag::DrawTriangle, drawWord);
    } while (--left > 0);
    out.Store();
}

// A member for any state. Gouraud shading under perspective has copies of its own.
template <P2TexturedTraits kTraits>
KORV_INLINE void P2TexturedTriangles(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                     void* records) {
    constexpr uint32_t kUsual = RF_GOURAUD | RF_PERSPECTIVE;
    constexpr uint32_t kEither = RF_SPECULAR | RF_FOG;
    const uint32_t flags = ctx->RenderFlags;
    if (NeedsFIFOWaits(ctx->Stream)) {
        P2TexturedBatch<kTraits, Culling::Asked, true>(ctx, ins, vertices, records,
                                                       LiveFlags{flags});
    } else if ((flags & kUsual) != kUsual) {
        P2TexturedBatch<kTraits, Culling::Asked, false>(ctx, ins, vertices, records,
                                                        LiveFlags{flags});
    } else {
        WithKnownFlags<kUsual | kEither, kUsual, kEither>(flags, [=](auto known) {
            P2TexturedBatch<kTraits, Culling::Asked, false>(ctx, ins, vertices, records, known);
        });
    }
}

} // namespace su
