#include "web/module/laboratory.h"

#include "chip/devices.h"
#include "host/ddraw/surface.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/images/contact_sheet.h"
#include "tools/korv/images/png.h"
#include "tools/korv/model/obj.h"
#include "tools/korv/painting/textured_mesh.h"
#include "tools/korv/scenes/film.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace web {

namespace {

constexpr D3DCOLOR kBackground = 0xFF202830; // as of `korv render`

std::string Lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

} // namespace

std::vector<std::string> Laboratory::TakeModel(const std::string& name) {
    korv::ObjModel read = korv::ReadObjModel(name, {});
    std::vector<std::optional<korv::TextureRequest>> images;
    for (const std::string& image : read.mesh.images) {
        try {
            images.push_back(korv::TextureRequest{.image = korv::ReadPng(image)});
        } catch (const korv::UserError& error) {
            read.warnings.push_back(std::string(error.what()) + ", drawing without it");
            images.emplace_back();
        }
    }
    if (!images.empty() && !read.mesh.hasCoordinates) {
        read.warnings.push_back(
            fmt::format("'{}' has no texture coordinates ('vt') for some of its faces, drawing "
                        "without its images",
                        name));
        images.assign(images.size(), std::nullopt);
    }
    model_ = std::move(read.mesh);
    images_ = std::move(images);
    return read.warnings;
}

void Laboratory::DrawModel(korv::Painter& painter) const {
    if (model_.triangles.empty()) {
        throw korv::UserError("there is no model: expected an OBJ file first");
    }
    const korv::Camera camera = FitCamera(BoundingSphere(model_), {}, painter.Size());
    painter.Clear(kBackground);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    painter.State(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
    if (images_.empty() || painter.TextureFormats().empty()) {
        DrawMesh(painter, model_, camera, {});
        return;
    }
    std::vector<korv::TextureHandle> textures;
    for (const auto& image : images_) {
        textures.push_back(image ? painter.MakeTexture(*image) : korv::kNoTexture);
    }
    DrawTextured(painter, model_, camera, {}, textures, {});
}

void Laboratory::Draw(const Bench& bench, const View& view) {
    words_.clear();
    calls_.clear();
    surfaces_.clear();
    depth_ = 0;
    frameStart_ = firstCall_ = 0;
    faults_.clear();
    picture_ = {};
    chip_ = FindDevice(bench.chip->deviceId)->model;
    const korv::Scene* scene = bench.scene.empty() ? nullptr : &korv::SceneByName(bench.scene);
    if (scene != nullptr && !CanDraw(*bench.chip, *scene)) {
        throw korv::UserError(fmt::format("{} ('{}') has {}: '{}' needs them", bench.chip->about,
                                          bench.chip->name, Lack(scene->needs), scene->name));
    }
    korv::Canvas canvas(
        *bench.chip, scene != nullptr ? SettingsFor(*scene, bench.settings) : bench.settings, this);
    frameStart_ = words_.size();
    firstCall_ = calls_.size();
    Viewer viewer(canvas, view);
    if (scene != nullptr) {
        scene->draw(viewer);
    } else {
        DrawModel(viewer);
    }
    picture_ = canvas.Finish();
    if (scene != nullptr && scene->flips) {
        picture_ = korv::Strip(canvas.Frames(), korv::kFilmColumns);
    }
    faults_ = canvas.Faults();
}

void Laboratory::OnSurface(host::Display&, const host::Surface& surface) {
    if (std::ranges::find(surfaces_, surface.Local()) == surfaces_.end()) {
        surfaces_.push_back(surface.Local());
    }
}

std::string Laboratory::SurfaceName(const DDRAWI_DDRAWSURFACE_LCL* surface) const {
    const auto found = std::ranges::find(surfaces_, surface);
    return found != surfaces_.end() ? fmt::format("surface {}", found - surfaces_.begin() + 1)
                                    : std::string("-");
}

void Laboratory::OnCall(const char* name, const host::CallFields& fields) {
    if (depth_++ != 0) {
        return;
    }
    Json told = Json::object();
    for (const host::CallField& field : fields) {
        if (const auto* number = std::get_if<int64_t>(&field.value)) {
            told[field.name] = *number;
        } else {
            told[field.name] = SurfaceName(std::get<const DDRAWI_DDRAWSURFACE_LCL*>(field.value));
        }
    }
    calls_.push_back({host::CallName(name), std::move(told), words_.size(), words_.size()});
}

void Laboratory::OnCallEnd() {
    if (--depth_ == 0) {
        calls_.back().end = words_.size();
    }
}

Json Laboratory::Calls() const {
    Json list = Json::array();
    for (size_t i = 0; i < calls_.size(); ++i) {
        const Call& call = calls_[i];
        list.push_back({{"name", call.name},
                        {"fields", call.fields},
                        {"word", call.word},
                        {"end", call.end},
                        {"frame", i >= firstCall_}});
    }
    return list;
}

Json Laboratory::Explain(size_t first, size_t most) const {
    stream::Explainer explainer(chip_);
    Json list = Json::array();
    const size_t end = first < words_.size() ? first + std::min(most, words_.size() - first) : 0;
    for (size_t i = 0; i < end; ++i) {
        if (i < first) {
            explainer.Follow(words_[i]);
            continue;
        }
        const bool data = explainer.ExpectsData();
        list.push_back({{"word", i},
                        {"raw", words_[i]},
                        {"text", explainer.Explain(words_[i])},
                        {"data", data}});
    }
    return list;
}

std::optional<size_t> Laboratory::Find(const std::string& text, size_t first) const {
    const std::string wanted = Lower(text);
    stream::Explainer explainer(chip_);
    for (size_t i = 0; i < words_.size(); ++i) {
        if (i < first) {
            explainer.Follow(words_[i]);
        } else if (Lower(fmt::format("{:08x} {}", words_[i], explainer.Explain(words_[i])))
                       .find(wanted) != std::string::npos) {
            return i;
        }
    }
    return {};
}

} // namespace web
