// The state at any place is that of a board that was stopped there.
#include "stream/board_state.h"
#include "tests/stream/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace stream {
namespace {

using testing::ElementsAre;

struct Stop {
    Position at;
    std::vector<uint32_t> registers; // by offset / 4
    uint64_t microseconds;
};

// The recorder tells where the board stood when it was stopped and looked at.
std::vector<Stop> RunWithStops(Session& session, int stops) {
    std::vector<Stop> found;
    for (int i = 0; i < stops; ++i) {
        session.Run(5);
        // A mark ends what waits to be written.
        session.Recorder().Put(Mark(MarkKind::Picture, "stop"));
        Stop stop{session.Recorder().At(), {}, session.Board().Microseconds()};
        for (uint32_t offset = 0; offset < reg::ApertureBytes; offset += 4) {
            stop.registers.push_back(session.Board().RegisterAt(offset));
        }
        found.push_back(std::move(stop));
    }
    return found;
}

class StateAtStops : public testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Seeds, StateAtStops, testing::Range(0u, 8u));

TEST_P(StateAtStops, IsThatOfTheBoard) {
    board::Config config =
        SmallBoard(GetParam() % 2 != 0 ? board::Chip::TX : board::Chip::Permedia);
    if (GetParam() % 4 > 1) {
        config.timing.fifoDrainPerTick = 1;
        config.timing.dmaWordsPerTick = 3;
    }
    Session session(config, GetParam());
    const std::vector<Stop> stops = RunWithStops(session, 20);
    const std::string capture = session.Finish();
    for (const Stop& stop : stops) {
        std::istringstream in(capture);
        const auto source = OpenSource(in);
        StateReader reader(*source);
        ASSERT_TRUE(reader.PlayTo({Place::Kind::Event, stop.at.event, {}}));
        const BoardState state = reader.Read();
        EXPECT_EQ(state.at.event, stop.at.event);
        EXPECT_EQ(state.microseconds, stop.microseconds);
        EXPECT_GT(state.registers.size(), 100u);
        for (const HeldRegister& held : state.registers) {
            EXPECT_EQ(held.view.raw, stop.registers[held.view.offset / 4]) << held.view.name;
        }
    }
}

const HeldRegister* Find(const BoardState& state, const std::string& name) {
    const auto found = std::ranges::find(state.registers, name,
                                         [](const HeldRegister& held) { return held.view.name; });
    return found != state.registers.end() ? &*found : nullptr;
}

// By hand: words that are executed as they come, and words that wait.
TEST(BoardState, TellsWhoWroteARegisterAndWhatIsInFlight) {
    for (const bool slow : {false, true}) {
        board::Config config = SmallBoard();
        config.timing.fifoTicksPerEntry = slow ? 1000 : 0;
        board::Board board(config);
        std::ostringstream out;
        CaptureRecorder recorder(board, out, "a test");
        const uint32_t words[] = {tag::StartXDom,         0x8000, tag::StartXDom, 0x18000,
                                  HoldTag(tag::Color, 3), 0xFF};
        board.WriteFifo(words, std::size(words));
        recorder.Finish();
        std::istringstream in(out.str());
        const auto source = OpenSource(in);
        StateReader reader(*source);
        ASSERT_TRUE(reader.PlayTo({Place::Kind::End, 0, {}}));
        const BoardState state = reader.Read();
        const HeldRegister* x = Find(state, "StartXDom");
        ASSERT_NE(x, nullptr);
        EXPECT_EQ(state.burstWordsLeft, 2u);
        EXPECT_EQ(state.burstRegister, "Color");
        if (!slow) {
            EXPECT_EQ(x->view.raw, 0x18000u);
            EXPECT_EQ(x->meaning, "1.5");
            EXPECT_EQ(x->writer, (WrittenBy{true, 3}));
            EXPECT_EQ(x->writer->Text(), "word:3");
            EXPECT_TRUE(state.waiting.empty());
            continue;
        }
        // The first entry keeps the pipeline busy; it has gone through or waits.
        EXPECT_THAT(state.waiting, testing::Contains("StartXDom = 1.5"));
        EXPECT_NE(x->view.raw, 0x18000u);
        EXPECT_EQ(x->writer, x->view.raw == 0x8000 ? std::optional(WrittenBy{true, 1})
                                                   : std::optional<WrittenBy>());
        EXPECT_EQ(state.waiting.size(), x->view.raw == 0x8000 ? 2u : 3u);
    }
}

} // namespace
} // namespace stream
