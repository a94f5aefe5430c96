#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/capture/patience.h"
#include "tools/korv/capture/trace_tool.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/run.h"
#include "tools/korv/commands/cli/values.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <iostream>
#include <memory>
#include <optional>

namespace korv {

namespace {

struct TraceArguments {
    trace::Options options;
    int limit = 0;
    std::string output, capture;
    std::vector<std::string> command;
};

// What the driver shares with a tool is found in the linked driver alone.
void CheckCommand(const std::vector<std::string>& command) {
    if (command.front() == "trace") {
        throw UserError("'trace' cannot be traced itself: expected another command of korv");
    }
    for (const std::string& word : command) {
        if (word == "--dll" || word.starts_with("--dll=")) {
            throw UserError("a driver DLL cannot be traced: its contexts are not to be found");
        }
    }
}

int RunCommand(const TraceArguments& arguments) {
    std::vector<std::string> command = arguments.command;
    if (!arguments.capture.empty()) {
        command.insert(command.begin() + 1, {"--capture", arguments.capture});
    }
    std::vector<const char*> argv{"korv"};
    for (const std::string& word : command) {
        argv.push_back(word.c_str());
    }
    // Standard output is the listing's.
    return Run(static_cast<int>(argv.size()), argv.data(), std::cerr, std::cerr);
}

void Trace(const TraceArguments& arguments, Console& console) {
    CheckCommand(arguments.command);
    trace::Options options = arguments.options;
    options.limit = static_cast<uint32_t>(arguments.limit);
    // The traced command, a process forked from this one, must not write there.
    std::optional<OutputFile> file;
    std::optional<OutputClaim> listing;
    if (!arguments.output.empty()) {
        file.emplace(arguments.output);
    } else {
        listing.emplace(kStandardOutput);
    }
    const int code = trace::Run(
        options, [&] { return RunCommand(arguments); }, file ? file->Stream() : console.out,
        console.err);
    if (file && code != kExitBadInput) {
        file->Commit();
    }
    throw ExitStatus{code};
}

constexpr const char* kTraceFooter =
    R"(The command runs in a process of its own. Each DMA batch of its Direct3D contexts waits until
this tool lets it go, and its words are listed once the chip has taken them; docs/trace.md tells how.
What the command prints goes to standard error. The exit code is the command's; 128 and the
number of a signal, if one ended it.

With --step, a line on standard input lets the next batch go: Enter for one, r for all the
others, q to list no more.

Examples:
  korv trace -- render scenes/cube.obj --chip permedia -o cube.png
  korv trace --limit 3 -o batches.txt -- replay scenes/triangles-tx.json
  korv trace --step -- replay scenes/triangles-permedia.json --subbuffers 4
)";

void SetUpTrace(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<TraceArguments>();
    command.add_flag("--step", arguments->options.step, "Ask before each batch");
    AddNumber(command, "--limit", arguments->limit, 1, 1000000000,
              "List this many batches, and let the command run on")
        ->type_name("N");
    command
        .add_option("-o,--output", arguments->output,
                    "Write the listing there (default: standard output)")
        ->type_name("FILE");
    command
        .add_option("--capture", arguments->capture,
                    "What --capture is to the command: the same as behind its own name")
        ->type_name("FILE");
    AddPatienceOption(command);
    command.add_option("COMMAND", arguments->command, "The command and its arguments, behind '--'")
        ->type_name("")
        ->required();
    command.footer(kTraceFooter);
    command.callback([arguments, &console] { Trace(*arguments, console); });
}

} // namespace

extern const Command kTraceCommand{"trace", CommandGroup::Look,
                                   "Run another command and list its DMA batches one by one",
                                   SetUpTrace};

} // namespace korv
