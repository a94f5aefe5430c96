// Triangles that the reference rasteriser knows: well-shaped, gentle, on even ground.
#include "tools/korv/random/grammar.h"

#include <algorithm>
#include <cmath>

namespace korv::random {

namespace {

// In twelfths of a turn; the same on every machine.
constexpr int kCosines[12] = {1024, 887, 512, 0, -512, -887, -1024, -887, -512, 0, 512, 887};

double Cosine(uint32_t twelfths) {
    return kCosines[twelfths % 12] / 1024.0;
}
double Sine(uint32_t twelfths) {
    return Cosine(twelfths + 9);
}

constexpr int kLeast = 10; // pixels from a triangle's middle to its corners

} // namespace

MadeContext* Grammar::KnownContext() {
    MadeContext* context = AnyContext();
    if (context == nullptr || displays_[context->display].bits < 16) {
        return nullptr;
    }
    const Shape& shape = Find(context->target.substr(0, context->target.find('.')))->shape;
    return std::min(shape.width, shape.height) / 2 > kLeast + 2 ? context : nullptr;
}

bool Grammar::KnownTriangles() {
    MadeContext* context = KnownContext();
    if (context == nullptr) {
        return contexts_.empty() ? MakeContext() : Triangles();
    }
    KnownState known;
    reference::DrawState& state = known.state;
    static constexpr uint32_t kCulls[] = {D3DCULL_NONE, D3DCULL_NONE, D3DCULL_CW, D3DCULL_CCW};
    state.cull = dice_.Of(kCulls);
    state.zEnable = !context->depth.empty() && dice_.Chance(30);
    state.zWrite = dice_.Chance(50);
    // What goes beyond these the reference's own tests try with more care.
    switch (dice_.From(0, displays_[context->display].bits == 32 ? 5 : 3)) {
    case 0:
        state.gouraud = false;
        break;
    case 1:
        state.specular = true;
        break;
    case 2:
        state.fog = true;
        state.fogColor = dice_.Word() & 0xFFFFFF;
        break;
    case 4:
        state.blend = true;
        state.dest = D3DBLEND_ONE;
        break;
    case 5:
        state.blend = true;
        state.source = D3DBLEND_SRCALPHA;
        state.dest = D3DBLEND_INVSRCALPHA;
        break;
    default:
        break;
    }
    DrawKnown(*context, known, {});
    return true;
}

void Grammar::WriteTexture(MadeSurface& surface) {
    Quiet(surface.display);
    uint32_t key = PixelOf(surface);
    for (uint32_t level = surface.shape.levels; level-- > 0;) {
        Step step{
            {"do", "write"},
            {"surface", level == 0 ? surface.name : surface.name + "." + std::to_string(level)}};
        if (surface.shape.levels > 1 && dice_.Chance(70)) {
            step["value"] = PixelOf(surface); // tells levels apart
        } else if (dice_.Chance(60)) {
            step["pattern"] = {{"checker", {key, PixelOf(surface)}}, {"side", dice_.From(1, 4)}};
        } else {
            const uint32_t seed = dice_.Word();
            step["pattern"] = {{"seed", seed}};
            key = (seed * 1664525 + 1013904223) >> (32 - BitsOf(surface)); // the first pixel
        }
        Add(step);
    }
    if (displays_[surface.display].keysTextures && dice_.Chance(25)) {
        Add({{"do", "sourceKey"}, {"surface", surface.name}, {"low", key}, {"high", key}});
        surface.keyed = true;
    }
}

std::string Grammar::KnownTexture(MadeContext& context) {
    const auto usable = [&](const MadeSurface& one) {
        return one.kind == Kind::Texture && !one.system && one.display == context.display;
    };
    std::string handle, surface;
    if (!context.textures.empty() && dice_.Chance(60)) {
        const MadeTexture& texture = dice_.Of(context.textures);
        handle = texture.name;
        surface = texture.surface;
    } else {
        const MadeSurface* found = Any(usable);
        if (surfaces_.size() < kMostSurfaces && (found == nullptr || dice_.Chance(70))) {
            found = &MakeSurfaceOf(Kind::Texture, context.display, true);
        } else if (found == nullptr) {
            return "";
        }
        surface = found->name;
        AddTexture(context, surface);
        handle = context.textures.back().name;
    }
    if (dice_.Chance(50)) {
        WriteTexture(*Find(surface));
    }
    return handle;
}

bool Grammar::KnownTextured() {
    MadeContext* context = KnownContext();
    if (context == nullptr || !displays_[context->display].drawsTextures) {
        return KnownTriangles();
    }
    KnownState known;
    known.texture = KnownTexture(*context);
    if (known.texture.empty()) {
        return KnownTriangles();
    }
    const auto handle = std::ranges::find(context->textures, known.texture, &MadeTexture::name);
    const MadeSurface& surface = *Find(handle->surface);
    const bool levels = surface.shape.levels > 1;
    reference::DrawState& state = known.state;
    static constexpr uint32_t kCulls[] = {D3DCULL_NONE, D3DCULL_NONE, D3DCULL_NONE, D3DCULL_CCW,
                                          D3DCULL_CW};
    static constexpr uint32_t kBlends[] = {D3DTBLEND_DECAL, D3DTBLEND_COPY, D3DTBLEND_MODULATE,
                                           D3DTBLEND_MODULATEALPHA, D3DTBLEND_DECALALPHA};
    static constexpr uint32_t kAddresses[] = {D3DTADDRESS_WRAP, D3DTADDRESS_MIRROR,
                                              D3DTADDRESS_CLAMP};
    state.cull = dice_.Of(kCulls);
    state.zEnable = !context->depth.empty() && dice_.Chance(50);
    state.zWrite = dice_.Chance(50);
    state.gouraud = dice_.Chance(60);
    state.perspective = dice_.Chance(50);
    state.textureBlend = dice_.Of(kBlends);
    state.address = dice_.Of(kAddresses);
    state.filter = dice_.Chance(surface.keyed ? 10 : 45) ? D3DFILTER_LINEAR : D3DFILTER_NEAREST;
    // Direct3D has no light behind a copy.
    const bool copies = state.textureBlend == D3DTBLEND_COPY;
    state.specular = !copies && dice_.Chance(20);
    state.fog = !copies && dice_.Chance(20);
    state.fogColor = dice_.Word() & 0xFFFFFF;
    if (displays_[context->display].bits == 32 && dice_.Chance(25)) {
        state.blend = true;
        state.source = dice_.Chance(50) ? D3DBLEND_SRCALPHA : D3DBLEND_ONE;
        state.dest = state.source == D3DBLEND_ONE ? D3DBLEND_ONE : D3DBLEND_INVSRCALPHA;
    }
    Mapping mapping{.turn = dice_.From(0, 11),
                    .u = dice_.From(0, 192) / 64.0 - 1.5,
                    .v = dice_.From(0, 192) / 64.0 - 1.5,
                    .width = surface.shape.width,
                    .height = surface.shape.height};
    static constexpr double kTexels[] = {1 / 16.0, 1 / 12.0, 1 / 8.0};
    mapping.texels = dice_.Of(kTexels);
    if (levels && dice_.Chance(80)) {
        // Well within a level, along both axes.
        mapping.texels = 1.1875 * (1u << dice_.From(0, surface.shape.levels - 1));
        mapping.turn = mapping.turn / 3 * 3;
        state.perspective = state.perspective && dice_.Chance(30);
    } else if (dice_.Chance(12)) {
        state.wrapU = dice_.Chance(60);
        state.wrapV = !state.wrapU || dice_.Chance(50);
        state.address = D3DTADDRESS_WRAP;
        mapping.texels = std::min(surface.shape.width, surface.shape.height) / 400.0;
    }
    DrawKnown(*context, known, mapping);
    context->textureBound = true;
    return true;
}

void Grammar::DrawKnown(MadeContext& context, const KnownState& known, Mapping mapping) {
    const MadeDisplay& on = displays_[context.display];
    const reference::DrawState& state = known.state;
    const bool textured = !known.texture.empty();
    const Shape shape = Find(context.target.substr(0, context.target.find('.')))->shape;
    const int width = static_cast<int>(shape.width), height = static_cast<int>(shape.height);
    const int most = std::min({width, height, 140}) / 2 - 1;
    Quiet(context.display);
    Add({{"do", "colorFill"},
         {"surface", context.target},
         {"value", dice_.Word() & (on.bits == 16 ? 0xFFFF : 0xFFFFFFFF)}});
    displays_[context.display].busy = true;
    OpenScene(context);
    // Without a setup unit the driver moves corners to rows, and what is on them along.
    const bool onRows = !on.setUp && (state.fog || dice_.Chance(50));
    Step vertices = Step::array();
    for (uint32_t count = dice_.From(1, textured ? 2 : 4); count-- > 0;) {
        const int size = static_cast<int>(dice_.From(kLeast, static_cast<uint32_t>(most)));
        const auto place = [&](int room) {
            const auto middle = dice_.From(static_cast<uint32_t>(size) * 16,
                                           static_cast<uint32_t>(room - size) * 16);
            return static_cast<int>(middle);
        };
        const int x = place(width), y = place(height);
        const uint32_t turn = dice_.From(0, 11), alpha = dice_.From(60, 200),
                       blue = dice_.From(20, 230);
        const uint32_t base[2] = {dice_.From(20, 190), dice_.From(20, 190)};
        const bool backwards = dice_.Chance(50);
        // Corners in three directions of twelve.
        for (uint32_t corner = 0; corner < 3; ++corner) {
            const uint32_t way = (turn + (backwards ? 12 - 4 * corner : 4 * corner)) % 12;
            const auto along = [&](int middle, uint32_t direction, int room) {
                const int at = middle + size * 16 * kCosines[direction % 12] / 1024;
                return std::clamp(at, 0, room * 16) / 16.0;
            };
            const double atX = along(x, way, width);
            double atY = along(y, way + 9, height);
            if ((textured && !on.setUp) || onRows) {
                atY = std::floor(atY);
            }
            // A blend steps alpha by blue's slope: one of each for a triangle.
            uint32_t colour = alpha << 24 | (base[0] + dice_.From(0, 40)) << 16 |
                              (base[1] + dice_.From(0, 40)) << 8 | blue;
            uint32_t specular = dice_.From(60, 255) << 24;
            if (state.specular && !textured) {
                colour &= 0xFFFEFEFE; // the sum leaves the low bits out
                specular |= 0x141E0A;
            } else if (state.specular) {
                specular |= dice_.From(0, 120) * 0x010101; // on textures it is white light alone
            }
            double u = 0, v = 0, rhw = 1;
            if (textured) {
                const double dx = (atX - x / 16.0) * mapping.texels,
                             dy = (atY - y / 16.0) * mapping.texels;
                u = mapping.u +
                    (dx * Cosine(mapping.turn) - dy * Sine(mapping.turn)) / mapping.width;
                v = mapping.v +
                    (dx * Sine(mapping.turn) + dy * Cosine(mapping.turn)) / mapping.height;
                u = std::floor(u * 4096) / 4096 - (state.wrapU ? std::floor(u) : 0);
                v = std::floor(v * 4096) / 4096 - (state.wrapV ? std::floor(v) : 0);
                rhw = state.perspective ? dice_.From(4, 16) / 16.0 : 1;
            }
            vertices.push_back(Step::array({atX, atY, 0.5, rhw, colour, specular, u, v}));
        }
    }
    Add({{"do", "states"}, {"context", context.name}, {"states", StatesOf(known)}});
    Add({{"do", "triangles"}, {"context", context.name}, {"vertices", vertices}});
    context.textureBound = textured;
}

} // namespace korv::random
