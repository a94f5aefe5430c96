// A part that was cut out plays alone as it did in its place: the board
// is the same at its start and at its end, whatever is in flight where it was cut.
#include "stream/error.h"
#include "stream/player.h"
#include "stream/trim.h"
#include "tests/stream/session.h"

#include <gtest/gtest.h>

namespace stream {
namespace {

constexpr board::Timing kBusy{.fifoTicksPerEntry = 3,
                              .pixelsPerTick = 2,
                              .fifoReportLag = 2,
                              .dmaWordsPerTick = 1,
                              .interruptLatency = 5,
                              .microsecondsPerTick = 7};

std::string Part(const std::string& whole, const std::string& range, TrimmedPart* cut = nullptr) {
    std::istringstream in(whole);
    const auto source = OpenSource(in);
    Player player(*source);
    std::ostringstream out;
    const TrimmedPart part = Trimmer(player, out, "a test").Write(ParseRange(range));
    if (cut != nullptr) {
        *cut = part;
    }
    return out.str();
}

std::string Recorded(board::Chip chip, uint32_t seed) {
    return SessionOf(chip, seed % 3 == 0 ? board::Timing{} : kBusy, seed, 300)->Finish();
}

TEST(TrimmedPart, EndsAsTheWholeIsThere) {
    std::mt19937 dice(1);
    for (uint32_t seed = 0; seed < 24; ++seed) {
        SCOPED_TRACE(seed);
        const std::string whole =
            Recorded(seed % 4 < 2 ? board::Chip::TX : board::Chip::Permedia2, seed);
        std::istringstream wholeIn(whole);
        const auto wholeSource = OpenSource(wholeIn);
        const Position total = *wholeSource->Total();
        const uint64_t first = dice() % total.event;
        const uint64_t last = first + dice() % (total.event - first);
        const std::string part =
            Part(whole, "event:" + std::to_string(first) + "-" + std::to_string(last));

        Player played(*wholeSource);
        ASSERT_TRUE(played.PlayTo(ParsePlace("event:" + std::to_string(first))));
        std::istringstream partIn(part);
        const auto partSource = OpenSource(partIn);
        Player alone(*partSource);
        Event event;
        do {
            ASSERT_TRUE(alone.Step(event));
        } while (event.kind != EventKind::State);
        ASSERT_EQ(ChecksumsOf(alone.Board()), ChecksumsOf(played.Board()));
        EXPECT_TRUE(alone.PlayTo(ParsePlace("end")));
        EXPECT_TRUE(played.PlayTo(ParsePlace("event:" + std::to_string(last + 1))));
        EXPECT_EQ(ChecksumsOf(alone.Board()), ChecksumsOf(played.Board()));
        EXPECT_EQ(alone.Board().Microseconds(), played.Board().Microseconds());
        EXPECT_EQ(alone.Board().Save(board::Board::Contents::WithMemories),
                  played.Board().Save(board::Board::Contents::WithMemories));
        EXPECT_EQ(alone.DifferenceCount(), 0u)
            << (alone.Differences().empty() ? "" : alone.Differences().front().what);
    }
}

TEST(TrimmedPart, IsCutWhereItsRangeSays) {
    const std::string whole = Recorded(board::Chip::TX, 3);
    TrimmedPart cut;
    const std::string part = Part(whole, "step:4-5", &cut);
    EXPECT_EQ(cut.from.step, 4u);
    std::istringstream in(part);
    const auto source = OpenSource(in);
    EXPECT_EQ(source->Maker(), "a test");
    Event event;
    std::vector<int64_t> steps;
    while (source->Next(event)) {
        if (event.kind == EventKind::Mark && event.mark->kind == MarkKind::Step) {
            steps.push_back(*event.mark->Number("number"));
        }
    }
    EXPECT_EQ(steps, (std::vector<int64_t>{4, 5}));
    EXPECT_EQ(source->CutOff(), "");

    std::istringstream words(Part(whole, "word:10-19"));
    const auto ten = OpenSource(words);
    EXPECT_EQ(ten->Total()->word, 10u);
}

TEST(TrimmedPart, CanBeCutAgain) {
    const std::string whole = Recorded(board::Chip::Permedia2, 5);
    TrimmedPart first;
    const std::string part = Part(whole, "word:40-", &first);
    const std::string again = Part(part, "word:20-29");
    const std::string atOnce = Part(whole, "word:60-69");
    std::istringstream againIn(again), onceIn(atOnce);
    const auto a = OpenSource(againIn), b = OpenSource(onceIn);
    Player x(*a), y(*b);
    EXPECT_TRUE(x.PlayTo(ParsePlace("end")));
    EXPECT_TRUE(y.PlayTo(ParsePlace("end")));
    EXPECT_EQ(x.Board().Save(board::Board::Contents::WithMemories),
              y.Board().Save(board::Board::Contents::WithMemories));
}

TEST(TrimmedPart, MarksCountFromItsStart) {
    std::ostringstream out;
    CaptureWriter writer(out, SmallBoard(), "a test");
    const auto call = [&](uint32_t number, const char* primitives) {
        writer.Put(Mark(MarkKind::Call, "RenderPrimitive"));
        writer.Put(Mark(MarkKind::CallEnd));
        writer.Put(Mark(MarkKind::Words).Add("call", number));
        for (uint32_t i = 0; i < 4; ++i) {
            Event event;
            event.kind = EventKind::FifoWord;
            writer.Put(event);
        }
        writer.Put(
            Mark(MarkKind::Primitives).Add("call", number).Add("words", std::string(primitives)));
    };
    writer.Put(Mark(MarkKind::Surface, "old").Add("id", 1));
    writer.Put(Mark(MarkKind::SurfaceName, "new").Add("id", 1));
    writer.Put(Mark(MarkKind::Surface, "gone").Add("id", 2));
    writer.Put(Mark(MarkKind::SurfaceGone, "gone").Add("id", 2));
    call(0, "0+4");
    call(1, "4+2 6+2");
    call(2, "8+4");
    writer.Finish();
    std::istringstream in(Part(out.str(), "call:1"));
    const auto source = OpenSource(in);
    std::vector<std::string> marks;
    Event event;
    while (source->Next(event)) {
        if (event.kind != EventKind::Mark) {
            continue;
        }
        std::string text = NameOf(event.mark->kind);
        text += " " + event.mark->name;
        if (const auto number = event.mark->Number("call")) {
            text += " call " + std::to_string(*number);
        }
        if (const std::string* words = event.mark->Text("words")) {
            text += " of " + *words;
        }
        marks.push_back(text);
    }
    EXPECT_EQ(marks,
              (std::vector<std::string>{"surface new", "call RenderPrimitive", "call end ",
                                        "words  call 0", "primitives  call 0 of 0+2 2+2", "end "}));
}

TEST(TrimmedPart, MustBeThere) {
    const std::string whole = Recorded(board::Chip::TX, 3);
    EXPECT_THROW(Part(whole, "step:900"), StreamError);
    EXPECT_THROW(Part(whole, "step:1-900"), StreamError);
    EXPECT_THROW(Part(whole, "word:0-99999999"), StreamError);
    EXPECT_THROW(Part(whole, "frame:7-"), StreamError);
}

TEST(StateInAStream, MustBeOneOfItsBoard) {
    for (const std::string& bad : {std::string(), std::string("KORVSTAT"), std::string(64, 'x')}) {
        std::ostringstream out;
        CaptureWriter writer(out, SmallBoard(), "a test");
        Event event;
        event.kind = EventKind::State;
        event.bytes = {reinterpret_cast<const uint8_t*>(bad.data()), bad.size()};
        writer.Put(event);
        writer.Finish();
        std::istringstream in(out.str());
        const auto source = OpenSource(in);
        Player player(*source);
        EXPECT_THROW(player.PlayTo(ParsePlace("end")), StreamError);
    }
}

// Whatever is in its bytes: it is taken up or refused.
TEST(StateInAStream, MayBeDamaged) {
    Session session(SmallBoard(board::Chip::TX), 7);
    session.Run(40);
    const std::vector<uint8_t> good = session.Board().Save(board::Board::Contents::StateAlone);
    std::mt19937 dice(7);
    int refused = 0;
    for (int round = 0; round < 500; ++round) {
        std::vector<uint8_t> bad = good;
        for (uint32_t i = 1 + dice() % 3; i != 0; --i) {
            bad[dice() % bad.size()] = static_cast<uint8_t>(dice());
        }
        if (round % 5 == 0) {
            bad.resize(dice() % bad.size());
        }
        std::ostringstream out;
        CaptureWriter writer(out, SmallBoard(board::Chip::TX), "a test");
        Event event;
        event.kind = EventKind::State;
        event.bytes = bad;
        writer.Put(event);
        event = {};
        event.kind = EventKind::FifoWord;
        event.value = tag::FogColor;
        writer.Put(event);
        writer.Put(event);
        writer.Finish();
        std::istringstream in(out.str());
        const auto source = OpenSource(in);
        Player player(*source);
        try {
            EXPECT_TRUE(player.PlayTo(ParsePlace("end")));
        } catch (const StreamError&) {
            ++refused;
        }
    }
    EXPECT_GE(refused, 100); // those that were cut, at least
}

} // namespace
} // namespace stream
