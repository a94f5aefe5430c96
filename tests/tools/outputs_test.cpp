// Where the tool writes to: links, devices, standard output, full disks, and what a signal leaves.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tests/tools/tool_process.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOneTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";

void Write(const std::string& path, const std::string& text) {
    WriteFile(path, std::as_bytes(std::span(text)));
}

class Outputs : public testing::Test {
  protected:
    Outputs() { folder_.Write("m.obj", kOneTriangle); }

    // `line` in the test's folder; $m draws the model, small.
    ShellResult Here(const std::string& line) {
        return Shell("cd '" + folder_.Path() +
                     "'; m() { korv render m.obj --chip tx --size 32x32 \"$@\"; }\n" + line);
    }
    static bool IsPng(const std::string& bytes) { return bytes.starts_with("\x89PNG"); }

    TemporaryFolder folder_;
};

TEST_F(Outputs, FollowLinksAndKeepThem) {
    folder_.Write("old", "old");
    fs::create_symlink("old", folder_ / "link");
    fs::create_symlink("link", folder_ / "second");
    Write(folder_ / "second", "new");
    EXPECT_EQ(ReadAll(folder_ / "old"), "new");
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
    EXPECT_TRUE(fs::is_symlink(folder_ / "second"));
    fs::create_symlink("not-yet", folder_ / "dangling");
    Write(folder_ / "dangling", "made");
    EXPECT_EQ(ReadAll(folder_ / "not-yet"), "made");
    EXPECT_EQ(fs::read_symlink(folder_ / "dangling"), "not-yet");
    fs::create_symlink("b", folder_ / "a");
    fs::create_symlink("a", folder_ / "b");
    EXPECT_THROW(Write(folder_ / "a", ""), UserError);
}

// As listings do: whoever read has what it wants.
TEST_F(Outputs, EndSilentlyWhenTheirReaderHasLeft) {
    const std::string gone = "mkfifo p; exec 3<>p 4>p 3<&-; ";
    for (const char* what : {"m -o - >&4", "m -o x.png --words - >&4", "m -o x.png --capture - >&4",
                             "m -o p.png --words /dev/fd/4"}) {
        const ShellResult result =
            Here("exec 2>&1; " + gone + what + "; code=$?; rm p; exit $code");
        EXPECT_EQ(result.code, 128 + SIGPIPE) << what;
        EXPECT_EQ(result.out, "") << what;
    }
}

TEST_F(Outputs, KeepThePermissionsOfWhatTheyReplace) {
    folder_.Write("file", "old");
    chmod((folder_ / "file").c_str(), 0640);
    Write(folder_ / "file", "new");
    EXPECT_EQ(ReadAll(folder_ / "file"), "new");
    EXPECT_EQ(fs::status(folder_ / "file").permissions(), fs::perms(0640));
}

TEST_F(Outputs, NamesAsLongAsTheSystemAllowsAreTaken) {
    const std::string name(255, 'n');
    Write(folder_ / name, "text");
    EXPECT_EQ(ReadAll(folder_ / name), "text");
}

TEST_F(Outputs, DevicesAndFifosAreWrittenAsTheyAre) {
    EXPECT_EQ(Here("m -o /dev/null --words /dev/null --events /dev/null").code, 0);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    const ShellResult fifo = Here("mkfifo f; m -o p.png --events f >err & cat f | head -1; wait");
    EXPECT_EQ(fifo.out.substr(0, 2), "r ") << fifo.out;
    EXPECT_TRUE(fs::is_fifo(folder_ / "f"));
}

TEST_F(Outputs, ADashIsStandardOutputAndTheReportGoesToStandardError) {
    const ShellResult picture = Here("m -o p.png >/dev/null; m -o - 2>err");
    EXPECT_EQ(picture.out, ReadAll(folder_ / "p.png"));
    EXPECT_EQ(ReadAll(folder_ / "err"), "-: 1 triangle of m.obj on GLINT 500TX\n");
    EXPECT_FALSE(fs::exists(folder_ / "-"));
    const ShellResult words = Here("m -o q.png --words w >/dev/null; m -o q.png --words - 2>err");
    EXPECT_FALSE(words.out.empty());
    EXPECT_EQ(words.out, ReadAll(folder_ / "w"));
    EXPECT_TRUE(Here("korv model cube -o - 2>err").out.starts_with("# "));
    EXPECT_TRUE(IsPng(Here("korv texture bricks -o - 2>err").out));
    EXPECT_TRUE(IsPng(Here("m -o /dev/stdout 2>err").out));
    EXPECT_TRUE(fs::is_symlink("/dev/stdout"));
    // Behind what is there, as the shell asked.
    Here("echo first > both; m -o /dev/stdout >> both 2>err");
    EXPECT_TRUE(ReadAll(folder_ / "both").starts_with("first\n\x89PNG"));
    EXPECT_EQ(Here("m -o /dev/fd/7 7>seven").out,
              "/dev/fd/7: 1 triangle of m.obj on GLINT 500TX\n");
    EXPECT_EQ(ReadAll(folder_ / "seven"), picture.out);
}

TEST_F(Outputs, OneFileUnderTwoNamesIsRefusedBeforeAnyWork) {
    folder_.Write("a", "old");
    fs::create_hard_link(folder_ / "a", folder_ / "hard");
    fs::create_symlink("a", folder_ / "soft");
    const auto refused = [&](const std::string& outputs, const std::string& line) {
        const ShellResult result = Here("m " + outputs + " 2>&1");
        EXPECT_EQ(result.code, 2) << outputs;
        EXPECT_EQ(result.out, "korv: " + line + "\n") << outputs;
        EXPECT_EQ(ReadAll(folder_ / "a"), "old");
    };
    refused("-o a --words a", "two outputs go to 'a': expected a name for each");
    for (const std::string other : {"./a", "hard", "soft", "../$(basename $PWD)/a"}) {
        const std::string shown = Here("echo -n " + other).out;
        refused("-o a --words " + other,
                "'a' and '" + shown + "' are the same file: expected a name for each output");
        refused("-o p.png --events " + other + " --words a",
                "'a' and '" + shown + "' are the same file: expected a name for each output");
    }
    refused("-o new --words ./new",
            "'new' and './new' are the same file: expected a name for each output");
    const std::string both = "two outputs go to standard output: expected a file for one of them";
    refused("-o - --words -", both);
    refused("-o /dev/stdout --words -", both);
    refused("-o p.png --words /dev/fd/1 --events -", both);
    refused("-o p.png --words m.obj", "'m.obj' is also read: expected another name for the output");
    refused("-o p.png --words ./m.obj",
            "'./m.obj' is also read as 'm.obj': expected another name for the output");
    EXPECT_EQ(ReadAll(folder_ / "m.obj"), kOneTriangle);
    const ShellResult demo =
        Here("korv demo -o d --chip tx --scene knot --words d/contact-sheet.png 2>&1");
    EXPECT_EQ(demo.out,
              "korv: two outputs go to 'd/contact-sheet.png': expected a name for each\n");
    EXPECT_EQ(folder_.Files(), 4u);
}

TEST_F(Outputs, ImagesMaterialsAndScriptsAreInputsToo) {
    const std::string material = "newmtl a\nKd 1 0 0\nmap_Kd b.png\n";
    folder_.Write("m.mtl", material);
    folder_.Write("m.obj", "mtllib m.mtl\nusemtl a\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\n"
                           "f 1/1 2/1 3/1\n");
    const std::string script = R"({"version": 1, "title": "t", "steps": [{"do": "display",
        "name": "a", "chip": "tx", "width": 640, "height": 480, "bits": 16}, {"do": "start"}]})";
    folder_.Write("s.json", script);
    Here("korv texture bricks -o b.png >/dev/null");
    const std::string image = ReadAll(folder_ / "b.png");
    for (const auto& [line, message] :
         {std::pair{"m -o p.png --words m.mtl", "'m.mtl' is also read"},
          {"m --chip permedia --events b.png -o p.png", "'b.png' is also read"},
          {"m --chip permedia -o b.png", "'b.png' is also read"},
          {"korv replay s.json --words s.json", "'s.json' is also read"}}) {
        // The chip of $m is one without textures.
        std::string with = line;
        if (with.find("permedia") != with.npos) {
            with = "korv render m.obj --size 32x32" + with.substr(1);
        }
        const ShellResult result = Here(with + " 2>&1");
        EXPECT_EQ(result.code, 2) << line;
        EXPECT_NE(result.out.find(message), std::string::npos) << result.out;
    }
    EXPECT_EQ(ReadAll(folder_ / "m.mtl"), material);
    EXPECT_EQ(ReadAll(folder_ / "s.json"), script);
    EXPECT_EQ(ReadAll(folder_ / "b.png"), image);
}

TEST_F(Outputs, AFullDiskIsAnErrorOfEveryCommand) {
    for (const std::string command :
         {"--help", "--version", "info --chip sx", "demo --help", "model --help",
          "model cube -o c.obj", "texture bricks -o t.png", "render m.obj --chip tx -o p.png",
          "render --help", "demo --chip tx --scene knot --size 32x32 -o d", "replay --help",
          "trace --help", "trace -- render m.obj --chip tx -o p.png", "texture --help",
          "info --help"}) {
        const ShellResult full = Here("korv " + command +
                                      " 2>&1 >/dev/full | tail -n1; exit "
                                      "${PIPESTATUS[0]}");
        EXPECT_EQ(full.code, 2) << command;
        EXPECT_EQ(full.out, "korv: cannot write standard output: No space left on device\n")
            << command;
        EXPECT_EQ(Here("korv " + command + " >&- 2>err").code, 2) << command;
        EXPECT_TRUE(ReadAll(folder_ / "err")
                        .ends_with("korv: cannot write standard output: it is closed\n"))
            << command;
    }
    EXPECT_EQ(Here("m -o /dev/full 2>&1").out,
              "korv: cannot write '/dev/full': No space left on device\n");
    EXPECT_EQ(Here("rm -f p.png; m -o p.png --words /dev/full 2>/dev/null").code, 2);
    EXPECT_FALSE(fs::exists(folder_ / "p.png")); // none is in place if one cannot be written
}

TEST_F(Outputs, TemporaryFilesGoAwayWithASignal) {
    // The FIFO keeps the tool waiting with its other file open.
    for (const auto& [signal, number] : {std::pair{"INT", 2}, {"TERM", 15}, {"HUP", 1}}) {
        Here("rm -f f; mkfifo f");
        const ShellResult result =
            Here(std::string("set -m; '" KORV_TOOL "' render m.obj --chip tx "
                             "-o p.png --words f 2>err & pid=$!; "
                             "for i in $(seq 100); do ls -A | grep -q part "
                             "&& break; sleep 0.05; done; ls -A | grep -c "
                             "part; kill -") +
                 signal + " $pid; wait $pid; echo $?; ls -A | grep -c part");
        EXPECT_EQ(result.out, "1\n" + std::to_string(128 + number) + "\n0\n") << signal;
        EXPECT_FALSE(fs::exists(folder_ / "p.png"));
    }
}

} // namespace
} // namespace korv
