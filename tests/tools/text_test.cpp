#include "tools/korv/base/text.h"

#include <gtest/gtest.h>

#include <vector>

namespace korv {
namespace {

TEST(Text, ControlCharactersBecomeVisible) {
    EXPECT_EQ(Printable("plain, 'quoted' \\ text"), "plain, 'quoted' \\ text");
    EXPECT_EQ(Printable(std::string("a\nb\tc\rd\0e\x1B[31m\x7F", 15)),
              "a\\nb\\tc\\rd\\x00e\\x1B[31m\\x7F");
    EXPECT_EQ(Printable("B\xC3\xBChne \xE2\x82\xAC \xF0\x9F\x98\x80"),
              "B\xC3\xBChne \xE2\x82\xAC \xF0\x9F\x98\x80");
    // A lone byte, a cut character, an overlong one, a surrogate, a control character from 0x80.
    EXPECT_EQ(Printable("\xFCx"), "\\xFCx");
    EXPECT_EQ(Printable("\xE2\x82"), "\\xE2\\x82");
    EXPECT_EQ(Printable("\xC0\xAF"), "\\xC0\\xAF");
    EXPECT_EQ(Printable("\xED\xA0\x80"), "\\xED\\xA0\\x80");
    EXPECT_EQ(Printable("\xC2\x9B"), "\\xC2\\x9B");
}

TEST(Text, CountsHaveASingular) {
    EXPECT_EQ(Count(0, "step"), "0 steps");
    EXPECT_EQ(Count(1, "step"), "1 step");
    EXPECT_EQ(Count(2, "step"), "2 steps");
}

TEST(Text, TheNearestNameIsTheOneWithTheFewestChanges) {
    const std::vector<std::string> names{"render", "replay", "trace", "info"};
    EXPECT_EQ(Nearest("rendr", names), "render");
    EXPECT_EQ(Nearest("reply", names), "replay");
    EXPECT_EQ(Nearest("tracer", names), "trace");
    EXPECT_EQ(Nearest("INFO", {}), "");
    EXPECT_EQ(Nearest("", names), "info");
}

} // namespace
} // namespace korv
