#include "host/driver_module.h"
#include "host/inspect/unwaited.h"
#include "host/loader/dll_module.h"
#include "tools/korv/base/crash_note.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/base/text.h"
#include "tools/korv/capture/patience.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/draw_options.h"
#include "tools/korv/commands/cli/values.h"
#include "tools/korv/replay/script.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <cstdio>
#include <memory>

namespace korv {

namespace {

struct ReplayArguments {
    std::string script, dll, pictures;
    bool fifo = false;
    int subBuffers = 0;
    BoardArguments board;
    RecordPaths record;
};

// The driver of one replay: the DLL, if there is one, and the linked library again afterwards.
class DriverChoice {
  public:
    explicit DriverChoice(const std::string& dll) {
        if (!dll.empty()) {
            host::loader::UseDriverDll(dll);
        }
    }
    ~DriverChoice() { host::UseLinkedDriver(); }
};

// Place in the DLL and the export before it, as what lies between has no names.
bool DescribeDll(uint32_t address, char* text, size_t bytes) {
    const host::DriverModule& module = host::TheDriverModule();
    const auto base = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(module.instance));
    if (module.linked || address - base >= module.imageBytes) {
        return false;
    }
    uint32_t nearest = 0, distance = ~0u;
    for (uint32_t ordinal = 1; ordinal <= host::kExportOrdinals; ++ordinal) {
        const auto start =
            static_cast<uint32_t>(reinterpret_cast<uintptr_t>(module.exports[ordinal]));
        if (start != 0 && start <= address && address - start < distance) {
            nearest = ordinal;
            distance = address - start;
        }
    }
    if (nearest == 0) {
        std::snprintf(text, bytes, "DLL + 0x%X", address - base);
    } else {
        std::snprintf(text, bytes, "DLL + 0x%X (%s + 0x%X)", address - base,
                      host::ExportName(nearest), distance);
    }
    return true;
}

void Replay(const ReplayArguments& arguments, Console& console) {
    const HalScript script(arguments.script);
    const DriverChoice driver(arguments.dll);
    if (!arguments.pictures.empty()) {
        MakeFolder(arguments.pictures);
    }
    PlayOptions options;
    options.pictures = arguments.pictures;
    options.record = arguments.record;
    options.displays = script.Displays();
    options.fifo = arguments.fifo;
    options.subBuffers = arguments.subBuffers;
    options.program = arguments.board.Program();
    // Around the player, as the trap of an aperture relies on the handlers that it found.
    const CrashNote crashes;
    if (!arguments.dll.empty()) {
        CrashNote::Set(arguments.dll + ": DllMain");
        CrashNote::SetModule(DescribeDll);
    }
    Player player(std::move(options));
    try {
        script.Play(player);
    } catch (const UnexpectedError&) {
        // What led to the failure is what the user wants to look at.
        player.CommitRecordings();
        throw;
    }
    player.CommitRecordings();
    for (auto& [name, one] : player.Displays()) {
        WarnOfFaults(console, fmt::format("{}: display '{}'", arguments.script, name),
                     host::UnexpectedFaults(one.display->Board()).Describe());
    }
    fmt::print(console.Report(), "{}: {}, all as expected\n", Printable(arguments.script),
               Count(script.Steps(), "step"));
}

constexpr const char* kReplayFooter =
    R"(The script says what the system does with the driver and what must come of it;
docs/hal-scripts.md describes the format. The exit code is 0 if all expectations hold, 1 if one
does not, 2 for a script that cannot be played. With two displays, --words, --events and --capture
write a file for each, with the display's name before the extension.

Examples:
  korv replay scenes/triangles-tx.json --pictures out
  korv replay scenes/triangles-tx.json --fifo --words words.bin
  korv replay scenes/bring-up-tx.json --dll build/windows95/KORV32.dll --events events.txt
)";

void SetUpReplay(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<ReplayArguments>();
    command.add_option("SCRIPT", arguments->script, "The script, a JSON file")
        ->type_name("")
        ->required();
    command
        .add_option("--dll", arguments->dll, "Play it with this KORV32.dll instead of the library")
        ->type_name("PATH");
    AddBoardOptions(command, arguments->board);
    command
        .add_option("--words", arguments->record.words,
                    "Write the words of the command stream, 32-bit little-endian")
        ->type_name("FILE");
    command
        .add_option("--events", arguments->record.events,
                    "Write all bus events as text, one a line, explained")
        ->type_name("FILE");
    AddCaptureOption(command, arguments->record.capture, "FILE",
                     "Write all that a bare board needs to play this again");
    command
        .add_option("--pictures", arguments->pictures,
                    "Write the script's pictures into this folder")
        ->type_name("DIR");
    auto* fifo = command.add_flag("--fifo", arguments->fifo,
                                  "Feed the chip through its FIFO, whatever the script says");
    AddNumber(command, "--subbuffers", arguments->subBuffers, 2, 32,
              "Cut the DMA buffer into N pieces, 2 to 32, whatever the script says")
        ->type_name("N")
        ->excludes(fifo);
    AddPatienceOption(command);
    command.footer(kReplayFooter);
    command.callback([arguments, &console] { Replay(*arguments, console); });
}

} // namespace

extern const Command kReplayCommand{"replay", CommandGroup::Draw,
                                    "Play a HAL script and check what it expects", SetUpReplay};

} // namespace korv
