#include "tools/korv/base/errors.h"
#include "tools/korv/base/progress.h"
#include "tools/korv/capture/recording.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/draw_options.h"
#include "tools/korv/images/captions.h"
#include "tools/korv/images/contact_sheet.h"
#include "tools/korv/images/difference.h"
#include "tools/korv/images/png.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/film.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <memory>
#include <string_view>
#include <vector>

namespace korv {

namespace {

constexpr const char* kSheetName = "contact-sheet.png";

struct DemoArguments {
    std::string folder = "korv-demo";
    std::vector<std::string> chips, scenes;
    std::string reference;          // chip that the others are compared with; empty for none
    bool plain = false;             // pictures without captions
    std::filesystem::path captures; // folder; empty: none
    DrawArguments draw;
};

// The chips asked for, each once, in the order of the list of all; all when none is.
std::vector<const ChipChoice*> ChosenChips(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        ChipByName(name);
    }
    std::vector<const ChipChoice*> chosen;
    for (const ChipChoice& chip : Chips()) {
        if (names.empty() || std::ranges::find(names, chip.name) != names.end()) {
            chosen.push_back(&chip);
        }
    }
    return chosen;
}

std::vector<const Scene*> ChosenScenes(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        SceneByName(name);
    }
    std::vector<const Scene*> chosen;
    for (const Scene& scene : Scenes()) {
        if (names.empty() || std::ranges::find(names, scene.name) != names.end()) {
            chosen.push_back(&scene);
        }
    }
    return chosen;
}

template <typename Item>
std::vector<std::string> NamesOf(const std::vector<const Item*>& items) {
    std::vector<std::string> names;
    for (const Item* item : items) {
        names.emplace_back(item->name);
    }
    return names;
}

// The chips of a demo: those asked for and that to compare with. UserError if it has no other.
std::vector<const ChipChoice*> ChipsFor(const DemoArguments& arguments) {
    std::vector<std::string> names = arguments.chips;
    if (!arguments.reference.empty()) {
        ChipByName(arguments.reference);
        if (!names.empty()) {
            names.push_back(arguments.reference);
        }
    }
    const auto chips = ChosenChips(names);
    if (!arguments.reference.empty() && chips.size() < 2) {
        throw UserError(
            fmt::format("'--diff {0}' needs another chip beside '{0}'", arguments.reference));
    }
    return chips;
}

// What a scene's chip must be able to do, and which chips are.
std::string NeedOf(const Scene& scene) {
    switch (scene.needs) {
    case Needs::Stretches:
        return fmt::format("a chip whose blits stretch: expected one of {}", StretchingChipNames());
    case Needs::Video:
        return fmt::format("a chip with a video port: expected one of {}", VideoChipNames());
    default:
        return fmt::format("a chip that draws textures: expected one of {}", TexturingChipNames());
    }
}

// UserError if no chip can draw any of the scenes.
size_t CountPictures(const std::vector<const ChipChoice*>& chips,
                     const std::vector<const Scene*>& scenes) {
    size_t pictures = 0;
    for (const ChipChoice* chip : chips) {
        for (const Scene* scene : scenes) {
            pictures += CanDraw(*chip, *scene);
        }
    }
    if (pictures == 0) {
        throw UserError(
            fmt::format("'{}' needs {}", scenes.front()->name, NeedOf(*scenes.front())));
    }
    return pictures;
}

// Numbers the frames from 00: "tx-animation-00.png".
void WriteFrames(const std::filesystem::path& folder, const std::string& name,
                 const std::vector<host::Picture>& frames) {
    for (size_t i = 0; i < frames.size(); ++i) {
        WritePng(folder / fmt::format("{}-{:02}.png", name, i), frames[i]);
    }
}

// The picture with the names of its parts, and above all what is missing from it.
host::Picture WithCaptions(const host::Picture& picture, const CellNames& cells,
                           const std::string& lack) {
    const host::Picture named = Captioned(picture, cells);
    return lack.empty() ? named : Captioned(named, {1, {lack}});
}

// A chip's picture of a scene, and the names of its parts.
struct Drawn {
    std::string_view chip;
    host::Picture picture;
    std::vector<std::string> cells;
};

// Pictures of where chips differ from the reference, and a table of them.
class Comparisons {
  public:
    // Of none if `reference` is empty.
    Comparisons(std::string reference, std::filesystem::path folder)
        : reference_(std::move(reference)), folder_(std::move(folder)) {}

    // Compares the pictures of a scene with the reference's, if it has one.
    void Add(const Scene& scene, const std::vector<Drawn>& drawn) {
        const auto reference = std::ranges::find(drawn, reference_, &Drawn::chip);
        if (reference == drawn.end()) {
            return;
        }
        for (const auto& [chip, picture, cells] : drawn) {
            if (chip == reference_) {
                continue;
            }
            // As of blend factors and texture formats, of which each chip has its own.
            if (cells != reference->cells) {
                rows_ += fmt::format("{:<15}{:<15}{:>20}\n", scene.name, chip, "other parts");
                continue;
            }
            const Difference difference = Compare(reference->picture, picture);
            WritePng(folder_ / fmt::format("{}-{}-diff-{}.png", reference_, scene.name, chip),
                     difference.map);
            rows_ += fmt::format("{:<15}{:<15}{:>10}{:>10}\n", scene.name, chip, difference.pixels,
                                 difference.largest);
        }
    }

    void Print(std::ostream& out) const {
        if (reference_.empty()) {
            return;
        }
        if (rows_.empty()) {
            fmt::print(out, "No scene is drawn by {} and by another of these chips\n", reference_);
            return;
        }
        fmt::print(out, "Where others differ from {}, in {}:\n{:<15}{:<15}{:>10}{:>10}\n{}",
                   reference_, (folder_ / (reference_ + "-SCENE-diff-CHIP.png")).string(), "scene",
                   "chip", "pixels", "largest", rows_);
    }

  private:
    std::string reference_;
    std::filesystem::path folder_;
    std::string rows_;
};

void Demo(const DemoArguments& arguments, Console& console) {
    const Settings settings = arguments.draw.ToSettings();
    const auto chips = ChipsFor(arguments);
    const auto scenes = ChosenScenes(arguments.scenes);
    const size_t pictures = CountPictures(chips, scenes);
    const std::filesystem::path folder = arguments.folder;
    MakeFolder(folder);
    if (!arguments.captures.empty()) {
        MakeFolder(arguments.captures);
    }

    ContactSheet sheet(NamesOf(chips), NamesOf(scenes), static_cast<uint32_t>(settings.size.width),
                       static_cast<uint32_t>(settings.size.height));
    Progress progress(console.err, pictures);
    size_t frames = 0;
    Comparisons comparisons(arguments.reference, folder);
    for (size_t row = 0; row < scenes.size(); ++row) {
        std::vector<Drawn> drawn;
        for (size_t column = 0; column < chips.size(); ++column) {
            if (!CanDraw(*chips[column], *scenes[row])) {
                sheet.Remark(column, row, std::string(Lack(scenes[row]->needs)));
                continue;
            }
            const std::string name = fmt::format("{}-{}", chips[column]->name, scenes[row]->name);
            progress.Begin(name);
            RecordPaths record =
                pictures > 1 ? arguments.draw.record.With(name) : arguments.draw.record;
            if (!arguments.captures.empty()) {
                record.capture = arguments.captures / (name + ".korv");
            }
            Recording recording(record);
            const Scene& scene = *scenes[row];
            Canvas canvas(*chips[column], SettingsFor(scene, settings),
                          recording.ToldOf(chips[column]->deviceId));
            scenes[row]->draw(canvas);
            host::Picture picture = canvas.Finish();
            if (scenes[row]->flips) {
                WriteFrames(folder, name, canvas.Frames());
                frames += canvas.Frames().size();
                picture = Strip(canvas.Frames(), kFilmColumns);
            }
            const CellNames cells = scene.cells ? scene.cells(canvas) : CellNames{};
            const std::string lack(scene.lacks ? scene.lacks(*chips[column]) : "");
            WritePng(folder / (name + ".png"),
                     arguments.plain ? picture : WithCaptions(picture, cells, lack));
            recording.Commit();
            sheet.Put(column, row, picture);
            if (!lack.empty()) {
                sheet.Remark(column, row, lack);
            }
            if (const std::string faults = canvas.Faults(); !faults.empty()) {
                progress.Wipe();
                WarnOfFaults(console, name, faults);
            }
            if (!arguments.reference.empty()) {
                drawn.push_back({chips[column]->name, std::move(picture), cells.names});
            }
        }
        comparisons.Add(*scenes[row], drawn);
    }
    progress.Wipe();
    WritePng(folder / kSheetName, sheet.Draw());
    fmt::print(console.Report(), "{} {}{} in {}, all on one sheet in {}\n", pictures,
               pictures == 1 ? "picture" : "pictures",
               frames == 0 ? "" : fmt::format(" and {} frames", frames), folder.string(),
               (folder / kSheetName).string());
    comparisons.Print(console.out);
}

std::string DemoFooter() {
    std::string text = "Scenes:\n";
    for (const Scene& scene : Scenes()) {
        text += fmt::format("  {:<15}{}\n", scene.name, scene.about);
    }
    text += fmt::format(R"(
Chips: {}
Chips that draw textures: {}
Chips whose blits stretch and leave a colour out: {}
Chips with a video port: {}
Scenes that need textures, such blits or video leave the other chips out.
Each frame of the animation and of the video, as the monitor shows it, has a file of its own beside the picture of
all (tx-animation-00.png).
Pictures of several parts name each above it, beside the picture's own pixels; names that
have no room are left out.

With --diff CHIP, CHIP-SCENE-diff-OTHER.png shows in yellow (little) to red (much) where OTHER's
picture of a scene differs from CHIP's, and a table tells how many pixels do and the largest
difference of a channel (of 255). Pictures made of other parts, as of other formats, are not compared.

With --words or --events and more than one picture, each picture has a file of its
own, with chip and scene before the extension (words-tx-knot.bin).

Examples:
  korv demo
  korv demo -o pictures --chip permedia --scene knot --scene blend
  korv demo -o pictures --scene knot --diff tx
  korv demo --chip tx --scene slivers --fifo --events slivers.txt
)",
                        ChipNames(), TexturingChipNames(), StretchingChipNames(), VideoChipNames());
    return text;
}

void SetUpDemo(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<DemoArguments>();
    command.add_option("-o,--output", arguments->folder, "Folder (default korv-demo)")
        ->type_name("DIR");
    command.add_option("--chip", arguments->chips, "Only this chip; may be repeated")
        ->type_name("CHIP");
    command.add_option("--scene", arguments->scenes, "Only this scene; may be repeated")
        ->type_name("SCENE");
    command
        .add_option("--diff", arguments->reference,
                    "Also pictures of where the other chips differ from this one")
        ->type_name("CHIP");
    command.add_flag("--plain", arguments->plain, "Pictures without captions");
    AddDrawArguments(command, arguments->draw);
    AddCaptureOption(command, arguments->captures, "DIR",
                     "Also write into this folder what a bare board needs to draw each picture "
                     "again, in CHIP-SCENE.korv");
    command.footer(DemoFooter());
    command.callback([arguments, &console] { Demo(*arguments, console); });
}

} // namespace

extern const Command kDemoCommand{"demo", CommandGroup::Draw,
                                  "Draw a set of scenes on each chip, into a folder of PNGs",
                                  SetUpDemo};

} // namespace korv
