// Locks while the chip still draws: transfers that run, words that wait in a sub-buffer, contexts
// that hold the chip, flips that are not over. What a lock hands out is held against the picture of
// a board that is always ready.
#include "driver/d3d/dcontext.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/display/machine.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/surfaces.h"
#include "tests/system/stage.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace test;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t kTargetWidth = 96, kTargetHeight = 64; // of the targets
constexpr uint64_t kFrame = 17000; // microseconds, a little more than a frame

host::DisplayConfig LockConfig(const TestBoard& board, const Carrier& carrier,
                               const board::Timing& timing) {
    host::DisplayConfig config = ConfigOf(board, carrier, timing);
    config.width = 320;
    config.height = 200;
    config.timing.microsecondsPerTick = 0; // the beam moves only when the test says so
    return config;
}

// The surface's own pixels: between its lines others may lie.
Bytes MemoryOf(host::Surface& surface) {
    Bytes bytes;
    for (uint32_t y = 0; y < surface.Height(); ++y) {
        const uint8_t* row = surface.Row(y);
        bytes.insert(bytes.end(), row, row + surface.Width() * surface.Bits() / 8);
    }
    return bytes;
}

// A target with a device, and triangles for it that never end.
class Drawing {
  public:
    Drawing(host::DirectDraw& directDraw, uint32_t seed)
        : target(directDraw.CreateTarget(kTargetWidth, kTargetHeight)), random_(seed) {
        Fill(target, 0);
        device = std::make_unique<host::Device3D>(directDraw, target);
        device->SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
        device->BeginScene();
    }
    void Draw(int triangles = 1) {
        for (; triangles != 0; --triangles) {
            D3DTLVERTEX v[3]{};
            for (D3DTLVERTEX& corner : v) {
                corner.sx = static_cast<float>(random_() % (kTargetWidth * 8)) / 8;
                corner.sy = static_cast<float>(random_() % (kTargetHeight * 8)) / 8;
                corner.sz = 0.5f;
                corner.rhw = 1;
                corner.color = static_cast<uint32_t>(random_()) | 0xFF000000;
            }
            EXPECT_EQ(device->Triangle(v[0], v[1], v[2]), DD_OK);
        }
    }
    // Words that wait in the sub-buffer.
    uint32_t Pending() { return device->Context()->Stream.WordsWritten(); }

    host::Surface& target;
    std::unique_ptr<host::Device3D> device;

  private:
    std::mt19937 random_;
};

class LockMachine : public StartedDisplay {
  public:
    explicit LockMachine(const TestBoard& board, const Carrier& carrier = {},
                         const board::Timing& timing = {})
        : StartedDisplay(LockConfig(board, carrier, timing)),
          elsewhere(directDraw.CreateOffscreen(32, 32)), drawing(directDraw, 1) {
        display.Board().Advance(2 * kFrame); // past the first retrace
    }
    bool Busy() { return display.Board().Read(reg::DMACount) != 0; }
    // Draws until a transfer runs and words wait behind it; the triangles drawn.
    int DrawUntilBusy() {
        int triangles = 0;
        while (triangles < 500 && !(Busy() && drawing.Pending() > 40)) {
            drawing.Draw();
            ++triangles;
        }
        EXPECT_TRUE(Busy());
        return triangles;
    }
    HRESULT Lock(host::Surface& surface, uint32_t flags, void** bytes = nullptr) {
        const host::HalAnswer answer = directDraw.Lock(surface, bytes, nullptr, flags);
        EXPECT_TRUE(answer.handled);
        return answer.result;
    }
    void ExpectHealthy() { EXPECT_EQ(Faults(), ""); }

    host::Surface& elsewhere; // nobody draws there
    Drawing drawing;
};

// What a lock found on a board that is gone by now.
struct Found {
    int triangles;
    Bytes picture;
};

// The picture of the first triangles on a board that is always ready.
Bytes PictureOf(const TestBoard& board, int triangles) {
    LockMachine machine(board);
    machine.drawing.Draw(triangles);
    machine.drawing.device->Finish();
    return MemoryOf(machine.drawing.target);
}

struct SlowBoard {
    const char* name;
    Carrier carrier;
    board::Timing timing;
};

constexpr SlowBoard kSlowBoards[] = {
    {"two sub-buffers", {false, 2}, {.dmaWordsPerTick = 1}},
    {"a queue", {false, 8}, {.dmaWordsPerTick = 1}},
    {"a queue whose handler comes late",
     {false, 8},
     {.dmaWordsPerTick = 2, .interruptLatency = 40}},
    {"a slow pipeline", {false, 8}, {.fifoDepth = 16, .fifoDrainPerTick = 1, .dmaWordsPerTick = 2}},
};

class LockWhileDrawing : public testing::TestWithParam<TestBoard> {
  protected:
    // What `lock` found on each slow board is the picture of a board that is always ready.
    template <class Lock>
    static void OnSlowBoards(const Lock& lock) {
        for (const SlowBoard& slow : kSlowBoards) {
            SCOPED_TRACE(slow.name);
            const Found found = lock(slow);
            EXPECT_TRUE(found.picture == PictureOf(GetParam(), found.triangles));
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Chips, LockWhileDrawing, testing::ValuesIn(kTestBoards),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(LockWhileDrawing, WithoutTheWaitFlagAnswersStillDrawingUntilTheTransferIsOver) {
    OnSlowBoards([](const SlowBoard& slow) {
        LockMachine machine(GetParam(), slow.carrier, slow.timing);
        const int triangles = machine.DrawUntilBusy();
        const uint32_t pending = machine.drawing.Pending();
        void* bytes = &machine;
        // A transfer is nobody's: every surface is refused, and nothing is sent or waited for.
        EXPECT_EQ(machine.Lock(machine.drawing.target, 0, &bytes), kStillDrawing);
        EXPECT_EQ(machine.Lock(machine.elsewhere, 0, &bytes), kStillDrawing);
        EXPECT_EQ(machine.drawing.Pending(), pending);
        EXPECT_TRUE(machine.Busy());
        int refusals = 0;
        while (machine.Lock(machine.drawing.target, 0, &bytes) == kStillDrawing) {
            ++refusals;
        }
        EXPECT_GT(refusals, 0);
        EXPECT_EQ(bytes, machine.drawing.target.Bytes());
        return Found{triangles, MemoryOf(machine.drawing.target)};
    });
}

TEST_P(LockWhileDrawing, WithTheWaitFlagComesBackWithEveryPixelInMemory) {
    OnSlowBoards([](const SlowBoard& slow) {
        LockMachine machine(GetParam(), slow.carrier, slow.timing);
        const int triangles = machine.DrawUntilBusy();
        void* bytes = nullptr;
        EXPECT_EQ(machine.Lock(machine.drawing.target, DDLOCK_WAIT, &bytes), DD_OK);
        const Bytes picture = MemoryOf(machine.drawing.target);
        EXPECT_EQ(bytes, machine.drawing.target.Bytes());
        EXPECT_FALSE(machine.Busy());
        // The first Permedia's sub-buffers begin with six pairs of their own.
        EXPECT_EQ(machine.drawing.Pending(), GetParam().deviceId == DevicePermedia ? 12u : 0u);
        machine.ExpectHealthy();
        return Found{triangles, picture};
    });
}

TEST_P(LockWhileDrawing, OfAnotherSurfaceWaitsForTheTransferAndLeavesTheRestUnsent) {
    OnSlowBoards([](const SlowBoard& slow) {
        LockMachine machine(GetParam(), slow.carrier, slow.timing);
        const int triangles = machine.DrawUntilBusy();
        const uint32_t pending = machine.drawing.Pending();
        EXPECT_EQ(machine.Lock(machine.elsewhere, DDLOCK_WAIT), DD_OK);
        EXPECT_FALSE(machine.Busy());
        EXPECT_EQ(machine.drawing.Pending(), pending);
        const Bytes part = MemoryOf(machine.drawing.target);
        EXPECT_EQ(machine.Lock(machine.drawing.target, 0), DD_OK);
        const Bytes whole = MemoryOf(machine.drawing.target);
        machine.ExpectHealthy();
        EXPECT_FALSE(part == whole);
        return Found{triangles, whole};
    });
}

TEST_P(LockWhileDrawing, OnAThreadOfItsOwnDmaIsOverWhenTheLockComesBack) {
    const Bytes wanted = PictureOf(GetParam(), 150);
    for (const uint32_t subBuffers : {2u, 8u}) {
        LockMachine machine(GetParam(), {false, subBuffers, true});
        machine.drawing.Draw(150);
        EXPECT_EQ(machine.Lock(machine.drawing.target, DDLOCK_WAIT), DD_OK);
        EXPECT_TRUE(MemoryOf(machine.drawing.target) == wanted);
        machine.ExpectHealthy();
    }
}

// What each lock of a target finds when two devices draw in turns, amid fills and locks.
std::vector<Bytes> PicturesAtLocks(LockMachine& machine, Drawing& other) {
    std::mt19937 random(7);
    std::vector<Bytes> pictures;
    for (int i = 0; i < 120; ++i) {
        switch (random() % 6) {
        case 0:
            EXPECT_TRUE(machine.directDraw
                            .Patiently([&] {
                                return machine.directDraw.ColorFill(machine.elsewhere, {0, 0, 8, 8},
                                                                    0x1234);
                            })
                            .Done());
            break;
        case 1: {
            Drawing& locked = random() % 2 != 0 ? other : machine.drawing;
            const uint32_t before = machine.display.Chip()->CurrentContext;
            EXPECT_EQ(machine.Lock(locked.target, DDLOCK_WAIT), DD_OK);
            EXPECT_EQ(machine.display.Chip()->CurrentContext, before) << "the chip goes back";
            pictures.push_back(MemoryOf(locked.target));
            break;
        }
        default:
            (random() % 2 != 0 ? other : machine.drawing).Draw(1 + static_cast<int>(random() % 6));
            break;
        }
    }
    for (Drawing* drawing : {&machine.drawing, &other}) {
        drawing->device->Finish();
        pictures.push_back(MemoryOf(drawing->target));
    }
    machine.ExpectHealthy();
    return pictures;
}

TEST_P(LockWhileDrawing, OfATargetFindsAllThatItsOwnDeviceHasDrawnWhoeverHasTheChip) {
    const auto run = [&](const Carrier& carrier, const board::Timing& timing) {
        LockMachine machine(GetParam(), carrier, timing);
        Drawing other(machine.directDraw, 2);
        return PicturesAtLocks(machine, other);
    };
    // Without DMA no word ever waits.
    const std::vector<Bytes> wanted = run({true, 8}, {});
    ASSERT_GT(wanted.size(), 10u);
    for (const SlowBoard& slow : kSlowBoards) {
        EXPECT_TRUE(run(slow.carrier, slow.timing) == wanted) << slow.name;
    }
}

TEST_P(LockWhileDrawing, AmidASceneLeavesItsPictureAsItIs) {
    const Bytes wanted = PictureOf(GetParam(), 120);
    for (const Carrier& carrier : {Carrier{true, 8}, Carrier{false, 2}, Carrier{false, 8}}) {
        LockMachine machine(GetParam(), carrier, {.dmaWordsPerTick = 5});
        for (int i = 0; i < 120; ++i) {
            machine.drawing.Draw();
            if (i % 7 == 3) {
                EXPECT_EQ(machine.Lock(machine.drawing.target, DDLOCK_WAIT), DD_OK);
            }
        }
        machine.drawing.device->Finish();
        EXPECT_TRUE(MemoryOf(machine.drawing.target) == wanted) << carrier.fifo;
        machine.ExpectHealthy();
    }
}

TEST_P(LockWhileDrawing,
       DuringAFlipAGlintsOtherSurfacesWaitForTheirTransferOnlyAndAPermediasAreBusy) {
    const auto lock = [&] {
        LockMachine machine(GetParam(), {false, 8}, {.dmaWordsPerTick = 1});
        host::Surface& front = machine.directDraw.CreatePrimary(1);
        host::Surface& back = *front.Chain().at(0);
        machine.display.Board().Advance(kFrame);
        EXPECT_TRUE(machine.directDraw.Flip(front, back).Done());
        // The flip is on; now the device draws.
        const int triangles = machine.DrawUntilBusy();
        host::Surface& target = machine.drawing.target;
        EXPECT_EQ(machine.Lock(target, 0), kStillDrawing);
        EXPECT_EQ(machine.Lock(back, DDLOCK_WAIT), kStillDrawing) << "what was on show until now";
        if (GetParam().IsPermedia()) {
            EXPECT_EQ(machine.Lock(target, DDLOCK_WAIT), kStillDrawing);
            EXPECT_TRUE(machine.Busy()) << "nothing was waited for";
            machine.display.Board().Advance(kFrame);
        }
        EXPECT_EQ(machine.Lock(target, DDLOCK_WAIT), DD_OK);
        const Bytes picture = MemoryOf(target);
        if (!GetParam().IsPermedia()) {
            EXPECT_EQ(machine.Lock(back, DDLOCK_WAIT), kStillDrawing) << "the flip is still on";
        }
        machine.ExpectHealthy();
        return Found{triangles, picture};
    };
    const Found found = lock();
    EXPECT_TRUE(found.picture == PictureOf(GetParam(), found.triangles));
}

} // namespace
