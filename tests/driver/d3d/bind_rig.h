#pragma once
// A context with a texture to bind, and the suites of tests over the boards with textures.
#include "driver/texture/textures.h"
#include "driver/texture/textures_bind.h"
#include "tests/driver/d3d/state_support.h"
#include "tests/support/tag_names.h"

#include <vector>

namespace test {

// A context with one texture, handle 1, watched whole.
class Bound : public WatchedContext {
  public:
    explicit Bound(const StateChip& chip, bool dma = true) : WatchedContext(chip, dma) {
        ContextSlots[3] = ctx;
        ctx->ContextHandle = 3;
        surface = &rig.MakeSurface(256, 64, DDSCAPS_TEXTURE, PixelSize16, 0x40000);
        surface->priv.Format = 1;
        surface->priv.LogPixelBits = 4;
        surface->priv.HasAlpha = 1;
        surface->priv.FormatComponents = 3;
        surface->priv.FormatOrder = 1;
        if (chip.IsGlint()) {
            surface->Global().fpVidMem =
                reinterpret_cast<uint32_t>(rig.driver->LocalBufferBase) + 0x40000;
        }
    }

    // Makes the record of the surface as it stands now and puts its handle in force.
    TextureRecord* Create() {
        D3DHAL_TEXTURECREATEDATA data{};
        data.dwhContext = 3;
        data.lpDDS = &surface->interface;
        TextureCreate(&data);
        EXPECT_EQ(data.ddrval, 0u);
        record = TextureHandleToPtr(data.dwHandle, ctx);
        ctx->TextureHandle = data.dwHandle;
        ctx->DirtyFlags = 0;
        return record;
    }

    void GivePalette() {
        for (uint32_t i = 0; i != 256; ++i) {
            entries[i] = {static_cast<BYTE>(i), static_cast<BYTE>(255 - i),
                          static_cast<BYTE>(i * 7), static_cast<BYTE>(i + 3)};
        }
        paletteGlobal.lpColorTable = entries;
        paletteLocal.lpGbl = &paletteGlobal;
        palette.lpLcl = &paletteLocal;
        surface->local.lpDDPalette = &palette;
    }
    static uint32_t PaletteWord(uint32_t i) {
        return 0xFF000000u | ((i * 7) & 0xFF) << 16 | (255 - i) << 8 | i;
    }

    void GiveKey(uint32_t low, uint32_t high) {
        surface->local.dwFlags |= 0x800;
        surface->local.ddckCKSrcBlt = {low, high};
    }
    void GiveFormat(uint32_t flags, uint32_t red, uint32_t alpha) {
        surface->local.dwFlags |= DDRAWISURF_HASPIXELFORMAT;
        DDPIXELFORMAT& format = surface->Global().ddpfSurface;
        format.dwFlags = flags;
        format.dwRBitMask = red;
        format.dwRGBAlphaBitMask = alpha;
    }

    void Change() {
        if (!chip.IsGlint()) {
            ChangeTexturePermedia(ctx);
        } else if (chip.device == 2) {
            ChangeTextureTX(ctx);
        } else {
            ChangeTextureMX(ctx);
        }
    }

    using WatchedContext::Expect;
    void Expect(const Edit& edit) {
        SCOPED_TRACE(chip.name);
        D3DContext want;
        std::memcpy(static_cast<void*>(&want), ctx, sizeof(want));
        const Words words = edit(want);
        Change();
        EXPECT_EQ(Take(), words);
        EXPECT_EQ(Difference(*ctx, want), "");
    }

    // The data behind the first pair with this tag.
    static uint32_t DataOf(const Words& pairs, uint32_t tagNumber) {
        for (size_t i = 0; i < pairs.size(); i += 2) {
            if (pairs[i] == tagNumber) {
                return pairs[i + 1];
            }
        }
        ADD_FAILURE() << "no word for tag " << tagNumber;
        return 0;
    }
    static bool Has(const Words& pairs, uint32_t tagNumber) {
        for (size_t i = 0; i < pairs.size(); i += 2) {
            if (pairs[i] == tagNumber) {
                return true;
            }
        }
        return false;
    }

    RigSurface* surface;
    TextureRecord* record = nullptr;
    PALETTEENTRY entries[256];
    DDRAWI_DDRAWPALETTE_INT palette{};
    DDRAWI_DDRAWPALETTE_LCL paletteLocal{};
    DDRAWI_DDRAWPALETTE_GBL paletteGlobal{};
};

inline std::vector<StateChip> Textured() {
    std::vector<StateChip> chips = kPermediaChips;
    for (const StateChip& chip : kGlintChips) {
        if (chip.device != 1) {
            chips.push_back(chip);
        }
    }
    return chips;
}

class BindTest : public StateTest {};
class PermediaBindTest : public StateTest {};
class TXBindTest : public StateTest {};
class MXBindTest : public StateTest {};
// The pairs from the one with `first` up to the one with `last`.
inline Words Between(const Words& pairs, uint32_t first, uint32_t last) {
    size_t from = 0;
    while (from < pairs.size() && pairs[from] != first) {
        from += 2;
    }
    size_t to = from;
    while (to < pairs.size() && pairs[to] != last) {
        to += 2;
    }
    return {pairs.begin() + static_cast<long>(from),
            pairs.begin() + static_cast<long>(std::min(to + 2, pairs.size()))};
}

// What every binding of the 256 x 64 surface leaves in the context.
inline void TakenBy(D3DContext& w, TextureRecord* record) {
    w.CurrentTexture = record;
    w.TextureWidth = 256.0f;
    w.TextureHeight = 64.0f;
    w.TextureRepeatU = 8.0f;
    w.TextureRepeatV = 32.0f;
    w.TextureRepeatMaskU = 7;
    w.TextureRepeatMaskV = 31;
    w.RenderFlags |= 0x20;
    w.RenderCommand |= 0x2000;
    w.TextureValid = 1;
}

} // namespace test
