// Surfaces: creation, destruction, attachments, palettes, contents.
#include "host/ddraw/format.h"
#include "tools/korv/replay/checks/record_checks.h"
#include "tools/korv/replay/step.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv {

namespace {

struct NamedFormat {
    std::string_view name;
    DDPIXELFORMAT (*make)();
};

constexpr NamedFormat kFormats[] = {
    {"pal4", [] { return host::PaletteFormat(4); }},
    {"pal8", [] { return host::PaletteFormat(8); }},
    {"332", host::Format332},
    {"555", host::Format555},
    {"1555", host::Format1555},
    {"565", host::Format565},
    {"4444", host::Format4444},
    {"888", host::Format888},
    {"x888", host::FormatX888},
    {"8888", host::Format8888},
    {"z16", [] { return host::DepthFormat(16); }},
    {"z32", [] { return host::DepthFormat(32); }},
};

// A name, {"fourCC": "YUY2", "bits": 16}, {"bits", "red", "green", "blue", "alpha"}, or the fields
// of a DDPIXELFORMAT.
DDPIXELFORMAT ReadFormat(const Node& node) {
    if (node.IsText()) {
        std::string names;
        for (const NamedFormat& format : kFormats) {
            if (format.name == node.Text()) {
                return format.make();
            }
            names += fmt::format("{}{}", names.empty() ? "" : ", ", format.name);
        }
        node.Fail(fmt::format("unknown format '{}': expected one of {}", node.Text(), names));
    }
    Fields fields(node);
    if (const auto flags = fields.Find("dwFlags")) {
        DDPIXELFORMAT format{};
        format.dwSize = sizeof(format);
        format.dwFlags = flags->Word();
        const auto word = [&](const char* name, DWORD& out) {
            if (const auto field = fields.Find(name)) {
                out = field->Word();
            }
        };
        word("dwFourCC", format.dwFourCC);
        word("dwRGBBitCount", format.dwRGBBitCount);
        word("dwRBitMask", format.dwRBitMask);
        word("dwGBitMask", format.dwGBitMask);
        word("dwBBitMask", format.dwBBitMask);
        word("dwRGBAlphaBitMask", format.dwRGBAlphaBitMask);
        fields.Done();
        // The host counts a surface's bytes by it.
        if (format.dwRGBBitCount < 4 || format.dwRGBBitCount > 32) {
            node.Fail(fmt::format("dwRGBBitCount {} is out of range: expected 4 to 32",
                                  format.dwRGBBitCount));
        }
        return format;
    }
    const uint32_t bits = fields["bits"].Number(4, 32);
    DDPIXELFORMAT format;
    if (const auto fourCC = fields.Find("fourCC")) {
        const std::string code = fourCC->Text();
        if (code.size() != 4) {
            fourCC->Fail(fmt::format("'{}' is no code of four characters", code));
        }
        format = host::FourCCFormat(MAKEFOURCC(code[0], code[1], code[2], code[3]), bits);
    } else {
        format = host::RgbFormat(bits, fields["red"].Word(), fields["green"].Word(),
                                 fields["blue"].Word(),
                                 fields.Has("alpha") ? fields["alpha"].Word() : 0);
    }
    fields.Done();
    return format;
}

StepPlan ReadSurface(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    host::SurfaceRequest request;
    request.caps = fields["caps"].Word();
    const bool primary = (request.caps & DDSCAPS_PRIMARYSURFACE) != 0;
    if (!primary || fields.Has("width")) {
        request.width = fields["width"].Number(1, 0xFFFF);
        request.height = fields["height"].Number(1, 0xFFFF);
    }
    if (const auto format = fields.Find("format")) {
        request.format = ReadFormat(*format);
    }
    if (const auto count = fields.Find("backBuffers")) {
        request.backBuffers = count->Number(0, 16);
    }
    if (const auto levels = fields.Find("levels")) {
        request.levels = levels->Number(1, 16);
    }
    if (const auto allow = fields.Find("allowSystemMemory")) {
        request.allowSystemMemory = allow->Flag();
    }
    const std::string name = names.Declare(NameKind::Surface, fields["name"]);
    return {[=](Player& player, Outcome& outcome) {
                host::DirectDraw& directDraw = player.DirectDraw(display);
                host::Surface* surface = nullptr;
                outcome.Set("result", directDraw.CreateSurface(request, &surface));
                if (surface == nullptr) {
                    return;
                }
                player.AddSurface(name, display, *surface);
                outcome.Set("pitch", static_cast<uint32_t>(surface->Pitch()));
                outcome.Set("address", reinterpret_cast<uintptr_t>(surface->Bytes()));
                outcome.Set("caps", surface->Caps());
                outcome.Set("videoMemory", surface->HasVideoMemory());
            },
            Only({{"result", FieldKind::Result},
                  {"pitch", FieldKind::Signed},
                  {"address", FieldKind::Address},
                  {"caps", FieldKind::Word},
                  {"videoMemory", FieldKind::Flag}}),
            true};
}

StepPlan ReadDestroySurface(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    return {[=](Player& player, Outcome&) { player.DestroySurface(name); }, Only({})};
}

template <bool attach>
StepPlan ReadAttach(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const std::string other = names.Refer(NameKind::Surface, fields["attached"]);
    return {[=](Player& player, Outcome&) {
                const PlayedDisplay& display = player.DisplayOf(name);
                host::Surface& to = player.Surface(name);
                host::Surface& one = player.SurfaceOn(display.name, other);
                if constexpr (attach) {
                    if (&to == &one) {
                        throw NotThereError("a surface cannot be attached to itself");
                    }
                    display.directDraw->Attach(to, one);
                } else {
                    display.directDraw->Detach(to, one);
                }
            },
            Only({})};
}

StepPlan ReadPalette(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const Node list = fields["entries"];
    std::vector<PALETTEENTRY> entries;
    for (const Node& entry : list.List()) {
        const uint32_t colour = entry.Word();
        entries.push_back({static_cast<BYTE>(colour >> 16), static_cast<BYTE>(colour >> 8),
                           static_cast<BYTE>(colour), 0});
    }
    if (entries.size() != 16 && entries.size() != 256) {
        list.Fail(fmt::format("a palette has 16 or 256 entries, got {}", entries.size()));
    }
    return {[=](Player& player, Outcome&) {
                host::Surface& surface = player.Surface(name);
                const bool indexed = (surface.Format().dwFlags & DDPF_PALETTEINDEXED8) != 0;
                if (indexed && entries.size() < 256) {
                    list.Fail(
                        fmt::format("{} entries are too few for pixels of 8 bits: expected 256",
                                    entries.size()));
                }
                player.DisplayOf(name).directDraw->SetPalette(surface, entries);
            },
            Only({})};
}

StepPlan ReadSourceKey(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const DDCOLORKEY key{fields["low"].Word(), fields["high"].Word()};
    return {[=](Player& player, Outcome&) {
                player.DisplayOf(name).directDraw->SetSourceKey(player.Surface(name), key);
            },
            Only({})};
}

// The runtime's own part of a destination key: nobody tells the driver.
StepPlan ReadDestKey(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const DDCOLORKEY key{fields["low"].Word(), fields["high"].Word()};
    return {[=](Player& player, Outcome&) {
                DDRAWI_DDRAWSURFACE_LCL* local = player.Surface(name).Local();
                local->ddckCKDestBlt = key;
                local->dwFlags |= DDRAWISURF_HASCKEYDESTBLT;
            },
            Only({})};
}

void CheckLevel(Player& player, const host::Surface& to, const host::Surface& from) {
    CheckCopy(player, to, to.Whole(), from, from.Whole());
}

StepPlan ReadLoadTexture(Fields& fields, Names& names) {
    const std::string texture = names.Refer(NameKind::Surface, fields["surface"]);
    const std::string source = names.Refer(NameKind::Surface, fields["from"]);
    return {[=](Player& player, Outcome&) {
                host::Surface &to = player.SurfaceWithPixels(texture),
                              &from = player.SurfaceWithPixels(source);
                const PlayedDisplay& display = player.DisplayOf(texture);
                player.SurfaceOn(display.name, source);
                CheckLevel(player, to, from);
                for (size_t i = 0; i < std::min(to.Chain().size(), from.Chain().size()); ++i) {
                    CheckLevel(player, *to.Chain()[i], *from.Chain()[i]);
                }
                display.directDraw->LoadTexture(to, from);
            },
            Only({})};
}

constexpr StepKind kSurfaceSteps[] = {
    {"surface", ReadSurface},     {"destroySurface", ReadDestroySurface},
    {"attach", ReadAttach<true>}, {"detach", ReadAttach<false>},
    {"palette", ReadPalette},     {"sourceKey", ReadSourceKey},
    {"destKey", ReadDestKey},     {"loadTexture", ReadLoadTexture},
};

} // namespace

std::span<const StepKind> SurfaceSteps() {
    return kSurfaceSteps;
}

} // namespace korv
