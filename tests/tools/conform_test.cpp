// korv conform: what it lists, runs and exports, and how it takes programs that are no good.
#include "board/board.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tests/tools/tool_process.h"
#include "tools/korv/images/png.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>

namespace korv {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string kOwn = std::string(KORV_TOOL) + " board";

TEST(ConformCommand, ListsByUnitChipAndCase) {
    const ToolResult all = RunTool({"conform", "list"});
    EXPECT_EQ(all.code, 0) << all.err;
    EXPECT_THAT(all.out, HasSubstr("\nbeam: Where the beam is, and the retrace"));
    EXPECT_THAT(all.out,
                ContainsRegex("\n  rasteriser/upright-inside +@ sx tx mx permedia permedia2\n"));
    EXPECT_THAT(all.out, ContainsRegex("\n  texel-address/agp +@ permedia2\n"));
    const ToolResult some = RunTool({"conform", "list", "--unit", "fog", "--chip", "tx", "--chip",
                                     "mx", "--case", "*/flat-*-red@tx"});
    EXPECT_EQ(some.out, "fog: Mixes a colour into fragments, before blending.\n"
                        "  fog/flat-none-red    @ tx\n  fog/flat-most-red    @ tx\n"
                        "  fog/flat-half-red    @ tx\n  fog/flat-little-red  @ tx\n\n4 cases\n");
    const auto json = nlohmann::json::parse(
        RunTool({"conform", "list", "--case", "depth/slopes-both@mx", "--json"}).out);
    ASSERT_EQ(json["cases"].size(), 1u);
    EXPECT_EQ(json["cases"][0]["unit"], "depth");
    EXPECT_EQ(json["cases"][0]["pictures"][1]["form"], "depth32");
    EXPECT_EQ(json["cases"][0]["pictures"][1]["channelsMayDifferBy"], 1);
}

TEST(ConformCommand, RunsOnOurBoard) {
    const ToolResult result = RunTool({"conform", "run"});
    EXPECT_EQ(result.code, 0) << result.out;
    EXPECT_THAT(result.out, HasSubstr(" cases passed\n"));
    EXPECT_THAT(result.out, StartsWith("unit "));
}

TEST(ConformCommand, TellsWhatABrokenBoardDoesAndByWhichWord) {
    const ToolResult result = RunTool({"conform", "run", "--break", "fog-after-blend", "--case",
                                       "fog/before-blend-0@sx", "--case", "blend/off@sx"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "failed fog/before-blend-0@sx: pixel 4, 4 of colour is 40FFFFFF, "
                          "expected 409090EF, the first of 576 wrong pixels; by word:41: Render "
                          "Primitive=Trapezoid Fog=1\n\n"
                          "unit    sx\nblend    1\nfog    0/1\n"
                          "1 of 2 cases passed, 1 failed\n");
    const ToolResult list = RunTool({"conform", "run", "--break", "list"});
    EXPECT_THAT(list.out, HasSubstr("dither-turned      rows and columns of the matrix"));
}

TEST(ConformCommand, RefusesWhatItCannotDo) {
    const auto complaint = [](std::vector<std::string> words) {
        words.insert(words.begin(), "conform");
        const ToolResult result = RunTool(words);
        EXPECT_EQ(result.code, 2) << result.out;
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
        return result.err;
    };
    EXPECT_THAT(complaint({}), HasSubstr("'conform' needs"));
    EXPECT_THAT(complaint({"play"}), HasSubstr("expected list, run or export"));
    EXPECT_THAT(complaint({"list", "--unit", "fogg"}),
                HasSubstr("unknown unit 'fogg': the nearest is 'fog'"));
    EXPECT_THAT(complaint({"list", "--chip", "p2"}), HasSubstr("unknown chip 'p2'"));
    EXPECT_THAT(complaint({"list", "--case", "x"}), HasSubstr("no case is left"));
    EXPECT_THAT(complaint({"export"}), HasSubstr("needs DIR"));
    EXPECT_THAT(complaint({"run", "somewhere"}), HasSubstr("is for 'korv conform export'"));
    EXPECT_THAT(complaint({"list", "--exec", "x"}), HasSubstr("is for 'korv conform run'"));
    EXPECT_THAT(complaint({"run", "--report", "x"}), HasSubstr("need '--exec'"));
    EXPECT_THAT(complaint({"run", "--break", "edgerule"}),
                HasSubstr("unknown break 'edgerule': the nearest is 'edge-rule'"));
    EXPECT_THAT(complaint({"run", "--exec", "x", "--break", "edge-rule"}),
                HasSubstr("'--break' is for our own board"));
    EXPECT_THAT(complaint({"run", "--timeout", "soon", "--exec", "x"}), HasSubstr("bad value"));
    EXPECT_THAT(complaint({"export", "/proc/none"}), HasSubstr("/proc/none"));
}

// A reader of exported files that shares nothing with what wrote them.
class Exported {
  public:
    explicit Exported(const std::filesystem::path& folder)
        : about(nlohmann::json::parse(ReadAll(folder / "case.json"))), folder_(folder) {
        board::Config config;
        const std::map<std::string, board::Chip> chips = {{"GLINT 300SX", board::Chip::SX},
                                                          {"GLINT 500TX", board::Chip::TX},
                                                          {"GLINT MX", board::Chip::MX},
                                                          {"Permedia", board::Chip::Permedia},
                                                          {"Permedia 2", board::Chip::Permedia2}};
        config.chip = chips.at(about["board"]["name"]);
        config.setupUnit = about["board"]["setupUnit"];
        config.frameBufferBytes = about["board"]["frameBufferBytes"];
        config.localBufferBytes = about["board"]["localBufferBytes"];
        board_ = std::make_unique<board::Board>(config);
        board_->SetInterruptHandler([this] { ++interrupts; });
    }

    void Play() {
        std::istringstream lines(ReadAll(folder_ / "program.txt"));
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line.substr(0, line.find(';')));
            std::string kind;
            words >> kind;
            if (kind == "f") {
                const uint32_t word = Hex(words);
                board_->WriteFifo(&word, 1);
                this->words.push_back(word);
            } else if (kind == "w") {
                const uint32_t offset = Hex(words);
                board_->Write(offset, Hex(words));
            } else if (kind == "r") {
                const uint32_t offset = Hex(words);
                EXPECT_EQ(board_->Read(offset), Hex(words)) << line;
            } else if (kind == "ticks" || kind == "clock") {
                uint32_t count = 0;
                words >> count;
                kind == "ticks" ? board_->Idle(count) : board_->Advance(count);
            } else if (kind == "host") {
                hostAddress_ = Hex(words);
                size_t bytes = 0;
                words >> bytes;
                auto& memory = host_[hostAddress_];
                memory.resize(bytes);
                board_->MapMemory(hostAddress_, memory.data(), bytes);
            } else if (kind == "fill") {
                std::string memory;
                words >> memory;
                const uint32_t offset = Hex(words);
                at_ = memory == "frame"   ? board_->FrameBuffer().data() + offset
                      : memory == "local" ? board_->LocalBuffer().data() + offset
                                          : host_[hostAddress_].data() + offset - hostAddress_;
            } else if (kind == ".") {
                std::string hex;
                words >> hex;
                for (size_t i = 0; i < hex.size(); i += 2) {
                    *at_++ = static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16));
                }
            } else {
                ADD_FAILURE() << line;
            }
        }
        board_->Drain();
    }

    std::string Frame() { return Text(board_->FrameBuffer()); }
    std::string Local() { return Text(board_->LocalBuffer()); }

    nlohmann::json about;
    uint32_t interrupts = 0;
    std::vector<uint32_t> words;

  private:
    static uint32_t Hex(std::istringstream& from) {
        uint32_t value = 0;
        from >> std::hex >> value >> std::dec;
        return value;
    }
    static std::string Text(std::span<const uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

    const std::filesystem::path folder_;
    std::unique_ptr<board::Board> board_;
    std::map<uint32_t, std::vector<uint8_t>> host_;
    uint32_t hostAddress_ = 0;
    uint8_t* at_ = nullptr;
};

TEST(ConformCommand, ExportsFilesThatSayAllThatIsNeeded) {
    const TemporaryFolder folder;
    // DMA, interrupts, memory of the machine, time, and both memories are among these.
    const ToolResult result = RunTool({"conform", "export", folder.Path(), "--chip", "permedia2",
                                       "--chip", "mx", "--unit", "dma", "--unit", "texel-address",
                                       "--unit", "beam", "--unit", "depth", "--unit", "sync"});
    EXPECT_EQ(result.code, 0) << result.err;
    const auto list = nlohmann::json::parse(ReadAll(folder / "cases.json"));
    EXPECT_GT(list["cases"].size(), 100u);
    EXPECT_THAT(ReadAll(folder / "README.md"), HasSubstr("program.txt"));
    for (const auto& one : list["cases"]) {
        const std::string id = one["case"];
        const std::filesystem::path path = folder / id;
        Exported exported(path);
        exported.Play();
        EXPECT_EQ(exported.Frame(), ReadAll(path / "frame-after.bin")) << id;
        EXPECT_EQ(exported.Local(), ReadAll(path / "local-after.bin")) << id;
        EXPECT_EQ(exported.interrupts, exported.about["interrupts"]) << id;
        const auto* bytes = reinterpret_cast<const char*>(exported.words.data());
        EXPECT_EQ(ReadAll(path / "words.bin"), std::string(bytes, exported.words.size() * 4)) << id;
        for (const auto& picture : exported.about["pictures"]) {
            const std::string name = picture["name"];
            EXPECT_EQ(ReadPng(path / (name + ".png")).width, picture["width"]) << id;
        }
    }
    const ToolResult played =
        RunTool({"play", folder / "depth/slopes-both@mx/case.korv", "--check"});
    EXPECT_EQ(played.code, 0) << played.err;
}

// --- Other programs ---

ToolResult Asked(const std::string& program, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"conform", "run", "--exec", program});
    return RunTool(more);
}

TEST(ConformPrograms, OurBoardPassesWholeThroughTheProtocol) {
    const ToolResult result = Asked(kOwn);
    EXPECT_EQ(result.code, 0) << result.out;
    EXPECT_THAT(result.out, Not(HasSubstr("/")));
}

TEST(ConformPrograms, ABrokenBoardIsFoundAndShown) {
    const TemporaryFolder folder;
    const ToolResult result =
        Asked(kOwn + " --break edge-rule", {"--chip", "mx", "--report", folder.Path()});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr("failed edges/on-centres-both@mx: pixel 4, 6 of colour is "
                                      "00000000, expected FFFF4080"));
    EXPECT_THAT(result.out, HasSubstr("\nedges            0/20\n"));
    const auto json = nlohmann::json::parse(ReadAll(folder / "results.json"));
    EXPECT_THAT(json["board"], HasSubstr("broken: edge-rule"));
    EXPECT_EQ(json["failed"], 20);
    EXPECT_EQ(json["passed"].get<int>() + 20, json["cases"]);
    for (const auto& one : json["results"]) {
        EXPECT_EQ(one["result"] == "failed", one["unit"] == "edges") << one;
    }
    const std::string page = ReadAll(folder / "index.html");
    EXPECT_THAT(page, HasSubstr("<td class=\"bad\">0/20</td>"));
    EXPECT_THAT(page, HasSubstr("edges.on-centres-both@mx-colour.png"));
    const host::Picture picture = ReadPng(folder / "edges.on-centres-both@mx-colour.png");
    EXPECT_EQ(picture.width, 3 * picture.height);
}

TEST(ConformPrograms, BoardsAreSparedWhatTheyAreNotAbleTo) {
    const ToolResult result = Asked(kOwn + " --without dma",
                                    {"--chip", "tx", "--unit", "dma", "--unit", "sync", "--json"});
    EXPECT_EQ(result.code, 0) << result.out;
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["passed"], 13);
    EXPECT_EQ(json["left"], 8);
    EXPECT_EQ(json["results"][0]["what"], "the program says that it does no DMA");
}

TEST(ConformPrograms, ProgramsThatDoNotStartAreToldOf) {
    const auto complaint = [](const std::string& program) {
        const ToolResult result = Asked(program, {"--unit", "yuv", "--timeout", "0.2"});
        EXPECT_EQ(result.code, 2) << result.out;
        EXPECT_EQ(result.out, "");
        return result.err;
    };
    EXPECT_THAT(complaint("false"), HasSubstr("it ended with exit code 1 (at HELLO"));
    EXPECT_THAT(complaint("cat"), HasSubstr("at HELLO"));
    EXPECT_THAT(complaint("echo hello there"), HasSubstr("does not speak the board protocol"));
    EXPECT_THAT(complaint("sleep 60"), HasSubstr("no answer within 0.2 s (at HELLO"));
}

// A shell script as a program; the client's words are its input.
class ConformScripts : public testing::Test {
  protected:
    ToolResult AskedOf(const std::string& script, std::vector<std::string> more) {
        return Asked("sh " + folder_.Write("board.sh", script), std::move(more));
    }

    TemporaryFolder folder_;
    // Lets so many bytes through, one by one, as they come.
    static std::string First(int bytes) {
        return "dd bs=1 count=" + std::to_string(bytes) + " 2>/dev/null";
    }
};

// The program's input ends in the middle of a case, again and again.
TEST_F(ConformScripts, ThatCrashAreStartedAgain) {
    const ToolResult result = AskedOf(First(20000) + " | " + kOwn,
                                      {"--chip", "permedia2", "--unit", "fog", "--unit", "blend"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr("lost fog/"));
    EXPECT_THAT(result.out, HasSubstr("lost blend/"));
    EXPECT_THAT(result.out, HasSubstr(" cases passed, "));
    EXPECT_THAT(result.out, Not(HasSubstr("\n0 of")));
}

// Behind HELLO what the board says is cut off.
TEST_F(ConformScripts, ThatHangAreLeftAfterAWhile) {
    const ToolResult result = AskedOf(kOwn + " | (" + First(60) + "; exec sleep 3)",
                                      {"--chip", "tx", "--unit", "fog", "--timeout", "0.1"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr("lost fog/flat-none-grey@tx: board program"));
    EXPECT_THAT(result.out, HasSubstr("no answer within 0.1 s"));
    EXPECT_THAT(result.out, HasSubstr("0 of 17 cases passed, 3 lost, 14 left out\n"));
}

TEST_F(ConformScripts, ThatSpeakNonsenseAreNamed) {
    const ToolResult result = AskedOf(kOwn + " | (" + First(60) + "; yes)",
                                      {"--chip", "tx", "--unit", "fog", "--unit", "keys"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr("lost keys/"));
    EXPECT_THAT(result.out, HasSubstr("it sends a message of kind"));
    EXPECT_THAT(result.out, HasSubstr("6 lost"));
}

} // namespace
} // namespace korv
