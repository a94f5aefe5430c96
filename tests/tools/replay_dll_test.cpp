// What ships is what was tested: every scene script gives the same words, the same register events
// and the same pictures by KORV32.dll and by the linked driver.
#include "host/driver_module.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

namespace korv {
namespace {

// Everything that a replay leaves behind, file by file.
using Outcome = std::map<std::string, std::string>;

Outcome Replay(const std::string& script, std::vector<std::string> options) {
    const TemporaryFolder folder;
    std::vector<std::string> arguments{"replay",         ScenePath(script), "--words",
                                       folder / "words", "--events",        folder / "events.txt",
                                       "--pictures",     folder.Path()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.code, 0) << result.err;
    Outcome outcome;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        outcome[entry.path().filename().string()] = ReadAll(entry.path().string());
    }
    return outcome;
}

// Scripts that call what the DLL has, but hands out to nobody.
const std::vector<std::string> kLinkedOnly = {"video-permedia", "video-permedia2"};

std::vector<std::string> ScriptsForDll() {
    std::vector<std::string> scripts = SceneScripts();
    std::erase_if(scripts, [](const std::string& script) {
        return std::ranges::count(kLinkedOnly, script) != 0;
    });
    return scripts;
}

class SceneByDll : public testing::TestWithParam<std::string> {
  protected:
    void TearDown() override { host::UseLinkedDriver(); }

    // Whether a word came by that road, as event text tells it.
    static bool HasEvent(const Outcome& outcome, const char* kind) {
        for (const auto& [name, contents] : outcome) {
            if (name.starts_with("events") && contents.find(kind) != std::string::npos) {
                return true;
            }
        }
        return false;
    }
    static bool DrawsByDma(const Outcome& outcome) { return HasEvent(outcome, "\nd "); }

    // Plays by both drivers and compares, unless the linked driver leaves just what it left by a
    // road `compared` already: what does not depend on the road is not played again, as each
    // access of the DLL to the chip is a trap.
    Outcome Compare(std::vector<std::string> options, const Outcome& compared = {}) {
        const Outcome linked = Replay(GetParam(), options);
        EXPECT_GE(linked.size(), 2u);
        if (linked == compared) {
            return linked;
        }
        options.insert(options.end(), {"--dll", KORV_DLL_PATH});
        const Outcome dll = Replay(GetParam(), options);
        EXPECT_EQ(linked.size(), dll.size());
        for (const auto& [name, contents] : linked) {
            const auto other = dll.find(name);
            EXPECT_TRUE(other != dll.end() && other->second == contents) << name << " differs";
        }
        return linked;
    }
};

TEST_P(SceneByDll, IsEqualByDma) {
    // The queue, unless the script says otherwise; then without it.
    const Outcome outcome = Compare({});
    if (GetParam().starts_with("triangles-")) {
        EXPECT_TRUE(DrawsByDma(outcome));
    }
    // Without the queue a display that is not the primary drops its batches.
    if (GetParam() != "two-displays") {
        Compare({"--subbuffers", "2"}, outcome);
    }
}

TEST_P(SceneByDll, IsEqualThroughTheFifo) {
    // By the queue this is compared above.
    const Outcome outcome = Compare({"--fifo"}, Replay(GetParam(), {}));
    if (GetParam().starts_with("triangles-")) {
        EXPECT_TRUE(HasEvent(outcome, "\nf "));
    }
    // What another client hands in itself goes by DMA all the same.
    const bool client =
        GetParam().starts_with("client-batches") || GetParam() == "two-displays-exports";
    EXPECT_EQ(DrawsByDma(outcome), client);
}

INSTANTIATE_TEST_SUITE_P(Scenes, SceneByDll, testing::ValuesIn(ScriptsForDll()), SceneTestName);

TEST(ReplayByDll, VideoPortEntriesAreOutOfReach) {
    for (const std::string& script : kLinkedOnly) {
        const ToolResult result = RunTool({"replay", ScenePath(script), "--dll", KORV_DLL_PATH});
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.err, testing::HasSubstr("the driver hands out no CanCreateVideoPort"));
        host::UseLinkedDriver();
    }
}

} // namespace
} // namespace korv
