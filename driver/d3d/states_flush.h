#pragma once
// What the dirty flushes of both families work out alike.
#include "driver/core/records/d3d_context.h"

#include <cstdint>

// Blend factors as one number: source field + 16 * destination field of AlphaBlendMode.
constexpr uint32_t BlendPairNumber(uint32_t source, uint32_t dest) {
    return source + 16 * dest;
}
// The pair in a blend word.
uint32_t BlendPairOf(uint32_t alphaBlendMode);

inline constexpr uint32_t kBlendOneZero = BlendPairNumber(1, 0);
inline constexpr uint32_t kBlendOneOne = BlendPairNumber(1, 1);
inline constexpr uint32_t kBlendOneInvSrcAlpha = BlendPairNumber(1, 5);
inline constexpr uint32_t kBlendSrcAlphaInvSrcAlpha = BlendPairNumber(4, 5);

// Turns blending and the destination read it needs on or off in the register copies.
void EnableBlend(D3DContext* ctx, bool on);

// True when Z buffering is on and there is a Z buffer.
bool IsDepthInForce(const D3DContext* ctx);

// What the depth test does to the local buffer.
struct DepthAccess {
    bool Reads;
    bool Writes;
};

// The access that the compare function and RF_ZWRITE ask for while depth is in force.
DepthAccess DepthAccessOf(const D3DContext* ctx);

// Puts the depth test on or off and the access into the register copies of the depth and local
// buffer units. Bit 9 of LBReadMode, and the window unit, are the caller's.
void PutDepthAccess(D3DContext* ctx, bool enabled, const DepthAccess& access);
