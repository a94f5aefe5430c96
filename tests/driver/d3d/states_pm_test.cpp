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
                    return Words{t::LBWriteMode, w.Copies.LBWriteMode, t::TextureAddressMode,
                                 address,        t::DeltaMode,         delta};
                });
            }
        }
    });
}

TEST_P(PermediaStateTest, LastPixelIsAFlagOnly) {
    WatchedContext c(GetParam());
    for (uint32_t value : kValues) {
        for (uint32_t flags : {0u, 0x7FFFu}) {
            c.ctx->RenderFlags = flags;
            c.Expect(16, value, [&](D3DContext& w) {
                w.RenderFlags = WithBits(flags, 0x1000, value != 0 ? 0x1000 : 0);
                return Words{};
            });
        }
    }
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
        c.OverBackgrounds([&] {
            for (uint32_t value : kValues) {
                c.ctx->DirtyFlags = 0;
                c.Expect(21, value, [&](D3DContext& w) {
                    uint32_t& word = w.Copies.TextureColorMode;
                    if (force == 1 || value == 1 || value == 7) {
                        word = WithBits(word, 0x0E, 0x06);
                    } else if (value == 2 || value == 4) {
                        word = WithBits(word, 0x0E, 0);
                    } else if (value == 3) {
                        word = WithBits(word, 0x0E, 0x02);
                    }
                    w.DirtyFlags = 8;
                    return Words{t::TextureColorMode, word};
                });
            }
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
    for (uint32_t always : {0u, 1u}) {
        DXGlobals.AlwaysDither = always;
        c.OverBackgrounds([&] {
            for (uint32_t value : kValues) {
                c.Expect(26, value, [&](D3DContext& w) {
                    uint32_t& word = w.Copies.DitherMode;
                    word = WithBits(word, 2, value != 0 || always != 0 ? 2 : 0);
                    return Words{t::DitherMode, word};
                });
            }
        });
    }
}

TEST_P(PermediaStateTest, FogEnableDropsTexturedSpecularOnTheFirstPermedia) {
    WatchedContext c(GetParam());
    ExpectFogEnable(c, GetParam().IsFirst(), GetParam().IsFirst());
}

TEST_P(PermediaStateTest, SpecularGivesWayToTexturedFogOnTheFirstPermedia) {
    WatchedContext c(GetParam());
    const bool first = GetParam().IsFirst();
    for (uint32_t flags = 0; flags != 0x40; ++flags) {
        for (uint32_t value : {0u, 1u, 0xFFFFFFFFu}) {
            c.ctx->SpecularEnabled = 55; // Permedia 2 leaves it as it is
            c.ctx->RenderFlags = flags;
            c.ctx->DirtyFlags = 0;
            c.Expect(29, value, [&](D3DContext& w) {
                bool on = value != 0;
                if (first) {
                    w.SpecularEnabled = on;
                    on = on && (flags & 0x28) != 0x28;
                }
                w.RenderFlags = WithBits(flags, 4, on ? 4 : 0);
                w.DirtyFlags = 1;
                return Words{};
            });
        }
    }
}

TEST_P(PermediaStateTest, FogColourExchangesRedAndBlue) {
    WatchedContext c(GetParam());
    for (uint32_t flags : {0u, 8u}) {
        c.ctx->RenderFlags = flags;
        c.Expect(34, 0x11223344, [&](D3DContext& w) {
            w.FogColor = 0x11443322;
            if (GetParam().IsFirst() && flags == 0) {
                return Words{};
            }
            return Words{t::FogColor, 0x11443322};
        });
    }
}

} // namespace
} // namespace test
