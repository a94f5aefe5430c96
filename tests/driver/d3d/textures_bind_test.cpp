// Binding a texture to the chip, and switching the texture unit off.
#include "driver/texture/textures.h"
#include "driver/texture/textures_bind.h"
#include "driver/texture/textures_key.h"
#include "tests/driver/d3d/state_support.h"
#include "tests/support/tag_names.h"

namespace test {
namespace {

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

std::vector<StateChip> Textured() {
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
INSTANTIATE_TEST_SUITE_P(Chips, BindTest, testing::ValuesIn(Textured()), ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, PermediaBindTest, testing::ValuesIn(kPermediaChips), ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, TXBindTest,
                         testing::Values(StateChip{"TX", 2, false}, StateChip{"TXDelta", 2, true}),
                         ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, MXBindTest,
                         testing::Values(StateChip{"MX", 6, false}, StateChip{"MXDelta", 6, true}),
                         ChipName);

// Without a texture.

TEST_P(PermediaBindTest, NoTextureSwitchesTheUnitOff) {
    Bound c(GetParam());
    const StateChip chip = GetParam();
    for (uint32_t background : {0u, 0xFFFFFFFFu, 0x55555555u}) {
        for (uint32_t mode = 0; mode != 8; ++mode) {
            for (uint32_t flags : {0x20u, 0x21u}) {
                for (uint32_t on : {0u, 1u}) {
                    c.FillCopies(background);
                    c.ctx->Copies.TextureColorMode = WithBits(background, 0x0E, mode << 1);
                    c.ctx->RenderFlags = flags;
                    c.ctx->RenderCommand = 0x12001;
                    c.ctx->ColorKeyActive = on;
                    c.ctx->SpecularEnabled = on;
                    c.ctx->TextureValid = 0;
                    c.ctx->CurrentTexture = reinterpret_cast<TextureRecord*>(4);
                    c.Expect([&](D3DContext& w) {
                        auto& r = w.Copies;
                        r.TextureAddressMode &= ~1u;
                        r.TextureReadMode &= ~1u;
                        r.TextureColorMode &= ~1u;
                        Words words = {t::TextureAddressMode, r.TextureAddressMode,
                                       t::TextureReadMode,    r.TextureReadMode,
                                       t::TextureColorMode,   r.TextureColorMode,
                                       t::TextureBaseAddress, 0,
                                       t::TexelLUTTransfer,   0};
                        w.RenderFlags &= ~0x20u;
                        w.RenderCommand = 0x10001;
                        if (mode == 3) {
                            if (chip.delta) {
                                r.DeltaMode = WithBits(r.DeltaMode, 0x40, (flags & 1) << 6);
                                words = words + Words{t::DeltaMode, r.DeltaMode};
                            }
                            r.ColorDDAMode |= 1;
                            words = words + Words{t::ColorDDAMode, r.ColorDDAMode};
                        }
                        if (chip.IsFirst() && on == 1) {
                            w.RenderFlags |= 4;
                        }
                        if (on == 1) {
                            r.YUVMode &= ~7u;
                            words = words + Words{t::YUVMode, r.YUVMode};
                            w.ColorKeyActive = 0;
                        }
                        w.TextureValid = 1;
                        w.CurrentTexture = nullptr;
                        return words;
                    });
                }
            }
        }
    }
}

TEST_P(TXBindTest, NoTextureSwitchesTheUnitOff) {
    Bound c(GetParam());
    for (uint32_t background : {0u, 0xFFFFFFFFu, 0x5A5A5A5Au}) {
        for (uint32_t mode = 0; mode != 4; ++mode) {
            for (uint32_t on : {0u, 1u}) {
                c.FillCopies(background);
                c.ctx->Copies.GlintTextureFormat = WithBits(background, 0x60, mode << 5);
                c.ctx->RenderFlags = 0x20;
                c.ctx->RenderCommand = 0x12001;
                c.ctx->SpecularEnabled = on;
                c.ctx->CurrentTexture = reinterpret_cast<TextureRecord*>(4);
                c.Expect([&](D3DContext& w) {
                    auto& r = w.Copies;
                    r.GlintTextureAddressMode &= ~1u;
                    r.GlintTextureReadMode &= ~1u;
                    r.GlintTextureFilterMode &= ~1u;
                    Words words = {t::TextureAddressMode,   r.GlintTextureAddressMode,
                                   t::GlintTextureReadMode, r.GlintTextureReadMode,
                                   t::TextureFilterMode,    r.GlintTextureFilterMode};
                    if (mode == 1) {
                        r.ColorDDAMode |= 1;
                        words = words + Words{t::ColorDDAMode, r.ColorDDAMode};
                    }
                    w.RenderFlags = on == 1 ? 4 : 0;
                    w.RenderCommand = 0x10001;
                    w.TextureValid = 1;
                    w.CurrentTexture = nullptr;
                    return words;
                });
            }
        }
    }
}

TEST_P(MXBindTest, NoTextureSwitchesUnitAndKeyOff) {
    Bound c(GetParam());
    for (uint32_t background : {0u, 0xFFFFFFFFu, 0x5A5A5A5Au}) {
        for (uint32_t blend : {0u, 1u}) {
            for (uint32_t on : {0u, 1u}) {
                c.FillCopies(background);
                c.ctx->Copies.AlphaBlendMode = WithBits(background, 1, blend);
                c.ctx->RenderFlags = 0x2020;
                c.ctx->RenderCommand = 0x12001;
                c.ctx->SpecularEnabled = on;
                c.ctx->ColorKeyActive = on;
                c.ctx->CurrentTexture = reinterpret_cast<TextureRecord*>(4);
                c.Expect([&](D3DContext& w) {
                    auto& r = w.Copies;
                    r.GlintTextureAddressMode &= ~1u;
                    r.GlintTextureReadMode &= ~1u;
                    r.GlintTextureFilterMode &= ~1u;
                    r.TextureColorMode &= ~1u;
                    Words words = {t::TextureAddressMode,   r.GlintTextureAddressMode,
                                   t::GlintTextureReadMode, r.GlintTextureReadMode,
                                   t::TextureFilterMode,    r.GlintTextureFilterMode,
                                   t::TextureColorMode,     r.TextureColorMode};
                    w.RenderFlags &= ~0x20u;
                    if (on == 1) {
                        r.FBReadMode = WithBits(r.FBReadMode, 0x400, blend << 10);
                        words = words + Words{t::AlphaBlendMode, r.AlphaBlendMode,
                                              t::FBReadMode,     r.FBReadMode,
                                              t::AlphaTestMode,  r.AlphaTestMode,
                                              t::RouterMode,     1,
                                              t::ChromaTestMode, 0};
                        w.ColorKeyActive = 0;
                        w.RenderFlags = 4;
                    }
                    w.RenderCommand = 0x10001;
                    w.TextureValid = 1;
                    w.CurrentTexture = nullptr;
                    return words;
                });
            }
        }
    }
}

// Handles that can't be used.

TEST_P(BindTest, AHandleThatNamesNothingChangesNoRegister) {
    Bound c(GetParam());
    c.FillCopies(0xA5A5A5A5);
    c.ctx->TextureHandle = 9;
    c.ctx->RenderFlags = 0x20;
    c.ctx->TextureValid = 0;
    c.Expect([&](D3DContext& w) {
        if (!GetParam().IsGlint()) {
            w.TextureHandle = 0;
        }
        w.TextureValid = 1;
        return Words{};
    });
}

TEST_P(BindTest, ALostSurfaceMarksTheRecordAndLocationDecides) {
    for (uint32_t location : {0u, 1u, 2u}) {
        Bound c(GetParam());
        c.Create()->Location = location;
        c.surface->local.dwFlags |= DDRAWISURF_INVALID;
        c.FillCopies(0xA5A5A5A5);
        c.ctx->TextureValid = 7;
        c.Expect([&](D3DContext& w) {
            if (!GetParam().IsGlint()) {
                w.TextureHandle = 0;
            }
            w.TextureValid = location != 1;
            return Words{};
        });
        EXPECT_EQ(c.record->Magic, 0xD3D10000u);
    }
}

TEST_P(BindTest, ARecordMarkedUnusableStaysSo) {
    Bound c(GetParam());
    c.Create()->Magic = 0xD3D10000;
    c.Change();
    EXPECT_TRUE(c.Take().empty());
    EXPECT_EQ(c.ctx->TextureHandle, GetParam().IsGlint() ? 1u : 0u);
    EXPECT_EQ(c.record->Magic, 0xD3D10000u);
    EXPECT_EQ(c.ctx->TextureValid, 1u);
}

TEST_P(BindTest, ATextureInSystemMemoryIsBoundButNotValid) {
    Bound c(GetParam());
    c.surface->local.ddsCaps.dwCaps &= ~DDSCAPS_VIDEOMEMORY;
    c.Create();
    c.ctx->TextureValid = 1;
    c.Change();
    EXPECT_EQ(c.ctx->TextureValid, 0u);
    EXPECT_FALSE(c.Take().empty());
    EXPECT_EQ(c.ctx->CurrentTexture, c.record);
}

// A usable texture: the whole course.

// What every binding of the 256 x 64 surface leaves in the context.
void TakenBy(D3DContext& w, TextureRecord* record) {
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

TEST_P(PermediaBindTest, APlainTextureSendsItsWords) {
    const StateChip chip = GetParam();
    Bound c(chip);
    for (uint32_t background : {0u, 0xFFFFFFFFu, 0x5A5A5A5Au}) {
        for (uint32_t mode = 0; mode != 8; ++mode) {
            for (uint32_t flags = 0; flags != 16; ++flags) {
                c.surface->priv.FormatExtension = mode & 1;
                c.surface->priv.HasAlpha = mode >> 1 & 1;
                c.surface->priv.Flags = 0x0A | (mode & 4) << 4; // patched now or not
                c.Create();
                c.FillCopies(background);
                c.ctx->Copies.TextureColorMode = WithBits(background, 0x0E, mode << 1);
                c.ctx->RenderFlags = flags | 0x4000;
                c.ctx->TextureMagLinear = flags & 1;
                c.ctx->ColorKeyActive = 1;
                c.Expect([&](D3DContext& w) {
                    auto& r = w.Copies;
                    Words words;
                    r.TextureAddressMode |= 1;
                    r.TextureColorMode |= 1;
                    if (chip.IsFirst()) {
                        if ((flags & 12) == 12) {
                            w.RenderFlags &= ~4u;
                        }
                    } else {
                        const bool specular = (flags & 4) != 0;
                        r.DeltaMode = WithBits(r.DeltaMode, 0x100, specular ? 0x100 : 0);
                        r.TextureColorMode =
                            WithBits(r.TextureColorMode, 0x48, specular ? 0x48 : 0);
                        words = {t::DeltaMode, r.DeltaMode};
                    }
                    // 256 texels: one product, 2^(4 + 4).
                    r.TextureMapFormat = WithBits(r.TextureMapFormat, 0x3A01FF,
                                                  4 | 1 << 19 | ((mode & 4) != 0 ? 0x20000 : 0));
                    r.TextureReadMode = WithBits(r.TextureReadMode, 0x3FE01,
                                                 8 << 9 | 6 << 13 | 1 | (flags & 1) << 17);
                    r.TextureDataFormat =
                        WithBits(r.TextureDataFormat, 0x1DF,
                                 1 | (mode & 1) << 6 | ((mode & 2) != 0 ? 0 : 0x10));
                    r.TextureDataFormat |= 0x20;
                    const bool copy = (r.TextureColorMode & 0x0E) == 6;
                    r.ColorDDAMode = WithBits(r.ColorDDAMode, 1, copy ? 0 : 1);
                    r.YUVMode &= ~7u;
                    TakenBy(w, c.record);
                    w.RenderFlags &= ~0x4000u;
                    w.TextureWidthScale = 0.125f;
                    w.TextureHeightScale = 0.03125f;
                    w.ColorKeyActive = 0;
                    return words + Words{t::TextureBaseAddress,
                                         0x20000,
                                         t::TexelLUTMode,
                                         0,
                                         t::TextureReadMode,
                                         r.TextureReadMode,
                                         t::TextureDataFormat,
                                         r.TextureDataFormat,
                                         t::ColorDDAMode,
                                         r.ColorDDAMode,
                                         t::TextureMapFormat,
                                         r.TextureMapFormat,
                                         t::TextureColorMode,
                                         r.TextureColorMode,
                                         t::YUVMode,
                                         r.YUVMode,
                                         t::TextureAddressMode,
                                         r.TextureAddressMode};
                });
            }
        }
    }
}

TEST_P(TXBindTest, APlainTextureSendsItsWords) {
    Bound c(GetParam());
    c.GiveKey(0, 0); // no key on this chip
    for (uint32_t background : {0u, 0xFFFFFFFFu, 0x5A5A5A5Au}) {
        for (uint32_t mode = 0; mode != 4; ++mode) {
            for (uint32_t flags = 0; flags != 16; ++flags) {
                c.surface->priv.FormatOrder = mode & 1;
                c.surface->priv.FormatComponents = 2 + (mode >> 1);
                c.Create();
                c.FillCopies(background);
                c.ctx->Copies.GlintTextureFormat = WithBits(background, 0x60, mode << 5);
                c.ctx->RenderFlags = flags | 0x4000;
                c.Expect([&](D3DContext& w) {
                    auto& r = w.Copies;
                    if ((flags & 12) == 12) {
                        w.RenderFlags &= ~4u;
                    }
                    r.GlintTextureAddressMode |= 1;
                    r.GlintTextureReadMode =
                        WithBits(r.GlintTextureReadMode, 0xFFF, 1 | 8 << 1 | 6 << 5 | 4 << 9);
                    r.GlintTextureFormat = WithBits(r.GlintTextureFormat, 0x1A,
                                                    (mode & 1) << 1 | (2 + (mode >> 1)) << 3);
                    r.GlintTextureFilterMode |= 1;
                    r.ColorDDAMode = WithBits(r.ColorDDAMode, 1, mode == 1 ? 0 : 1);
                    TakenBy(w, c.record);
                    return Words{t::TextureAddressMode,   r.GlintTextureAddressMode,
                                 t::GlintTextureReadMode, r.GlintTextureReadMode,
                                 t::TextureFormat,        r.GlintTextureFormat,
                                 t::ColorDDAMode,         r.ColorDDAMode,
                                 t::TextureBaseAddr0,     0x10000 << 5};
                });
            }
        }
    }
}

TEST_P(MXBindTest, APlainTextureSendsItsWords) {
    Bound c(GetParam());
    for (uint32_t background : {0u, 0xFFFFFFFFu, 0x5A5A5A5Au}) {
        for (uint32_t components : {2u, 3u}) {
            for (uint32_t blend : {0u, 1u}) {
                for (uint32_t flags = 0; flags != 16; ++flags) {
                    c.surface->priv.FormatComponents = components;
                    c.Create();
                    c.FillCopies(background);
                    c.ctx->Copies.AlphaBlendMode = WithBits(background, 1, blend);
                    c.ctx->RenderFlags = flags | 0x6000;
                    c.ctx->ColorKeyActive = 1;
                    c.Expect([&](D3DContext& w) {
                        auto& r = w.Copies;
                        if ((flags & 12) == 12) {
                            w.RenderFlags &= ~4u;
                        }
                        w.RenderFlags &= ~0x2000u; // the mip flag stays
                        r.GlintTextureAddressMode = WithBits(r.GlintTextureAddressMode, 0x180, 1);
                        r.GlintTextureReadMode = WithBits(r.GlintTextureReadMode, 0x800FFF,
                                                          1 | 8 << 1 | 6 << 5 | 4 << 9);
                        r.GlintTextureFormat =
                            WithBits(r.GlintTextureFormat, 0x1A, 2 | components << 3);
                        r.GlintTextureFilterMode = WithBits(r.GlintTextureFilterMode, 2, 1);
                        r.TextureColorMode = WithBits(r.TextureColorMode, 0x180,
                                                      0x201 | (components == 3 ? 0x80 : 0));
                        r.FBReadMode = WithBits(r.FBReadMode, 0x400, blend << 10);
                        w.ColorKeyActive = 0;
                        TakenBy(w, c.record);
                        return Words{t::TextureAddressMode,   r.GlintTextureAddressMode,
                                     t::GlintTextureReadMode, r.GlintTextureReadMode,
                                     t::TextureFormat,        r.GlintTextureFormat,
                                     t::TextureBaseAddr0,     0x10000 << 5,
                                     t::TexelLUTTransfer,     0,
                                     t::AlphaBlendMode,       r.AlphaBlendMode,
                                     t::AlphaTestMode,        r.AlphaTestMode,
                                     t::ChromaTestMode,       0,
                                     t::RouterMode,           1,
                                     t::TextureFilterMode,    r.GlintTextureFilterMode,
                                     t::FBReadMode,           r.FBReadMode,
                                     t::TextureColorMode,     r.TextureColorMode};
                    });
                }
            }
        }
    }
}

TEST_P(MXBindTest, AMipMapSendsEveryBaseAndItsBits) {
    Bound c(GetParam());
    c.Create();
    c.record->MipMapped = 1;
    c.record->LevelCount = 5;
    for (uint32_t i = 0; i != 12; ++i) {
        c.record->Levels[i].Address = 0x100 * (i + 1);
    }
    c.Change();
    const Words words = c.Take();
    EXPECT_EQ(Bound::DataOf(words, t::GlintTextureReadMode) & 0x800000, 0x800000u);
    EXPECT_EQ(Bound::DataOf(words, t::TextureAddressMode) & 0x180, 0x180u);
    for (uint32_t i = 0; i != 5; ++i) {
        EXPECT_EQ(Bound::DataOf(words, t::TextureBaseAddr0 + i), 0x2000 * (i + 1));
    }
    EXPECT_FALSE(Bound::Has(words, 0x0A5));
    EXPECT_EQ(c.ctx->RenderFlags & 0x4000, 0u); // the mip flag is Permedia's
    // A chain beyond twelve levels has twelve bases.
    c.record->LevelCount = 17;
    c.Change();
    const Words many = c.Take();
    EXPECT_EQ(Bound::DataOf(many, 0x0AB), 0x2000u * 12);
    EXPECT_FALSE(Bound::Has(many, 0x0AC));
}

TEST_P(PermediaBindTest, TheFilterBitIsTheMipRenderersWithLevels) {
    for (uint32_t before : {0u, 0xFFFFFFFFu}) {
        for (uint32_t linear : {0u, 1u}) {
            Bound c(GetParam());
            c.Create()->MipMapped = 1;
            c.ctx->TextureMagLinear = linear;
            c.FillCopies(before);
            c.Change();
            EXPECT_EQ(Bound::DataOf(c.Take(), t::TextureReadMode) & 0x20000, before & 0x20000);
            EXPECT_EQ(c.ctx->RenderFlags & 0x4000, 0x4000u);
            c.record->MipMapped = 0;
            c.Change();
            EXPECT_EQ(Bound::DataOf(c.Take(), t::TextureReadMode) & 0x20000, linear << 17);
            EXPECT_EQ(c.ctx->RenderFlags & 0x4000, 0u);
        }
    }
}

TEST_P(PermediaBindTest, ThePatchedBitGoesByTheSurfacesOwnRecord) {
    Bound c(GetParam());
    c.Create();
    c.surface->priv.Flags |= SURFACE_PATCHED_NOW; // patched since the texture was made
    c.Change();
    EXPECT_EQ(Bound::DataOf(c.Take(), t::TextureMapFormat) & 0x20000, 0x20000u);
    c.surface->priv.Flags &= ~SURFACE_PATCHED_NOW;
    c.record->Private.Flags |= SURFACE_PATCHED_NOW;
    c.Change();
    EXPECT_EQ(Bound::DataOf(c.Take(), t::TextureMapFormat) & 0x20000, 0u);
}

TEST_P(PermediaBindTest, AnEightBitTextureWithoutPrivateDataLoadsNoPalette) {
    Bound c(GetParam());
    c.surface->priv.Format = 14;
    c.GivePalette();
    c.Create();
    c.surface->Global().dwReserved1 = 0;
    c.Change();
    const Words words = c.Take();
    EXPECT_FALSE(Bound::Has(words, t::TextureDownloadOffset));
    EXPECT_EQ(Bound::DataOf(words, t::TexelLUTAddress), 0u);
}

TEST_P(PermediaBindTest, YUY2TurnsTheConversionOn) {
    Bound c(GetParam());
    c.surface->priv.Format = 3;
    c.Create();
    c.ctx->Copies.TextureDataFormat = 0xFFFFFFFF;
    c.Change();
    const Words words = c.Take();
    EXPECT_EQ(Bound::DataOf(words, t::YUVMode) & 7, 1u);
    EXPECT_EQ(Bound::DataOf(words, t::TextureDataFormat) & 0x20, 0u);
    EXPECT_EQ(Bound::DataOf(words, t::TextureDataFormat) & 0xF, 3u);
    // The conversion goes by the surface's own record.
    c.surface->priv.Format = 1;
    c.Change();
    const Words plain = c.Take();
    EXPECT_EQ(Bound::DataOf(plain, t::YUVMode) & 7, 0u);
    EXPECT_EQ(Bound::DataOf(plain, t::TextureDataFormat) & 0x2F, 0x23u);
}

TEST(Bind, FogDropsSpecularAndUnbindingRestoresIt) {
    for (const StateChip& chip : Textured()) {
        if (chip.IsP2()) {
            continue;
        }
        Bound c(chip);
        c.Create();
        c.ctx->RenderFlags = RF_FOG | RF_SPECULAR;
        c.ctx->SpecularEnabled = 1;
        c.Change();
        EXPECT_EQ(c.ctx->RenderFlags & RF_SPECULAR, 0u) << chip.name;
        c.ctx->TextureHandle = 0;
        c.Change();
        EXPECT_EQ(c.ctx->RenderFlags & RF_SPECULAR, 4u) << chip.name;
    }
}

// Palettes.

Words PalettePairs(uint32_t count) {
    Words words;
    for (uint32_t i = 0; i != count; ++i) {
        words.push_back(t::TexelLUT0 + i);
        words.push_back(Bound::PaletteWord(i));
    }
    return words;
}

// The pairs from the one with `first` up to the one with `last`.
Words Between(const Words& pairs, uint32_t first, uint32_t last) {
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

TEST_P(BindTest, AFourBitPaletteIsSentAtEachChange) {
    Bound c(GetParam());
    c.surface->priv.Format = 15;
    c.surface->priv.PixelSize = 3;
    c.GivePalette();
    c.Create();
    Words want;
    if (GetParam().IsFirst()) {
        want = Words{t::TextureBaseAddress, 0x80000, t::TexelLUTMode, 1} + PalettePairs(16);
        want = want + Words{t::TextureReadMode, 0};
    } else if (GetParam().IsP2()) {
        want = Words{t::TextureBaseAddress, 0x80000, t::TexelLUTMode, 1} + PalettePairs(16);
        want = want + Words{t::TexelLUTIndex, 0, t::TexelLUTTransfer, 0, t::TextureReadMode, 0};
    } else if (GetParam().device == 2) {
        want = Words{t::TextureBaseAddr0, 0x200000} + PalettePairs(16);
    } else {
        want = Words{t::TextureBaseAddr0, 0x200000} + PalettePairs(16);
        want = want + Words{t::TexelLUTTransfer, 0, t::TexelLUTIndex, 0};
    }
    for (int round = 0; round != 2; ++round) {
        c.Change();
        Words have = Between(c.Take(), want[0], want[want.size() - 2]);
        if (!GetParam().IsGlint()) {
            have.back() = 0; // the read mode word is not looked at here
        }
        EXPECT_EQ(have, want);
    }
}

TEST_P(BindTest, AFourBitTextureWithoutAPaletteLeavesTheTable) {
    for (bool noTable : {false, true}) {
        Bound c(GetParam());
        c.surface->priv.Format = 15;
        c.surface->priv.PixelSize = 3;
        if (noTable) {
            c.GivePalette();
            c.paletteGlobal.lpColorTable = nullptr;
        }
        c.Create();
        c.Change();
        const Words words = c.Take();
        EXPECT_FALSE(Bound::Has(words, t::TexelLUT0));
        if (!GetParam().IsGlint()) {
            EXPECT_EQ(Bound::DataOf(words, t::TexelLUTMode), 1u);
        }
        const bool indexed = GetParam().IsP2() || GetParam().device == 6;
        EXPECT_EQ(Bound::Has(words, t::TexelLUTIndex), indexed);
        EXPECT_EQ(Bound::Has(words, t::TexelLUTTransfer), indexed);
    }
}

TEST_P(TXBindTest, APaletteNeedsFourBitTexels) {
    Bound c(GetParam());
    c.surface->priv.Format = 15;
    c.GivePalette();
    c.Create();
    c.Change();
    EXPECT_FALSE(Bound::Has(c.Take(), t::TexelLUT0));
    Bound eight(GetParam());
    eight.surface->priv.Format = 14;
    eight.surface->priv.PixelSize = 3;
    eight.GivePalette();
    eight.Create();
    eight.Change();
    EXPECT_FALSE(Bound::Has(eight.Take(), t::TexelLUT0));
    EXPECT_EQ(eight.surface->priv.LUTAddress, 0u);
}

// Four runs of 64 palette words for TextureData.
Words PaletteRuns() {
    Words words;
    for (uint32_t run = 0; run != 4; ++run) {
        words.push_back(0x003F011D);
        for (uint32_t i = 0; i != 64; ++i) {
            words.push_back(Bound::PaletteWord(run * 64 + i));
        }
    }
    return words;
}

TEST_P(PermediaBindTest, AnEightBitPaletteIsLoadedOnce) {
    Bound c(GetParam());
    c.surface->priv.Format = 14;
    c.surface->priv.PixelSize = 0;
    c.surface->Global().lPitch = 256;
    c.GivePalette();
    c.Create();
    c.Change();
    const uint32_t address = (0x40000 + 256 * 64) / 4;
    EXPECT_EQ(c.surface->priv.LUTAddress, address);
    Words want = GetParam().IsFirst() ? Words{} : Words{t::DeltaMode, 0};
    want = want + Words{t::TextureBaseAddress, 0x40000, t::TextureDownloadOffset, address};
    want = want + PaletteRuns();
    want = want + Words{t::WaitForCompletion, 0,       t::TexelLUTAddress, address,
                        t::TexelLUTTransfer,  0x10000, t::TexelLUTMode,    1};
    if (GetParam().IsP2()) {
        want = want + Words{t::TexelLUTIndex, 0};
    }
    want.push_back(t::TextureReadMode);
    Words have = c.Take();
    ASSERT_GE(have.size(), want.size());
    have.resize(want.size());
    EXPECT_EQ(have, want);
    // The second time the address is known.
    c.Change();
    const Words again = c.Take();
    EXPECT_FALSE(Bound::Has(again, t::TextureDownloadOffset));
    EXPECT_EQ(Bound::DataOf(again, t::TexelLUTAddress), address);
    EXPECT_EQ(Bound::DataOf(again, t::TexelLUTTransfer), 0x10000u);
}

TEST_P(MXBindTest, AnEightBitPaletteIsLoadedOnceAndTheDepthWordsComeBack) {
    Bound c(GetParam());
    c.surface->priv.Format = 14;
    c.surface->priv.PixelSize = 0;
    c.surface->Global().lPitch = 256;
    c.GivePalette();
    c.Create();
    c.ctx->Copies.LBReadMode = 0x1234;
    c.ctx->WindowBaseDepth = 0x5678;
    c.Change();
    const uint32_t address = (0x40000 + 256 * 64) / 4;
    EXPECT_EQ(c.surface->priv.LUTAddress, address);
    Words want = {t::TextureBaseAddr0,      0x200000, t::LBWindowBase, address,
                  t::TextureDownloadOffset, 0,        t::LBReadMode,   0};
    want = want + PaletteRuns();
    want = want + Words{t::WaitForCompletion, 0,      t::LBReadMode,      0x1234,
                        t::LBWindowBase,      0x5678, t::TexelLUTAddress, address,
                        t::TexelLUTTransfer,  0x10000};
    Words have = c.Take();
    have.erase(have.begin(), have.begin() + 6); // the unit words
    have.resize(want.size());
    EXPECT_EQ(have, want);
    c.Change();
    const Words again = c.Take();
    EXPECT_FALSE(Bound::Has(again, t::TextureDownloadOffset));
    EXPECT_EQ(Bound::DataOf(again, t::TexelLUTAddress), address);
}

TEST(Bind, APaletteLoadBracketsFIFOModeWithDisconnect) {
    for (uint32_t delta : {0u, uint32_t{DeltaPresent}}) {
        for (const StateChip& chip : {StateChip{"P2", 7, true}, StateChip{"MX", 6, false}}) {
            Bound c(chip, false);
            c.rig.chip->Flags = delta;
            c.surface->priv.Format = 14;
            c.surface->priv.PixelSize = 0;
            c.GivePalette();
            c.Create();
            c.Change();
            std::vector<BusEvent> writes = c.rig.bus->Writes();
            const uint32_t offset = delta != 0 ? 0x868u : 0x68u;
            const std::vector<BusEvent> want = {{'w', offset, 1}, {'w', offset, 0}};
            EXPECT_EQ(writes, want);
            EXPECT_EQ(c.rig.bus->ReadsOf(0x88B8), 1u); // read once, in front
            // All palette words lie between the two.
            uint32_t level = 0;
            uint32_t inside = 0;
            for (const BusEvent& event : c.rig.bus->events) {
                if (event.kind == 'w') {
                    level = event.value;
                } else if (event.kind == 'f' && level == 1) {
                    ++inside;
                } else if (event.kind == 'r') {
                    EXPECT_EQ(level, 0u); // no polling inside
                }
            }
            EXPECT_EQ(inside, 4 * 65 + (chip.device == 6 ? 12u : 4u));
        }
    }
}

TEST(Bind, APaletteInAGPMemoryIsWrittenByTheProcessor) {
    for (bool withPalette : {false, true}) {
        Bound c({"Permedia2", 7, true});
        c.surface->priv.Format = 14;
        c.surface->priv.PixelSize = 0;
        c.surface->Global().lPitch = 256;
        c.surface->local.ddsCaps.dwCaps |= DDSCAPS_NONLOCALVIDMEM;
        RigSurface& attached = c.rig.MakeSurface(8, 8, DDSCAPS_TEXTURE, PixelSize8, 0);
        attached.Global().fpVidMem = 0xE0008000;
        ATTACHLIST link{0, nullptr, &attached.local, &attached.interface};
        c.surface->local.lpAttachList = &link;
        c.rig.driver->NonLocalHeapPhysical = 0xE0000000;
        if (withPalette) {
            c.GivePalette();
        }
        const auto* behind =
            reinterpret_cast<const uint32_t*>(c.surface->Global().fpVidMem + 256 * 64);
        c.Create();
        c.Change();
        EXPECT_EQ(c.surface->priv.LUTAddress, (0x8000u + 256 * 64) / 4);
        for (uint32_t i = 0; i != 256; ++i) {
            EXPECT_EQ(behind[i], withPalette ? Bound::PaletteWord(i) : 0u);
        }
        EXPECT_FALSE(Bound::Has(c.Take(), t::TextureDownloadOffset));
    }
}

// Colour keys.

struct KeyCase {
    const char* name;
    uint32_t flags;
    uint32_t pixelSize;
    uint32_t red;
    uint32_t alpha;
    uint32_t low, high;
    uint32_t wantLow, wantHigh; // before the bounds are widened
};

// Fields worked out by hand; alpha, blue, green, red from the top byte.
const KeyCase kKeyCases[] = {
    {"3:3:2", 0x40, 0, 0xE0, 0, 0x6E, 0xFF, 0x00806060, 0xFFC0E0E0},
    {"1:2:3:2 with alpha", 0x41, 0, 0x60, 0x80, 0xA6, 0x5B, 0x80802040, 0x00C0C080},
    {"1:2:3:2 without alpha", 0x40, 0, 0x60, 0, 0xA6, 0x5B, 0x00802040, 0xFFC0C080},
    {"4:4:4:4", 0x41, 1, 0xF00, 0xF000, 0x1234, 0xFEDC, 0x10403020, 0xF0C0D0E0},
    {"4:4:4:4 without alpha mask", 0x40, 1, 0xF00, 0, 0x1234, 0xFEDC, 0x10403020, 0xF0C0D0E0},
    {"1:5:5:5 with alpha", 0x41, 1, 0x7C00, 0x8000, 0x8421, 0x7FFF, 0x80080808, 0x00F8F8F8},
    {"1:5:5:5 without alpha", 0x40, 1, 0x7C00, 0, 0x8421, 0x7FFF, 0x00080808, 0xFFF8F8F8},
    {"5:6:5", 0x40, 1, 0xF800, 0, 0x0861, 0xF81F, 0x00080C08, 0xFFF800F8},
    {"8:8:8", 0x40, 2, 0xFF0000, 0, 0x11223344, 0x55667788, 0x00443322, 0xFF887766},
    {"24-bit", 0x40, 4, 0xFF0000, 0, 0x223344, 0x667788, 0x00443322, 0xFF887766},
    {"unknown size", 0x40, 5, 0, 0, 0x11223344, 0x55667788, 0x11223344, 0x55667788},
};

TEST_P(PermediaBindTest, ColourKeysAreExpandedAndWidened) {
    std::vector<KeyCase> cases(std::begin(kKeyCases), std::end(kKeyCases));
    cases.push_back(
        {"8:8:8:8", 0x41, 2, 0xFF0000, 0xFF000000, 0x11223344, 0x55667788, 0x11223344, 0x55667788});
    for (const KeyCase& row : cases) {
        SCOPED_TRACE(row.name);
        Bound c(GetParam());
        c.surface->priv.PixelSize = row.pixelSize;
        c.GiveKey(row.low, row.high);
        c.GiveFormat(row.flags, row.red, row.alpha);
        c.surface->local.dwFlags &= ~DDRAWISURF_HASPIXELFORMAT; // not asked for here
        c.Create();
        c.FillCopies(0xFFFFFFFF);
        c.Change();
        const Words words = c.Take();
        EXPECT_EQ(Between(words, t::ChromaUpperBound, t::ChromaLowerBound),
                  (Words{t::ChromaUpperBound, row.wantHigh | 0x07070707, t::ChromaLowerBound,
                         row.wantLow & 0xF8F8F8F8}));
        EXPECT_EQ(c.ctx->ColorKeyActive, 1u);
        EXPECT_EQ(Bound::DataOf(words, t::YUVMode) & 7, 4u);
        EXPECT_EQ(Bound::DataOf(words, t::TextureDataFormat) & 0x180,
                  GetParam().IsP2() ? 0u : 0x180u);
    }
}

TEST_P(MXBindTest, ColourKeysAreExpandedAndWidened) {
    std::vector<KeyCase> cases(std::begin(kKeyCases), std::end(kKeyCases));
    cases.push_back(
        {"8:8:8:8", 0x41, 2, 0xFF0000, 0xFF000000, 0x11223344, 0x55667788, 0x11443322, 0x55887766});
    for (const KeyCase& row : cases) {
        SCOPED_TRACE(row.name);
        Bound c(GetParam());
        c.surface->priv.PixelSize = row.pixelSize;
        c.GiveKey(row.low, row.high);
        c.GiveFormat(row.flags, row.red, row.alpha);
        c.Create();
        c.Change();
        const Words words = c.Take();
        EXPECT_EQ(Between(words, t::TextureChromaUpper, t::TextureChromaLower),
                  (Words{t::TextureChromaUpper, row.wantHigh | 0x07070707, t::TextureChromaLower,
                         row.wantLow & 0xF8F8F8F8}));
    }
}

TEST_P(MXBindTest, ASurfaceWithoutItsOwnFormatTakesTheDisplays) {
    Bound c(GetParam()); // a 16-bit display, 5:5:5
    c.GiveKey(0x7C00, 0x7C00);
    c.GiveFormat(0x41, 0xF00, 0xF000);
    c.surface->local.dwFlags &= ~DDRAWISURF_HASPIXELFORMAT;
    c.Create();
    c.Change();
    EXPECT_EQ(Between(c.Take(), t::TextureChromaUpper, t::TextureChromaLower),
              (Words{t::TextureChromaUpper, 0xFF0707FF, t::TextureChromaLower, 0x000000F8}));
}

TEST(Bind, PaletteKeysIndexThePalette) {
    for (bool mx : {false, true}) {
        for (uint32_t flags : {0x48u, 0x60u}) {
            Bound c(mx ? StateChip{"MX", 6, false} : StateChip{"P2", 7, true});
            c.surface->priv.PixelSize = flags == 0x48 ? 3 : 0;
            c.GiveKey(0x1237, 0x9999);
            c.GiveFormat(flags, 0, 0);
            c.GivePalette();
            c.Create();
            c.Change();
            const uint32_t colour = Bound::PaletteWord(flags == 0x48 ? 7 : 0x37);
            const uint32_t low = colour & 0x00FFFFFF;
            const Words words = c.Take();
            if (mx) { // exact
                EXPECT_EQ(Between(words, t::TextureChromaUpper, t::TextureChromaLower),
                          (Words{t::TextureChromaUpper, colour, t::TextureChromaLower, low}));
            } else {
                EXPECT_EQ(Between(words, t::ChromaUpperBound, t::ChromaLowerBound),
                          (Words{t::ChromaUpperBound, colour | 0x07070707, t::ChromaLowerBound,
                                 low & 0xF8F8F8F8}));
            }
        }
    }
}

TEST_P(PermediaBindTest, NoKeyWithoutPrivateDataOrFlag) {
    Bound c(GetParam());
    c.GiveKey(0, 0);
    c.Create();
    c.surface->priv.MagicNo = 0;
    c.FillCopies(0xFFFFFFFF);
    c.ctx->ColorKeyActive = 1;
    c.Change();
    const Words words = c.Take();
    EXPECT_FALSE(Bound::Has(words, t::ChromaUpperBound));
    EXPECT_EQ(c.ctx->ColorKeyActive, 0u);
    EXPECT_EQ(Bound::DataOf(words, t::TextureDataFormat) & 0x180, 0u);
    EXPECT_EQ(Bound::DataOf(words, t::YUVMode) & 6, 0u);
    EXPECT_EQ(Bound::DataOf(words, t::TextureMapFormat) & 0x20000, 0u); // nor a patched bit
}

TEST_P(MXBindTest, AKeySendsBlendAndTestWords) {
    for (uint32_t background : {0u, 0xFFFFFFFFu, 0x5A5A5A5Au}) {
        for (uint32_t flags : {0u, 0x40u}) {
            Bound c(GetParam());
            c.surface->priv.FormatComponents = 2;
            c.GiveKey(0x8421, 0x7FFF);
            c.GiveFormat(0x41, 0x7C00, 0x8000);
            c.Create();
            c.FillCopies(background);
            c.ctx->RenderFlags = flags;
            c.Expect([&](D3DContext& w) {
                auto& r = w.Copies;
                r.GlintTextureAddressMode = WithBits(r.GlintTextureAddressMode, 0x180, 1);
                r.GlintTextureReadMode =
                    WithBits(r.GlintTextureReadMode, 0x800FFF, 1 | 8 << 1 | 6 << 5 | 4 << 9);
                r.GlintTextureFormat = WithBits(r.GlintTextureFormat, 0x1A, 2 | 2 << 3);
                r.GlintTextureFilterMode |= 3;
                r.TextureColorMode = WithBits(r.TextureColorMode, 0x100, 0x281);
                r.FBReadMode |= 0x400;
                r.AlphaBlendModeKeyed = r.AlphaBlendMode | 1;
                if (flags == 0) {
                    r.AlphaBlendModeKeyed = (r.AlphaBlendMode & 0xFFFFFF00) | 0xA9;
                }
                w.ColorKeyActive = 1;
                TakenBy(w, c.record);
                w.RenderFlags |= 0x2000;
                return Words{t::TextureAddressMode,   r.GlintTextureAddressMode,
                             t::GlintTextureReadMode, r.GlintTextureReadMode,
                             t::TextureFormat,        r.GlintTextureFormat,
                             t::TextureBaseAddr0,     0x10000 << 5,
                             t::TexelLUTTransfer,     0,
                             t::TextureChromaUpper,   0x07FFFFFF,
                             t::TextureChromaLower,   0x80080808,
                             t::ChromaTestMode,       0,
                             t::RouterMode,           0,
                             t::AlphaBlendMode,       r.AlphaBlendModeKeyed,
                             t::AlphaTestMode,        r.AlphaTestModeKeyed,
                             t::TextureFilterMode,    r.GlintTextureFilterMode,
                             t::FBReadMode,           r.FBReadMode,
                             t::TextureColorMode,     r.TextureColorMode};
            });
        }
    }
}

TEST(Bind, TheLowerBoundClearsAndTheUpperSetsTheLowBits) {
    const KeyColours bounds = WidenKey({0xFFFFFFFF, 0});
    EXPECT_EQ(bounds.Low, 0xF8F8F8F8u);
    EXPECT_EQ(bounds.High, 0x07070707u);
}

// Waits and reservations.

TEST_P(PermediaBindTest, WaitsAddUpToTheirCounts) {
    Bound c(GetParam(), false);
    c.Create();
    // 1 for the base, 1 for the lookup mode, 7 at the end, and 1 for specular but on the first.
    const uint32_t total = GetParam().IsFirst() ? 9 : 10;
    c.rig.bus->fifoSpace = total;
    c.Change();
    EXPECT_EQ(c.rig.bus->ReadsOf(reg::InFIFOSpace), 1u);
    c.rig.bus->Clear();
    c.rig.bus->fifoSpace = total - 1;
    c.Change();
    EXPECT_EQ(c.rig.bus->ReadsOf(reg::InFIFOSpace), 2u);
}

TEST_P(BindTest, NoTextureWaitsForItsWordsAtOnce) {
    Bound c(GetParam(), false);
    const uint32_t entries = !GetParam().IsGlint() ? 5 : GetParam().device == 2 ? 8 : 9;
    uint32_t reads = 0;
    // One entry short at first, enough at the second look.
    c.rig.bus->readFIFOSpace = [&] { return entries - 1 + reads++; };
    c.Change();
    EXPECT_EQ(reads, 2u);
}

TEST_P(BindTest, AChangeReserves512Bytes) {
    for (uint32_t handle : {0u, 1u, 9u}) {
        Bound c(GetParam());
        c.Create();
        c.ctx->TextureHandle = handle;
        CommandStream& stream = c.ctx->Stream;
        stream.SubBufferFlushWords = 256;
        stream.WritePointer = stream.Current().Linear + 256 - 128;
        c.Change();
        EXPECT_EQ(stream.SubBufferIndex, 0u);
        c.ctx->TextureHandle = handle;
        stream.WritePointer = stream.Current().Linear + 256 - 127;
        c.Change();
        EXPECT_EQ(stream.SubBufferIndex, 1u);
    }
}

} // namespace
} // namespace test
