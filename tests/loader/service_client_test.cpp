// A client of the exported services on KORV32.dll: what it draws and what the board is told are the
// same as with the linked driver.
#include "host/client/client_drawing.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/driver_module.h"
#include "tests/loader/machine.h"
#include "tests/support_host/configs.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace test;

constexpr uint32_t kClientWidth = 128, kClientHeight = 96;

D3DTLVERTEX Corner(float x, float y, uint32_t colour) {
    return {x, y, 0.5f, 1, colour, 0xFF000000, 0, 0};
}

// Three rounds of a client and a Direct3D device, batch by batch, and a strip that the client
// paints by hand and has copied.
Outcome Both(Driver driver, uint32_t deviceId, bool fifo) {
    host::DisplayConfig config = ConfigFor(deviceId);
    config.width = kClientWidth;
    config.height = kClientHeight;
    config.registry = {{"Direct3DHAL.NoDMA", fifo ? "1" : "0"}, {"OpenGL.NumberOfSubBuffers", "3"}};
    RecordedDisplay machine(driver, config);
    std::vector<uint8_t> picture;
    {
        host::DirectDraw& directDraw = machine.DirectDraw();
        host::Surface& screen = directDraw.CreatePrimary();
        host::Device3D device(directDraw, screen);
        host::ServiceClient client(nullptr, {.fifo = fifo});
        host::ClientDrawing drawing(client, host::TargetOf(client, screen));
        device.SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
        drawing.State();
        drawing.Rectangle({0, 0, kClientWidth, kClientHeight}, 0x102040);
        for (int round = 0; round < 3; ++round) {
            const auto x = static_cast<float>(40 * round);
            drawing.Triangle({x, 5, 0xFF0000}, {x + 35, 20, 0x00FF00}, {x + 3, 40, 0x0000FF});
            EXPECT_EQ(client.Send(), host::LockAnswer::Taken);
            device.BeginScene();
            device.Triangle(Corner(x, 50, 0xFFFF8000), Corner(x + 30, 55, 0xFF0080FF),
                            Corner(x + 10, 80, 0xFF80FF00));
            device.EndScene();
        }
        host::ClientTarget strip = drawing.Target();
        const auto memory = client.Allocate(strip.pitch * 2 * 4, true);
        EXPECT_TRUE(memory);
        strip.offset = *memory;
        EXPECT_EQ(client.Lock(), host::LockAnswer::Taken);
        for (uint32_t x = 0; x < kClientWidth; ++x) {
            host::WritePixel(client, strip, x, 2, x << 17);
        }
        client.Unlock();
        EXPECT_EQ(client.Finish(), host::LockAnswer::Taken);
        client.Copy({0, 2, kClientWidth, 3}, 88 * strip.pitch, strip.offset / 2);
        client.Free(*memory);
        device.Finish();
        machine.Display().Board().Drain();
        picture.assign(screen.Bytes(), screen.Bytes() + kClientWidth * 2 * kClientHeight);
    }
    Outcome outcome = machine.Finish();
    outcome.picture = std::move(picture);
    return outcome;
}

class ServiceClientByDll : public testing::TestWithParam<uint32_t> {
  protected:
    ~ServiceClientByDll() override { host::UseLinkedDriver(); }
};

INSTANTIATE_TEST_SUITE_P(Devices, ServiceClientByDll, testing::ValuesIn(kAllDevices));

TEST_P(ServiceClientByDll, DrawsByTheSameAccesses) {
    for (const bool fifo : {false, true}) {
        const Outcome library = Both(Driver::Library, GetParam(), fifo);
        const Outcome dll = Both(Driver::Dll, GetParam(), fifo);
        EXPECT_EQ(Difference(library.events, dll.events), "");
        EXPECT_TRUE(library.picture == dll.picture);
        EXPECT_EQ(library.faults, "");
        EXPECT_EQ(dll.faults, "");
        const size_t strip = 90 * kClientWidth * 2; // line 2 of it, 88 lines down
        EXPECT_EQ(dll.picture[strip + 2 * 100 + 1], 100 / 4 << 2);
        EXPECT_TRUE(std::any_of(dll.events.begin(), dll.events.end(), [&](const BusEvent& event) {
            return event.kind == (fifo ? 'f' : 'd');
        }));
    }
}

} // namespace
