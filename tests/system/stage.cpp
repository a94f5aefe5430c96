#include "tests/system/stage.h"

#include "host/picture.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/surfaces.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace test {

namespace {

void CarryBy(const Carrier& carrier, std::map<std::string, std::string>& registry) {
    registry["Direct3DHAL.NoDMA"] = std::to_string(carrier.fifo);
    registry["Direct3DHAL.SubBuffers"] = std::to_string(carrier.subBuffers);
}

host::DisplayConfig ConfigOf(const StageOptions& options) {
    host::DisplayConfig config = ConfigFor(options.deviceId);
    config.delta = options.delta;
    config.width = options.width;
    config.height = options.height;
    config.bits = options.bits;
    config.timing = options.timing;
    config.dmaThread = options.carrier.dmaThread;
    config.registry = options.registry;
    CarryBy(options.carrier, config.registry);
    return config;
}

D3DTLVERTEX TLVertex(const Vertex& v) {
    D3DTLVERTEX out{};
    out.sx = v.x;
    out.sy = v.y;
    out.sz = v.z;
    out.rhw = v.rhw;
    out.color = v.color;
    out.specular = v.specular;
    out.tu = v.u;
    out.tv = v.v;
    return out;
}

} // namespace

host::DisplayConfig ConfigOf(const TestBoard& board, const Carrier& carrier,
                             const board::Timing& timing) {
    host::DisplayConfig config = ConfigFor(board.deviceId);
    config.delta = board.delta;
    config.timing = timing;
    config.dmaThread = carrier.dmaThread;
    config.frameBufferBytes = config.localBufferBytes = 1u << 20;
    CarryBy(carrier, config.registry);
    return config;
}

Stage::Stage(const StageOptions& options)
    : machine_(ConfigOf(options)),
      target_(DirectDraw().CreateTarget(options.width, options.height)),
      depth_(DirectDraw().CreateZBuffer(options.width, options.height)) {
    Fill(target_, options.bits == 32 ? options.background & 0xFFFFFF : 0);
    Fill(depth_, 0xFFFFFFFF);
    device_ = std::make_unique<host::Device3D>(DirectDraw(), target_, &depth_);
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
    if (state.texture != nullptr || !textures_.empty()) {
        ApplyTexture(state);
    }
}

void Stage::ApplyTexture(const DrawState& state) {
    host::Device3D& device = *device_;
    const auto set = [&](D3DRENDERSTATETYPE type, uint32_t value) { device.SetState(type, value); };
    set(D3DRENDERSTATE_TEXTUREHANDLE, HandleOf(state.texture));
    if (state.texture == nullptr) {
        // The driver gives plain triangles their colours back by the blend that it finds here.
        return;
    }
    set(D3DRENDERSTATE_TEXTUREMAG, state.filter);
    set(D3DRENDERSTATE_TEXTUREMIN, state.filter);
    set(D3DRENDERSTATE_TEXTUREADDRESS, state.address);
    set(D3DRENDERSTATE_TEXTUREMAPBLEND, state.textureBlend);
    set(D3DRENDERSTATE_TEXTUREPERSPECTIVE, state.perspective);
}

uint32_t Stage::HandleOf(const std::shared_ptr<const Texture>& texture) {
    if (texture == nullptr) {
        return 0;
    }
    uint32_t& handle = textures_[texture];
    if (handle != 0) {
        return handle;
    }
    const uint32_t width = texture->width, height = texture->height;
    const DDPIXELFORMAT& format = texture->format;
    host::Surface& surface = DirectDraw().CreateTexture(width, height, format);
    host::Surface& source = DirectDraw().CreateSystem(width, height, format, DDSCAPS_TEXTURE);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            source.SetPixel(x, y, texture->raw[y * width + x]);
        }
    }
    if (!texture->palette.empty()) {
        std::vector<PALETTEENTRY> entries;
        for (const uint32_t c : texture->palette) {
            entries.push_back(
                {static_cast<BYTE>(c >> 16), static_cast<BYTE>(c >> 8), static_cast<BYTE>(c), 0});
        }
        DirectDraw().SetPalette(surface, entries);
    }
    if (const auto key = texture->sourceKey) {
        DirectDraw().SetSourceKey(surface, {*key, *key});
    }
    DirectDraw().LoadTexture(surface, source);
    DirectDraw().Destroy(source);
    handle = device_->CreateTexture(surface);
    return handle;
}

void Stage::Draw(const std::vector<Triangle3>& triangles) {
    device_->BeginScene();
    for (size_t i = 0; i < triangles.size();) {
        Apply(triangles[i].state);
        std::vector<D3DTLVERTEX> vertices;
        for (const DrawState& state = triangles[i].state;
             i < triangles.size() && state == triangles[i].state; ++i) {
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
    const host::Picture picture = host::ReadPicture(target_);
    return {picture.width, picture.height, picture.rgba};
}

} // namespace test
