#include "tools/korv/canvas.h"

#include <bit>
#include <stdexcept>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "host/display/machine.h"
#include "tools/korv/errors.h"
#include "tools/korv/texel_format.h"
#include "tools/korv/texels.h"

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
        if (image.rgba[i] != 0 && image.rgba[i] != 255)
            return Alpha::Steps;
        if (image.rgba[i] == 0)
            alpha = Alpha::OnOff;
    }
    return alpha;
}

void CheckSides(const host::Picture& image) {
    for (const uint32_t side : {image.width, image.height})
        if (!std::has_single_bit(side) || side > kMaxTexels)
            throw UserError(fmt::format("a texture of {}x{} texels: expected sides that are powers "
                                        "of two, up to {}",
                                        image.width, image.height, kMaxTexels));
}

void Fill(host::Surface& surface, const host::Picture& level, const TexelEncoder& encode) {
    for (uint32_t y = 0; y < level.height; ++y)
        for (uint32_t x = 0; x < level.width; ++x)
            surface.SetPixel(x, y, encode(level.At(x, y)));
}

// The narrowest screen that has room for `width` pixels: not every width is a pitch.
uint32_t ModeWidth(const ChipChoice& chip, uint32_t width) {
    constexpr uint32_t kStep = 32;
    for (uint32_t mode = (width + kStep - 1) / kStep * kStep; mode <= kMaxColumns; mode += kStep)
        if (host::ScreenPitchPixels(chip.deviceId, mode) >= mode)
            return mode;
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
    if (settings.fifo)
        config.registry.emplace("Direct3DHAL.NoDMA", "1");
    if (settings.subBuffers != 0)
        config.registry.emplace("Direct3DHAL.SubBuffers", fmt::to_string(settings.subBuffers));
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
    if (size.width < 1 || size.height < 1 || size.width > kMaxColumns || size.height > kMaxLines)
        throw UserError(fmt::format("impossible size {}x{}: expected 1x1 to {}x{}", size.width,
                                    size.height, kMaxColumns, kMaxLines));
}

Canvas::Canvas(const ChipChoice& chip, const Settings& settings, Recording& recording)
    : chip_(chip), settings_(settings) {
    CheckSize(settings.size);
    host::PowerCycle();
    const auto width = static_cast<uint32_t>(settings.size.width);
    const auto height = static_cast<uint32_t>(settings.size.height);
    const std::string mode = fmt::format("{}x{} at {} bits", width, height, settings.depth);
    host::DisplayConfig config = DisplayFor(chip, settings);
    for (const char* name : kMoreTextures)
        config.registry.emplace(name, "1");
    try {
        display_ = std::make_unique<host::Display>(std::move(config));
    } catch (const std::invalid_argument& refused) {
        throw UserError(
            fmt::format("the {} board has no mode for {}: {}", chip.name, mode, refused.what()));
    }
    if (recording.Wanted())
        display_->Board().SetRecorder(&recording);
    if (!display_->Start())
        throw UserError(fmt::format("the driver refused the {} board", chip.name));
    try {
        directDraw_ = std::make_unique<host::DirectDraw>(*display_);
        directDraw_->CreatePrimary();
        target_ = &directDraw_->CreateTarget(width, height);
        zBuffer_ = &directDraw_->CreateZBuffer(width, height);
        directDraw_->Attach(*target_, *zBuffer_);
    } catch (const host::ResultError& error) {
        throw UserError(fmt::format("the {} board cannot hold screen, target and depth buffer of "
                                    "{}: {}",
                                    chip.name, mode, host::ResultName(error.Result())));
    }
    device_ = std::make_unique<host::Device3D>(*directDraw_, *target_, zBuffer_);
    host::Check("BeginScene", device_->BeginScene());
    for (const host::RenderState& state : kFirstStates)
        device_->SetState(state.type, state.value);
}

Canvas::~Canvas() {
    // The recording may end before the board does.
    if (display_)
        display_->Board().SetRecorder(nullptr);
}

std::span<const DDSURFACEDESC> Canvas::Formats() const {
    const D3DHAL_GLOBALDRIVERDATA* device = display_->Driver()->D3DGlobalData;
    if (!chip_.drawsTextures || device == nullptr)
        return {};
    return {device->lpTextureFormats, device->dwNumTextureFormats};
}

std::vector<std::string> Canvas::TextureFormats() const {
    std::vector<std::string> names;
    for (const DDSURFACEDESC& announced : Formats())
        names.push_back(TexelFormatName(announced.ddpfPixelFormat));
    return names;
}

const DDPIXELFORMAT& Canvas::FormatFor(const TextureRequest& request) const {
    std::string wanted = request.format;
    if (wanted.empty()) {
        const Alpha alpha = AlphaOf(request.image);
        wanted = alpha == Alpha::None ? "rgb565" : alpha == Alpha::OnOff ? "argb1555" : "argb4444";
    }
    for (const DDSURFACEDESC& announced : Formats())
        if (TexelFormatName(announced.ddpfPixelFormat) == wanted)
            return announced.ddpfPixelFormat;
    throw UserError(fmt::format("no '{}' textures on the {} board: expected one of {}", wanted,
                                chip_.name, fmt::join(TextureFormats(), ", ")));
}

TextureHandle Canvas::MakeTexture(const TextureRequest& request) {
    if (!chip_.drawsTextures)
        throw UserError(fmt::format("{} ('{}') draws no textures: expected one of {}", chip_.about,
                                    chip_.name, TexturingChipNames()));
    const host::Picture& image = request.image;
    CheckSides(image);
    const DDPIXELFORMAT& format = FormatFor(request);
    std::optional<Rgba> key;
    if (request.colourKey)
        key = {static_cast<uint8_t>(*request.colourKey >> 16),
               static_cast<uint8_t>(*request.colourKey >> 8),
               static_cast<uint8_t>(*request.colourKey), 255};
    const TexelEncoder encode(format, image, key);
    std::vector<host::Picture> levels{image};
    if (request.mipMapped)
        levels = MipLevels(image, kSmallestLevel);
    const auto count = static_cast<uint32_t>(levels.size());
    try {
        host::Surface& texture =
            directDraw_->CreateTexture(image.width, image.height, format, count);
        host::Surface& source =
            directDraw_->CreateSystem(image.width, image.height, format, DDSCAPS_TEXTURE, count);
        for (uint32_t level = 0; level < count; ++level)
            Fill(level == 0 ? source : *source.Chain()[level - 1], levels[level], encode);
        if (HasPalette(format))
            directDraw_->SetPalette(texture, encode.Palette());
        if (key)
            directDraw_->SetSourceKey(texture, {encode(*key), encode(*key)});
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
    const uint32_t pixel = RawPixel(colour, target_->Format());
    FinishFill(directDraw_->Patiently([&] { return directDraw_->ColorFill(*target_, all, pixel); }),
               *target_, pixel);
    const uint32_t farthest = zBuffer_->Bits() == 32 ? ~0u : 0xFFFF;
    FinishFill(
        directDraw_->Patiently([&] { return directDraw_->DepthFill(*zBuffer_, all, farthest); }),
        *zBuffer_, farthest);
}

void Canvas::FinishFill(const host::HalAnswer& answer, host::Surface& surface, uint32_t value) {
    if (answer.handled) {
        host::Check("filling a surface", answer.result);
        return;
    }
    // What the driver does not take, the processor does.
    directDraw_->Finish(surface);
    for (uint32_t y = 0; y < surface.Height(); ++y)
        for (uint32_t x = 0; x < surface.Width(); ++x)
            surface.SetPixel(x, y, value);
}

void Canvas::State(D3DRENDERSTATETYPE type, DWORD value) {
    device_->SetState(type, value);
}

void Canvas::Triangles(std::span<const D3DTLVERTEX> vertices,
                       std::span<const D3DTRIANGLE> triangles) {
    host::Check("drawing triangles", device_->Triangles(vertices, triangles));
}

host::Picture Canvas::Finish() {
    device_->Finish();
    return host::ReadPicture(*target_);
}

std::string Canvas::Faults() {
    return display_->Board().FaultReport().Describe();
}

} // namespace korv
