#include "host/loader/renderer_pairs.h"

#include "driver/services/context.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/display/machine.h"
#include "host/loader/dll_module.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace host::loader {

namespace {

struct Chip {
    uint32_t deviceId;
    bool delta;
    bool textures;
};
constexpr Chip kChips[] = {
    {DeviceSX, false, false},     {DeviceTX, false, true},        {DeviceMX, false, true},
    {DeviceTX, true, true},       {DeviceMX, true, true},         {DevicePermedia, false, true},
    {DevicePermedia, true, true}, {DevicePermedia2, false, true},
};

// The driver's record of the only context. The table of hardware contexts leads to it, also where
// the driver is a DLL: the record has one layout.
D3DContext& ContextOn(Display& display) {
    const ContextBlock* block = display.Chip()->ContextBlocks;
    for (uint32_t slot = kContextsPerBlock; slot-- != 0;) {
        if (block->Owner[slot] != 0) {
            return *reinterpret_cast<D3DContext*>(block->Owner[slot]);
        }
    }
    throw std::runtime_error("the driver has no context");
}

// Appends what the context picks for triangles and lines under every combination of states.
void Pick(const Chip& chip, std::vector<Renderer>& picked) {
    DisplayConfig config;
    config.deviceId = chip.deviceId;
    config.delta = chip.delta;
    config.registry = {{"Direct3DHAL.PermediaMip", "1"}};
    Display display(config);
    if (!display.Start()) {
        throw std::runtime_error("the driver refused the display");
    }
    DirectDraw directDraw(display);
    Surface& target = directDraw.CreateTarget(64, 64);
    Surface& depth = directDraw.CreateZBuffer(64, 64);
    Device3D device(directDraw, target, &depth);
    uint32_t textures[2] = {}; // plain and mip-mapped
    if (chip.textures) {
        DDPIXELFORMAT format{};
        format.dwSize = sizeof(format);
        format.dwFlags = DDPF_RGB;
        format.dwRGBBitCount = 16;
        format.dwRBitMask = 0x7C00;
        format.dwGBitMask = 0x3E0;
        format.dwBBitMask = 0x1F;
        textures[0] = device.CreateTexture(directDraw.CreateTexture(64, 32, format));
        textures[1] = device.CreateTexture(directDraw.CreateTexture(64, 32, format, 4));
    }
    Check("scene", device.BeginScene());
    D3DContext& ctx = ContextOn(display);
    const D3DTLVERTEX point{};
    // Bits of `states`: one for each choice.
    for (uint32_t states = 0; states < 1u << 9; ++states) {
        const auto bit = [states](uint32_t place) { return states >> place & 1; };
        if (bit(7) > bit(8)) {
            continue; // three fill modes
        }
        const auto set = [&](D3DRENDERSTATETYPE type, uint32_t value) {
            device.SetState(type, value);
        };
        set(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT + bit(0));
        set(D3DRENDERSTATE_ZENABLE, bit(1));
        set(D3DRENDERSTATE_FOGENABLE, bit(2));
        set(D3DRENDERSTATE_SPECULARENABLE, bit(3));
        set(D3DRENDERSTATE_TEXTUREPERSPECTIVE, bit(4));
        set(D3DRENDERSTATE_TEXTUREHANDLE, bit(5) * textures[bit(6)]);
        set(D3DRENDERSTATE_TEXTUREMIN, D3DFILTER_MIPNEAREST);
        set(D3DRENDERSTATE_FILLMODE, D3DFILL_SOLID - bit(7) - bit(8));
        Check("triangle", device.Triangle(point, point, point));
        picked.push_back(ctx.TriangleRenderer);
        picked.push_back(ctx.LineRenderer);
    }
    device.Finish();
}

std::vector<Renderer> PickAll() {
    std::vector<Renderer> picked;
    for (const Chip& chip : kChips) {
        PowerCycle();
        Pick(chip, picked);
    }
    return picked;
}

} // namespace

std::vector<RendererPair> PairRenderers(const std::string& dllPath) {
    UseLinkedDriver();
    const std::vector<Renderer> linked = PickAll();
    UseDriverDll(dllPath);
    const std::vector<Renderer> dll = PickAll();
    std::map<Renderer, Renderer> pairs;
    for (size_t i = 0; i < linked.size(); ++i) {
        if (pairs.try_emplace(linked[i], dll[i]).first->second != dll[i]) {
            throw std::runtime_error(dllPath + ": other renderers than the linked driver's");
        }
    }
    std::vector<RendererPair> result;
    for (const auto& [own, other] : pairs) {
        result.push_back({own, other});
    }
    return result;
}

} // namespace host::loader
