// `korv inspect`: a page with a capture in it.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace korv {
namespace {

using testing::HasSubstr;

class Inspect : public testing::Test {
  protected:
    std::string At(const std::string& name) const { return folder_ / name; }
    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(At(name), std::ios::binary) << text;
    }
    std::string Read(const std::string& name) const {
        std::ifstream in(At(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    // The bytes of base64 text.
    static std::string Decoded(const std::string& text) {
        const std::string digits =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string bytes;
        uint32_t held = 0;
        int bits = 0;
        for (const char c : text) {
            if (c == '=') {
                break;
            }
            held = held << 6 | static_cast<uint32_t>(digits.find(c));
            bits += 6;
            if (bits >= 8) {
                bits -= 8;
                bytes += static_cast<char>(held >> bits & 0xFF);
            }
        }
        return bytes;
    }

    TemporaryFolder folder_;
};

TEST_F(Inspect, TheReportHoldsTheCapture) {
    Write("m.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    ASSERT_EQ(RunTool({"render", At("m.obj"), "--chip", "tx", "--size", "16x16", "--capture",
                       At("a&b.korv"), "-o", At("m.png")})
                  .code,
              0);
    Write("page.html", "<p>before</p><!--capture--><p>behind</p>");
    const ToolResult result =
        RunTool({"inspect", At("a&b.korv"), "--page", At("page.html"), "-o", At("r.html")});
    EXPECT_EQ(result.code, 0) << result.err;
    const std::string report = Read("r.html");
    const std::string head =
        "<p>before</p><script type=\"text/plain\" id=\"capture\" data-name=\"a&amp;b.korv\">";
    ASSERT_EQ(report.substr(0, head.size()), head);
    const size_t end = report.find("</script><p>behind</p>");
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(Decoded(report.substr(head.size(), end - head.size())), Read("a&b.korv"));
}

TEST_F(Inspect, BadInputGetsALineAndLeavesNothing) {
    Write("no.korv", "no capture at all");
    Write("page.html", "<!--capture-->");
    const auto fails = [&](const std::vector<std::string>& arguments, const char* line) {
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.err, HasSubstr(line));
        EXPECT_FALSE(std::filesystem::exists(At("r.html")));
    };
    fails({"inspect", At("no.korv"), "--page", At("page.html"), "-o", At("r.html")},
          "it is no capture");
    fails({"inspect", At("none.korv"), "--page", At("page.html"), "-o", At("r.html")},
          "cannot read");
    fails({"inspect", At("no.korv")}, "--output");
}

} // namespace
} // namespace korv
