// Surfaces: how they come, what is written into them, how they go.
#include "tools/korv/random/grammar.h"

#include <algorithm>

namespace korv::random {

namespace {

constexpr const char* kTexels[] = {"pal4", "pal8", "332",  "555", "1555",
                                   "565",  "4444", "x888", "8888"};

// The driver lists 8-bit palettes for Permedia 2 and MX alone, and 24-bit texels for Permedias.
bool IsListed(const MadeDisplay& on, const std::string& format) {
    if (format == "pal8") {
        return on.chip == "permedia2" || on.chip.starts_with("mx");
    }
    return format != "x888" || !on.glint;
}

const char* CapsOf(Kind kind) {
    switch (kind) {
    case Kind::Target:
        return "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_3DDEVICE";
    case Kind::Depth:
        return "DDSCAPS_ZBUFFER";
    case Kind::Texture:
        return "DDSCAPS_TEXTURE";
    case Kind::Primary:
        return "DDSCAPS_PRIMARYSURFACE|DDSCAPS_3DDEVICE";
    default:
        return "DDSCAPS_OFFSCREENPLAIN";
    }
}

uint32_t BitsOfFormat(const std::string& format) {
    if (format == "pal4") {
        return 4;
    }
    if (format == "pal8" || format == "332") {
        return 8;
    }
    if (format == "888") {
        return 24;
    }
    return format == "x888" || format == "8888" || format == "z32" ? 32 : 16;
}

} // namespace

MadeSurface* Grammar::Find(const std::string& name) {
    const auto found = std::ranges::find(surfaces_, name, &MadeSurface::name);
    return found == surfaces_.end() ? nullptr : &*found;
}

bool Grammar::Used(const std::string& surface) const {
    return surface == port_.buffers || std::ranges::any_of(contexts_, [&](const MadeContext& one) {
               return one.target == surface || one.depth == surface;
           });
}

uint32_t Grammar::BitsOf(const MadeSurface& surface) const {
    return surface.shape.format.empty() ? displays_[surface.display].bits
                                        : BitsOfFormat(surface.shape.format);
}

uint32_t Grammar::PixelOf(const MadeSurface& surface) {
    const uint32_t bits = BitsOf(surface);
    return bits == 32 ? dice_.Word() : dice_.Word() & ((1u << bits) - 1);
}

bool Grammar::MakePrimary(size_t display) {
    MadeSurface primary{
        Name("screen"), Kind::Primary,    {displays_[display].width, displays_[display].height, ""},
        false,          dice_.From(0, 2), display};
    if (displays_[display].bits == 32 || displays_[display].width > 320) {
        primary.chain = std::min(primary.chain, 1u);
    }
    Step step{{"do", "surface"},
              {"name", primary.name},
              {"display", displays_[display].name},
              {"caps", CapsOf(Kind::Primary)}};
    if (primary.chain != 0) {
        step["backBuffers"] = primary.chain;
    }
    Add(step);
    if (displays_[display].bits == 8) {
        Palette(primary);
    }
    surfaces_.push_back(primary);
    return true;
}

bool Grammar::MakeSurface() {
    if (surfaces_.size() >= kMostSurfaces) {
        return LoseSurface();
    }
    static constexpr Kind kKinds[] = {Kind::Plain,   Kind::Plain,   Kind::Target,
                                      Kind::Target,  Kind::Depth,   Kind::Texture,
                                      Kind::Texture, Kind::Texture, Kind::Yuv};
    const size_t display = dice_.From(0, static_cast<uint32_t>(displays_.size()) - 1);
    const MadeDisplay& on = displays_[display];
    Kind kind = dice_.Of(kKinds);
    if ((kind == Kind::Texture && !on.drawsTextures) || (kind == Kind::Yuv && on.glint)) {
        kind = Kind::Plain;
    }
    MakeSurfaceOf(kind, display);
    return true;
}

const MadeSurface& Grammar::MakeSurfaceOf(Kind kind, size_t display, bool inVideo) {
    const MadeDisplay& on = displays_[display];
    MadeSurface made{"", kind, {}, false, 0, display};
    switch (kind) {
    case Kind::Texture: {
        made.shape = {8u << dice_.From(0, 3), 8u << dice_.From(0, 3), dice_.Of(kTexels)};
        // A palette of 256 in AGP memory is looked for elsewhere
        // (driver/texture/lut_download.cpp, P2LUTDownload), and a context that comes back takes its
        // last one from where its present texture lies.
        while (!IsListed(on, made.shape.format) || (on.agp && made.shape.format == "pal8")) {
            made.shape.format = dice_.Of(kTexels);
        }
        if (dice_.Chance(30)) {
            made.shape.height = made.shape.width;
            while (made.shape.width >> made.shape.levels != 0 && dice_.Chance(70)) {
                ++made.shape.levels;
            }
        }
        made.system = !inVideo && dice_.Chance(50);
        made.agp = on.agp && !made.system && dice_.Chance(50);
        // A partner of one there is, to load it from.
        const MadeSurface* other = Any([&](const MadeSurface& one) {
            return one.kind == Kind::Texture && one.display == display;
        });
        if (other != nullptr && dice_.Chance(60)) {
            made.shape = other->shape;
            made.system = !inVideo && !other->system;
        }
        made.agp = made.agp && !made.system && made.shape.levels == 1;
        break;
    }
    case Kind::Depth: {
        const MadeSurface* target = Any([&](const MadeSurface& one) {
            return (one.kind == Kind::Target || one.kind == Kind::Primary) &&
                   one.display == display;
        });
        made.shape = target != nullptr ? target->shape : Shape{64, 64, ""};
        made.shape.format = on.glint && dice_.Chance(70) ? "z32" : "z16";
        break;
    }
    case Kind::Yuv:
        made.shape = {8 * dice_.From(1, 8), dice_.From(4, 48), "yuv"};
        break;
    default:
        made.shape = {dice_.From(kind == Kind::Target ? 16 : 1, 128),
                      dice_.From(kind == Kind::Target ? 16 : 1, 96), ""};
        made.system = kind == Kind::Plain && dice_.Chance(35);
    }
    made.name = Name(kind == Kind::Texture ? "t" : kind == Kind::Depth ? "z" : "s");
    std::string caps = CapsOf(kind);
    if (made.shape.levels > 1) {
        caps += "|DDSCAPS_MIPMAP|DDSCAPS_COMPLEX";
    }
    if (made.system) {
        caps += "|DDSCAPS_SYSTEMMEMORY";
    }
    if (made.agp) {
        caps += "|DDSCAPS_VIDEOMEMORY|DDSCAPS_NONLOCALVIDMEM";
    }
    Step step{{"do", "surface"}, {"name", made.name},         {"display", on.name},
              {"caps", caps},    {"width", made.shape.width}, {"height", made.shape.height}};
    if (kind == Kind::Yuv) {
        step["format"] = {{"fourCC", "YUY2"}, {"bits", 16}};
    } else if (!made.shape.format.empty()) {
        step["format"] = made.shape.format;
    }
    if (made.shape.levels > 1) {
        step["levels"] = made.shape.levels;
    }
    Add(step);
    if (made.shape.format == "pal4" || made.shape.format == "pal8") {
        Palette(made);
    }
    surfaces_.push_back(made);
    Write(made);
    return surfaces_.back();
}

void Grammar::Palette(const MadeSurface& surface) {
    const size_t entries = surface.shape.format == "pal4" ? 16 : 256;
    Step list = Step::array();
    uint32_t colour = dice_.Word();
    for (size_t i = 0; i < entries; ++i) {
        list.push_back(colour >> 8);
        colour = colour * 1664525 + 1013904223;
    }
    Add({{"do", "palette"}, {"surface", surface.name}, {"entries", list}});
}

void Grammar::Write(const MadeSurface& surface) {
    Quiet(surface.display);
    Step step{{"do", "write"}, {"surface", surface.name}};
    if (dice_.Chance(60)) {
        step["pattern"] = {{"seed", dice_.Word()}};
    } else if (dice_.Chance(50)) {
        step["value"] = PixelOf(surface);
    } else {
        step["pattern"] = {{"checker", {PixelOf(surface), PixelOf(surface)}},
                           {"side", dice_.From(1, 9)}};
    }
    Add(step);
}

bool Grammar::WriteSurface() {
    Write(dice_.Of(surfaces_));
    return true;
}

bool Grammar::LockSurface() {
    const MadeSurface& surface = dice_.Of(surfaces_);
    EndScenes(surface.display);
    Step step{{"do", "lock"}, {"surface", surface.name}};
    if (dice_.Chance(40)) {
        step["rect"] = RectIn(surface.shape);
    }
    Add(step);
    return true;
}

bool Grammar::LoadTexture() {
    const MadeSurface* from =
        Any([](const MadeSurface& one) { return one.kind == Kind::Texture && one.system; });
    if (from == nullptr) {
        return false;
    }
    const MadeSurface* to = Any([&](const MadeSurface& one) {
        return one.kind == Kind::Texture && !one.system && one.display == from->display &&
               one.shape.format == from->shape.format && one.shape.width == from->shape.width &&
               one.shape.height == from->shape.height && one.shape.levels == from->shape.levels;
    });
    if (to == nullptr) {
        return false;
    }
    EndScenes(to->display);
    displays_[to->display].busy = true;
    Add({{"do", "loadTexture"}, {"surface", to->name}, {"from", from->name}});
    return true;
}

bool Grammar::KeySurface() {
    MadeSurface& surface = dice_.Of(surfaces_);
    if (surface.kind == Kind::Depth) {
        return false;
    }
    surface.keyed = true;
    const uint32_t a = PixelOf(surface), b = dice_.Chance(70) ? a : PixelOf(surface);
    Add({{"do", dice_.Chance(80) ? "sourceKey" : "destKey"},
         {"surface", surface.name},
         {"low", std::min(a, b)},
         {"high", std::max(a, b)}});
    return true;
}

void Grammar::Drop(size_t place) {
    const std::string name = surfaces_[place].name;
    Quiet(surfaces_[place].display);
    for (MadeContext& context : contexts_) {
        for (size_t i = context.textures.size(); i-- > 0;) {
            if (context.textures[i].surface == name) {
                Add({{"do", "states"},
                     {"context", context.name},
                     {"states", Step::array({Step::array({"TEXTUREHANDLE", 0})})}});
                Add({{"do", "destroyTexture"},
                     {"context", context.name},
                     {"texture", context.textures[i].name}});
                context.textureBound = false;
                goneTextures_.push_back(context.textures[i].name);
                context.textures.erase(context.textures.begin() + static_cast<ptrdiff_t>(i));
            }
        }
    }
    Add({{"do", "destroySurface"}, {"surface", name}});
    surfaces_.erase(surfaces_.begin() + static_cast<ptrdiff_t>(place));
}

bool Grammar::LoseSurface() {
    const MadeSurface* surface =
        Any([&](const MadeSurface& one) { return one.kind != Kind::Primary && !Used(one.name); });
    if (surface == nullptr) {
        return EndContext();
    }
    Drop(static_cast<size_t>(surface - surfaces_.data()));
    return true;
}

} // namespace korv::random
