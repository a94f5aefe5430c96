// The reference rasteriser itself, against values worked out by hand.
#include "host/ddraw/format.h"
#include "tools/korv/reference/reference.h"

#include <gtest/gtest.h>

namespace {

using namespace korv::reference;

// Texel (x, y) of a 4 by 4 texture, distinct in red and green.
std::shared_ptr<Texture> Numbered() {
    return MakeTexture(4, 4, host::Format8888(), [](uint32_t x, uint32_t y) {
        return 0xFF000000 | (x * 60 + 10) << 16 | (y * 60 + 10) << 8;
    });
}

// A square of 64 pixels at the origin; u and v from 0 to `reach`.
std::vector<Triangle3> Square(const DrawState& state, float reach = 1, uint32_t color = 0xFFFFFFFF,
                              uint32_t specular = 0xFF000000) {
    const Vertex a{0, 0, 0, color, specular, 1, 0, 0}, b{64, 0, 0, color, specular, 1, reach, 0},
        c{64, 64, 0, color, specular, 1, reach, reach}, d{0, 64, 0, color, specular, 1, 0, reach};
    return {{a, b, c, state}, {a, c, d, state}};
}

Reference Drawn(const std::vector<Triangle3>& list, const ChipTraits& traits = {},
                uint32_t background = 0) {
    Reference reference(64, 64, background, traits);
    for (const Triangle3& triangle : list) {
        reference.Draw(triangle);
    }
    return reference;
}

void ExpectColour(const Channels& seen, const Channels& expected, double within = 1e-9) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(seen[i], expected[i], within) << i;
    }
}

TEST(TextureOfTests, ChannelsCountInStepsOfTheirOwnWidth) {
    const auto cut =
        MakeTexture(1, 1, host::Format1555(), [](uint32_t, uint32_t) { return 0x80FF8007u; });
    EXPECT_EQ(cut->raw[0], 0xFE00u);
    const Texel texel = cut->At(0, 0);
    EXPECT_DOUBLE_EQ(texel[0], 255);
    EXPECT_DOUBLE_EQ(texel[1], 255.0 * 16 / 31);
    EXPECT_DOUBLE_EQ(texel[2], 0);
    EXPECT_DOUBLE_EQ(texel[3], 255);
}

TEST(TextureOfTests, IndexedFormatsKeepTheColoursAsTheyAre) {
    const auto indexed = MakeTexture(2, 1, host::PaletteFormat(4), [](uint32_t x, uint32_t) {
        return x ? 0x123456u : 0xABCDEFu;
    });
    EXPECT_EQ(indexed->raw, (std::vector<uint32_t>{0, 1}));
    EXPECT_EQ(indexed->palette.size(), 16u);
    EXPECT_EQ(indexed->At(1, 0), (Texel{0x12, 0x34, 0x56, 255}));
}

TEST(TextureOfTests, AddressesRepeatMirrorAndClamp) {
    const int places[] = {-5, -4, -1, 0, 3, 4, 7, 8};
    const uint32_t wrapped[] = {3, 0, 3, 0, 3, 0, 3, 0};
    const uint32_t mirrored[] = {3, 3, 0, 0, 3, 3, 0, 0};
    const uint32_t clamped[] = {0, 0, 0, 0, 3, 3, 3, 3};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(Addressed(places[i], 4, D3DTADDRESS_WRAP), wrapped[i]) << places[i];
        EXPECT_EQ(Addressed(places[i], 4, D3DTADDRESS_MIRROR), mirrored[i]) << places[i];
        EXPECT_EQ(Addressed(places[i], 4, D3DTADDRESS_CLAMP), clamped[i]) << places[i];
    }
}

TEST(TextureOfTests, LinearMixesFourTexelsByDistance) {
    const auto texture = Numbered();
    // The middle of texel 1, 2.
    EXPECT_EQ(SampleLinear(*texture, 0.375, 0.625, D3DTADDRESS_WRAP), (Texel{70, 130, 0, 255}));
    // A quarter of the way from texel 1 to texel 2, half of the way from row 0 to row 1.
    const Texel between = SampleLinear(*texture, 0.4375, 0.25, D3DTADDRESS_WRAP);
    EXPECT_DOUBLE_EQ(between[0], 70 + 15);
    EXPECT_DOUBLE_EQ(between[1], 10 + 30);
    // At the left edge half of the last texel comes in, unless clamped.
    EXPECT_DOUBLE_EQ(SampleLinear(*texture, 0, 0.125, D3DTADDRESS_WRAP)[0], (10 + 190) / 2);
    EXPECT_DOUBLE_EQ(SampleLinear(*texture, 0, 0.125, D3DTADDRESS_CLAMP)[0], 10);
}

TEST(TexturedReference, NearestShowsEachTexelOverItsOwnPixels) {
    const Reference reference =
        Drawn(Square({.texture = Numbered(), .textureBlend = D3DTBLEND_DECAL}));
    for (uint32_t y = 0; y < 64; ++y) {
        for (uint32_t x = 0; x < 64; ++x) {
            ExpectColour(reference.At(x, y), {x / 16 * 60.0 + 10, y / 16 * 60.0 + 10, 0});
        }
    }
}

TEST(TexturedReference, ShiftedRowsShowWhatLiesBelow) {
    const ChipTraits traits{.rowShift = 0.5};
    const Reference reference =
        Drawn(Square({.texture = Numbered(), .textureBlend = D3DTBLEND_DECAL}), traits);
    // Row 14 is sampled at 15.0, row 15 at 16.0.
    ExpectColour(reference.At(3, 14), {10, 10, 0});
    ExpectColour(reference.At(3, 15), {10, 70, 0});
}

TEST(TexturedReference, AffineHalvesAndPerspectiveDividesByRhw) {
    // One end three times as far: halfway on the screen is a quarter along the near end's side.
    const Vertex near{0, 0, 0, 0xFFFFFFFF, 0, 1, 0, 0},
        far{64, 0, 0, 0xFFFFFFFF, 0, 1 / 3.0f, 1, 0}, below{0, 64, 0, 0xFFFFFFFF, 0, 1, 0, 0};
    DrawState state{
        .texture = Numbered(), .filter = D3DFILTER_LINEAR, .textureBlend = D3DTBLEND_DECAL};
    state.address = D3DTADDRESS_CLAMP;
    const double along = 32.5 / 64;
    ExpectColour(Drawn({{near, far, below, state}}).At(32, 0), {10 + 60 * (4 * along - 0.5), 10, 0},
                 1e-4);
    state.perspective = true;
    // (1 - k) + k / 3 is the reciprocal distance there; the far end weighs k / 3 of it.
    const double across = 0.5 / 64; // of the third vertex, which is as near as the first
    const double q = (1 - along - across) + along / 3 + across;
    ExpectColour(Drawn({{near, far, below, state}}).At(32, 0),
                 {10 + 60 * (4 * along / 3 / q - 0.5), 10, 0}, 1e-4);
}

TEST(TexturedReference, BlendsOfTextureAndLight) {
    const auto texture = MakeTexture(1, 1, host::Format8888(),
                                     [](uint32_t, uint32_t) { return 0x33C86400u; }); // 20 %
    const uint32_t light = 0xFF804020;
    const auto at = [&](uint32_t blend) {
        return Drawn(Square({.texture = texture, .textureBlend = blend}, 1, light)).At(20, 30);
    };
    ExpectColour(at(D3DTBLEND_DECAL), {200, 100, 0});
    ExpectColour(at(D3DTBLEND_COPY), {200, 100, 0});
    ExpectColour(at(D3DTBLEND_MODULATE), {128 * 200 / 255.0, 64 * 100 / 255.0, 0});
    ExpectColour(at(D3DTBLEND_DECALALPHA), {128 + 0.2 * 72, 64 + 0.2 * 36, 32 - 0.2 * 32});
}

TEST(TexturedReference, AlphaOfModulateAlphaIsTheProduct) {
    const auto texture = MakeTexture(1, 1, host::Format8888(),
                                     [](uint32_t, uint32_t) { return 0x33FFFFFFu; }); // 20 %
    DrawState state{.blend = true, .source = D3DBLEND_SRCALPHA, .dest = D3DBLEND_INVSRCALPHA};
    state.texture = texture;
    state.textureBlend = D3DTBLEND_MODULATEALPHA;
    // 20 % of 60 % of full red over blue.
    ExpectColour(Drawn(Square(state, 1, 0x99FF0000), {}, 0x0000FF).At(9, 30),
                 {0.12 * 255, 0, 0.88 * 255});
}

TEST(TexturedReference, TexelsOfTheKeyAreNotDrawn) {
    const auto texture = Numbered();
    texture->sourceKey = texture->raw[5]; // texel 1, 1
    const Reference reference =
        Drawn(Square({.texture = texture, .textureBlend = D3DTBLEND_DECAL}), {}, 0x010203);
    ExpectColour(reference.At(20, 20), {1, 2, 3});
    ExpectColour(reference.At(20, 40), {70, 130, 0});
}

TEST(TexturedReference, BrightensByTheRootOfTheChannel) {
    // floor(sqrt(255 * 128)) = 180, floor(sqrt(255)) = 15, floor(sqrt(255 * 255)) = 255.
    EXPECT_EQ(Brightened(128, 0), 180);
    EXPECT_EQ(Brightened(128, 8), 179);
    EXPECT_EQ(Brightened(128, 16), 181);
    EXPECT_EQ(Brightened(1, 0), 15);
    EXPECT_EQ(Brightened(1, 8), 14);
    EXPECT_EQ(Brightened(1, 16), 16);
    EXPECT_EQ(Brightened(255, 0), 255);
    EXPECT_EQ(Brightened(255, 8), 254);
    EXPECT_EQ(Brightened(255, 16), 255);
    for (const int shift : {0, 8, 16}) {
        EXPECT_EQ(Brightened(0, shift), 0);
    }
    const auto white =
        MakeTexture(1, 1, host::Format8888(), [](uint32_t, uint32_t) { return 0xFFFFFFFFu; });
    DrawState state{.texture = white};
    const ChipTraits traits{.brightensGouraud = true};
    ExpectColour(Drawn(Square(state, 1, 0xFF808080), traits).At(5, 5), {181, 179, 180});
    state.gouraud = false;
    ExpectColour(Drawn(Square(state, 1, 0xFF808080), traits).At(5, 5), {128, 128, 128});
}

TEST(TexturedReference, SpecularIsAddedUnlessTheChipLosesIt) {
    const auto texture =
        MakeTexture(1, 1, host::Format8888(), [](uint32_t, uint32_t) { return 0xFF646464u; });
    DrawState state{.specular = true, .texture = texture};
    const uint32_t specular = 0xFF333333; // 20 %
    ExpectColour(Drawn(Square(state, 1, 0xFFFFFFFF, specular)).At(5, 5), {151, 151, 151});
    const ChipTraits traits{.losesTexturedSpecular = true};
    ExpectColour(Drawn(Square(state, 1, 0xFFFFFFFF, specular), traits).At(5, 5), {100, 100, 100});
}

TEST(TexturedReference, ALevelServesItsShareOfTheDetail) {
    const auto level = [](uint32_t side, uint32_t colour) {
        return MakeTexture(side, side, host::Format8888(),
                           [=](uint32_t, uint32_t) { return colour; });
    };
    const auto texture = level(64, 0xFFFF0000);
    texture->smaller = {level(32, 0xFF00FF00), level(16, 0xFF0000FF)};
    const DrawState state{.texture = texture, .textureBlend = D3DTBLEND_DECAL};
    // 64 texels times `reach` on 64 pixels.
    const auto shown = [&](float reach, Levels levels) {
        return Drawn(Square(state, reach), {.levels = levels}).At(30, 20);
    };
    EXPECT_DOUBLE_EQ(DetailOf(Square(state, 4)[0]), 2);
    EXPECT_DOUBLE_EQ(DetailOf(Square(state, 0.5f)[1]), -1);
    ExpectColour(shown(8, Levels::Largest), {255, 0, 0});
    ExpectColour(shown(0.5f, Levels::RoundedDown), {255, 0, 0});
    ExpectColour(shown(1.75f, Levels::RoundedDown), {255, 0, 0}); // 0.81
    ExpectColour(shown(1.75f, Levels::Nearest), {0, 255, 0});
    ExpectColour(shown(2.5f, Levels::RoundedDown), {0, 255, 0}); // 1.32
    ExpectColour(shown(2.5f, Levels::Nearest), {0, 255, 0});
    ExpectColour(shown(64, Levels::RoundedDown), {0, 0, 255}); // behind the last
}

TEST(TexturedReference, WrappingGoesTheShortWay) {
    float second = 0.125f, third = 0.75f;
    TakeShortWay(0.875f, second, third);
    EXPECT_EQ(second, 1.125f);
    EXPECT_EQ(third, 0.75f);
    // From texel 3 by way of the edge to texel 0, not back across the texture.
    const Vertex a{0, 0, 0, 0xFFFFFFFF, 0, 1, 0.875f, 0.125f},
        b{64, 0, 0, 0xFFFFFFFF, 0, 1, 0.125f, 0.125f},
        c{0, 64, 0, 0xFFFFFFFF, 0, 1, 0.875f, 0.125f};
    DrawState state{.texture = Numbered(), .textureBlend = D3DTBLEND_DECAL};
    ExpectColour(Drawn({{a, b, c, state}}).At(35, 3), {70, 10, 0}); // texel 1, on the way back
    state.wrapU = true;
    ExpectColour(Drawn({{a, b, c, state}}).At(15, 3), {190, 10, 0});
    ExpectColour(Drawn({{a, b, c, state}}).At(47, 3), {10, 10, 0});
}

TEST(TexturedReference, KeysCountInTheBitsThatTheyAreComparedIn) {
    const auto texture = Numbered();
    texture->sourceKey = texture->raw[5] ^ 7; // blue
    EXPECT_FALSE(texture->KeyedAt(1, 1));
    texture->keyBits = 0xFFFFFFF8;
    EXPECT_TRUE(texture->KeyedAt(1, 1));
    EXPECT_FALSE(texture->KeyedAt(2, 1));
}

TEST(ReferenceComparison, AnApronShowsWhatTheTriangleWouldShowBesideItsEdges) {
    const Vertex a{16, 16, 0, 0xFF804020}, b{48, 16, 0, 0xFF804020}, c{16, 48, 0, 0xFF804020};
    Image picture{64, 64, std::vector<uint8_t>(64 * 64 * 4)};
    Reference plain(64, 64, 0), wide(64, 64, 0), narrow(64, 64, 0);
    plain.Draw({a, b, c, {}});
    wide.Draw({a, b, c, {}}, 2);
    narrow.Draw({a, b, c, {}}, -2);
    ExpectColour(plain.At(14, 20), {0, 0, 0});
    ExpectColour(wide.At(14, 20), {128, 64, 32});
    ExpectColour(wide.At(13, 20), {0, 0, 0});
    ExpectColour(narrow.At(17, 20), {0, 0, 0});
    ExpectColour(narrow.At(18, 20), {128, 64, 32});
    // A black picture lacks the triangle; within two pixels of its edges that may be.
    const Verdict alone = CompareWithinOnePixel(picture, plain, 1);
    const Verdict helped = CompareWithinOnePixel(picture, plain, 1, {&narrow, 1});
    EXPECT_GT(helped.bad, 0u);
    EXPECT_LT(helped.bad, alone.bad);
}

} // namespace
