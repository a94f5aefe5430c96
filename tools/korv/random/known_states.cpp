#include "tools/korv/random/known_states.h"

#include <map>

namespace korv::random {

namespace {

struct StateValue {
    const char* name;
    uint32_t value;
};
constexpr StateValue kFixed[] = {
    {"FILLMODE", D3DFILL_SOLID}, {"ZFUNC", D3DCMP_ALWAYS}, {"DITHERENABLE", 0}, {"MONOENABLE", 0},
    {"STIPPLEENABLE", 0},        {"STIPPLEDALPHA", 0},     {"ROP2", 13},        {"PLANEMASK", ~0u},
    {"COLORKEYENABLE", 0},
};

// What D3DRENDERSTATE_TEXTUREMIN adds to a filter for it to be one of levels.
constexpr uint32_t kOfLevels = D3DFILTER_MIPNEAREST - D3DFILTER_NEAREST;
static_assert(D3DFILTER_LINEAR + kOfLevels == D3DFILTER_MIPLINEAR);

// Copying leaves shading off, which is put on again where texturing ends in this mode alone
// (driver/texture/textures_bind.cpp, Unbind).
constexpr uint32_t kAtTheEnd = D3DTBLEND_COPY;

} // namespace

Step StatesOf(const KnownState& known) {
    const reference::DrawState& state = known.state;
    Step states = Step::array();
    const auto add = [&](const char* name, Step value) {
        states.push_back(Step::array({name, std::move(value)}));
    };
    for (const auto& [name, value] : kFixed) {
        add(name, value);
    }
    add("CULLMODE", state.cull);
    add("SHADEMODE", state.gouraud ? D3DSHADE_GOURAUD : D3DSHADE_FLAT);
    add("ZENABLE", uint32_t{state.zEnable});
    add("ZWRITEENABLE", uint32_t{state.zWrite});
    add("SPECULARENABLE", uint32_t{state.specular});
    add("FOGENABLE", uint32_t{state.fog});
    add("FOGCOLOR", state.fogColor);
    add("BLENDENABLE", uint32_t{state.blend});
    add("SRCBLEND", state.source);
    add("DESTBLEND", state.dest);
    if (known.texture.empty()) {
        add("TEXTUREMAPBLEND", kAtTheEnd);
        add("TEXTUREHANDLE", 0u);
        return states;
    }
    add("TEXTUREHANDLE", {{"texture", known.texture}});
    add("TEXTUREPERSPECTIVE", uint32_t{state.perspective});
    add("TEXTUREMAG", state.filter);
    add("TEXTUREMIN", state.filter + kOfLevels);
    add("TEXTUREADDRESS", state.address);
    add("TEXTUREMAPBLEND", state.textureBlend);
    add("WRAPU", uint32_t{state.wrapU});
    add("WRAPV", uint32_t{state.wrapV});
    return states;
}

std::optional<KnownState> KnownStateOf(const Step& states) {
    std::map<std::string, uint32_t> values;
    KnownState known;
    for (const Step& pair : states) {
        if (!pair[0].is_string()) {
            return std::nullopt;
        }
        const auto name = pair[0].get<std::string>();
        const Step& value = pair[1];
        if (value.is_number_unsigned() || value.is_number_integer()) {
            values[name] = value.get<uint32_t>();
        } else if (value.is_object() && value.contains("texture")) {
            known.texture = value["texture"].get<std::string>();
            values[name] = 1;
        } else {
            return std::nullopt;
        }
    }
    bool whole = true;
    const auto take = [&](const char* name) {
        whole &= values.contains(name);
        return values[name];
    };
    for (const auto& [name, value] : kFixed) {
        whole &= take(name) == value;
    }
    reference::DrawState& state = known.state;
    state.cull = take("CULLMODE");
    state.gouraud = take("SHADEMODE") == D3DSHADE_GOURAUD;
    state.zEnable = take("ZENABLE") != 0;
    state.zWrite = take("ZWRITEENABLE") != 0;
    state.zFunc = D3DCMP_ALWAYS;
    state.specular = take("SPECULARENABLE") != 0;
    state.fog = take("FOGENABLE") != 0;
    state.fogColor = take("FOGCOLOR");
    state.blend = take("BLENDENABLE") != 0;
    state.source = take("SRCBLEND");
    state.dest = take("DESTBLEND");
    if (take("TEXTUREHANDLE") != 0) {
        state.perspective = take("TEXTUREPERSPECTIVE") != 0;
        state.filter = take("TEXTUREMAG");
        whole &= take("TEXTUREMIN") == state.filter + kOfLevels;
        state.address = take("TEXTUREADDRESS");
        state.textureBlend = take("TEXTUREMAPBLEND");
        state.wrapU = take("WRAPU") != 0;
        state.wrapV = take("WRAPV") != 0;
        whole &= !known.texture.empty();
    } else {
        whole &= take("TEXTUREMAPBLEND") == kAtTheEnd;
    }
    return whole ? std::optional(known) : std::nullopt;
}

} // namespace korv::random
