#include "tools/korv/commands/cli/run.h"

#include "tools/korv/base/claims.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/text.h"
#include "tools/korv/capture/patience.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/tool.h"
#include "tools/korv/commands/cli/usage.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <exception>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace korv {

namespace {

constexpr const char* kAbout =
    "Draws with the KORV32 display driver on a software model of its graphics boards.";

constexpr const char* kExamples = R"(Examples:
  korv demo                                    all scenes on all chips, into korv-demo/
  korv render scenes/torus-knot.obj --chip tx -o knot.png
  korv info --chip permedia2                   what the driver says the chip can do
  korv replay scenes/two-displays.json         plays a HAL script and checks its expectations
  korv dump session.korv --summary             what a capture has: calls, batches, primitives
  korv trace --step -- demo --chip tx          shows the words of each DMA batch before the next
  korv COMMAND --help                          all options of a command

An output named '-' is standard output, and what is told of it goes to standard error. Outputs
replace files that exist, links are followed; devices and FIFOs are written as they are.
)";

int Complain(std::ostream& err, const std::string& message) {
    fmt::print(err, "korv: {}\n", Printable(message));
    return kExitBadInput;
}

// Where to look for what the command line should be.
std::string HelpHint(const CLI::App& tool, std::span<const std::string> words) {
    const CLI::App* command = CommandIn(tool, words);
    return fmt::format(" (try 'korv {}--help')",
                       command == nullptr ? "" : command->get_name() + " ");
}

// Parses and runs. CLI::Success, for help and the version, goes through.
void RunCommandLine(CLI::App& tool, const std::vector<std::string>& words) {
    CheckUsage(tool, words);
    try {
        // The library takes them from the back.
        std::vector<std::string> reversed(words.rbegin(), words.rend());
        tool.parse(reversed);
    } catch (const CLI::Success&) {
        throw;
    } catch (const CLI::ValidationError& error) {
        // It begins with the option's name.
        const std::string what = error.what();
        throw UsageError(fmt::format("bad value for '{}'", what.substr(0, what.find(':'))));
    } catch (const CLI::ParseError&) {
        throw UsageError("bad command line");
    }
}

// What a command reads is its own affair.
struct FilesOfOneCommand {
    FilesOfOneCommand() { ForgetFiles(); }
    ~FilesOfOneCommand() { ForgetFiles(); }
};

} // namespace

const char* TitleOf(CommandGroup group) {
    switch (group) {
    case CommandGroup::Draw:
        return "Draw";
    case CommandGroup::Look:
        return "Look";
    case CommandGroup::Check:
        return "Check";
    case CommandGroup::Serve:
        return "Serve";
    }
    return "";
}

std::unique_ptr<CLI::App> MakeTool(Console& console) {
    auto tool = std::make_unique<CLI::App>(kAbout, "korv");
    tool->set_help_flag("-h,--help", "Print this help and exit");
    tool->set_version_flag("--version", "korv " KORV_VERSION, "Print the version and exit");
    tool->footer(kExamples);
    tool->require_subcommand(1);
    for (const Command* command : Commands()) {
        CLI::App* app = tool->add_subcommand(command->name, command->synopsis);
        app->group(TitleOf(command->group));
        command->setUp(*app, console);
    }
    return tool;
}

int Run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    Console console{out, err};
    const PatienceScope patience;
    const FilesOfOneCommand files;
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    const auto tool = MakeTool(console);
    try {
        RunCommandLine(*tool, words);
        return kExitOk;
    } catch (const CLI::CallForHelp&) {
        fmt::print(out, "{}", tool->help());
        return kExitOk;
    } catch (const CLI::CallForVersion& version) {
        fmt::print(out, "{}\n", version.what());
        return kExitOk;
    } catch (const ExitStatus& status) {
        return status.code;
    } catch (const UsageError& error) {
        return Complain(err, error.what() + HelpHint(*tool, words));
    } catch (const UnexpectedError& error) {
        std::istringstream lines(error.what());
        for (std::string line; std::getline(lines, line);) {
            Complain(err, line);
        }
        return kExitUnexpected;
    } catch (const UserError& error) {
        return Complain(err, error.what());
    } catch (const std::bad_alloc&) {
        return Complain(err, "out of memory");
    } catch (const std::exception& error) {
        return Complain(err, error.what());
    }
}

} // namespace korv
