// The dirty flush of both families: what each section sends and changes, and their order.
#include "driver/raster/del_gour.h"
#include "driver/raster/gl_gour.h"
#include "driver/raster/p2_gour.h"
#include "tests/driver/d3d/state_support.h"
#include "tests/support/tag_names.h"

namespace test {
namespace {

class FlushTest : public StateTest {
  protected:
    // Runs the flush with `dirty` and compares words and context with what `edit` makes.
    static void Expect(WatchedContext& c, uint32_t dirty, const WatchedContext::Edit& edit) {
        c.ctx->DirtyFlags = dirty;
        c.ctx->TriangleRenderer = nullptr;
        c.ctx->LineRenderer = nullptr;
        D3DContext want;
        std::memcpy(static_cast<void*>(&want), c.ctx, sizeof(want));
        const Words words = edit(want);
        c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
        // Which renderers were chosen is not looked at here, only that they were.
        want.TriangleRenderer = c.ctx->TriangleRenderer;
        want.LineRenderer = c.ctx->LineRenderer;
        if ((want.DirtyFlags & 1) != 0) {
            EXPECT_NE(c.ctx->TriangleRenderer, nullptr);
        } else {
            EXPECT_EQ(c.ctx->TriangleRenderer, nullptr);
        }
        EXPECT_EQ(c.Take(), words);
        EXPECT_EQ(Difference(*c.ctx, want), "");
    }
};

class PermediaFlushTest : public FlushTest {};
class GlintFlushTest : public FlushTest {};
INSTANTIATE_TEST_SUITE_P(Chips, FlushTest, testing::ValuesIn(AllStateChips()), ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, PermediaFlushTest, testing::ValuesIn(kPermediaChips), ChipName);
INSTANTIATE_TEST_SUITE_P(Chips, GlintFlushTest, testing::ValuesIn(kGlintChips), ChipName);

// Read, write, and window bit by compare field, with writes on.
struct Access {
    bool read;
    bool write;
    bool window;
};
Access AccessFor(bool zwrite, uint32_t compare) {
    if (!zwrite) {
        return {true, false, false};
    }
    if (compare == 0) {
        return {false, false, true};
    }
    if (compare == 7) {
        return {false, true, false};
    }
    return {true, true, false};
}

// What the depth section sends of the copies; the window unit is Permedia's.
Words DepthWords(const StateChip& chip, const RegisterCopies& r) {
    Words words;
    if (chip.delta) {
        words = {t::DeltaMode, r.DeltaMode};
    }
    if (!chip.IsGlint()) {
        words = words + Words{t::Window, r.WindowMode};
    }
    return words + Pairs({{t::DepthMode, r.DepthMode},
                          {t::LBReadMode, r.LBReadMode},
                          {t::LBWriteMode, r.LBWriteMode}});
}

TEST_P(FlushTest, DepthSectionByCompareAndWrites) {
    WatchedContext c(GetParam());
    const bool glint = GetParam().IsGlint();
    c.OverBackgrounds([&] {
        for (uint32_t compare = 0; compare != 8; ++compare) {
            for (bool zwrite : {false, true}) {
                const uint32_t background = c.ctx->Copies.FBReadMode;
                c.FillCopies(background);
                c.ctx->Copies.DepthMode = WithBits(background, 0x70, compare << 4);
                c.ctx->RenderFlags = zwrite ? 0x802 : 0x002;
                c.ctx->ZBufferSurface = &c.zbuffer->local;
                Expect(c, DIRTY_Z, [&](D3DContext& w) {
                    const Access access = AccessFor(zwrite, compare);
                    auto& r = w.Copies;
                    // Glint leaves the source's read as it is.
                    r.LBReadMode =
                        WithBits(r.LBReadMode, glint ? 0x400 : 0x600, access.read ? 0x400 : 0);
                    r.LBWriteMode = WithBits(r.LBWriteMode, 1, access.write ? 1 : 0);
                    if (!glint) {
                        r.WindowMode = WithBits(r.WindowMode, 0x40000, access.window ? 0x40000 : 0);
                    }
                    r.DepthMode |= 3;
                    w.DirtyFlags = 5;
                    if (GetParam().delta) {
                        r.DeltaMode |= 0x80;
                    }
                    return DepthWords(GetParam(), r);
                });
            }
        }
    });
}

TEST_P(FlushTest, DepthOffByFlagOrByMissingSurface) {
    WatchedContext c(GetParam());
    c.OverBackgrounds([&] {
        for (bool flag : {false, true}) {
            const uint32_t background = c.ctx->Copies.FBReadMode;
            c.FillCopies(background);
            c.ctx->RenderFlags = flag ? 0x802 : 0x800;
            c.ctx->ZBufferSurface = flag ? nullptr : &c.zbuffer->local;
            Expect(c, DIRTY_Z, [&](D3DContext& w) {
                auto& r = w.Copies;
                r.LBReadMode &= ~0x600u;
                r.LBWriteMode &= ~1u;
                if (!GetParam().IsGlint()) {
                    r.WindowMode |= 0x40000;
                }
                r.DepthMode &= ~3u;
                w.DirtyFlags = 5;
                if (GetParam().delta) {
                    r.DeltaMode &= ~0x80u;
                }
                return DepthWords(GetParam(), r);
            });
        }
    });
}

TEST_P(PermediaFlushTest, CompareNeverWithWritesNeitherReadsNorWrites) {
    WatchedContext c(GetParam());
    c.ctx->ZBufferSurface = &c.zbuffer->local;
    c.ctx->RenderFlags = RF_ZENABLE | RF_ZWRITE;
    c.Run(23, D3DCMP_NEVER);
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    EXPECT_EQ(c.ctx->Copies.LBReadMode & 0x400, 0u);
    EXPECT_EQ(c.ctx->Copies.LBWriteMode & 1, 0u);
    EXPECT_EQ(c.ctx->Copies.WindowMode & 0x40000, 0x40000u);
}

TEST_P(PermediaFlushTest, BlendSectionByPair) {
    WatchedContext c(GetParam());
    for (uint32_t background : {0u, 0xFFFFFFFFu, 0xA5A5A5A5u}) {
        for (uint32_t pair = 0; pair != 128; ++pair) {
            for (uint32_t flags : {0u, 0x40u}) {
                SCOPED_TRACE(pair);
                c.FillCopies(background);
                c.ctx->Copies.AlphaBlendMode = WithBits(background, 0xFE, pair << 1);
                c.ctx->RenderFlags = flags;
                c.ctx->BlendForcesZeroAlpha = 1;
                Expect(c, DIRTY_BLEND, [&](D3DContext& w) {
                    auto& r = w.Copies;
                    if (pair == 0x11 || pair == 0x51) {
                        r.AlphaBlendMode |= 0x4000;
                    } else if (pair == 0x54) {
                        r.AlphaBlendMode &= ~0x4000u;
                    }
                    const bool known = pair == 0x11 || pair == 0x51 || pair == 0x54;
                    const bool on = flags != 0 && known;
                    r.AlphaBlendMode = WithBits(r.AlphaBlendMode, 1, on ? 1 : 0);
                    r.FBReadMode = WithBits(r.FBReadMode, 0x400, on ? 0x400 : 0);
                    w.BlendForcesZeroAlpha = pair == 0x11;
                    w.AlphaBlendModeOut = r.AlphaBlendMode;
                    if (pair == 0x11) {
                        w.AlphaBlendModeOut = (r.AlphaBlendMode & 0xFFFFFF01) | 0xA2;
                    }
                    w.DirtyFlags = 3;
                    Words words;
                    if (!on) {
                        words = {t::AStart, 0x7F8000};
                    }
                    return words + Words{t::FBReadMode, r.FBReadMode, t::AlphaBlendMode,
                                         w.AlphaBlendModeOut};
                });
            }
        }
    }
}

TEST_P(PermediaFlushTest, OnePlusOneIsDrawnAsOnePlusInverseSourceAlpha) {
    WatchedContext c(GetParam());
    const uint32_t states[] = {19, 2, 20, 2, 27, 1};
    c.ctx->ProcessStates(c.ctx, 3, states);
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    EXPECT_EQ(c.ctx->AlphaBlendModeOut & 0xFE, 0xA2u);
    EXPECT_EQ(c.ctx->BlendForcesZeroAlpha, 1u);
    EXPECT_EQ(c.Take(), (Words{t::FBReadMode, 0x400, t::AlphaBlendMode, 0x40A3}));
}

TEST_P(PermediaFlushTest, OnePlusZeroTurnsBlendingOff) {
    WatchedContext c(GetParam());
    c.ctx->Copies.FBReadMode = 0x400;
    c.ctx->Copies.AlphaBlendMode = 1;
    const uint32_t states[] = {27, 1, 19, 2, 20, 1};
    c.ctx->ProcessStates(c.ctx, 3, states);
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    EXPECT_EQ(c.Take(),
              Pairs({{t::AStart, 0x7F8000}, {t::FBReadMode, 0}, {t::AlphaBlendMode, 0x02}}));
}

TEST_P(FlushTest, ZEnableWithoutASurfaceIsZOff) {
    for (bool enabled : {false, true}) {
        WatchedContext c(GetParam());
        c.ctx->RenderFlags = enabled ? RF_ZENABLE | RF_ZWRITE : uint32_t{RF_ZWRITE};
        c.ctx->ZBufferSurface = nullptr;
        c.FillCopies(0xFFFFFFFF);
        c.ctx->DirtyFlags = DIRTY_Z;
        c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
        EXPECT_EQ(c.ctx->Copies.DepthMode, 0xFFFFFFFCu);
        EXPECT_EQ(c.ctx->Copies.LBReadMode, 0xFFFFF9FFu);
        EXPECT_EQ(c.ctx->Copies.LBWriteMode, 0xFFFFFFFEu);
    }
}

// The words of a texture change with no texture, from all copies at `background` but those given.
Words NoTextureWords(const StateChip& chip, D3DContext& w) {
    auto& r = w.Copies;
    if (chip.device == 1) {
        return {};
    }
    w.RenderFlags &= ~0x20u;
    w.RenderCommand &= ~0x2000u;
    w.TextureValid = 1;
    Words words = GlintUnitsOff(r);
    if (chip.device == 6) {
        r.TextureColorMode &= ~1u;
        words = words + Words{t::TextureColorMode, r.TextureColorMode};
    } else if ((r.GlintTextureFormat & 0x60) == 0x20) {
        r.ColorDDAMode |= 1;
        words = words + Words{t::ColorDDAMode, r.ColorDDAMode};
    }
    return words;
}

TEST_P(GlintFlushTest, BlendSectionPassesEveryPairAndRunsTheTextureChange) {
    WatchedContext c(GetParam());
    const bool tx = GetParam().device == 2;
    for (uint32_t always : {0u, 1u}) {
        DXGlobals.AlwaysDither = always;
        for (uint32_t background : {0u, 0xFFFFFFFFu, 0xA5A5A5A5u}) {
            for (uint32_t pair = 0; pair != 128; ++pair) {
                for (uint32_t flags : {0u, 0x40u}) {
                    for (uint32_t dither : {0u, 1u}) {
                        c.FillCopies(background);
                        c.ctx->Copies.AlphaBlendMode = WithBits(background, 0xFE, pair << 1);
                        c.ctx->RenderFlags = flags;
                        c.ctx->DitherEnabled = dither;
                        c.ctx->AlphaBlendModeOut = 0x77;
                        Expect(c, DIRTY_BLEND, [&](D3DContext& w) {
                            auto& r = w.Copies;
                            const bool on = flags != 0 && pair != 1;
                            r.AlphaBlendMode = WithBits(r.AlphaBlendMode, 0x4001,
                                                        (pair == 81 ? 0x4000 : 0) | (on ? 1 : 0));
                            r.FBReadMode = WithBits(r.FBReadMode, 0x400, on ? 0x400 : 0);
                            Words words;
                            if (on && tx && dither == 1) {
                                r.DitherMode &= ~2u;
                                words = {t::DitherMode, r.DitherMode};
                            } else if (!on && ((tx && dither == 1) || always != 0)) {
                                r.DitherMode |= 2;
                                words = {t::DitherMode, r.DitherMode};
                            }
                            words = words + Words{t::FBReadMode, r.FBReadMode, t::AlphaBlendMode,
                                                  r.AlphaBlendMode};
                            w.DirtyFlags = 0x0B;
                            return words + NoTextureWords(GetParam(), w);
                        });
                    }
                }
            }
        }
    }
}

TEST_P(GlintFlushTest, ABlendChangeAlwaysRunsTheTextureChange) {
    WatchedContext c(GetParam());
    c.ctx->TextureValid = 0;
    c.ctx->DirtyFlags = DIRTY_BLEND;
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    EXPECT_EQ(c.ctx->TextureValid, GetParam().device == 1 ? 0u : 1u);
    EXPECT_EQ(c.ctx->DirtyFlags, 0x0Bu);
}

TEST(SXFlush, TheTextureSectionDoesNothing) {
    for (bool delta : {false, true}) {
        WatchedContext c({"SX", 1, delta});
        c.ctx->TextureHandle = 3;
        c.ctx->RenderFlags = RF_TEXTURE;
        c.ctx->DirtyFlags = DIRTY_TEXTURE;
        D3DContext want;
        std::memcpy(static_cast<void*>(&want), c.ctx, sizeof(want));
        c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
        EXPECT_TRUE(c.Take().empty());
        EXPECT_EQ(Difference(*c.ctx, want), "");
    }
}

Words TagsOf(const Words& pairs) {
    Words tags;
    for (size_t i = 0; i < pairs.size(); i += 2) {
        tags.push_back(pairs[i]);
    }
    return tags;
}

TEST_P(PermediaFlushTest, SectionsRunInTheirOrder) {
    WatchedContext c(GetParam());
    c.ctx->ZBufferSurface = &c.zbuffer->local;
    c.ctx->DirtyFlags = 0x1E; // all but the renderers, which follow by themselves
    c.rig.driver->TargetLost = 1;
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    Words tags = GetParam().delta ? Words{t::DeltaMode} : Words{};
    tags = tags + Words{t::Window,
                        t::DepthMode,
                        t::LBReadMode,
                        t::LBWriteMode, // Z
                        t::AStart,
                        t::FBReadMode,
                        t::AlphaBlendMode, // blend
                        t::TextureAddressMode,
                        t::TextureReadMode,
                        t::TextureColorMode,
                        t::TextureBaseAddress,
                        t::TexelLUTTransfer, // texture
                        t::FBPixelOffset,
                        t::LBWindowBase}; // target
    EXPECT_EQ(TagsOf(c.Take()), tags);
    EXPECT_EQ(c.ctx->DirtyFlags, 0x1Fu); // the caller clears them
    EXPECT_EQ(c.rig.driver->TargetLost, 0u);
    const Renderer flat = GetParam().IsP2()  ? P2_Tri_XY_FLATS
                          : GetParam().delta ? Delta_Tri_XY_FLAT
                                             : Glint_Tri_XY_FLAT;
    EXPECT_EQ(c.ctx->TriangleRenderer, flat);
}

TEST_P(GlintFlushTest, SectionsRunInTheirOrder) {
    WatchedContext c(GetParam());
    c.ctx->ZBufferSurface = &c.zbuffer->local;
    c.ctx->DirtyFlags = 0x1E;
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    Words tags = {t::FBReadMode, t::AlphaBlendMode}; // blend
    if (GetParam().device != 1) {
        tags = tags + Words{t::TextureAddressMode, t::GlintTextureReadMode,
                            t::TextureFilterMode}; // texture
    }
    if (GetParam().device == 6) {
        tags = tags + Words{t::TextureColorMode};
    }
    if (GetParam().delta) {
        tags = tags + Words{t::DeltaMode};
    }
    tags = tags + Words{t::DepthMode, t::LBReadMode, t::LBWriteMode, // Z
                        t::FBPixelOffset, t::LBWindowBase};          // target
    EXPECT_EQ(TagsOf(c.Take()), tags);
    EXPECT_EQ(c.ctx->DirtyFlags, 0x1Fu);
}

TEST_P(FlushTest, TheRenderersAreChosenAfterTheTextureChange) {
    WatchedContext c(GetParam());
    if (GetParam().device == 1) {
        return; // no texture change on SX
    }
    // Texturing goes off in the texture section, so no textured renderer may be picked.
    c.ctx->RenderFlags = RF_TEXTURE;
    c.ctx->DirtyFlags = DIRTY_TEXTURE | DIRTY_RENDERERS;
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    const Renderer flat = GetParam().IsP2()  ? P2_Tri_XY_FLATS
                          : GetParam().delta ? Delta_Tri_XY_FLAT
                                             : Glint_Tri_XY_FLAT;
    EXPECT_EQ(c.ctx->TriangleRenderer, flat);
}

TEST_P(FlushTest, TheTargetSectionAimsTheChip) {
    WatchedContext c(GetParam());
    c.ctx->DirtyFlags = DIRTY_TARGET;
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    EXPECT_EQ(c.Take(), (Words{t::FBPixelOffset, 0x20000 / 2}));
    EXPECT_EQ(c.target->priv.OwnerContext, c.ctx);
    EXPECT_EQ(c.ctx->TriangleRenderer, nullptr);
}

TEST_P(PermediaFlushTest, AnUnknownDeviceOfTheFamilyGetsNoRenderer) {
    WatchedContext c(GetParam());
    c.rig.chip->DeviceId = 99;
    c.ctx->DirtyFlags = DIRTY_RENDERERS;
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    EXPECT_EQ(c.ctx->TriangleRenderer, nullptr);
}

TEST_P(FlushTest, SectionsReserveTheirSpace) {
    struct Section {
        uint32_t dirty;
        uint32_t words;
    };
    std::vector<Section> sections = {{DIRTY_Z, 0x80 / 4}};
    if (!GetParam().IsGlint()) {
        sections.push_back({DIRTY_BLEND, 0x80 / 4});
    } else if (GetParam().device == 1) { // elsewhere the texture change reserves more
        sections.push_back({DIRTY_BLEND, 0x40 / 4});
    }
    for (const Section& section : sections) {
        WatchedContext c(GetParam());
        CommandStream& stream = c.ctx->Stream;
        stream.SubBufferFlushWords = 256;
        for (uint32_t tooFar : {0u, 1u}) {
            stream.WritePointer = stream.Current().Linear + 256 - section.words + tooFar;
            c.ctx->DirtyFlags = section.dirty;
            c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
            EXPECT_EQ(stream.SubBufferIndex, tooFar) << section.dirty;
        }
    }
}

TEST_P(FlushTest, TheFIFOCountRunsOnAcrossTheSections) {
    WatchedContext c(GetParam(), false);
    const bool glint = GetParam().IsGlint();
    // Room for the blend and Z sections' waits together, and not one entry more.
    c.rig.bus->fifoSpace = glint ? 4 + 7 : 7 + 3;
    c.ctx->DirtyFlags = DIRTY_Z | DIRTY_BLEND;
    c.ctx->TextureHandle = 77; // names nothing: the texture change of Glint is silent
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    // The texture change stands between the sections on TX and MX, and the count starts again.
    if (GetParam().device == DeviceTX || GetParam().device == DeviceMX) {
        EXPECT_EQ(c.rig.bus->ReadsOf(reg::InFIFOSpace), 2u);
        return;
    }
    EXPECT_EQ(c.rig.bus->ReadsOf(reg::InFIFOSpace), 1u);
    c.rig.bus->Clear();
    c.rig.bus->fifoSpace -= 1;
    c.ctx->DirtyFlags = DIRTY_Z | DIRTY_BLEND;
    c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
    EXPECT_EQ(c.rig.bus->ReadsOf(reg::InFIFOSpace), 2u);
}

TEST_P(FlushTest, WordsOfAllSectionsArriveInFIFOModeToo) {
    WatchedContext dma(GetParam(), true);
    WatchedContext fifo(GetParam(), false);
    for (WatchedContext* c : {&dma, &fifo}) {
        c->FillCopies(0x5A5A5A5A);
        c->ctx->ZBufferSurface = &c->zbuffer->local;
        c->ctx->DirtyFlags = 0x1F;
        c->ctx->HandleDirtyState(c->rig.driver, c->ctx);
    }
    const Words words = dma.Take();
    EXPECT_FALSE(words.empty());
    EXPECT_EQ(fifo.Take(), words);
}

} // namespace
} // namespace test
