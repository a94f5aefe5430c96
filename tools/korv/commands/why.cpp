#include "stream/pixel_history.h"
#include "stream/pixel_moment.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/listing.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/raw_screen.h"
#include "tools/korv/commands/cli/stream_options.h"
#include "tools/korv/commands/cli/stream_pictures.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <charconv>
#include <memory>

namespace korv {

namespace {

using Json = nlohmann::ordered_json;
using Colour = Listing::Colour;
using board::PixelTest;
using board::PixelWay;
using stream::PixelMoment;
using What = stream::PixelMoment::What;

struct WhyArguments {
    StreamArguments stream;
    std::string pixel, surface;
    RawScreen screen;
    stream::Place from, to{stream::Place::Kind::End, 0, {}};
    bool json = false;
};

struct Pixel {
    uint32_t x, y;
};

Pixel ParsePixel(const std::string& text) {
    Pixel pixel{};
    const char* const end = text.data() + text.size();
    const auto x = std::from_chars(text.data(), end, pixel.x);
    if (x.ec == std::errc() && x.ptr != end && *x.ptr == ',') {
        const auto y = std::from_chars(x.ptr + 1, end, pixel.y);
        if (y.ec == std::errc() && y.ptr == end) {
            return pixel;
        }
    }
    throw UsageError(fmt::format("bad pixel '{}': expected X,Y, as in 100,50", text));
}

const char* MemoryName(const board::PixelElement& element) {
    return stream::NameOf(element.local ? stream::Memory::LocalBuffer
                                        : stream::Memory::FrameBuffer);
}

std::string Hex(uint32_t value, uint32_t bits) {
    return fmt::format("{:0{}X}", value, (bits + 3) / 4);
}

// The surface that was drawn to at a place: that of the latest picture, else the target of the
// latest context; empty: the screen. The stream is at its start again.
std::string DrawnSurface(stream::Source& source, const stream::Place& place) {
    stream::Surfaces surfaces;
    stream::Event event;
    while (!HasReached(place, source.At()) && source.Next(event)) {
        if (event.kind == stream::EventKind::Mark) {
            surfaces.Follow(*event.mark);
        }
        if (IsAt(place, source.At(), &event)) {
            break;
        }
    }
    source.Seek({});
    for (const std::string& name : {surfaces.Pictured(), surfaces.Target()}) {
        if (surfaces.Find(name) != nullptr) {
            return name;
        }
    }
    return "";
}

class Why {
  public:
    Why(const WhyArguments& arguments, Console& console)
        : arguments_(arguments), console_(console), pixel_(ParsePixel(arguments.pixel)),
          input_(arguments.stream) {}

    void Run() {
        std::string surface = arguments_.surface;
        const bool raw = !input_.Source().HasEvents();
        if (surface.empty() && !raw) {
            surface = input_.Run([&] { return DrawnSurface(input_.Source(), arguments_.to); });
        }
        std::optional<stream::SurfaceLayout> target;
        if (raw && !surface.empty()) {
            target = input_.Run([&] { return RawTarget(surface); });
        }
        stream::Player player(input_.Source());
        stream::PixelHistory history(player, surface, pixel_.x, pixel_.y);
        if (raw) {
            const auto screen = SetUpRawScreen(player, arguments_.screen, arguments_.stream.chip);
            history.SetScreen(target.value_or(screen));
        }
        const bool reached =
            input_.Run([&] { return history.Run(arguments_.from, arguments_.to); });
        if (!reached) {
            throw UserError(fmt::format(
                "'{}' has no {}: it ends behind {}", arguments_.stream.file,
                (arguments_.to.kind == stream::Place::Kind::End ? arguments_.from : arguments_.to)
                    .Text(),
                stream::TextOf(input_.Source().At())));
        }
        if (!history.Surface()) {
            throw UserError(
                surface.empty()
                    ? fmt::format("'{}' has no screen", arguments_.stream.file)
                    : fmt::format("'{}' has no surface '{}'", arguments_.stream.file, surface));
        }
        if (!history.Inside()) {
            throw UserError(fmt::format("pixel {},{} lies outside '{}', which has {}x{} pixels",
                                        pixel_.x, pixel_.y, surface.empty() ? "screen" : surface,
                                        history.Surface()->width, history.Surface()->height));
        }
        if (!history.Placed()) {
            throw UserError(fmt::format("'{}' is not in the board's memories",
                                        surface.empty() ? "screen" : surface));
        }
        surface_ = *history.Surface();
        surface_.name = surface.empty() ? "screen" : surface;
        reading_.chip = input_.Source().Board().chip;
        arguments_.json ? TellJson(history) : Tell(history);
        input_.WarnOfCut(console_);
    }

  private:
    // What raw words have as their "target" or "depth" at the end of what is looked at.
    stream::SurfaceLayout RawTarget(const std::string& name) {
        stream::Source& source = input_.Source();
        stream::Player player(source);
        StreamPictures pictures(player, arguments_.stream.file);
        pictures.SetScreen(SetUpRawScreen(player, arguments_.screen, arguments_.stream.chip));
        stream::Event event;
        while (!HasReached(arguments_.to, source.At()) && player.Step(event)) {
        }
        const stream::SurfaceLayout layout = pictures.Drawn(name);
        source.Seek({});
        return layout;
    }

    // --- texts ---

    // A value of the surface: its bits, and the colour that they are.
    std::string Value(const std::optional<uint32_t>& value) const {
        if (!value) {
            return "nothing";
        }
        std::string text = Hex(*value, surface_.bits);
        if (surface_.format == "rgb") {
            const auto channel = [&](uint32_t mask) {
                return mask != 0 ? static_cast<uint32_t>(uint64_t{*value & mask} * 255 / mask) : 0;
            };
            text += fmt::format(" #{:02X}{:02X}{:02X}", channel(surface_.red),
                                channel(surface_.green), channel(surface_.blue));
        }
        return text;
    }
    std::string Change(const PixelMoment& moment) const {
        return moment.before == moment.after
                   ? fmt::format("{} stays", Value(moment.before))
                   : fmt::format("{} -> {}", Value(moment.before), Value(moment.after));
    }

    static bool IsZ(const board::PixelReport& pixel) { return pixel.Met(PixelTest::Depth); }

    std::string TestText(const board::PixelReport& pixel, PixelTest test) const {
        std::string text = stream::NameOf(test);
        if (test == PixelTest::Depth) {
            const uint32_t bits = pixel.depth.bytes == 2 ? 16 : 32;
            text += fmt::format(" {} {} {}", Hex(pixel.fragmentDepth, bits),
                                stream::SignOf(pixel.depthCompare), Hex(pixel.storedDepth, bits));
        } else if (test == PixelTest::Alpha) {
            text += fmt::format(" {} {} {}", pixel.fragment.alpha,
                                stream::SignOf(pixel.alphaCompare), pixel.alphaReference);
        }
        return text;
    }

    std::string Tests(const Listing& listing, const board::PixelReport& pixel) const {
        std::vector<std::string> tests;
        for (int i = 0; i < static_cast<int>(PixelTest::kCount); ++i) {
            const auto test = static_cast<PixelTest>(i);
            // What all pass that come so far needs no telling.
            const bool usual =
                test == PixelTest::Limits || test == PixelTest::Memory || test == PixelTest::Source;
            if (!pixel.Met(test) || (usual && !pixel.Failed(test))) {
                continue;
            }
            const bool failed = pixel.Failed(test);
            tests.push_back(fmt::format("{} {}{}{}", TestText(pixel, test),
                                        listing.Escape(failed ? Colour::Bad : Colour::Good),
                                        failed ? "failed" : "passed",
                                        listing.Escape(Colour::Plain)));
        }
        return fmt::format("{}", fmt::join(tests, ", "));
    }

    std::string ThingOf(const PixelMoment& moment) const {
        const PixelWay way = moment.pixel.way;
        std::string thing =
            way == PixelWay::Fragment ? stream::NameOf(moment.primitive) : stream::NameOf(way);
        if (moment.pixel.placed) {
            thing += fmt::format(" at {},{}", moment.pixel.x, moment.pixel.y);
        }
        if (moment.pixel.source >= 0) {
            thing += fmt::format(" from byte {}", moment.pixel.source);
        }
        return thing;
    }

    static std::string PlaceText(const stream::PixelPlace& place) {
        return fmt::format("{}{} {}", stream::NameOf(place.memory),
                           place.memory == stream::Memory::Host ? ", bus address" : " byte",
                           place.byte);
    }

    std::string Around(const stream::PixelHistory& history, const PixelMoment& moment) const {
        std::vector<std::string> parts;
        for (const stream::Place& place : stream::Around(moment.From())) {
            parts.push_back(place.Text());
            if (place.kind == stream::Place::Kind::Step) {
                parts.back() += fmt::format(" \"{}\"", Printable(history.StepName(place.number)));
            } else if (place.kind == stream::Place::Kind::Call) {
                parts.back() += " " + Printable(history.CallName(place.number));
            }
        }
        if (moment.inPrimitive && moment.by.primitive) {
            std::string text = fmt::format("primitive {}", *moment.by.primitive);
            if (const auto words = history.Entries().Words(*moment.by.primitive)) {
                text += fmt::format(" word:{}-{}", words->first, words->first + words->count - 1);
            }
            parts.push_back(text);
        }
        return fmt::format("{}", fmt::join(parts, ", "));
    }

    // --- the listing ---

    void TellDrawn(Listing& listing, const PixelMoment& moment) {
        std::ostream& out = listing.Out();
        const board::PixelReport& pixel = moment.pixel;
        std::string tests = Tests(listing, pixel);
        fmt::print(out, "  {}{}{}\n", ThingOf(moment), tests.empty() ? "" : ": ", tests);
        if (moment.what == What::Cut || !pixel.Passed()) {
            return;
        }
        const bool colour = pixel.colour.written || pixel.depth.bytes == 0 || !pixel.depth.written;
        if (colour) {
            fmt::print(out, "  {}\n",
                       pixel.colour.written || pixel.depth.written
                           ? Change(moment)
                           : fmt::format("{} stays: nothing is written", Value(moment.before)));
        } else if (moment.before != moment.after) {
            fmt::print(out, "  {}\n", Change(moment));
        }
        if (pixel.depth.written) {
            const uint32_t bits = pixel.depth.bytes * 8;
            const board::PixelElement& depth = pixel.depth;
            fmt::print(out, "  depth {} {} at {} byte {}\n", Hex(depth.before, bits),
                       depth.before == depth.after ? "stays" : "-> " + Hex(depth.after, bits),
                       MemoryName(depth), depth.place);
        }
    }

    void Tell(const stream::PixelHistory& history) {
        Listing listing(console_.out);
        std::ostream& out = listing.Out();
        fmt::print(out, "Pixel {},{} of '{}', {} bits {}\n", pixel_.x, pixel_.y,
                   Printable(surface_.name), surface_.bits, surface_.format);
        uint64_t drew = 0, stopped = 0, stored = 0;
        for (const PixelMoment& moment : history.Moments()) {
            if (!out) {
                break;
            }
            fmt::print(out, "\n{}{}{}  {}{}{}\n", listing.Escape(Colour::Heading),
                       stream::PlaceAt(moment.From(), moment.AtWord()).Text(),
                       listing.Escape(Colour::Plain), listing.Escape(Colour::Dim),
                       Around(history, moment), listing.Escape(Colour::Plain));
            switch (moment.what) {
            case What::Drawn:
            case What::Cut:
                ++(moment.what == What::Drawn && moment.pixel.Passed() ? drew : stopped);
                if (moment.pixel.way != PixelWay::Video) {
                    fmt::print(out, "  {}{}\n", stream::CommandOf(moment.by.write, reading_),
                               moment.by.known ? "" : ", which waited where the stream begins");
                }
                TellDrawn(listing, moment);
                break;
            case What::Stored:
                ++stored;
                fmt::print(out, "  the processor stores: {}\n", Change(moment));
                break;
            case What::Moved:
                if (moment.place) {
                    fmt::print(out, "  it lies at {} from here on: {}\n", PlaceText(*moment.place),
                               Value(moment.after));
                } else {
                    fmt::print(out, "  no surface of this name is there any more\n");
                }
                break;
            }
        }
        fmt::print(out, "\nDrawn {}, stopped {}, stored {}; it holds {} at {}.\n",
                   Count(drew, "time"), Count(stopped, "time"), Count(stored, "time"),
                   Value(history.Value()), stream::TextOf(input_.Source().At()));
    }

    void TellJson(const stream::PixelHistory& history) {
        Json report{{"file", arguments_.stream.file}};
        report.update(stream::ToJson(history, surface_.name, reading_));
        // Names of a capture may be anything.
        fmt::print(console_.out, "{}\n",
                   report.dump(2, ' ', false, Json::error_handler_t::replace));
    }

    const WhyArguments& arguments_;
    Console& console_;
    const Pixel pixel_;
    StreamInput input_;
    stream::SurfaceLayout surface_;
    stream::Reading reading_;
};

constexpr const char* kWhyFooter =
    R"(Tells everything that touched a pixel, in order: primitives, fills, copies, downloads, what
the processor stored, lines of video, and when the surface came to lie elsewhere, as at a flip. A
line tells where (the command's word, batch, frame, step, call of the driver, primitive), the next
ones the command, the tests that the pixel met until one failed, and what it was before and after.
Values are the surface's own, in hex; those of colours have #RRGGBB behind them.

Tests are: limits (of words from the host), scissor, memory (the pixel lies inside it), stipple,
source (of a copy, inside the memory), key (colour key or chroma test), alpha, depth, and pick,
which stops nothing. Tests of bounds that were passed are left out; --json has all.

The surface is, unless --surface names another: what the latest picture was taken of; else the
target of the latest context; else the screen. Raw words have a screen, where --base says, a target
and a depth, where the registers say at the end.

A PLACE is a word's number (1234 or word:1234), event:N, call:N, batch:N, frame:N, step:N,
mark:NAME, start or end; all count from 0, and the place is where that begins.

Examples:
  korv replay scenes/triangles-tx.json --capture tx.korv
  korv why tx.korv 100,50
  korv why tx.korv 100,50 --from step:20 --to step:30
  korv why tx.korv 100,50 --surface back --json
  korv why words.bin 10,10 --chip permedia --size 320x240
  korv why words.bin 10,10 --chip permedia --surface depth
)";

void SetUpWhy(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<WhyArguments>();
    AddStreamArguments(command, arguments->stream);
    command
        .add_option("PIXEL", arguments->pixel,
                    "The pixel as X,Y, counted from the surface's top left")
        ->type_name("")
        ->required();
    command.add_option("--surface", arguments->surface, "The surface that it is of")
        ->type_name("NAME");
    AddPlaceOption(command, "--from", arguments->from, "Tell what happens from there on");
    AddPlaceOption(command, "--to", arguments->to, "Stop there (default: end)");
    AddRawScreenArguments(command, arguments->screen);
    command.add_flag("--json", arguments->json, "Tell it as JSON");
    command.footer(kWhyFooter);
    command.callback([arguments, &console] { Why(*arguments, console).Run(); });
}

} // namespace

extern const Command kWhyCommand{"why", CommandGroup::Look, "Tell the life of a pixel", SetUpWhy};

} // namespace korv
