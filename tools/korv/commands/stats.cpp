#include "chip/register_table.h"
#include "stream/state_view.h"
#include "stream/statistics.h"
#include "tools/korv/base/listing.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/raw_screen.h"
#include "tools/korv/commands/cli/stream_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <memory>

namespace korv {

namespace {

using Json = nlohmann::ordered_json;
using Colour = Listing::Colour;
using stream::StreamCounts;

struct StatsArguments {
    StreamArguments stream;
    RawScreen screen;
    bool wordsOnly = false, json = false;
};

struct CountRow {
    const char* title;
    const char* key;
    uint64_t StreamCounts::*number;
};
constexpr CountRow kRows[] = {
    {"words", "words", &StreamCounts::words},
    {"  by the FIFO window", "fifoWords", &StreamCounts::fifoWords},
    {"  by DMA", "dmaWords", &StreamCounts::dmaWords},
    {"  tag words of pairs", "pairTags", &StreamCounts::pairTags},
    {"  tag words of hold bursts", "holdTags", &StreamCounts::holdTags},
    {"  tag words of indexed bursts", "indexedTags", &StreamCounts::indexedTags},
    {"  malformed tag words", "malformed", &StreamCounts::malformed},
    {"  data words", "data", &StreamCounts::data},
    {"register reads", "reads", &StreamCounts::reads},
    {"register writes past the stream", "writes", &StreamCounts::writes},
    {"writes that changed nothing", "unchanged", &StreamCounts::unchanged},
    {"calls", "calls", &StreamCounts::calls},
    {"batches", "batches", &StreamCounts::batches},
    {"  of them by FIFO", "fifoBatches", &StreamCounts::fifoBatches},
    {"primitives", "primitives", &StreamCounts::primitives},
    {"flips", "flips", &StreamCounts::flips},
    {"interrupts", "interrupts", &StreamCounts::interrupts},
    {"lines of video", "videoLines", &StreamCounts::videoLines},
};
constexpr struct {
    const char *title, *key;
} kStored[] = {{"bytes stored into the frame buffer", "frameBuffer"},
               {"bytes stored into the local buffer", "localBuffer"},
               {"bytes stored into memory of the machine", "host"}};

struct RegisterRow {
    std::string name, unit;
    stream::RegisterCounts counts;
};

std::vector<RegisterRow> RegisterRows(const stream::Statistics& statistics) {
    std::vector<RegisterRow> rows;
    for (uint32_t i = 0; i < statistics.registers.size(); ++i) {
        if (statistics.registers[i].writes != 0) {
            const Register* row = stream::RowAt(i * 4);
            rows.push_back({stream::View(i * 4, 0).name,
                            row != nullptr ? kUnits[static_cast<size_t>(row->unit)].name : "none",
                            statistics.registers[i]});
        }
    }
    std::ranges::stable_sort(rows, std::greater(),
                             [](const RegisterRow& row) { return row.counts.writes; });
    return rows;
}

std::vector<RegisterRow> UnitRows(const std::vector<RegisterRow>& registers) {
    std::map<std::string, stream::RegisterCounts> units;
    for (const RegisterRow& row : registers) {
        units[row.unit].writes += row.counts.writes;
        units[row.unit].unchanged += row.counts.unchanged;
    }
    std::vector<RegisterRow> rows;
    for (const auto& [unit, counts] : units) {
        rows.push_back({unit, unit, counts});
    }
    std::ranges::stable_sort(rows, std::greater(),
                             [](const RegisterRow& row) { return row.counts.writes; });
    return rows;
}

Json ToJson(const stream::PixelCounts& pixels) {
    return {{"cut", pixels.cut},
            {"tested", pixels.tested},
            {"passed", pixels.passed},
            {"written", pixels.written}};
}

// All kinds that there were, by name.
using DrawnRow = std::pair<const stream::DrawnKindRow*, stream::PixelCounts>;
std::vector<DrawnRow> DrawnRows(const stream::DrawnCounts& drawn) {
    std::vector<DrawnRow> rows;
    for (size_t i = 0; i < drawn.pixels.size(); ++i) {
        if (drawn.pixels[i].cut != 0 || drawn.pixels[i].tested != 0) {
            rows.emplace_back(&stream::RowOf(static_cast<stream::DrawnKind>(i)), drawn.pixels[i]);
        }
    }
    return rows;
}

Json ToJson(const stream::DrawnCounts& drawn) {
    Json json{{"all", ToJson(drawn.All())}, {"kinds", Json::object()}};
    for (const auto& [row, pixels] : DrawnRows(drawn)) {
        json["kinds"][row->key] = ToJson(pixels);
    }
    json["frameBufferBytes"] = drawn.frameBytes;
    json["localBufferBytes"] = drawn.localBytes;
    return json;
}

Json ToJson(const StreamCounts& counts, bool played) {
    Json json;
    for (const CountRow& row : kRows) {
        json[row.key] = counts.*row.number;
    }
    for (size_t i = 0; i < counts.stored.size(); ++i) {
        json["stored"][kStored[i].key] = counts.stored[i];
    }
    if (played) {
        json["drawn"] = ToJson(counts.drawn);
    }
    return json;
}

Json ToJson(const std::vector<RegisterRow>& rows, bool units) {
    Json json = Json::array();
    for (const RegisterRow& row : rows) {
        json.push_back({{"name", row.name}});
        if (!units) {
            json.back()["unit"] = row.unit;
        }
        json.back()["writes"] = row.counts.writes;
        json.back()["unchanged"] = row.counts.unchanged;
    }
    return json;
}

void TellJson(const stream::Statistics& statistics, bool played, Console& console) {
    const auto registers = RegisterRows(statistics);
    Json json{{"all", ToJson(statistics.all, played)},
              {"frames", Json::array()},
              {"units", ToJson(UnitRows(registers), true)},
              {"registers", ToJson(registers, false)}};
    for (const StreamCounts& frame : statistics.frames) {
        json["frames"].push_back(ToJson(frame, played));
    }
    fmt::print(console.out, "{}\n", json.dump(2));
}

void TellDrawn(const stream::Statistics& statistics, Listing& listing) {
    std::ostream& out = listing.Out();
    const char *heading = listing.Escape(Colour::Heading), *plain = listing.Escape(Colour::Plain);
    const auto line = [&](const char* name, const stream::PixelCounts& pixels) {
        fmt::print(out, "{:<40} {:>12} {:>12} {:>12} {:>12}\n", name, pixels.cut, pixels.tested,
                   pixels.passed, pixels.written);
    };
    fmt::print(out, "\n{}{:<40} {:>12} {:>12} {:>12} {:>12}{}\n", heading, "pixels", "cut",
               "tested", "passed", "written", plain);
    for (const auto& [row, pixels] : DrawnRows(statistics.all.drawn)) {
        line(row->name, pixels);
    }
    line("all", statistics.all.drawn.All());
    if (statistics.frames.empty()) {
        return;
    }
    fmt::print(out, "\n{}{:>6} {:>12} {:>12} {:>12} {:>12} {:>14} {:>14}{}\n", heading, "frame",
               "cut", "tested", "passed", "written", "frame buffer", "local buffer", plain);
    for (size_t i = 0; i < statistics.frames.size(); ++i) {
        const stream::DrawnCounts& drawn = statistics.frames[i].drawn;
        const stream::PixelCounts pixels = drawn.All();
        fmt::print(out, "{:>6} {:>12} {:>12} {:>12} {:>12} {:>14} {:>14}\n", i, pixels.cut,
                   pixels.tested, pixels.passed, pixels.written, drawn.frameBytes,
                   drawn.localBytes);
    }
}

void Tell(const stream::Statistics& statistics, bool played, Console& console) {
    Listing listing(console.out);
    std::ostream& out = listing.Out();
    const char *heading = listing.Escape(Colour::Heading), *plain = listing.Escape(Colour::Plain);
    const StreamCounts& all = statistics.all;
    for (const CountRow& row : kRows) {
        const uint64_t number = all.*row.number;
        if (number != 0 || row.title[0] != ' ') {
            fmt::print(out, "{:<40} {:>12}\n", row.title, number);
        }
    }
    for (size_t i = 0; i < all.stored.size(); ++i) {
        fmt::print(out, "{:<40} {:>12}\n", kStored[i].title, all.stored[i]);
    }
    if (played) {
        fmt::print(out, "{:<40} {:>12}\n", "bytes drawn into the frame buffer",
                   all.drawn.frameBytes);
        fmt::print(out, "{:<40} {:>12}\n", "bytes drawn into the local buffer",
                   all.drawn.localBytes);
        TellDrawn(statistics, listing);
    }
    const auto table = [&](const char* title, const std::vector<RegisterRow>& rows) {
        fmt::print(out, "\n{}{:<40} {:>12} {:>12}{}\n", heading, title, "writes", "unchanged",
                   plain);
        for (const RegisterRow& row : rows) {
            fmt::print(out, "{:<40} {:>12} {:>12}\n", row.name, row.counts.writes,
                       row.counts.unchanged);
        }
    };
    const auto registers = RegisterRows(statistics);
    table("unit", UnitRows(registers));
    table("register", registers);
    if (statistics.frames.empty()) {
        return;
    }
    fmt::print(out, "\n{}{:>6} {:>12} {:>8} {:>8} {:>12} {:>12} {:>14}{}\n", heading, "frame",
               "words", "calls", "batches", "primitives", "unchanged", "bytes stored", plain);
    for (size_t i = 0; i < statistics.frames.size(); ++i) {
        const StreamCounts& frame = statistics.frames[i];
        fmt::print(out, "{:>6} {:>12} {:>8} {:>8} {:>12} {:>12} {:>14}\n", i, frame.words,
                   frame.calls, frame.batches, frame.primitives, frame.unchanged,
                   frame.stored[0] + frame.stored[1] + frame.stored[2]);
    }
}

stream::Statistics CountPlayed(const StatsArguments& arguments, StreamInput& input) {
    stream::Player player(input.Source());
    if (!input.Source().HasEvents()) {
        SetUpRawScreen(player, arguments.screen, arguments.stream.chip);
    }
    return stream::CountStream(player);
}

void Stats(const StatsArguments& arguments, Console& console) {
    StreamInput input(arguments.stream);
    const bool played = !arguments.wordsOnly;
    const stream::Statistics statistics = input.Run([&] {
        return played ? CountPlayed(arguments, input) : stream::CountStream(input.Source());
    });
    arguments.json ? TellJson(statistics, played, console) : Tell(statistics, played, console);
    input.WarnOfCut(console);
}

constexpr const char* kStatsFooter =
    R"(Counts what a stream is made of and what a board draws by it, in all, by unit and register,
and frame by frame where the stream has frames. A write that changed nothing gives a register the
value that it was given before; commands, which act each time, are none of those.

Pixels are counted by what draws them: those that scissor, the end of a memory or the limits of
packed words leave out (cut), those that met the other tests, if there are any (tested), those that
passed them all, and those that were written, be it colour or depth. Bytes drawn are the chip's,
bytes stored those that the processor wrote into the memories behind the chip's back. --words-only
plays nothing, which takes a fraction of the time.

Examples:
  korv demo --scene animation --chip mx --capture captures
  korv stats captures/mx-animation.korv
  korv stats captures/mx-animation.korv --json
  korv stats captures/mx-animation.korv --words-only
  korv stats words.bin --chip permedia
)";

void SetUpStats(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<StatsArguments>();
    AddStreamArguments(command, arguments->stream);
    command.add_flag("--words-only", arguments->wordsOnly,
                     "Leave out what is drawn: pixels, and bytes drawn");
    AddRawDepthArgument(command, arguments->screen);
    command.add_flag("--json", arguments->json, "Tell it as JSON");
    command.footer(kStatsFooter);
    command.callback([arguments, &console] { Stats(*arguments, console); });
}

} // namespace

extern const Command kStatsCommand{"stats", CommandGroup::Look, "Count what a stream is made of",
                                   SetUpStats};

} // namespace korv
