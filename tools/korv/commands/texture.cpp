#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/command.h"
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

const Pattern& PatternByName(const std::string& name) {
    const auto patterns = NamedPatterns();
    const auto found = std::ranges::find(patterns, name, &Pattern::name);
    if (found != patterns.end()) {
        return *found;
    }
    std::string names;
    for (const Pattern& pattern : patterns) {
        names += fmt::format("{}{}", names.empty() ? "" : ", ", pattern.name);
    }
    throw UserError(fmt::format("unknown texture '{}': expected one of {}", name, names));
}

void Texture(const PatternArguments& arguments, Console& console) {
    const Pattern& pattern = PatternByName(arguments.name);
    if (!std::has_single_bit(static_cast<uint32_t>(arguments.side))) {
        throw UserError(
            fmt::format("bad side {}: expected a power of two from 32 to 1024", arguments.side));
    }
    const host::Picture picture = pattern.make(static_cast<uint32_t>(arguments.side));
    WritePng(arguments.output, picture, PngChannels::Rgba);
    fmt::print(console.out, "{}: {}, {} by {} texels\n", arguments.output, pattern.about,
               picture.width, picture.height);
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
    command.add_option("NAME", arguments->name, "The texture")->type_name("")->required();
    command.add_option("-o,--output", arguments->output, "The file")
        ->type_name("FILE.png")
        ->required();
    command.add_option("--side", arguments->side, "Width and height in texels (default 128)")
        ->type_name("N")
        ->check(CLI::Range(32, 1024).description(""));
    command.footer(TextureFooter());
    command.callback([arguments, &console] { Texture(*arguments, console); });
}

} // namespace

extern const Command kTextureCommand{"texture", CommandGroup::Make,
                                     "Write one of the built-in textures as PNG", SetUpTexture};

} // namespace korv
