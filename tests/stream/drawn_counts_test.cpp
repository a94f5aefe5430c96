// What is drawn, counted by hand.
#include "stream/overdraw.h"
#include "stream/statistics.h"
#include "tests/stream/session.h"

#include <gtest/gtest.h>

namespace stream {
namespace {

// Two rectangles of 8-bit pixels, 32 a row, and a fill, cut to columns 0 to 9.
std::string Rectangles() {
    board::Board board(SmallBoard());
    std::ostringstream out;
    CaptureRecorder recorder(board, out, "a test");
    const auto send = [&](std::vector<uint32_t> words) {
        board.WriteFifo(words.data(), words.size());
    };
    const auto rectangle = [&](uint32_t left, uint32_t top, uint32_t right, uint32_t bottom,
                               uint32_t render) {
        send({tag::StartXDom, left << 16, tag::StartXSub, right << 16, tag::StartY, top << 16,
              tag::dY, 1u << 16, tag::Count, bottom - top, tag::Render, render});
    };
    send({tag::FBReadMode, 1, tag::FBWriteMode, 1, tag::Color, 7, tag::ScissorMode, 1,
          tag::ScissorMinXY, 0, tag::ScissorMaxXY, 100u << 16 | 10});
    rectangle(2, 1, 6, 3, 0x40); // 4 x 2
    recorder.Put(Mark(MarkKind::Frame).Add("number", 0));
    rectangle(5, 2, 12, 4, 0x40);  // 7 x 2, of which 2 x 2 are cut
    send({tag::AlphaTestMode, 1}); // none passes
    rectangle(0, 0, 3, 3, 0x40);
    rectangle(0, 5, 2, 6, 0x48); // a fill knows no alpha test
    recorder.Put(Mark(MarkKind::Frame).Add("number", 1));
    recorder.Finish();
    return out.str();
}

void Expect(const PixelCounts& counts, uint64_t cut, uint64_t tested, uint64_t passed,
            uint64_t written) {
    EXPECT_EQ(counts.cut, cut);
    EXPECT_EQ(counts.tested, tested);
    EXPECT_EQ(counts.passed, passed);
    EXPECT_EQ(counts.written, written);
}

TEST(DrawnCounts, AreByKindAndFrame) {
    std::istringstream in(Rectangles());
    const auto source = OpenSource(in);
    Player player(*source);
    const Statistics statistics = CountStream(player);
    const DrawnCounts& all = statistics.all.drawn;
    Expect(all.pixels[static_cast<size_t>(DrawnKind::Trapezoid)], 4, 8 + 10 + 9, 18, 18);
    Expect(all.pixels[static_cast<size_t>(DrawnKind::Fill)], 0, 2, 2, 2);
    Expect(all.All(), 4, 29, 20, 20);
    EXPECT_EQ(all.frameBytes, 20u);
    EXPECT_EQ(all.localBytes, 0u);
    ASSERT_EQ(statistics.frames.size(), 2u);
    Expect(statistics.frames[0].drawn.All(), 0, 8, 8, 8);
    Expect(statistics.frames[1].drawn.All(), 4, 21, 12, 12);
    // Playing changes no other number.
    std::istringstream again(Rectangles());
    const auto unplayed = OpenSource(again);
    EXPECT_EQ(CountStream(*unplayed).all.words, statistics.all.words);
    EXPECT_EQ(CountStream(*unplayed).all.drawn.All().tested, 0u);
}

TEST(Overdraw, CountsWritesOfEachPixel) {
    std::istringstream in(Rectangles());
    const auto source = OpenSource(in);
    Player player(*source);
    Overdraw overdraw(player.Board().FrameBuffer().size(), 0);
    player.Board().SetProbe(&overdraw);
    ASSERT_TRUE(player.PlayTo({Place::Kind::End, 0, {}}));
    SurfaceLayout surface;
    surface.pitch = 32;
    surface.width = 12;
    surface.height = 6;
    surface.bits = 8;
    const auto counts = overdraw.Of(surface);
    for (uint32_t y = 0; y < 6; ++y) {
        for (uint32_t x = 0; x < 12; ++x) {
            const int first = x >= 2 && x < 6 && y >= 1 && y < 3;
            const int second = x >= 5 && x < 10 && y >= 2 && y < 4;
            const int fill = x < 2 && y == 5;
            EXPECT_EQ(counts[y * 12 + x], first + second + fill) << x << ',' << y;
        }
    }
    // Pixels of 16 bits have as many as their bytes at most.
    surface.width = 6;
    surface.bits = 16;
    EXPECT_EQ(overdraw.Of(surface)[2 * 6 + 2], 2);
    overdraw.Clear();
    EXPECT_EQ(overdraw.Of(surface), std::vector<uint16_t>(36));
}

} // namespace
} // namespace stream
