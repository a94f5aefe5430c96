#include "tools/korv/commands/cli/draw_options.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/capture/patience.h"
#include "tools/korv/commands/cli/values.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace korv {

Extent ParseSize(const std::string& text) {
    Extent size;
    const char* const end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec == std::errc() && width.ptr != end && *width.ptr == 'x') {
        const auto height = std::from_chars(width.ptr + 1, end, size.height);
        if (height.ec == std::errc() && height.ptr == end) {
            CheckSize(size);
            return size;
        }
    }
    throw UserError(
        fmt::format("bad size '{}': expected WIDTHxHEIGHT in pixels, as in 640x480", text));
}

Settings DrawArguments::ToSettings() const {
    Settings settings{ParseSize(size), std::stoi(depth), fifo, subBuffers};
    settings.program = board.Program();
    return settings;
}

void AddDrawArguments(CLI::App& command, DrawArguments& arguments) {
    command.add_option("--size", arguments.size, "Picture size in pixels (default 640x480)")
        ->type_name("WxH");
    AddChoice(command, "--depth", arguments.depth, {"8", "16", "32"},
              "Bits per pixel (default 16)");
    auto* fifo =
        command.add_flag("--fifo", arguments.fifo, "Feed the chip through its FIFO instead of DMA");
    AddNumber(command, "--subbuffers", arguments.subBuffers, 2, 32,
              "Cut the DMA buffer into N pieces, 2 to 32 (default: the driver's own, 8)")
        ->type_name("N")
        ->excludes(fifo);
    command
        .add_option("--words", arguments.record.words,
                    "Also write the words of the command stream, 32-bit little-endian")
        ->type_name("FILE");
    command
        .add_option("--events", arguments.record.events,
                    "Also write all bus events as text, one a line, explained")
        ->type_name("FILE");
    AddPatienceOption(command);
    AddBoardOptions(command, arguments.board);
}

void AddBoardOptions(CLI::App& command, BoardArguments& arguments) {
    command
        .add_option_function<std::string>(
            "--board-exec",
            [&arguments](const std::string& text) {
                if (text.empty()) {
                    throw UsageError("bad value '' for '--board-exec': expected a program");
                }
                arguments.exec = text;
            },
            "Use the board that this program is, a command line of the shell; it speaks the "
            "protocol of docs/board-protocol.md, as 'korv board' does")
        ->type_name("PROGRAM");
    AddChoice(
        command, "--board-memory", arguments.memory, {"mapped", "fetched"},
        "Share the board's memories with the program if it is able to, or fetch and send what "
        "is needed (default mapped)");
    AddNumber(command, "--board-timeout", arguments.timeout, 0.01, 3600.0,
              "How long the program may take for an answer, 0.01 to 3600 (default 20)")
        ->type_name("SECONDS");
}

host::BoardProgram BoardArguments::Program() const {
    return {exec, memory == "mapped", std::chrono::milliseconds(std::lround(timeout * 1000))};
}

void AddCaptureOption(CLI::App& command, std::filesystem::path& path, const std::string& type,
                      const std::string& help) {
    auto* option = command.add_option("--capture", path, help)->type_name(type);
    if (auto* exec = command.get_option_no_throw("--board-exec")) {
        option->excludes(exec);
    }
}

} // namespace korv
