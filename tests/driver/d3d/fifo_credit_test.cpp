// Space of the FIFO that was counted before a callee wrote to the stream is not spent behind it.
#include "driver/texture/textures.h"
#include "driver/texture/textures_bind.h"
#include "tests/driver/d3d/state_support.h"
#include "tests/support/counted_fifo.h"

namespace test {
namespace {

// A context in FIFO mode with a texture of 64 by 64 texels under handle 1.
class BusyContext : public WatchedContext {
  public:
    explicit BusyContext(const StateChip& chip, uint32_t pixelSize, uint32_t format)
        : WatchedContext(chip, false) {
        ContextSlots[3] = ctx;
        ctx->ContextHandle = 3;
        surface =
            &rig.MakeSurface(64, 64, DDSCAPS_TEXTURE | DDSCAPS_VIDEOMEMORY, pixelSize, 0x40000);
        surface->priv.Format = format;
        if (chip.IsGlint()) {
            surface->Global().fpVidMem =
                reinterpret_cast<uint32_t>(rig.driver->LocalBufferBase) + 0x40000;
        }
        paletteGlobal_.lpColorTable = entries_;
        paletteLocal_.lpGbl = &paletteGlobal_;
        palette_.lpLcl = &paletteLocal_;
        surface->local.lpDDPalette = &palette_;
        D3DHAL_TEXTURECREATEDATA data{};
        data.dwhContext = 3;
        data.lpDDS = &surface->interface;
        TextureCreate(&data);
        EXPECT_EQ(data.ddrval, 0u);
        ctx->TextureHandle = data.dwHandle;
        ctx->DirtyFlags = 0;
        rig.bus->Clear();
    }
    void Bind() {
        if (!chip.IsGlint()) {
            ChangeTexturePermedia(ctx);
        } else if (chip.device == DeviceTX) {
            ChangeTextureTX(ctx);
        } else {
            ChangeTextureMX(ctx);
        }
    }

    RigSurface* surface;

  private:
    PALETTEENTRY entries_[256] = {};
    DDRAWI_DDRAWPALETTE_INT palette_{};
    DDRAWI_DDRAWPALETTE_LCL paletteLocal_{};
    DDRAWI_DDRAWPALETTE_GBL paletteGlobal_{};
};

constexpr uint32_t kIndexed8 = 14;
constexpr uint32_t kIndexed4 = 15;

TEST(FifoCredit, TheCountingFifoSeesAnEntryThatNobodyWaitedFor) {
    WatchedContext c({"TX", DeviceTX, false}, false);
    CountedFifo fifo(*c.rig.bus);
    StateWriter out(c.ctx);
    out.Reserve(40);
    out.Wait(2);
    out.Tag(tag::FogMode, 1);
    out.Tag(tag::DepthMode, 1);
    out.Store();
    EXPECT_EQ(fifo.Unwaited(), "");
    // All of the space was granted once; only 16 may go on it.
    for (int i = 0; i < 14; ++i) {
        out.Reserve(8);
        out.Tag(tag::Window, 1);
        out.Store();
    }
    EXPECT_EQ(fifo.Unwaited(), "");
    out.Reserve(8);
    out.Tag(tag::LBReadMode, 1);
    out.Store();
    EXPECT_EQ(fifo.Unwaited(), "110 ");
    WriteChipRegister(c.rig.driver, tag::Sync, 0);
    EXPECT_EQ(fifo.Unwaited(), "110 188 ");
}

TEST(FifoCredit, ABindingThatLoadsItsPaletteWaitsForEveryWord) {
    std::vector<StateChip> chips = kPermediaChips;
    chips.push_back({"MX", DeviceMX, false});
    chips.push_back({"MXDelta", DeviceMX, true});
    for (const StateChip& chip : chips) {
        for (const bool keyed : {false, true}) {
            SCOPED_TRACE(std::string(chip.name) + (keyed ? " keyed" : ""));
            BusyContext c(chip, PixelSize8, kIndexed8);
            c.surface->priv.LUTAddress = 0;
            if (keyed) {
                c.surface->local.dwFlags |= DDRAWISURF_HASCKEYSRCBLT;
            }
            CountedFifo fifo(*c.rig.bus);
            c.Bind();
            EXPECT_EQ(fifo.Unwaited(), "");
            EXPECT_NE(c.surface->priv.LUTAddress, 0u);
            // The second time nothing is loaded.
            c.Bind();
            EXPECT_EQ(fifo.Unwaited(), "");
        }
    }
}

TEST(FifoCredit, ADrawWithEverythingDirtyWaitsForEveryWord) {
    for (const StateChip& chip : AllStateChips()) {
        for (const uint32_t format : {1u, kIndexed8, kIndexed4}) {
            for (const uint32_t handle : {1u, 0u}) {
                SCOPED_TRACE(std::string(chip.name) + " format " + std::to_string(format) +
                             " handle " + std::to_string(handle));
                const uint32_t pixelSize = format == 1           ? PixelSize16
                                           : format == kIndexed8 ? PixelSize8
                                                                 : PixelSize4;
                BusyContext c(chip, pixelSize, format);
                c.ctx->TextureHandle = handle;
                c.ctx->ZBufferSurface = &c.zbuffer->local;
                c.ctx->RenderFlags = RF_BLEND | RF_ZENABLE | RF_ZWRITE | RF_GOURAUD;
                c.ctx->Copies.AlphaBlendMode = 4 << 1 | 5 << 5;
                c.ctx->DitherEnabled = 1;
                c.ctx->DirtyFlags =
                    DIRTY_RENDERERS | DIRTY_BLEND | DIRTY_Z | DIRTY_TEXTURE | DIRTY_TARGET;
                CountedFifo fifo(*c.rig.bus);
                c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
                EXPECT_EQ(fifo.Unwaited(), "");
            }
        }
    }
}

} // namespace
} // namespace test
