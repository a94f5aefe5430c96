#include "tools/korv/base/errors.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/values.h"
#include "tools/korv/images/patterns.h"
#include "tools/korv/images/png.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <bit>
#include <memory>

namespace korv {

namespace {

struct PatternArguments {
    std::string name, output;
    int side = 128; // texels
};

std::string PatternNames(const char* between) {
    std::string names;
    for (const Pattern& pattern : NamedPatterns()) {
        names += fmt::format("{}{}", names.empty() ? "" : between, pattern.name);
    }
    return names;
}

const Pattern& PatternByName(const std::string& name) {
    const auto patterns = NamedPatterns();
    const auto found = std::ranges::find(patterns, name, &Pattern::name);
    if (found == patterns.end()) {
        throw UserError(
            fmt::format("unknown texture '{}': expected one of {}", name, PatternNames(", ")));
    }
    return *found;
}

void Texture(const PatternArguments& arguments, Console& console) {
    const Pattern& pattern = PatternByName(arguments.name);
    if (!std::has_single_bit(static_cast<uint32_t>(arguments.side))) {
        throw UserError(
            fmt::format("bad side {}: expected a power of two from 32 to 1024", arguments.side));
    }
    CheckPngName(arguments.output);
    const host::Picture picture = pattern.make(static_cast<uint32_t>(arguments.side));
    WritePng(arguments.output, picture, PngChannels::Rgba);
    fmt::print(console.Report(), "{}: {}, {} by {} texels\n", Printable(arguments.output),
               pattern.about, picture.width, picture.height);
}

std::string TextureFooter() {
    std::string text = "Textures:\n";
    for (const Pattern& pattern : NamedPatterns()) {
        text += fmt::format("  {:<12}{}\n", pattern.name, pattern.about);
    }
    return text + R"(
Example:
  korv texture bricks -o bricks.png
)";
}

void SetUpTexture(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<PatternArguments>();
    command.add_option("NAME", arguments->name, "The texture")
        ->type_name(PatternNames("|"))
        ->required();
    command.add_option("-o,--output", arguments->output, "The file; - for standard output")
        ->type_name("FILE.png")
        ->required();
    AddNumber(command, "--side", arguments->side, 32, 1024,
              "Width and height in texels, a power of two from 32 to 1024 (default 128)")
        ->type_name("N");
    command.footer(TextureFooter());
    command.callback([arguments, &console] { Texture(*arguments, console); });
}

} // namespace

extern const Command kTextureCommand{"texture", CommandGroup::Draw,
                                     "Write one of the built-in textures as PNG", SetUpTexture};

} // namespace korv
