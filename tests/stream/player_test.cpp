// A bare board that plays a capture is in the state of the board that was recorded, at every mark,
// however that one kept time.
#include "stream/player.h"
#include "tests/stream/session.h"

#include <gtest/gtest.h>

namespace stream {
namespace {

struct Pace {
    const char* name;
    board::Timing timing;
};

constexpr board::Timing kLagging{.fifoTicksPerEntry = 3,
                                 .pixelsPerTick = 8,
                                 .dmaWordsPerTick = 1,
                                 .strayOutputWords = 2,
                                 .microsecondsPerTick = 5};
constexpr Pace kPaces[] = {
    {"AtOnce", {}},
    {"Slow",
     {.fifoDepth = 16,
      .fifoDrainPerTick = 1,
      .fifoReportLag = 3,
      .dmaWordsPerTick = 2,
      .interruptLatency = 7}},
    {"Lagging", kLagging},
    {"Standing", {.interruptLatency = 4, .microsecondsPerTick = 0}},
};

class Playing : public testing::TestWithParam<Pace> {};

TEST_P(Playing, IsTheBoardThatWasRecordedAtEveryMark) {
    for (const board::Chip chip : {board::Chip::TX, board::Chip::Permedia2}) {
        for (uint32_t seed = 0; seed < 20; ++seed) {
            SCOPED_TRACE(seed);
            const auto made = SessionOf(chip, GetParam().timing, seed, 400);
            Session& session = *made;
            std::istringstream in(session.Finish());
            EXPECT_GT(session.Interrupts(), 0u);

            const auto source = OpenSource(in);
            Player player(*source);
            Event event;
            int marks = 0;
            while (player.Step(event)) {
                if (event.kind == EventKind::Mark && event.mark->Number("registers")) {
                    ++marks;
                    const Checksums here = ChecksumsOf(player.Board());
                    ASSERT_EQ(event.mark->Number("frameBuffer"), here.frameBuffer);
                    ASSERT_EQ(event.mark->Number("localBuffer"), here.localBuffer);
                    ASSERT_EQ(event.mark->Number("registers"), here.registers);
                }
            }
            EXPECT_EQ(marks, 26);
            EXPECT_EQ(ChecksumsOf(player.Board()), session.Sums());
            EXPECT_EQ(player.Board().Microseconds(), session.Microseconds());
            EXPECT_EQ(player.DifferenceCount(), 0u)
                << (player.Differences().empty() ? "" : player.Differences().front().what);
            EXPECT_EQ(source->CutOff(), "");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Paces, Playing, testing::ValuesIn(kPaces),
                         [](const auto& info) { return std::string(info.param.name); });

// The bus is held instead: time passes within an access, and lines of video with it.
TEST(PlayingHeldBus, TakesLinesThatPassWithinAnAccess) {
    board::Config config = SmallBoard();
    config.timing = kLagging;
    config.timing.fifoDepth = 4;
    config.timing.pixelsPerTick = 1;
    config.timing.microsecondsPerTick = 500;
    Session session(config, 5);
    session.PlugVideo();
    session.Board().Write(reg::DisconnectControl, 1);
    session.Run(400);
    std::istringstream in(session.Finish());
    const auto source = OpenSource(in);
    Player player(*source);
    EXPECT_TRUE(player.PlayTo(ParsePlace("end")));
    EXPECT_EQ(ChecksumsOf(player.Board()), session.Sums());
    EXPECT_EQ(player.DifferenceCount(), 0u);
}

TEST(PlayingChanged, TellsAReadThatDiffers) {
    board::Board board(SmallBoard());
    std::ostringstream out;
    CaptureWriter writer(out, SmallBoard(), "a test");
    Event event;
    event.kind = EventKind::Read;
    event.offset = reg::InFIFOSpace;
    event.value = 255; // the FIFO has 256 entries
    writer.Put(event);
    writer.Finish();
    std::istringstream in(out.str());
    const auto source = OpenSource(in);
    Player player(*source);
    EXPECT_TRUE(player.PlayTo(ParsePlace("end")));
    ASSERT_EQ(player.DifferenceCount(), 1u);
    EXPECT_EQ(player.Differences()[0].what, "register 0018 reads 00000100, it read 000000FF then");
}

TEST(PlayingImpossible, WordsByDmaNeedATransfer) {
    std::ostringstream out;
    CaptureWriter writer(out, SmallBoard(), "a test");
    Event event;
    event.kind = EventKind::DmaWord;
    writer.Put(event);
    writer.Finish();
    std::istringstream in(out.str());
    const auto source = OpenSource(in);
    Player player(*source);
    EXPECT_THROW(player.PlayTo(ParsePlace("end")), StreamError);
}

// A few bytes that would have the board count lines for hours.
TEST(Player, LinesOfVideoWithoutEndAreRefused) {
    std::ostringstream out;
    CaptureWriter writer(out, SmallBoard(), "a test");
    const board::VideoSignal signal{1000, 65535, 8, true, true};
    Event event;
    event.kind = EventKind::VideoSource;
    event.signal = &signal;
    writer.Put(event);
    event = {};
    event.kind = EventKind::Clock;
    event.value = 0xFFFFFFFF;
    writer.Put(event);
    writer.Finish();
    std::istringstream in(out.str());
    const auto source = OpenSource(in);
    Player player(*source);
    try {
        player.PlayTo(ParsePlace("end"));
        FAIL() << "it was played";
    } catch (const StreamError& error) {
        EXPECT_STREQ(error.what(), "more lines of video pass than a session may have, at word:0");
    }
}

} // namespace
} // namespace stream
