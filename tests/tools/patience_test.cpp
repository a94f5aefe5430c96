// Steps that would wait for ever: one line, exit code 1, and the recordings of what led there. With
// the linked driver and the DLL.
#include "tests/tools/replay_rig.h"

#include <filesystem>
#include <fstream>

namespace korv {

struct Endless {
    const char* name;
    const char* timing; // of the display
    std::vector<std::string> steps;
    const char* line; // behind "SCRIPT:", by both drivers
};

namespace {

const Endless kEndless[] = {
    {"FifoSpace",
     R"({"fifoReportCap": 1})",
     {kStart},
     "4: step /steps/1 'start': DriverInit waits for FIFO space: more is expected than InFIFOSpace "
     "tells, 1, and nothing on the board will change that"},
    {"Retrace",
     R"({"microsecondsPerTick": 0})",
     {kStart, R"({"do": "advance", "microseconds": 4000})",
      R"({"do": "verticalBlank", "flags": "DDWAITVB_BLOCKBEGIN"})"},
     "6: step /steps/3 'verticalBlank': the callback of DDHAL_WAITFORVERTICALBLANKDATA waits for "
     "the vertical retrace: LineCounter stays at [0-9]+, and nothing on the board will change "
     "that"},
    {"Queue",
     "{}",
     {kStart,
      R"({"do": "set", "record": "ChipInfo", )"
      R"("fields": {"DMAState": "DMAQueueOn", "QueueHead": 3, "QueueEnd": 7}})",
      R"({"do": "export", "name": "KORV_WaitForDMA"})"},
     "6: step /steps/3 'export': KORV_WaitForDMA waits for the DMA queue: its tail is expected to "
     "move from 0 on, the head is at 3 of 7, no transfer runs, for [0-9.]+ s of "},
};

std::string DisplayAt(const char* timing) {
    return std::string(R"({"do": "display", "name": "main", "chip": "permedia", "width": 64, )") +
           R"("height": 64, "timing": )" + timing + "}";
}

} // namespace

class EndlessWait : public ReplayTest, public testing::WithParamInterface<Endless> {};

void PrintTo(const Endless& endless, std::ostream* out) {
    *out << endless.name;
}

TEST_P(EndlessWait, IsTold) {
    std::vector<std::string> steps = GetParam().steps;
    steps.insert(steps.begin(), DisplayAt(GetParam().timing));
    const std::string path = folder_.Write("script.json", Script(steps));
    const std::string events = folder_.Path() + "/events.txt";
    for (const std::vector<std::string>& driver :
         {std::vector<std::string>{}, {"--dll", KORV_DLL_PATH}}) {
        std::vector<std::string> arguments{"replay", path, "--events", events};
        arguments.insert(arguments.end(), driver.begin(), driver.end());
        EXPECT_EXIT(RunTool(arguments), testing::ExitedWithCode(1),
                    "^korv: .*script.json:" + std::string(GetParam().line));
        EXPECT_GT(std::filesystem::file_size(events), 1000u);
        std::filesystem::remove(events);
    }
}

INSTANTIATE_TEST_SUITE_P(All, EndlessWait, testing::ValuesIn(kEndless),
                         [](const testing::TestParamInfo<Endless>& info) {
                             return std::string(info.param.name);
                         });

TEST_F(ReplayTest, PatienceIsANumberOfSeconds) {
    for (const char* bad : {"nan", "-1", "1e9", "soon"}) {
        const ToolResult result = Replay(Script({kDisplay}), {"--patience", bad});
        EXPECT_EQ(result.code, 2) << bad;
        EXPECT_NE(result.err.find("--patience"), std::string::npos) << result.err;
    }
    EXPECT_EQ(Replay(Script({kDisplay, kStart}), {"--patience", "0"}).code, 0);
}

} // namespace korv
