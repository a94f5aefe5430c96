// Palettes that go to the chip with a texture.
#include "tests/driver/d3d/bind_rig.h"
#include "tests/support/tag_names.h"

namespace test {
namespace {

// Palettes.

Words PalettePairs(uint32_t count) {
    Words words;
    for (uint32_t i = 0; i != count; ++i) {
        words.push_back(t::TexelLUT0 + i);
        words.push_back(Bound::PaletteWord(i));
    }
    return words;
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
        want = want +
               Pairs({{t::TexelLUTIndex, 0}, {t::TexelLUTTransfer, 0}, {t::TextureReadMode, 0}});
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
    want = want + Pairs({{t::WaitForCompletion, 0},
                         {t::TexelLUTAddress, address},
                         {t::TexelLUTTransfer, 0x10000},
                         {t::TexelLUTMode, 1}});
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
    Words want = Pairs({{t::TextureBaseAddr0, 0x200000},
                        {t::LBWindowBase, address},
                        {t::TextureDownloadOffset, 0},
                        {t::LBReadMode, 0}});
    want = want + PaletteRuns();
    want = want + Pairs({{t::WaitForCompletion, 0},
                         {t::LBReadMode, 0x1234},
                         {t::LBWindowBase, 0x5678},
                         {t::TexelLUTAddress, address},
                         {t::TexelLUTTransfer, 0x10000}});
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
            EXPECT_EQ(c.rig.bus->ReadsOf(t::Mapped(t::LBWindowBase)), 1u); // read once, in front
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

} // namespace
} // namespace test
