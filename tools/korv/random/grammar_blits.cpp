// Blits of every row of the tables, fills, flips.
#include "tools/korv/random/grammar.h"

#include <algorithm>

namespace korv::random {

namespace {

bool SameSize(const Step& a, const Step& b) {
    const auto side = [](const Step& rect, size_t i) {
        return rect[i + 2].get<uint32_t>() - rect[i].get<uint32_t>();
    };
    return side(a, 0) == side(b, 0) && side(a, 1) == side(b, 1);
}

} // namespace

Step Grammar::Rect(uint32_t left, uint32_t top, uint32_t width, uint32_t height) {
    return Step::array({left, top, left + width, top + height});
}

Step Grammar::RectIn(const Shape& shape) {
    const uint32_t width = dice_.From(1, shape.width), height = dice_.From(1, shape.height);
    return Rect(dice_.From(0, shape.width - width), dice_.From(0, shape.height - height), width,
                height);
}

bool Grammar::Fill() {
    const MadeSurface* surface = Any([](const MadeSurface& one) {
        return !one.system && one.kind != Kind::Texture && one.kind != Kind::Yuv;
    });
    if (surface == nullptr) {
        return false;
    }
    EndScenes(surface->display);
    const bool depth = surface->kind == Kind::Depth;
    Step step{{"do", depth              ? "depthFill"
                     : dice_.Chance(80) ? "colorFill"
                                        : "ropFill"},
              {"surface", surface->name}};
    if (dice_.Chance(70)) {
        step["rect"] = RectIn(surface->shape);
    }
    if (step["do"] == "ropFill") {
        step["value"] = dice_.Chance(50) ? "0x00000042" : "0x00FF0062"; // black, white
    } else {
        step["value"] = PixelOf(*surface);
    }
    displays_[surface->display].busy = true;
    Add(step);
    return true;
}

bool Grammar::Copy() {
    // The driver claims no DDCAPS_ZBLTS.
    const MadeSurface* to = Any([](const MadeSurface& one) {
        return !one.system && one.kind != Kind::Yuv && one.kind != Kind::Depth;
    });
    if (to == nullptr) {
        return false;
    }
    const MadeDisplay& on = displays_[to->display];
    const MadeSurface* from = Any([&](const MadeSurface& one) {
        // From and to the local buffer of a Glint whole words go, and what they reach into is
        // nobody's (driver/blit/txblit32.cpp, vGlintLBCopyBltNative).
        if (on.glint && to->kind == Kind::Texture && !one.system) {
            return false;
        }
        // What lies off the display's pixel size is looked for elsewhere (copy_exceptions.cpp).
        if (!on.glint && to->kind == Kind::Texture && !one.system && BitsOf(*to) != on.bits) {
            return false;
        }
        // The driver claims no DDCAPS2_NONLOCALVIDMEMCAPS: nothing is asked of AGP memory but to be
        // loaded.
        if (one.agp || (to->agp && !one.system)) {
            return false;
        }
        return one.display == to->display &&
               (one.kind == Kind::Yuv ? to->kind == Kind::Plain || to->kind == Kind::Target
                                      : one.shape.format == to->shape.format);
    });
    if (from == nullptr) {
        return false;
    }
    EndScenes(to->display);
    Step step{{"do", "blt"}, {"surface", to->name}, {"from", from->name}};
    if (from->kind == Kind::Yuv && from->chain != 0 && dice_.Chance(60)) {
        step["from"] = from->name + "." + std::to_string(dice_.From(1, from->chain));
    }
    // From memory of the host the driver claims plain copies alone (dwSVBCKeyCaps, dwSVBFXCaps).
    const bool effects = to->kind != Kind::Texture && !from->system && on.stretches && !on.slowFifo;
    // From the end, as onto itself, the stretch of MX steps to the row above its source
    // (driver/blit/txblitfx.cpp, DrawStretch).
    if (effects && dice_.Chance(25) && !(on.glint && from == to)) { // a stretch
        step["rect"] = RectIn(to->shape);
        step["fromRect"] = RectIn(from->shape);
    } else {
        const uint32_t width = dice_.From(1, std::min(to->shape.width, from->shape.width)),
                       height = dice_.From(1, std::min(to->shape.height, from->shape.height));
        step["rect"] = Rect(dice_.From(0, to->shape.width - width),
                            dice_.From(0, to->shape.height - height), width, height);
        step["fromRect"] = Rect(dice_.From(0, from->shape.width - width),
                                dice_.From(0, from->shape.height - height), width, height);
    }
    if (effects) {
        const uint32_t low = PixelOf(*from);
        const bool stretched = !SameSize(step["rect"], step["fromRect"]);
        // MX takes the way between the surfaces for a place in memory then
        // (driver/blit/txblitfx.cpp, MXStretchCopyChromaBlt).
        const bool lost = on.glint && stretched;
        if (!lost && dice_.Chance(15)) {
            step["sourceKey"] = {low, low}; // DDCKEYCAPS of ranges are not claimed
        } else if (dice_.Chance(5)) {
            step["sourceKey"] = true;
        } else if (dice_.Chance(4)) {
            step["destKey"] = {low, low};
        }
        // Upside down it does so too, and from the first row to the last one of its map.
        if (dice_.Chance(10) && !lost && !(on.glint && step.contains("sourceKey"))) {
            step[dice_.Chance(50) ? "mirrorLeftRight" : "mirrorUpDown"] = true;
        }
    }
    if (dice_.Chance(15)) {
        step["wait"] = true;
    }
    displays_[to->display].busy = true;
    Add(step);
    return true;
}

bool Grammar::Flip() {
    const MadeSurface* screen =
        Any([](const MadeSurface& one) { return one.kind == Kind::Primary && one.chain != 0; });
    if (screen == nullptr) {
        return false;
    }
    Quiet(screen->display);
    Add({{"do", "flip"},
         {"surface", screen->name},
         {"to", screen->name + "." + std::to_string(dice_.From(1, screen->chain))}});
    SettleFlips(screen->display);
    return true;
}

bool Grammar::AskStatus() {
    const MadeSurface& surface = dice_.Of(surfaces_);
    if (dice_.Chance(50)) {
        Add({{"do", "bltStatus"},
             {"surface", surface.name},
             {"flags", dice_.Chance(50) ? "DDGBS_CANBLT" : "DDGBS_ISBLTDONE"}});
    } else {
        Add({{"do", "flipStatus"},
             {"surface", surface.name},
             {"flags", dice_.Chance(50) ? "DDGFS_CANFLIP" : "DDGFS_ISFLIPDONE"}});
    }
    return true;
}

} // namespace korv::random
