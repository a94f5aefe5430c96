#include "stream/error.h"
#include "stream/place.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace stream {
namespace {

using PlaceKind = Place::Kind;

TEST(PlaceText, NamesEveryKind) {
    EXPECT_EQ(ParsePlace("1234"), (Place{PlaceKind::Word, 1234, {}}));
    EXPECT_EQ(ParsePlace("0x10"), (Place{PlaceKind::Word, 16, {}}));
    EXPECT_EQ(ParsePlace("7", PlaceKind::Frame), (Place{PlaceKind::Frame, 7, {}}));
    EXPECT_EQ(ParsePlace("event:5"), (Place{PlaceKind::Event, 5, {}}));
    EXPECT_EQ(ParsePlace("batch:0"), (Place{PlaceKind::Batch, 0, {}}));
    EXPECT_EQ(ParsePlace("mark:a:b"), (Place{PlaceKind::Mark, 0, "a:b"}));
    EXPECT_EQ(ParsePlace("start").kind, PlaceKind::Start);
    EXPECT_EQ(ParsePlace("end").kind, PlaceKind::End);
    for (const char* text : {"word:1", "event:2", "call:3", "batch:4", "step:5", "frame:6",
                             "mark:x y", "start", "end"}) {
        EXPECT_EQ(ParsePlace(text).Text(), text);
    }
    for (const char* text : {"", "x", "-1", "1x", "word:", "word:-1", "words:1", "mark:", "0x",
                             "99999999999999999999"}) {
        EXPECT_THROW(ParsePlace(text), StreamError) << text;
    }
}

TEST(PlaceText, RangesHaveBothTheirEnds) {
    const auto range = [](const char* text) {
        const PlaceRange parsed = ParseRange(text);
        return parsed.from.Text() + " to " + parsed.to.Text();
    };
    EXPECT_EQ(range("10-20"), "word:10 to word:21");
    EXPECT_EQ(range("step:3-5"), "step:3 to step:6");
    EXPECT_EQ(range("step:3-frame:1"), "step:3 to frame:2");
    EXPECT_EQ(range("call:7"), "call:7 to call:8");
    EXPECT_EQ(range("word:10-"), "word:10 to end");
    EXPECT_EQ(range("start-9"), "start to word:10");
    EXPECT_THROW(ParseRange("9-3"), StreamError);
    EXPECT_THROW(ParseRange("-"), StreamError);
    EXPECT_THROW(ParseRange("start"), StreamError);
}

TEST(PlaceReached, IsBehindTheMarkThatBeginsIt) {
    EXPECT_FALSE(HasReached(ParsePlace("batch:2"), {.batch = 2}));
    EXPECT_TRUE(HasReached(ParsePlace("batch:2"), {.batch = 3}));
    EXPECT_TRUE(HasReached(ParsePlace("frame:0"), {}));
    EXPECT_FALSE(HasReached(ParsePlace("frame:1"), {}));
    EXPECT_TRUE(HasReached(ParsePlace("frame:1"), {.frame = 1}));
    EXPECT_TRUE(HasReached(ParsePlace("0"), {}));
    EXPECT_FALSE(HasReached(ParsePlace("1"), {}));
    EXPECT_FALSE(HasReached(ParsePlace("end"), {.word = 100}));
}

TEST(PlaceReached, TellsWhereItIs) {
    EXPECT_EQ(TextOf(Position{}), "word:0");
    EXPECT_EQ(TextOf({.event = 7, .word = 3}, false), "event:7");
    EXPECT_EQ(TextOf({.word = 12, .batch = 1, .frame = 2, .step = 3}),
              "word:12 (batch:0, frame:2, step:2)");
    EXPECT_EQ(ToJson({.event = 20, .word = 12, .call = 4, .frame = 2}).dump(),
              R"({"place":"word:12","word":12,"event":20,"batch":null,"frame":2,"step":null,)"
              R"("call":3})");
    EXPECT_EQ(ToJson({.event = 20, .word = 12}, false)["place"], "event:20");
}

// What is told can be given back: it has been reached there, and not before.
TEST(PlaceReached, TakesWhatIsTold) {
    const Position at{.event = 40, .word = 12, .call = 5, .batch = 1, .frame = 2, .step = 3};
    Position before = at;
    --before.event, --before.word, --before.call, --before.batch, --before.frame, --before.step;
    std::vector<Place> told = Around(at);
    ASSERT_EQ(told.size(), 4u);
    told.push_back(PlaceAt(at));
    told.push_back(PlaceAt(at, false));
    for (const Place& place : told) {
        const Place given = ParsePlace(place.Text());
        EXPECT_EQ(given, place);
        EXPECT_TRUE(HasReached(given, at)) << place.Text();
        EXPECT_FALSE(HasReached(given, before)) << place.Text();
    }
}

} // namespace
} // namespace stream
