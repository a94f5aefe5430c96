#include "tools/korv/painting/canvas.h"

#include "host/d3d/visibility.h"
#include "host/display/machine.h"
#include "host/inspect/unwaited.h"
#include "host/observe/observer.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/images/texel_format.h"
#include "tools/korv/images/texels.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <bit>
#include <stdexcept>

namespace korv {

namespace {

// Renderers index their table of reciprocals with a height in lines, and encode x in 13 bits.
constexpr int kMaxLines = 2048, kMaxColumns = 8191;

// Coordinates count texels up to this.
constexpr uint32_t kMaxTexels = 2048;
// A line of the smallest mip level fills whole words in every format.
constexpr uint32_t kSmallestLevel = 8;

// What the driver announces only when told to.
constexpr const char* kMoreTextures[] = {
    "Direct3DHAL.PermediaMip", "Direct3DHAL.EnableTrueColorTextures",
    "Direct3DHAL.Enable8BitRGBTextures", "Direct3DHAL.Enable8BitP2Textures"};

constexpr D3DCOLOR kChannels[] = {0xFF0000, 0x00FF00, 0x0000FF};

// What every scene starts from.
constexpr host::RenderState kFirstStates[] = {
    {D3DRENDERSTATE_CULLMODE, D3DCULL_NONE},  {D3DRENDERSTATE_SHADEMODE, D3DSHADE_GOURAUD},
    {D3DRENDERSTATE_FILLMODE, D3DFILL_SOLID}, {D3DRENDERSTATE_ZENABLE, 0},
    {D3DRENDERSTATE_ZWRITEENABLE, 1},         {D3DRENDERSTATE_ZFUNC, D3DCMP_LESSEQUAL},
    {D3DRENDERSTATE_ALPHABLENDENABLE, 0},     {D3DRENDERSTATE_STIPPLEDALPHA, 0},
    {D3DRENDERSTATE_STIPPLEENABLE, 0},        {D3DRENDERSTATE_FOGENABLE, 0},
    {D3DRENDERSTATE_SPECULARENABLE, 0},       {D3DRENDERSTATE_DITHERENABLE, 1},
};

// Whether some texel of the image lets through what is behind it, and how.
enum class Alpha { None, OnOff, Steps };

Alpha AlphaOf(const host::Picture& image) {
    Alpha alpha = Alpha::None;
    for (size_t i = 3; i < image.rgba.size(); i += 4) {
        if (image.rgba[i] != 0 && image.rgba[i] != 255) {
            return Alpha::Steps;
        }
        if (image.rgba[i] == 0) {
            alpha = Alpha::OnOff;
        }
    }
    return alpha;
}

void CheckSides(const host::Picture& image) {
    for (const uint32_t side : {image.width, image.height}) {
        if (!std::has_single_bit(side) || side > kMaxTexels) {
            throw UserError(fmt::format("a texture of {}x{} texels: expected sides that are powers "
                                        "of two, up to {}",
                                        image.width, image.height, kMaxTexels));
        }
    }
}

// Writes a picture into a surface of its size; `encode` gives the raw value of a colour.
template <typename Encode>
void Write(host::Surface& surface, const host::Picture& picture, const Encode& encode) {
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            surface.SetPixel(x, y, encode(picture.At(x, y)));
        }
    }
}

// The upper left part of a picture.
host::Picture Corner(const host::Picture& picture, Extent size) {
    host::Picture corner{static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height), {}};
    for (uint32_t y = 0; y < corner.height; ++y) {
        const auto* row = &picture.rgba[size_t{y} * picture.width * 4];
        corner.rgba.insert(corner.rgba.end(), row, row + corner.width * 4);
    }
    return corner;
}

// The narrowest screen that has room for `width` pixels: not every width is a pitch.
uint32_t ModeWidth(const ChipChoice& chip, uint32_t width) {
    constexpr uint32_t kStep = 32;
    for (uint32_t mode = (width + kStep - 1) / kStep * kStep; mode <= kMaxColumns; mode += kStep) {
        if (host::ScreenPitchPixels(chip.deviceId, mode) >= mode) {
            return mode;
        }
    }
    throw UserError(
        fmt::format("the {} board has no screen {} pixels wide or wider", chip.name, width));
}

} // namespace

host::DisplayConfig DisplayFor(const ChipChoice& chip, const Settings& settings) {
    host::DisplayConfig config;
    config.deviceId = chip.deviceId;
    config.delta = chip.setupUnit;
    config.width = ModeWidth(chip, static_cast<uint32_t>(settings.size.width));
    config.height = static_cast<uint32_t>(settings.size.height);
    config.bits = static_cast<uint32_t>(settings.depth);
    if (settings.fifo) {
        config.registry.emplace("Direct3DHAL.NoDMA", "1");
    }
    if (settings.subBuffers != 0) {
        config.registry.emplace("Direct3DHAL.SubBuffers", fmt::to_string(settings.subBuffers));
    }
    config.program = settings.program;
    return config;
}

uint32_t RawPixel(D3DCOLOR colour, const DDPIXELFORMAT& format) {
    const bool indexed = format.dwRBitMask == 0;
    const uint32_t masks[] = {indexed ? 0xE0 : format.dwRBitMask,
                              indexed ? 0x1C : format.dwGBitMask,
                              indexed ? 0x03 : format.dwBBitMask};
    uint32_t pixel = 0;
    for (int channel = 0; channel < 3; ++channel) {
        const uint32_t value =
            (colour & kChannels[channel]) >> std::countr_zero(kChannels[channel]);
        const int bits = std::popcount(masks[channel]);
        pixel |= value >> (8 - bits) << std::countr_zero(masks[channel]);
    }
    return pixel;
}

void CheckSize(Extent size) {
    if (size.width < 1 || size.height < 1 || size.width > kMaxColumns || size.height > kMaxLines) {
        throw UserError(fmt::format("impossible size {}x{}: expected 1x1 to {}x{}", size.width,
                                    size.height, kMaxColumns, kMaxLines));
    }
}

Canvas::Canvas(const ChipChoice& chip, const Settings& settings, board::BusRecorder* recorder)
    : chip_(chip), settings_(settings) {
    CheckSize(settings.size);
    host::PowerCycle();
    const auto width = static_cast<uint32_t>(settings.size.width);
    const auto height = static_cast<uint32_t>(settings.size.height);
    const std::string mode = fmt::format("{}x{} at {} bits", width, height, settings.depth);
    host::DisplayConfig config = DisplayFor(chip, settings);
    for (const char* name : kMoreTextures) {
        config.registry.emplace(name, "1");
    }
    try {
        display_ = std::make_unique<host::Display>(std::move(config));
    } catch (const std::invalid_argument& refused) {
        throw UserError(
            fmt::format("the {} board has no mode for {}: {}", chip.name, mode, refused.what()));
    }
    display_->Board().SetRecorder(recorder);
    if (!display_->Start()) {
        throw UserError(fmt::format("the driver refused the {} board", chip.name));
    }
    try {
        directDraw_ = std::make_unique<host::DirectDraw>(*display_);
        primary_ = &directDraw_->CreatePrimary(settings.flips ? 1 : 0);
        target_ = settings.flips      ? primary_->Chain()[0]
                  : settings.onScreen ? primary_
                                      : &directDraw_->CreateTarget(width, height);
        zBuffer_ = &directDraw_->CreateZBuffer(target_->Width(), target_->Height());
        directDraw_->Attach(*target_, *zBuffer_);
    } catch (const host::ResultError& error) {
        throw UserError(fmt::format("the {} board cannot hold screen, target and depth buffer of "
                                    "{}: {}",
                                    chip.name, mode, host::ResultName(error.Result())));
    }
    device_ = std::make_unique<host::Device3D>(*directDraw_, *target_, zBuffer_);
    host::Check("BeginScene", device_->BeginScene());
    for (const host::RenderState& state : kFirstStates) {
        device_->SetState(state.type, state.value);
    }
}

Canvas::~Canvas() {
    // The recorder may end before the board does.
    if (display_) {
        display_->Board().SetRecorder(nullptr);
    }
}

std::span<const DDSURFACEDESC> Canvas::Formats() const {
    const D3DHAL_GLOBALDRIVERDATA* device = display_->Driver()->D3DGlobalData;
    if (!chip_.drawsTextures || device == nullptr) {
        return {};
    }
    return {device->lpTextureFormats, device->dwNumTextureFormats};
}

std::vector<std::string> Canvas::TextureFormats() const {
    std::vector<std::string> names;
    for (const DDSURFACEDESC& announced : Formats()) {
        names.push_back(TexelFormatName(announced.ddpfPixelFormat));
    }
    return names;
}

const DDPIXELFORMAT& Canvas::FormatFor(const TextureRequest& request) const {
    std::string wanted = request.format;
    if (wanted.empty()) {
        const Alpha alpha = AlphaOf(request.image);
        wanted = alpha == Alpha::None ? "rgb565" : alpha == Alpha::OnOff ? "argb1555" : "argb4444";
    }
    for (const DDSURFACEDESC& announced : Formats()) {
        if (TexelFormatName(announced.ddpfPixelFormat) == wanted) {
            return announced.ddpfPixelFormat;
        }
    }
    throw UserError(fmt::format("no '{}' textures on the {} board: expected one of {}", wanted,
                                chip_.name, fmt::join(TextureFormats(), ", ")));
}

TextureHandle Canvas::MakeTexture(const TextureRequest& request) {
    if (!chip_.drawsTextures) {
        throw UserError(fmt::format("{} ('{}') draws no textures: expected one of {}", chip_.about,
                                    chip_.name, TexturingChipNames()));
    }
    const host::Picture& image = request.image;
    CheckSides(image);
    const DDPIXELFORMAT& format = FormatFor(request);
    std::optional<Rgba> key;
    if (request.colourKey) {
        key = {static_cast<uint8_t>(*request.colourKey >> 16),
               static_cast<uint8_t>(*request.colourKey >> 8),
               static_cast<uint8_t>(*request.colourKey), 255};
    }
    const TexelEncoder encode(format, image, key);
    std::vector<host::Picture> levels{image};
    if (request.mipMapped) {
        levels = MipLevels(image, kSmallestLevel);
    }
    const auto count = static_cast<uint32_t>(levels.size());
    try {
        host::Surface& texture =
            directDraw_->CreateTexture(image.width, image.height, format, count);
        host::Surface& source =
            directDraw_->CreateSystem(image.width, image.height, format, DDSCAPS_TEXTURE, count);
        for (uint32_t level = 0; level < count; ++level) {
            Write(level == 0 ? source : *source.Chain()[level - 1], levels[level], encode);
        }
        if (HasPalette(format)) {
            directDraw_->SetPalette(texture, encode.Palette());
        }
        if (key) {
            directDraw_->SetSourceKey(texture, {encode(*key), encode(*key)});
        }
        directDraw_->LoadTexture(texture, source);
        directDraw_->Destroy(source);
        return device_->CreateTexture(texture);
    } catch (const host::ResultError& error) {
        throw UserError(fmt::format("the {} board cannot hold a texture of {}x{} texels: {}",
                                    chip_.name, image.width, image.height,
                                    host::ResultName(error.Result())));
    }
}

void Canvas::Clear(D3DCOLOR colour) {
    const RECT all{0, 0, settings_.size.width, settings_.size.height};
    Fill(all, colour);
    const uint32_t farthest = zBuffer_->Bits() == 32 ? ~0u : 0xFFFF;
    FinishFill(
        directDraw_->Patiently([&] { return directDraw_->DepthFill(*zBuffer_, all, farthest); }),
        *zBuffer_, all, farthest);
}

void Canvas::FinishFill(const host::HalAnswer& answer, host::Surface& surface, const RECT& area,
                        uint32_t value) {
    if (answer.handled) {
        host::Check("filling a surface", answer.result);
        return;
    }
    // What the driver does not take, the processor does.
    directDraw_->Finish(surface);
    for (LONG y = area.top; y < area.bottom; ++y) {
        for (LONG x = area.left; x < area.right; ++x) {
            surface.SetPixel(x, y, value);
        }
    }
}

void Canvas::State(D3DRENDERSTATETYPE type, DWORD value) {
    device_->SetState(type, value);
}

void Canvas::Triangles(std::span<const D3DTLVERTEX> vertices,
                       std::span<const D3DTRIANGLE> triangles) {
    host::Check("drawing triangles", device_->Triangles(vertices, triangles));
}

bool Canvas::WouldShow(std::span<const D3DTLVERTEX> vertices,
                       std::span<const D3DTRIANGLE> triangles) {
    return host::AskVisibility(*device_, vertices, triangles) != 0;
}

ImageHandle Canvas::MakeImage(const host::Picture& picture) {
    try {
        host::Surface& image = directDraw_->CreateOffscreen(picture.width, picture.height);
        host::Surface& source = directDraw_->CreateSystem(picture.width, picture.height);
        Write(source, picture, [&](const Rgba& pixel) {
            return RawPixel(pixel[0] << 16 | pixel[1] << 8 | pixel[2], source.Format());
        });
        directDraw_->LoadTexture(image, source);
        directDraw_->Destroy(source);
        images_.push_back(&image);
    } catch (const host::ResultError& error) {
        throw UserError(fmt::format("the {} board cannot hold an image of {}x{} pixels: {}",
                                    chip_.name, picture.width, picture.height,
                                    host::ResultName(error.Result())));
    }
    return images_.size() - 1;
}

void Canvas::Blit(const RECT& to, ImageHandle image, const RECT& from, const BlitEffects& effects) {
    host::BltOptions options;
    options.mirrorLeftRight = effects.mirrorLeftRight;
    options.mirrorUpDown = effects.mirrorUpDown;
    if (effects.colourKey) {
        const uint32_t key = RawPixel(*effects.colourKey, target_->Format());
        options.sourceKey = DDCOLORKEY{key, key};
    }
    const host::HalAnswer answer = directDraw_->Patiently(
        [&] { return directDraw_->Blt(*target_, to, *images_.at(image), from, options); });
    host::Check("a blit", answer.handled ? answer.result : DDERR_UNSUPPORTED);
}

void Canvas::Fill(const RECT& area, D3DCOLOR colour) {
    const uint32_t pixel = RawPixel(colour, target_->Format());
    FinishFill(
        directDraw_->Patiently([&] { return directDraw_->ColorFill(*target_, area, pixel); }),
        *target_, area, pixel);
}

host::ClientDrawing* Canvas::Client() {
    if (settings_.depth <= 8) {
        return nullptr;
    }
    if (clientDrawing_ == nullptr) {
        client_ = std::make_unique<host::ServiceClient>(
            display_->Driver(), host::ClientOptions{.fifo = settings_.fifo});
        clientDrawing_ =
            std::make_unique<host::ClientDrawing>(*client_, host::TargetOf(*client_, *target_));
        clientDrawing_->State();
    }
    return clientDrawing_.get();
}

void Canvas::Flip() {
    if (!settings_.flips && !settings_.onScreen) {
        throw std::logic_error("a canvas without a back buffer cannot flip");
    }
    device_->Finish();
    if (settings_.flips) {
        FlipScreen();
    } else {
        Tell(&host::Observer::OnFrame, *display_);
    }
    // Not every width is one of a screen: it may be wider.
    frames_.push_back(Corner(host::ReadScreen(*display_), settings_.size));
    host::Check("BeginScene", device_->BeginScene());
}

void Canvas::FlipScreen() {
    const host::HalAnswer answer =
        directDraw_->Patiently([&] { return directDraw_->Flip(*primary_, *target_); });
    host::Check("a flip", answer.handled ? answer.result : DDERR_UNSUPPORTED);
    const host::HalAnswer done = directDraw_->Patiently(
        [&] { return directDraw_->GetFlipStatus(*primary_, DDGFS_ISFLIPDONE); });
    host::Check("the end of a flip", done.handled ? done.result : DDERR_UNSUPPORTED);
    // A Glint's driver may go by the clock and be early.
    const auto offset = static_cast<uint32_t>(primary_->Bytes() - display_->FrameBuffer());
    constexpr int kFrame = 20; // milliseconds, a little more than a frame
    for (int i = 0; i < kFrame && display_->VisibleOffset() != offset; ++i) {
        display_->Board().Advance(1000);
    }
}

bool Canvas::ShowsVideo() const {
    return HasVideoPort(chip_) && settings_.depth > 8 && settings_.onScreen;
}

void Canvas::PlayVideo(board::VideoSource& source, Extent size, const VideoEffects& effects) {
    const auto width = static_cast<uint32_t>(size.width);
    const auto height = static_cast<uint32_t>(size.height);
    try {
        if (videoPort_ == nullptr) {
            videoBuffers_ = host::CreateVideoBuffers(*directDraw_, width, height, 2);
            videoPort_ = std::make_unique<host::VideoPort>(*directDraw_,
                                                           host::DescribeVideoPort(width, height));
        }
    } catch (const host::ResultError& error) {
        throw UserError(fmt::format("the {} board cannot hold video of {}x{} pixels: {}",
                                    chip_.name, width, height, host::ResultName(error.Result())));
    }
    DDVIDEOPORTINFO info{};
    info.dwVPFlags = DDVP_AUTOFLIP | (effects.mirrorLeftRight ? DDVP_MIRRORLEFTRIGHT : 0) |
                     (effects.mirrorUpDown ? DDVP_MIRRORUPDOWN : 0) |
                     (effects.halved ? DDVP_PRESCALE : 0);
    videoSize_ = effects.halved ? Extent{size.width / 2, size.height / 2} : size;
    info.dwPrescaleWidth = static_cast<DWORD>(videoSize_.width);
    info.dwPrescaleHeight = static_cast<DWORD>(videoSize_.height);
    display_->Board().SetVideoSource(&source);
    host::Check("starting the video port", videoPort_->Start(videoBuffers_, info).result);
}

void Canvas::DrawField(const RECT& to) {
    host::Surface* const field = videoPort_->NextField();
    if (field == nullptr) {
        throw UserError(fmt::format("no video comes in on the {} board", chip_.name));
    }
    const RECT all{0, 0, videoSize_.width, videoSize_.height};
    const host::HalAnswer answer =
        directDraw_->Patiently([&] { return directDraw_->Blt(*target_, to, *field, all); });
    host::Check("showing a field", answer.handled ? answer.result : DDERR_UNSUPPORTED);
}

host::Picture Canvas::Finish() {
    if (client_ != nullptr) {
        client_->Finish();
    }
    device_->Finish();
    Tell(&host::Observer::OnPicture, *display_, *target_, "picture");
    return host::ReadPicture(*target_);
}

void Canvas::StopVideo() {
    videoPort_.reset();
    display_->Board().SetVideoSource(nullptr);
}

std::string Canvas::Faults() {
    return host::UnexpectedFaults(display_->Board()).Describe();
}

} // namespace korv
