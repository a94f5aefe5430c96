// What .clang-format cannot say for the version in use: every body of a branch or loop has braces.
#include "tests/house/include_graph.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>

namespace house {

namespace {

// In formatted code a body without braces stands below a head that ends with its condition.
bool IsHeadWithoutBrace(std::string line) {
    line.erase(0, line.find_first_not_of(" }"));
    if (line == "else" || line == "do") {
        return true;
    }
    if (line.starts_with("else ")) {
        line.erase(0, 5);
    }
    const bool head = line.starts_with("if (") || line.starts_with("if constexpr (") ||
                      line.starts_with("for (") || line.starts_with("while (");
    return head && line.ends_with(')') &&
           std::ranges::count(line, '(') == std::ranges::count(line, ')');
}

TEST(Style, EveryBodyHasBraces) {
    for (const char* folder :
         {"chip", "driver", "board", "stream", "host", "tools", "web", "bench", "tests"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 std::filesystem::path(KORV_PROJECT) / folder)) {
            if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h") {
                continue;
            }
            std::istringstream lines(TextOf(entry.path()));
            int number = 0;
            for (std::string line; std::getline(lines, line);) {
                ++number;
                EXPECT_FALSE(IsHeadWithoutBrace(line))
                    << entry.path().string() << ":" << number << ": " << line;
            }
        }
    }
}

TEST(Style, HeadsWithoutBracesAreSeen) {
    EXPECT_TRUE(IsHeadWithoutBrace("    if (a(b) != c)"));
    EXPECT_TRUE(IsHeadWithoutBrace("    } else if (a)"));
    EXPECT_TRUE(IsHeadWithoutBrace("    else"));
    EXPECT_TRUE(IsHeadWithoutBrace("for (int i = 0; i < n; ++i)"));
    EXPECT_FALSE(IsHeadWithoutBrace("    if (a) {"));
    EXPECT_FALSE(IsHeadWithoutBrace("    if (a(b) &&"));
    EXPECT_FALSE(IsHeadWithoutBrace("    } while (a);"));
    EXPECT_FALSE(IsHeadWithoutBrace("    iffy(a)"));
}

} // namespace

} // namespace house
