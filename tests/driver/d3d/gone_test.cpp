// Nothing is read of a record that has been given back.
#include "driver/core/korv32_flip.h"
#include "driver/services/context.h"
#include "driver/texture/textures.h"
#include "driver/texture/textures_bind.h"
#include "tests/driver/d3d/context_support.h"
#include "tests/driver/d3d/state_support.h"
#include "tests/support/guarded_pages.h"

namespace test {
namespace {

constexpr size_t kContextPages = (sizeof(D3DContext) + 4095) / 4096;

DDHAL_LOCKDATA LockOf(Rig& rig, RigSurface& surface) {
    DDHAL_LOCKDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurface = &surface.local;
    data.dwFlags = DDLOCK_WAIT;
    return data;
}

TEST(GoneOwner, CountsAsNoneInALock) {
    Rig rig({.deviceId = DeviceTX});
    rig.Ready();
    RigSurface& surface = rig.MakeSurface(64, 64, DDSCAPS_3DDEVICE, PixelSize16, 0x20000);
    GuardedPages pages(kContextPages);
    pages.Close();
    surface.priv.OwnerContext = pages.First<D3DContext>(1);
    DDHAL_LOCKDATA data = LockOf(rig, surface);
    EXPECT_EQ(Lock32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_TRUE(rig.bus->transfers.empty());
    EXPECT_EQ(data.lpSurfData, reinterpret_cast<void*>(surface.Global().fpVidMem));
}

// A client that still switches to the number of an ended context, and away from it.
TEST(GoneOwner, IsNotFlushedByAChangeOfContext) {
    for (const bool byProcess : {false, true}) {
        Rig rig({.deviceId = DeviceTX});
        rig.Ready();
        RigSurface& target = rig.MakeSurface(64, 64, DDSCAPS_3DDEVICE, PixelSize16, 0x20000);
        D3DHAL_CONTEXTCREATEDATA create{};
        create.lpDDGbl = &rig.directDraw;
        create.lpDDS = &target.interface;
        create.dwPID = 5;
        CreateDirect3DContext(&create);
        ASSERT_EQ(create.ddrval, 0u);
        const D3DContext* ctx = ContextSlots[create.dwhContext];
        const uint32_t id = ctx->Stream.HardwareContext;
        uint32_t& owner = rig.chip->ContextBlocks->Owner[id];
        EXPECT_EQ(owner, reinterpret_cast<uint32_t>(ctx));
        if (byProcess) {
            D3DHAL_CONTEXTDESTROYALLDATA destroy{};
            destroy.dwPID = 5;
            DeleteBadProcess(&destroy);
        } else {
            D3DHAL_CONTEXTDESTROYDATA destroy{};
            destroy.dwhContext = create.dwhContext;
            DeleteDirect3DContext(&destroy);
        }
        EXPECT_EQ(owner, reinterpret_cast<uint32_t>(ctx)); // stays as it was
        // Where reading it would end the program.
        GuardedPages pages(kContextPages);
        pages.Close();
        owner = reinterpret_cast<uint32_t>(pages.First<D3DContext>(1));
        ChangeContext(rig.driver, rig.chip, id);
        rig.bus->Clear();
        ChangeContext(rig.driver, rig.chip, kContext2D);
        EXPECT_TRUE(rig.bus->transfers.empty());
    }
}

class GoneTexture : public testing::TestWithParam<StateChip> {
  protected:
    GoneTexture() : c(GetParam()) {
        ContextSlots[3] = c.ctx;
        c.ctx->ContextHandle = 3;
        top = &c.rig.MakeSurface(16, 16, kMipCaps, PixelSize16, 0x40000);
        next = &c.rig.MakeSurface(8, 8, kMipCaps, PixelSize16, 0x48000);
        link.lpAttached = &next->local;
        top->local.lpAttachList = &link;
        D3DHAL_TEXTURECREATEDATA data{};
        data.dwhContext = 3;
        data.lpDDS = &top->interface;
        TextureCreate(&data);
        EXPECT_EQ(data.ddrval, 0u);
        handle = data.dwHandle;
        c.ctx->TextureHandle = handle;
        c.ctx->TextureValid = 1;
        c.ctx->DirtyFlags = DIRTY_TEXTURE | DIRTY_RENDERERS;
        c.ctx->RenderFlags = RF_GOURAUD | RF_ZENABLE | RF_PERSPECTIVE;
        Flush();
    }
    void Flush() {
        c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
        c.ctx->DirtyFlags = 0;
        c.Take();
    }
    void Destroy() {
        D3DHAL_TEXTUREDESTROYDATA data{.dwhContext = 3, .dwHandle = handle, .ddrval = 77};
        TextureDestroy(&data);
        EXPECT_EQ(data.ddrval, 0u);
    }

    static constexpr uint32_t kMipCaps = DDSCAPS_TEXTURE | DDSCAPS_VIDEOMEMORY | DDSCAPS_MIPMAP;
    WatchedContext c;
    RigSurface *top, *next;
    ATTACHLIST link{};
    uint32_t handle;
};

TEST_P(GoneTexture, IsNoLongerReadByTheNextPrimitive) {
    ASSERT_NE(c.ctx->CurrentTexture, nullptr);
    Destroy();
    EXPECT_EQ(c.ctx->CurrentTexture, nullptr);
    Flush();
    EXPECT_EQ(c.ctx->TextureValid, 1u);
    // The chip goes on with the texture it has, at one level.
    EXPECT_NE(c.ctx->RenderFlags & RF_TEXTURE, 0u);
    EXPECT_EQ(c.ctx->RenderFlags & RF_MIPMAP, 0u);
    D3DTLVERTEX v[3] = {};
    v[1].sx = v[2].sy = 10.0f;
    for (D3DTLVERTEX& vertex : v) {
        vertex.rhw = 1.0f;
    }
    D3DTRIANGLE record{};
    record.v2 = 1;
    record.v3 = 2;
    D3DINSTRUCTION ins{D3DOP_TRIANGLE, sizeof(record), 1};
    c.ctx->TriangleRenderer(c.ctx, &ins, v, &record);
    for (const uint32_t word : c.Take()) {
        EXPECT_NE(word, 0x0B0u); // TextureBaseAddress
    }
}

TEST_P(GoneTexture, ThatIsNotInForceChangesNothing) {
    TextureRecord other{};
    c.ctx->CurrentTexture = &other;
    const uint32_t flags = c.ctx->RenderFlags;
    c.ctx->TextureHandle = 0;
    Destroy();
    EXPECT_EQ(c.ctx->CurrentTexture, &other);
    EXPECT_EQ(c.ctx->RenderFlags, flags);
    EXPECT_EQ(c.ctx->DirtyFlags, 0u);
}

INSTANTIATE_TEST_SUITE_P(Chips, GoneTexture,
                         testing::Values(StateChip{"PermediaDelta", DevicePermedia, true},
                                         StateChip{"Permedia2", DevicePermedia2, true}),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
} // namespace test
