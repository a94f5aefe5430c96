// The render states that belong to Permedia and Permedia 2.
#include "tests/driver/d3d/state_support.h"
#include "tests/support/tag_names.h"

namespace test {
namespace {

class PermediaStateTest : public StateTest {};
INSTANTIATE_TEST_SUITE_P(Chips, PermediaStateTest, testing::ValuesIn(kPermediaChips), ChipName);

TEST_P(PermediaStateTest, TheImageHoldsEveryStateBelow256) {
    WatchedContext c(GetParam());
    for (uint32_t state = 0; state != 256; ++state) {
        c.Run(state, state * 3 + 1);
    }
    c.Run(256, 99);
    for (uint32_t state = 0; state != 256; ++state) {
        EXPECT_EQ(c.ctx->RenderStates[state], state * 3 + 1);
    }
}

TEST_P(PermediaStateTest, ANewTextureHandleMarksRenderersAndTexture) {
    WatchedContext c(GetParam());
    c.Expect(1, 5, [](D3DContext& w) {
        w.TextureHandle = 5;
        w.DirtyFlags = 9;
        return Words{};
    });
    c.Expect(1, 0, [](D3DContext& w) {
        w.TextureHandle = 0;
        return Words{};
    });
}

TEST_P(PermediaStateTest, TheTextureHandleInForceChangesNothing) {
    WatchedContext c(GetParam());
    c.ctx->TextureHandle = 5;
    c.ExpectNothing(1, 5);
    c.ctx->TextureHandle = 0;
    c.ExpectNothing(1, 0);
}

TEST_P(PermediaStateTest, TextureAddressSetsBothWrapFields) {
    WatchedContext c(GetParam());
    c.ExpectField(3, &RegisterCopies::TextureReadMode, t::TextureReadMode, 0x1E,
                  [](uint32_t value) { return value == 2   ? 0x14
                                              : value == 3 ? 0u
                                                           : 0x0A; });
}

TEST_P(PermediaStateTest, TextureAddressBorderActsAsWrap) {
    WatchedContext c(GetParam());
    c.Run(3, D3DTADDRESS_BORDER);
    EXPECT_EQ(c.Take(), (Words{t::TextureReadMode, 0x0A}));
}

TEST_P(PermediaStateTest, PerspectiveSendsThreeWordsOnEveryChip) {
    WatchedContext c(GetParam());
    c.OverBackgrounds([&] {
        for (uint32_t value : kValues) {
            for (uint32_t flags : {0u, 0x7FFFu}) {
                c.ctx->RenderFlags = flags;
                c.ctx->DirtyFlags = 0;
                c.Expect(4, value, [&](D3DContext& w) {
                    const bool on = value != 0;
                    uint32_t& address = w.Copies.TextureAddressMode;
                    uint32_t& delta = w.Copies.DeltaMode;
                    address = WithBits(address, 2, on ? 2 : 0);
                    delta = WithBits(delta, 0xC000, on ? 0x8000 : 0x4000);
                    w.RenderFlags = WithBits(flags, 0x10, on ? 0x10 : 0);
                    w.DirtyFlags = 1;
                    return Pairs({{t::LBWriteMode, w.Copies.LBWriteMode},
                                  {t::TextureAddressMode, address},
                                  {t::DeltaMode, delta}});
                });
            }
        }
    });
}

TEST_P(PermediaStateTest, LastPixelIsAFlagOnly) {
    WatchedContext c(GetParam());
    c.ExpectFlag(16, 0x1000);
}

// -1: the value keeps what was.
int LinearOf(uint32_t value) {
    switch (value) {
    case 1:
    case 3:
        return 0;
    case 2:
    case 4:
    case 5:
    case 6:
        return 1;
    default:
        return -1;
    }
}

TEST_P(PermediaStateTest, TextureFiltersAreSplitIntoNearestAndLinear) {
    WatchedContext c(GetParam());
    c.OverBackgrounds([&] {
        for (uint32_t value : kValues) {
            const int linear = LinearOf(value);
            for (uint32_t before : {0u, 1u}) {
                c.ctx->TextureMagLinear = before;
                c.ctx->TextureMinLinear = before;
                c.ctx->DirtyFlags = 0;
                c.Expect(17, value, [&](D3DContext& w) {
                    if (linear >= 0) {
                        w.TextureMagLinear = static_cast<uint32_t>(linear);
                        w.Copies.TextureReadMode =
                            WithBits(w.Copies.TextureReadMode, 0x20000, linear != 0 ? 0x20000 : 0);
                    }
                    w.DirtyFlags = 9;
                    return Words{};
                });
                c.ctx->DirtyFlags = 0;
                c.Expect(18, value, [&](D3DContext& w) {
                    if (linear >= 0) {
                        w.TextureMinLinear = static_cast<uint32_t>(linear);
                    }
                    w.DirtyFlags = 9;
                    return Words{};
                });
            }
        }
    });
}

TEST_P(PermediaStateTest, BlendFactorsKnowThreeValuesEach) {
    WatchedContext c(GetParam());
    ExpectBlendFactors(c, {-1, 0, 1, -1, -1, 4, -1, -1, -1, -1, -1, -1, -1},
                       {-1, 0, 1, -1, -1, -1, 5, -1, -1, -1, -1, -1, -1});
}

TEST_P(PermediaStateTest, SourceBlendDestAlphaLeavesTheSourceFactor) {
    WatchedContext c(GetParam());
    c.Run(19, D3DBLEND_SRCALPHA);
    c.Run(19, D3DBLEND_DESTALPHA);
    EXPECT_EQ(c.ctx->Copies.AlphaBlendMode, 0x08u);
}

TEST_P(PermediaStateTest, SourceBlendSrcColorKeepsTheOldSourceField) {
    WatchedContext c(GetParam());
    c.Run(19, D3DBLEND_ONE);
    c.Run(19, D3DBLEND_SRCCOLOR);
    EXPECT_EQ(c.ctx->Copies.AlphaBlendMode, 0x02u);
}

TEST_P(PermediaStateTest, TextureBlendSetsTheColourField) {
    WatchedContext c(GetParam());
    for (uint32_t force : {0u, 1u}) {
        c.ctx->ForceCopyMode = force;
        ExpectTextureBlend(c, [force](D3DContext& w, uint32_t value) {
            uint32_t& word = w.Copies.TextureColorMode;
            word = force == 1 ? WithBits(word, 0x0E, 0x06) : WithColourField(word, value);
            return Words{t::TextureColorMode, word};
        });
    }
}

TEST_P(PermediaStateTest, ForceCopyModeMakesModulateACopy) {
    WatchedContext c(GetParam());
    c.ctx->ForceCopyMode = 1;
    c.Run(21, D3DTBLEND_MODULATE);
    EXPECT_EQ(c.Take(), (Words{t::TextureColorMode, 0x06}));
}

TEST_P(PermediaStateTest, CullModeSetsSignWordsOnPermedia2Only) {
    WatchedContext c(GetParam());
    c.OverBackgrounds([&] {
        for (uint32_t value : kValues) {
            c.ctx->CullSignA = 0x1234;
            c.ctx->CullSignB = 0x5678;
            c.Expect(22, value, [&](D3DContext& w) {
                w.CullMode = value;
                if (!GetParam().IsP2()) {
                    return Words{};
                }
                if (value == 1) {
                    w.CullSignA = w.CullSignB = 0;
                } else if (value == 2) {
                    w.CullSignA = w.CullSignB = 0x80000000;
                } else if (value == 3) {
                    w.CullSignA = 0x80000000;
                    w.CullSignB = 0;
                }
                return Words{t::DeltaMode, w.Copies.DeltaMode};
            });
        }
    });
}

TEST_P(PermediaStateTest, DitherFollowsTheValueOrTheSwitch) {
    WatchedContext c(GetParam());
    ExpectDither(c, false, false);
}

TEST_P(PermediaStateTest, FogEnableDropsTexturedSpecularOnTheFirstPermedia) {
    WatchedContext c(GetParam());
    ExpectFogEnable(c, GetParam().IsFirst(), GetParam().IsFirst());
}

TEST_P(PermediaStateTest, SpecularGivesWayToTexturedFogOnTheFirstPermedia) {
    WatchedContext c(GetParam());
    ExpectSpecular(c, GetParam().IsFirst());
}

TEST_P(PermediaStateTest, FogColourExchangesRedAndBlue) {
    WatchedContext c(GetParam());
    ExpectFogColour(c, GetParam().IsFirst());
}

} // namespace
} // namespace test
