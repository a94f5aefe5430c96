// Whose words a capture says they are: where all are one context's, later calls' come later, and
// however slowly the queue sends them each stays its call's.
#include "stream/source.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace korv {
namespace {

namespace fs = std::filesystem;

// The call of each word, -1 for nobody's.
std::vector<int64_t> OwnersOf(const std::string& capture) {
    std::ifstream in(capture, std::ios::binary);
    const auto source = stream::OpenSource(in);
    std::vector<int64_t> owners;
    int64_t owner = -1;
    stream::Event event;
    while (source->Next(event)) {
        if (event.IsWord()) {
            owners.push_back(owner);
        } else if (event.kind == stream::EventKind::Mark) {
            const stream::Mark& mark = *event.mark;
            if (mark.kind == stream::MarkKind::Words) {
                owner = mark.Number("call").value();
            } else if (mark.kind == stream::MarkKind::Primitives) {
                EXPECT_EQ(mark.Number("call"), owner);
                owner = -1;
            }
        }
    }
    return owners;
}

// A script beside the scenes' files, with this timing.
std::vector<int64_t> Captured(const std::string& script, const nlohmann::json& timing) {
    const TemporaryFolder folder;
    const fs::path original = ScenePath(script);
    for (const auto& entry : fs::directory_iterator(original.parent_path())) {
        fs::create_symlink(entry.path(), folder / entry.path().filename().string());
    }
    auto contents = nlohmann::json::parse(ReadAll(original.string()));
    for (auto& step : contents.at("steps")) {
        if (step.value("do", "") == "display") {
            step["timing"] = timing;
        }
    }
    const std::string path = folder.Write("changed.json", contents.dump());
    const ToolResult result = RunTool({"replay", path, "--capture", folder / "c.korv"});
    EXPECT_EQ(result.code, 0) << result.err;
    return OwnersOf(folder / "c.korv");
}

class WordOwners : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Scenes, WordOwners,
                         testing::Values("triangles-tx", "triangles-permedia", "textures-mx-delta"),
                         SceneTestName);

TEST_P(WordOwners, AreTheCallsThatWroteThem) {
    const auto quick = Captured(GetParam(), {{"dmaWordsPerTick", 0}});
    ASSERT_GT(quick.size(), 10000u);
    EXPECT_TRUE(std::ranges::is_sorted(quick) || GetParam().starts_with("textures"));
    EXPECT_EQ(std::ranges::count(quick, -1), 0);
    EXPECT_TRUE(Captured(GetParam(), {{"dmaWordsPerTick", 3}, {"interruptLatency", 20}}) == quick);
    EXPECT_TRUE(Captured(GetParam(), {{"dmaWordsPerTick", 1}, {"fifoDrainPerTick", 1}}) == quick);
}

} // namespace
} // namespace korv
