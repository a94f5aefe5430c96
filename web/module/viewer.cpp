#include "web/module/viewer.h"

#include <algorithm>

namespace web {

namespace {

constexpr DWORD kRgb = 0x00FFFFFF;
constexpr DWORD kHalf = 0x80000000; // of alpha

DWORD Alpha(double part) {
    return static_cast<DWORD>(std::clamp(part, 0.0, 1.0) * 255 + 0.5) << 24;
}

} // namespace

Viewer::Viewer(korv::Painter& canvas, const View& view) : canvas_(canvas), view_(view) {
    const auto choose = [&](D3DRENDERSTATETYPE type, const auto& value) {
        if (value) {
            chosen_[type] = static_cast<DWORD>(*value);
        }
    };
    choose(D3DRENDERSTATE_ZENABLE, view.depthTest);
    choose(D3DRENDERSTATE_FOGENABLE, view.fog);
    choose(D3DRENDERSTATE_TEXTUREMAG, view.filter);
    choose(D3DRENDERSTATE_TEXTUREMIN, view.filter);
    choose(D3DRENDERSTATE_SHADEMODE, view.shade);
    choose(D3DRENDERSTATE_FILLMODE, view.fill);
    choose(D3DRENDERSTATE_CULLMODE, view.cull);
    if (view.blend) {
        const bool on = *view.blend != View::Blend::Off, mix = *view.blend == View::Blend::Mix;
        chosen_[D3DRENDERSTATE_ALPHABLENDENABLE] = on;
        if (on) {
            chosen_[D3DRENDERSTATE_SRCBLEND] = mix ? D3DBLEND_SRCALPHA : D3DBLEND_ONE;
            chosen_[D3DRENDERSTATE_DESTBLEND] = mix ? D3DBLEND_INVSRCALPHA : D3DBLEND_ONE;
        }
    }
    for (const auto& [type, value] : chosen_) {
        canvas_.State(type, value);
    }
}

korv::Camera Viewer::Seen(const korv::Camera& camera) const {
    camera_ = korv::Walked(camera, view_.walk, canvas_.Size());
    return camera_;
}

void Viewer::Clear(D3DCOLOR colour) {
    if (view_.fog.value_or(false)) {
        chosen_[D3DRENDERSTATE_FOGCOLOR] = colour;
        canvas_.State(D3DRENDERSTATE_FOGCOLOR, colour);
    }
    canvas_.Clear(colour);
}

void Viewer::State(D3DRENDERSTATETYPE type, DWORD value) {
    const auto chosen = chosen_.find(type);
    canvas_.State(type, chosen != chosen_.end() ? chosen->second : value);
}

bool Viewer::ChangesVertices() const {
    return view_.fog.value_or(false) || view_.blend.value_or(View::Blend::Off) == View::Blend::Mix;
}

void Viewer::Triangles(std::span<const D3DTLVERTEX> vertices,
                       std::span<const D3DTRIANGLE> triangles) {
    if (!ChangesVertices()) {
        canvas_.Triangles(vertices, triangles);
        return;
    }
    std::vector<D3DTLVERTEX> changed(vertices.begin(), vertices.end());
    const double start = camera_.nearPlane;
    const double end = std::min(camera_.farPlane, 2 * Length(camera_.eye - camera_.target));
    for (D3DTLVERTEX& vertex : changed) {
        if (view_.blend.value_or(View::Blend::Off) == View::Blend::Mix) {
            vertex.color = (vertex.color & kRgb) | kHalf;
        }
        // Fog that the scene makes itself stays as it is.
        if (view_.fog.value_or(false) && vertex.rhw > 0 && end > start &&
            (vertex.specular & ~kRgb) == ~kRgb) {
            vertex.specular =
                (vertex.specular & kRgb) | Alpha((end - 1 / vertex.rhw) / (end - start));
        }
    }
    canvas_.Triangles(changed, triangles);
}

} // namespace web
