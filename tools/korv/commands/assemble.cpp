#include "board/recorder.h"
#include "chip/devices.h"
#include "stream/capture_assembler.h"
#include "stream/capture_writer.h"
#include "stream/events.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/base/input_file.h"
#include "tools/korv/base/text.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/stream_options.h"
#include "tools/korv/commands/cli/values.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <memory>
#include <optional>

namespace korv {

namespace {

constexpr const char* kWords = "words";
constexpr const char* kEvents = "events";
constexpr const char* kCapture = "capture";

struct AssembleArguments {
    std::string input, output, chip;
    std::string form; // empty: what the text is
};

std::optional<ChipModel> ModelOf(const std::string& chip) {
    if (chip.empty()) {
        return {};
    }
    return FindDevice(ChipByName(chip).deviceId)->model;
}

[[noreturn]] void Refuse(const std::string& input, const stream::AssembleError& error) {
    std::string line = fmt::format("{}:{}:{}: {}", input == "-" ? "standard input" : input,
                                   error.line, error.column, error.what());
    if (!error.given.empty() && !error.candidates.empty()) {
        line += fmt::format(": the nearest is '{}'", Nearest(error.given, error.candidates));
    }
    throw UserError(line);
}

// Writes what a text makes, in a form that the first event decides unless somebody did before.
class AssembledFile final : public stream::EventSink {
  public:
    AssembledFile(const AssembleArguments& arguments, std::ostream& out)
        : out_(out), form_(arguments.form) {
        if (!arguments.chip.empty()) {
            config_ = BoardFor(arguments.chip);
            maker_ = "korv assemble";
        }
    }

    void OnBoard(const board::Config& board, const std::string& maker) override {
        if (config_) {
            throw UsageError("the text tells its chip in its 'board' line: '--chip' is for texts "
                             "without");
        }
        config_ = board;
        maker_ = maker;
        form_ = form_.empty() ? kCapture : form_;
        Begin();
    }

    void OnEvent(const stream::Event& event) override {
        if (!begun_) {
            form_ = form_.empty() ? kWords : form_;
            Begin();
        }
        if (capture_) {
            capture_->Put(event);
        } else if (recorder_ != nullptr) {
            Record(event);
        }
    }

    // Everything has been given.
    void Finish() {
        if (!begun_) {
            form_ = form_.empty() ? kWords : form_;
            Begin();
        }
        if (capture_) {
            capture_->Finish();
        }
    }

    const std::string& Form() const { return form_; }

  private:
    void Begin() {
        begun_ = true;
        if (form_ == kWords) {
            recorder_ = &words_.emplace(out_);
        } else if (form_ == kEvents) {
            recorder_ = &events_.emplace(out_, config_ ? std::optional(config_->chip)
                                                       : std::optional<ChipModel>());
        } else if (!config_) {
            throw UsageError("a capture needs to know its board: expected a 'board' line first in "
                             "the text, or '--chip'");
        } else {
            capture_.emplace(out_, *config_, maker_);
        }
    }

    void Record(const stream::Event& event) {
        switch (event.kind) {
        case stream::EventKind::Read:
            recorder_->OnRead(event.offset, event.value);
            break;
        case stream::EventKind::Write:
            recorder_->OnWrite(event.offset, event.value);
            break;
        case stream::EventKind::FifoWord:
            recorder_->OnFifoWord(event.value);
            break;
        case stream::EventKind::DmaWord:
            recorder_->OnDmaWord(event.value);
            break;
        default:
            break;
        }
    }

    std::ostream& out_;
    std::string form_;
    std::optional<board::Config> config_;
    std::string maker_;
    bool begun_ = false;
    std::optional<stream::RawWords> words_;
    std::optional<stream::EventText> events_;
    std::optional<stream::CaptureWriter> capture_;
    board::BusRecorder* recorder_ = nullptr;
};

void Assemble(const AssembleArguments& arguments, Console& console) {
    const std::optional<ChipModel> chip = ModelOf(arguments.chip);
    InputLines lines(arguments.input);
    OutputFile file(arguments.output);
    AssembledFile made(arguments, file.Stream());
    stream::CaptureAssembler assembler(made, chip);
    try {
        for (std::string_view line; lines.Next(line);) {
            assembler.Line(line);
        }
        assembler.End();
    } catch (const stream::AssembleError& error) {
        Refuse(arguments.input, error);
    }
    made.Finish();
    file.Commit();
    std::string line = Count(assembler.Words(), "word");
    const auto tell = [&](uint64_t count, const char* noun, bool written) {
        if (count != 0) {
            line += written ? ", " + Count(count, noun)
                            : fmt::format("; {}s left out: {}", noun, count);
        }
    };
    tell(assembler.Accesses(), "register event", made.Form() != kWords);
    tell(assembler.Others(), "other event", made.Form() == kCapture);
    if (assembler.Unfinished()) {
        line += "; the last burst waits for data";
    }
    fmt::print(console.Report(), "{}: {}\n", Printable(arguments.output), line);
}

void SetUpAssemble(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<AssembleArguments>();
    command.add_option("TEXT", arguments->input, "The event text; - for standard input")
        ->type_name("TEXT")
        ->required();
    command.add_option("-o,--output", arguments->output, "The file; - for standard output")
        ->type_name("FILE")
        ->required();
    AddChoice(command, "--form", arguments->form, {kWords, kEvents, kCapture},
              "What to write: the words of the stream alone, event text, or a capture (default: a "
              "capture if the text tells its board, else words)");
    command
        .add_option("--chip", arguments->chip,
                    "The chip, for texture coordinates in decimals and for a capture of a text "
                    "that does not tell its board: " +
                        ChipNames())
        ->type_name("CHIP");
    command.footer(R"(A line is an event as it is recorded, or names registers, fields and values:

  d 00010040                              a word
  Render Primitive=Trapezoid Fog=1        a tag word and its data
  dXDom = -0.5                            so too
  Color = #FF8000, #FF8000FF              a hold burst
  {StartY, dY, Count} = 10, 1, 200        an indexed burst
  w IntEnable DMA=1                       a register access

docs/events.md states the grammar, docs/registers.md lists the names. The text of a capture, as
'korv dump' writes it, makes the same capture again, bit for bit.

Examples:
  korv dump session.korv > session.txt
  korv assemble session.txt -o same.korv
  korv assemble triangle.txt -o triangle.words
  korv assemble recorded.events -o - --form events --chip mx | less
)");
    command.callback([arguments, &console] { Assemble(*arguments, console); });
}

} // namespace

extern const Command kAssembleCommand{"assemble", CommandGroup::Look,
                                      "Make words of event text, or of names and values",
                                      SetUpAssemble};

} // namespace korv
