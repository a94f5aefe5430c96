#include "tools/korv/random/triangle_check.h"

#include "driver/core/records/d3d_context.h"
#include "host/picture.h"
#include "tools/korv/random/texture_contents.h"
#include "tools/korv/random/triangle_exceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace korv::random {

namespace {

using reference::Image;
using reference::Triangle3;
using reference::Verdict;

// 255ths that a picture may lie beside the reference.
double ToleranceOf(const reference::DrawState& state, uint32_t bits, size_t triangles) {
    // Slopes are cut to the chip's fixed point, and the last bit of 255 is lost on most chips.
    double tolerance = 2;
    if (state.texture != nullptr) {
        // Texel and light, or four texels, are multiplied in whole numbers.
        tolerance += 1;
        if (state.textureBlend == D3DTBLEND_DECALALPHA) {
            // A texel's alpha, and its colour, are whole numbers before the one mixes the other
            // with the light.
            tolerance += 2;
        }
    }
    if (state.blend) {
        // Each layer that is mixed with what is there rounds anew.
        tolerance += static_cast<double>(triangles);
    }
    // A step of the coarsest channel.
    return bits == 32 ? tolerance : tolerance - 1 + 255.0 / 31;
}

// Parts that are left out at the end are 0.
reference::Vertex VertexOf(const Step& step) {
    const auto coordinate = [&](size_t part) {
        return step.size() > part ? step[part].get<float>() : 0;
    };
    return {.x = step[0].get<float>(),
            .y = step[1].get<float>(),
            .z = step[2].get<float>(),
            .color = step[4].get<uint32_t>(),
            .specular = step[5].get<uint32_t>(),
            .rhw = step[3].get<float>(),
            .u = coordinate(6),
            .v = coordinate(7)};
}

Image PictureOf(const host::Surface& surface) {
    const host::Picture picture = host::ReadPicture(surface);
    return {picture.width, picture.height, picture.rgba};
}

// Of one colour.
bool IsEven(const Image& image) {
    return std::memcmp(image.rgba.data(), image.rgba.data() + 4, image.rgba.size() - 4) == 0;
}

Image Cut(const Image& image, uint32_t left, uint32_t top, uint32_t width, uint32_t height) {
    Image part{width, height, {}};
    for (uint32_t y = top; y < top + height; ++y) {
        part.rgba.insert(part.rgba.end(), image.At(left, y), image.At(left, y) + 4 * width);
    }
    return part;
}

} // namespace

std::optional<TriangleCheck> TriangleCheck::Of(const Steps& steps, size_t step, Player& player,
                                               const TextureSurfaces& textures, bool compares) {
    const Step& drawn = steps[step];
    if (step == 0 || drawn.value("do", "") != "triangles" || drawn.contains("triangles") ||
        steps[step - 1].value("do", "") != "states" ||
        steps[step - 1]["context"] != drawn["context"]) {
        return std::nullopt;
    }
    const auto known = KnownStateOf(steps[step - 1]["states"]);
    const auto context = player.contexts.find(drawn["context"].get<std::string>());
    if (!known || context == player.contexts.end() || !context->second.live) {
        return std::nullopt;
    }
    try {
        TriangleCheck check;
        check.context_ = context->first;
        check.target_ = context->second.target;
        context->second.device->EndScene();
        context->second.device->Finish();
        if (compares) {
            check.Expect(drawn["vertices"], *known, player, textures);
        }
        return check;
    } catch (const NotThereError&) {
        return std::nullopt;
    }
}

void TriangleCheck::Expect(const Step& vertices, const KnownState& known, Player& player,
                           const TextureSurfaces& textures) {
    const host::Surface& target = player.SurfaceWithMemory(target_);
    const host::DisplayConfig& display = player.DisplayOf(target_).display->Config();
    bits_ = target.Bits();
    reference::ChipTraits traits = TraitsOf(display);
    reference::DrawState state = known.state;
    bool keyRange = false;
    if (!known.texture.empty()) {
        const auto found = textures.find(known.texture);
        if (found == textures.end()) {
            return;
        }
        const host::Surface& surface = player.SurfaceWithMemory(found->second);
        state.texture = ReadTexture(surface, display.deviceId);
        const DDCOLORKEY& key = surface.Local()->ddckCKSrcBlt;
        keyRange =
            state.texture->sourceKey && key.dwColorSpaceLowValue != key.dwColorSpaceHighValue;
    }
    std::vector<Triangle3> triangles;
    for (size_t i = 0; i + 3 <= vertices.size(); i += 3) {
        triangles.push_back(
            {VertexOf(vertices[i]), VertexOf(vertices[i + 1]), VertexOf(vertices[i + 2]), state});
    }
    if (!AreOnRows(triangles)) {
        // The nearest row is as often above a corner as below it.
        traits.rowShift = 0;
    }
    for (const TriangleException& exception : TriangleExceptions()) {
        if (exception.holds({display, traits, state, triangles, bits_, keyRange})) {
            return;
        }
    }
    before_ = PictureOf(target);
    if (triangles.empty() || !IsEven(before_)) {
        // Where an edge lies a pixel off the picture shows what was there before, which the
        // comparison looks for beside it.
        return;
    }
    // The part that the triangles lie in, with room for what a comparison looks at around them.
    constexpr float kAround = 4;
    float left = 1e6f, top = 1e6f, right = 0, bottom = 0;
    for (const Triangle3& one : triangles) {
        for (const reference::Vertex* vertex : {&one.a, &one.b, &one.c}) {
            left = std::min(left, vertex->x - kAround);
            top = std::min(top, vertex->y - kAround);
            right = std::max(right, vertex->x + kAround);
            bottom = std::max(bottom, vertex->y + kAround);
        }
    }
    const auto within = [](float at, uint32_t size) {
        return static_cast<uint32_t>(std::clamp(at, 0.0f, static_cast<float>(size)));
    };
    part_ = {within(left, before_.width), within(top, before_.height)};
    const uint32_t width = within(right, before_.width) - part_.left,
                   height = within(bottom, before_.height) - part_.top;
    expected_.emplace(Cut(before_, part_.left, part_.top, width, height), traits);
    tolerance_ = ToleranceOf(state, bits_, triangles.size());
    for (Triangle3& one : triangles) {
        for (reference::Vertex* vertex : {&one.a, &one.b, &one.c}) {
            vertex->x -= static_cast<float>(part_.left);
            vertex->y -= static_cast<float>(part_.top);
        }
        expected_->Draw(one);
    }
    triangles_ = std::move(triangles);
    traits_ = traits;
}

std::optional<std::string> TriangleCheck::Problem(Player& player) {
    const auto context = player.contexts.find(context_);
    context->second.device->EndScene();
    context->second.device->Finish();
    if (!expected_) {
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
    const Image picture = PictureOf(target);
    const uint32_t width = expected_->Width(), height = expected_->Height();
    const auto told = [&](const std::string& text) {
        return fmt::format("{} (from {},{} on)", text, part_.left, part_.top);
    };
    const Image part = Cut(picture, part_.left, part_.top, width, height);
    if (CompareWithinOnePixel(part, *expected_, tolerance_).bad != 0) {
        // A pixel whose middle lies beside the edge shows what the triangle would show there, and
        // with a texture that may be another texel than any on it. Between two triangles that both
        // move by a pixel shows what is behind them; where one moves away from another's edge
        // beneath it, that one shows.
        const Image ground = Cut(before_, part_.left, part_.top, width, height);
        std::vector<reference::Reference> moved;
        const auto draw = [&](auto narrower) {
            reference::Reference& one = moved.emplace_back(ground, traits_);
            for (size_t i = 0; i < triangles_.size(); ++i) {
                one.Draw(triangles_[i], narrower(i) ? -1 : 1);
            }
        };
        draw([](size_t) { return false; });
        draw([](size_t) { return true; });
        for (size_t single = 0; triangles_.size() > 1 && single < triangles_.size(); ++single) {
            draw([single](size_t i) { return i == single; });
        }
        const Verdict near = CompareWithinOnePixel(part, *expected_, tolerance_, moved);
        if (near.bad != 0) {
            return told(near.first);
        }
    }
    const Verdict inside = CompareInteriors(part, *expected_, tolerance_);
    if (inside.bad != 0) {
        return told(inside.first);
    }
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            const bool around = x < part_.left || x >= part_.left + width || y < part_.top ||
                                y >= part_.top + height;
            if (around && std::memcmp(picture.At(x, y), before_.At(x, y), 4) != 0) {
                return fmt::format("{},{} is drawn, far from any triangle", x, y);
            }
        }
    }
    return std::nullopt;
}

} // namespace korv::random
