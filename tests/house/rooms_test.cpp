// Who may include whom: the project's files against tests/house/rooms.txt.
#include "tests/house/include_graph.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace house {

namespace {

const IncludeGraph& Project() {
    static const IncludeGraph graph = ReadIncludes(KORV_PROJECT);
    return graph;
}

const RoomRules& Rules() {
    static const RoomRules rules =
        ReadRules(std::filesystem::path(KORV_PROJECT) / "tests/house/rooms.txt");
    return rules;
}

TEST(Rooms, EveryFileHasARoom) {
    for (const auto& [file, includes] : Project()) {
        EXPECT_FALSE(Rules().RoomOf(file).empty()) << file << " is in no room of rooms.txt";
    }
}

TEST(Rooms, KnowOnlyWhomTheyMay) {
    for (const Arrow& arrow : ForbiddenArrows(Project(), Rules())) {
        ADD_FAILURE() << arrow.file << " includes " << arrow.included << ": rooms.txt lets '"
                      << Rules().RoomOf(arrow.file) << "' not know '"
                      << Rules().RoomOf(arrow.included) << "'";
    }
}

TEST(Rooms, AreGrantedNothingThatNobodyNeeds) {
    for (const std::string& unused : UnusedRules(Project(), Rules())) {
        ADD_FAILURE() << "rooms.txt allows " << unused << ", which nothing uses";
    }
}

TEST(Rooms, StandOnFloors) {
    EXPECT_EQ(CircleOfRooms(Rules()), "");
}

TEST(Rooms, HaveNoCircleOfHeaders) {
    EXPECT_EQ(CircleOfHeaders(Project()), "");
}

// In the driver not even by way of a source.
TEST(Rooms, HaveNoCircleInTheDriver) {
    EXPECT_EQ(CircleOfUnits(Project(), "driver/"), "");
}

// The DLL is compiled without any runtime; <cstdio> and <cstdlib> serve the checks of hosted
// builds.
TEST(Rooms, TheDriverUsesTheLanguagesOwnHeadersAlone) {
    const std::set<std::string> language = {"array",       "bit",    "concepts", "cstddef",
                                            "cstdint",     "cstdio", "cstdlib",  "span",
                                            "type_traits", "utility"};
    for (const char* folder : {"chip", "driver"}) {
        for (const std::string& header :
             SystemHeaders(std::filesystem::path(KORV_PROJECT) / folder)) {
            EXPECT_TRUE(language.contains(header)) << folder << " includes <" << header << ">";
        }
    }
}

// The check itself, on a house of three rooms.
class SmallHouse : public testing::Test {
  protected:
    RoomRules rules = ParseRules("ground:\n"
                                 "first: ground\n"
                                 "# a comment\n"
                                 "second: first\n"
                                 "first/top: first second ground\n");
};

TEST_F(SmallHouse, AnArrowThatIsNotListedIsFound) {
    const IncludeGraph graph = {{"second/b.h", {"first/a.h", "ground/g.h"}},
                                {"first/top.cpp", {"first/a.h", "second/b.h", "ground/g.h"}},
                                {"first/c.cpp", {"second/b.h"}}};
    const std::vector<Arrow> found = ForbiddenArrows(graph, rules);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].file, "first/c.cpp");
    EXPECT_EQ(found[0].included, "second/b.h");
    EXPECT_EQ(found[1].file, "second/b.h");
    EXPECT_EQ(found[1].included, "ground/g.h");
}

TEST_F(SmallHouse, ARuleThatNobodyUsesIsFound) {
    const IncludeGraph graph = {{"second/b.h", {"first/a.h"}},
                                {"first/a.h", {"ground/g.h"}},
                                {"first/top.cpp", {"first/a.h", "ground/g.h"}}};
    EXPECT_EQ(UnusedRules(graph, rules), std::vector<std::string>{"first/top -> second"});
}

TEST_F(SmallHouse, TheNarrowestRoomCounts) {
    const RoomRules nested = ParseRules("a:\na/b: a\na/x: a\n");
    EXPECT_EQ(nested.RoomOf("a/x.cpp"), "a/x");
    EXPECT_EQ(nested.RoomOf("a/xy.cpp"), "a");
    EXPECT_EQ(nested.RoomOf("a/z.h"), "a");
    EXPECT_EQ(nested.RoomOf("a/b/x.h"), "a/b");
    EXPECT_EQ(nested.RoomOf("ab/x.h"), "");
}

TEST_F(SmallHouse, CirclesAreFound) {
    EXPECT_EQ(CircleOfRooms(rules), "");
    EXPECT_EQ(CircleOfRooms(ParseRules("a: b\nb: c\nc: a\n")), "a -> b -> c -> a");
    const IncludeGraph bySource = {{"x/a.h", {"x/b.h"}}, {"x/b.cpp", {"x/b.h", "x/a.h"}}};
    EXPECT_EQ(CircleOfUnits(bySource, "x/"), "x/a -> x/b -> x/a");
    EXPECT_EQ(CircleOfUnits(bySource, "y/"), "");
    EXPECT_EQ(CircleOfHeaders(bySource), "");
    EXPECT_EQ(CircleOfHeaders({{"a.h", {"b.h"}}, {"b.h", {"a.h"}}}), "a.h -> b.h -> a.h");
}

TEST_F(SmallHouse, BadRulesAreRefused) {
    EXPECT_THROW(ParseRules("a: b\n"), std::runtime_error);   // b is no room
    EXPECT_THROW(ParseRules("a\n"), std::runtime_error);      // no colon
    EXPECT_THROW(ParseRules("a:\na:\n"), std::runtime_error); // twice
}

} // namespace

} // namespace house
