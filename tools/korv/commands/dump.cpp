#include "stream/dump.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/listing.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/stream_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>
#include <sstream>

namespace korv {

namespace {

struct DumpArguments {
    StreamArguments stream;
    stream::DumpOptions options;
    std::string only; // names, separated by commas
};

void AddNames(DumpArguments& arguments) {
    std::istringstream names(arguments.only);
    for (std::string name; std::getline(names, name, ',');) {
        if (!arguments.options.only.Add(name)) {
            throw UsageError(
                fmt::format("unknown register, unit or kind '{}' for '--only': the nearest is '{}'",
                            name, Nearest(name, stream::EventFilter::Names())));
        }
    }
    if (arguments.options.summary && (!arguments.only.empty() || arguments.options.changes)) {
        throw UsageError("'--summary' goes with neither '--only' nor '--changes'");
    }
}

void Dump(DumpArguments& arguments, Console& console) {
    AddNames(arguments);
    StreamInput input(arguments.stream);
    Listing listing(console.out);
    stream::DumpOptions& options = arguments.options;
    if (!options.json) {
        options.comment = listing.Escape(Listing::Colour::Dim);
        options.mark = listing.Escape(Listing::Colour::Heading);
        options.plain = listing.Escape(Listing::Colour::Plain);
    }
    input.Run([&] { stream::Dump(input.Source(), options, listing.Out()); });
    input.WarnOfCut(console);
}

constexpr const char* kDumpFooter =
    R"(A line is an event: r and w are accesses of a register by the processor, f and d words
of the command stream, by the FIFO window and by DMA; behind ';' stands what they mean. Lines of a
capture tell more: marks (what called for it), stores into memory, time, interrupts. docs/events.md
defines them all, and 'korv assemble' makes the same file of them again.

--only takes registers (Render, DMACount), units (Fog, Blend, LocalBuffer, ...: docs/registers.md
has them), and kinds of events: read, write, fifo, dma, store, mark, or one kind of mark (call,
batch, step, frame, surface, ...). Lines that do not follow each other have their place in front.

A PLACE is a word's number (1234 or word:1234), event:N, call:N, batch:N, frame:N, step:N,
mark:NAME, start or end; all count from 0, and the place is where that begins.

Examples:
  korv replay scenes/triangles-tx.json --capture tx.korv
  korv dump tx.korv
  korv dump tx.korv --summary
  korv dump tx.korv --from step:20 --to step:21
  korv dump tx.korv --only Render,DepthMode
  korv dump tx.korv --changes --only LocalBuffer
  korv dump tx.korv --only call --json
  korv dump words.bin --chip permedia
)";

void SetUpDump(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<DumpArguments>();
    AddStreamArguments(command, arguments->stream);
    AddPlaceOption(command, "--from", arguments->options.from, "Begin there (default: start)");
    AddPlaceOption(command, "--to", arguments->options.to, "Stop there (default: end)");
    command
        .add_option("--only", arguments->only,
                    "Only events of these registers, units or kinds, separated by commas")
        ->type_name("NAME,...");
    command.add_flag("--changes", arguments->options.changes,
                     "Only writes that give a register another value, and commands");
    command.add_flag("--summary", arguments->options.summary,
                     "A line for each step, call, batch, primitive and frame");
    command.add_flag("--json", arguments->options.json, "A JSON object a line");
    command.footer(kDumpFooter);
    command.callback([arguments, &console] { Dump(*arguments, console); });
}

} // namespace

extern const Command kDumpCommand{"dump", CommandGroup::Look, "Show a stream, event by event",
                                  SetUpDump};

} // namespace korv
