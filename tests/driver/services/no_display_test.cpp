// Exported entries called before any display is up.
#include "driver/core/driverdata.h"
#include "driver/services/OpenGL.h"
#include "driver/services/services.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

namespace {

class NoDisplay : public testing::Test {
  protected:
    NoDisplay() { pDriverData = nullptr; }

    test::Rig rig;
};

TEST_F(NoDisplay, NoVideoMemoryIsToBeHad) {
    for (const uint32_t flags : {0u, uint32_t{WholeFrameBuffer}}) {
        HeapRequest request{};
        request.Size = sizeof(request);
        request.Flags = flags;
        request.Alignment = 4;
        request.Bytes = 64;
        request.Address = 77;
        EXPECT_EQ(KORV_AllocateVideoMemory(nullptr, &request), -1);
        EXPECT_EQ(request.Address, 77u);
    }
    EXPECT_EQ(KORV_FreeVideoMemory(nullptr, 0x1000), 0);
}

TEST_F(NoDisplay, ACopyDoesNothing) {
    RECTL area{0, 0, 10, 10};
    EXPECT_EQ(KORV_CopyBlt(nullptr, &area, 0, 0), 0);
    EXPECT_TRUE(rig.bus == nullptr || rig.bus->events.empty());
}

TEST_F(NoDisplay, ThereIsNothingToAsk) {
    uint32_t request[8] = {};
    uint32_t buffer[8] = {};
    EXPECT_EQ(KORV_Initialize(nullptr), -1);
    EXPECT_EQ(KORV_Service(ServiceContextNum, request, buffer), -1);
}

TEST_F(NoDisplay, ADebuggerIsTurnedAway) {
    uint32_t request[8] = {};
    EXPECT_EQ(KORV_DebugHelp(request), -1);
}

} // namespace
