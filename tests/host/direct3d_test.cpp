#include "driver/d3d/dcontext.h"
#include "host/d3d/direct3d.h"
#include "host/display/machine.h"
#include "host/inspect/unwaited.h"
#include "host/picture.h"
#include "host/vdd/minivdd.h"
#include "tests/support_host/configs.h"

#include <gtest/gtest.h>

#include <memory>

// A suite of win32_test.cpp has the same name.
namespace direct3d {
namespace {

using host::Device3D;
using host::DirectDraw;
using host::Display;
using host::DisplayConfig;
using host::Surface;
using test::ScreenVertex;

struct Variant {
    const char* name;
    uint32_t deviceId;
    bool dma;
};

class DeviceTest : public ::testing::TestWithParam<Variant> {
  protected:
    DeviceTest() {
        host::PowerCycle();
        DisplayConfig config;
        config.deviceId = GetParam().deviceId;
        config.registry = {{"Direct3DHAL.NoDMA", GetParam().dma ? "0" : "1"}};
        display = std::make_unique<Display>(config);
        if (!display->Start()) {
            throw std::runtime_error("the driver did not start");
        }
        directDraw = std::make_unique<DirectDraw>(*display);
        target = &directDraw->CreateTarget(64, 64);
        zBuffer = &directDraw->CreateZBuffer(64, 64);
        device = std::make_unique<Device3D>(*directDraw, *target, zBuffer, 77);
    }

    void Clear() {
        for (uint32_t y = 0; y < 64; ++y) {
            for (uint32_t x = 0; x < 64; ++x) {
                target->SetPixel(x, y, 0);
            }
        }
    }

    std::unique_ptr<Display> display;
    std::unique_ptr<DirectDraw> directDraw;
    Surface *target = nullptr, *zBuffer = nullptr;
    std::unique_ptr<Device3D> device;
};

TEST_P(DeviceTest, ADeviceIsAContextOfTheDriver) {
    const D3DContext* ctx = device->Context();
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->Magic, kContextMagic);
    EXPECT_EQ(ctx->ContextHandle, device->Handle());
    EXPECT_EQ(ctx->ProcessId, 77u);
    EXPECT_EQ(ctx->RenderTargetSurface, target->Local());
    EXPECT_EQ(ctx->ZBufferSurface, zBuffer->Local());
    EXPECT_EQ(ctx->Stream.CommandMode, GetParam().dma ? kCommandModeDMA : kCommandModeFIFO);
}

TEST_P(DeviceTest, ATargetWithoutARecordIsRefused) {
    Surface& system = directDraw->CreateSystem(64, 64);
    try {
        Device3D refused(*directDraw, system);
        FAIL() << "no error";
    } catch (const host::ResultError& error) {
        EXPECT_EQ(host::ResultName(error.Result()), "D3DHAL_OUTOFCONTEXTS");
    }
}

TEST_P(DeviceTest, StatesAreBatchedUntilTheyAreNeeded) {
    const uint32_t before = device->Context()->CullMode;
    ASSERT_NE(before, D3DCULL_CW);
    device->SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_CW);
    EXPECT_EQ(device->Context()->CullMode, before);
    EXPECT_EQ(device->FlushStates(), DD_OK);
    EXPECT_EQ(device->Context()->CullMode, D3DCULL_CW);
}

TEST_P(DeviceTest, AnExecuteBufferIsWalkedInOrder) {
    const host::RenderState first[] = {{D3DRENDERSTATE_CULLMODE, D3DCULL_NONE}};
    const host::RenderState second[] = {{D3DRENDERSTATE_CULLMODE, D3DCULL_CW}};
    host::ExecuteBuffer buffer;
    buffer.States(first).Exit().States(second);
    EXPECT_EQ(device->Execute(buffer, {}), DD_OK);
    EXPECT_EQ(device->Context()->CullMode, D3DCULL_NONE) << "nothing counts behind the end";

    host::ExecuteBuffer unknown;
    unknown.Instruction(D3DOP_MATRIXLOAD, 8, 0, {});
    EXPECT_EQ(device->Execute(unknown, {}), DDERR_UNSUPPORTED);
    host::ExecuteBuffer cut;
    cut.Instruction(D3DOP_TRIANGLE, 8, 2, {});
    EXPECT_EQ(device->Execute(cut, {}), DDERR_INVALIDPARAMS);
}

TEST_P(DeviceTest, RecordsOfVerticesThatAreNotThereAreRefused) {
    const D3DTLVERTEX vertices[3] = {};
    const uint16_t corners[] = {0, 1, 2, 0x700, 0, 1, 3, 0x700};
    const auto* const records = reinterpret_cast<const uint8_t*>(corners);
    host::ExecuteBuffer good, far, odd;
    good.Instruction(D3DOP_TRIANGLE, 8, 1, {records, 8});
    far.Instruction(D3DOP_TRIANGLE, 8, 2, {records, 16});
    odd.Instruction(D3DOP_TRIANGLE, 4, 2, {records, 8});
    EXPECT_EQ(device->Execute(good, vertices), DD_OK);
    EXPECT_EQ(device->Execute(good, std::span(vertices).first(2)), DDERR_INVALIDPARAMS);
    EXPECT_EQ(device->Execute(far, vertices), DDERR_INVALIDPARAMS);
    EXPECT_EQ(device->Execute(odd, vertices), DDERR_INVALIDPARAMS);
}

TEST_P(DeviceTest, ADeadContextIsTold) {
    EXPECT_EQ(device->Destroy(), DD_OK);
    EXPECT_EQ(device->Context(), nullptr);
    EXPECT_EQ(host::ResultName(device->BeginScene()), "D3DHAL_CONTEXT_BAD");
    EXPECT_EQ(host::ResultName(device->Destroy()), "D3DHAL_CONTEXT_BAD");
}

TEST_P(DeviceTest, AProcessThatDiesTakesItsContextsWithIt) {
    const size_t blocks = host::TheMiniVdd().LiveBlocks();
    EXPECT_EQ(Device3D::DestroyAll(*directDraw, 76), DD_OK);
    EXPECT_EQ(host::TheMiniVdd().LiveBlocks(), blocks);
    EXPECT_EQ(Device3D::DestroyAll(*directDraw, 77), DD_OK);
    EXPECT_EQ(host::TheMiniVdd().LiveBlocks(), blocks - 1);
    EXPECT_EQ(device->Context(), nullptr);
}

TEST_P(DeviceTest, ATriangleIsThereWhenTheDeviceHasFinished) {
    Clear();
    device->SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
    device->SetState(D3DRENDERSTATE_ZENABLE, 0u);
    device->SetState(D3DRENDERSTATE_SHADEMODE, D3DSHADE_GOURAUD);
    ASSERT_EQ(device->BeginScene(), DD_OK);
    ASSERT_EQ(device->Triangle(ScreenVertex(8, 8, 0.5f, 0xFF0000FF),
                               ScreenVertex(56, 8, 0.5f, 0xFF0000FF),
                               ScreenVertex(8, 56, 0.5f, 0xFF0000FF)),
              DD_OK);
    device->Finish();
    const host::Picture picture = host::ReadPicture(*target);
    EXPECT_EQ(picture.At(16, 16), (std::array<uint8_t, 4>{0, 0, 255, 255}));
    EXPECT_EQ(picture.At(50, 50), (std::array<uint8_t, 4>{0, 0, 0, 255}));
    EXPECT_EQ(picture.At(4, 4), (std::array<uint8_t, 4>{0, 0, 0, 255}));
    const board::Faults faults = host::UnexpectedFaults(display->Board());
    EXPECT_FALSE(faults.Any()) << faults.Describe();
}

INSTANTIATE_TEST_SUITE_P(Chips, DeviceTest,
                         ::testing::Values(Variant{"SX", DeviceSX, true},
                                           Variant{"TX", DeviceTX, true},
                                           Variant{"TXFifo", DeviceTX, false},
                                           Variant{"Permedia", DevicePermedia, true},
                                           Variant{"PermediaFifo", DevicePermedia, false}),
                         [](const auto& info) { return info.param.name; });

} // namespace
} // namespace direct3d
