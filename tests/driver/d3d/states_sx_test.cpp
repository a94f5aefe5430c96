// The render states that belong to the Glint family.
#include "tests/driver/d3d/state_support.h"
#include "tests/support/tag_names.h"

#include <algorithm>

namespace test {
namespace {

bool IsSX() {
    return StateTest::GetParam().device == 1;
}
bool IsTX() {
    return StateTest::GetParam().device == 2;
}

std::vector<StateChip> GlintChips(const std::vector<uint32_t>& devices) {
    std::vector<StateChip> chips;
    for (const StateChip& chip : kGlintChips) {
        if (std::count(devices.begin(), devices.end(), chip.device) != 0) {
            chips.push_back(chip);
        }
    }
    return chips;
}

class GlintStateTest : public StateTest {};
class SXStateTest : public StateTest {};
class TXStateTest : public StateTest {};
class MXStateTest : public StateTest {};
class TexturedGlintStateTest : public StateTest {}; // TX and MX
INSTANTIATE_TEST_SUITE_P(Chips, GlintStateTest, testing::ValuesIn(kGlintChips), ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, SXStateTest, testing::ValuesIn(GlintChips({1})), ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, TXStateTest, testing::ValuesIn(GlintChips({2})), ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, MXStateTest, testing::ValuesIn(GlintChips({6})), ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, TexturedGlintStateTest, testing::ValuesIn(GlintChips({2, 6})),
                         ChipName);

TEST_P(GlintStateTest, NoImageOfTheStatesIsKept) {
    WatchedContext c(GetParam());
    for (uint32_t state = 0; state <= 256; ++state) {
        c.Run(state, state * 3 + 1);
    }
    for (uint32_t word : c.ctx->RenderStates) {
        EXPECT_EQ(word, 0u);
    }
}

TEST_P(SXStateTest, SXIgnoresTheStatesOfTheTextureUnit) {
    WatchedContext c(GetParam());
    c.OverBackgrounds([&] {
        for (uint32_t state : {1u, 3u, 4u, 17u, 18u, 21u}) {
            for (uint32_t value : kValues) {
                c.ExpectNothing(state, value);
            }
        }
    });
}

TEST_P(TexturedGlintStateTest, ANewTextureHandleMarksRenderersAndTexture) {
    WatchedContext c(GetParam());
    c.ExpectNothing(1, 0);
    c.Expect(1, 5, [](D3DContext& w) {
        w.TextureHandle = 5;
        w.DirtyFlags = 9;
        return Words{};
    });
    c.ctx->DirtyFlags = 0;
    c.ExpectNothing(1, 5);
}

TEST_P(TexturedGlintStateTest, TextureAddressSetsBothWrapFields) {
    WatchedContext c(GetParam());
    c.ExpectField(3, &RegisterCopies::GlintTextureReadMode, t::GlintTextureReadMode, 0x3C0000,
                  [](uint32_t value) {
                      return value == 1 ? 0x140000 : value == 3 ? 0u : 0x280000;
                  });
}

TEST_P(TexturedGlintStateTest, TextureAddressBorderActsAsMirror) {
    WatchedContext c(GetParam());
    c.Run(3, D3DTADDRESS_BORDER);
    EXPECT_EQ(c.Take(), (Words{t::GlintTextureReadMode, 0x280000}));
}

TEST_P(TexturedGlintStateTest, PerspectiveIsAFlagOnly) {
    WatchedContext c(GetParam());
    c.FillCopies(0xA5A5A5A5);
    c.ExpectFlag(4, 0x10, 1);
}

TEST_P(GlintStateTest, LastPixelLeavesItsFlagUntouched) {
    WatchedContext c(GetParam());
    for (uint32_t flags : {0u, 0x1000u}) {
        c.ctx->RenderFlags = flags;
        c.ExpectNothing(16, 0);
        c.ExpectNothing(16, 1);
    }
}

TEST_P(TexturedGlintStateTest, TextureFiltersGoStraightToTheReadWord) {
    WatchedContext c(GetParam());
    c.OverBackgrounds([&] {
        for (uint32_t value : kValues) {
            c.Expect(17, value, [&](D3DContext& w) {
                uint32_t& word = w.Copies.GlintTextureReadMode;
                if (value == 1 || value == 3 || value == 4) {
                    word &= ~0x4000u;
                } else if (value == 2 || value == 5 || value == 6) {
                    word |= 0x4000;
                }
                return Words{t::GlintTextureReadMode, word};
            });
            c.Expect(18, value, [&](D3DContext& w) {
                uint32_t& word = w.Copies.GlintTextureReadMode;
                if (value >= 1 && value <= 6) {
                    word = WithBits(word, 0x38000, (value - 1) << 15);
                }
                return Words{t::GlintTextureReadMode, word};
            });
        }
    });
}

TEST_P(GlintStateTest, AllBlendFactorsOfTheChipAreOffered) {
    WatchedContext c(GetParam());
    ExpectBlendFactors(c, {-1, 0, 1, -1, -1, 4, 5, 6, 7, 2, 3, 8, -1},
                       {-1, 0, 1, 2, 3, 4, 5, 6, 7, -1, -1, -1, -1});
}

TEST_P(GlintStateTest, SrcColorIsADestinationFactorAndNoSourceFactor) {
    WatchedContext c(GetParam());
    c.Run(19, D3DBLEND_SRCCOLOR);
    EXPECT_EQ(c.ctx->Copies.AlphaBlendMode, 0u);
    c.Run(20, D3DBLEND_SRCCOLOR);
    EXPECT_EQ(c.ctx->Copies.AlphaBlendMode, 2u << 5);
}

TEST_P(TXStateTest, TextureBlendKeepsWhatElseIsDirty) {
    WatchedContext c(GetParam());
    c.ctx->DirtyFlags = 1;
    c.Expect(21, 2, [](D3DContext& w) {
        uint32_t& color = w.Copies.TextureColorMode;
        color = WithBits(color, 0x0E, 1);
        w.Copies.GlintTextureFormat &= ~0x60u;
        w.DirtyFlags = 1 | 8;
        return Words{t::TextureColorMode, color};
    });
}

TEST_P(TXStateTest, TextureBlendOnTXUsesFormatAndColourWords) {
    WatchedContext c(GetParam());
    c.ctx->ForceCopyMode = 1; // has no say here
    ExpectTextureBlend(c, [](D3DContext& w, uint32_t value) {
        uint32_t& format = w.Copies.GlintTextureFormat;
        uint32_t& color = w.Copies.TextureColorMode;
        if (value == 1 || value == 7) {
            format = WithBits(format, 0x40, 0x20);
            color &= ~1u;
        } else if (value == 2 || value == 4) {
            color = WithBits(color, 0x0E, 1);
            format &= ~0x60u;
        } else if (value == 3) {
            color = WithBits(color, 0x0C, 3);
            format &= ~0x60u;
        }
        return Words{t::TextureColorMode, color};
    });
}

TEST_P(MXStateTest, TextureBlendOnMXOnlyEditsTheColourField) {
    WatchedContext c(GetParam());
    c.ctx->ForceCopyMode = 1;
    ExpectTextureBlend(c, [](D3DContext& w, uint32_t value) {
        w.Copies.TextureColorMode = WithColourField(w.Copies.TextureColorMode, value);
        return Words{};
    });
}

TEST_P(GlintStateTest, CullModeIsStoredAndNothingElse) {
    WatchedContext c(GetParam());
    for (uint32_t value : kValues) {
        c.Expect(22, value, [&](D3DContext& w) {
            w.CullMode = value;
            return Words{};
        });
    }
}

TEST_P(GlintStateTest, DitherIsSuspendedWhileTXBlends) {
    WatchedContext c(GetParam());
    ExpectDither(c, true, IsTX());
}

TEST_P(GlintStateTest, FogEnableDropsTexturedSpecular) {
    WatchedContext c(GetParam());
    ExpectFogEnable(c, true, !IsSX());
}

TEST_P(GlintStateTest, SpecularGivesWayToTexturedFog) {
    WatchedContext c(GetParam());
    ExpectSpecular(c, true);
}

TEST_P(GlintStateTest, FogColourIsSentOnlyInFog) {
    WatchedContext c(GetParam());
    ExpectFogColour(c, true);
}

} // namespace
} // namespace test
