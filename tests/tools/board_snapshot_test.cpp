// Every script's traffic with its board, cut at random events: a board that is restored from a
// snapshot goes on as the one that was never stopped.
#include "board/board.h"
#include "chip/registers.h"
#include "tests/tools/replay_rig.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tools/korv/chips/chips.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

namespace korv {
namespace {

// A line of event text (docs/events.md).
struct BusEvent {
    char kind;
    uint32_t offset, word;
};

std::vector<BusEvent> ReadEvents(const std::string& path) {
    std::vector<BusEvent> events;
    std::istringstream text(ReadAll(path));
    for (std::string line; std::getline(text, line);) {
        BusEvent event{line[0], 0, 0};
        std::istringstream numbers(line.substr(1));
        numbers >> std::hex;
        if (event.kind == 'r' || event.kind == 'w') {
            numbers >> event.offset;
        }
        numbers >> event.word;
        events.push_back(event);
    }
    return events;
}

// Does to the board what the event tells. Words that came by DMA go through the window here, and
// their transfers don't start.
void Play(board::Board& board, const BusEvent& event, std::vector<uint32_t>& reads) {
    switch (event.kind) {
    case 'r':
        reads.push_back(board.Read(event.offset));
        break;
    case 'w':
        if (event.offset != reg::DMACount) {
            board.Write(event.offset, event.word);
        }
        break;
    default:
        board.WriteFifo(&event.word, 1);
        break;
    }
}

board::Config ConfigOfScript(const std::string& path) {
    const std::string text = ReadAll(path);
    const size_t key = text.find("\"chip\"");
    const size_t first = text.find('"', key + 6) + 1;
    const std::string name =
        key == std::string::npos ? "permedia" : text.substr(first, text.find('"', first) - first);
    const ChipChoice& chip = ChipByName(name);
    board::Config config;
    config.chip = FindDevice(chip.deviceId)->model;
    config.setupUnit = chip.setupUnit;
    config.frameBufferBytes = config.localBufferBytes = 4u << 20;
    return config;
}

class ScriptSnapshot : public testing::TestWithParam<std::string> {};

TEST_P(ScriptSnapshot, RestoredBoardsGoOnFromAnyEvent) {
    const std::string path = ScenePath(GetParam());
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"replay", path, "--events", folder / "events.txt"}).code, 0);
    size_t total = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder.Path())) {
        const std::vector<BusEvent> events = ReadEvents(file.path().string());
        total += events.size();
        const board::Config config = ConfigOfScript(path);
        board::Board whole(config);
        std::vector<uint32_t> reads, cutReads;
        for (const BusEvent& event : events) {
            Play(whole, event, reads);
        }
        std::mt19937 random(static_cast<uint32_t>(events.size()));
        std::vector<size_t> cuts{0, events.size()};
        for (int i = 0; i < 2; ++i) {
            cuts.push_back(random() % (events.size() + 1));
        }
        std::ranges::sort(cuts);
        auto cut = std::make_unique<board::Board>(config);
        for (size_t part = 0; part + 1 < cuts.size(); ++part) {
            const auto bytes = cut->Save(board::Board::Contents::WithMemories);
            cut = std::make_unique<board::Board>(config);
            ASSERT_EQ(cut->Restore(bytes), std::nullopt);
            for (size_t i = cuts[part]; i < cuts[part + 1]; ++i) {
                Play(*cut, events[i], cutReads);
            }
        }
        EXPECT_EQ(reads, cutReads);
        EXPECT_TRUE(std::ranges::equal(whole.FrameBuffer(), cut->FrameBuffer()));
        EXPECT_TRUE(std::ranges::equal(whole.LocalBuffer(), cut->LocalBuffer()));
        EXPECT_EQ(whole.FaultReport().Describe(), cut->FaultReport().Describe());
        EXPECT_TRUE(whole.Save(board::Board::Contents::StateAlone) ==
                    cut->Save(board::Board::Contents::StateAlone));
    }
    EXPECT_GT(total, 0u);
}

INSTANTIATE_TEST_SUITE_P(Scenes, ScriptSnapshot, testing::ValuesIn(SceneScripts()), SceneTestName);

} // namespace
} // namespace korv
