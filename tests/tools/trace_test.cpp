// `korv trace`: the tool and the program that it traces are processes of their own.
#include "driver/d3d/dcontext.h"
#include "host/win32/shared/shared_object.h"
#include "host/win32/sync.h"
#include "tests/tools/replay_rig.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/capture/recording.h"
#include "tools/korv/capture/trace_client.h"
#include "tools/korv/capture/trace_listing.h"
#include "tools/korv/capture/trace_tool.h"
#include "tools/korv/painting/canvas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace korv {
namespace {

using Words = std::vector<uint32_t>;
using Lines = std::vector<std::string>;

Lines LinesOf(const std::string& text) {
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// Lines of event text that are words of the stream.
Lines WordLines(const std::string& text) {
    Lines lines = LinesOf(text);
    std::erase_if(lines, [](const std::string& line) {
        return !line.starts_with("f ") && !line.starts_with("d ");
    });
    return lines;
}

uint32_t WordOf(const std::string& line) {
    return static_cast<uint32_t>(std::stoul(line.substr(2, 8), nullptr, 16));
}

Words WordsIn(const std::string& text) {
    Words words;
    for (const std::string& line : WordLines(text)) {
        words.push_back(WordOf(line));
    }
    return words;
}

// Raw words as --words writes them.
Words RawWordsOf(const std::string& bytes) {
    Words words(bytes.size() / 4);
    std::memcpy(words.data(), bytes.data(), words.size() * 4);
    return words;
}

struct Batch {
    uint32_t number = 0, context = 0, told = 0; // by the head line
    Words words;

    friend bool operator==(const Batch&, const Batch&) = default;
};

// The batches of a listing.
std::vector<Batch> BatchesOf(const std::string& listing) {
    std::vector<Batch> batches;
    bool inBatch = false;
    for (const std::string& line : LinesOf(listing)) {
        Batch batch;
        if (std::sscanf(line.c_str(), "; batch %u: context %u, %u words", &batch.number,
                        &batch.context, &batch.told) == 3) {
            batches.push_back(batch);
        }
        if (line.starts_with(";")) {
            inBatch = line.starts_with("; batch");
        } else if (inBatch) {
            batches.back().words.push_back(WordOf(line));
        }
    }
    return batches;
}

// The words of each DMA transfer in the event text of an untraced run.
std::vector<Words> TransfersOf(const std::string& events) {
    std::vector<Words> transfers;
    for (const std::string& line : LinesOf(events)) {
        if (line.starts_with("w 0030 ")) {
            transfers.emplace_back();
        } else if (line.starts_with("d ")) {
            transfers.back().push_back(WordOf(line));
        }
    }
    return transfers;
}

// A run of the tool in a process of its own, whose standard streams are files or pipes.
class ToolProcess {
  public:
    ToolProcess(const std::vector<std::string>& arguments, int in, int out, int err) {
        std::cout.flush();
        std::cerr.flush();
        std::fflush(nullptr);
        pid_ = fork();
        if (pid_ != 0) {
            return;
        }
        dup2(in, STDIN_FILENO);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        for (int file = STDERR_FILENO + 1; file < 64; ++file) {
            close(file);
        }
        std::vector<const char*> argv{"korv"};
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        const int code = Run(static_cast<int>(argv.size()), argv.data(), std::cout, std::cerr);
        std::cout.flush();
        std::cerr.flush();
        _exit(code);
    }
    ~ToolProcess() { Wait(); }

    pid_t Pid() const { return pid_; }
    // The exit code; -1 if a signal ended it.
    int Wait() {
        if (!waited_) {
            int status = 0;
            waitpid(pid_, &status, 0);
            code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            waited_ = true;
        }
        return code_;
    }

  private:
    pid_t pid_;
    bool waited_ = false;
    int code_ = 0;
};

// Both ends of a pipe.
struct Pipe {
    Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~Pipe() {
        CloseWriter();
        CloseReader();
    }
    void CloseReader() { Close(ends[0]); }
    void CloseWriter() { Close(ends[1]); }
    // Reads until `text` has come. False at the end of the stream.
    bool ReadTo(const std::string& text) {
        char c;
        while (seen.find(text) == std::string::npos) {
            if (read(ends[0], &c, 1) != 1) {
                return false;
            }
            seen += c;
        }
        return true;
    }
    std::string ReadAll() {
        ReadTo({"\0\0", 2});
        return seen;
    }
    static void Close(int& end) {
        if (end >= 0) {
            close(end);
        }
        end = -1;
    }
    int ends[2];
    std::string seen;
};

bool HasObjects(pid_t maker) {
    const std::string prefix = "korv-" + std::to_string(maker) + "-";
    return std::ranges::any_of(
        std::filesystem::directory_iterator("/dev/shm"),
        [&](const auto& entry) { return entry.path().filename().string().starts_with(prefix); });
}

class TraceTest : public testing::Test {
  protected:
    ToolResult Tool(const std::vector<std::string>& arguments, const std::string& input = "") {
        const int in = open(folder_.Write("in", input).c_str(), O_RDONLY | O_CLOEXEC);
        const int out = creat((folder_ / "out").c_str(), 0600);
        const int err = creat((folder_ / "err").c_str(), 0600);
        ToolProcess process(arguments, in, out, err);
        for (const int file : {in, out, err}) {
            close(file);
        }
        const int code = process.Wait();
        EXPECT_FALSE(HasObjects(process.Pid()));
        return {code, ReadAll(folder_ / "out"), ReadAll(folder_ / "err")};
    }

    // A fan of triangles: enough words for a few batches.
    std::string Model() const {
        constexpr int kTriangles = 100;
        std::ostringstream text;
        text << "v 0 0 0\n";
        for (int i = 0; i < kTriangles; ++i) {
            const double angle = 6.2831853 * i / kTriangles;
            text << "v " << std::cos(angle) << ' ' << std::sin(angle) << ' ' << i % 3 << '\n';
        }
        for (int i = 0; i < kTriangles; ++i) {
            text << "f 1 " << i + 2 << ' ' << (i + 1) % kTriangles + 2 << '\n';
        }
        return folder_.Write("fan.obj", text.str());
    }
    std::vector<std::string> Drawing(const std::string& chip, const std::string& picture,
                                     std::vector<std::string> more = {}) const {
        std::vector<std::string> arguments{"render", Model(), "--chip", chip,
                                           "--size", "96x72", "-o",     folder_ / picture};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }
    // `trace`, its options, "--" and the command.
    static std::vector<std::string> Traced(std::vector<std::string> options,
                                           const std::vector<std::string>& command) {
        options.insert(options.begin(), "trace");
        options.push_back("--");
        options.insert(options.end(), command.begin(), command.end());
        return options;
    }
    // What the same drawing does without a trace.
    struct Untraced {
        std::string words, events, picture;
    };
    Untraced DrawUntraced(const std::string& chip, std::vector<std::string> more = {}) {
        more.insert(more.end(), {"--words", folder_ / "w", "--events", folder_ / "e"});
        EXPECT_EQ(Tool(Drawing(chip, "plain.png", more)).code, 0);
        return {ReadAll(folder_ / "w"), ReadAll(folder_ / "e"), ReadAll(folder_ / "plain.png")};
    }

    TemporaryFolder folder_;
};

struct Drawn {
    const char* chip;
    std::vector<std::string> options;
    const char* name;
};

class TracedDrawing : public TraceTest, public testing::WithParamInterface<Drawn> {};

TEST_P(TracedDrawing, ListsEveryWordOnceBatchByBatchAndChangesNothing) {
    const auto& [chip, options, name] = GetParam();
    const Untraced untraced = DrawUntraced(chip, options);
    const ToolResult traced = Tool(Traced({}, Drawing(chip, "traced.png", options)));
    EXPECT_EQ(traced.code, 0) << traced.err;
    const Words words = RawWordsOf(untraced.words);
    EXPECT_FALSE(words.empty());
    EXPECT_EQ(WordsIn(traced.out), words);
    EXPECT_EQ(WordLines(traced.out), WordLines(untraced.events));
    EXPECT_EQ(ReadAll(folder_ / "traced.png"), untraced.picture);

    const std::vector<Words> transfers = TransfersOf(untraced.events);
    const std::vector<Batch> batches = BatchesOf(traced.out);
    ASSERT_EQ(batches.size(), transfers.size());
    EXPECT_GE(batches.size(), 3u);
    for (size_t i = 0; i < batches.size(); ++i) {
        EXPECT_EQ(batches[i].number, i + 1);
        EXPECT_EQ(batches[i].context, 6u); // the first one behind those of the display driver
        EXPECT_EQ(batches[i].told, transfers[i].size());
        EXPECT_EQ(batches[i].words, transfers[i]);
    }
    EXPECT_NE(traced.err.find("korv: " + std::to_string(batches.size()) + " batches, " +
                              std::to_string(words.size()) + " words traced\n"),
              std::string::npos)
        << traced.err;
}

INSTANTIATE_TEST_SUITE_P(Chips, TracedDrawing,
                         testing::Values(Drawn{"tx", {}, "Queue"},
                                         Drawn{"tx", {"--subbuffers", "2"}, "NoQueue"},
                                         Drawn{"permedia", {}, "PermediaWithHeads"},
                                         Drawn{"permedia2", {"--subbuffers", "32"}, "ShortPieces"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(TraceTest, WithoutDmaThereAreNoBatchesButAllWordsAreListed) {
    const Untraced untraced = DrawUntraced("tx", {"--fifo"});
    const ToolResult traced = Tool(Traced({}, Drawing("tx", "t.png", {"--fifo"})));
    EXPECT_EQ(traced.code, 0);
    const Words words = RawWordsOf(untraced.words);
    EXPECT_EQ(WordsIn(traced.out), words);
    EXPECT_TRUE(BatchesOf(traced.out).empty());
    EXPECT_TRUE(traced.out.starts_with("; after the last batch: " + std::to_string(words.size()) +
                                       " words\n"));
}

TEST_F(TraceTest, TheListingGoesToAFile) {
    const ToolResult plain = Tool(Traced({}, Drawing("tx", "t.png")));
    const ToolResult filed = Tool(Traced({"-o", folder_ / "listing"}, Drawing("tx", "t.png")));
    EXPECT_EQ(filed.code, 0);
    EXPECT_EQ(filed.out, "");
    EXPECT_EQ(ReadAll(folder_ / "listing"), plain.out);
    // What the command says has a place of its own.
    EXPECT_EQ(filed.err.find("t.png: 100 triangles") != std::string::npos, true) << filed.err;
}

TEST_F(TraceTest, ALimitListsSoManyBatchesAndLetsTheRestRun) {
    const Untraced untraced = DrawUntraced("tx");
    const std::vector<Batch> all = BatchesOf(Tool(Traced({}, Drawing("tx", "t.png"))).out);
    ASSERT_GT(all.size(), 2u);
    const ToolResult two = Tool(Traced({"--limit", "2"}, Drawing("tx", "two.png")));
    EXPECT_EQ(two.code, 0);
    EXPECT_EQ(BatchesOf(two.out), std::vector(all.begin(), all.begin() + 2));
    EXPECT_EQ(two.out.find("after the last"), std::string::npos);
    EXPECT_EQ(ReadAll(folder_ / "two.png"), untraced.picture);
}

TEST_F(TraceTest, AStepIsOneBatchForOneLine) {
    const Untraced untraced = DrawUntraced("tx");
    const std::vector<Batch> all = BatchesOf(Tool(Traced({}, Drawing("tx", "t.png"))).out);
    const ToolResult three = Tool(Traced({"--step"}, Drawing("tx", "three.png")), "\n\n\nq\n");
    EXPECT_EQ(three.code, 0);
    EXPECT_EQ(BatchesOf(three.out), std::vector(all.begin(), all.begin() + 3));
    EXPECT_NE(three.err.find("batch 4 waits."), std::string::npos) << three.err;
    EXPECT_EQ(three.err.find("batch 5 waits."), std::string::npos) << three.err;
    EXPECT_EQ(ReadAll(folder_ / "three.png"), untraced.picture);
}

TEST_F(TraceTest, RunningOnListsTheRestUnasked) {
    const ToolResult all = Tool(Traced({}, Drawing("tx", "t.png")));
    const ToolResult stepped = Tool(Traced({"--step"}, Drawing("tx", "t.png")), "\nr\n");
    EXPECT_EQ(stepped.code, 0);
    EXPECT_EQ(stepped.out, all.out);
    EXPECT_EQ(stepped.err.find("batch 3 waits."), std::string::npos) << stepped.err;
}

TEST_F(TraceTest, StepsToTheEndNeedALineForEachBatch) {
    const ToolResult all = Tool(Traced({}, Drawing("tx", "t.png")));
    const ToolResult stepped = Tool(Traced({"--step"}, Drawing("tx", "t.png")),
                                    std::string(BatchesOf(all.out).size(), '\n'));
    EXPECT_EQ(stepped.code, 0);
    EXPECT_EQ(stepped.out, all.out);
}

TEST_F(TraceTest, TheEndOfTheInputQuits) {
    const ToolResult one = Tool(Traced({"--step"}, Drawing("tx", "t.png")), "\n");
    EXPECT_EQ(one.code, 0);
    EXPECT_EQ(BatchesOf(one.out).size(), 1u);
    EXPECT_TRUE(std::filesystem::exists(folder_ / "t.png"));
}

TEST_F(TraceTest, OtherAnswersAreAskedForAgain) {
    const ToolResult one = Tool(Traced({"--step"}, Drawing("tx", "t.png")), "x\n\nq\n");
    EXPECT_EQ(BatchesOf(one.out).size(), 1u);
    EXPECT_NE(one.err.find("'x' is none of these\nbatch 1 waits."), std::string::npos) << one.err;
}

// Two contexts, of which the first ends between the batches of the second.
TEST_F(TraceTest, TheEndOfAContextDoesNotEndTheTraceOfTheOthers) {
    const auto scene = [](const std::string& context) {
        return R"({"do": "beginScene", "context": ")" + context + R"("},
                  {"do": "triangles", "context": ")" +
               context + R"(", "vertices": [[1, 1], [20, 1], [1, 20]]},
                  {"do": "endScene", "context": ")" +
               context + R"("})";
    };
    const std::string script = folder_.Write(
        "s.json",
        Script({kDisplay, kStart, kTarget, R"({"do": "context", "name": "a", "target": "t"})",
                R"({"do": "context", "name": "b", "target": "t"})", scene("a"), scene("b"),
                R"({"do": "destroyContext", "context": "a"})", scene("b"),
                R"({"do": "context", "name": "c", "target": "t"})", scene("c")}));
    ASSERT_EQ(Tool({"replay", script, "--events", folder_ / "e"}).code, 0);
    const ToolResult traced = Tool(Traced({}, {"replay", script}));
    EXPECT_EQ(traced.code, 0) << traced.err;
    const std::string events = ReadAll(folder_ / "e");
    EXPECT_EQ(WordsIn(traced.out), WordsIn(events));
    std::vector<Words> batches;
    std::vector<uint32_t> contexts;
    for (const Batch& batch : BatchesOf(traced.out)) {
        batches.push_back(batch.words);
        contexts.push_back(batch.context);
    }
    EXPECT_EQ(batches, TransfersOf(events));
    // The third context takes the slot of the first.
    contexts.erase(std::ranges::unique(contexts).begin(), contexts.end());
    EXPECT_EQ(contexts, (std::vector<uint32_t>{6, 7, 6}));
}

TEST_F(TraceTest, WordsOfEveryDisplayAreListed) {
    const std::string script = ScenePath("two-displays");
    ASSERT_EQ(Tool({"replay", script, "--words", folder_ / "w"}).code, 0);
    const ToolResult traced = Tool(Traced({}, {"replay", script}));
    EXPECT_EQ(traced.code, 0) << traced.err;
    Words recorded;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
        if (entry.path().filename().string().starts_with("w-")) {
            for (const uint32_t word : RawWordsOf(ReadAll(entry.path().string()))) {
                recorded.push_back(word);
            }
        }
    }
    Words listed = WordsIn(traced.out);
    std::ranges::sort(recorded);
    std::ranges::sort(listed);
    EXPECT_EQ(listed, recorded);
    EXPECT_EQ(traced.out.find("malformed"), std::string::npos);
}

TEST_F(TraceTest, TheExitCodeIsTheCommands) {
    const ToolResult missing = Tool(Traced({}, {"replay", folder_ / "none.json"}));
    EXPECT_EQ(missing.code, 2);
    EXPECT_NE(missing.err.find("korv: cannot read"), std::string::npos) << missing.err;
    const std::string wrong = folder_.Write(
        "wrong.json",
        Script({kDisplay, kStart, kTarget, kContext, std::string(kTriangle) + "}",
                R"({"do": "endScene", "context": "c"})",
                R"({"do": "check", "record": "ChipInfo", "expect": {"Family": 1}})"}));
    const ToolResult unexpected = Tool(Traced({}, {"replay", wrong}));
    EXPECT_EQ(unexpected.code, 1);
    EXPECT_FALSE(BatchesOf(unexpected.out).empty());
}

#ifdef __SANITIZE_ADDRESS__
constexpr const char* kCrashText = "context.cpp"; // the sanitizer's own report
#else
constexpr const char* kCrashText = "access violation at";
#endif

TEST_F(TraceTest, ACommandWhoseDriverCrashesEndsTheTrace) {
    const std::string crash = folder_.Write(
        "crash.json",
        Script({kDisplay, kStart, kTarget, kContext, std::string(kTriangle) + "}",
                R"({"do": "endScene", "context": "c"})",
                R"({"do": "set", "record": "ChipInfo", "fields": {"CurrentContext": 9999}})",
                R"({"do": "export", "name": "KORV_SwitchContext", "arguments": {"id": 5}})"}));
    const ToolResult traced = Tool(Traced({}, {"replay", crash}));
    EXPECT_EQ(traced.code, 1);
    EXPECT_FALSE(BatchesOf(traced.out).empty());
    EXPECT_NE(traced.err.find(kCrashText), std::string::npos) << traced.err;
}

TEST_F(TraceTest, ACommandThatIsKilledEndsTheTrace) {
    std::ostringstream out, err;
    const int code = trace::Run(
        {}, [] { return raise(SIGKILL); }, out, err);
    EXPECT_EQ(code, 128 + SIGKILL);
    EXPECT_NE(err.str().find("korv: the traced program was ended by signal 9"), std::string::npos)
        << err.str();
    EXPECT_FALSE(HasObjects(getpid()));
}

TEST_F(TraceTest, ACommandThatIsKilledInABatchEndsTheTrace) {
    std::ostringstream out, err;
    const auto program = [] {
        host::SignalSemaphore(trace::kAsk);
        // With the leave and without a report.
        host::AwaitSemaphore(trace::kLeave, 10000);
        return raise(SIGKILL);
    };
    EXPECT_EQ(trace::Run({}, program, out, err), 128 + SIGKILL);
    EXPECT_TRUE(BatchesOf(out.str()).empty());
    EXPECT_FALSE(HasObjects(getpid()));
}

// The end of a context releases the semaphore of the reports too.
TEST_F(TraceTest, AReleaseWithoutAReportIsNoBatch) {
    constexpr uint32_t kBatches = 50, kWords = 3;
    const auto program = [] {
        const auto memory = host::NamedMapping(trace::kWords);
        auto& log = *static_cast<trace::WordLog*>(memory.get());
        const auto shared = host::NamedMapping(trace::kRecord);
        auto& record = *static_cast<volatile DMATraceRecord*>(shared.get());
        for (uint32_t batch = 0; batch < kBatches; ++batch) {
            host::SignalSemaphore(trace::kReport);
            host::SignalSemaphore(trace::kAsk);
            host::AwaitSemaphore(trace::kLeave, 10000);
            const uint32_t start = log.written;
            for (uint32_t i = 0; i < kWords; ++i) {
                log.Put(0x188, trace::WordLog::kByDma);
            }
            record.TraceFirst = 1000;
            record.TraceLast = 1002;
            log.batchStart = start;
            log.batchEnd = log.written;
            log.context = batch + 1;
            ++log.reports;
            host::SignalSemaphore(trace::kReport);
        }
        return 0;
    };
    std::ostringstream out, err;
    EXPECT_EQ(trace::Run({}, program, out, err), 0);
    const std::vector<Batch> batches = BatchesOf(out.str());
    ASSERT_EQ(batches.size(), kBatches);
    for (uint32_t i = 0; i < kBatches; ++i) {
        EXPECT_EQ(batches[i], (Batch{i + 1, i + 1, kWords, Words(kWords, 0x188)}));
    }
}

TEST_F(TraceTest, AnInterruptEndsBothProcesses) {
    Pipe input, errors;
    const int out = creat((folder_ / "out").c_str(), 0600);
    ToolProcess tool(Traced({"--step"}, Drawing("tx", "t.png")), input.ends[0], out,
                     errors.ends[1]);
    close(out);
    errors.CloseWriter();
    ASSERT_TRUE(errors.ReadTo("batch 1 waits.")) << errors.seen;
    kill(tool.Pid(), SIGINT);
    EXPECT_EQ(tool.Wait(), 128 + SIGINT);
    // The stream ends when nobody is left to write to it.
    errors.ReadAll();
    EXPECT_FALSE(HasObjects(tool.Pid()));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "t.png"));
}

TEST_F(TraceTest, AReaderThatLeavesEndsTheTrace) {
    Pipe input, output, errors;
    output.CloseReader();
    ToolProcess tool(Traced({}, Drawing("tx", "t.png")), input.ends[0], output.ends[1],
                     errors.ends[1]);
    errors.CloseWriter();
    EXPECT_EQ(tool.Wait(), 128 + SIGPIPE);
    EXPECT_FALSE(HasObjects(tool.Pid()));
}

TEST_F(TraceTest, TheCommandRunsOnWhenTheToolIsKilled) {
    const Untraced untraced = DrawUntraced("tx");
    Pipe input, errors;
    const int out = creat((folder_ / "out").c_str(), 0600);
    ToolProcess tool(Traced({"--step"}, Drawing("tx", "t.png")), input.ends[0], out,
                     errors.ends[1]);
    close(out);
    errors.CloseWriter();
    ASSERT_TRUE(errors.ReadTo("batch 1 waits.")) << errors.seen;
    kill(tool.Pid(), SIGKILL);
    EXPECT_EQ(tool.Wait(), -1);
    const std::string said = errors.ReadAll(); // to the command's end
    const std::string once = "korv: the trace tool has gone, running on without it\n";
    EXPECT_NE(said.find(once), std::string::npos) << said;
    EXPECT_EQ(said.find(once), said.rfind(once));
    EXPECT_EQ(ReadAll(folder_ / "t.png"), untraced.picture);
    host::SharedObject::RemoveStale();
    EXPECT_FALSE(HasObjects(tool.Pid()));
}

TEST_F(TraceTest, ContextsTakeTheTraceRoadAndThoseWithoutDmaStayAsTheyAre) {
    const auto made = [](bool fifo) {
        Recording recording({});
        Settings settings;
        settings.size = {64, 64};
        settings.fifo = fifo;
        const ChipChoice& chip = ChipByName("permedia");
        const Canvas canvas(chip, settings, recording.ToldOf(chip.deviceId));
        const D3DContext* context = ContextSlots[1];
        if (fifo) {
            return context->TraceEnabled == 0 && context->Stream.StartDMA == nullptr;
        }
        return context->TraceEnabled == 1 && context->Stream.StartDMA == StartDMA_Trace;
    };
    const auto program = [&] { return made(false) && made(true) && made(false) ? 0 : 1; };
    std::ostringstream out, err;
    EXPECT_EQ(trace::Run({}, program, out, err), 0);
}

TEST_F(TraceTest, CommandsThatCannotBeTracedAreRefused) {
    for (const auto& [command, words] : std::initializer_list<std::pair<Lines, const char*>>{
             {{"trace", "--", "demo"}, "cannot be traced itself"},
             {{"replay", "x.json", "--dll", "y.dll"}, "a driver DLL cannot be traced"},
             {{"replay", "x.json", "--dll=y.dll"}, "a driver DLL cannot be traced"}}) {
        const ToolResult result = RunTool(Traced({}, command));
        EXPECT_EQ(result.code, 2);
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
    }
    EXPECT_EQ(RunTool({"trace"}).code, 2);
    EXPECT_EQ(RunTool({"trace", "--limit", "0", "--", "demo"}).code, 2);
    EXPECT_EQ(RunTool({"trace", "-o", folder_ / "no/where", "--", "demo"}).code, 2);
}

// What the tool makes, for a client in this very process.
class TraceClientTest : public testing::Test {
  protected:
    TraceClientTest() {
        for (const char* name : {trace::kLeave, trace::kReport, trace::kAsk}) {
            host::CreateNamedSemaphore(name, name == trace::kLeave ? 1000 : 0);
        }
        record = static_cast<DMATraceRecord*>(host::CreateNamedMapping(trace::kRecord, 16));
        log = static_cast<trace::WordLog*>(
            host::CreateNamedMapping(trace::kWords, sizeof(trace::WordLog)));
        record->Active = 1;
    }
    ~TraceClientTest() override { host::ResetSync(); }

    DMATraceRecord* record;
    trace::WordLog* log;
};

TEST_F(TraceClientTest, WithoutAToolThereIsNone) {
    host::RemoveNamedObject(trace::kWords);
    EXPECT_THROW(trace::Client(), std::runtime_error);
    EXPECT_EQ(trace::NewTap(), nullptr);
}

TEST_F(TraceClientTest, ALogThatIsFullLosesWordsAndTellsHowMany) {
    const uint32_t start = ~0u - 5; // positions run over
    log->written = start;
    log->read = start + 8 - trace::WordLog::kCapacity;
    for (int i = 0; i < 11; ++i) {
        log->Put(0x15D, trace::WordLog::kByDma);
    }
    EXPECT_EQ(log->lost, 3u);
    log->read = log->batchStart = start;
    log->batchEnd = start + 8;
    log->context = 9;
    std::ostringstream out;
    trace::Listing listing(*log, out);
    listing.Batch();
    EXPECT_TRUE(out.str().starts_with("; 3 words lost\n; batch 1: context 9, 8 words\n"));
    EXPECT_EQ(WordsIn(out.str()), Words(8, 0x15D));
    log->Put(0x188, 0);
    EXPECT_EQ(log->lost, 3u);
    out.str("");
    listing.Rest();
    EXPECT_EQ(out.str(), "; after the last batch: 1 word\nf 00000188 ; Sync\n");
}

TEST_F(TraceClientTest, ABatchWithoutWordsIsSaidToHaveNone) {
    std::ostringstream out;
    trace::Listing(*log, out).Batch();
    EXPECT_EQ(out.str(), "; batch 1: no words\n");
}

} // namespace
} // namespace korv
