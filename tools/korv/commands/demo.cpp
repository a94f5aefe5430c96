#include "tools/korv/base/claims.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/packing.h"
#include "tools/korv/base/progress.h"
#include "tools/korv/base/workers.h"
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

#include <deque>
#include <functional>
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

// A scene on a chip, and where it stands on the sheet.
struct Task {
    const ChipChoice* chip;
    const Scene* scene;
    size_t column, row;

    std::string Name() const { return fmt::format("{}-{}", chip->name, scene->name); }
};

// What is left of a task when its files are written.
struct Finished {
    std::string lack, faults;
    std::vector<std::string> cells;
    size_t frames = 0;
    host::Picture picture; // empty unless it is to be compared
    host::Picture reduced; // for the sheet
};

std::string Packed(const Finished& finished) {
    Packer out;
    out.Put(finished.lack);
    out.Put(finished.faults);
    out.Put(finished.cells);
    out.Put(finished.frames);
    for (const host::Picture* picture : {&finished.picture, &finished.reduced}) {
        out.Put(picture->width);
        out.Put(picture->height);
        out.Put(picture->rgba);
    }
    return out.Take();
}

Finished Unpacked(const std::string& packed) {
    Unpacker in(packed);
    Finished finished;
    in.Get(finished.lack);
    in.Get(finished.faults);
    in.Get(finished.cells);
    in.Get(finished.frames);
    for (host::Picture* picture : {&finished.picture, &finished.reduced}) {
        in.Get(picture->width);
        in.Get(picture->height);
        in.Get(picture->rgba);
    }
    return finished;
}

// The files of one picture.
RecordPaths RecordsOf(const DemoArguments& arguments, const std::string& name, bool several) {
    RecordPaths record = several ? arguments.draw.record.With(name) : arguments.draw.record;
    if (!arguments.captures.empty()) {
        record.capture = arguments.captures / (name + ".korv");
    }
    return record;
}

// SharedFileError if a recording has the name of a picture: to be told before anything is drawn.
void CheckNames(const std::filesystem::path& folder, const std::vector<Task>& tasks,
                const std::function<RecordPaths(const Task&)>& records) {
    std::deque<OutputClaim> claims;
    claims.emplace_back(folder / kSheetName);
    for (const Task& task : tasks) {
        claims.emplace_back(folder / (task.Name() + ".png"));
        const RecordPaths record = records(task);
        for (const std::filesystem::path& name : {record.words, record.events, record.capture}) {
            if (!name.empty() && !TargetOf(name).IsSpecial()) {
                claims.emplace_back(name);
            }
        }
    }
}

Finished Draw(const DemoArguments& arguments, const Task& task, const RecordPaths& record,
              const ContactSheet& sheet) {
    const Scene& scene = *task.scene;
    const std::string name = task.Name();
    const std::filesystem::path folder = arguments.folder;
    const Settings settings = arguments.draw.ToSettings();
    Recording recording(record);
    Canvas canvas(*task.chip, SettingsFor(scene, settings), recording.ToldOf(task.chip->deviceId));
    scene.draw(canvas);
    host::Picture picture = canvas.Finish();
    Finished finished;
    if (scene.flips) {
        WriteFrames(folder, name, canvas.Frames());
        finished.frames = canvas.Frames().size();
        picture = Strip(canvas.Frames(), kFilmColumns);
    }
    const CellNames cells = scene.cells ? scene.cells(canvas) : CellNames{};
    finished.lack = scene.lacks ? scene.lacks(*task.chip) : "";
    WritePng(folder / (name + ".png"),
             arguments.plain ? picture : WithCaptions(picture, cells, finished.lack));
    recording.Commit();
    finished.faults = canvas.Faults();
    finished.reduced = sheet.Reduced(picture);
    if (!arguments.reference.empty()) {
        finished.cells = cells.names;
        finished.picture = std::move(picture);
    }
    return finished;
}

void Demo(const DemoArguments& arguments, Console& console) {
    const Settings settings = arguments.draw.ToSettings();
    const auto chips = ChipsFor(arguments);
    const auto scenes = ChosenScenes(arguments.scenes);
    const size_t pictures = CountPictures(chips, scenes);
    const std::filesystem::path folder = arguments.folder;
    ContactSheet sheet(NamesOf(chips), NamesOf(scenes), static_cast<uint32_t>(settings.size.width),
                       static_cast<uint32_t>(settings.size.height));
    std::vector<Task> tasks;
    for (size_t row = 0; row < scenes.size(); ++row) {
        for (size_t column = 0; column < chips.size(); ++column) {
            if (CanDraw(*chips[column], *scenes[row])) {
                tasks.push_back({chips[column], scenes[row], column, row});
            } else {
                sheet.Remark(column, row, std::string(Lack(scenes[row]->needs)));
            }
        }
    }
    const auto records = [&](const Task& task) {
        return RecordsOf(arguments, task.Name(), pictures > 1);
    };
    CheckNames(folder, tasks, records);
    MakeFolder(folder);
    if (!arguments.captures.empty()) {
        MakeFolder(arguments.captures);
    }
    // What goes to a device goes there in the order of the pictures.
    const bool shared = pictures > 1 && records(tasks[0]).SharesWith(records(tasks[1]));

    Progress progress(console.err, pictures);
    progress.At(0, tasks.front().Name());
    size_t frames = 0;
    Comparisons comparisons(arguments.reference, folder);
    std::vector<Drawn> drawn; // of a row, to be compared
    DoInWorkers(
        tasks.size(), shared ? 1 : ProcessorCount(),
        [&](size_t index) {
            return Packed(Draw(arguments, tasks[index], records(tasks[index]), sheet));
        },
        [&](size_t index, const std::string& result) {
            const Task& task = tasks[index];
            Finished finished = Unpacked(result);
            frames += finished.frames;
            sheet.PutReduced(task.column, task.row, std::move(finished.reduced));
            if (!finished.lack.empty()) {
                sheet.Remark(task.column, task.row, finished.lack);
            }
            if (!finished.faults.empty()) {
                progress.Wipe();
                WarnOfFaults(console, task.Name(), finished.faults);
            }
            if (!arguments.reference.empty()) {
                drawn.push_back(
                    {task.chip->name, std::move(finished.picture), std::move(finished.cells)});
                if (index + 1 == tasks.size() || tasks[index + 1].row != task.row) {
                    comparisons.Add(*task.scene, drawn);
                    drawn.clear();
                }
            }
            const size_t next = std::min(index + 1, tasks.size() - 1);
            progress.At(static_cast<double>(index + 1) / static_cast<double>(tasks.size()),
                        tasks[next].Name());
        });
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
