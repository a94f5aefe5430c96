// scenes/README.md names every file of the folder, and no other.
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

namespace korv {
namespace {

// The first cells of the index's tables: "| `NAME` | ...".
std::multiset<std::string> IndexedFiles() {
    const std::string index = ReadAll((ScenesFolder() / "README.md").string());
    const std::string start = "\n| `";
    std::multiset<std::string> names;
    for (size_t at = index.find(start); at != index.npos; at = index.find(start, at)) {
        at += start.size();
        names.insert(index.substr(at, index.find('`', at) - at));
    }
    return names;
}

TEST(ScenesIndex, NamesEveryFileOnce) {
    std::multiset<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(ScenesFolder())) {
        if (entry.is_regular_file()) {
            files.insert(std::filesystem::relative(entry.path(), ScenesFolder()).string());
        }
    }
    ASSERT_EQ(files.erase("README.md"), 1u);
    EXPECT_EQ(IndexedFiles(), files);
}

} // namespace
} // namespace korv
