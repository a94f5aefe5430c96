#include "tests/system/stage.h"

#include "host/display/machine.h"
#include "host/picture.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace test {

namespace {

host::DisplayConfig ConfigOf(const StageOptions& options) {
    host::PowerCycle();
    host::DisplayConfig config;
    config.deviceId = options.deviceId;
    config.width = options.width;
    config.height = options.height;
    config.bits = options.bits;
    config.timing = options.timing;
    config.registry = options.registry;
    config.registry["Direct3DHAL.NoDMA"] = options.carrier.fifo ? "1" : "0";
    config.registry["Direct3DHAL.SubBuffers"] = std::to_string(options.carrier.subBuffers);
    return config;
}

void Fill(host::Surface& surface, uint32_t pixel) {
    for (uint32_t y = 0; y < surface.Height(); ++y) {
        for (uint32_t x = 0; x < surface.Width(); ++x) {
            surface.SetPixel(x, y, pixel);
        }
    }
}

D3DTLVERTEX TLVertex(const Vertex& v) {
    D3DTLVERTEX out{};
    out.sx = v.x;
    out.sy = v.y;
    out.sz = v.z;
    out.rhw = 1;
    out.color = v.color;
    out.specular = v.specular;
    return out;
}

bool Same(const DrawState& left, const DrawState& right) {
    return left.cull == right.cull && left.gouraud == right.gouraud &&
           left.specular == right.specular && left.zEnable == right.zEnable &&
           left.zWrite == right.zWrite && left.zFunc == right.zFunc && left.fog == right.fog &&
           left.fogColor == right.fogColor && left.blend == right.blend &&
           left.source == right.source && left.dest == right.dest &&
           left.stippledAlpha == right.stippledAlpha;
}

} // namespace

Stage::Stage(const StageOptions& options) : display_(ConfigOf(options)) {
    if (!display_.Start()) {
        throw std::runtime_error("stage: the driver refused the display");
    }
    directDraw_ = std::make_unique<host::DirectDraw>(display_);
    target_ = &directDraw_->CreateTarget(options.width, options.height);
    depth_ = &directDraw_->CreateZBuffer(options.width, options.height);
    Fill(*target_, options.bits == 32 ? options.background & 0xFFFFFF : 0);
    Fill(*depth_, 0xFFFFFFFF);
    device_ = std::make_unique<host::Device3D>(*directDraw_, *target_, depth_);
}

void Stage::Apply(const DrawState& state) {
    host::Device3D& device = *device_;
    const auto set = [&](D3DRENDERSTATETYPE type, uint32_t value) { device.SetState(type, value); };
    set(D3DRENDERSTATE_CULLMODE, state.cull);
    set(D3DRENDERSTATE_SHADEMODE, state.gouraud ? D3DSHADE_GOURAUD : D3DSHADE_FLAT);
    set(D3DRENDERSTATE_SPECULARENABLE, state.specular);
    set(D3DRENDERSTATE_ZENABLE, state.zEnable);
    set(D3DRENDERSTATE_ZWRITEENABLE, state.zWrite);
    set(D3DRENDERSTATE_ZFUNC, state.zFunc);
    set(D3DRENDERSTATE_FOGENABLE, state.fog);
    set(D3DRENDERSTATE_FOGCOLOR, state.fogColor);
    set(D3DRENDERSTATE_BLENDENABLE, state.blend);
    set(D3DRENDERSTATE_SRCBLEND, state.source);
    set(D3DRENDERSTATE_DESTBLEND, state.dest);
    set(D3DRENDERSTATE_STIPPLEDALPHA, state.stippledAlpha);
}

void Stage::Draw(const std::vector<Triangle3>& triangles) {
    device_->BeginScene();
    for (size_t i = 0; i < triangles.size();) {
        Apply(triangles[i].state);
        std::vector<D3DTLVERTEX> vertices;
        for (const DrawState& state = triangles[i].state;
             i < triangles.size() && Same(state, triangles[i].state); ++i) {
            for (const Vertex* v : {&triangles[i].a, &triangles[i].b, &triangles[i].c}) {
                vertices.push_back(TLVertex(*v));
            }
        }
        if (device_->TriangleList(vertices) != DD_OK) {
            throw std::runtime_error("stage: the driver refused a primitive");
        }
    }
    device_->EndScene();
}

Image Stage::Picture() {
    device_->Finish();
    const host::Picture picture = host::ReadPicture(*target_);
    return {picture.width, picture.height, picture.rgba};
}

std::string ChipName(uint32_t deviceId) {
    switch (deviceId) {
    case DeviceSX:
        return "SX";
    case DeviceTX:
        return "TX";
    case DeviceMX:
        return "MX";
    case DevicePermedia:
        return "Permedia";
    default:
        return "Device" + std::to_string(deviceId);
    }
}

} // namespace test
