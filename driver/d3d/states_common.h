#pragma once
// What the states of both chip families have in common, in line: a family's states are one function
// in which the writer's position stays in a register.
#include "driver/core/bits.h"
#include "driver/d3d/states.h"
#include "driver/raster/inline.h"
#include "driver/texture/colour_field.h"

#include <cstdint>
#include <span>

// Entry of a table from state value to chip field for values that leave the field alone.
inline constexpr uint8_t kKeep = 0xFF;

// Puts map[value] into a field of a mode word, unless the table has no entry or kKeep there.
KORV_INLINE void PutMapped(uint32_t& word, const Field& field, std::span<const uint8_t> map,
                           uint32_t value) {
    if (value < map.size() && map[value] != kKeep) {
        PutField(word, field, map[value]);
    }
}

// TextureColorMode's colour field by D3DTBLEND_*, on all chips but TX.
inline constexpr uint8_t kTextureBlendField[] = {kKeep, kColorModeCopy, 0,     1,
                                                 0,     kKeep,          kKeep, kColorModeCopy};

// RasterizerMode of a setup unit that draws wires.
inline constexpr uint32_t kRasterizerWires = field::RasterizerMode_HalfBias.Mask();

// Turns a render flag on or off; true if that changed it.
KORV_INLINE bool ChangeFlag(D3DContext* ctx, RenderFlag flag, bool on) {
    if (((ctx->RenderFlags & flag) != 0) == on) {
        return false;
    }
    ctx->RenderFlags ^= flag;
    return true;
}

KORV_INLINE void SetZEnable(D3DContext* ctx, uint32_t value) {
    if (value != 0 && ctx->ZBufferSurface == nullptr) {
        return;
    }
    if (ChangeFlag(ctx, RF_ZENABLE, value != 0)) {
        ctx->DirtyFlags |= DIRTY_RENDERERS | DIRTY_Z;
    }
}

KORV_INLINE void SetFillMode(D3DContext* ctx, StateWriter& out, uint32_t value) {
    const bool known = value >= D3DFILL_POINT && value <= D3DFILL_SOLID;
    ctx->FillMode = known ? value : D3DFILL_SOLID;
    if (ctx->UseDelta != 0) {
        out.Tag(tag::RasterizerMode, ctx->FillMode == D3DFILL_WIREFRAME ? kRasterizerWires : 0);
    }
    ctx->DirtyFlags |= DIRTY_RENDERERS;
}

KORV_INLINE void SetShadeMode(D3DContext* ctx, StateWriter& out, uint32_t value) {
    if (value < D3DSHADE_FLAT || value > D3DSHADE_PHONG) {
        return;
    }
    const bool smooth = value != D3DSHADE_FLAT;
    if (!ChangeFlag(ctx, RF_GOURAUD, smooth)) {
        return;
    }
    PutField(ctx->Copies.ColorDDAMode, field::ColorDDAMode_Gouraud, smooth);
    out.Tag(tag::ColorDDAMode, ctx->Copies.ColorDDAMode);
    if (ctx->UseDelta != 0) {
        PutField(ctx->Copies.DeltaMode, field::DeltaMode_SmoothShading, smooth);
        out.Tag(tag::DeltaMode, ctx->Copies.DeltaMode);
    }
    ctx->DirtyFlags |= DIRTY_RENDERERS;
    if (ctx->TextureHandle != 0) {
        ctx->DirtyFlags |= DIRTY_TEXTURE;
    }
}

KORV_INLINE void SetZFunc(D3DContext* ctx, uint32_t value) {
    const bool known = value >= D3DCMP_NEVER && value <= D3DCMP_ALWAYS;
    const uint32_t compare = known ? value : D3DCMP_LESSEQUAL;
    PutField(ctx->Copies.DepthMode, field::DepthMode_Compare, compare - D3DCMP_NEVER);
    ctx->DirtyFlags |= DIRTY_Z;
}

// Area stippling of Render follows the state, except while stippled alpha loads patterns of its
// own.
KORV_INLINE void SetStippleEnable(D3DContext* ctx, uint32_t value) {
    ctx->StippleEnabled = value != 0;
    if (value == 0) {
        PutField(ctx->RenderCommand, field::Render_AreaStipple, 0);
    } else if ((ctx->RenderFlags & RF_STIPPLEDALPHA) == 0) {
        PutField(ctx->RenderCommand, field::Render_AreaStipple, 1);
    }
}

// The state numbers of the first eight rows are the tags of the rows.
static_assert(D3DRENDERSTATE_STIPPLEPATTERN00 == tag::AreaStipplePattern0);
static_assert(D3DRENDERSTATE_STIPPLEPATTERN07 == tag::AreaStipplePattern7);

KORV_INLINE void SetStippleRow(D3DContext* ctx, StateWriter& out, uint32_t state, uint32_t value) {
    ctx->StipplePattern[state - D3DRENDERSTATE_STIPPLEPATTERN00] = static_cast<uint8_t>(value);
    if ((ctx->RenderFlags & RF_STIPPLEDALPHA) == 0) {
        out.Tag(state, value);
    }
}

// The states that both families treat alike. Numbers that are not among them are ignored.
KORV_INLINE void ApplyCommonState(D3DContext* ctx, StateWriter& out, uint32_t state,
                                  uint32_t value) {
    switch (state) {
    case D3DRENDERSTATE_WRAPU:
        ChangeFlag(ctx, RF_WRAPU, value != 0);
        break;
    case D3DRENDERSTATE_WRAPV:
        ChangeFlag(ctx, RF_WRAPV, value != 0);
        break;
    case D3DRENDERSTATE_ZENABLE:
        SetZEnable(ctx, value);
        break;
    case D3DRENDERSTATE_FILLMODE:
        SetFillMode(ctx, out, value);
        break;
    case D3DRENDERSTATE_SHADEMODE:
        SetShadeMode(ctx, out, value);
        break;
    case D3DRENDERSTATE_MONOENABLE:
        ChangeFlag(ctx, RF_MONO, value != 0);
        ctx->DirtyFlags |= DIRTY_RENDERERS;
        break;
    case D3DRENDERSTATE_PLANEMASK:
        out.Tag(tag::FBHardwareWriteMask, value);
        break;
    case D3DRENDERSTATE_ZWRITEENABLE:
        if (ChangeFlag(ctx, RF_ZWRITE, value != 0)) {
            ctx->DirtyFlags |= DIRTY_Z;
        }
        break;
    case D3DRENDERSTATE_ZFUNC:
        SetZFunc(ctx, value);
        break;
    case D3DRENDERSTATE_BLENDENABLE:
        if (ChangeFlag(ctx, RF_BLEND, value != 0)) {
            ctx->DirtyFlags |= DIRTY_BLEND;
        }
        break;
    case D3DRENDERSTATE_STIPPLEENABLE:
        SetStippleEnable(ctx, value);
        break;
    case D3DRENDERSTATE_STIPPLEPATTERN00:
    case D3DRENDERSTATE_STIPPLEPATTERN01:
    case D3DRENDERSTATE_STIPPLEPATTERN02:
    case D3DRENDERSTATE_STIPPLEPATTERN03:
    case D3DRENDERSTATE_STIPPLEPATTERN04:
    case D3DRENDERSTATE_STIPPLEPATTERN05:
    case D3DRENDERSTATE_STIPPLEPATTERN06:
    case D3DRENDERSTATE_STIPPLEPATTERN07:
        SetStippleRow(ctx, out, state, value);
        break;
    default:
        // Among them alpha test, line pattern, raster operation and antialiasing, which the chips
        // are not driven to do.
        break;
    }
}

// D3DRENDERSTATE_TEXTUREHANDLE, on chips with a texture unit.
KORV_INLINE void SetTextureHandleState(D3DContext* ctx, uint32_t handle) {
    if (handle != ctx->TextureHandle) {
        ctx->TextureHandle = handle;
        ctx->DirtyFlags |= DIRTY_RENDERERS | DIRTY_TEXTURE;
    }
}

// What a change of a blend factor makes stale.
KORV_INLINE void MarkBlendDirty(D3DContext* ctx) {
    if ((ctx->RenderFlags & RF_BLEND) != 0) {
        ctx->DirtyFlags |= DIRTY_BLEND;
    }
}

// What fog means on a chip. Where FogColor is held, the register is all ones while fog is off.
struct FogRules {
    bool ExcludesTexturedSpecular; // fog and specular never meet on a textured primitive
    bool HoldsFogColor;
};

// D3DRENDERSTATE_FOGENABLE.
KORV_INLINE void SetFogState(D3DContext* ctx, StateWriter& out, uint32_t value, FogRules rules) {
    constexpr uint32_t kTexturedSpecular = RF_TEXTURE | RF_SPECULAR;
    const bool on = value != 0;
    ChangeFlag(ctx, RF_FOG, on);
    PutField(ctx->RenderCommand, field::Render_Fog, on);
    if (rules.HoldsFogColor) {
        out.Tag(tag::FogColor, HeldFogColor(ctx));
    }
    if (rules.ExcludesTexturedSpecular) {
        if (!on && ctx->SpecularEnabled == 1) {
            ctx->RenderFlags |= RF_SPECULAR;
        } else if (on && (ctx->RenderFlags & kTexturedSpecular) == kTexturedSpecular) {
            ctx->RenderFlags &= ~RF_SPECULAR;
        }
    }
    ctx->DirtyFlags |= DIRTY_RENDERERS | DIRTY_TEXTURE;
}

// D3DRENDERSTATE_SPECULARENABLE on chips whose fog excludes specular.
KORV_INLINE void SetExclusiveSpecularState(D3DContext* ctx, uint32_t value) {
    constexpr uint32_t kTexturedFog = RF_FOG | RF_TEXTURE;
    ctx->SpecularEnabled = value != 0;
    const bool excluded = (ctx->RenderFlags & kTexturedFog) == kTexturedFog;
    ChangeFlag(ctx, RF_SPECULAR, value != 0 && !excluded);
    ctx->DirtyFlags |= DIRTY_RENDERERS;
}

// D3DRENDERSTATE_FOGCOLOR; the word goes out at once, or only while fog is on.
KORV_INLINE void SetFogColorState(D3DContext* ctx, StateWriter& out, uint32_t value,
                                  bool onlyInFog) {
    // The chip has red in the low byte.
    ctx->FogColor = (value & 0xFF00FF00) | (value & 0xFF) << 16 | (value >> 16 & 0xFF);
    if (!onlyInFog || (ctx->RenderFlags & RF_FOG) != 0) {
        out.Tag(tag::FogColor, ctx->FogColor);
    }
}

// D3DRENDERSTATE_STIPPLEDALPHA. Its end rewrites eight rows: `rowsWait` entries are waited for
// first, if not 0.
KORV_INLINE void SetStippledAlphaState(D3DContext* ctx, StateWriter& out, uint32_t value,
                                       uint32_t rowsWait) {
    const bool on = value != 0;
    if (!ChangeFlag(ctx, RF_STIPPLEDALPHA, on)) {
        return;
    }
    if (on) {
        // No pattern of the table is loaded yet.
        ctx->StippleIndex = kNoStipplePattern;
    } else {
        if (rowsWait != 0) {
            out.Wait(rowsWait);
        }
        for (uint32_t row = 0; row != 8; ++row) {
            out.Tag(tag::AreaStipplePattern0 + row, ctx->StipplePattern[row]);
        }
    }
    if (ctx->StippleEnabled == 1) {
        PutField(ctx->RenderCommand, field::Render_AreaStipple, !on);
    }
}
