// A handle outside 1 to 199 has no record, whatever lies in memory behind the table of slots.
#include "driver/blit/pmblit32.h"
#include "driver/d3d/dcontext_target.h"
#include "driver/d3d/direct3d.h"
#include "driver/d3d/execute.h"
#include "driver/services/services.h"
#include "driver/texture/textures.h"
#include "tests/driver/d3d/state_support.h"

#include <algorithm>
#include <iterator>

namespace test {
namespace {

class FarHandle : public testing::Test {
  protected:
    FarHandle() : c({"Permedia2", DevicePermedia2, true}) {
        lies_ = c.ctx;
        // The index at which the table would reach the lie.
        const auto distance =
            reinterpret_cast<uintptr_t>(&lies_) - reinterpret_cast<uintptr_t>(ContextSlots);
        handles = {
            static_cast<uint32_t>(distance / 4), 0, 200, 201, 0x10001, 0x40000001, 0xFFFFFFFF};
        ContextSlots[0] = c.ctx;
        ContextSlots[1] = c.ctx;
        InitTextureHashTable(c.ctx);
        surface =
            &c.rig.MakeSurface(64, 64, DDSCAPS_TEXTURE | DDSCAPS_VIDEOMEMORY, PixelSize16, 0x40000);
        D3DHAL_TEXTURECREATEDATA data{};
        data.dwhContext = 1;
        data.lpDDS = &surface->interface;
        TextureCreate(&data);
        EXPECT_EQ(data.ddrval, 0u);
        texture = data.dwHandle;
        c.rig.bus->Clear();
        ContextSlots[1] = nullptr;
        std::memcpy(static_cast<void*>(&before), c.ctx, sizeof(before));
    }
    ~FarHandle() override {
        EXPECT_EQ(std::memcmp(&before, c.ctx, sizeof(before)), 0);
        EXPECT_TRUE(c.rig.bus->events.empty());
        EXPECT_NE(TextureHandleToPtr(texture, c.ctx), nullptr);
        ContextSlots[1] = c.ctx;
        D3DHAL_TEXTUREDESTROYDATA data{.dwhContext = 1, .dwHandle = texture, .ddrval = 0};
        TextureDestroy(&data);
    }
    // A call with each of the handles is refused.
    template <class Data>
    void ExpectRefused(DWORD(KORV_STDCALL* callback)(Data*), Data data) {
        for (const uint32_t handle : handles) {
            data.dwhContext = handle;
            data.ddrval = 77;
            EXPECT_EQ(callback(&data), DWORD{DDHAL_DRIVER_HANDLED});
            EXPECT_EQ(data.ddrval, D3DHAL_CONTEXT_BAD) << handle;
        }
    }

    WatchedContext c;
    std::vector<uint32_t> handles;
    RigSurface* surface;
    uint32_t texture;
    D3DContext before;

  private:
    D3DContext* lies_;
};

TEST_F(FarHandle, DrawsNothingAndSetsNoState) {
    D3DHAL_RENDERPRIMITIVEDATA draw{};
    draw.diInstruction = {D3DOP_TRIANGLE, 8, 1};
    ExpectRefused(RenderPrimitive, draw);
    ExpectRefused(RenderState32, D3DHAL_RENDERSTATEDATA{});
    D3DHAL_SCENECAPTUREDATA scene{};
    scene.dwFlag = D3DHAL_SCENE_CAPTURE_START;
    ExpectRefused(SceneCapture, scene);
}

TEST_F(FarHandle, AimsAtNoTarget) {
    RigSurface& target = c.rig.MakeSurface(64, 64, DDSCAPS_3DDEVICE, PixelSize16, 0x60000);
    D3DHAL_SETRENDERTARGETDATA data{};
    data.lpDDS = &target.interface;
    ExpectRefused(SetRenderTarget32, data);
}

TEST_F(FarHandle, ClearsNothing) {
    D3DRECT area{};
    D3DHAL_CLEARDATA data{};
    data.dwFlags = D3DCLEAR_TARGET;
    data.dwNumRects = 1;
    data.lpRects = &area;
    for (const uint32_t handle : handles) {
        data.dwhContext = handle;
        data.ddrval = 77;
        Clear32(&data);
        EXPECT_EQ(data.ddrval, 0u);
    }
}

TEST_F(FarHandle, HasNoTextures) {
    D3DHAL_TEXTURECREATEDATA create{};
    create.lpDDS = &surface->interface;
    ExpectRefused(TextureCreate, create);
    ExpectRefused(TextureDestroy, {.dwhContext = 0, .dwHandle = texture, .ddrval = 0});
    D3DHAL_TEXTURESWAPDATA swap{};
    swap.dwHandle1 = swap.dwHandle2 = texture;
    ExpectRefused(TextureSwap, swap);
    D3DHAL_TEXTUREGETSURFDATA get{};
    get.dwHandle = texture;
    ExpectRefused(TextureGetSurf, get);
}

TEST_F(FarHandle, EndsNoContext) {
    ExpectRefused(DeleteDirect3DContext, D3DHAL_CONTEXTDESTROYDATA{});
    ExpectRefused(RemoveDirect3DContext, D3DHAL_CONTEXTDESTROYDATA{});
}

TEST_F(FarHandle, HasNoStatesToRead) {
    for (const uint32_t handle : handles) {
        ServiceRequest request{};
        request.CountOrHandle = handle;
        uint32_t states[128];
        std::fill(std::begin(states), std::end(states), 0xEEEEEEEE);
        EXPECT_EQ(GetD3DContextState(c.rig.driver, states, handle, 0), 0u);
        EXPECT_EQ(
            KORV_Service(ServiceD3DContextState, reinterpret_cast<uint32_t*>(&request), states),
            -1);
        EXPECT_EQ(std::count(std::begin(states), std::end(states), 0xEEEEEEEE), 128) << handle;
    }
}

TEST_F(FarHandle, IsNotListedAmongTheLiveOnes) {
    for (const uint32_t handle : handles) {
        D3DContextNode node{handle, nullptr};
        lpD3DContextList = &node;
        ServiceRequest request{};
        request.CountOrHandle = 1;
        D3DContextEntry entry{0xEEEEEEEE, 0xEEEEEEEE};
        KORV_Service(ServiceD3DContexts, reinterpret_cast<uint32_t*>(&request),
                     reinterpret_cast<uint32_t*>(&entry));
        EXPECT_EQ(entry.Handle, 0xEEEEEEEE) << handle;
        lpD3DContextList = nullptr;
    }
}

} // namespace
} // namespace test
