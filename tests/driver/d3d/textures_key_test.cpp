// Colour keys of textures.
#include "driver/texture/textures_key.h"
#include "tests/driver/d3d/bind_rig.h"

namespace test {
namespace {

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

TEST(ExpandColourKey, OfPaletteTexelsWithoutAPaletteIsTheKeyAsItCame) {
    DDRAWI_DDRAWSURFACE_LCL surface{};
    surface.ddckCKSrcBlt = {0x12, 0x34};
    DDPIXELFORMAT format{};
    format.dwFlags = DDPF_RGB | DDPF_PALETTEINDEXED8;
    DDRAWI_DDRAWPALETTE_LCL local{};
    DDRAWI_DDRAWPALETTE_INT palette{};
    const auto expect = [&] {
        const KeyColours colours = ExpandColourKey(&surface, format, PixelSize8, false);
        EXPECT_EQ(colours.Low, 0x12u);
        EXPECT_EQ(colours.High, 0x34u);
    };
    expect();
    surface.lpDDPalette = &palette;
    expect();
    palette.lpLcl = &local;
    expect();
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
                return Pairs({{t::TextureAddressMode, r.GlintTextureAddressMode},
                              {t::GlintTextureReadMode, r.GlintTextureReadMode},
                              {t::TextureFormat, r.GlintTextureFormat},
                              {t::TextureBaseAddr0, 0x10000 << 5},
                              {t::TexelLUTTransfer, 0},
                              {t::TextureChromaUpper, 0x07FFFFFF},
                              {t::TextureChromaLower, 0x80080808},
                              {t::ChromaTestMode, 0},
                              {t::RouterMode, 0},
                              {t::AlphaBlendMode, r.AlphaBlendModeKeyed},
                              {t::AlphaTestMode, r.AlphaTestModeKeyed},
                              {t::TextureFilterMode, r.GlintTextureFilterMode},
                              {t::FBReadMode, r.FBReadMode},
                              {t::TextureColorMode, r.TextureColorMode}});
            });
        }
    }
}

TEST(Bind, TheLowerBoundClearsAndTheUpperSetsTheLowBits) {
    const KeyColours bounds = WidenKey({0xFFFFFFFF, 0});
    EXPECT_EQ(bounds.Low, 0xF8F8F8F8u);
    EXPECT_EQ(bounds.High, 0x07070707u);
}

} // namespace
} // namespace test
