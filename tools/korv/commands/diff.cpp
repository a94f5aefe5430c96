#include "stream/diff.h"

#include "board/values/register_names.h"
#include "chip/register_table.h"
#include "stream/explain.h"
#include "stream/format.h"
#include "stream/player.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/listing.h"
#include "tools/korv/base/text.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/raw_screen.h"
#include "tools/korv/commands/cli/stream_options.h"
#include "tools/korv/commands/cli/stream_pictures.h"
#include "tools/korv/images/contact_sheet.h"
#include "tools/korv/images/difference.h"
#include "tools/korv/images/png.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

namespace korv {

namespace {

constexpr const char* kStore = "Store";

struct DiffArguments {
    StreamArguments a, b;
    RawScreen screen;
    std::vector<std::string> ignored;
    std::string pictures, surface;
    stream::Place at{stream::Place::Kind::End, 0, {}};
    bool state = false, first = false, json = false;
};

// Offsets of registers by name, and kStore.
std::set<uint32_t> Ignored(const std::vector<std::string>& names) {
    std::set<uint32_t> offsets;
    for (const std::string& name : names) {
        if (name == kStore) {
            offsets.insert(stream::Sent::kStore);
            continue;
        }
        std::vector<std::string> known{kStore};
        bool found = false;
        for (uint32_t offset = 0; offset < reg::ApertureBytes && !found; offset += 8) {
            const std::string one = board::OffsetName(offset);
            if (!one.starts_with("offset ") && !one.starts_with("tag ")) {
                known.push_back(one);
            }
            found = one == name;
            if (found) {
                offsets.insert(offset);
            }
        }
        if (!found) {
            throw UsageError(fmt::format("unknown register '{}': the nearest is '{}'", name,
                                         Nearest(name, known)));
        }
    }
    return offsets;
}

// One of the two streams, as it is told of.
class Teller {
  public:
    explicit Teller(ChipModel chip) { reading_.chip = chip; }

    std::string Text(const stream::Sent& sent) {
        if (sent.malformed) {
            return fmt::format("malformed word {:08X}", sent.value);
        }
        if (sent.IsStore()) {
            return fmt::format("{} {} at {}, {} with checksum {:08X}", kStore,
                               sent.memory == stream::Memory::FrameBuffer   ? "frame buffer"
                               : sent.memory == stream::Memory::LocalBuffer ? "local buffer"
                                                                            : "machine",
                               sent.address, Count(sent.bytes, "byte"), sent.value);
        }
        std::string text = board::OffsetName(sent.offset);
        stream::FollowWrite(reading_, sent.offset, sent.value);
        stream::AppendMeaning(text, sent.offset, sent.value, reading_);
        return text;
    }

  private:
    stream::Reading reading_;
};

class DiffCommand {
    using Colour = Listing::Colour;

  public:
    DiffCommand(const DiffArguments& arguments, Console& console)
        : arguments_(arguments), console_(console), listing_(console.out) {}

    void Run() {
        stream::DiffOptions options;
        options.ignored = Ignored(arguments_.ignored);
        options.state = arguments_.state;
        options.first = arguments_.first;
        StreamInput a(arguments_.a), b(arguments_.b);
        if (a.Source().Board().chip != b.Source().Board().chip) {
            notes_.push_back(fmt::format("the chips differ: {} and {}", ChipOf(a), ChipOf(b)));
        }
        Teller left(a.Source().Board().chip), right(b.Source().Board().chip);
        const stream::DiffTotals totals = a.Run([&] {
            return b.Run([&] {
                return stream::Diff(a.Source(), b.Source(), options,
                                    [&](const stream::Hunk& hunk) { Tell(hunk, left, right); });
            });
        });
        if (!arguments_.pictures.empty()) {
            ComparePictures();
        }
        a.WarnOfCut(console_);
        b.WarnOfCut(console_);
        Report(totals);
        if (!totals.Equal() || !notes_.empty()) {
            throw ExitStatus{kExitUnexpected};
        }
    }

  private:
    static std::string ChipOf(StreamInput& input) {
        return DeviceOf(input.Source().Board().chip).name;
    }

    void Tell(const stream::Hunk& hunk, Teller& left, Teller& right) {
        if (arguments_.json) {
            nlohmann::ordered_json changes = nlohmann::ordered_json::array();
            for (const stream::Changed& one : hunk.changes) {
                changes.push_back(ChangeJson(one, left, right));
            }
            hunks_.push_back({{"a", stream::ToJson(hunk.a)},
                              {"b", stream::ToJson(hunk.b)},
                              {"changes", changes}});
            return;
        }
        const char* const plain = listing_.Escape(Colour::Plain);
        std::ostream& out = listing_.Out();
        if (!begun_) {
            fmt::print(out, "{0}--- {1}{3}\n{0}+++ {2}{3}\n", listing_.Escape(Colour::Heading),
                       Printable(arguments_.a.file), Printable(arguments_.b.file), plain);
            begun_ = true;
        }
        fmt::print(out, "{}@@ {} | {} @@{}\n", listing_.Escape(Colour::Dim), stream::TextOf(hunk.a),
                   stream::TextOf(hunk.b), plain);
        const auto line = [&](char sign, const std::string& text, Colour colour) {
            fmt::print(out, "{}{} {}{}\n", listing_.Escape(colour), sign, text, plain);
        };
        for (const stream::Changed& one : hunk.changes) {
            if (one.data) {
                line('!', left.Text(*one.a) + ": pixels or texels sent before it differ",
                     Colour::Number);
                continue;
            }
            if (one.a) {
                line('-', left.Text(*one.a), Colour::Bad);
            }
            if (one.b) {
                line('+', right.Text(*one.b), Colour::Good);
            }
        }
        if (!out) {
            throw ExitStatus{kExitUnexpected}; // nobody reads the rest
        }
    }

    static nlohmann::ordered_json ChangeJson(const stream::Changed& one, Teller& left,
                                             Teller& right) {
        nlohmann::ordered_json json;
        const auto side = [&](const char* name, const stream::Sent& sent, Teller& teller) {
            if (!json.contains("register")) {
                json["register"] = sent.malformed   ? "malformed"
                                   : sent.IsStore() ? kStore
                                                    : board::OffsetName(sent.offset);
            }
            json[name] = {{"raw", sent.value}, {"text", teller.Text(sent)}, {"word", sent.at.word}};
        };
        if (one.a) {
            side("a", *one.a, left);
        }
        if (one.b) {
            side("b", *one.b, right);
        }
        if (one.data) {
            json["data"] = true;
        }
        return json;
    }

    host::Picture Played(const StreamArguments& stream) {
        StreamInput input(stream);
        return input.Run([&] {
            stream::Player player(input.Source());
            StreamPictures pictures(player, stream.file);
            if (!input.Source().HasEvents()) {
                pictures.SetScreen(SetUpRawScreen(player, arguments_.screen, stream.chip));
            }
            stream::Event event;
            bool there = arguments_.at.kind == stream::Place::Kind::Start;
            while (!there && player.Step(event)) {
                if (event.kind == stream::EventKind::Mark) {
                    pictures.Follow(*event.mark);
                }
                there = IsAt(arguments_.at, input.Source().At(), &event);
            }
            if (!there && arguments_.at.kind != stream::Place::Kind::End) {
                throw UserError(fmt::format("'{}' has no {}: it ends behind {}", stream.file,
                                            arguments_.at.Text(),
                                            stream::TextOf(input.Source().At())));
            }
            return pictures.Picture(pictures.Drawn(arguments_.surface));
        });
    }

    void ComparePictures() {
        CheckPngName(arguments_.pictures);
        const host::Picture a = Played(arguments_.a), b = Played(arguments_.b);
        if (a.width != b.width || a.height != b.height) {
            throw UserError(fmt::format("the pictures have {}x{} and {}x{} pixels: '--surface' "
                                        "names what to compare",
                                        a.width, a.height, b.width, b.height));
        }
        difference_ = Compare(a, b);
        const auto name = [](const std::string& file) {
            return Printable(std::filesystem::path(file).filename().string());
        };
        ContactSheet sheet({name(arguments_.a.file), name(arguments_.b.file), "where they differ"},
                           {""}, a.width, a.height, std::max(a.width, a.height));
        sheet.Put(0, 0, a);
        sheet.Put(1, 0, b);
        sheet.Put(2, 0, difference_->map);
        WritePng(std::filesystem::path(arguments_.pictures), sheet.Draw());
        if (difference_->pixels != 0) {
            notes_.push_back(fmt::format("the pictures differ in {}, by {} of 255 at most",
                                         Count(difference_->pixels, "pixel"),
                                         difference_->largest));
        }
    }

    void Report(const stream::DiffTotals& totals) {
        const char* const what = arguments_.state ? "drawing command" : "write";
        if (arguments_.json) {
            nlohmann::ordered_json report{
                {"a", arguments_.a.file},
                {"b", arguments_.b.file},
                {"equal", totals.Equal() && notes_.empty()},
                {"compared", arguments_.state ? "state" : "writes"},
                {"same", totals.same},
                {"changed", totals.changed},
                {"onlyA", totals.onlyA},
                {"onlyB", totals.onlyB},
                {"differences", hunks_},
            };
            if (difference_) {
                report["pictures"] = {{"pixels", difference_->pixels},
                                      {"largest", difference_->largest}};
            }
            report["notes"] = notes_;
            fmt::print(console_.out, "{}\n", report.dump(2));
            return;
        }
        std::ostream& out = listing_.Out();
        for (const std::string& note : notes_) {
            fmt::print(out, "{}\n", note);
        }
        if (totals.Equal()) {
            fmt::print(out, "equal: {}\n", Count(totals.same, what));
        } else {
            fmt::print(out,
                       "{}: {} changed, {} only in the first, {} only in the second; {} {} the "
                       "same\n",
                       arguments_.first ? "the first place that differs"
                                        : Count(totals.hunks, "place"),
                       totals.changed, totals.onlyA, totals.onlyB, Count(totals.same, what),
                       totals.same == 1 ? "is" : "are");
        }
    }

    const DiffArguments& arguments_;
    Console& console_;
    Listing listing_;
    bool begun_ = false;
    nlohmann::ordered_json hunks_ = nlohmann::ordered_json::array();
    std::vector<std::string> notes_;
    std::optional<Difference> difference_;
};

// --chip is for the raw words among the two. Two captures get it too, and refuse it.
void GiveChip(DiffArguments& arguments) {
    const auto isCapture = [](const std::string& file) {
        char magic[sizeof stream::format::kMagic] = {};
        std::ifstream(file, std::ios::binary).read(magic, sizeof magic);
        return std::memcmp(magic, stream::format::kMagic, sizeof magic) == 0;
    };
    const bool a = isCapture(arguments.a.file), b = isCapture(arguments.b.file);
    arguments.b.chip = b && !a ? "" : arguments.a.chip;
    arguments.a.chip = a && !b ? "" : arguments.a.chip;
}

constexpr const char* kDiffFooter =
    R"(What the two send to registers is compared, in order, and what the processor stores into the
memories; not how words are carried, nor when. Both are aligned by what they have in common, so a
write that only one has is told once. Lines with - are of the first, + of the second; behind @@
stands where that is in each. The exit code is 0 if they are equal, 1 if not.

With --state the registers are compared that each drawing command finds, whatever order they came
in and however often they were sent; a register that goes on to differ in the same way is told
once.

--pictures writes the first's picture, the second's, and where they differ beside each other: dark
where they are equal, yellow to red where they are not. --at tells when: a PLACE is a word's number
(1234 or word:1234), event:N, call:N, batch:N, frame:N, step:N, mark:NAME, start or end.

Examples:
  korv diff before.korv after.korv
  korv diff before.korv after.korv --state --ignore FBWindowBase --ignore Store
  korv diff mine.korv theirs.korv --first --json
  korv diff words.bin other.bin --chip permedia2 --pictures differ.png --size 320x240
)";

void SetUpDiff(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<DiffArguments>();
    command.add_option("A", arguments->a.file, "A capture, or raw words of --words")
        ->type_name("")
        ->required();
    command.add_option("B", arguments->b.file, "The other one")->type_name("")->required();
    command
        .add_option("--chip", arguments->a.chip,
                    "The chip that raw words are for, in both: " + ChipNames())
        ->type_name("CHIP");
    command
        .add_option("--ignore", arguments->ignored,
                    "Leave out this register, or Store for the processor's stores; may be repeated")
        ->type_name("REGISTER")
        ->allow_extra_args(false);
    command.add_flag("--state", arguments->state, "Compare what is drawn under, not what is sent");
    command.add_flag("--first", arguments->first, "Stop behind the first place that differs");
    command
        .add_option("--pictures", arguments->pictures,
                    "Write both pictures and their difference beside each other")
        ->type_name("OUT.png");
    AddPlaceOption(command, "--at", arguments->at, "When to take the pictures (default: end)");
    command.add_option("--surface", arguments->surface, "Take the pictures of this surface")
        ->type_name("NAME");
    AddRawScreenArguments(command, arguments->screen);
    command.add_flag("--json", arguments->json, "Tell the differences as JSON");
    command.footer(kDiffFooter);
    command.callback([arguments, &console] {
        GiveChip(*arguments);
        DiffCommand(*arguments, console).Run();
    });
}

} // namespace

extern const Command kDiffCommand{"diff", CommandGroup::Check,
                                  "Tell where two captures or word streams differ", SetUpDiff};

} // namespace korv
