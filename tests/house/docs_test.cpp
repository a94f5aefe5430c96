// What the documents say of the tree: files that are there, and where each registry value is read.
#include "tests/house/include_graph.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace house {

namespace {

using std::filesystem::path;

const path kProject = KORV_PROJECT;

std::vector<std::string> Matches(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        found.push_back((*match)[1]);
    }
    return found;
}

TEST(Documents, NameFilesThatExist) {
    size_t named = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kProject / "docs")) {
        for (const std::string& name :
             Matches(TextOf(entry.path()),
                     "`((?:chip|driver|board|stream|remote|host|tools|web|tests|scenes|scripts|"
                     "packaging|bench)/[A-Za-z0-9_./-]*)`")) {
            // A name in capitals stands for any.
            if (std::regex_search(name, std::regex("/[A-Z]+\\."))) {
                continue;
            }
            EXPECT_TRUE(std::filesystem::exists(kProject / name))
                << entry.path().filename() << " names " << name;
            ++named;
        }
    }
    EXPECT_GT(named, 50u);
}

// In a row that names a function or a constant and then a file in brackets or behind "in", the name
// stands in one of the row's files.
TEST(Documents, TheRoadMapsNamesStandInItsFiles) {
    std::istringstream lines(TextOf(kProject / "docs/road-map.md"));
    size_t names = 0;
    for (std::string line; std::getline(lines, line);) {
        std::string code;
        for (const std::string& file : Matches(line, "`([a-z]+/[A-Za-z0-9_./-]+\\.[a-z]+)`")) {
            code += TextOf(kProject / file);
        }
        for (const std::string& name :
             Matches(line, "`(?:[A-Za-z]+(?:\\.|::))?([A-Za-z]*[a-z][A-Z][A-Za-z0-9]*)`")) {
            if (!code.empty() && line.find("Direct3DHAL.") == std::string::npos) {
                EXPECT_NE(code.find(name), std::string::npos) << name << " in: " << line;
                ++names;
            }
        }
    }
    EXPECT_GT(names, 15u);
}

TEST(Documents, TheRoadMapTellsWhereEachRegistryValueIsRead) {
    std::map<std::string, std::set<std::string>> read, told;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kProject / "driver")) {
        if (entry.is_regular_file()) {
            const std::string file = entry.path().lexically_relative(kProject).generic_string();
            for (const std::string& name :
                 Matches(TextOf(entry.path()), "\"((?:Direct3DHAL|OpenGL)\\.\\w+)\"")) {
                read[name].insert(file);
            }
        }
    }
    std::istringstream lines(TextOf(kProject / "docs/road-map.md"));
    for (std::string line; std::getline(lines, line);) {
        for (const std::string& name :
             Matches(line, "^\\| `((?:Direct3DHAL|OpenGL)\\.\\w+)` \\|")) {
            for (const std::string& file : Matches(line, "`(driver/[a-z0-9_/A-Z]+\\.\\w+)`")) {
                told[name].insert(file);
            }
        }
    }
    EXPECT_EQ(read.size(), 27u);
    EXPECT_EQ(told, read);
}

} // namespace

} // namespace house
