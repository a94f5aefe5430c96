// Driver, mini VDD and board together: whatever the board's pace and whichever thread the handler
// runs on, the picture is the same and nothing gets lost.
#include "driver/services/context.h"
#include "host/d3d/direct3d.h"
#include "host/picture.h"
#include "host/vdd/minivdd.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/started_display.h"
#include "tests/support_host/surfaces.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using host::Device3D;
using host::DirectDraw;
using host::DisplayConfig;
using host::Surface;
using test::ScreenVertex;

constexpr uint32_t kSize = 64;

std::vector<D3DTLVERTEX> RandomTriangles(uint32_t seed, size_t count) {
    std::mt19937 random(seed);
    std::vector<D3DTLVERTEX> vertices;
    for (size_t i = 0; i < 3 * count; ++i) {
        const auto x = static_cast<float>(random() % kSize);
        const auto y = static_cast<float>(random() % kSize);
        const auto z = static_cast<float>(random() % 1000) / 1000.0f;
        vertices.push_back(ScreenVertex(x, y, z, 0xFF000000 | (random() & 0xFFFFFF)));
    }
    return vertices;
}

struct Outcome {
    std::vector<uint8_t> first, second; // pictures of two devices
    uint32_t queued = 0;                // transfers that the handler started
    std::string faults;
};

// Two devices with different states draw in turns, triangle by triangle.
Outcome Draw(const DisplayConfig& config) {
    test::StartedDisplay machine(config);
    DirectDraw& directDraw = machine.directDraw;
    Outcome run;
    {
        Surface& first = directDraw.CreateTarget(kSize, kSize);
        Surface& second = directDraw.CreateTarget(kSize, kSize);
        Surface& depth = directDraw.CreateZBuffer(kSize, kSize);
        test::Fill(first, 0);
        test::Fill(second, 0);
        test::Fill(depth, 0xFFFFFFFF);
        Device3D one(directDraw, first, &depth);
        Device3D other(directDraw, second);
        one.SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
        one.SetState(D3DRENDERSTATE_ZENABLE, 1u);
        one.SetState(D3DRENDERSTATE_ZWRITEENABLE, 1u);
        other.SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_CCW);
        other.SetState(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT);
        const std::vector<D3DTLVERTEX> vertices = RandomTriangles(config.deviceId, 300);
        host::Check("scene", one.BeginScene());
        host::Check("scene", other.BeginScene());
        const std::span<const D3DTLVERTEX> all(vertices);
        for (size_t i = 0; i < all.size(); i += 30) {
            host::Check("first", one.TriangleList(all.subspan(i, 30)));
            host::Check("second", other.TriangleList(all.subspan(i, 15)));
        }
        // A long run without a change of context fills the queue.
        for (int i = 0; i < 5; ++i) {
            host::Check("first", one.TriangleList(all));
        }
        one.Finish();
        other.Finish();
        run.first = host::ReadPicture(first).rgba;
        run.second = host::ReadPicture(second).rgba;
    }
    run.queued = host::TheMiniVdd().QueueCounters(machine.display.Driver()).transfers;
    run.faults = machine.Faults();
    return run;
}

class PaceTest : public ::testing::TestWithParam<uint32_t> {
  protected:
    // The same drawing through the FIFO on a board that is always ready.
    PaceTest() {
        DisplayConfig config = test::ConfigFor(GetParam());
        config.registry = {{"Direct3DHAL.NoDMA", "1"}};
        plain = Draw(config);
        EXPECT_EQ(plain.queued, 0u);
        EXPECT_EQ(plain.faults, "");
    }
    void ExpectSame(const Outcome& run) {
        EXPECT_EQ(run.faults, "");
        EXPECT_TRUE(run.first == plain.first) << "first device";
        EXPECT_TRUE(run.second == plain.second) << "second device";
    }
    Outcome plain;
};

TEST_P(PaceTest, SomethingIsDrawnAndTheDevicesDiffer) {
    EXPECT_FALSE(plain.first == plain.second);
    EXPECT_NE(std::count(plain.first.begin(), plain.first.end(), 0),
              static_cast<ptrdiff_t>(plain.first.size()) * 3 / 4);
}

TEST_P(PaceTest, TheQueueGivesTheSamePicture) {
    const Outcome run = Draw(test::ConfigFor(GetParam()));
    ExpectSame(run);
    EXPECT_GT(run.queued, 20u);
}

TEST_P(PaceTest, TwoSubBuffersGiveTheSamePictureWithoutTheQueue) {
    DisplayConfig config = test::ConfigFor(GetParam());
    config.chipFlags = TwoSubBuffers;
    const Outcome run = Draw(config);
    ExpectSame(run);
    EXPECT_EQ(run.queued, 0u);
}

TEST_P(PaceTest, ASlowBoardGivesTheSamePicture) {
    DisplayConfig config = test::ConfigFor(GetParam());
    config.timing.fifoDepth = 32;
    config.timing.fifoDrainPerTick = 1;
    config.timing.dmaWordsPerTick = 2;
    config.timing.interruptLatency = 5;
    const Outcome run = Draw(config);
    ExpectSame(run);
    EXPECT_GT(run.queued, 20u);
}

TEST_P(PaceTest, ASlowBoardWithoutDmaGivesTheSamePicture) {
    DisplayConfig config = test::ConfigFor(GetParam());
    config.registry = {{"Direct3DHAL.NoDMA", "1"}};
    config.timing.fifoDepth = 32;
    config.timing.fifoDrainPerTick = 1;
    ExpectSame(Draw(config));
}

TEST_P(PaceTest, TheEngineOnItsOwnThreadGivesTheSamePicture) {
    DisplayConfig config = test::ConfigFor(GetParam());
    config.dmaThread = true;
    for (int i = 0; i < 3; ++i) {
        const Outcome run = Draw(config);
        ExpectSame(run);
        EXPECT_GT(run.queued, 20u);
    }
}

INSTANTIATE_TEST_SUITE_P(Chips, PaceTest, ::testing::Values(DeviceSX, DeviceTX, DevicePermedia));

} // namespace
