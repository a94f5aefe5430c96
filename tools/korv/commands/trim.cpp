#include "stream/trim.h"

#include "stream/error.h"
#include "stream/minimise.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/output_file.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/raw_screen.h"
#include "tools/korv/commands/cli/stream_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace korv {

namespace {

constexpr const char* kMaker = "korv " KORV_VERSION;

struct TrimArguments {
    StreamArguments stream;
    RawScreen screen;
    std::optional<stream::PlaceRange> range;
    std::string rangeText, output, condition;
    bool minimise = false, json = false;
};

// A command line that is run with the name of a file.
class Condition {
  public:
    explicit Condition(std::string line) : line_(std::move(line)) {
        std::string folder = std::filesystem::temp_directory_path() / "korv-trim-XXXXXX";
        if (mkdtemp(folder.data()) == nullptr) {
            throw UserError(fmt::format("cannot make folder '{}'", folder));
        }
        folder_ = folder;
    }
    ~Condition() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    // It ends with an exit code other than 0, or by a signal.
    bool Fails(const std::string& capture) const {
        const std::string path = folder_ / "part.korv";
        std::ofstream(path, std::ios::binary) << capture;
        std::string line = line_;
        constexpr std::string_view kFile = "{}";
        if (line.find(kFile) == std::string::npos) {
            line += " {}";
        }
        for (size_t at = 0; (at = line.find(kFile, at)) != std::string::npos; at += path.size()) {
            line.replace(at, kFile.size(), path);
        }
        const int status = std::system(("exec >/dev/null 2>&1 </dev/null\n" + line).c_str());
        if (status == -1 || (WIFSIGNALED(status) && WTERMSIG(status) == SIGINT)) {
            throw ExitStatus{kExitBadInput};
        }
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
        if (code == 126 || code == 127) {
            throw UserError(fmt::format("cannot run '{}', which '--while' names", line_));
        }
        return code != 0;
    }

  private:
    const std::string line_;
    std::filesystem::path folder_;
};

class Trim {
  public:
    Trim(const TrimArguments& arguments, Console& console)
        : arguments_(arguments), console_(console), input_(arguments.stream),
          output_(arguments.output) {}

    void Run() {
        std::ostringstream part;
        std::ostream& out = arguments_.minimise ? part : output_.Stream();
        const stream::TrimmedPart cut = input_.Run([&] {
            stream::Player player(input_.Source());
            stream::Trimmer trimmer(player, out, kMaker);
            if (!input_.Source().HasEvents()) {
                HoldScreen(trimmer, player);
            }
            return trimmer.Write(*arguments_.range);
        });
        std::optional<stream::Minimised> minimised;
        if (arguments_.minimise) {
            minimised = Minimise(part.str());
            output_.Stream() << minimised->capture;
        }
        output_.Commit();
        input_.WarnOfCut(console_);
        Report(cut, minimised);
    }

  private:
    void HoldScreen(stream::Trimmer& trimmer, stream::Player& player) {
        const stream::SurfaceLayout screen =
            SetUpRawScreen(player, arguments_.screen, arguments_.stream.chip);
        trimmer.Hold(stream::Mark(stream::MarkKind::Mode)
                         .Add("width", screen.width)
                         .Add("height", screen.height)
                         .Add("bits", screen.bits)
                         .Add("pitch", screen.pitch)
                         .Add("refreshRate", input_.Source().Board().refreshRate));
    }

    stream::Minimised Minimise(const std::string& capture) {
        const Condition condition(arguments_.condition);
        std::istringstream in(capture);
        const auto source = stream::OpenSource(in);
        try {
            return stream::Minimise(
                *source, kMaker, [&](const std::string& bytes) { return condition.Fails(bytes); });
        } catch (const stream::StreamError&) {
            throw UserError(fmt::format("'{}' does not fail with {} of '{}': '--minimise' needs a "
                                        "command that does",
                                        arguments_.condition, arguments_.rangeText,
                                        arguments_.stream.file));
        }
    }

    void Report(const stream::TrimmedPart& cut, const std::optional<stream::Minimised>& minimised) {
        const uint64_t words = cut.to.word - cut.from.word;
        if (arguments_.json) {
            nlohmann::ordered_json report{
                {"file", arguments_.output},
                {"from", stream::ToJson(cut.from)},
                {"to", stream::ToJson(cut.to)},
                {"words", minimised ? minimised->words : words},
                {"cutOff", input_.Source().CutOff()},
            };
            if (minimised) {
                report["tries"] = minimised->tries;
                report["asCarried"] = minimised->asCarried;
            }
            fmt::print(console_.Report(), "{}\n", report.dump(2));
            return;
        }
        std::string text = fmt::format("{}: {} from {} on", Printable(arguments_.output),
                                       Count(words, "word"), stream::TextOf(cut.from));
        if (minimised) {
            text =
                fmt::format("{}: {} of {} are enough ({} of the command{})",
                            Printable(arguments_.output), minimised->words,
                            Count(minimised->wordsBefore, "word"), Count(minimised->tries, "run"),
                            minimised->asCarried ? "; it needs them as they were carried" : "");
        }
        fmt::print(console_.Report(), "{}\n", text);
    }

    const TrimArguments& arguments_;
    Console& console_;
    StreamInput input_;
    OutputFile output_;
};

void AddRange(CLI::App& command, TrimArguments& arguments, const std::string& name,
              stream::Place::Kind kind, const std::string& about) {
    command
        .add_option_function<std::string>(
            "--" + name,
            [&arguments, kind, name](const std::string& text) {
                if (arguments.range) {
                    throw UsageError("one part at a time: expected one of --words, --batches, "
                                     "--calls, --frames and --steps");
                }
                try {
                    arguments.range = stream::ParseRange(text, kind);
                    arguments.rangeText = name + " " + text;
                } catch (const stream::StreamError& error) {
                    throw UsageError(fmt::format("{} for '--{}'", error.what(), name));
                }
            },
            about)
        ->type_name("A-B");
}

constexpr const char* kTrimFooter =
    R"(The part begins with the state that the board has there: its registers, what is in flight,
its memories, and the surfaces. From there on its pictures and checksums are those of the
original. A-B has both its ends and counts from 0; A- goes on to the end, A is that one alone.
What is before A is played to get there. A part by --calls goes on until the words of its last
call have gone to the chip, which may be in a later call.

--minimise looks for a smaller part with which CMD still fails, that is, ends with an exit code
other than 0. CMD is a line for the shell; {} in it, or else its end, stands for the name of a
capture. If CMD fails with the words alone, all by FIFO, then batches, primitives and single
register writes go, whatever is not needed; otherwise whole batches.

Examples:
  korv trim session.korv --frames 10-12 -o frames.korv
  korv trim session.korv --words 0x1000-0x1FFF -o words.korv
  korv trim session.korv --calls 7 -o call.korv
  korv trim words.bin --chip tx --size 320x240 --words 500- -o rest.korv
  korv trim session.korv --frames 3 -o small.korv --minimise --while './emulator --compare {}'
)";

void SetUpTrim(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<TrimArguments>();
    AddStreamArguments(command, arguments->stream);
    using Kind = stream::Place::Kind;
    AddRange(command, *arguments, "words", Kind::Word, "Keep these words of the command stream");
    AddRange(command, *arguments, "batches", Kind::Batch, "Keep these batches");
    AddRange(command, *arguments, "calls", Kind::Call, "Keep these calls of the driver");
    AddRange(command, *arguments, "frames", Kind::Frame, "Keep these frames");
    AddRange(command, *arguments, "steps", Kind::Step, "Keep these steps of the script");
    command.add_option("-o,--output", arguments->output, "The capture; - for standard output")
        ->type_name("OUT.korv")
        ->required();
    command.add_flag("--minimise", arguments->minimise,
                     "Drop what can be dropped while the command of --while still fails");
    command.add_option("--while", arguments->condition, "That command")->type_name("CMD");
    AddRawScreenArguments(command, arguments->screen);
    command.add_flag("--json", arguments->json, "Tell the result as JSON");
    command.footer(kTrimFooter);
    command.callback([arguments, &console] {
        if (!arguments->range) {
            throw UsageError("'trim' needs a part: --words, --batches, --calls, --frames or "
                             "--steps");
        }
        if (arguments->minimise != !arguments->condition.empty()) {
            throw UsageError("'--minimise' and '--while' belong together");
        }
        Trim(*arguments, console).Run();
    });
}

} // namespace

extern const Command kTrimCommand{"trim", CommandGroup::Look,
                                  "Cut a part out of a capture that plays alone", SetUpTrim};

} // namespace korv
