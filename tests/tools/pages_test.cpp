// Man pages and completions tell what the commands tell of themselves.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tests/tools/tool_process.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/pages.h"
#include "tools/korv/commands/cli/run.h"
#include "tools/korv/commands/cli/tool.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

namespace korv {
namespace {

// The options that `korv COMMAND --help` lists.
std::set<std::string> OptionsInHelp(const std::string& command) {
    std::set<std::string> options;
    std::istringstream help(RunTool({command, "--help"}).out);
    const std::regex option("--?[a-z][a-z-]*");
    for (std::string line; std::getline(help, line);) {
        if (!line.starts_with("  -")) {
            continue;
        }
        const std::string head = line.substr(0, line.find(' ', 2));
        for (std::sregex_iterator at(head.begin(), head.end(), option), end; at != end; ++at) {
            options.insert(at->str());
        }
    }
    return options;
}

class Pages : public testing::Test {
  protected:
    Pages() { WritePages(*MakeTool(console_), folder_.Path()); }

    // What bash offers for the last of `words`, one a line.
    std::string Completed(const std::string& words) {
        return Shell("source '" + (folder_ / "korv.bash") + "'; COMP_WORDS=(" + words +
                     "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); cd '" + folder_.Path() +
                     "'; _korv; printf '%s\\n' \"${COMPREPLY[@]}\"")
            .out;
    }

    std::ostringstream out_, err_;
    Console console_{out_, err_};
    TemporaryFolder folder_;
};

TEST_F(Pages, EveryOptionOfEveryCommandIsInItsPageAndCompletions) {
    const std::string zsh = ReadAll(folder_ / "_korv");
    for (const Command* command : Commands()) {
        const std::string name = command->name;
        const std::string page = ReadAll(folder_ / ("korv-" + name + ".1"));
        EXPECT_NE(ReadAll(folder_ / "korv.1").find("korv\\-" + name), std::string::npos);
        const auto options = OptionsInHelp(name);
        EXPECT_GE(options.size(), 2u) << name;
        const size_t begin = zsh.find("\n  " + name + ")\n"), end = zsh.find(";;", begin);
        ASSERT_NE(begin, zsh.npos) << name;
        const std::string zshPart = zsh.substr(begin, end - begin);
        for (const std::string& option : options) {
            const std::string roff = std::regex_replace(option, std::regex("-"), "\\-");
            EXPECT_NE(page.find(roff), std::string::npos) << name << " " << option;
            EXPECT_TRUE(zshPart.find("'" + option + "[") != zshPart.npos ||
                        zshPart.find("*" + option + "[") != zshPart.npos)
                << name << " " << option;
            EXPECT_NE(Completed("korv " + name + " " + option).find(option + "\n"),
                      std::string::npos)
                << name << " " << option;
        }
    }
}

TEST_F(Pages, RoffHasNothingToComplainOf) {
    if (Shell("command -v groff").code != 0) {
        GTEST_SKIP() << "no groff";
    }
    const ShellResult result = Shell("for p in '" + folder_.Path() +
                                     "'/*.1; do groff -man -ww -Tutf8 -z \"$p\" 2>&1; done");
    EXPECT_EQ(result.out, "");
    EXPECT_NE(Shell("groff -man -Tascii -P-c '" + (folder_ / "korv-render.1") + "'")
                  .out.find("korv render scenes/torus-knot.obj --chip tx --zbuffer -o knot.png"),
              std::string::npos);
}

TEST_F(Pages, BashOffersWhatFits) {
    EXPECT_EQ(Completed("korv re"), "render\nreplay\n");
    EXPECT_EQ(Completed("korv --v"), "--version\n");
    EXPECT_EQ(Completed("korv render --chip perm"), "permedia\npermedia-delta\npermedia2\n");
    EXPECT_EQ(Completed("korv render --shade ''"), "flat\ngouraud\n");
    EXPECT_EQ(Completed("korv demo --depth ''"), "8\n16\n32\n");
    EXPECT_EQ(Completed("korv demo --scene kn"), "knot\nknot-flat\n");
    EXPECT_EQ(Completed("korv model c"), "cube\n");
    EXPECT_EQ(Completed("korv texture br"), "bricks\n");
    EXPECT_EQ(Completed("korv render --up ''"), "y\nz\n");
    EXPECT_EQ(Completed("korv render korv-re"), Completed("korv replay korv-re"));
    EXPECT_NE(Completed("korv render korv-re").find("korv-render.1\n"), std::string::npos);
    EXPECT_EQ(Completed("korv trace -- inf"), "info\n");
    EXPECT_EQ(Completed("korv trace -- info --chip s"), "sx\nsx-delta\n");
    EXPECT_EQ(Completed("korv trace --st"), "--step\n");
    EXPECT_EQ(Completed("korv render --yaw ''"), "\n");
}

TEST_F(Pages, ZshTakesItsCompletion) {
    if (Shell("command -v zsh").code != 0) {
        GTEST_SKIP() << "no zsh";
    }
    EXPECT_EQ(Shell("zsh -n '" + (folder_ / "_korv") + "' 2>&1").out, "");
}

} // namespace
} // namespace korv
