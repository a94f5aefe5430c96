#include "remote/server.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/command.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>
#include <unistd.h>

namespace korv {

namespace {

constexpr const char* kFooter =
    R"(It reads requests from standard input and answers on standard output, until it is told to end
or the input ends; docs/board-protocol.md tells the protocol, docs/board.md the board. The exit
code is 2 if the input is no such protocol.

Examples:
  korv replay scenes/triangles-tx.json --board-exec 'korv board'
  korv render scenes/cube.obj --chip tx --board-exec 'korv board' --board-memory fetched -o cube.png
)";

void Serve(bool maps) {
    if (isatty(STDIN_FILENO) != 0) {
        throw UserError("standard input is a terminal: expected a program that speaks the board "
                        "protocol (docs/board-protocol.md)");
    }
    remote::ServerOptions options;
    options.name = "korv " KORV_VERSION;
    options.maps = maps;
    if (const std::string nonsense = remote::Serve(STDIN_FILENO, STDOUT_FILENO, options);
        !nonsense.empty()) {
        throw UserError("standard input: " + nonsense);
    }
}

void SetUpBoard(CLI::App& command, Console&) {
    auto noMaps = std::make_shared<bool>(false);
    command.add_flag("--no-mapping", *noMaps, "Take no files as memories, so that clients fetch");
    command.footer(kFooter);
    command.callback([noMaps] { Serve(!*noMaps); });
}

} // namespace

extern const Command kBoardCommand{"board", CommandGroup::Serve,
                                   "Be the board of another program, by the board protocol",
                                   SetUpBoard};

} // namespace korv
