#include "stream/board_state.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/listing.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/stream_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <memory>

namespace korv {

namespace {

using Json = nlohmann::ordered_json;
using Colour = Listing::Colour;

struct StateArguments {
    StreamArguments stream;
    stream::Place at{stream::Place::Kind::End, 0, {}}, other;
    bool diff = false, all = false, json = false;
};

stream::BoardState StateAt(const StateArguments& arguments, const stream::Place& place,
                           Console& console) {
    StreamInput input(arguments.stream);
    return input.Run([&] {
        stream::StateReader reader(input.Source());
        if (!reader.PlayTo(place)) {
            throw UserError(fmt::format("'{}' has no {}: it ends behind {}", arguments.stream.file,
                                        place.Text(), stream::TextOf(input.Source().At())));
        }
        input.WarnOfCut(console);
        return reader.Read();
    });
}

std::string InFlight(const stream::BoardState& state) {
    std::vector<std::string> parts;
    if (!state.waiting.empty()) {
        parts.push_back(Count(state.waiting.size(), "register write") + " in the input FIFO");
    }
    if (state.burstWordsLeft != 0) {
        parts.push_back(fmt::format("a burst that waits for {}, the next one for {}",
                                    Count(state.burstWordsLeft, "word"), state.burstRegister));
    }
    if (state.dmaWordsLeft != 0) {
        parts.push_back(fmt::format("a transfer by DMA with {} left, from bus address {:08X} on",
                                    Count(state.dmaWordsLeft, "word"), state.dmaAddress));
    }
    if (state.outputWords != 0) {
        parts.push_back(Count(state.outputWords, "word") + " in the output FIFO");
    }
    return parts.empty() ? "nothing" : fmt::format("{}", fmt::join(parts, "; "));
}

Json WriterToJson(const stream::HeldRegister& held) {
    return held.writer ? Json(held.writer->Text()) : Json();
}

void Tell(const StateArguments& arguments, const stream::BoardState& state, Console& console) {
    Listing listing(console.out);
    std::ostream& out = listing.Out();
    fmt::print(out, "At {}. In flight: {}.\n", stream::TextOf(state.at), InFlight(state));
    for (const std::string& waiting : state.waiting) {
        fmt::print(out, "  {}\n", waiting);
    }
    // Unit by unit, in the order of the table.
    std::vector<std::string> units;
    for (const stream::HeldRegister& held : state.registers) {
        if (std::ranges::find(units, held.view.unitOfChip) == units.end()) {
            units.push_back(held.view.unitOfChip);
        }
    }
    for (const std::string& unit : units) {
        bool begun = false;
        for (const stream::HeldRegister& held : state.registers) {
            const bool told = arguments.all || held.writer || held.view.raw != 0;
            if (held.view.unitOfChip != unit || !told) {
                continue;
            }
            if (!begun) {
                fmt::print(out, "\n{}{}{}\n", listing.Escape(Colour::Heading), unit,
                           listing.Escape(Colour::Plain));
                begun = true;
            }
            fmt::print(out, "  {:<24} {:08X}  {}{:<14}{}  {}\n", held.view.name, held.view.raw,
                       listing.Escape(Colour::Dim), held.writer ? held.writer->Text() : "-",
                       listing.Escape(Colour::Plain), held.meaning);
        }
    }
}

void TellDifference(const StateArguments& arguments, const stream::BoardState& here,
                    const stream::BoardState& there, Console& console) {
    Json json{{"from", stream::ToJson(here.at)},
              {"to", stream::ToJson(there.at)},
              {"registers", Json::array()}};
    Listing listing(console.out);
    if (!arguments.json) {
        fmt::print(listing.Out(), "From {} to {}:\n", stream::TextOf(here.at),
                   stream::TextOf(there.at));
    }
    size_t differences = 0;
    for (size_t i = 0; i < here.registers.size(); ++i) {
        const stream::HeldRegister &before = here.registers[i], &after = there.registers[i];
        if (before.view.raw == after.view.raw) {
            continue;
        }
        ++differences;
        if (arguments.json) {
            json["registers"].push_back({{"name", before.view.name},
                                         {"offset", before.view.offset},
                                         {"before", stream::ToJson(before.view)},
                                         {"after", stream::ToJson(after.view)},
                                         {"writtenBy", WriterToJson(after)}});
            continue;
        }
        fmt::print(listing.Out(), "  {:<24} {}\n", before.view.name,
                   after.writer ? after.writer->Text() : "-");
        const auto line = [&](char sign, const stream::HeldRegister& held, Colour colour) {
            fmt::print(listing.Out(), "    {}{} {:08X}  {}{}\n", listing.Escape(colour), sign,
                       held.view.raw, held.meaning, listing.Escape(Colour::Plain));
        };
        line('-', before, Colour::Bad);
        line('+', after, Colour::Good);
    }
    if (arguments.json) {
        fmt::print(console.out, "{}\n", json.dump(2));
    } else {
        fmt::print(listing.Out(), "{}\n",
                   differences == 0 ? "no register differs"
                                    : Count(differences, "register") + " differ" +
                                          (differences == 1 ? "s" : ""));
    }
}

void State(const StateArguments& arguments, Console& console) {
    const stream::BoardState state = StateAt(arguments, arguments.at, console);
    if (arguments.diff) {
        TellDifference(arguments, state, StateAt(arguments, arguments.other, console), console);
    } else if (arguments.json) {
        fmt::print(console.out, "{}\n", stream::ToJson(state).dump(2));
    } else {
        Tell(arguments, state, console);
    }
}

constexpr const char* kStateFooter =
    R"(A board plays the stream up to the place. Then each register stands in a line: its bits in
hex, the word of the stream that wrote it last (event:N for an access past the stream, '-' for
none), and what they mean. What is in flight has not reached its register yet: writes that wait in
the input FIFO, data that a burst still waits for, words that a DMA transfer has yet to move.

Registers that are zero and that nobody wrote are left out unless --all asks for them; --json has
all of them, field by field.

A PLACE is a word's number (1234 or word:1234), event:N, call:N, batch:N, frame:N, step:N,
mark:NAME, start or end; all count from 0, and the place is where that begins.

Examples:
  korv replay scenes/triangles-tx.json --capture tx.korv
  korv state tx.korv
  korv state tx.korv --at batch:3
  korv state tx.korv --at step:10 --diff step:20
  korv state words.bin --chip permedia --at 500 --json
)";

void SetUpState(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<StateArguments>();
    AddStreamArguments(command, arguments->stream);
    AddPlaceOption(command, "--at", arguments->at, "The state there (default: end)");
    CLI::Option* diff =
        AddPlaceOption(command, "--diff", arguments->other, "Only what is different at this place");
    command.add_flag("--all", arguments->all, "Registers that are zero and never written, too");
    command.add_flag("--json", arguments->json, "Tell it as JSON");
    command.footer(kStateFooter);
    command.callback([arguments, diff, &console] {
        arguments->diff = diff->count() != 0;
        State(*arguments, console);
    });
}

} // namespace

extern const Command kStateCommand{"state", CommandGroup::Look,
                                   "Show what every register holds at a place of a stream",
                                   SetUpState};

} // namespace korv
