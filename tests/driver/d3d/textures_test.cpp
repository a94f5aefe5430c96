// Texture records and handles.
#include "driver/texture/textures.h"
#include "host/win32/heap.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>

namespace test {
namespace {

class Textures {
  public:
    explicit Textures(uint32_t device = DevicePermedia) : rig(test::OptionsOf(device)) {
        rig.Ready();
        ctx = AddContext(3);
    }

    D3DContext* AddContext(uint32_t slot) {
        D3DContext* added = rig.PlainContext(true);
        added->ContextHandle = slot;
        ContextSlots[slot] = added;
        return added;
    }

    RigSurface& Surface(uint32_t width, uint32_t height, uint32_t offset,
                        uint32_t pixelSize = PixelSize16, uint32_t caps = 0) {
        return rig.MakeSurface(width, height, DDSCAPS_TEXTURE | caps, pixelSize, offset);
    }

    // A chain of `count` levels from width x height down, each half the size of the one above and
    // 0x1000 bytes further on.
    RigSurface& Chain(uint32_t width, uint32_t height, uint32_t count, uint32_t offset,
                      uint32_t caps = 0) {
        RigSurface* top = nullptr;
        RigSurface* above = nullptr;
        for (uint32_t i = 0; i != count; ++i) {
            RigSurface& level = Surface(std::max(width >> i, 1u), std::max(height >> i, 1u),
                                        offset + i * 0x1000, PixelSize16, DDSCAPS_MIPMAP | caps);
            if (above != nullptr) {
                links_.push_back({0, nullptr, &level.local, &level.interface});
                above->local.lpAttachList = &links_.back();
            } else {
                top = &level;
            }
            above = &level;
        }
        return *top;
    }

    D3DHAL_TEXTURECREATEDATA TryCreate(RigSurface& surface, uint32_t slot = 3) {
        D3DHAL_TEXTURECREATEDATA data{};
        data.dwhContext = slot;
        data.lpDDS = &surface.interface;
        data.dwHandle = 0xDEAD;
        data.ddrval = 0xBAD;
        EXPECT_EQ(TextureCreate(&data), 1u);
        return data;
    }

    TextureRecord* Create(RigSurface& surface) {
        const auto data = TryCreate(surface);
        EXPECT_EQ(data.ddrval, 0u);
        TextureRecord* record = TextureHandleToPtr(data.dwHandle, ctx);
        EXPECT_NE(record, nullptr);
        EXPECT_EQ(record->Handle, data.dwHandle);
        return record;
    }

    HRESULT Destroy(uint32_t handle, uint32_t slot = 3) {
        D3DHAL_TEXTUREDESTROYDATA data{slot, handle, 0xBAD};
        EXPECT_EQ(TextureDestroy(&data), 1u);
        return data.ddrval;
    }

    HRESULT Swap(uint32_t a, uint32_t b, uint32_t slot = 3) {
        D3DHAL_TEXTURESWAPDATA data{slot, a, b, 0xBAD};
        EXPECT_EQ(TextureSwap(&data), 1u);
        return data.ddrval;
    }

    uint32_t FrameBuffer() { return reinterpret_cast<uint32_t>(rig.driver->FrameBufferBase); }

    Rig rig;
    D3DContext* ctx;

  private:
    std::deque<ATTACHLIST> links_;
};

TEST(TextureRecords, RoundedUpLogarithm) {
    const uint32_t want[][2] = {{1, 0},  {2, 1},  {3, 2},     {4, 2},     {5, 3},
                                {64, 6}, {65, 7}, {2048, 11}, {2049, 12}, {65535, 16}};
    for (const auto& row : want) {
        EXPECT_EQ(RoundedUpLog2(row[0]), row[1]) << row[0];
    }
}

TEST(TextureRecords, HashTableStartsEmptyAndHandlesAtOne) {
    Textures t;
    std::memset(t.ctx->TextureBuckets, 0xEE, sizeof(t.ctx->TextureBuckets));
    t.ctx->NextTextureHandle = 77;
    InitTextureHashTable(t.ctx);
    for (const TextureRecord* head : t.ctx->TextureBuckets) {
        EXPECT_EQ(head, nullptr);
    }
    EXPECT_EQ(GetNewTextureHandle(t.ctx), 1u);
    EXPECT_EQ(GetNewTextureHandle(t.ctx), 2u);
}

TEST(TextureRecords, CreateFillsTheRecord) {
    Textures t;
    RigSurface& surface = t.Surface(256, 64, 0x10000);
    surface.priv.Format = 1;
    surface.priv.LUTAddress = 0x1234;
    TextureRecord* record = t.Create(surface);
    EXPECT_EQ(record->Magic, 0xD3D10100u);
    EXPECT_EQ(record->Surface, &surface.local);
    EXPECT_EQ(record->Context, 3u);
    EXPECT_EQ(record->Width, 256);
    EXPECT_EQ(record->Height, 64);
    EXPECT_EQ(record->TexelCount, 16384.0f);
    EXPECT_EQ(record->Location, 0u);
    EXPECT_EQ(record->MipMapped, 0u);
    PrivateSurfaceData want = surface.priv; // a copy of all of it, logarithms aside
    want.LogWidth = 8;
    want.LogHeight = 6;
    EXPECT_EQ(std::memcmp(&record->Private, &want, sizeof(want)), 0);
    EXPECT_EQ(surface.priv.LogWidth, 0u);
    EXPECT_EQ(record->Levels[0].LogWidth, 8u);
    EXPECT_EQ(record->Levels[0].LogHeight, 6u);
    EXPECT_EQ(record->Levels[0].WidthScale, 0.125f);
    EXPECT_EQ(record->Levels[0].HeightScale, 0.03125f);
    EXPECT_EQ(record->Levels[0].Address, 0x10000u / 2);
}

TEST(TextureRecords, NonMipSurfaceOf256By64HasOneLevelAndItsLogarithms) {
    Textures t;
    const TextureRecord* record = t.Create(t.Surface(256, 64, 0x10000));
    EXPECT_EQ(record->LevelCount, 1u);
    EXPECT_EQ(record->Private.LogWidth, 8u);
    EXPECT_EQ(record->Private.LogHeight, 6u);
}

TEST(TextureRecords, OneByOneSurfaceHasOneLevel) {
    for (uint32_t device : {4u, 7u, 2u, 6u}) {
        Textures t(device);
        EXPECT_EQ(t.Create(t.Surface(1, 1, 0x10000))->LevelCount, 1u);
        const TextureRecord* mip = t.Create(t.Chain(1, 1, 1, 0x20000));
        EXPECT_EQ(mip->LevelCount, 1u);
        EXPECT_EQ(mip->MipMapped, 0u);
    }
}

TEST(TextureRecords, ForeignPrivateDataIsNotTrusted) {
    Textures t;
    for (bool none : {false, true}) {
        RigSurface& surface = t.Surface(64, 64, 0x10000);
        surface.priv.MagicNo = 0x12345678;
        surface.priv.Format = 13;
        if (none) {
            surface.Global().dwReserved1 = 0;
        }
        surface.local.dwFlags = DDRAWISURF_HASPIXELFORMAT;
        DDPIXELFORMAT& format = surface.Global().ddpfSurface;
        format.dwFlags = DDPF_RGB;
        format.dwRGBBitCount = 16;
        format.dwRBitMask = 0xF00;
        format.dwRGBAlphaBitMask = 0xF000;
        const TextureRecord* record = t.Create(surface);
        EXPECT_EQ(record->Private.MagicNo, 0xD3D10110u);
        EXPECT_EQ(record->Private.Format, 2u); // 4:4:4:4
        EXPECT_EQ(record->Private.PixelSize, 1u);
        EXPECT_EQ(record->Private.HasAlpha, 1u);
    }
}

TEST(TextureRecords, LocationFollowsTheCaps) {
    Textures t;
    RigSurface& video = t.Surface(64, 64, 0x10000);
    RigSurface& agp = t.Surface(64, 64, 0x20000, PixelSize16, DDSCAPS_NONLOCALVIDMEM);
    RigSurface& system = t.Surface(64, 64, 0x30000);
    system.local.ddsCaps.dwCaps &= ~DDSCAPS_VIDEOMEMORY;
    RigSurface& systemAGP = t.Surface(64, 64, 0x40000, PixelSize16, DDSCAPS_NONLOCALVIDMEM);
    systemAGP.local.ddsCaps.dwCaps &= ~DDSCAPS_VIDEOMEMORY;
    EXPECT_EQ(t.Create(video)->Location, 0u);
    EXPECT_EQ(t.Create(agp)->Location, 2u);
    EXPECT_EQ(t.Create(system)->Location, 1u);
    EXPECT_EQ(t.Create(systemAGP)->Location, 1u);
}

TEST(TextureRecords, SystemMemorySurfaceGetsARecord) {
    Textures t;
    RigSurface& surface = t.rig.MakeBuffer(64);
    surface.Global().wWidth = surface.Global().wHeight = 8;
    surface.Global().lPitch = 16;
    surface.Global().lpDD = &t.rig.directDraw;
    EXPECT_EQ(t.Create(surface)->Location, 1u);
}

TEST(TextureRecords, AddressesAreInTexelsByPixelSize) {
    Textures t;
    const uint32_t want[] = {0x12000, 0x9000, 0x4800, 0x24000, 0x12000 / 3, 0x9000};
    for (uint32_t size = 0; size != 6; ++size) {
        RigSurface& surface = t.Surface(64, 64, 0x12000, PixelSize16);
        surface.priv.PixelSize = size;
        EXPECT_EQ(t.Create(surface)->Levels[0].Address, want[size]) << size;
    }
}

TEST(TextureRecords, PartialProductsComeFromThePitchInTexels) {
    struct Case {
        uint32_t pixelSize;
        uint32_t pitch; // bytes
        uint32_t texels;
    };
    // 4-bit doubled, 24-bit by three, the rest shifted by the code; never below 32.
    const Case cases[] = {{0, 320, 320}, {1, 320, 160}, {2, 640, 160}, {3, 96, 192},
                          {4, 480, 160}, {1, 32, 32},   {0, 8, 32},    {3, 4, 32}};
    Textures t;
    for (const Case& row : cases) {
        RigSurface& surface = t.Surface(16, 16, 0x12000);
        surface.priv.PixelSize = row.pixelSize;
        surface.Global().lPitch = static_cast<LONG>(row.pitch);
        const TextureLevel& level = t.Create(surface)->Levels[0];
        // By the meaning of the codes: code c stands for 2^(c + 4) texels.
        uint32_t sum = 0;
        for (uint32_t code : {level.PP0, level.PP1, level.PP2}) {
            sum += code != 0 ? 16u << code : 0;
        }
        EXPECT_EQ(sum, row.texels) << row.pixelSize << " " << row.pitch;
    }
}

TEST(TextureRecords, APitchOf16TexelsGetsTheProductsOf32) {
    Textures t;
    const TextureLevel& level = t.Create(t.Surface(16, 16, 0x12000))->Levels[0];
    EXPECT_EQ(level.PP0, 1u);
    EXPECT_EQ(level.PP1, 0u);
    EXPECT_EQ(level.PP2, 0u);
}

TEST(TextureRecords, AGPAddressesCountFromTheHeapsBusAddressWithBit30) {
    Textures t;
    t.rig.driver->NonLocalHeapPhysical = 0xE0000000;
    RigSurface& surface = t.Surface(64, 64, 0x10000, PixelSize16, DDSCAPS_NONLOCALVIDMEM);
    surface.extension.fpPhysicalVidMem = 0xE0004000;
    EXPECT_EQ(t.Create(surface)->Levels[0].Address, 0x40002000u);
}

TEST(TextureRecords, AWholeMipChainFillsItsLevels) {
    Textures t;
    const TextureRecord* record = t.Create(t.Chain(64, 32, 7, 0x10000));
    EXPECT_EQ(record->MipMapped, 1u);
    EXPECT_EQ(record->LevelCount, 7u);
    const uint32_t logHeight[] = {5, 4, 3, 2, 1, 0, 0};
    for (uint32_t i = 0; i != 7; ++i) {
        EXPECT_EQ(record->Levels[i].LogWidth, 6 - i);
        EXPECT_EQ(record->Levels[i].LogHeight, logHeight[i]);
        EXPECT_EQ(record->Levels[i].Address, (0x10000u + i * 0x1000) / 2);
    }
    const TextureLevel none{};
    EXPECT_EQ(std::memcmp(&record->Levels[7], &none, sizeof(none)), 0);
}

TEST(TextureRecords, AShortChainRepeatsItsSmallestLevel) {
    Textures t;
    const TextureRecord* record = t.Create(t.Chain(64, 64, 3, 0x10000));
    EXPECT_EQ(record->MipMapped, 1u);
    EXPECT_EQ(record->LevelCount, 7u);
    EXPECT_EQ(record->Levels[2].LogWidth, 4u);
    EXPECT_EQ(record->Levels[2].WidthScale, 16.0f / 2048);
    for (uint32_t i = 3; i != 12; ++i) {
        EXPECT_EQ(std::memcmp(&record->Levels[i], &record->Levels[2], sizeof(TextureLevel)), 0);
    }
    EXPECT_EQ(record->Levels[1].LogWidth, 5u);
}

TEST(TextureRecords, AMipSurfaceWithoutAChainIsNoMipMap) {
    for (uint32_t device : {4u, 7u, 6u}) {
        Textures t(device);
        const TextureRecord* record = t.Create(t.Chain(64, 64, 1, 0x10000));
        EXPECT_EQ(record->MipMapped, 0u);
        EXPECT_EQ(record->LevelCount, 1u);
    }
}

TEST(TextureRecords, AChainLongerThanFullIsWalkedToTheFullLength) {
    Textures t;
    const TextureRecord* record = t.Create(t.Chain(4, 4, 6, 0x10000));
    EXPECT_EQ(record->LevelCount, 3u);
    EXPECT_EQ(record->MipMapped, 1u);
    EXPECT_EQ(record->Levels[2].Address, 0x12000u / 2);
    EXPECT_EQ(record->Levels[3].Address, 0u);
}

TEST(TextureRecords, AHugeSurfaceStaysWithinTwelveLevels) {
    Textures t;
    RigSurface& top = t.Chain(65535, 1, 14, 0x10000);
    const TextureRecord* record = t.Create(top);
    EXPECT_EQ(record->LevelCount, 17u);
    EXPECT_EQ(record->Levels[11].Address, (0x10000u + 11 * 0x1000) / 2);
    EXPECT_EQ(record->Private.MagicNo, 0xD3D10110u);
}

TEST(TextureRecords, OfThirteenLevelsInAGPMemoryTwelveAreDescribed) {
    Textures t;
    t.rig.chip->DeviceId = DevicePermedia2;
    RigSurface& top = t.Chain(4096, 8, 13, 0x10000, DDSCAPS_NONLOCALVIDMEM);
    const TextureRecord* record = t.Create(top);
    EXPECT_EQ(record->Location, uint32_t{TextureInAGP});
    EXPECT_EQ(record->LevelCount, 13u);
    EXPECT_NE(record->Levels[11].Address & 0x40000000, 0u);
}

TEST(TextureRecords, TheAGPBitGoesOnTheFirstLevelCountLevelsAfterTheCopy) {
    Textures t;
    t.rig.driver->NonLocalHeapPhysical = 0x1000;
    RigSurface& top = t.Chain(8, 8, 2, 0x10000, DDSCAPS_NONLOCALVIDMEM);
    top.extension.fpPhysicalVidMem = 0x2000;
    GET_LPDDRAWSURFACE_GBL_MORE(top.local.lpAttachList->lpAttached->lpGbl)->fpPhysicalVidMem =
        0x3000;
    const TextureRecord* record = t.Create(top);
    EXPECT_EQ(record->LevelCount, 4u);
    EXPECT_EQ(record->Levels[0].Address, 0x40000800u);
    for (uint32_t i = 1; i != 4; ++i) {
        EXPECT_EQ(record->Levels[i].Address, 0x40001000u);
    }
    for (uint32_t i = 4; i != 12; ++i) {
        EXPECT_EQ(record->Levels[i].Address, 0x1000u);
    }
}

TEST(TextureRecords, GlintFillsAddressesInWordsOfTheLocalBuffer) {
    for (uint32_t device : {2u, 6u}) {
        Textures t(device);
        RigSurface& surface = t.Surface(64, 64, 0);
        surface.Global().fpVidMem =
            reinterpret_cast<uint32_t>(t.rig.driver->LocalBufferBase) + 0x8000;
        const TextureRecord* record = t.Create(surface);
        TextureLevel want{};
        want.Address = 0x2000;
        EXPECT_EQ(std::memcmp(&record->Levels[0], &want, sizeof(want)), 0);
        EXPECT_EQ(record->LevelCount, 1u);
        EXPECT_EQ(record->MipMapped, 0u);
    }
}

RigSurface& LocalChain(Textures& t, uint32_t side, uint32_t count) {
    RigSurface& top = t.Chain(side, side, count, 0);
    uint32_t at = reinterpret_cast<uint32_t>(t.rig.driver->LocalBufferBase) + 0x8000;
    for (DDRAWI_DDRAWSURFACE_LCL* level = &top.local; level != nullptr; at += 0x100) {
        level->lpGbl->fpVidMem = at;
        level = level->lpAttachList != nullptr ? level->lpAttachList->lpAttached : nullptr;
    }
    return top;
}

TEST(TextureRecords, TXHasNoMipMaps) {
    Textures t(2);
    const TextureRecord* record = t.Create(LocalChain(t, 64, 7));
    EXPECT_EQ(record->MipMapped, 0u);
    EXPECT_EQ(record->LevelCount, 1u);
    EXPECT_EQ(record->Levels[0].Address, 0x2000u);
    EXPECT_EQ(record->Levels[1].Address, 0u);
}

TEST(TextureRecords, MXWalksTheChainAndRepeatsTheLastAddress) {
    Textures t(6);
    const TextureRecord* whole = t.Create(LocalChain(t, 8, 4));
    EXPECT_EQ(whole->MipMapped, 1u);
    EXPECT_EQ(whole->LevelCount, 4u);
    for (uint32_t i = 0; i != 4; ++i) {
        EXPECT_EQ(whole->Levels[i].Address, 0x2000 + i * 0x40);
    }
    EXPECT_EQ(whole->Levels[4].Address, 0u);
    const TextureRecord* cut = t.Create(LocalChain(t, 64, 3));
    EXPECT_EQ(cut->MipMapped, 1u);
    EXPECT_EQ(cut->LevelCount, 7u);
    for (uint32_t i = 2; i != 12; ++i) {
        EXPECT_EQ(cut->Levels[i].Address, 0x2080u);
    }
}

TEST(TextureRecords, NewRecordsStandAtTheHeadOfTheirBucket) {
    Textures t;
    TextureRecord* first = t.Create(t.Surface(8, 8, 0));
    t.ctx->NextTextureHandle = 256;
    TextureRecord* second = t.Create(t.Surface(8, 8, 0));
    EXPECT_EQ(first->Handle, 1u);
    EXPECT_EQ(second->Handle, 257u);
    EXPECT_EQ(t.ctx->TextureBuckets[1], second);
    EXPECT_EQ(second->Next, first);
    EXPECT_EQ(second->Prev, nullptr);
    EXPECT_EQ(first->Prev, second);
    EXPECT_EQ(first->Next, nullptr);
}

TEST(TextureRecords, Handles1And257ShareABucket) {
    Textures t;
    TextureRecord* first = t.Create(t.Surface(8, 8, 0));
    t.ctx->NextTextureHandle = 256;
    TextureRecord* second = t.Create(t.Surface(8, 8, 0));
    EXPECT_EQ(TextureHandleToPtr(1, t.ctx), first);
    EXPECT_EQ(TextureHandleToPtr(257, t.ctx), second);
    EXPECT_EQ(TextureHandleToPtr(513, t.ctx), nullptr);
    EXPECT_EQ(TextureHandleToPtr(2, t.ctx), nullptr);
}

TEST(TextureRecords, CreateOfTheHandleInForceMarksTheTexture) {
    Textures t;
    t.ctx->TextureHandle = 2;
    t.Create(t.Surface(8, 8, 0));
    EXPECT_EQ(t.ctx->DirtyFlags, 0u);
    t.Create(t.Surface(8, 8, 0));
    EXPECT_EQ(t.ctx->DirtyFlags, 8u);
}

TEST(TextureRecords, CreateRefusesABadContext) {
    Textures t;
    RigSurface& surface = t.Surface(8, 8, 0);
    EXPECT_EQ(t.TryCreate(surface, 9).ddrval, 0x200u);
    t.ctx->Magic = 0xD3D00000;
    EXPECT_EQ(t.TryCreate(surface).ddrval, 0x200u);
    EXPECT_EQ(t.ctx->NextTextureHandle, 0u);
}

TEST(TextureRecords, AFailedAllocationSpendsTheHandle) {
    Textures t;
    RigSurface& surface = t.Surface(8, 8, 0);
    host::heap::FailAllocations(1);
    EXPECT_EQ(t.TryCreate(surface).ddrval, 0x8007000Eu);
    EXPECT_EQ(t.Create(surface)->Handle, 2u);
}

TEST(TextureRecords, DestroyUnlinksAnywhereInTheChain) {
    for (uint32_t victim = 0; victim != 3; ++victim) {
        Textures t;
        for (uint32_t i = 0; i != 3; ++i) {
            t.ctx->NextTextureHandle = i * 256;
            t.Create(t.Surface(8, 8, 0));
        }
        const size_t blocks = host::heap::LiveBlocks();
        EXPECT_EQ(t.Destroy(victim * 256 + 1), 0u);
        EXPECT_EQ(host::heap::LiveBlocks(), blocks - 1);
        const TextureRecord* prev = nullptr;
        uint32_t left = 0;
        for (TextureRecord* at = t.ctx->TextureBuckets[1]; at != nullptr; at = at->Next) {
            EXPECT_EQ(at->Prev, prev);
            EXPECT_NE(at->Handle, victim * 256 + 1);
            prev = at;
            ++left;
        }
        EXPECT_EQ(left, 2u);
        EXPECT_EQ(t.Destroy(victim * 256 + 1), 0x200u);
    }
}

TEST(TextureRecords, DestroyOfTheTextureInForceMarksItAndKeepsTheHandle) {
    Textures t;
    t.Create(t.Surface(8, 8, 0));
    t.Create(t.Surface(8, 8, 0));
    t.ctx->TextureHandle = 2;
    EXPECT_EQ(t.Destroy(1), 0u);
    EXPECT_EQ(t.ctx->DirtyFlags, 0u);
    EXPECT_EQ(t.Destroy(2), 0u);
    EXPECT_EQ(t.ctx->DirtyFlags, 8u);
    EXPECT_EQ(t.ctx->TextureHandle, 2u);
}

TEST(TextureRecords, DestroyOfTheTextureInTheChipTurnsOnlyMipMappingOff) {
    for (const uint32_t flags : {uint32_t{RF_TEXTURE}, uint32_t{RF_TEXTURE} | RF_MIPMAP}) {
        Textures t;
        t.ctx->CurrentTexture = t.Create(t.Surface(8, 8, 0));
        t.ctx->RenderFlags = flags;
        EXPECT_EQ(t.Destroy(1), 0u);
        EXPECT_EQ(t.ctx->CurrentTexture, nullptr);
        EXPECT_EQ(t.ctx->RenderFlags, uint32_t{RF_TEXTURE});
        EXPECT_EQ(t.ctx->DirtyFlags, flags == RF_TEXTURE ? 0u : uint32_t{DIRTY_RENDERERS});
    }
}

TEST(TextureRecords, DestroyRefusesBadContextsHandlesAndLostSurfaces) {
    Textures t;
    RigSurface& surface = t.Surface(8, 8, 0);
    t.Create(surface);
    EXPECT_EQ(t.Destroy(1, 9), 0x200u);
    EXPECT_EQ(t.Destroy(5), 0x200u);
    surface.local.dwFlags = DDRAWISURF_INVALID;
    EXPECT_EQ(t.Destroy(1), 0x200u);
    surface.local.dwFlags = 0;
    t.ctx->Magic = 0x1234;
    EXPECT_EQ(t.Destroy(1), 0x200u);
    t.ctx->Magic = 0xD3D00000; // repaired
    EXPECT_EQ(t.Destroy(1), 0u);
    EXPECT_EQ(t.ctx->Magic, 0xD3D00100u);
}

TEST(TextureRecords, DestroyOfAnUnusableRecordSpoilsTheContext) {
    Textures t;
    TextureRecord* record = t.Create(t.Surface(8, 8, 0));
    record->Magic = 0xD3D10000;
    EXPECT_EQ(t.Destroy(1), 0x200u);
    EXPECT_EQ(t.ctx->Magic, 0xD3D10100u);
    EXPECT_EQ(record->Magic, 0xD3D10000u);
    EXPECT_EQ(TextureHandleToPtr(1, t.ctx), record);
    EXPECT_EQ(t.Destroy(1), 0x200u);
    EXPECT_EQ(t.TryCreate(t.Surface(8, 8, 0)).ddrval, 0x200u);
}

TEST(TextureRecords, SwapExchangesContentsAndKeepsChainsAndHandles) {
    Textures t;
    RigSurface& a = t.Surface(8, 16, 0);
    RigSurface& b = t.Surface(32, 64, 0x4000);
    TextureRecord* first = t.Create(a);
    t.ctx->NextTextureHandle = 256;
    TextureRecord* second = t.Create(b);
    t.rig.chip->Flags = 0x20000;
    EXPECT_EQ(t.Swap(1, 257), 0u);
    EXPECT_EQ(TextureHandleToPtr(1, t.ctx), first);
    EXPECT_EQ(TextureHandleToPtr(257, t.ctx), second);
    EXPECT_EQ(first->Surface, &b.local);
    EXPECT_EQ(first->Width, 32);
    EXPECT_EQ(first->Levels[0].Address, 0x2000u);
    EXPECT_EQ(first->Private.Surface, &b.local);
    EXPECT_EQ(first->LevelCount, 1u);
    EXPECT_EQ(second->Surface, &a.local);
    EXPECT_EQ(second->Height, 16);
    EXPECT_EQ(second->Next, first);
    EXPECT_EQ(first->Prev, second);
    EXPECT_EQ(t.rig.chip->Flags, 0x20000u);
    EXPECT_EQ(t.ctx->DirtyFlags, 0u);
    EXPECT_EQ(t.Swap(1, 1), 0u);
    EXPECT_EQ(first->Surface, &b.local);
}

TEST(TextureRecords, SwapMarksTheTextureInForce) {
    for (uint32_t handle : {0u, 1u, 2u, 3u}) {
        Textures t;
        for (int i = 0; i != 3; ++i) {
            t.Create(t.Surface(8, 8, 0));
        }
        t.ctx->TextureHandle = handle;
        EXPECT_EQ(t.Swap(1, 2), 0u);
        EXPECT_EQ(t.ctx->DirtyFlags, handle == 1 || handle == 2 ? 8u : 0u);
    }
}

TEST(TextureRecords, SwapRefusesBadOrLostTextures) {
    Textures t;
    RigSurface& lost = t.Surface(8, 8, 0);
    t.Create(t.Surface(8, 8, 0));
    t.Create(lost);
    lost.local.dwFlags = DDRAWISURF_INVALID;
    TextureRecord* spoilt = t.Create(t.Surface(8, 8, 0));
    spoilt->Magic = 0xD3D10000;
    for (uint32_t bad : {0u, 2u, 3u, 4u}) {
        EXPECT_EQ(t.Swap(1, bad), 0x80070057u);
        EXPECT_EQ(t.Swap(bad, 1), 0x80070057u);
    }
    EXPECT_EQ(t.Swap(1, 1, 9), 0x200u);
    t.ctx->Magic = 0;
    EXPECT_EQ(t.Swap(1, 1), 0x200u);
}

TEST(TextureRecords, GetSurfGivesTheSurface) {
    Textures t;
    RigSurface& surface = t.Surface(8, 8, 0);
    TextureRecord* record = t.Create(surface);
    D3DHAL_TEXTUREGETSURFDATA data{3, 0xEE, 1, 0xBAD};
    t.ctx->Magic = 0; // not looked at
    EXPECT_EQ(TextureGetSurf(&data), 1u);
    EXPECT_EQ(data.ddrval, 0u);
    EXPECT_EQ(data.lpDDS, reinterpret_cast<ULONG_PTR>(&surface.local));
    const auto refused = [](uint32_t slot, uint32_t handle) {
        D3DHAL_TEXTUREGETSURFDATA bad{slot, 0xEE, handle, 0xBAD};
        EXPECT_EQ(TextureGetSurf(&bad), 1u);
        return bad.ddrval == 0x200 && bad.lpDDS == 0xEE;
    };
    EXPECT_TRUE(refused(3, 2));
    EXPECT_TRUE(refused(9, 1));
    surface.local.dwFlags = DDRAWISURF_INVALID;
    EXPECT_TRUE(refused(3, 1));
    surface.local.dwFlags = 0;
    record->Magic = 0xD3D10000;
    EXPECT_TRUE(refused(3, 1));
}

} // namespace
} // namespace test
