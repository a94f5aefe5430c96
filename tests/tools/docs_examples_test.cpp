// That every example in the documents can be played as it stands there.
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace korv {
namespace {

struct Block {
    std::string file, language, text;
    size_t line;
};

std::vector<std::filesystem::path> Documents() {
    const std::filesystem::path project = ScenesFolder().parent_path();
    std::vector<std::filesystem::path> files{project / "README.md", project / "scenes/README.md"};
    for (const auto& entry : std::filesystem::directory_iterator(project / "docs")) {
        if (entry.path().extension() == ".md") {
            files.push_back(entry.path());
        }
    }
    std::ranges::sort(files);
    return files;
}

// The blocks between fences of all documents.
std::vector<Block> Blocks() {
    std::vector<Block> blocks;
    for (const auto& path : Documents()) {
        std::ifstream file(path);
        bool inside = false;
        size_t number = 0;
        for (std::string line; std::getline(file, line);) {
            ++number;
            if (line.starts_with("```")) {
                inside = !inside;
                if (inside) {
                    blocks.push_back({path.filename().string(), line.substr(3), "", number});
                }
            } else if (inside) {
                blocks.back().text += line + "\n";
            }
        }
        EXPECT_FALSE(inside) << path << ": a block without an end";
    }
    return blocks;
}

// A folder as the examples expect it: the tool is `korv`, scenes/ and build/ are there.
class Examples : public testing::Test {
  protected:
    Examples() {
        namespace fs = std::filesystem;
        fs::create_directory_symlink(ScenesFolder(), folder_ / "scenes");
        fs::create_directory_symlink(fs::path(KORV_DLL_PATH).parent_path().parent_path(),
                                     folder_ / "build");
        fs::create_directory(folder_ / "bin");
        fs::create_symlink(KORV_TOOL, folder_ / "bin/korv");
    }

    struct Result {
        int code;
        std::string text;
    };

    // Runs the line by a shell in that folder, without input.
    Result Shell(const std::string& line) const {
        const std::string command = "cd '" + folder_.Path() + "' && PATH=\"$PWD/bin:$PATH\" && { " +
                                    line + "\n} </dev/null 2>&1";
        FILE* pipe = popen(command.c_str(), "r");
        std::string text;
        char part[4096];
        for (size_t count; (count = fread(part, 1, sizeof part, pipe)) != 0;) {
            text.append(part, count);
        }
        const int status = pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
    }

    void Plays(const Block& block, const std::string& script) const {
        folder_.Write("example.json", script);
        const Result result = Shell("korv replay example.json");
        EXPECT_EQ(result.code, 0) << block.file << ":" << block.line << "\n" << result.text;
    }

    TemporaryFolder folder_;
};

TEST_F(Examples, WholeScriptsPlayAndHold) {
    size_t scripts = 0;
    for (const Block& block : Blocks()) {
        if (block.language == "json") {
            Plays(block, block.text);
            ++scripts;
        }
    }
    EXPECT_GE(scripts, 4u);
}

// What stands before the steps of a fragment in the script that it is from.
constexpr const char* kBefore = R"({"version": 1, "steps": [
{"do": "display", "name": "main", "chip": "permedia", "width": 320, "height": 240, "bits": 16},
{"do": "start"},
{"do": "verticalBlank", "flags": "DDWAITVB_BLOCKBEGIN"},
{"do": "surface", "name": "back", "caps": "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_3DDEVICE",
 "width": 320, "height": 240},
{"do": "surface", "name": "sprite", "caps": "DDSCAPS_OFFSCREENPLAIN", "width": 32, "height": 32},
{"do": "context", "name": "ctx", "target": "back"},
{"do": "states", "context": "ctx",
 "states": [["CULLMODE", "D3DCULL_NONE"], ["ZENABLE", 0], ["SHADEMODE", "D3DSHADE_FLAT"]]},
{"do": "triangles", "context": "ctx", "vertices": [[1, 1], [20, 1], [1, 20]]},
{"do": "finish", "surface": "back"},
{"do": "memory", "name": "buffer", "record": "ServiceDMABuffer", "fields": {"Size": 24}},
)";

TEST_F(Examples, StepsOutOfScriptsPlayAndHold) {
    size_t fragments = 0;
    for (const Block& block : Blocks()) {
        if (block.language == "json steps") {
            Plays(block, kBefore + block.text + "]}");
            ++fragments;
        }
    }
    EXPECT_GE(fragments, 5u);
}

TEST_F(Examples, CommandLinesRun) {
    size_t lines = 0;
    for (const Block& block : Blocks()) {
        std::istringstream text(block.language == "sh" ? block.text : "");
        for (std::string line; std::getline(text, line);) {
            if (!line.starts_with("korv ") && line.find("/korv ") == line.npos) {
                continue;
            }
            const size_t comment = line.find(" #");
            line = line.substr(0, comment);
            if (line.starts_with("korv demo")) {
                line += " --size 64x48"; // what is drawn is of no account here
            }
            if (line.starts_with("korv inspect")) {
                folder_.Write("page.html", "<!--capture-->"); // ./page.sh makes the true one
                line += " --page page.html";
            }
            const Result result = Shell(line);
            EXPECT_EQ(result.code, 0) << block.file << ":" << block.line << "\n"
                                      << line << "\n"
                                      << result.text;
            ++lines;
        }
    }
    EXPECT_GE(lines, 15u);
}

TEST(Documents, EveryJsonBlockIsAWholeScriptOrMarkedAsSteps) {
    for (const Block& block : Blocks()) {
        if (block.language.starts_with("json")) {
            EXPECT_EQ(block.language == "json", block.text.find("\"version\"") != block.text.npos)
                << block.file << ":" << block.line;
        }
    }
}

} // namespace
} // namespace korv
