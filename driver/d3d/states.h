#pragma once
// Render states: the entry that takes them from an execute buffer, the walk over their pairs, and
// the states whose effect is the same on both chip families.
//
// A state that concerns one register goes out at once; one that interacts with others only marks
// what is stale in DirtyFlags, and the next primitive works the combination out.
#include "driver/core/bits.h"
#include "driver/core/dma.h"
#include "driver/texture/colour_field.h"

#include <cstdint>
#include <span>

// Direct3D callback: processes a run of D3DSTATE pairs of an execute buffer. Returns 1; ddrval is
// DD_OK or D3DHAL_CONTEXT_BAD.
DWORD KORV_STDCALL RenderState32(D3DHAL_RENDERSTATEDATA* data);

// Locks state `type` against changes, or releases it. Types above 256 do not exist.
void OverrideState(D3DContext* ctx, uint32_t type, bool locked);
// True while changes of `state` are to be ignored. State 0 cannot be locked.
bool IsStateLocked(const D3DContext* ctx, uint32_t state);

// Longest run of words of one state, in bytes.
inline constexpr uint32_t kStateBytes = 128;

// Processes `count` pairs of state number and value by Apply(ctx, out, state, value). KeepsImage:
// values are also kept in RenderStates. Always DD_OK.
template <auto Apply, bool KeepsImage>
uint32_t ProcessStatePairs(D3DContext* ctx, uint32_t count, const uint32_t* pairs) {
    StateWriter out(ctx);
    for (; count != 0; --count, pairs += 2) {
        const uint32_t state = pairs[0];
        const uint32_t value = pairs[1];
        if (state > D3DSTATE_OVERRIDE_BIAS) {
            OverrideState(ctx, state - D3DSTATE_OVERRIDE_BIAS, value != 0);
            continue;
        }
        if (IsStateLocked(ctx, state)) {
            continue;
        }
        // State 256 can be locked, but the image has no place for it.
        if (KeepsImage && state < D3DSTATE_OVERRIDE_BIAS) {
            ctx->RenderStates[state] = value;
        }
        if (state == D3DRENDERSTATE_ZVISIBLE) {
            ctx->ZVisibleMode = value;
            continue;
        }
        out.Reserve(kStateBytes);
        out.Wait(4);
        Apply(ctx, out, state, value);
    }
    out.Store();
    return DD_OK;
}

// Entry of a table from state value to chip field for values that leave the field alone.
inline constexpr uint8_t kKeep = 0xFF;

// Puts map[value] into a field of a mode word, unless the table has no entry or kKeep there.
inline void PutMapped(uint32_t& word, const Field& field, std::span<const uint8_t> map,
                      uint32_t value) {
    if (value < map.size() && map[value] != kKeep) {
        PutField(word, field, map[value]);
    }
}

// TextureColorMode's colour field by D3DTBLEND_*, on all chips but TX.
inline constexpr uint8_t kTextureBlendField[] = {kKeep, kColorModeCopy, 0,     1,
                                                 0,     kKeep,          kKeep, kColorModeCopy};

// The states that both families treat alike. Numbers that are not among them are ignored.
void ApplyCommonState(D3DContext* ctx, StateWriter& out, uint32_t state, uint32_t value);

// States that differ between the chips in one point each.

// D3DRENDERSTATE_TEXTUREHANDLE, on chips with a texture unit.
void SetTextureHandleState(D3DContext* ctx, uint32_t handle);

// What a change of a blend factor makes stale.
void MarkBlendDirty(D3DContext* ctx);

// What fog means on a chip. Where FogColor is held, the register is all ones while fog is off.
struct FogRules {
    bool ExcludesTexturedSpecular; // fog and specular never meet on a textured primitive
    bool HoldsFogColor;
};

// D3DRENDERSTATE_FOGENABLE.
void SetFogState(D3DContext* ctx, StateWriter& out, uint32_t value, FogRules rules);
// D3DRENDERSTATE_SPECULARENABLE on chips whose fog excludes specular.
void SetExclusiveSpecularState(D3DContext* ctx, uint32_t value);
// D3DRENDERSTATE_FOGCOLOR; the word goes out at once, or only while fog is on.
void SetFogColorState(D3DContext* ctx, StateWriter& out, uint32_t value, bool onlyInFog);
// D3DRENDERSTATE_STIPPLEDALPHA. Its end rewrites eight rows: `rowsWait` entries are waited for
// first, if not 0.
void SetStippledAlphaState(D3DContext* ctx, StateWriter& out, uint32_t value, uint32_t rowsWait);
