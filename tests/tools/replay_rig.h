#pragma once
// Scripts made of steps, and what `korv replay` says of them.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace korv {

// A script of two lines of preamble, then a step a line from line 3 on.
inline std::string Script(const std::vector<std::string>& steps) {
    std::string text = "{ \"version\": 1,\n\"steps\": [\n";
    for (size_t i = 0; i < steps.size(); ++i) {
        text += steps[i] + (i + 1 < steps.size() ? ",\n" : "\n");
    }
    return text + "] }\n";
}

inline constexpr const char* kDisplay =
    R"({"do": "display", "name": "main", "chip": "permedia", "width": 64, "height": 64})";
inline constexpr const char* kStart = R"({"do": "start"})";
inline constexpr const char* kMemory =
    R"({"do": "surface", "name": "s", "caps": "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_SYSTEMMEMORY", )"
    R"("width": 4, "height": 4})";
inline constexpr const char* kTarget =
    R"({"do": "surface", "name": "t", "caps": "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_3DDEVICE", )"
    R"("width": 32, "height": 32})";
inline constexpr const char* kContext = R"({"do": "context", "name": "c", "target": "t"})";
inline constexpr const char* kTriangle =
    R"({"do": "triangles", "context": "c", "vertices": [[1, 1], [20, 1], [1, 20]])"; // open

class ReplayTest : public testing::Test {
  protected:
    ToolResult Replay(const std::string& text, std::vector<std::string> options = {}) {
        path_ = folder_.Write("script.json", text);
        options.insert(options.begin(), {"replay", path_});
        return RunTool(options);
    }
    // Exit `code` and one line that starts with the script's place.
    void ExpectLine(const std::string& text, int code, const std::string& rest) {
        const ToolResult result = Replay(text);
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "korv: " + path_ + ":" + rest + "\n");
    }
    void ExpectMalformed(const std::vector<std::string>& steps, const std::string& rest) {
        ExpectLine(Script(steps), 2, rest);
    }

    TemporaryFolder folder_;
    std::string path_;
};

} // namespace korv
