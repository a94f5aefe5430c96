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
#include "tools/korv/random/trial.h"
#include "tools/korv/replay/script.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>

namespace korv {

namespace {

// Random sessions in place of a script.
struct RandomArguments {
    std::string seeds; // one, or FIRST-LAST; none: a script is played
    int steps = 100;
    bool illegal = false;
    std::string save;
};

struct ReplayArguments {
    std::string script, dll, pictures;
    RandomArguments random;
    bool checks = false;
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

constexpr size_t kMostTries = 1000;

struct Seeds {
    uint64_t first, last;
};

Seeds ReadSeeds(const std::string& text) {
    Seeds seeds{};
    const char* const end = text.data() + text.size();
    auto [behind, error] = std::from_chars(text.data(), end, seeds.first);
    seeds.last = seeds.first;
    if (error == std::errc() && behind != end && *behind == '-') {
        const auto second = std::from_chars(behind + 1, end, seeds.last);
        behind = second.ptr, error = second.ec;
    }
    if (error != std::errc() || behind != end || seeds.last < seeds.first) {
        throw UsageError(fmt::format("bad value '{}' for '--random': expected a number, or two as "
                                     "in 1-1000",
                                     text));
    }
    return seeds;
}

std::string Tell(const random::Finding& finding, const random::Steps& steps) {
    return fmt::format("step {} of {} '{}': {}: {}", finding.step, steps.size(),
                       steps.at(finding.step).value("do", ""), finding.kind, finding.text);
}

void WriteScript(const std::string& path, const std::string& text) {
    OutputFile file(path);
    file.Stream() << text;
    file.Commit();
}

// Sessions of consecutive seeds, under all checks. Each finding is cut down, kept and told.
void PlayRandom(const ReplayArguments& arguments, Console& console) {
    const RandomArguments& how = arguments.random;
    const Seeds seeds = ReadSeeds(how.seeds);
    if (!how.save.empty() && seeds.last != seeds.first) {
        throw UsageError("'--save' keeps one session: of several those that fail are kept");
    }
    const random::TrialOptions options{how.illegal, true, arguments.dll};
    size_t sessions = 0, steps = 0, plays = 0, passedOver = 0, failed = 0;
    for (uint64_t seed = seeds.first;; ++seed) {
        const random::Steps session =
            random::MakeSession(seed, static_cast<size_t>(how.steps), how.illegal);
        const random::TrialResult result = random::Try(session, options);
        const std::string title = fmt::format("Random session {}, {}{}", seed,
                                              Count(static_cast<size_t>(how.steps), "step"),
                                              how.illegal ? ", some illegal" : "");
        ++sessions;
        steps += session.size();
        plays += result.plays;
        passedOver += static_cast<size_t>(std::ranges::count(result.passedOver, true));
        if (result.finding) {
            ++failed;
            fmt::print(console.err, "korv: random session {}: {}\n", seed,
                       Printable(Tell(*result.finding, session)));
            const random::Steps fewest =
                random::Shrink(session, *result.finding, options, kMostTries);
            const auto again = random::Try(fewest, options);
            const random::Finding finding = again.finding.value_or(*result.finding);
            const std::string path =
                how.save.empty() ? fmt::format("random-{}.json", seed) : how.save;
            WriteScript(path, random::ScriptText(title + ": " + finding.kind, fewest));
            fmt::print(console.err, "korv: cut down to {} in '{}': {}\n",
                       Count(fewest.size(), "step"), Printable(path),
                       Printable(again.finding ? Tell(finding, fewest) : finding.text));
        } else if (!how.save.empty()) {
            WriteScript(how.save, random::ScriptText(title, random::Kept(session, result)));
        }
        if (seed == seeds.last) {
            break;
        }
    }
    fmt::print(console.Report(), "{}: {} ({} passed over), {}, {}\n",
               Count(sessions, "random session"), Count(steps, "step"), passedOver,
               Count(plays, "play"),
               failed == 0 ? "all as it must be" : fmt::format("{} failed", failed));
    if (failed != 0) {
        throw ExitStatus{kExitUnexpected};
    }
}

// A script under the checks of random sessions.
void PlayChecked(const ReplayArguments& arguments, Console& console) {
    const auto script = nlohmann::ordered_json::parse(ReadFile(arguments.script));
    const random::Steps steps = script.at("steps").get<random::Steps>();
    for (const random::Step& step : steps) {
        if (step.contains("include")) {
            throw UserError(fmt::format("{}: with '--checks' a script includes no other",
                                        Printable(arguments.script)));
        }
    }
    const random::TrialResult result =
        random::Try(steps, {arguments.random.illegal, true, arguments.dll});
    if (result.finding) {
        throw UnexpectedError(
            fmt::format("{}: {}", Printable(arguments.script), Tell(*result.finding, steps)));
    }
    fmt::print(console.Report(), "{}: {}, {}, all as it must be\n", Printable(arguments.script),
               Count(steps.size(), "step"), Count(result.plays, "play"));
}

void ReplayAny(const ReplayArguments& arguments, Console& console) {
    const RandomArguments& random = arguments.random;
    const RandomArguments usual;
    const bool checked = !random.seeds.empty() || arguments.checks;
    if (random.seeds.empty() && (random.steps != usual.steps || !random.save.empty())) {
        throw UsageError("'--steps' and '--save' go with '--random SEED'");
    }
    if (!checked && random.illegal) {
        throw UsageError("'--illegal' goes with '--random SEED' or '--checks'");
    }
    if (checked && (arguments.fifo || arguments.subBuffers != 0 || !arguments.pictures.empty() ||
                    !arguments.record.words.empty() || !arguments.record.events.empty() ||
                    !arguments.record.capture.empty())) {
        throw UsageError(
            "'--random' and '--checks' play by every road and record nothing: save the "
            "session, and play the script");
    }
    if (random.seeds.empty() == arguments.script.empty()) {
        throw UsageError("expected either a SCRIPT or '--random SEED'");
    }
    if (!random.seeds.empty()) {
        PlayRandom(arguments, console);
    } else if (arguments.checks) {
        const HalScript sound(arguments.script);
        PlayChecked(arguments, console);
    } else {
        Replay(arguments, console);
    }
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
    command.add_option("SCRIPT", arguments->script, "The script, a JSON file")->type_name("");
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
    RandomArguments& random = arguments->random;
    command
        .add_option("--random", random.seeds,
                    "In place of a script, make one of this number, and play it by "
                    "every road under all checks; FIRST-LAST: of each of these numbers")
        ->type_name("SEED");
    AddNumber(command, "--steps", random.steps, 1, 1000000, "How many steps it has at least (100)")
        ->type_name("N");
    command.add_flag("--illegal", random.illegal,
                     "Let some steps break the rules of DirectDraw and Direct3D");
    command
        .add_option("--save", random.save,
                    "Keep the session as a script; of one that fails, the fewest steps that do "
                    "(random-SEED.json)")
        ->type_name("SCRIPT");
    command.add_flag("--checks", arguments->checks,
                     "Play SCRIPT as a random session is played: by every road, under all checks");
    command.footer(kReplayFooter);
    command.callback([arguments, &console] { ReplayAny(*arguments, console); });
}

} // namespace

extern const Command kReplayCommand{"replay", CommandGroup::Draw,
                                    "Play a HAL script and check what it expects", SetUpReplay};

} // namespace korv
