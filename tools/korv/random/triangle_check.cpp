#include "tools/korv/random/triangle_check.h"

#include "driver/core/records/d3d_context.h"
#include "host/picture.h"

#include <map>

namespace korv::random {

namespace {

using reference::DrawState;
using reference::Image;
using reference::Verdict;

struct StateValue {
    const char* name;
    uint32_t value;
};
constexpr StateValue kFixed[] = {
    {"FILLMODE", D3DFILL_SOLID}, {"ZENABLE", 0},       {"DITHERENABLE", 0}, {"MONOENABLE", 0},
    {"STIPPLEENABLE", 0},        {"STIPPLEDALPHA", 0}, {"ROP2", 13},        {"PLANEMASK", ~0u},
    {"TEXTUREHANDLE", 0},        {"WRAPU", 0},         {"WRAPV", 0},        {"COLORKEYENABLE", 0},
};

// A channel's steps of 255 that a picture may lie beside the reference: what that is held to with
// 32 bits a pixel, and a step of the coarsest channel besides with fewer.
double ToleranceOf(uint32_t bits) {
    return bits == 32 ? 2 : 255.0 / 31 + 1;
}

std::optional<DrawState> DrawStateOf(const Step& list) {
    std::map<std::string, uint32_t> values;
    for (const Step& pair : list) {
        if (pair[0].is_string() && (pair[1].is_number_unsigned() || pair[1].is_number_integer())) {
            values[pair[0].get<std::string>()] = pair[1].get<uint32_t>();
        } else {
            return std::nullopt;
        }
    }
    for (const auto& [name, value] : kFixed) {
        const auto found = values.find(name);
        if (found == values.end() || found->second != value) {
            return std::nullopt;
        }
    }
    DrawState state;
    bool whole = true;
    const auto take = [&](const char* name) {
        whole &= values.contains(name);
        return values[name];
    };
    state.cull = take("CULLMODE");
    state.gouraud = take("SHADEMODE") == D3DSHADE_GOURAUD;
    state.specular = take("SPECULARENABLE") != 0;
    state.fog = take("FOGENABLE") != 0;
    state.fogColor = take("FOGCOLOR");
    state.blend = take("BLENDENABLE") != 0;
    state.source = take("SRCBLEND");
    state.dest = take("DESTBLEND");
    return whole ? std::optional(state) : std::nullopt;
}

reference::Vertex VertexOf(const Step& step) {
    return {.x = step[0].get<float>(),
            .y = step[1].get<float>(),
            .z = step[2].get<float>(),
            .color = step[4].get<uint32_t>(),
            .specular = step[5].get<uint32_t>()};
}

Image PictureOf(Player& player, const std::string& surface) {
    const host::Picture picture = host::ReadPicture(player.SurfaceWithMemory(surface));
    return {picture.width, picture.height, picture.rgba};
}

// Of one colour.
bool IsEven(const Image& image) {
    for (size_t i = 4; i < image.rgba.size(); ++i) {
        if (image.rgba[i] != image.rgba[i - 4]) {
            return false;
        }
    }
    return true;
}

} // namespace

Step StatesOf(const DrawState& state) {
    Step states = Step::array();
    const auto add = [&](const char* name, uint32_t value) {
        states.push_back(Step::array({name, value}));
    };
    for (const auto& [name, value] : kFixed) {
        add(name, value);
    }
    add("CULLMODE", state.cull);
    add("SHADEMODE", state.gouraud ? D3DSHADE_GOURAUD : D3DSHADE_FLAT);
    add("SPECULARENABLE", state.specular);
    add("FOGENABLE", state.fog);
    add("FOGCOLOR", state.fogColor);
    add("BLENDENABLE", state.blend);
    add("SRCBLEND", state.source);
    add("DESTBLEND", state.dest);
    return states;
}

std::optional<TriangleCheck> TriangleCheck::Of(const Steps& steps, size_t step, Player& player,
                                               bool compares) {
    const Step& drawn = steps[step];
    if (step == 0 || drawn.value("do", "") != "triangles" || drawn.contains("triangles") ||
        steps[step - 1].value("do", "") != "states" ||
        steps[step - 1]["context"] != drawn["context"]) {
        return std::nullopt;
    }
    const auto state = DrawStateOf(steps[step - 1]["states"]);
    const auto context = player.contexts.find(drawn["context"].get<std::string>());
    if (!state || context == player.contexts.end() || !context->second.live) {
        return std::nullopt;
    }
    try {
        TriangleCheck check;
        check.context_ = context->first;
        check.target_ = context->second.target;
        check.compares_ = compares;
        context->second.device->EndScene();
        context->second.device->Finish();
        const host::Surface& target = player.SurfaceWithMemory(check.target_);
        check.bits_ = target.Bits();
        if (!compares || (check.bits_ != 16 && check.bits_ != 32)) {
            check.compares_ = false;
            return check;
        }
        const Image before = PictureOf(player, check.target_);
        if (!IsEven(before)) {
            // Where an edge lies a pixel off the picture shows what was there before, which the
            // comparison looks for beside it.
            check.compares_ = false;
            return check;
        }
        check.expected_.emplace(before);
        const Step& vertices = drawn["vertices"];
        for (size_t i = 0; i + 3 <= vertices.size(); i += 3) {
            check.expected_->Draw({VertexOf(vertices[i]), VertexOf(vertices[i + 1]),
                                   VertexOf(vertices[i + 2]), *state});
        }
        return check;
    } catch (const NotThereError&) {
        return std::nullopt;
    }
}

std::optional<std::string> TriangleCheck::Problem(Player& player) {
    const auto context = player.contexts.find(context_);
    context->second.device->EndScene();
    context->second.device->Finish();
    if (!compares_) {
        return std::nullopt;
    }
    // Of several contexts the first that draws behind a flip follows it, for all of them
    // (driver/d3d/execute.cpp, FlipSurfaces): the others draw where their target was.
    const host::Surface& target = player.SurfaceWithMemory(target_);
    const uint8_t* const start = player.DisplayOf(target_).display->FrameBuffer();
    const D3DContext* const record = player.ContextRecord(context_);
    if (record == nullptr ||
        record->WindowBaseColour * (bits_ / 8) != static_cast<uint32_t>(target.Bytes() - start)) {
        return std::nullopt;
    }
    const Image picture = PictureOf(player, target_);
    const double tolerance = ToleranceOf(bits_);
    const Verdict near = CompareWithinOnePixel(picture, *expected_, tolerance);
    if (near.bad != 0) {
        return near.first;
    }
    const Verdict inside = CompareInteriors(picture, *expected_, tolerance);
    return inside.bad != 0 ? std::optional(inside.first) : std::nullopt;
}

} // namespace korv::random
