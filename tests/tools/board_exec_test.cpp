// The driver here and the board in another process, `korv board`: the same words, events and
// pictures as on the board of this process.
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"
#include "tests/tools/tool_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace korv {
namespace {

using testing::HasSubstr;

const std::string kKorvBoard = "'" KORV_TOOL "' board";

// Every file below the folder, by its name. Memory of the machine lies elsewhere each time, and the
// video port's bases tell where.
std::map<std::string, std::string> FilesIn(const std::string& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            std::string text = ReadAll(entry.path().string());
            if (entry.path().extension() == ".events") {
                for (size_t at = text.find("VSBufferBase"); at != text.npos;
                     at = text.find("VSBufferBase", at + 1)) {
                    const size_t start = text.rfind('\n', at) + 1;
                    text.erase(start, text.find('\n', at) - start);
                    at = start;
                }
            }
            files[entry.path().lexically_relative(folder).string()] = std::move(text);
        }
    }
    return files;
}

struct Made {
    ToolResult result;
    std::map<std::string, std::string> files;
};

// Runs it in a folder of its own, which "@" stands for in arguments and texts.
Made Make(std::vector<std::string> arguments, const std::vector<std::string>& more = {}) {
    const TemporaryFolder folder;
    arguments.insert(arguments.end(), more.begin(), more.end());
    for (std::string& argument : arguments) {
        if (argument.starts_with('@')) {
            argument.replace(0, 1, folder.Path());
        }
    }
    Made made{RunTool(arguments), {}};
    for (std::string* text : {&made.result.out, &made.result.err}) {
        for (size_t at = text->find(folder.Path()); at != text->npos;
             at = text->find(folder.Path())) {
            text->replace(at, folder.Path().size(), "@");
        }
    }
    made.files = FilesIn(folder.Path());
    return made;
}

void ExpectEqual(const Made& there, const Made& here) {
    EXPECT_EQ(there.result.code, here.result.code);
    EXPECT_EQ(there.result.out, here.result.out);
    EXPECT_EQ(there.result.err, here.result.err);
    ASSERT_EQ(there.files.size(), here.files.size());
    for (const auto& [name, bytes] : here.files) {
        const auto found = there.files.find(name);
        ASSERT_NE(found, there.files.end()) << name;
        // Not by EXPECT_EQ, which would print megabytes.
        EXPECT_TRUE(found->second == bytes) << name << " differs";
    }
}

std::vector<std::string> Replay(const std::string& script) {
    return {"replay",   ScenePath(script), "--words",    "@/w.words",
            "--events", "@/e.events",      "--pictures", "@/pictures"};
}

TEST(BoardExec, AllScriptsPlayAsOnTheBoardHere) {
    size_t files = 0;
    for (const std::string& script : SceneScripts()) {
        SCOPED_TRACE(script);
        const Made here = Make(Replay(script));
        files += here.files.size();
        ExpectEqual(Make(Replay(script), {"--board-exec", kKorvBoard}), here);
    }
    EXPECT_GT(files, 2 * SceneScripts().size());
}

// Other roads of the words and of the memories: through the FIFO, and pages that are fetched.
TEST(BoardExec, SomePlayWithFetchedMemoriesAndThroughTheFifo) {
    for (const char* script :
         {"triangles-tx", "textures-permedia2", "textures-tx-delta", "blits-permedia2-agp",
          "blits-mx-8", "client-memory", "flip-permedia", "mode-change-tx", "two-displays",
          "video-permedia2", "video-blits-permedia"}) {
        SCOPED_TRACE(script);
        const Made here = Make(Replay(script));
        ExpectEqual(Make(Replay(script), {"--board-exec", kKorvBoard, "--board-memory", "fetched"}),
                    here);
        ExpectEqual(Make(Replay(script), {"--board-exec", kKorvBoard + " --without mapping"}),
                    here);
    }
    for (const char* script : {"triangles-permedia", "blits-mx", "delta-glint"}) {
        SCOPED_TRACE(script);
        ExpectEqual(Make(Replay(script), {"--fifo", "--board-exec", kKorvBoard}),
                    Make(Replay(script), {"--fifo"}));
    }
}

// A board that goes on where an interrupt happens: everything happens at once there, so the handler
// finds the same.
TEST(BoardExec, SomePlayOnABoardThatDoesNotWait) {
    for (const char* script : {"triangles-tx", "flip-permedia", "textures-permedia2"}) {
        SCOPED_TRACE(script);
        ExpectEqual(Make(Replay(script), {"--board-exec", kKorvBoard + " --without waiting"}),
                    Make(Replay(script)));
    }
    const Made noDma =
        Make(Replay("triangles-tx"), {"--board-exec", kKorvBoard + " --without dma", "--fifo"});
    ExpectEqual(noDma, Make(Replay("triangles-tx"), {"--fifo"}));
}

TEST(BoardExec, ScenesOfTheDemoAndAModelAreDrawnAlike) {
    const std::vector<std::string> demo = {
        "demo",   "-o",        "@/out",     "--size",  "160x120",  "--chip", "tx",
        "--chip", "permedia2", "--scene",   "knot",    "--scene",  "client", "--scene",
        "video",  "--scene",   "animation", "--words", "@/w.words"};
    ExpectEqual(Make(demo, {"--board-exec", kKorvBoard}), Make(demo));
    const std::vector<std::string> render = {"render",       (ScenesFolder() / "cube.obj").string(),
                                             "--chip",       "mx-delta",
                                             "--zbuffer",    "-o",
                                             "@/cube.png",   "--events",
                                             "@/cube.events"};
    ExpectEqual(Make(render, {"--board-exec", kKorvBoard, "--board-memory", "fetched"}),
                Make(render));
}

TEST(BoardExec, ADllDrivesItToo) {
    const std::vector<std::string> dll = {"--dll", KORV_DLL_PATH};
    for (const char* memory : {"mapped", "fetched"}) {
        ExpectEqual(Make(Replay("triangles-tx"), {"--dll", KORV_DLL_PATH, "--board-exec",
                                                  kKorvBoard, "--board-memory", memory}),
                    Make(Replay("triangles-tx"), dll));
    }
}

TEST(BoardExec, SaysWhatIsWrongWithAProgram) {
    const std::string script = "replay '" + ScenePath("bring-up-tx") + "' ";
    const auto run = [&](const std::string& options) {
        return Shell("korv " + script + options + " 2>&1");
    };
    const ShellResult nothing = run("--board-exec true");
    EXPECT_EQ(nothing.code, 2);
    EXPECT_EQ(nothing.out, "korv: board program 'true': it ended with exit code 0 (at HELLO, "
                           "message 0)\n");
    EXPECT_EQ(run("--board-exec 'sleep 100' --board-timeout 0.05").out,
              "korv: board program 'sleep 100': no answer within 0.05 s (at HELLO, message 0)\n");
    EXPECT_THAT(run("--board-exec ''").out, HasSubstr("expected a program"));
    EXPECT_THAT(run("--board-exec true --board-memory no").out, HasSubstr("mapped or fetched"));
    EXPECT_THAT(run("--board-exec true --capture c.korv").out, HasSubstr("exclude each other"));
    const ShellResult noDma = run("--board-exec 'python3 " KORV_PROJECT "/examples/stub_board.py'");
    EXPECT_EQ(noDma.code, 2);
    EXPECT_THAT(noDma.out, HasSubstr("does no DMA"));
    EXPECT_EQ(run("--fifo --board-exec 'python3 " KORV_PROJECT "/examples/stub_board.py'").code, 0);
    // In the middle of the driver: it gets no more than the beginning, and then crashes.
    const TemporaryFolder folder;
    const std::string crashes =
        folder.Write("crashes.sh", "dd bs=1 count=6000 2>/dev/null | '" KORV_TOOL "' board 2>&-\n"
                                   "kill -SEGV $$\n");
    const ShellResult middle = run("--board-exec 'sh " + crashes + "'");
    EXPECT_EQ(middle.code, 1);
    EXPECT_THAT(middle.out, HasSubstr("/steps/1 'start': board program"));
    EXPECT_THAT(middle.out, HasSubstr("it was ended by signal 11 (Segmentation fault) (at "));
}

TEST(BoardExec, TheBoardSaysWhatIsNoProtocol) {
    const ShellResult text = Shell("echo hello there, is anybody in | korv board 2>&1 >/dev/null");
    EXPECT_EQ(text.code, 2);
    EXPECT_EQ(text.out, "korv: standard input: a message of 1819043176 bytes, at most 1048576 were "
                        "expected\n");
    EXPECT_EQ(Shell("korv board </dev/null").code, 0);
}

} // namespace
} // namespace korv
