// The render states that all chips treat alike, the walk over pairs, and the entry.
#include "tests/driver/d3d/state_support.h"
#include "tests/support/tag_names.h"

namespace test {
namespace {

INSTANTIATE_TEST_SUITE_P(Chips, StateTest, testing::ValuesIn(AllStateChips()), ChipName);

TEST_P(StateTest, StatesThatMeanNothingOnlyEnterTheImage) {
    WatchedContext c(GetParam());
    c.FillCopies(0xA5A5A5A5);
    c.ctx->RenderFlags = 0x5555;
    std::vector<uint32_t> states = {0, 2, 10, 12, 15, 24, 25, 31, 32};
    for (uint32_t s = 35; s <= 38; ++s) {
        states.push_back(s); // fog tables
    }
    for (uint32_t s = 40; s <= 63; ++s) {
        states.push_back(s);
    }
    for (uint32_t s = 72; s <= 256; ++s) {
        states.push_back(s);
    }
    for (uint32_t state : states) {
        for (uint32_t value : {0u, 1u, 0xFFFFFFFFu}) {
            c.ExpectNothing(state, value);
        }
    }
}

TEST_P(StateTest, WrapFlagsFollowTheirValue) {
    WatchedContext c(GetParam());
    c.ExpectFlag(5, 0x100);
    c.ExpectFlag(6, 0x200);
}

TEST_P(StateTest, ZEnableTurnsOnWithAZSurfaceAndMarksRenderersAndZ) {
    WatchedContext c(GetParam());
    c.ctx->ZBufferSurface = &c.zbuffer->local;
    for (uint32_t value : {1u, 2u, 0xFFFFFFFFu}) {
        c.ctx->RenderFlags = 0;
        c.ctx->DirtyFlags = 0;
        c.Expect(7, value, [](D3DContext& w) {
            w.RenderFlags = 2;
            w.DirtyFlags = 5;
            return Words{};
        });
        c.ctx->DirtyFlags = 0;
        c.ExpectNothing(7, value); // already on
    }
    c.Expect(7, 0, [](D3DContext& w) {
        w.RenderFlags = 0;
        w.DirtyFlags = 5;
        return Words{};
    });
    c.ctx->DirtyFlags = 0;
    c.ExpectNothing(7, 0);
}

TEST_P(StateTest, ZEnableWithoutAZSurfaceLeavesFlagAndDirtyFlags) {
    WatchedContext c(GetParam());
    c.ctx->ZBufferSurface = nullptr;
    c.ExpectNothing(7, 1);
    // It can still be turned off.
    c.ctx->RenderFlags = 2;
    c.Expect(7, 0, [](D3DContext& w) {
        w.RenderFlags = 0;
        w.DirtyFlags = 5;
        return Words{};
    });
}

TEST_P(StateTest, FillModeIsStoredAndUnknownModesAreSolid) {
    WatchedContext c(GetParam());
    for (uint32_t value : kValues) {
        c.ctx->DirtyFlags = 0;
        c.Expect(8, value, [&](D3DContext& w) {
            w.FillMode = value >= 1 && value <= 3 ? value : 3;
            w.DirtyFlags = 1;
            if (!GetParam().delta) {
                return Words{};
            }
            return Words{t::RasterizerMode, value == 2 ? 0x20u : 0u};
        });
    }
}

TEST_P(StateTest, FillModeSevenIsSolid) {
    WatchedContext c(GetParam());
    c.ctx->FillMode = 1;
    c.Run(8, 7);
    EXPECT_EQ(c.ctx->FillMode, 3u);
}

TEST_P(StateTest, ShadeModeChangesColourAndDeltaWordsOnlyOnAChange) {
    WatchedContext c(GetParam());
    for (uint32_t texture : {0u, 9u}) {
        c.ctx->TextureHandle = texture;
        const uint32_t dirty = texture != 0 ? 9 : 1;
        c.OverBackgrounds([&] {
            for (uint32_t value : kValues) {
                for (uint32_t before : {0u, 1u}) {
                    c.ctx->RenderFlags = 0x7FFE | before;
                    c.ctx->DirtyFlags = 0;
                    const bool flat = value == 1;
                    const bool smooth = value == 2 || value == 3;
                    if ((flat && before == 1) || (smooth && before == 0)) {
                        c.Expect(9, value, [&](D3DContext& w) {
                            uint32_t& dda = w.Copies.ColorDDAMode;
                            dda = WithBits(dda, 2, smooth ? 2 : 0);
                            w.RenderFlags ^= 1;
                            w.DirtyFlags = dirty;
                            if (!GetParam().delta) {
                                return Words{t::ColorDDAMode, dda};
                            }
                            uint32_t& delta = w.Copies.DeltaMode;
                            delta = WithBits(delta, 0x40, smooth ? 0x40 : 0);
                            return Words{t::ColorDDAMode, dda, t::DeltaMode, delta};
                        });
                    } else {
                        c.ExpectNothing(9, value);
                    }
                }
            }
        });
    }
}

TEST_P(StateTest, MonoMarksTheRenderersAlways) {
    WatchedContext c(GetParam());
    for (uint32_t value : kValues) {
        c.ctx->DirtyFlags = 0;
        c.Expect(11, value, [&](D3DContext& w) {
            w.RenderFlags = value != 0 ? 0x80 : 0;
            w.DirtyFlags = 1;
            return Words{};
        });
    }
}

TEST_P(StateTest, PlaneMaskGoesStraightToTheChip) {
    WatchedContext c(GetParam());
    for (uint32_t value : kValues) {
        c.Expect(13, value, [&](D3DContext&) { return Words{t::FBHardwareWriteMask, value}; });
    }
}

TEST_P(StateTest, ZWriteAndBlendEnableMarkTheirSectionOnAChange) {
    struct Case {
        uint32_t state;
        uint32_t flag;
        uint32_t dirty;
    };
    WatchedContext c(GetParam());
    for (const Case& row : {Case{14, 0x800, 4}, Case{27, 0x40, 2}}) {
        for (uint32_t value : kValues) {
            for (bool before : {false, true}) {
                c.ctx->RenderFlags = before ? 0x7FFF : 0x7FFF & ~row.flag;
                c.ctx->DirtyFlags = 0;
                if (before == (value != 0)) {
                    c.ExpectNothing(row.state, value);
                    continue;
                }
                c.Expect(row.state, value, [&](D3DContext& w) {
                    w.RenderFlags ^= row.flag;
                    w.DirtyFlags = row.dirty;
                    return Words{};
                });
            }
        }
    }
}

TEST_P(StateTest, ZFuncTakesItsFieldAndOutOfRangeIsLessEqual) {
    WatchedContext c(GetParam());
    c.OverBackgrounds([&] {
        for (uint32_t value : kValues) {
            c.ctx->DirtyFlags = 0;
            c.Expect(23, value, [&](D3DContext& w) {
                const uint32_t compare = value >= 1 && value <= 8 ? value - 1 : 3;
                w.Copies.DepthMode = WithBits(w.Copies.DepthMode, 0x70, compare << 4);
                w.DirtyFlags = 4;
                return Words{};
            });
        }
    });
}

TEST_P(StateTest, ZFuncZeroGivesLessEqual) {
    WatchedContext c(GetParam());
    c.Run(23, 0);
    EXPECT_EQ(c.ctx->Copies.DepthMode >> 4 & 7, D3DCMP_LESSEQUAL - 1);
}

TEST_P(StateTest, ZVisibleIsKeptWithoutAnyChipAccess) {
    WatchedContext c(GetParam(), false);
    for (uint32_t value : kValues) {
        c.Expect(30, value, [&](D3DContext& w) {
            w.ZVisibleMode = value;
            return Words{};
        });
    }
    c.rig.bus->Clear();
    c.Run(30, 1);
    EXPECT_TRUE(c.rig.bus->events.empty());
}

TEST_P(StateTest, StippleEnableTurnsAreaStippleUnlessStippledAlphaHasIt) {
    WatchedContext c(GetParam());
    for (uint32_t flags : {0u, 0x400u}) {
        for (uint32_t command : {0x10000u, 0x16001u}) {
            for (uint32_t value : kValues) {
                c.ctx->RenderFlags = flags;
                c.ctx->RenderCommand = command;
                c.Expect(39, value, [&](D3DContext& w) {
                    w.StippleEnabled = value != 0;
                    if (value == 0) {
                        w.RenderCommand = command & ~1u;
                    } else if (flags == 0) {
                        w.RenderCommand = command | 1;
                    }
                    return Words{};
                });
            }
        }
    }
}

TEST_P(StateTest, StippleRowsKeepTheLowByteAndSendTheWholeWord) {
    WatchedContext c(GetParam());
    for (uint32_t row = 0; row != 8; ++row) {
        for (uint32_t value : {0u, 0x81u, 0xFFu, 0x12345678u + row}) {
            c.ctx->RenderFlags = 0;
            c.Expect(64 + row, value, [&](D3DContext& w) {
                w.StipplePattern[row] = static_cast<uint8_t>(value);
                return Words{t::AreaStipplePattern0 + row, value};
            });
        }
    }
}

// The pattern, row by row.
Words StippleRows(const std::array<uint32_t, 8>& rows) {
    Words words;
    for (uint32_t row = 0; row != 8; ++row) {
        words.push_back(t::AreaStipplePattern0 + row);
        words.push_back(rows[row]);
    }
    return words;
}

TEST_P(StateTest, StippleRowsSentDuringStippledAlphaGoOutWhenItEnds) {
    WatchedContext c(GetParam());
    c.Expect(33, 5, [](D3DContext& w) {
        w.RenderFlags = 0x400;
        w.StippleIndex = 16;
        return Words{};
    });
    for (uint32_t row = 0; row != 8; ++row) {
        c.Expect(64 + row, 0x11223300 + 0x11 * row, [&](D3DContext& w) {
            w.StipplePattern[row] = static_cast<uint8_t>(0x11 * row);
            return Words{};
        });
    }
    c.Expect(33, 0, [](D3DContext& w) {
        w.RenderFlags = 0;
        return StippleRows({0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77});
    });
}

TEST_P(StateTest, StippledAlphaTakesAreaStippleOverAndGivesItBack) {
    WatchedContext c(GetParam());
    c.ctx->StippleIndex = 3;
    c.ctx->StippleEnabled = 1;
    c.ctx->RenderCommand = 0x10001;
    c.Expect(33, 1, [](D3DContext& w) {
        w.RenderFlags = 0x400;
        w.StippleIndex = 16;
        w.RenderCommand = 0x10000;
        return Words{};
    });
    c.ctx->StippleIndex = 3;
    c.ExpectNothing(33, 1); // already on: a loaded pattern stays known
    c.Expect(33, 0, [](D3DContext& w) {
        w.RenderFlags = 0;
        w.RenderCommand = 0x10001;
        return StippleRows({});
    });
    c.ExpectNothing(33, 0);
}

TEST_P(StateTest, EndOfStippledAlphaWaitsForTheRowsOnPermediaOnly) {
    WatchedContext c(GetParam(), false);
    c.ctx->RenderFlags = 0x400;
    c.rig.bus->fifoSpace = 11;
    c.Run(33, 0);
    EXPECT_EQ(c.rig.bus->ReadsOf(reg::InFIFOSpace), GetParam().IsGlint() ? 1u : 2u);
}

TEST_P(StateTest, ALockedStateIsIgnoredUntilTheOverrideIsCleared) {
    WatchedContext c(GetParam());
    c.Expect(256 + 13, 1, [](D3DContext& w) {
        w.OverrideMask[0] = 1u << 12;
        return Words{};
    });
    D3DContext want;
    std::memcpy(static_cast<void*>(&want), c.ctx, sizeof(want));
    c.Run(13, 77);
    EXPECT_TRUE(c.Take().empty());
    EXPECT_EQ(Difference(*c.ctx, want), ""); // RenderStates among it
    c.Expect(256 + 13, 0, [](D3DContext& w) {
        w.OverrideMask[0] = 0;
        return Words{};
    });
    c.Expect(13, 78, [](D3DContext&) { return Words{t::FBHardwareWriteMask, 78}; });
}

TEST_P(StateTest, EveryStateFrom1To256HasALockOfItsOwn) {
    WatchedContext c(GetParam());
    for (uint32_t state = 1; state <= 256; ++state) {
        c.Expect(256 + state, 0xFFFFFFFF, [&](D3DContext& w) {
            w.OverrideMask[(state - 1) / 32] |= 1u << (state - 1) % 32;
            return Words{};
        });
    }
    // Nothing gets through but state 0.
    for (uint32_t state = 1; state <= 256; ++state) {
        D3DContext want;
        std::memcpy(static_cast<void*>(&want), c.ctx, sizeof(want));
        c.Run(state, 1);
        EXPECT_TRUE(c.Take().empty()) << state;
        EXPECT_EQ(Difference(*c.ctx, want), "") << state;
    }
    c.ExpectNothing(0, 5);
}

TEST_P(StateTest, OverridesAbove512HaveNoEffect) {
    WatchedContext c(GetParam());
    for (uint32_t state : {513u, 514u, 1000u, 0x80000000u, 0xFFFFFFFFu}) {
        for (uint32_t value : {0u, 1u}) {
            c.ExpectNothing(state, value);
        }
    }
}

TEST_P(StateTest, StatesOfOneRunApplyInOrder) {
    WatchedContext c(GetParam());
    const uint32_t pairs[] = {13, 1, 256 + 13, 1, 13, 2, 256 + 13, 0, 13, 3, 30, 4, 13, 5};
    EXPECT_EQ(c.ctx->ProcessStates(c.ctx, 7, pairs), 0u);
    EXPECT_EQ(c.Take(), Pairs({{t::FBHardwareWriteMask, 1},
                               {t::FBHardwareWriteMask, 3},
                               {t::FBHardwareWriteMask, 5}}));
    EXPECT_EQ(c.ctx->ZVisibleMode, 4u);
    EXPECT_EQ(c.ctx->RenderStates[13], GetParam().IsGlint() ? 0u : 5u);
}

TEST_P(StateTest, AnEmptyRunDoesNothing) {
    WatchedContext c(GetParam(), false);
    EXPECT_EQ(c.ctx->ProcessStates(c.ctx, 0, nullptr), 0u);
    EXPECT_TRUE(c.rig.bus->events.empty());
}

TEST_P(StateTest, FIFOSpaceIsReadAgainOnlyWhenTheCountRunsOut) {
    WatchedContext c(GetParam(), false);
    const uint32_t pairs[] = {13, 1, 13, 2, 13, 3, 13, 4, 13, 5};
    const auto reads = [&](uint32_t space, uint32_t states) {
        c.rig.bus->Clear();
        c.rig.bus->fifoSpace = space;
        c.ctx->ProcessStates(c.ctx, states, pairs);
        return c.rig.bus->ReadsOf(reg::InFIFOSpace);
    };
    // Each state takes 4 of what was seen, and each call starts from none.
    EXPECT_EQ(reads(8, 2), 1u);
    EXPECT_EQ(reads(8, 3), 2u);
    EXPECT_EQ(reads(7, 2), 2u);
    EXPECT_EQ(reads(8, 5), 3u);
    EXPECT_EQ(c.rig.bus->FifoWords(), Pairs({{t::FBHardwareWriteMask, 1},
                                             {t::FBHardwareWriteMask, 2},
                                             {t::FBHardwareWriteMask, 3},
                                             {t::FBHardwareWriteMask, 4},
                                             {t::FBHardwareWriteMask, 5}}));
}

TEST_P(StateTest, NoWaitUnderDMAOrWithDisconnect) {
    WatchedContext dma(GetParam());
    dma.Run(13, 1);
    EXPECT_TRUE(dma.rig.bus->events.empty());
    WatchedContext fifo(GetParam(), false);
    fifo.ctx->Stream.DisconnectMode = 1;
    fifo.Run(13, 1);
    EXPECT_EQ(fifo.rig.bus->ReadsOf(reg::InFIFOSpace), 0u);
    EXPECT_EQ(fifo.Take(), (Words{t::FBHardwareWriteMask, 1}));
}

TEST_P(StateTest, EachStateReserves128BytesEvenAnIgnoredOne) {
    for (uint32_t state : {13u, 2u}) {
        WatchedContext c(GetParam());
        CommandStream& stream = c.ctx->Stream;
        stream.SubBufferFlushWords = 256;
        stream.WritePointer = stream.Current().Linear + 256 - 32;
        c.Run(state, 1);
        EXPECT_EQ(stream.SubBufferIndex, 0u); // an exact fit is room
        stream.WritePointer = stream.Current().Linear + 256 - 31;
        c.Run(state, 1);
        EXPECT_EQ(stream.SubBufferIndex, 1u);
    }
}

TEST_P(StateTest, OverridesLocksAndZVisibleReserveNothing) {
    WatchedContext c(GetParam());
    CommandStream& stream = c.ctx->Stream;
    stream.SubBufferFlushWords = 256;
    stream.WritePointer = stream.Current().Linear + 256;
    c.Run(256 + 13, 1);
    c.Run(13, 1);
    c.Run(30, 1);
    EXPECT_EQ(stream.SubBufferIndex, 0u);
    EXPECT_TRUE(c.rig.bus->events.empty());
}

// The entry.

struct SeenCall {
    D3DContext* ctx;
    uint32_t count;
    const uint32_t* pairs;
    uint32_t chipFlags;
    uint32_t currentContext;
    uint32_t calls;
};
SeenCall seen;

uint32_t SpyStates(D3DContext* ctx, uint32_t count, const uint32_t* pairs) {
    const ChipInfo* chip = ctx->Driver->ChipInfo;
    seen = {ctx, count, pairs, chip->Flags, chip->CurrentContext, seen.calls + 1};
    return 0x1234;
}

TEST_P(StateTest, RenderState32HandsThePairsOverWithTheCursorExcluded) {
    WatchedContext c(GetParam(), false);
    ContextSlots[7] = c.ctx;
    c.ctx->ProcessStates = SpyStates;
    c.ctx->Stream.HardwareContext =
        CreateContext(c.rig.driver, c.rig.chip, kContextTypeDirect3D, 0, 0);
    ASSERT_NE(c.rig.chip->CurrentContext, kNoContext);
    ChangeContext(c.rig.driver, c.rig.chip, kContext2D);
    c.rig.chip->Flags = 0x20000;
    RigSurface& buffer = c.rig.MakeBuffer(64);
    D3DHAL_RENDERSTATEDATA data{};
    data.dwhContext = 7;
    data.dwOffset = 24;
    data.dwCount = 3;
    data.lpExeBuf = &buffer.interface;
    data.ddrval = 1;
    seen = {};
    uint32_t flagsInChange = 0xFFFFFFFF;
    c.rig.bus->readFIFOSpace = [&] {
        flagsInChange &= c.rig.chip->Flags;
        return 256u;
    };
    EXPECT_EQ(RenderState32(&data), 1u);
    EXPECT_EQ(flagsInChange, 0x20010u); // the change of context is covered too
    EXPECT_EQ(seen.calls, 1u);
    EXPECT_EQ(seen.ctx, c.ctx);
    EXPECT_EQ(seen.count, 3u);
    EXPECT_EQ(seen.pairs, buffer.bytes.data() + 6);
    EXPECT_EQ(seen.chipFlags, 0x20010u);
    EXPECT_EQ(seen.currentContext, c.ctx->Stream.HardwareContext); // synchronised before
    EXPECT_EQ(c.rig.chip->Flags, 0x20000u);
    EXPECT_EQ(data.ddrval, 0x1234u);
}

TEST_P(StateTest, RenderState32RefusesABadContext) {
    WatchedContext c(GetParam());
    c.ctx->ProcessStates = SpyStates;
    D3DHAL_RENDERSTATEDATA data{};
    data.dwhContext = 7;
    seen = {};
    EXPECT_EQ(RenderState32(&data), 1u);
    EXPECT_EQ(data.ddrval, 0x200u);
    ContextSlots[7] = c.ctx;
    c.ctx->Magic = 0xD3D00000;
    data.ddrval = 0;
    EXPECT_EQ(RenderState32(&data), 1u);
    EXPECT_EQ(data.ddrval, 0x200u);
    EXPECT_EQ(seen.calls, 0u);
}

TEST_P(StateTest, RenderState32RunsStatesFromAnExecuteBuffer) {
    WatchedContext c(GetParam());
    ContextSlots[199] = c.ctx;
    RigSurface& buffer = c.rig.MakeBuffer(64);
    buffer.bytes[10] = 13;
    buffer.bytes[11] = 0x55;
    buffer.bytes[12] = 30;
    buffer.bytes[13] = 1;
    D3DHAL_RENDERSTATEDATA data{};
    data.dwhContext = 199;
    data.dwOffset = 40;
    data.dwCount = 2;
    data.lpExeBuf = &buffer.interface;
    data.ddrval = 1;
    EXPECT_EQ(RenderState32(&data), 1u);
    EXPECT_EQ(data.ddrval, 0u);
    EXPECT_EQ(c.Take(), (Words{t::FBHardwareWriteMask, 0x55}));
    EXPECT_EQ(c.ctx->ZVisibleMode, 1u);
}

} // namespace
} // namespace test
