#include "tools/korv/commands/cli/texture_options.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/values.h"
#include "tools/korv/images/png.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <span>

namespace korv {

namespace {

struct Choice {
    const char* name;
    DWORD value;
};

// The first of each is what an option that is not given means.
constexpr Choice kFilters[] = {{"nearest", D3DFILTER_NEAREST},
                               {"linear", D3DFILTER_LINEAR},
                               {"mipnearest", D3DFILTER_MIPNEAREST},
                               {"miplinear", D3DFILTER_MIPLINEAR},
                               {"linearmipnearest", D3DFILTER_LINEARMIPNEAREST},
                               {"linearmiplinear", D3DFILTER_LINEARMIPLINEAR}};
constexpr Choice kWraps[] = {
    {"repeat", D3DTADDRESS_WRAP}, {"mirror", D3DTADDRESS_MIRROR}, {"clamp", D3DTADDRESS_CLAMP}};
constexpr Choice kPerspectives[] = {{"on", 1}, {"off", 0}};
constexpr Choice kBlends[] = {{"modulate", D3DTBLEND_MODULATE},
                              {"decal", D3DTBLEND_DECAL},
                              {"copy", D3DTBLEND_COPY},
                              {"decalalpha", D3DTBLEND_DECALALPHA},
                              {"modulatealpha", D3DTBLEND_MODULATEALPHA}};

DWORD Chosen(std::span<const Choice> choices, const std::string& name) {
    const auto found = std::ranges::find(choices, name, &Choice::name);
    return found == choices.end() ? choices.front().value : found->value;
}

void AddWay(CLI::App& command, const std::string& option, std::string& name,
            const std::string& about, std::span<const Choice> choices) {
    std::vector<std::string> known;
    for (const Choice& choice : choices) {
        known.emplace_back(choice.name);
    }
    AddChoice(command, option, name, known, fmt::format("{} (default {})", about, known.front()));
}

bool IsMipFilter(DWORD filter) {
    return filter != D3DFILTER_NEAREST && filter != D3DFILTER_LINEAR;
}

} // namespace

D3DCOLOR ParseColour(const std::string& text) {
    constexpr int kHex = 16;
    constexpr size_t kDigits = 6;
    D3DCOLOR colour = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, colour, kHex);
    if (text.size() != kDigits || parsed.ec != std::errc() || parsed.ptr != end) {
        throw UserError(
            fmt::format("bad colour '{}': expected six hexadecimal digits, as in FF00FF", text));
    }
    return colour;
}

void TextureArguments::Check() const {
    if (!colourKey.empty()) {
        ParseColour(colourKey);
    }
}

bool TextureArguments::SaysHow() const {
    return !(filter.empty() && wrap.empty() && perspective.empty() && blend.empty() &&
             colourKey.empty() && format.empty());
}

TextureState TextureArguments::State() const {
    TextureState state;
    state.filter = Chosen(kFilters, filter);
    state.address = Chosen(kWraps, wrap);
    state.perspective = Chosen(kPerspectives, perspective) != 0;
    state.blend = Chosen(kBlends, blend);
    return state;
}

TextureRequest TextureArguments::Request(const std::string& path) const {
    TextureRequest request;
    request.image = ReadPng(path);
    request.format = format;
    request.mipMapped = IsMipFilter(State().filter);
    if (!colourKey.empty()) {
        request.colourKey = ParseColour(colourKey);
    }
    return request;
}

void AddTextureArguments(CLI::App& command, TextureArguments& arguments) {
    command
        .add_option("--texture", arguments.image,
                    "Lay this image over the model; without it, its materials' own are taken")
        ->type_name("FILE.png");
    AddWay(command, "--filter", arguments.filter, "How texels become pixels", kFilters);
    AddWay(command, "--wrap", arguments.wrap, "What lies beyond the image", kWraps);
    AddWay(command, "--perspective", arguments.perspective, "Foreshorten the texture",
           kPerspectives);
    AddWay(command, "--blend", arguments.blend, "How texture and light mix", kBlends);
    command
        .add_option("--colorkey", arguments.colourKey,
                    "Leave texels of this colour out, and those near it")
        ->type_name("RRGGBB");
    command
        .add_option("--texformat", arguments.format,
                    "How the chip keeps texels: rgb555, rgb565, rgb888, rgb332, argb1232, "
                    "argb1555, argb4444, argb8888, pal4 or pal8, as far as the chip has it "
                    "(default: by the image's alpha)")
        ->type_name("FORMAT");
}

} // namespace korv
