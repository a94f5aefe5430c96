// Steps of HAL scripts for video. What comes of them is told by the scripts in scenes/.
#include "tests/tools/replay_rig.h"

#include <gtest/gtest.h>

namespace korv {
namespace {

class ReplayVideo : public ReplayTest {
  protected:
    std::string Source(const std::string& fields) {
        return R"({"do": "videoSource")" + (fields.empty() ? "" : ", " + fields) + "}";
    }
    void ExpectPlays(const std::vector<std::string>& steps) {
        const ToolResult result = Replay(Script(steps));
        EXPECT_EQ(result.code, 0) << result.err;
    }
};

TEST_F(ReplayVideo, ASourceIsPluggedInReplacedAndUnplugged) {
    ExpectPlays({kDisplay, kStart, Source(R"("width": 32, "height": 16)"),
                 R"({"do": "advance", "microseconds": 100000})",
                 Source(R"("width": 720, "height": 240, "portWidth": 16, "fieldsPerSecond": 60,
                           "linesPerField": 300, "lineReferenceHigh": false,
                           "fieldReferenceHigh": false, "marksPixels": true)"),
                 R"({"do": "advance", "microseconds": 100000})", Source(R"("unplug": true)"),
                 R"({"do": "faults", "expect": {"any": false}})"});
}

TEST_F(ReplayVideo, ASourceHasAPictureAndAWidthOfThePort) {
    ExpectMalformed({kDisplay, kStart, Source("")}, "5: /steps/2: 'width' is missing");
    ExpectMalformed({kDisplay, kStart, Source(R"("width": 32, "height": 16, "portWidth": 12)")},
                    "5: /steps/2/portWidth: expected 8 or 16");
    ExpectMalformed({kDisplay, kStart, Source(R"("unplug": false)")},
                    "5: /steps/2/unplug: expected true: a source is plugged in by its width and "
                    "height");
}

TEST_F(ReplayVideo, BuffersOfAPortAreSurfacesThatExist) {
    ExpectMalformed({kDisplay, kStart, R"({"do": "call", "name": "UpdateVideoPort",
                     "fields": {"lplpDDSurface": ["nobody"]}})"},
                    "6: /steps/2/fields/lplpDDSurface/0: no step before this one makes a surface "
                    "'nobody'");
}

} // namespace
} // namespace korv
