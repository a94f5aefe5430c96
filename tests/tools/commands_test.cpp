// That a file in commands/ is all that a command needs to be there.
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tools/korv/commands/cli/command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace korv {
namespace {

using testing::ElementsAre;

TEST(Commands, AreTheFilesOfTheFolder) {
    std::set<std::string> files, names;
    const auto folder = ScenesFolder().parent_path() / "tools/korv/commands";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".cpp") {
            files.insert(entry.path().stem().string());
        }
    }
    for (const Command* command : Commands()) {
        std::string name = command->name;
        std::ranges::replace(name, '-', '_');
        names.insert(name);
    }
    EXPECT_EQ(names, files);
}

TEST(Commands, HelpListsThemGroupByGroup) {
    std::vector<std::string> listed;
    const std::string help = RunTool({"--help"}).out;
    for (const char* group : {"Draw", "Look", "Check", "Serve"}) {
        size_t at = help.find(std::string("\n") + group + ":\n");
        ASSERT_NE(at, help.npos) << help;
        listed.emplace_back(group);
        for (at = help.find('\n', at + 1) + 1; help.compare(at, 2, "  ") == 0;
             at = help.find('\n', at) + 1) {
            if (help[at + 2] != ' ') {
                listed.push_back(help.substr(at + 2, help.find(' ', at + 2) - at - 2));
            }
        }
    }
    EXPECT_THAT(listed, ElementsAre("Draw", "demo", "model", "render", "replay", "texture", "Look",
                                    "assemble", "dump", "info", "inspect", "play", "state", "stats",
                                    "trace", "trim", "why", "Check", "conform", "diff", "lint",
                                    "Serve", "board"));
}

TEST(Commands, EachHasHelpThatBeginsWithItsSynopsis) {
    for (const Command* command : Commands()) {
        const ToolResult result = RunTool({command->name, "--help"});
        EXPECT_EQ(result.code, 0);
        EXPECT_TRUE(result.out.starts_with(std::string(command->synopsis) + "\n")) << result.out;
    }
}

} // namespace
} // namespace korv
