// Palette loads on a context's own stream, under both carriers.
#include "driver/texture/lut_download.h"
#include "tests/driver/texture/download_support.h"
#include "tests/support/tag_names.h"

using namespace test;

namespace {

using LUTDownload = void (*)(DriverData*, PrivateSurfaceData*, D3DContext*,
                             DDRAWI_DDRAWSURFACE_LCL*);

constexpr uint32_t kOffset = 0x40000;
constexpr uint32_t kImageBytes = 64 * 96; // height by pitch
constexpr uint32_t kAddress = (kOffset + kImageBytes) / 4;

struct Palette {
    Palette(uint32_t deviceId, bool dma) : rig({.deviceId = deviceId}) {
        rig.Ready();
        ctx = rig.PlainContext(dma, 4);
        ctx->Copies.LBReadMode = 0x1234;
        ctx->WindowBaseDepth = 0x5678;
        surface = &rig.MakeSurface(64, 64, DDSCAPS_TEXTURE, PixelSize8, kOffset);
        surface->Global().lPitch = 96;
        if (deviceId == DeviceMX) {
            surface->Global().fpVidMem =
                reinterpret_cast<uint32_t>(rig.driver->LocalBufferBase) + kOffset;
        }
        for (uint32_t i = 0; i != 256; ++i) {
            entries[i] = {static_cast<BYTE>(i), static_cast<BYTE>(i ^ 0x5A),
                          static_cast<BYTE>(255 - i), 0x77};
        }
        global.lpColorTable = entries;
        local.lpGbl = &global;
        interface.lpLcl = &local;
        surface->local.lpDDPalette = &interface;
    }

    void Load() {
        const LUTDownload download = rig.chip->DeviceId == DeviceMX ? MXLUTDownload : P2LUTDownload;
        download(rig.driver, &surface->priv, ctx, &surface->local);
    }

    // 0xFF, blue, green, red, from the top byte down.
    static Words Colours() {
        Words words;
        for (uint32_t i = 0; i != 256; ++i) {
            words.push_back(0xFF000000u | (255 - i) << 16 | (i ^ 0x5A) << 8 | i);
        }
        return words;
    }

    Rig rig;
    D3DContext* ctx;
    RigSurface* surface;
    PALETTEENTRY entries[256];
    DDRAWI_DDRAWPALETTE_GBL global{};
    DDRAWI_DDRAWPALETTE_LCL local{};
    DDRAWI_DDRAWPALETTE_INT interface {};
};

Words SetupOf(uint32_t deviceId) {
    return deviceId == DeviceMX ? Pairs({{t::LBWindowBase, kAddress},
                                         {t::TextureDownloadOffset, 0},
                                         {t::LBReadMode, 0}})
                                : Words{t::TextureDownloadOffset, kAddress};
}

Words EndOf(uint32_t deviceId) {
    return deviceId == DeviceMX ? Pairs({{t::WaitForCompletion, 0},
                                         {t::LBReadMode, 0x1234},
                                         {t::LBWindowBase, 0x5678}})
                                : Words{t::WaitForCompletion, 0};
}

constexpr uint32_t kChips[] = {DevicePermedia2, DeviceMX};

TEST(LUTDownload, FourRunsOf64WordsInFIFOMode) {
    for (uint32_t chip : kChips) {
        Palette load(chip, false);
        load.Load();
        EXPECT_EQ(load.rig.Sent(),
                  SetupOf(chip) + Runs(t::TextureData, Palette::Colours()) + EndOf(chip));
        EXPECT_EQ(load.surface->priv.LUTAddress, kAddress);
    }
}

TEST(LUTDownload, TheSameWordsUnderDMAWithoutDisconnect) {
    for (uint32_t chip : kChips) {
        Palette load(chip, true);
        load.Load();
        const Words words = load.rig.Sent() + Rig::Pending(load.ctx);
        EXPECT_EQ(words, SetupOf(chip) + Runs(t::TextureData, Palette::Colours()) + EndOf(chip));
        for (const BusEvent& write : load.rig.bus->Writes()) {
            EXPECT_NE(write.offset, 0x68u);
            EXPECT_NE(write.offset, 0x868u);
        }
    }
}

TEST(LUTDownload, ARunIsNotSplitOverSubBuffers) {
    Palette load(DevicePermedia2, true);
    load.Load();
    // The first limit is 256 words: the fourth run would end at 2 + 4 * 65.
    ASSERT_EQ(load.rig.bus->transfers.size(), 1u);
    EXPECT_EQ(load.rig.bus->transfers[0].words.size(), 2u + 3 * 65);
    EXPECT_EQ(Rig::Pending(load.ctx).size(), 65u + 2);
}

TEST(LUTDownload, WithDisconnectOnOnlyTheSpaceCheckIsLeftOut) {
    for (uint32_t chip : kChips) {
        for (uint32_t mode : {0u, 1u}) {
            Palette load(chip, false);
            load.ctx->Stream.DisconnectMode = mode;
            load.Load();
            EXPECT_EQ(load.rig.bus->ReadsOf(t::InFIFOSpace), 1u - mode);
            EXPECT_EQ(load.rig.bus->Writes(),
                      (std::vector<BusEvent>{{'w', t::DisconnectControl, 1},
                                             {'w', t::DisconnectControl, 0}}));
            EXPECT_EQ(load.ctx->Stream.DisconnectMode, mode);
        }
    }
}

TEST(LUTDownload, TheChipIsReadOnceBeforeAnythingElse) {
    for (uint32_t chip : kChips) {
        Palette load(chip, false);
        load.Load();
        EXPECT_EQ(load.rig.bus->events[0].kind, 'r');
        EXPECT_EQ(load.rig.bus->events[0].offset, 0x88B8u);
        EXPECT_EQ(load.rig.bus->ReadsOf(t::Mapped(t::LBWindowBase)), 1u);
    }
}

TEST(LUTDownload, WithoutAPaletteOnlyTheStateWordsGo) {
    for (uint32_t chip : kChips) {
        Palette load(chip, false);
        load.global.lpColorTable = nullptr;
        load.Load();
        EXPECT_EQ(load.rig.Sent(), SetupOf(chip) + EndOf(chip));
        EXPECT_EQ(load.surface->priv.LUTAddress, kAddress);
    }
}

TEST(LUTDownload, InAGPMemoryTheAddressOfAnUnattachedTextureIsItsOwn) {
    Palette load(DevicePermedia2, false);
    load.surface->local.ddsCaps.dwCaps |= DDSCAPS_NONLOCALVIDMEM;
    load.global.lpColorTable = nullptr;
    load.rig.driver->NonLocalHeapPhysical = load.surface->Global().fpVidMem - 0x800;
    load.Load();
    EXPECT_EQ(load.surface->priv.LUTAddress, (0x800u + kImageBytes) / 4);
    EXPECT_TRUE(load.rig.Sent().empty());
}

TEST(LUTDownload, MXHasNoAGPBranch) {
    Palette load(DeviceMX, false);
    load.surface->local.ddsCaps.dwCaps |= DDSCAPS_NONLOCALVIDMEM;
    load.Load();
    EXPECT_EQ(load.rig.Sent(),
              SetupOf(DeviceMX) + Runs(t::TextureData, Palette::Colours()) + EndOf(DeviceMX));
}

} // namespace
