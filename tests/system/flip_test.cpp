// Flips, locks, vertical blank and scan line through DirectDraw, on boards whose beam moves only
// when the test says so. Where the beam is, and when a flip is over, is worked out here from lines
// and refresh rate.
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/ddraw/format.h"
#include "host/display/display.h"
#include "host/picture.h"
#include "host/win32/clock.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/started_display.h"
#include "tests/support_host/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <ostream>

namespace {

using test::kStillDrawing;
constexpr HRESULT kBlankInProgress = static_cast<HRESULT>(0x88760219);
constexpr uint64_t kLines = 525;     // of a frame
constexpr uint64_t kBlankLines = 45; // the first of them
constexpr uint32_t kPhases = 60;
constexpr uint64_t kSecond = 1000000;

struct FlipMode {
    const char* name;
    uint32_t deviceId;
    uint32_t refreshRate;
    uint32_t chipFlags;
};

void PrintTo(const FlipMode& mode, std::ostream* out) {
    *out << mode.name;
}

constexpr FlipMode kFlipModes[] = {
    {"SXAt60", DeviceSX, 60, 0},
    {"TXAt75", DeviceTX, 75, 0},
    {"MXAt85", DeviceMX, 85, 0},
    {"PermediaAt60", DevicePermedia, 60, 0},
    {"PermediaByInterruptAt60", DevicePermedia, 60, VBlankByInterrupt},
    {"Permedia2At85", DevicePermedia2, 85, 0},
    {"Permedia2ByInterruptAt75", DevicePermedia2, 75, VBlankByInterrupt},
};

using Rgba = std::array<uint8_t, 4>;
constexpr uint32_t kRedPixel = 0x7C00, kBluePixel = 0x001F;
constexpr Rgba kRed = {255, 0, 0, 255}, kBlue = {0, 0, 255, 255};

// A display with a red front and a blue back buffer.
class FlipMachine : public test::StartedDisplay {
  public:
    explicit FlipMachine(const FlipMode& mode, uint32_t microsecondsPerTick = 0,
                         const std::map<std::string, std::string>& registry = {},
                         uint32_t interruptLatency = 0)
        : StartedDisplay(ConfigOf(mode, microsecondsPerTick, registry, interruptLatency)),
          mode_(mode), front(directDraw.CreatePrimary(1)), back(*front.Chain().at(0)),
          other(directDraw.CreateOffscreen(32, 32)) {
        test::Fill(front, kRedPixel);
        test::Fill(back, kBluePixel);
        red_ = front.Bytes();
    }
    ~FlipMachine() { host::clock::Unfollow(this); }

    bool IsGlint() const { return display.IsGlint(); }

    // First microsecond of line `line` of frame `frame`.
    uint64_t TimeOf(uint64_t frame, uint64_t line) const {
        const uint64_t linesASecond = kLines * mode_.refreshRate;
        return ((frame * kLines + line) * kSecond + linesASecond - 1) / linesASecond;
    }
    void GoTo(uint64_t microseconds) {
        const uint64_t now = display.Board().Microseconds();
        ASSERT_LE(now, microseconds);
        display.Board().Advance(microseconds - now);
    }
    // A frame that hasn't begun.
    uint64_t LaterFrame() {
        return display.Board().Microseconds() * mode_.refreshRate / kSecond + 2;
    }

    // The millisecond clock from now on: `milliseconds` at board time `at`.
    void SetClock(uint64_t milliseconds, uint64_t at) {
        clockOffset_ = milliseconds * 1000 - at;
        host::clock::Follow(this, [this] { return display.Board().Microseconds() + clockOffset_; });
    }
    // Milliseconds that the clock counts from one board time to another. The clock is wide here.
    uint64_t Milliseconds(uint64_t from, uint64_t to) const {
        return (to + clockOffset_) / 1000 - (from + clockOffset_) / 1000;
    }
    // First board time at which more than `milliseconds` have been counted since `from`.
    uint64_t CountedBeyond(uint64_t from, uint64_t milliseconds) const {
        return ((from + clockOffset_) / 1000 + milliseconds + 1) * 1000 - clockOffset_;
    }
    uint64_t FrameMilliseconds() const { return 1000 / mode_.refreshRate; }

    HRESULT Flip() { return Handled(directDraw.Flip(front, back)); }
    HRESULT FlipStatus(uint32_t flags = DDGFS_ISFLIPDONE) {
        return Handled(directDraw.GetFlipStatus(front, flags));
    }
    HRESULT Lock(host::Surface& surface, uint32_t flags = 0) {
        return Handled(directDraw.Lock(surface, nullptr, nullptr, flags));
    }
    HRESULT Fill(host::Surface& surface, uint32_t pixel) {
        return Handled(directDraw.ColorFill(surface, {0, 0, 8, 8}, pixel));
    }
    bool InBlank() {
        bool blank = false;
        EXPECT_TRUE(directDraw.WaitForVerticalBlank(DDWAITVB_I_TESTVB, &blank).Done());
        return blank;
    }

    Rgba FrontColour() const { return front.Bytes() == red_ ? kRed : kBlue; }
    // The colour of the screen, told by three of its pixels.
    Rgba ShownColour() {
        EXPECT_EQ(ShownPixel(0, 199), ShownPixel(319, 100));
        return ShownPixel(160, 100);
    }

    // Everything that may be asked while the flip is not over.
    void ExpectBusy() {
        EXPECT_EQ(FlipStatus(), kStillDrawing);
        EXPECT_EQ(FlipStatus(DDGFS_CANFLIP), kStillDrawing);
        EXPECT_EQ(Flip(), kStillDrawing);
        EXPECT_EQ(Lock(back), kStillDrawing);
        EXPECT_EQ(Lock(back, DDLOCK_WAIT), kStillDrawing);
        EXPECT_EQ(Fill(back, 0x1234), kStillDrawing);
        EXPECT_EQ(Handled(directDraw.Blt(back, {0, 0, 8, 8}, other, {0, 0, 8, 8})), kStillDrawing);
        EXPECT_EQ(Handled(directDraw.GetBltStatus(back, DDGBS_CANBLT)), kStillDrawing);
        EXPECT_EQ(Handled(directDraw.GetBltStatus(back, DDGBS_ISBLTDONE)), DD_OK);
        // The Permedia's flag names no surface.
        const HRESULT ofOthers = IsGlint() ? HRESULT{DD_OK} : kStillDrawing;
        EXPECT_EQ(Lock(front), ofOthers);
        EXPECT_EQ(Lock(other), ofOthers);
        EXPECT_EQ(Fill(other, 0x4321), ofOthers);
        EXPECT_EQ(Handled(directDraw.GetBltStatus(other, DDGBS_CANBLT)), ofOthers);
    }
    // The same for a flip that is over; the back buffer takes `pixel`.
    void ExpectFree(uint32_t pixel) {
        EXPECT_EQ(FlipStatus(), DD_OK);
        EXPECT_EQ(FlipStatus(DDGFS_CANFLIP), DD_OK);
        EXPECT_EQ(Handled(directDraw.GetBltStatus(back, DDGBS_CANBLT)), DD_OK);
        EXPECT_EQ(Fill(back, pixel), DD_OK);
        EXPECT_EQ(Lock(back), DD_OK);
        EXPECT_EQ(back.Pixel(3, 3), pixel);
    }

    static HRESULT Handled(const host::HalAnswer& answer) {
        EXPECT_TRUE(answer.handled);
        return answer.result;
    }

  private:
    static host::DisplayConfig ConfigOf(const FlipMode& mode, uint32_t microsecondsPerTick,
                                        const std::map<std::string, std::string>& registry,
                                        uint32_t interruptLatency) {
        host::DisplayConfig config;
        config.deviceId = mode.deviceId;
        config.refreshRate = mode.refreshRate;
        config.chipFlags = mode.chipFlags;
        config.width = 320;
        config.height = 200;
        config.registry = registry;
        config.timing.microsecondsPerTick = microsecondsPerTick;
        config.timing.interruptLatency = interruptLatency;
        return config;
    }

    FlipMode mode_;
    uint64_t clockOffset_ = 0; // microseconds
    uint8_t* red_ = nullptr;

    Rgba ShownPixel(uint32_t x, uint32_t y) {
        const uint8_t* pixel =
            display.FrameBuffer() + display.VisibleOffset() + y * display.Pitch() + x * 2;
        return host::ReadPicture(pixel, 0, 1, 1, host::DisplayFormat(16)).At(0, 0);
    }

  public:
    host::Surface &front, &back, &other;
};

// Lines from the top of the frame, blank included.
uint64_t LineOfPhase(uint32_t phase) {
    return kLines * phase / kPhases;
}

class FlipTest : public testing::TestWithParam<FlipMode> {};

// One flip from each phase of the beam, watched closely. `clockAtFlip`: milliseconds.
void WatchFlips(FlipMachine& machine, uint64_t clockAtFlip) {
    for (uint32_t phase = 0; phase < kPhases; ++phase) {
        SCOPED_TRACE(phase);
        const uint64_t frame = machine.LaterFrame();
        const uint64_t line = LineOfPhase(phase);
        const uint64_t begun = machine.TimeOf(frame, line);
        machine.GoTo(begun);
        machine.SetClock(clockAtFlip, begun);
        const Rgba before = machine.ShownColour();
        EXPECT_EQ(before, machine.FrontColour());
        ASSERT_EQ(machine.Flip(), DD_OK);
        EXPECT_NE(machine.FrontColour(), before);
        EXPECT_EQ(machine.ShownColour(), before);

        // The next frame shows the new picture. A Glint's driver may give up before that, by the
        // clock.
        uint64_t over = machine.TimeOf(frame + 1, 0);
        if (machine.IsGlint()) {
            over = std::min(over, machine.CountedBeyond(begun, machine.FrameMilliseconds()));
        }
        for (uint64_t look = line + 20; machine.TimeOf(frame, look) < over - 1; look += 20) {
            machine.GoTo(machine.TimeOf(frame, look));
            machine.ExpectBusy();
        }
        machine.GoTo(over - 1);
        machine.ExpectBusy();
        EXPECT_EQ(machine.ShownColour(), before);
        const uint64_t shown = machine.TimeOf(frame + 1, 0);
        for (const uint64_t after : {0, 1, 500, 1500, 12000, 20000, 50000}) {
            machine.GoTo(over + after);
            machine.ExpectFree(phase);
            EXPECT_EQ(machine.ShownColour(), over + after < shown ? before : machine.FrontColour());
        }
    }
    EXPECT_EQ(machine.Faults(), "");
}

TEST_P(FlipTest, IsBusyUntilTheNextFrameBeginsAndFreeFromThenOn) {
    FlipMachine machine(GetParam());
    WatchFlips(machine, 5000);
}

TEST_P(FlipTest, IsBusyAsLongWhenTheClockWrapsMeanwhile) {
    FlipMachine machine(GetParam());
    WatchFlips(machine, (uint64_t{1} << 32) - 5);
}

TEST_P(FlipTest, ThatNobodyWatchesIsJudgedByOneLook) {
    FlipMachine machine(GetParam());
    for (uint32_t phase = 0; phase < kPhases; phase += 3) {
        for (uint32_t later = 1; later < 2 * kPhases; later += 2) {
            SCOPED_TRACE(testing::Message() << phase << " and " << later << " later");
            // An earlier flip is forgotten: it is over by the clock, out of blank.
            const uint64_t pause = machine.LaterFrame() + 2;
            machine.GoTo(machine.TimeOf(pause, 300));
            EXPECT_EQ(machine.FlipStatus(), DD_OK);

            const uint64_t frame = pause + 1;
            const uint64_t line = LineOfPhase(phase);
            const uint64_t begun = machine.TimeOf(frame, line);
            machine.GoTo(begun);
            machine.SetClock((uint64_t{1} << 32) - 5, begun);
            ASSERT_EQ(machine.Flip(), DD_OK);

            const uint64_t look = line + kLines * later / kPhases;
            const uint64_t seen = machine.TimeOf(frame, look);
            machine.GoTo(seen);
            const bool nextFrame = look >= kLines;
            bool over = nextFrame;
            if (machine.IsGlint()) {
                // What one look can tell: a blank after a flip from the picture, a beam above the
                // line of the flip, or the time.
                const uint64_t lookLine = look % kLines;
                const bool fromPicture = line >= kBlankLines;
                over = machine.Milliseconds(begun, seen) > machine.FrameMilliseconds() ||
                       (fromPicture && (lookLine < kBlankLines || lookLine < line));
            }
            EXPECT_EQ(machine.FlipStatus(), over ? DD_OK : kStillDrawing);
        }
    }
}

TEST_P(FlipTest, CountsForNothingWithNoVBlankWait) {
    FlipMachine machine(GetParam(), 0, {{"Direct3DHAL.NoVBlankWait", "1"}});
    for (uint32_t phase = 0; phase < kPhases; phase += 6) {
        machine.GoTo(machine.TimeOf(machine.LaterFrame(), LineOfPhase(phase)));
        const Rgba shown = machine.ShownColour();
        EXPECT_EQ(shown, machine.FrontColour()); // of the last flip of the round before
        for (int flip = 0; flip < 3; ++flip) {   // all within one microsecond
            const Rgba before = machine.FrontColour();
            EXPECT_EQ(machine.Flip(), DD_OK);
            EXPECT_NE(machine.FrontColour(), before);
            EXPECT_EQ(machine.ShownColour(), shown);
            machine.ExpectFree(phase);
        }
        // Whoever waits for the blank sees it come and go.
        EXPECT_TRUE(machine.InBlank());
        EXPECT_FALSE(machine.InBlank());
    }
}

TEST_P(FlipTest, LeavesTheScreenWithNoFlip) {
    FlipMachine machine(GetParam(), 0, {{"Direct3DHAL.NoFlip", "1"}});
    machine.GoTo(machine.TimeOf(2, 100));
    EXPECT_EQ(machine.Flip(), DD_OK);
    EXPECT_EQ(machine.FlipStatus(), DD_OK); // nothing was begun
    machine.GoTo(machine.TimeOf(4, 100));
    EXPECT_EQ(machine.ShownColour(), kRed);
}

TEST_P(FlipTest, ThatADirectDrawLoopRepeatsComesOncePerFrame) {
    FlipMachine machine(GetParam(), 1);
    const uint64_t frame = machine.LaterFrame();
    machine.GoTo(machine.TimeOf(frame, 300));
    constexpr uint64_t kFlips = 20;
    ASSERT_EQ(machine.Flip(), DD_OK);
    for (uint64_t i = 1; i <= kFlips; ++i) {
        while (machine.Flip() == kStillDrawing) {
            // A look at the shared records alone takes no time on the board.
            machine.display.Board().Advance(1);
        }
        if (machine.IsGlint() && i != 1) {
            continue; // a flip begun in blank may be over a little early, by the clock
        }
        const uint64_t now = machine.display.Board().Microseconds();
        EXPECT_GE(now, machine.TimeOf(frame + i, 0));
        EXPECT_LT(now, machine.TimeOf(frame + i, 4));
        EXPECT_EQ(machine.ShownColour(), i % 2 == 0 ? kRed : kBlue); // of the flip before
    }
}

TEST_P(FlipTest, BlankAndScanLineAreTheBeams) {
    FlipMachine machine(GetParam());
    const uint64_t frame = machine.LaterFrame();
    for (uint64_t line = 0; line < kLines; ++line) {
        SCOPED_TRACE(line);
        for (const uint64_t at :
             {machine.TimeOf(frame, line), machine.TimeOf(frame, line + 1) - 1}) {
            machine.GoTo(at);
            const bool blank = line < 45;
            uint32_t scanLine = 0xEEEE;
            const HRESULT result = FlipMachine::Handled(machine.directDraw.GetScanLine(&scanLine));
            EXPECT_EQ(result, blank ? kBlankInProgress : HRESULT{DD_OK});
            EXPECT_EQ(scanLine, blank ? 0 : line - 45);
            EXPECT_EQ(machine.InBlank(), blank);
        }
    }
}

TEST_P(FlipTest, WaitsForTheBlankEndWhereTheBeamHasIt) {
    FlipMachine machine(GetParam(), 1);
    // A look takes two register reads of a microsecond each; the interrupt handler may come
    // between.
    constexpr uint64_t kLook = 8;
    for (uint64_t line = 0; line < kLines; line += 25) {
        SCOPED_TRACE(line);
        uint64_t frame = machine.LaterFrame();
        machine.GoTo(machine.TimeOf(frame, line));
        EXPECT_TRUE(machine.directDraw.WaitForVerticalBlank(DDWAITVB_BLOCKBEGIN, nullptr).Done());
        uint64_t now = machine.display.Board().Microseconds();
        EXPECT_GE(now, machine.TimeOf(frame + 1, 0));
        EXPECT_LE(now, machine.TimeOf(frame + 1, 0) + kLook);

        frame = machine.LaterFrame();
        machine.GoTo(machine.TimeOf(frame, line));
        EXPECT_TRUE(machine.directDraw.WaitForVerticalBlank(DDWAITVB_BLOCKEND, nullptr).Done());
        now = machine.display.Board().Microseconds();
        const uint64_t end = machine.TimeOf(line < 45 ? frame : frame + 1, 45);
        EXPECT_GE(now, end);
        EXPECT_LE(now, end + kLook);
    }
}

INSTANTIATE_TEST_SUITE_P(Boards, FlipTest, testing::ValuesIn(kFlipModes),
                         testing::PrintToStringParamName());

TEST(FlipByInterrupt, IsOverWhenTheHandlerHasRun) {
    constexpr uint32_t kLatency = 200; // microseconds
    FlipMachine machine({"", DevicePermedia2, 60, VBlankByInterrupt}, 1, {}, kLatency);
    const uint64_t frame = machine.LaterFrame();
    machine.GoTo(machine.TimeOf(frame, 400));
    ASSERT_EQ(machine.Flip(), DD_OK);
    machine.GoTo(machine.TimeOf(frame + 1, 0) + kLatency - 20);
    EXPECT_TRUE(machine.InBlank());
    EXPECT_EQ(machine.FlipStatus(), kStillDrawing);
    machine.GoTo(machine.TimeOf(frame + 1, 0) + kLatency + 5);
    EXPECT_EQ(machine.FlipStatus(), DD_OK);
}

TEST(FlipOnPermedia, HasToWaitForTheFirstFrameAfterPowerOn) {
    FlipMachine machine({"", DevicePermedia, 60, 0});
    machine.GoTo(machine.TimeOf(1, 0) - 1);
    EXPECT_EQ(machine.Flip(), kStillDrawing);
    machine.GoTo(machine.TimeOf(1, 0));
    EXPECT_EQ(machine.Flip(), DD_OK);
}

TEST(FlipOnGlint, ShowsAnImageAboveFourMegabytesByTheOtherBank) {
    for (const uint32_t device : {DeviceTX, DeviceMX}) {
        FlipMachine machine({"", device, 60, 0});
        machine.GoTo(machine.TimeOf(1, 100));
        ASSERT_EQ(machine.Flip(), DD_OK);
        EXPECT_EQ(machine.display.Board().Read(0x6008), 0xFEu);
        machine.GoTo(machine.TimeOf(2, 100));
        machine.directDraw.CreateOffscreen(320, 6400); // 4 MB out of the way
        host::SurfaceRequest request;
        request.caps |= DDSCAPS_FLIP;
        request.width = 320;
        request.height = 200;
        host::Surface* made = nullptr;
        ASSERT_EQ(machine.directDraw.CreateSurface(request, &made), DD_OK);
        host::Surface& high = *made;
        ASSERT_GE(high.Bytes(), machine.display.FrameBuffer() + 0x400000);
        test::Fill(high, 0x03E0);
        ASSERT_EQ(FlipMachine::Handled(machine.directDraw.Flip(machine.front, high)), DD_OK);
        EXPECT_EQ(machine.display.Board().Read(0x6008), 0xFFu);
        machine.GoTo(machine.TimeOf(machine.LaterFrame(), 0));
        EXPECT_EQ(machine.ShownColour(), (Rgba{0, 255, 0, 255}));
    }
}

// --- locks of a surface that Direct3D draws to ---

struct LockMode {
    const char* name;
    uint32_t deviceId;
    bool delta;
    uint32_t dmaWordsPerTick;
};

void PrintTo(const LockMode& mode, std::ostream* out) {
    *out << mode.name;
}

class LockTest : public testing::TestWithParam<LockMode>, protected test::StartedDisplay {
  protected:
    static host::DisplayConfig Config() {
        host::DisplayConfig config;
        config.deviceId = GetParam().deviceId;
        config.delta = GetParam().delta;
        config.width = 320;
        config.height = 200;
        config.timing.dmaWordsPerTick = GetParam().dmaWordsPerTick;
        return config;
    }
    LockTest() : StartedDisplay(Config()) {
        // Past the first retrace.
        display.Board().Advance(20000);
    }
    // White over the upper left half of a surface of 64 by 64 pixels.
    static void DrawOver(host::Device3D& device) {
        D3DTLVERTEX v[3]{};
        constexpr float kCorners[3][2] = {{0.0f, 0.0f}, {63.0f, 0.0f}, {0.0f, 63.0f}};
        for (int i = 0; i < 3; ++i) {
            v[i].sx = kCorners[i][0];
            v[i].sy = kCorners[i][1];
            v[i].sz = 0.5f;
            v[i].rhw = 1.0f;
            v[i].color = 0xFFFFFFFF;
        }
        device.SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
        EXPECT_EQ(device.Triangle(v[0], v[1], v[2]), DD_OK);
    }
};

TEST_P(LockTest, SendsWhatTheContextOfTheSurfaceHasPending) {
    host::Surface& target = directDraw.CreateTarget(64, 64);
    host::Surface& elsewhere = directDraw.CreateOffscreen(64, 64); // nobody's target
    test::Fill(target, 0);
    test::Fill(elsewhere, 0);
    host::Device3D device(directDraw, target);
    ASSERT_EQ(device.BeginScene(), DD_OK);
    DrawOver(device);
    display.Board().Drain();
    ASSERT_EQ(target.Pixel(20, 20), 0u); // the words wait in the sub-buffer

    EXPECT_TRUE(directDraw.Lock(elsewhere, nullptr).Done());
    display.Board().Drain();
    EXPECT_EQ(target.Pixel(20, 20), 0u);

    void* bytes = nullptr;
    EXPECT_TRUE(directDraw.Lock(target, &bytes).Done());
    EXPECT_EQ(bytes, target.Bytes());
    EXPECT_EQ(target.Pixel(20, 20) & 0x7FFF, 0x7FFFu); // at once: the lock has waited
    EXPECT_EQ(target.Pixel(40, 5) & 0x7FFF, 0x7FFFu);
    EXPECT_EQ(elsewhere.Pixel(20, 20), 0u);
    EXPECT_EQ(Faults(), "");
}

TEST_P(LockTest, GivesTheChipBackToWhoHadIt) {
    host::Surface& target = directDraw.CreateTarget(64, 64);
    host::Surface& elsewhere = directDraw.CreateOffscreen(64, 64);
    test::Fill(target, 0);
    host::Device3D device(directDraw, target);
    ASSERT_EQ(device.BeginScene(), DD_OK);
    DrawOver(device); // settles all state
    EXPECT_TRUE(directDraw.Lock(target, nullptr).Done());
    test::Fill(target, 0);
    EXPECT_TRUE(directDraw.ColorFill(elsewhere, {0, 0, 8, 8}, 0x1111).Done());
    const uint32_t holder = display.Chip()->CurrentContext;
    DrawOver(device); // into the sub-buffer: the chip stays with the blits
    ASSERT_EQ(display.Chip()->CurrentContext, holder);
    EXPECT_TRUE(directDraw.Lock(target, nullptr).Done());
    EXPECT_EQ(display.Chip()->CurrentContext, holder);
    EXPECT_EQ(target.Pixel(20, 20) & 0x7FFF, 0x7FFFu);

    EXPECT_TRUE(directDraw.ColorFill(elsewhere, {8, 0, 16, 8}, 0x2222).Done());
    EXPECT_TRUE(directDraw.Lock(elsewhere, nullptr).Done());
    EXPECT_EQ(elsewhere.Pixel(3, 3), 0x1111u);
    EXPECT_EQ(elsewhere.Pixel(12, 3), 0x2222u);
    EXPECT_EQ(Faults(), "");
}

TEST_P(LockTest, OfARectanglePointsToItsFirstPixel) {
    host::Surface& surface = directDraw.CreateOffscreen(64, 64);
    surface.SetPixel(11, 7, 0x1357);
    const RECT rect = {11, 7, 20, 20};
    void* bytes = nullptr;
    EXPECT_TRUE(directDraw.Lock(surface, &bytes, &rect).Done());
    EXPECT_EQ(bytes, surface.Row(7) + 22);
    EXPECT_EQ(*static_cast<uint16_t*>(bytes), 0x1357);
}

INSTANTIATE_TEST_SUITE_P(Boards, LockTest,
                         testing::Values(LockMode{"SX", DeviceSX, false, 0},
                                         LockMode{"TX", DeviceTX, false, 0},
                                         LockMode{"TXSlowDma", DeviceTX, false, 1},
                                         LockMode{"MXWithDelta", DeviceMX, true, 0},
                                         LockMode{"Permedia", DevicePermedia, false, 0},
                                         LockMode{"PermediaWithDelta", DevicePermedia, true, 0},
                                         LockMode{"Permedia2", DevicePermedia2, false, 0},
                                         LockMode{"Permedia2SlowDma", DevicePermedia2, false, 1}),
                         testing::PrintToStringParamName());

} // namespace
