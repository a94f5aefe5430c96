#include <memory>
#include <vector>

#include <fmt/format.h>
#include <fmt/ostream.h>

#include "tools/korv/commands.h"
#include "tools/korv/contact_sheet.h"
#include "tools/korv/errors.h"
#include "tools/korv/png.h"
#include "tools/korv/progress.h"
#include "tools/korv/scene.h"

namespace korv {

namespace {

constexpr const char* kSheetName = "contact-sheet.png";

struct DemoArguments {
    std::string folder = "korv-demo";
    std::vector<std::string> chips, scenes;
    DrawArguments draw;
};

// The chips asked for, each once, in the order of the list of all; all when none is.
std::vector<const ChipChoice*> ChosenChips(const std::vector<std::string>& names) {
    for (const std::string& name : names)
        ChipByName(name);
    std::vector<const ChipChoice*> chosen;
    for (const ChipChoice& chip : Chips())
        if (names.empty() || std::ranges::find(names, chip.name) != names.end())
            chosen.push_back(&chip);
    return chosen;
}

std::vector<const Scene*> ChosenScenes(const std::vector<std::string>& names) {
    for (const std::string& name : names)
        SceneByName(name);
    std::vector<const Scene*> chosen;
    for (const Scene& scene : Scenes())
        if (names.empty() || std::ranges::find(names, scene.name) != names.end())
            chosen.push_back(&scene);
    return chosen;
}

template <typename Item>
std::vector<std::string> Names(const std::vector<const Item*>& items) {
    std::vector<std::string> names;
    for (const Item* item : items)
        names.emplace_back(item->name);
    return names;
}

bool CanDraw(const ChipChoice& chip, const Scene& scene) {
    return chip.drawsTextures || !scene.needsTextures;
}

// UserError if no chip can draw any of the scenes.
size_t CountPictures(const std::vector<const ChipChoice*>& chips,
                     const std::vector<const Scene*>& scenes) {
    size_t pictures = 0;
    for (const ChipChoice* chip : chips)
        for (const Scene* scene : scenes)
            pictures += CanDraw(*chip, *scene);
    if (pictures == 0)
        throw UserError(fmt::format("'{}' needs a chip that draws textures: expected one of {}",
                                    scenes.front()->name, TexturingChipNames()));
    return pictures;
}

void Demo(const DemoArguments& arguments, Console& console) {
    const Settings settings = arguments.draw.ToSettings();
    const auto chips = ChosenChips(arguments.chips);
    const auto scenes = ChosenScenes(arguments.scenes);
    const size_t pictures = CountPictures(chips, scenes);
    const std::filesystem::path folder = arguments.folder;
    MakeFolder(folder);

    ContactSheet sheet(Names(chips), Names(scenes), static_cast<uint32_t>(settings.size.width),
                       static_cast<uint32_t>(settings.size.height));
    Progress progress(console.err, pictures);
    for (size_t row = 0; row < scenes.size(); ++row)
        for (size_t column = 0; column < chips.size(); ++column) {
            if (!CanDraw(*chips[column], *scenes[row]))
                continue;
            const std::string name = fmt::format("{}-{}", chips[column]->name, scenes[row]->name);
            progress.Begin(name);
            Recording recording(pictures > 1 ? arguments.draw.record.With(name)
                                             : arguments.draw.record);
            Canvas canvas(*chips[column], settings, recording);
            scenes[row]->draw(canvas);
            const host::Picture picture = canvas.Finish();
            WritePng(folder / (name + ".png"), picture);
            recording.Commit();
            sheet.Put(column, row, picture);
            if (const std::string faults = canvas.Faults(); !faults.empty()) {
                progress.Wipe();
                WarnOfFaults(console, name, faults);
            }
        }
    progress.Wipe();
    WritePng(folder / kSheetName, sheet.Draw());
    fmt::print(console.out, "{} {} in {}, all on one sheet in {}\n", pictures,
               pictures == 1 ? "picture" : "pictures", folder.string(),
               (folder / kSheetName).string());
}

std::string Footer() {
    std::string text = "Scenes:\n";
    for (const Scene& scene : Scenes())
        text += fmt::format("  {:<15}{}\n", scene.name, scene.about);
    text += fmt::format(R"(
Chips: {}
Chips that draw textures: {}
Scenes that need textures leave the other chips out.

With --words or --events and more than one picture, each picture has a file of its
own, with chip and scene before the extension (words-tx-knot.bin).

Examples:
  korv demo
  korv demo -o pictures --chip permedia --scene knot --scene blend
  korv demo --chip tx --scene slivers --fifo --events slivers.txt
)",
                        ChipNames(), TexturingChipNames());
    return text;
}

} // namespace

void AddDemo(CLI::App& app, Console& console) {
    auto arguments = std::make_shared<DemoArguments>();
    CLI::App* command =
        app.add_subcommand("demo", "Draw a set of scenes on each chip, into a folder of PNGs");
    command->add_option("-o,--output", arguments->folder, "Folder (default korv-demo)")
        ->type_name("DIR");
    command->add_option("--chip", arguments->chips, "Only this chip; may be repeated")
        ->type_name("CHIP");
    command->add_option("--scene", arguments->scenes, "Only this scene; may be repeated")
        ->type_name("NAME");
    AddDrawArguments(*command, arguments->draw);
    command->footer(Footer());
    command->callback([arguments, &console] { Demo(*arguments, console); });
}

} // namespace korv
