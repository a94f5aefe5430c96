#include "board/breaks.h"
#include "remote/server.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/breaks.h"
#include "tools/korv/commands/cli/command.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace korv {

namespace {

constexpr const char* kFooter =
    R"(It reads requests from standard input and answers on standard output, until it is told to end
or the input ends; docs/board-protocol.md tells the protocol, docs/board.md the board. The exit
code is 2 if the input is no such protocol.

Examples:
  korv replay scenes/triangles-tx.json --board-exec 'korv board'
  korv conform run --exec 'korv board --break fog-after-blend' --unit fog
  korv render scenes/cube.obj --chip tx --board-exec 'korv board' --board-memory fetched -o cube.png
)";

struct ServeArguments {
    std::vector<std::string> without;
    std::string wrong;
};

struct AbilityName {
    const char* name;
    remote::Ability ability;
};
constexpr AbilityName kAbilities[] = {
    {"mapping", remote::MapsMemory},        {"timing", remote::HasTiming},
    {"waiting", remote::WaitsAtInterrupts}, {"dma", remote::DoesDma},
    {"video", remote::TakesVideo},          {"state", remote::AnswersState}};

uint32_t AbilitiesWithout(const std::vector<std::string>& names) {
    uint32_t abilities = remote::kAllAbilities;
    for (const std::string& name : names) {
        const auto found = std::ranges::find(kAbilities, name, &AbilityName::name);
        if (found == std::end(kAbilities)) {
            throw UsageError(
                fmt::format("bad value '{}' for '--without': expected mapping, timing, "
                            "waiting, dma, video or state",
                            name));
        }
        abilities &= ~uint32_t{found->ability};
    }
    return abilities;
}

void Serve(const ServeArguments& arguments, Console& console) {
    if (arguments.wrong == kListBreaks) {
        ListBreaks(console);
        return;
    }
    const board::Break wrong = BreakByName(arguments.wrong);
    if (isatty(STDIN_FILENO) != 0) {
        throw UserError("standard input is a terminal: expected a program that speaks the board "
                        "protocol (docs/board-protocol.md)");
    }
    remote::ServerOptions options;
    options.name = "korv " KORV_VERSION;
    options.abilities = AbilitiesWithout(arguments.without);
    if (wrong != board::Break::None) {
        options.name += ", broken: " + arguments.wrong;
        options.make = [wrong](const board::Config& config, const board::LentMemories& memories) {
            auto board = std::make_unique<board::Board>(config, memories);
            board->SetBreak(wrong);
            return board;
        };
    }
    if (const std::string nonsense = remote::Serve(STDIN_FILENO, STDOUT_FILENO, options);
        !nonsense.empty()) {
        throw UserError("standard input: " + nonsense);
    }
}

void SetUpBoard(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<ServeArguments>();
    AddBreakOption(command, arguments->wrong, "Be wrong in one way");
    command
        .add_option(
            "--without", arguments->without,
            "Be a board that is not able to do this: mapping, timing, waiting, dma, video or "
            "state; may be repeated. For those who try a client")
        ->type_name("ABILITY");
    command.footer(kFooter);
    command.callback([arguments, &console] { Serve(*arguments, console); });
}

} // namespace

extern const Command kBoardCommand{"board", CommandGroup::Serve,
                                   "Be the board of another program, by the board protocol",
                                   SetUpBoard};

} // namespace korv
