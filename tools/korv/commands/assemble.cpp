#include "stream/assemble.h"

#include "board/recorder.h"
#include "chip/devices.h"
#include "stream/events.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/base/input_file.h"
#include "tools/korv/base/text.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/commands/cli/command.h"
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

struct AssembleArguments {
    std::string input, output, chip;
    std::string form = kWords;
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

void Assemble(const AssembleArguments& arguments, Console& console) {
    const std::optional<ChipModel> chip = ModelOf(arguments.chip);
    InputLines lines(arguments.input);
    OutputFile file(arguments.output);
    stream::RawWords words(file.Stream());
    stream::EventText events(file.Stream(), chip);
    const bool toWords = arguments.form == kWords;
    board::BusRecorder& out = toWords ? static_cast<board::BusRecorder&>(words)
                                      : static_cast<board::BusRecorder&>(events);
    stream::Assembler assembler(out, chip);
    try {
        for (std::string_view line; lines.Next(line);) {
            assembler.Line(line);
        }
    } catch (const stream::AssembleError& error) {
        Refuse(arguments.input, error);
    }
    file.Commit();
    std::string line = Count(assembler.Words(), "word");
    if (assembler.Accesses() != 0) {
        line += toWords ? fmt::format("; register events left out: {}", assembler.Accesses())
                        : ", " + Count(assembler.Accesses(), "register event");
    }
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
    AddChoice(command, "--form", arguments->form, {kWords, kEvents},
              "What to write: the words of the stream alone, or event text (default words)");
    command
        .add_option("--chip", arguments->chip,
                    "The chip, for texture coordinates in decimals: " + ChipNames())
        ->type_name("CHIP");
    command.footer(R"(A line is an event as it is recorded, or names registers, fields and values:

  d 00010040                              a word
  Render Primitive=Trapezoid Fog=1        a tag word and its data
  dXDom = -0.5                            so too
  Color = #FF8000, #FF8000FF              a hold burst
  {StartY, dY, Count} = 10, 1, 200        an indexed burst
  w IntEnable DMA=1                       a register access

docs/events.md states the grammar, docs/registers.md lists the names.

Examples:
  korv assemble triangle.txt -o triangle.words
  korv assemble recorded.events -o - --form events --chip mx | less
)");
    command.callback([arguments, &console] { Assemble(*arguments, console); });
}

} // namespace

extern const Command kAssembleCommand{"assemble", CommandGroup::Play,
                                      "Make words of event text, or of names and values",
                                      SetUpAssemble};

} // namespace korv
