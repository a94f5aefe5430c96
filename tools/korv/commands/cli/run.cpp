#include "tools/korv/commands/cli/run.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/capture/patience.h"
#include "tools/korv/commands/cli/command.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <exception>
#include <sstream>
#include <string>

namespace korv {

namespace {

constexpr const char* kAbout =
    "Draws with the KORV32 display driver on a software model of its graphics boards.";

constexpr const char* kExamples = R"(Examples:
  korv demo                                    all scenes on all chips, into korv-demo/
  korv render scenes/torus-knot.obj --chip tx -o knot.png
  korv info --chip permedia2                   what the driver says the chip can do
  korv replay scenes/two-displays.json         plays a HAL script and checks its expectations
  korv trace --step -- demo --chip tx          shows the words of each DMA batch before the next
  korv COMMAND --help                          all options of a command
)";

// Messages of libraries may run over several lines.
std::string FirstLine(const std::string& message) {
    return message.substr(0, message.find('\n'));
}

int Complain(std::ostream& err, const std::string& message) {
    fmt::print(err, "korv: {}\n", FirstLine(message));
    return kExitBadInput;
}

} // namespace

int Run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    Console console{out, err};
    const PatienceScope patience;
    CLI::App app(kAbout, "korv");
    app.footer(kExamples);
    app.require_subcommand(1);
    for (const Command* command : Commands()) {
        command->setUp(*app.add_subcommand(command->name, command->synopsis), console);
    }
    try {
        app.parse(argc, argv);
        return kExitOk;
    } catch (const CLI::CallForHelp&) {
        fmt::print(out, "{}", app.help());
        return kExitOk;
    } catch (const CLI::ParseError& error) {
        const auto chosen = app.get_subcommands();
        return Complain(err, fmt::format("{} (try 'korv {}--help')", FirstLine(error.what()),
                                         chosen.empty() ? "" : chosen.front()->get_name() + " "));
    } catch (const ExitStatus& status) {
        return status.code;
    } catch (const UnexpectedError& error) {
        std::istringstream lines(error.what());
        for (std::string line; std::getline(lines, line);) {
            fmt::print(err, "korv: {}\n", line);
        }
        return kExitUnexpected;
    } catch (const std::bad_alloc&) {
        return Complain(err, "out of memory");
    } catch (const std::exception& error) {
        return Complain(err, error.what());
    }
}

} // namespace korv
