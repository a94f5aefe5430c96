// The video port, programmed word by word. 100 fields a second of 20 lines: 500 microseconds a
// line, 10000 a field.
#include "board/video/video_source.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

constexpr uint64_t kLineTime = 500, kFieldTime = 10000;
constexpr uint32_t kWidth = 24; // pixels of a line, the first four of them blank

// A source whose every byte tells its place.
class NumberedSource : public board::VideoSource {
  public:
    board::VideoSignal Signal() const override { return signal; }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override {
        EXPECT_TRUE(pixels.empty());
        for (uint32_t x = 0; x < kWidth; ++x) {
            pixels.push_back(Pixel(field, line, x));
        }
        ++lines;
    }
    static uint16_t Pixel(uint64_t field, uint32_t line, uint32_t x) {
        return static_cast<uint16_t>((field * 64 + line * 7 + x) & 0xFF) |
               static_cast<uint16_t>((x * 8 + field + line) & 0xFF) << 8;
    }
    board::VideoSignal signal{.fieldsPerSecond = 100, .linesPerField = 20};
    int lines = 0;
};

board::Config StillConfig(board::Chip chip = board::Chip::Permedia) {
    board::Config config = rig::SmallConfig(chip);
    config.timing.microsecondsPerTick = 0; // the clock moves only when told
    return config;
}

// A port for lines 4 to 11, pixels 4 to 19, into buffers at 0x1000, 0x2000 and 0x3000 with rows of
// 64 bytes.
struct PortRig : rig::Rig {
    explicit PortRig(board::Chip chip = board::Chip::Permedia) : Rig(StillConfig(chip)) {
        board.SetVideoSource(&source);
        std::memset(board.FrameBuffer().data(), 0xEE, board.FrameBuffer().size());
        Set(reg::VSControl, 0x3603);
        for (uint32_t i = 0; i < 3; ++i) {
            Set(reg::VSBufferBase[i], (i + 1) * 0x1000 / 8);
        }
        Set(reg::VSBufferStride, 64 / 8);
        Set(reg::VSStartLine, 4);
        Set(reg::VSEndLine, 12);
        Set(reg::VSStartPixel, 4);
        Set(reg::VSEndPixel, 20);
    }
    void Set(uint32_t offset, uint32_t value) { board.Write(offset, value); }
    uint32_t Get(uint32_t offset) { return board.Read(offset); }
    void Stream(uint32_t bits) { Set(reg::VSStreamControl, bits | 1); }
    void GoTo(uint64_t microseconds) { board.Advance(microseconds - board.Microseconds()); }
    // To the moment at which the field is over.
    void Finish(uint64_t field) { GoTo((field + 1) * kFieldTime); }

    uint16_t At(uint32_t address) { return Element<uint16_t>(address / 2); }
    // Rows of 64 bytes from `address` on, `width` pixels, as `pixel` tells, with nothing written
    // before and behind.
    void Expect(uint32_t address, uint32_t width, uint32_t height,
                const std::function<uint16_t(uint32_t x, uint32_t y)>& pixel) {
        EXPECT_EQ(At(address - 2), 0xEEEE);
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t x = 0; x < 32; ++x) {
                const uint16_t want = x < width ? pixel(x, y) : 0xEEEE;
                ASSERT_EQ(At(address + y * 64 + x * 2), want) << x << "," << y;
            }
        }
        EXPECT_EQ(At(address + height * 64), 0xEEEE);
    }
    void ExpectUntouched(uint32_t address, uint32_t bytes) {
        for (uint32_t at = address; at < address + bytes; at += 2) {
            ASSERT_EQ(At(at), 0xEEEE) << at;
        }
    }

    NumberedSource source;
};

constexpr auto Pixel = NumberedSource::Pixel;

TEST(VideoPort, TakesTheWindowOfAFieldIntoTheBuffer) {
    for (const board::Chip chip : {board::Chip::Permedia, board::Chip::Permedia2}) {
        PortRig r(chip);
        r.Stream(0);
        r.Finish(1);
        r.Expect(0x1000, 16, 8, [](uint32_t x, uint32_t y) { return Pixel(1, 4 + y, 4 + x); });
        r.ExpectUntouched(0x2000, 0x2000);
        EXPECT_EQ(r.board.FaultReport().Describe(), "");
    }
}

TEST(VideoPort, StartsWithAFieldAndNotInTheMiddleOfOne) {
    PortRig r;
    r.GoTo(5 * kLineTime);
    r.Stream(0);
    r.GoTo(kFieldTime);
    r.ExpectUntouched(0x1000, 0x3000);
    r.Finish(1);
    EXPECT_EQ(r.At(0x1000), Pixel(1, 4, 4));
}

TEST(VideoPort, ALineIsInMemoryWhenTheNextOneBegins) {
    PortRig r;
    r.Stream(0);
    r.GoTo(kFieldTime + 7 * kLineTime - 1);
    EXPECT_EQ(r.At(0x1000 + 2 * 64), 0xEEEE);
    r.GoTo(kFieldTime + 7 * kLineTime);
    EXPECT_EQ(r.At(0x1000 + 2 * 64), Pixel(1, 6, 4));
    EXPECT_EQ(r.At(0x1000 + 3 * 64), 0xEEEE);
}

TEST(VideoPort, TheCurrentLineFollowsTheSource) {
    PortRig r;
    r.Stream(0);
    for (uint64_t time = kLineTime; time < 3 * kFieldTime; time += 125) {
        r.GoTo(time);
        ASSERT_EQ(r.Get(reg::VSCurrentLine), time / kLineTime % 20) << time;
    }
}

TEST(VideoPort, TheNextBufferIsTakenUpWhenAFieldBegins) {
    PortRig r;
    r.Set(reg::VSNextBuffer, 1);
    r.Stream(0x4);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 0u);
    r.GoTo(kFieldTime);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 1u);
    r.Set(reg::VSNextBuffer, 2);
    r.GoTo(2 * kFieldTime - 1);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 1u);
    r.Finish(2);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 2u);
    r.ExpectUntouched(0x1000, 0x1000);
    r.Expect(0x2000, 16, 8, [](uint32_t x, uint32_t y) { return Pixel(1, 4 + y, 4 + x); });
    r.Expect(0x3000, 16, 8, [](uint32_t x, uint32_t y) { return Pixel(2, 4 + y, 4 + x); });
}

TEST(VideoPort, OneOfTwoBuffersIsToldByTheLowBitAlone) {
    PortRig r;
    r.Set(reg::VSNextBuffer, 0x22);
    r.Stream(0);
    r.Finish(1);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 0u);
    EXPECT_EQ(r.At(0x1000), Pixel(1, 4, 4));
}

TEST(VideoPort, AFourthBufferIsAFault) {
    PortRig r;
    r.Set(reg::VSNextBuffer, 3);
    r.Stream(0x4);
    r.Finish(1);
    r.ExpectUntouched(0x1000, 0x3000);
    EXPECT_EQ(r.board.FaultReport().Describe(),
              "2 uses of fourth video buffer, which is not modelled\n");
}

TEST(VideoPort, MirroredRowsRunFromRightToLeftAndPairsKeepTheirColours) {
    PortRig r;
    r.Stream(0x80);
    r.Finish(1);
    r.Expect(0x1000, 16, 8, [](uint32_t x, uint32_t y) {
        // Luminance of the mirrored pixel; colour of that place in the mirrored pair.
        const uint32_t from = 15 - x;
        return static_cast<uint16_t>((Pixel(1, 4 + y, 4 + from) & 0xFF) |
                                     (Pixel(1, 4 + y, 4 + (from ^ 1)) & 0xFF00));
    });
}

TEST(VideoPort, MirroredUpDownTheRowsGoUpFromTheLineBelowThePicture) {
    PortRig r;
    r.Set(reg::VSBufferBase0, (0x1000 + 8 * 64) / 8);
    r.Stream(0x100);
    r.Finish(1);
    r.Expect(0x1000, 16, 8, [](uint32_t x, uint32_t y) { return Pixel(1, 4 + 7 - y, 4 + x); });
}

TEST(VideoPort, ScalingKeepsTheFirstOfEveryTwoFourOrEightPixels) {
    for (uint32_t code = 1; code <= 2; ++code) {
        PortRig r;
        r.Stream(code << 3);
        r.Finish(1);
        r.Expect(0x1000, 16u >> code, 8, [code](uint32_t x, uint32_t y) {
            const uint32_t pair = (x & ~1u) << code;
            return static_cast<uint16_t>((Pixel(1, 4 + y, 4 + (x << code)) & 0xFF) |
                                         (Pixel(1, 4 + y, 4 + pair + (x & 1)) & 0xFF00));
        });
    }
    PortRig r; // 16 pixels make one pair
    r.Stream(3 << 3);
    r.Finish(1);
    r.Expect(0x1000, 2, 8, [](uint32_t x, uint32_t y) {
        return static_cast<uint16_t>((Pixel(1, 4 + y, 4 + 8 * x) & 0xFF) |
                                     (Pixel(1, 4 + y, 4 + x) & 0xFF00));
    });
}

TEST(VideoPort, ScalingKeepsTheFirstOfEveryTwoFourOrEightLines) {
    for (uint32_t code = 1; code <= 3; ++code) {
        PortRig r;
        r.Stream(code << 5);
        r.Finish(1);
        r.Expect(0x1000, 16, 8u >> code,
                 [code](uint32_t x, uint32_t y) { return Pixel(1, 4 + (y << code), 4 + x); });
    }
}

TEST(VideoPort, InterleavedFieldsShareABuffer) {
    PortRig r;
    r.Stream(0x800);
    r.GoTo(3 * kFieldTime - 1);
    r.Set(reg::VSNextBuffer, 1); // too late for the second field of a frame
    r.GoTo(4 * kFieldTime - 1);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 0u);
    r.Expect(0x1000, 16, 16,
             [](uint32_t x, uint32_t y) { return Pixel(2 + y % 2, 4 + y / 2, 4 + x); });
    r.GoTo(4 * kFieldTime);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 1u);
}

TEST(VideoPort, WithAnInvertedPolarityTheOtherFieldComesFirst) {
    PortRig r;
    r.Set(reg::VSControl, 0x1603);
    r.Stream(0x800);
    r.Finish(2);
    r.Expect(0x1000, 16, 16,
             [](uint32_t x, uint32_t y) { return Pixel(1 + y % 2, 4 + y / 2, 4 + x); });
}

TEST(VideoPort, APortOf16BitsCountsPixelsTwice) {
    PortRig r;
    r.source.signal.portWidth = 16;
    r.board.SetVideoSource(&r.source);
    r.Set(reg::VSControl, 0x3604);
    r.Set(reg::VSStartPixel, 8);
    r.Set(reg::VSEndPixel, 40);
    r.Stream(0);
    r.Finish(1);
    r.Expect(0x1000, 16, 8, [](uint32_t x, uint32_t y) { return Pixel(1, 4 + y, 4 + x); });
}

TEST(VideoPort, AWindowLargerThanTheSignalTakesWhatThereIs) {
    PortRig r;
    r.Set(reg::VSStartPixel, 0);
    r.Set(reg::VSEndPixel, 2047);
    r.Set(reg::VSStartLine, 0);
    r.Set(reg::VSEndLine, 100);
    r.Stream(0);
    r.Finish(1);
    r.Expect(0x1000, 24, 20, [](uint32_t x, uint32_t y) { return Pixel(1, y, x); });
}

TEST(VideoPort, NothingMovesWhileThePortIsSetForAnotherSignal) {
    // The other width, the other line reference, the other field reference, no format.
    for (const uint32_t control : {0x3604u, 0x3C03u, 0x3203u, 0x3600u}) {
        PortRig r;
        r.Set(reg::VSControl, control);
        r.Set(reg::VSNextBuffer, 1);
        r.Stream(0);
        r.GoTo(kFieldTime + 7 * kLineTime);
        EXPECT_EQ(r.Get(reg::VSCurrentLine), 0u) << control;
        EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 0u) << control;
        EXPECT_EQ(r.source.lines, 0) << control;
    }
}

TEST(VideoPort, AStreamThatIsTurnedOffLeavesTheRestOfItsFieldOut) {
    PortRig r;
    r.Stream(0);
    r.GoTo(kFieldTime + 7 * kLineTime);
    r.Set(reg::VSStreamControl, 0);
    r.Stream(0);
    r.GoTo(2 * kFieldTime);
    EXPECT_EQ(r.At(0x1000 + 2 * 64), Pixel(1, 6, 4));
    r.ExpectUntouched(0x1000 + 3 * 64, 64);
    r.Finish(2);
    EXPECT_EQ(r.At(0x1000 + 3 * 64), Pixel(2, 7, 4));
}

TEST(VideoPort, AnUnpluggedSourceStandsStill) {
    PortRig r;
    r.Stream(0);
    r.GoTo(kFieldTime + 7 * kLineTime + 3);
    r.board.SetVideoSource(nullptr);
    r.Set(reg::VSNextBuffer, 1);
    const uint32_t timer = r.Get(reg::FreeRunningTimer);
    r.GoTo(4 * kFieldTime + 9 * kLineTime);
    EXPECT_EQ(r.Get(reg::VSCurrentLine), 7u);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 0u);
    EXPECT_GT(r.Get(reg::FreeRunningTimer), timer);
    r.ExpectUntouched(0x1000 + 3 * 64, 64);
    // Back again, it goes on where it would be by now.
    r.board.SetVideoSource(&r.source);
    r.GoTo(4 * kFieldTime + 10 * kLineTime);
    EXPECT_EQ(r.Get(reg::VSCurrentLine), 10u);
    r.ExpectUntouched(0x1000 + 3 * 64, 64);
    r.Finish(5);
    EXPECT_EQ(r.At(0x2000), Pixel(5, 4, 4));
}

TEST(VideoPort, RaisesItsInterruptWhenTheLastLineOfAFieldIsIn) {
    PortRig r;
    int calls = 0;
    r.board.SetInterruptHandler([&] { ++calls; });
    r.Set(reg::IntEnable, 0x200);
    r.Stream(0);
    r.GoTo(kFieldTime + 12 * kLineTime - 1);
    EXPECT_EQ(r.Get(reg::IntFlags) & 0x200, 0u);
    EXPECT_EQ(calls, 0);
    r.GoTo(kFieldTime + 12 * kLineTime);
    EXPECT_EQ(r.Get(reg::IntFlags) & 0x200, 0x200u);
    EXPECT_EQ(calls, 1);
    r.Set(reg::IntFlags, 0x200);
    EXPECT_EQ(r.Get(reg::IntFlags) & 0x200, 0u);
    for (int field = 2; field <= 4; ++field) {
        r.Finish(static_cast<uint64_t>(field));
        EXPECT_EQ(calls, field);
    }
}

TEST(VideoPort, AFieldInOneStepIsTheSameAsInMany) {
    PortRig r, s;
    r.Stream(0x4);
    s.Stream(0x4);
    r.GoTo(5 * kFieldTime + 1234);
    while (s.board.Microseconds() < 5 * kFieldTime + 1234) {
        s.board.Advance(1);
    }
    EXPECT_TRUE(std::ranges::equal(r.board.FrameBuffer(), s.board.FrameBuffer()));
    EXPECT_EQ(r.Get(reg::VSCurrentLine), s.Get(reg::VSCurrentLine));
    EXPECT_EQ(r.source.lines, s.source.lines);
}

// 300 years of 2,000 lines a second.
constexpr uint64_t kYears = 300ull * 365 * 24 * 3600 * 1000000;

TEST(VideoPort, YearsPassWhileNobodyTakesALine) {
    PortRig r;
    r.GoTo(kYears + 3 * kLineTime);
    EXPECT_EQ(r.source.lines, 0);
    r.Stream(0);
    r.GoTo(kYears + 2 * kFieldTime);
    r.Expect(0x1000, 16, 8,
             [](uint32_t x, uint32_t y) { return Pixel(kYears / kFieldTime + 1, 4 + y, 4 + x); });
}

TEST(VideoPort, OfYearsOfFieldsTheLastOnesAreTaken) {
    PortRig r;
    r.Stream(0x800);
    r.GoTo(kYears + 7 * kLineTime);
    EXPECT_EQ(r.Get(reg::VSCurrentLine), 7u);
    // A field of each parity lies in the buffer, and the first lines of a third.
    constexpr uint64_t kField = kYears / kFieldTime;
    for (uint32_t line = 4; line < 12; ++line) {
        const uint64_t even = line < 7 ? kField : kField - 2;
        EXPECT_EQ(r.At(0x1000 + (line - 4) * 128), Pixel(even, line, 4)) << line;
        EXPECT_EQ(r.At(0x1000 + (line - 4) * 128 + 64), Pixel(kField - 1, line, 4)) << line;
    }
    EXPECT_LT(r.source.lines, 3 * 4096 * 20);
}

TEST(VideoPort, ABufferOutsideTheMemoryIsAFault) {
    PortRig r;
    r.Set(reg::VSBufferBase0, ((1u << 20) - 4 * 64) / 8);
    r.Stream(0);
    r.Finish(1);
    EXPECT_EQ(r.At((1u << 20) - 64), Pixel(1, 7, 4));
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 4u);
}

TEST(VideoPort, LineAndBufferCannotBeWritten) {
    PortRig r;
    r.Stream(0);
    r.GoTo(kFieldTime + 3 * kLineTime);
    r.Set(reg::VSCurrentLine, 99);
    r.Set(reg::VSCurrentBuffer, 2);
    r.Set(reg::FreeRunningTimer, 0);
    EXPECT_EQ(r.Get(reg::VSCurrentLine), 3u);
    EXPECT_EQ(r.Get(reg::VSCurrentBuffer), 0u);
    EXPECT_EQ(r.Get(reg::FreeRunningTimer), (kFieldTime + 3 * kLineTime) * 50);
}

TEST(VideoPort, GlintBoardsHaveNone) {
    PortRig r(board::Chip::MX);
    r.Stream(0);
    r.Finish(1);
    EXPECT_EQ(r.source.lines, 0);
    EXPECT_EQ(r.board.FaultReport().Describe(), "1 uses of video port, which is not modelled\n");
}

TEST(FreeRunningTimer, Counts50CyclesAMicrosecondAndWraps) {
    rig::Rig r(StillConfig());
    EXPECT_EQ(r.board.Read(reg::FreeRunningTimer), 0u);
    r.board.Advance(123);
    EXPECT_EQ(r.board.Read(reg::FreeRunningTimer), 6150u);
    r.board.Advance(85899346 - 123); // 2^32 cycles are 85899345.92 microseconds
    EXPECT_EQ(r.board.Read(reg::FreeRunningTimer), 4u);
}

} // namespace
