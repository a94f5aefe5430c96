#include "stream/checksum.h"
#include "stream/overdraw.h"
#include "stream/player.h"
#include "stream/primitives.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/draw_options.h"
#include "tools/korv/commands/cli/raw_screen.h"
#include "tools/korv/commands/cli/stream_options.h"
#include "tools/korv/commands/cli/stream_pictures.h"
#include "tools/korv/commands/cli/values.h"
#include "tools/korv/images/heat.h"
#include "tools/korv/images/png.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <vector>

namespace korv {

namespace {

struct PlayArguments {
    StreamArguments stream;
    stream::Place from, to{stream::Place::Kind::End, 0, {}};
    std::string output, surface, memory, pictures, every;
    RawScreen screen;
    bool depthPicture = false, overdraw = false, check = false, json = false;
};

// Checksums that are not what the capture says.
struct Mismatch {
    stream::Position at;
    std::string mark, what;
};

class Play {
  public:
    Play(const PlayArguments& arguments, Console& console)
        : arguments_(arguments), console_(console), input_(arguments.stream),
          player_(input_.Source()), pictured_(player_, arguments.stream.file) {
        if (!arguments.output.empty()) {
            CheckPngName(arguments.output);
            output_.emplace(arguments.output);
        }
        if (!arguments.memory.empty()) {
            memory_.emplace(arguments.memory);
            if (!player_.Board().LocalBuffer().empty()) {
                localMemory_.emplace(RecordPaths{arguments.memory, {}, {}}.With("local").words);
            }
        }
        if (!arguments.pictures.empty()) {
            MakeFolder(arguments.pictures);
        }
        if (arguments.overdraw) {
            overdraw_.emplace(player_.Board().FrameBuffer().size(),
                              player_.Board().LocalBuffer().size());
            counting_ = arguments.from.kind == stream::Place::Kind::Start;
            overdraw_->SetCounting(counting_);
            player_.Board().SetProbe(&*overdraw_);
        }
        if (!input_.Source().HasEvents()) {
            SetUpRaw();
        } else if (arguments.check) {
            checks_ = true;
        }
    }

    void Run() {
        const bool reached = input_.Run([&] { return Steps(); });
        if (!reached) {
            throw UserError(fmt::format("'{}' has no {}: it ends behind {}", arguments_.stream.file,
                                        arguments_.to.Text(),
                                        stream::TextOf(input_.Source().At())));
        }
        if (!counting_) {
            throw UserError(fmt::format("'{}' has no {} before the end: nothing is counted",
                                        arguments_.stream.file, arguments_.from.Text()));
        }
        WriteOutputs();
        input_.WarnOfCut(console_);
        Report();
    }

  private:
    // True if the place has been reached.
    bool Steps() {
        stream::Event event;
        stream::Source& source = input_.Source();
        if (HasReached(arguments_.to, source.At())) {
            return true;
        }
        const bool primitives = arguments_.every == "primitive";
        while (true) {
            const stream::Position before = source.At();
            if (!player_.Next(event)) {
                if (primitives && walker_.Cut(source.At().word)) {
                    WritePrimitive();
                }
                return arguments_.to.kind == stream::Place::Kind::End;
            }
            if (primitives && event.IsWord() && walker_.Take(before.word, event.value)) {
                WritePrimitive();
            }
            player_.Play(event);
            if (event.kind == stream::EventKind::Mark) {
                FollowMark(*event.mark, before);
            }
            if (!counting_ && IsAt(arguments_.from, source.At(), &event)) {
                counting_ = true;
                overdraw_->SetCounting(true);
            }
            if (IsAt(arguments_.to, source.At(), &event)) {
                return true;
            }
        }
    }

    void FollowMark(const stream::Mark& mark, const stream::Position& at) {
        pictured_.Follow(mark);
        if (checks_ && mark.Number("registers")) {
            Check(mark, at);
        }
        if (mark.kind == stream::MarkKind::Frame && arguments_.every == "frame") {
            WritePng(std::filesystem::path(arguments_.pictures) /
                         fmt::format("frame-{:03}.png", pictures_++),
                     PictureOf(pictured_.OfFrame(arguments_.surface, arguments_.depthPicture)));
            if (overdraw_) {
                overdraw_->Clear();
            }
        }
    }

    // What is there, or how often it was written.
    host::Picture PictureOf(const stream::SurfaceLayout& surface) {
        return overdraw_ ? HeatPicture(overdraw_->Of(surface), surface.width, surface.height)
                         : pictured_.Picture(surface);
    }

    void Check(const stream::Mark& mark, const stream::Position& at) {
        ++checked_;
        const stream::Checksums sums = stream::ChecksumsOf(player_.Board());
        std::string what;
        const auto compare = [&](const char* field, uint32_t here, const char* name) {
            if (static_cast<uint32_t>(mark.Number(field).value_or(0)) != here) {
                what += (what.empty() ? "" : ", ") + std::string(name);
            }
        };
        compare("frameBuffer", sums.frameBuffer, "the frame buffer");
        compare("localBuffer", sums.localBuffer, "the local buffer");
        compare("registers", sums.registers, "registers");
        if (!what.empty()) {
            const char* kind = NameOf(mark.kind);
            mismatches_.push_back(
                {at, mark.name.empty() ? kind : fmt::format("{} '{}'", kind, mark.name), what});
        }
    }

    void SetUpRaw() {
        if (arguments_.check) {
            throw UsageError("raw words have no checksums to compare with: '--check' is for "
                             "captures");
        }
        pictured_.SetScreen(SetUpRawScreen(player_, arguments_.screen, arguments_.stream.chip));
    }

    host::Picture Drawn() {
        return PictureOf(pictured_.Drawn(arguments_.surface, arguments_.depthPicture));
    }

    void WritePrimitive() {
        WritePng(std::filesystem::path(arguments_.pictures) /
                     fmt::format("primitive-{:06}.png", pictures_++),
                 Drawn());
    }

    void WriteOutputs() {
        const auto write = [](OutputFile& file, std::span<const uint8_t> bytes) {
            file.Stream().write(reinterpret_cast<const char*>(bytes.data()),
                                static_cast<std::streamsize>(bytes.size()));
            file.Close();
        };
        if (output_) {
            input_.Run([&] { WritePng(output_->Stream(), Drawn()); });
            output_->Close();
        }
        if (memory_) {
            write(*memory_, player_.Board().FrameBuffer());
        }
        if (localMemory_) {
            write(*localMemory_, player_.Board().LocalBuffer());
        }
        for (auto* file : {&output_, &memory_, &localMemory_}) {
            if (*file) {
                (*file)->Commit();
            }
        }
    }

    std::vector<std::string> DifferenceLines() {
        std::vector<std::string> lines;
        for (const Mismatch& one : mismatches_) {
            lines.push_back(fmt::format("{}: {} differ from the capture's, at {}", one.mark,
                                        one.what, stream::TextOf(one.at)));
        }
        for (const stream::Player::Difference& one : player_.Differences()) {
            lines.push_back(fmt::format("{}, at {}", one.what, stream::TextOf(one.at)));
        }
        return lines;
    }

    // Of the picture's surface.
    HeatNumbers WritesOfPixels() {
        const auto surface = pictured_.Drawn(arguments_.surface, arguments_.depthPicture);
        return NumbersOf(input_.Run([&] { return overdraw_->Of(surface); }), surface.width);
    }

    void Report() {
        const bool counted = overdraw_ && output_;
        const HeatNumbers writes = counted ? WritesOfPixels() : HeatNumbers();
        const stream::Position& at = input_.Source().At();
        const std::vector<std::string> lines = DifferenceLines();
        const bool differs = !lines.empty();
        if (arguments_.json) {
            nlohmann::ordered_json report{
                {"file", arguments_.stream.file},
                {"events", at.event},
                {"words", at.word},
                {"calls", at.call},
                {"batches", at.batch},
                {"frames", at.frame},
                {"steps", at.step},
                {"checks", checked_},
                {"differences", lines},
                {"cutOff", input_.Source().CutOff()},
            };
            if (counted) {
                report["overdraw"] = {{"pixels", writes.pixels},
                                      {"written", writes.written},
                                      {"writes", writes.writes},
                                      {"most", writes.most},
                                      {"mostX", writes.mostPlace % writes.width},
                                      {"mostY", writes.mostPlace / writes.width}};
            }
            fmt::print(console_.Report(), "{}\n", report.dump(2));
        } else if (!differs || !arguments_.check) {
            fmt::print(console_.Report(), "{}: {} in {}{}\n", Printable(arguments_.stream.file),
                       Count(at.word, "word"), Count(at.event, "event"),
                       checks_ ? fmt::format(", {} equal", Count(checked_, "checksum")) : "");
            if (counted) {
                fmt::print(console_.Report(), "{} of {} written, {} each, {} at most, at {},{}\n",
                           writes.written, Count(writes.pixels, "pixel"),
                           writes.written == 0
                               ? "0 times"
                               : fmt::format("{:.2f} times",
                                             static_cast<double>(writes.writes) / writes.written),
                           Count(writes.most, "time"), writes.mostPlace % writes.width,
                           writes.mostPlace / writes.width);
            }
        }
        if (differs && arguments_.check) {
            if (arguments_.json) {
                throw ExitStatus{kExitUnexpected};
            }
            throw UnexpectedError(fmt::format(
                "'{}': {}{}", arguments_.stream.file, lines.front(),
                lines.size() > 1 ? fmt::format(" (the first of {})", lines.size()) : ""));
        }
        if (differs && !arguments_.json) {
            Warn(console_, fmt::format("'{}': {}", arguments_.stream.file, lines.front()));
        }
    }

    const PlayArguments& arguments_;
    Console& console_;
    StreamInput input_;
    stream::Player player_;
    StreamPictures pictured_;
    stream::PrimitiveWalker walker_;
    std::optional<stream::Overdraw> overdraw_;
    std::optional<OutputFile> output_, memory_, localMemory_;
    bool checks_ = false, counting_ = true; // writes, for the overdraw
    uint64_t checked_ = 0, pictures_ = 0;
    std::vector<Mismatch> mismatches_;
};

void CheckArguments(const PlayArguments& arguments) {
    if (arguments.pictures.empty() != arguments.every.empty()) {
        throw UsageError("'--pictures' and '--every' belong together");
    }
    if (arguments.overdraw && arguments.output.empty() && arguments.pictures.empty()) {
        throw UsageError("'--overdraw' needs a place for its picture: '-o' or '--pictures'");
    }
    if (!arguments.overdraw && arguments.from.kind != stream::Place::Kind::Start) {
        throw UsageError("'--from' is for '--overdraw': a board plays from the start");
    }
}

constexpr const char* kPlayFooter =
    R"(The board alone plays it, without driver and host. What it draws into is, unless
--surface names another: what the latest picture was taken of; else the target of the latest
context; else the screen. With --check the exit code is 1 if the board's memories or registers
differ from the capture's at one of its marks, or a register reads other than it did then.

With --overdraw pictures show how often the chip wrote each pixel of the surface's memory, since
--from, or since the frame before with --every frame. The scale is the same for all pictures:
)" KORV_HEAT_LEGEND R"(.

A PLACE is a word's number (1234 or word:1234), event:N, call:N, batch:N, frame:N, step:N,
mark:NAME, start or end; all count from 0, and the place is where that begins.

Examples:
  korv replay scenes/triangles-tx.json --capture tx.korv
  korv play tx.korv --check
  korv play tx.korv --to step:20 -o so-far.png
  korv play tx.korv --depth-picture -o depth.png
  korv play tx.korv --pictures primitives --every primitive
  korv play tx.korv --overdraw --from step:20 -o overdraw.png
  korv play words.bin --chip permedia --size 320x240 -o picture.png
)";

void SetUpPlay(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<PlayArguments>();
    AddStreamArguments(command, arguments->stream);
    AddPlaceOption(command, "--to", arguments->to, "Stop there (default: end)");
    command
        .add_option("-o,--output", arguments->output,
                    "Write a picture of what is there then; - for standard output")
        ->type_name("OUT.png");
    command.add_option("--surface", arguments->surface, "Take the picture of this surface")
        ->type_name("NAME");
    command.add_flag("--depth-picture", arguments->depthPicture,
                     "Take it of the Z buffer, near black and far white");
    command.add_flag("--overdraw", arguments->overdraw,
                     "Make pictures of how often each pixel was written");
    AddPlaceOption(command, "--from", arguments->from,
                   "Count the writes of --overdraw from there on (default: start)");
    command
        .add_option("--memory", arguments->memory,
                    "Write the frame buffer's bytes, and those of a local buffer into a file with "
                    "-local before its extension")
        ->type_name("FILE");
    command.add_option("--pictures", arguments->pictures, "Write many pictures into this folder")
        ->type_name("DIR");
    AddChoice(command, "--every", arguments->every, {"frame", "primitive"},
              "When to take one of them");
    command.add_flag("--check", arguments->check,
                     "Compare with the checksums of the capture's marks");
    AddRawScreenArguments(command, arguments->screen);
    command.add_flag("--json", arguments->json, "Tell the result as JSON");
    command.footer(kPlayFooter);
    command.callback([arguments, &console] {
        CheckArguments(*arguments);
        Play(*arguments, console).Run();
    });
}

} // namespace

extern const Command kPlayCommand{"play", CommandGroup::Look, "Play a capture on a bare board",
                                  SetUpPlay};

} // namespace korv
