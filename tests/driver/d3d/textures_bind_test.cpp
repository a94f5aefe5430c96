// Binding a texture to the chip, and switching the texture unit off.
#include "tests/driver/d3d/bind_rig.h"

namespace test {
namespace {

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
                        Words words = Pairs({{t::TextureAddressMode, r.TextureAddressMode},
                                             {t::TextureReadMode, r.TextureReadMode},
                                             {t::TextureColorMode, r.TextureColorMode},
                                             {t::TextureBaseAddress, 0},
                                             {t::TexelLUTTransfer, 0}});
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
                    Words words = GlintUnitsOff(r);
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
                    r.TextureColorMode &= ~1u;
                    Words words = GlintUnitsOff(r) + Words{t::TextureColorMode, r.TextureColorMode};
                    w.RenderFlags &= ~0x20u;
                    if (on == 1) {
                        r.FBReadMode = WithBits(r.FBReadMode, 0x400, blend << 10);
                        words = words + Pairs({{t::AlphaBlendMode, r.AlphaBlendMode},
                                               {t::FBReadMode, r.FBReadMode},
                                               {t::AlphaTestMode, r.AlphaTestMode},
                                               {t::RouterMode, 1},
                                               {t::ChromaTestMode, 0}});
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
                    return words + Pairs({{t::TextureBaseAddress, 0x20000},
                                          {t::TexelLUTMode, 0},
                                          {t::TextureReadMode, r.TextureReadMode},
                                          {t::TextureDataFormat, r.TextureDataFormat},
                                          {t::ColorDDAMode, r.ColorDDAMode},
                                          {t::TextureMapFormat, r.TextureMapFormat},
                                          {t::TextureColorMode, r.TextureColorMode},
                                          {t::YUVMode, r.YUVMode},
                                          {t::TextureAddressMode, r.TextureAddressMode}});
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
                    return Pairs({{t::TextureAddressMode, r.GlintTextureAddressMode},
                                  {t::GlintTextureReadMode, r.GlintTextureReadMode},
                                  {t::TextureFormat, r.GlintTextureFormat},
                                  {t::ColorDDAMode, r.ColorDDAMode},
                                  {t::TextureBaseAddr0, 0x10000 << 5}});
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
                        return Pairs({{t::TextureAddressMode, r.GlintTextureAddressMode},
                                      {t::GlintTextureReadMode, r.GlintTextureReadMode},
                                      {t::TextureFormat, r.GlintTextureFormat},
                                      {t::TextureBaseAddr0, 0x10000 << 5},
                                      {t::TexelLUTTransfer, 0},
                                      {t::AlphaBlendMode, r.AlphaBlendMode},
                                      {t::AlphaTestMode, r.AlphaTestMode},
                                      {t::ChromaTestMode, 0},
                                      {t::RouterMode, 1},
                                      {t::TextureFilterMode, r.GlintTextureFilterMode},
                                      {t::FBReadMode, r.FBReadMode},
                                      {t::TextureColorMode, r.TextureColorMode}});
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

TEST_P(MXBindTest, WaitsAddUpToTheirWords) {
    for (const bool keyed : {false, true}) {
        Bound c(GetParam(), false);
        if (keyed) {
            c.GiveKey(0x8421, 0x7FFF);
            c.GiveFormat(0x41, 0x7C00, 0x8000);
        }
        c.Create();
        // 3 for the units, 1 for the base, 1 for the lookup table, 4 for a key or its end and 2 for
        // what it blends and tests by, 3 at the end.
        const uint32_t total = keyed ? 14 : 12;
        c.rig.bus->fifoSpace = total;
        c.Change();
        EXPECT_EQ(c.rig.bus->ReadsOf(reg::InFIFOSpace), 1u) << keyed;
        EXPECT_EQ(c.rig.bus->FifoWords().size(), 2 * total) << keyed;
        c.rig.bus->Clear();
        c.rig.bus->fifoSpace = total - 1;
        c.Change();
        EXPECT_EQ(c.rig.bus->ReadsOf(reg::InFIFOSpace), 2u) << keyed;
    }
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
