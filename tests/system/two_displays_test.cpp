// Two boards in one machine, both drawing. They are alike but for three things: exports without a
// display reach the primary, unqueued DMA of the other one is dropped, and the module's globals
// exist once.
#include "board/recorder.h"
#include "driver/core/korv32_flip.h"
#include "driver/core/tags.h"
#include "driver/d3d/dcontext.h"
#include "host/client/client_drawing.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"
#include "host/display/machine.h"
#include "host/inspect/unwaited.h"
#include "tests/support_host/surfaces.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

using namespace test;
using Values = std::map<std::string, std::string>;

constexpr uint32_t kPairWidth = 128, kPairHeight = 96;

class DmaWords : public board::BusRecorder {
  public:
    void OnDmaWord(uint32_t) override { ++words; }
    size_t words = 0;
};

// A board with all that draws on it.
class Screen {
  public:
    Screen(uint32_t deviceId, uint32_t number, bool primary, const Values& registry = {})
        : display(ConfigOf(deviceId, number, primary, registry)) {
        if (!display.Start()) {
            throw std::runtime_error("the driver refused a display");
        }
        directDraw = std::make_unique<host::DirectDraw>(display);
        target = &directDraw->CreateTarget(kPairWidth, kPairHeight);
        Fill(*target, 0);
        display.Board().SetRecorder(&dma);
    }
    ~Screen() { display.Board().SetRecorder(nullptr); }

    host::Device3D& Device() {
        if (device == nullptr) {
            device = std::make_unique<host::Device3D>(*directDraw, *target);
            device->SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
            device->SetState(D3DRENDERSTATE_ZENABLE, 0u);
        }
        return *device;
    }
    // A square of a colour, as a scene of Direct3D of its own.
    void Square(float x, float y, float side, uint32_t colour) {
        std::vector<D3DTLVERTEX> v;
        const std::pair<float, float> corners[] = {
            {x, y},        {x + side, y},        {x, y + side},
            {x + side, y}, {x + side, y + side}, {x, y + side}};
        for (const auto& [sx, sy] : corners) {
            v.push_back({sx, sy, 0.5f, 1, colour | 0xFF000000, 0xFF000000, 0, 0});
        }
        Device().BeginScene();
        host::Check("triangles", Device().TriangleList(v));
        Device().EndScene();
    }
    // Another one, 16 pixels wide, as a blit.
    void FillSquare(LONG x, LONG y, uint32_t pixel) {
        const host::HalAnswer answer = directDraw->Patiently([&] {
            return directDraw->ColorFill(*target, {x, y, x + 16, y + 16}, pixel);
        });
        EXPECT_TRUE(answer.Done());
    }
    // What is drawn there once the board has done all that it was given.
    uint32_t At(uint32_t x, uint32_t y) {
        display.Board().Drain();
        return target->Pixel(x, y) & 0x7FFF;
    }
    std::string Faults() { return host::UnexpectedFaults(display.Board()).Describe(); }

    DmaWords dma;
    host::Display display;
    std::unique_ptr<host::DirectDraw> directDraw;
    host::Surface* target = nullptr;
    std::unique_ptr<host::Device3D> device;

  private:
    static host::DisplayConfig ConfigOf(uint32_t deviceId, uint32_t number, bool primary,
                                        const Values& registry) {
        host::DisplayConfig config;
        config.deviceId = deviceId;
        config.width = kPairWidth;
        config.height = kPairHeight;
        config.number = number;
        config.primary = primary;
        config.registryName = "Display\\Settings" + std::to_string(number);
        config.registry = registry;
        config.frameBufferBytes = config.localBufferBytes = 2 << 20;
        return config;
    }
};

struct Pair {
    const char* name;
    uint32_t main, second;
};

// For test parameters.
void PrintTo(const Pair& pair, std::ostream* out) {
    *out << pair.name;
}

const Pair kPairs[] = {
    {"SXAndTX", DeviceSX, DeviceTX},
    {"TXAndMX", DeviceTX, DeviceMX},
    {"TXAndPermedia", DeviceTX, DevicePermedia},
    {"PermediaAndPermedia2", DevicePermedia, DevicePermedia2},
    {"Permedia2AndSX", DevicePermedia2, DeviceSX},
    {"MXAndMX", DeviceMX, DeviceMX},
    {"PermediaTwice", DevicePermedia, DevicePermedia},
};

class TwoDisplays : public testing::TestWithParam<Pair> {
  protected:
    TwoDisplays() { host::PowerCycle(); }
};

INSTANTIATE_TEST_SUITE_P(Chips, TwoDisplays, testing::ValuesIn(kPairs),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(TwoDisplays, DrawAtTheSameTimeWithoutDisturbingEachOther) {
    for (const bool fifo : {false, true}) {
        const Values registry = {{"Direct3DHAL.NoDMA", fifo ? "1" : "0"}};
        Screen main(GetParam().main, 0, true, registry);
        Screen second(GetParam().second, 1, false, registry);
        for (uint32_t i = 0; i < 6; ++i) {
            const auto at = static_cast<float>(i * 16);
            main.Square(at, 0, 16, 0xFF0000);
            second.Square(at, 32, 16, 0x00FF00);
            main.FillSquare(static_cast<LONG>(i) * 16, 64, 0x1F);
            second.FillSquare(static_cast<LONG>(i) * 16, 0, 0x7FFF);
        }
        for (uint32_t x = 0; x < kPairWidth; ++x) {
            const bool drawn = x < 96;
            EXPECT_EQ(main.At(x, 8), drawn ? 0x7C00u : 0u) << x;
            EXPECT_EQ(main.At(x, 40), 0u);
            EXPECT_EQ(main.At(x, 72), drawn ? 0x001Fu : 0u) << x;
            EXPECT_EQ(second.At(x, 8), drawn ? 0x7FFFu : 0u) << x;
            EXPECT_EQ(second.At(x, 40), drawn ? 0x03E0u : 0u) << x;
            EXPECT_EQ(second.At(x, 72), 0u);
        }
        EXPECT_EQ(main.Faults(), "");
        EXPECT_EQ(second.Faults(), "");
    }
}

// --- The first difference ---

TEST_P(TwoDisplays, ExportsWithoutADisplayReachThePrimaryWhicheverCameFirst) {
    for (const bool primaryFirst : {true, false}) {
        host::PowerCycle();
        const Values registry = {{"OpenGL.NumberOfSubBuffers", "4"}};
        Screen first(GetParam().main, 0, primaryFirst, registry);
        Screen later(GetParam().second, 1, !primaryFirst, registry);
        Screen& primary = primaryFirst ? first : later;
        Screen& other = primaryFirst ? later : first;
        const ChipInfo* primaryChip = primary.display.Chip();
        const ChipInfo* otherChip = other.display.Chip();
        const host::Exports exports = host::ExportsInForce();
        const uint32_t contexts = otherChip->ContextBlocks->UsedCount;

        EXPECT_EQ(exports.KORV_StopSoftwareCursor(nullptr), 0);
        EXPECT_NE(primaryChip->Flags & CursorExclude, 0u);
        EXPECT_EQ(otherChip->Flags & CursorExclude, 0u);
        EXPECT_EQ(exports.KORV_StartSoftwareCursor(nullptr), 0);
        ServiceInfo info{.Size = sizeof info};
        exports.KORV_GetInfo(nullptr, &info);
        EXPECT_EQ(info.FrameBuffer, primary.display.FrameBuffer());
        {
            host::ServiceClient client(nullptr);
            EXPECT_EQ(primaryChip->DMABufferInUse, 1u);
            EXPECT_EQ(otherChip->DMABufferInUse, 0u);
            EXPECT_EQ(primaryChip->ContextBlocks->UsedCount, contexts + 1);
            EXPECT_EQ(otherChip->ContextBlocks->UsedCount, contexts);
            host::ClientDrawing drawing(client, host::TargetOf(client, *primary.target));
            drawing.State();
            drawing.Rectangle({10, 10, 20, 20}, 0xFFFFFF);
            client.Finish();
            EXPECT_EQ(primary.At(15, 15), 0x7FFFu);
            EXPECT_EQ(other.At(15, 15), 0u);
            ASSERT_EQ(client.Lock(), host::LockAnswer::Taken);
            EXPECT_EQ(primary.display.Driver()->DriverLockKind, 1u);
            EXPECT_EQ(other.display.Driver()->DriverLockKind, 0u);
            client.Unlock();
        }

        // Named by its record the other one serves a client of its own.
        {
            host::ServiceClient client(other.display.Driver());
            EXPECT_EQ(otherChip->DMABufferInUse, 1u);
            host::ClientDrawing drawing(client, host::TargetOf(client, *other.target));
            drawing.State();
            drawing.Rectangle({30, 10, 40, 20}, 0x0000FF);
            client.Finish();
            EXPECT_EQ(other.At(35, 15), 0x001Fu);
            EXPECT_EQ(primary.At(35, 15), 0u);
        }

        // Those that take no display read the primary.
        EXPECT_EQ(exports.KORV_SwitchContext(nullptr, kContext2D), 0);
        constexpr uint32_t kMark = 0x00ABCDEF;
        host::ServiceClient client(other.display.Driver(), {.fifo = true});
        uint32_t* at = client.Reserve(2);
        at[0] = tag::FogColor;
        at[1] = kMark;
        client.Commit(2);
        client.Finish();
        uint32_t request[5] = {0, 1, tag::FogColor, kContext2D, 0};
        uint32_t answer[2] = {};
        EXPECT_EQ(exports.KORV_Service(ServiceCoreRegisters, request, answer), 0);
        EXPECT_NE(answer[1], kMark);
        EXPECT_EQ(primaryChip->CurrentContext, kContext2D);
        EXPECT_EQ(otherChip->CurrentContext, client.Context());
        primary.display.FrameBuffer()[0] = 0x11;
        other.display.FrameBuffer()[0] = 0x22;
        uint32_t word = 0;
        uint32_t help[6] = {
            0, DebugHelpMemory, 0, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&word)), 1, 0};
        EXPECT_EQ(exports.KORV_DebugHelp(help), 0);
        EXPECT_EQ(word & 0xFF, 0x11u);
        EXPECT_EQ(primary.Faults() + other.Faults(), "");
    }
}

TEST(TwoDisplaysWithoutAPrimary, ExportsWithoutADisplayFindNone) {
    host::PowerCycle();
    Screen first(DevicePermedia, 0, false), second(DeviceTX, 1, false);
    const host::Exports exports = host::ExportsInForce();
    EXPECT_EQ(exports.KORV_Initialize(nullptr), -1);
    EXPECT_THROW(host::ServiceClient(nullptr), std::runtime_error);
    EXPECT_EQ(exports.KORV_Initialize(first.display.Driver()), 0x10000);
    EXPECT_EQ(exports.KORV_Initialize(second.display.Driver()), 0x10000);
}

// --- The second difference ---

TEST_P(TwoDisplays, UnqueuedDmaReachesThePrimaryOnly) {
    const Values registry = {{"Direct3DHAL.SubBuffers", "2"}};
    Screen main(GetParam().main, 0, true, registry);
    Screen second(GetParam().second, 1, false, registry);
    main.Square(10, 10, 20, 0xFFFFFF);
    second.Square(10, 10, 20, 0xFFFFFF);
    EXPECT_EQ(main.At(20, 20), 0x7FFFu);
    EXPECT_GT(main.dma.words, 0u);
    EXPECT_EQ(second.At(20, 20), 0u);
    EXPECT_EQ(second.dma.words, 0u);
    // All but the words went their way.
    EXPECT_EQ(second.display.Chip()->CurrentContext,
              second.Device().Context()->Stream.HardwareContext);
    EXPECT_EQ(second.display.Chip()->DMAState & (DMAIdle | DMAQueueOn), 0u);
    EXPECT_EQ(main.Faults() + second.Faults(), "");
}

TEST_P(TwoDisplays, QueuedDmaAndTheFifoReachBoth) {
    for (const Values& registry :
         {Values{{"Direct3DHAL.SubBuffers", "3"}}, Values{{"Direct3DHAL.NoDMA", "1"}}}) {
        Screen main(GetParam().main, 0, true, registry);
        Screen second(GetParam().second, 1, false, registry);
        main.Square(10, 10, 20, 0xFFFFFF);
        second.Square(10, 10, 20, 0xFFFFFF);
        EXPECT_EQ(main.At(20, 20), 0x7FFFu);
        EXPECT_EQ(second.At(20, 20), 0x7FFFu);
    }
}

TEST_P(TwoDisplays, WordsThatAChangeOfContextSendsReachBoth) {
    const Values registry = {{"Direct3DHAL.SubBuffers", "2"}};
    Screen main(GetParam().main, 0, true, registry);
    Screen second(GetParam().second, 1, false, registry);
    // The first scene is dropped and leaves the context current. The second one is still in its
    // sub-buffer when a fill takes the chip.
    second.Square(10, 10, 20, 0xFFFFFF);
    const auto vertex = [](float x, float y) {
        return D3DTLVERTEX{x, y, 0.5f, 1, 0xFF00FF00, 0xFF000000, 0, 0};
    };
    second.Device().BeginScene();
    second.Device().Triangle(vertex(50, 10), vertex(90, 10), vertex(50, 50));
    EXPECT_EQ(second.dma.words, 0u);
    second.FillSquare(0, 80, 0x1F);
    EXPECT_GT(second.dma.words, 0u);
    EXPECT_EQ(second.At(4, 84), 0x1Fu);
    EXPECT_EQ(second.At(20, 20), 0u);
}

TEST_P(TwoDisplays, AClientsUnqueuedBatchesReachThePrimaryOnlyAndItsQueuedOnesBoth) {
    for (const bool queued : {false, true}) {
        const Values registry = {{"OpenGL.NumberOfSubBuffers", queued ? "3" : "2"}};
        Screen main(GetParam().main, 0, true, registry);
        Screen second(GetParam().second, 1, false, registry);
        for (Screen* screen : {&main, &second}) {
            host::ServiceClient client(screen->display.Driver());
            host::ClientDrawing drawing(client, host::TargetOf(client, *screen->target));
            drawing.State();
            drawing.Rectangle({10, 10, 20, 20}, 0xFFFFFF);
            EXPECT_EQ(client.Send(), host::LockAnswer::Taken);
            EXPECT_EQ(screen->At(15, 15), screen == &main || queued ? 0x7FFFu : 0u);
        }
    }
}

// --- The third difference ---

TEST_P(TwoDisplays, TheSwitchesAndTheKeyAreThoseOfTheDisplayThatCameLast) {
    Screen main(GetParam().main, 0, true,
                {{"Direct3DHAL.NoFlip", "1"}, {"Direct3DHAL.SubBuffers", "4"}});
    EXPECT_EQ(DXGlobals.NoFlip, 1u);
    const HANDLE heap = DXGlobals.Heap;
    EXPECT_NE(heap, nullptr);
    Screen second(GetParam().second, 1, false,
                  {{"Direct3DHAL.FilterStretch", "1"}, {"Direct3DHAL.SubBuffers", "6"}});
    EXPECT_EQ(DXGlobals.NoFlip, 0u);
    EXPECT_EQ(DXGlobals.FilterStretch, 1u);
    // The heap was there already.
    EXPECT_EQ(DXGlobals.Heap, heap);
    // What is read at its use comes from the one key that is open.
    EXPECT_EQ(main.Device().Context()->Stream.SubBufferCount, 6u);
    EXPECT_EQ(second.Device().Context()->Stream.SubBufferCount, 6u);
    // So it is until the first one starts again.
    ASSERT_TRUE(main.display.Start());
    EXPECT_EQ(DXGlobals.NoFlip, 1u);
    EXPECT_EQ(DXGlobals.FilterStretch, 0u);
}

TEST_P(TwoDisplays, ADisplayWhoseKeyCannotBeOpenedIsServedByTheFirstOnes) {
    Screen main(GetParam().main, 0, true, {{"Direct3DHAL.SubBuffers", "5"}});
    Screen second(GetParam().second, 1, false);
    std::strcpy(second.display.Chip()->RegistryName, "Nowhere");
    ASSERT_TRUE(main.display.Start());
    ASSERT_TRUE(second.display.Start());
    EXPECT_EQ(second.Device().Context()->Stream.SubBufferCount, 5u);
}

TEST_P(TwoDisplays, ShareTheTableOfDirect3DContexts) {
    const Values registry = {{"Direct3DHAL.NoDMA", "1"}};
    Screen main(GetParam().main, 0, true, registry);
    Screen second(GetParam().second, 1, false, registry);
    EXPECT_EQ(main.Device().Handle(), 1u);
    EXPECT_EQ(second.Device().Handle(), 2u);
    EXPECT_EQ(ContextSlots[1]->Driver, main.display.Driver());
    EXPECT_EQ(ContextSlots[2]->Driver, second.display.Driver());
    std::vector<std::unique_ptr<host::Device3D>> more;
    while (more.size() < 197) {
        Screen& screen = more.size() % 2 == 0 ? main : second;
        more.push_back(std::make_unique<host::Device3D>(*screen.directDraw, *screen.target));
    }
    for (Screen* screen : {&main, &second}) {
        EXPECT_THROW(host::Device3D(*screen->directDraw, *screen->target), host::ResultError);
    }
}

TEST(TwoGlintDisplays, ShareTheRecordOfTheFlipUnderWay) {
    host::PowerCycle();
    Screen main(DeviceTX, 0, true), second(DeviceTX, 1, false);
    host::Surface* front[2];
    host::Surface* back[2];
    for (int i = 0; i < 2; ++i) {
        front[i] = &(i == 0 ? main : second).directDraw->CreatePrimary(1);
        back[i] = front[i]->Chain()[0];
    }
    const auto busy = [](const host::HalAnswer& answer) {
        EXPECT_TRUE(answer.handled);
        return answer.result == DDERR_WASSTILLDRAWING;
    };
    const uint32_t mainWasOnShow = front[0]->Global()->fpVidMem;
    EXPECT_TRUE(main.directDraw->Flip(*front[0], *back[0]).Done());
    EXPECT_EQ(flipRecord.Surface, mainWasOnShow);
    // The other display has never flipped, and is told that a flip is under way.
    EXPECT_TRUE(busy(second.directDraw->GetFlipStatus(*front[1], DDGFS_ISFLIPDONE)));
    EXPECT_TRUE(busy(second.directDraw->Flip(*front[1], *back[1])));
    // A frame later it flips, and the record is its own: nothing ties up the first one's surface.
    second.display.Board().Advance(20000);
    const uint32_t secondWasOnShow = front[1]->Global()->fpVidMem;
    EXPECT_TRUE(second.directDraw->Flip(*front[1], *back[1]).Done());
    EXPECT_EQ(flipRecord.Surface, secondWasOnShow);
    EXPECT_TRUE(main.directDraw->Lock(*back[0], nullptr, nullptr, 0).Done());
    EXPECT_TRUE(busy(second.directDraw->Lock(*back[1], nullptr, nullptr, 0)));
}

} // namespace
