// The life of a pixel is what somebody sees who looks at its memory behind every event.
#include "stream/pixel_history.h"
#include "tests/stream/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace stream {
namespace {

using What = PixelMoment::What;

constexpr uint32_t kPitch = 32, kHeight = 40;

// Two surfaces of 8 bits that change places now and then.
void RunWithSurfaces(Session& session, std::mt19937& dice) {
    const auto tell = [&](const char* name, int64_t id, int64_t offset) {
        session.Recorder().Put(Mark(MarkKind::Surface, name)
                                   .Add("id", id)
                                   .Add("memory", "frame")
                                   .Add("offset", offset)
                                   .Add("pitch", kPitch)
                                   .Add("width", 32)
                                   .Add("height", kHeight)
                                   .Add("bits", 8)
                                   .Add("format", "indexed"));
    };
    constexpr int64_t kPlaces[] = {0, 16 * kPitch};
    for (int i = 0; i < 12; ++i) {
        tell("front", 1, kPlaces[i & 1]);
        tell("back", 2, kPlaces[1 - (i & 1)]);
        session.Run(80 + static_cast<int>(dice() % 40));
    }
    session.Recorder().Put(Mark(MarkKind::SurfaceGone, "back").Add("id", 2));
}

struct Change {
    uint64_t event;
    int before, after; // -1: the pixel lies nowhere
    bool operator==(const Change&) const = default;
};

// Several in one event are one, and may be none.
void Add(std::vector<Change>& changes, const Change& change) {
    if (!changes.empty() && changes.back().event == change.event) {
        changes.back().after = change.after;
    } else {
        changes.push_back(change);
    }
    if (changes.back().before == changes.back().after) {
        changes.pop_back();
    }
}

// Looks behind every event, and finds the surface by the marks alone.
std::vector<Change> Watched(const std::string& capture, const std::string& surface, uint32_t x,
                            uint32_t y) {
    std::istringstream in(capture);
    const auto source = OpenSource(in);
    Player player(*source);
    std::vector<Change> changes;
    std::optional<int64_t> offset;
    int value = -1;
    Event event;
    while (true) {
        const uint64_t number = source->At().event;
        if (!player.Step(event)) {
            return changes;
        }
        if (event.kind == EventKind::Mark && event.mark->name == surface) {
            offset = event.mark->kind == MarkKind::SurfaceGone ? std::nullopt
                                                               : event.mark->Number("offset");
        }
        const int now =
            offset ? player.Board().FrameBuffer()[static_cast<size_t>(*offset) + y * kPitch + x]
                   : -1;
        if (now != value) {
            Add(changes, {number, value, now});
            value = now;
        }
    }
}

// What of the moments makes a difference, event by event.
std::vector<Change> Told(const std::vector<PixelMoment>& moments) {
    std::vector<Change> changes;
    const auto value = [](const std::optional<uint32_t>& bits) {
        return bits ? static_cast<int>(*bits) : -1;
    };
    int latest = -1;
    for (const PixelMoment& moment : moments) {
        EXPECT_EQ(value(moment.before), latest);
        latest = value(moment.after);
        Add(changes, {moment.at.event, value(moment.before), latest});
    }
    return changes;
}

class LifeOfAPixel : public testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Seeds, LifeOfAPixel, testing::Range(0u, 8u));

TEST_P(LifeOfAPixel, IsWhatLookingBehindEveryEventFinds) {
    board::Config config =
        SmallBoard(GetParam() % 2 != 0 ? board::Chip::TX : board::Chip::Permedia);
    if (GetParam() % 4 > 1) {
        config.timing.fifoDrainPerTick = 1;
        config.timing.dmaWordsPerTick = 3;
        config.timing.pixelsPerTick = GetParam() % 8 > 3 ? 20 : 0;
    }
    std::mt19937 dice(GetParam());
    Session session(config, GetParam());
    RunWithSurfaces(session, dice);
    if (config.chip == board::Chip::Permedia) {
        session.PlugVideo();
        session.Run(40);
    }
    const std::string capture = session.Finish();
    size_t changes = 0, drawn = 0;
    for (int i = 0; i < 12; ++i) {
        const std::string surface = i % 3 == 0 ? "back" : "front";
        const uint32_t x = dice() % 24, y = dice() % kHeight;
        std::istringstream in(capture);
        const auto source = OpenSource(in);
        Player player(*source);
        PixelHistory history(player, surface, x, y);
        ASSERT_TRUE(history.Run({}, {Place::Kind::End, 0, {}}));
        const auto watched = Watched(capture, surface, x, y);
        EXPECT_EQ(Told(history.Moments()), watched) << surface << ' ' << x << ',' << y;
        changes += watched.size();
        drawn += static_cast<size_t>(
            std::ranges::count(history.Moments(), What::Drawn, &PixelMoment::what));
    }
    EXPECT_GT(changes, 30u);
    EXPECT_GT(drawn, 20u);
}

// The word that is told is the command's, however long it waited: the colour that it drew with is
// the one that was sent last before it.
TEST_P(LifeOfAPixel, NamesTheWordThatDrew) {
    board::Config config = SmallBoard();
    config.timing.fifoDepth = 60000; // nothing is lost
    config.timing.fifoTicksPerEntry = GetParam() % 4 * 3;
    Session session(config, 100 + GetParam());
    std::mt19937 dice(GetParam());
    RunWithSurfaces(session, dice);
    const std::string capture = session.Finish();

    std::vector<uint32_t> colourBefore; // by word
    std::vector<std::optional<board::RegisterWrite>> writes;
    {
        std::istringstream in(capture);
        const auto source = OpenSource(in);
        board::StreamDecoder decoder;
        Event event;
        uint32_t colour = 0;
        while (source->Next(event)) {
            if (event.IsWord()) {
                board::RegisterWrite write{};
                const bool data =
                    decoder.Feed(event.value, write) == board::StreamDecoder::Kind::Data;
                colourBefore.push_back(colour);
                writes.push_back(data ? std::optional(write) : std::nullopt);
                colour = data && write.tag == tag::Color ? write.data : colour;
            }
        }
    }
    std::istringstream in(capture);
    const auto source = OpenSource(in);
    Player player(*source);
    PixelHistory history(player, "front", 10, 20);
    ASSERT_TRUE(history.Run({}, {Place::Kind::End, 0, {}}));
    int drawn = 0;
    for (const PixelMoment& moment : history.Moments()) {
        if (moment.what != What::Drawn) {
            continue;
        }
        ++drawn;
        ASSERT_TRUE(moment.by.word);
        const auto& write = writes.at(moment.by.at.word);
        ASSERT_TRUE(write);
        EXPECT_EQ(write->tag, tag::Render);
        EXPECT_EQ(write->data, moment.by.write.data);
        EXPECT_EQ(moment.after, colourBefore[moment.by.at.word] & 0xFF);
        const auto words = history.Entries().Words(moment.by.primitive.value());
        ASSERT_TRUE(words);
        EXPECT_GE(moment.by.at.word, words->first);
        EXPECT_LT(moment.by.at.word, words->first + words->count);
    }
    EXPECT_GT(drawn, 5);
}

// By hand: what a moment says, and what lies between two places.
TEST(PixelHistory, TellsWhatTouchedThePixel) {
    board::Board board(SmallBoard());
    std::ostringstream out;
    CaptureRecorder recorder(board, out, "a test");
    recorder.Put(Mark(MarkKind::Surface, "s")
                     .Add("id", 1)
                     .Add("memory", "frame")
                     .Add("offset", 0)
                     .Add("pitch", 32)
                     .Add("width", 32)
                     .Add("height", 16)
                     .Add("bits", 8)
                     .Add("format", "indexed"));
    const auto draw = [&](uint32_t colour, uint32_t left) {
        const uint32_t words[] = {
            tag::FBReadMode, 1,          tag::FBWriteMode, 1,         tag::Color,  colour,
            tag::StartXDom,  left << 16, tag::StartXSub,   20u << 16, tag::StartY, 2u << 16,
            tag::dY,         1u << 16,   tag::Count,       4,         tag::Render, 0x40};
        board.WriteFifo(words, std::size(words));
    };
    recorder.BeginCall(Mark(MarkKind::Call, "First"));
    draw(5, 3);
    recorder.EndCall();
    recorder.Put(Mark(MarkKind::Step, "behind").Add("number", 0));
    const uint32_t scissor[] = {tag::ScissorMode, 1, tag::ScissorMinXY, 11, tag::ScissorMaxXY,
                                100u << 16 | 100};
    board.WriteFifo(scissor, std::size(scissor));
    draw(6, 3);
    recorder.Store(Memory::FrameBuffer, 4 * 32 + 9, std::vector<uint8_t>{1, 2, 3});
    recorder.Finish();
    const std::string capture = out.str();

    const auto life = [&](const Place& from, const Place& to) {
        std::istringstream in(capture);
        const auto source = OpenSource(in);
        Player player(*source);
        PixelHistory history(player, "s", 10, 4);
        EXPECT_TRUE(history.Run(from, to));
        return history.Moments();
    };
    const auto all = life({}, {Place::Kind::End, 0, {}});
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[0].what, What::Moved);
    EXPECT_EQ(all[0].place->byte, 4u * 32 + 10);
    EXPECT_EQ(all[1].what, What::Drawn);
    EXPECT_EQ(all[1].by.at.word, 17u);
    EXPECT_EQ(all[1].by.call, 0u);
    EXPECT_EQ(all[1].before, 0u);
    EXPECT_EQ(all[1].after, 5u);
    EXPECT_EQ(all[2].what, What::Cut);
    EXPECT_TRUE(all[2].pixel.Failed(board::PixelTest::Scissor));
    EXPECT_EQ(all[2].pixel.x, 10);
    EXPECT_EQ(all[2].by.at.word, 17u + 6 + 18);
    EXPECT_EQ(all[2].after, 5u);
    EXPECT_EQ(all[3].what, What::Stored);
    EXPECT_EQ(all[3].after, 2u);
    EXPECT_EQ(life({Place::Kind::Step, 0, {}}, {Place::Kind::End, 0, {}}).size(), 2u);
    EXPECT_EQ(life({}, {Place::Kind::Step, 0, {}}).size(), 2u);
}

} // namespace
} // namespace stream
