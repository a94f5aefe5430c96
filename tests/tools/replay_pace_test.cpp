// Scripts of every kind on chips so busy that a wait which is missing or too small loses writes:
// the words and what they draw stay those of a quick chip.
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

namespace korv {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// Routines that ask for fewer entries than they write (host/inspect/unwaited.h): these scripts do
// lose some.
bool AsksForTooLittle(const std::string& script, bool fifo) {
    // Stretches, whose source and destination need the processor whatever carries the words.
    if (script.starts_with("blits-mx")) {
        return true;
    }
    // Untextured triangles for a Delta; render state STIPPLEDALPHA.
    return fifo && (script == "delta-glint" || script == "delta-permedia" || script == "lines-sx" ||
                    script == "lines-tx");
}
// A batch's first words are replaced while it is under way (driver/core/dma.cpp,
// SendSubBufferDirect): a chip this slow reads the new ones.
bool ReplacesWordsUnderWay(const std::string& script, bool fifo) {
    return !fifo && script == "textures-permedia-delta";
}

// The script with `timing` for each of its displays, beside all that it may refer to.
std::string SlowedScript(const TemporaryFolder& folder, const std::string& script,
                         const json& timing) {
    const fs::path original = ScenePath(script);
    for (const auto& entry : fs::directory_iterator(original.parent_path())) {
        if (entry.path() != original) {
            fs::create_symlink(entry.path(), folder / entry.path().filename().string());
        }
    }
    json contents = json::parse(ReadAll(original.string()));
    size_t displays = 0;
    for (json& step : contents.at("steps")) {
        if (step.value("do", "") == "display") {
            step["timing"].update(timing);
            ++displays;
        }
        // What a step hands in moves after it.
        step.erase("expectWords");
    }
    EXPECT_NE(displays, 0u);
    return folder.Write(original.filename().string(), contents.dump());
}

class SceneOnABusyChip : public testing::TestWithParam<std::string> {
  protected:
    static void PlayAt(const json& timing, bool fifo) {
        SCOPED_TRACE(timing.dump());
        const TemporaryFolder folder;
        std::vector<std::string> arguments{"replay", SlowedScript(folder, GetParam(), timing)};
        if (fifo) {
            arguments.push_back("--fifo");
        }
        const ToolResult result = RunTool(arguments);
        if (AsksForTooLittle(GetParam(), fifo) || ReplacesWordsUnderWay(GetParam(), fifo)) {
            EXPECT_EQ(result.code, 1) << "no exception any more";
        } else {
            EXPECT_EQ(result.code, 0);
            EXPECT_EQ(result.err, "");
        }
    }
};

TEST_P(SceneOnABusyChip, LosesNothingThroughTheFifo) {
    PlayAt({{"fifoDepth", 16}, {"fifoTicksPerEntry", 9}, {"pixelsPerTick", 40}}, true);
}

TEST_P(SceneOnABusyChip, LosesNothingByItsOwnCarrier) {
    PlayAt({{"fifoDepth", 16}, {"fifoTicksPerEntry", 9}, {"pixelsPerTick", 40}}, false);
}

INSTANTIATE_TEST_SUITE_P(Scenes, SceneOnABusyChip, testing::ValuesIn(SceneScripts()),
                         SceneTestName);

} // namespace
} // namespace korv
