// Mode words to the state of the texture unit.
#include "board/texture/texture_unit.h"

#include <fmt/format.h>

#include <algorithm>

namespace board {

namespace {

// TextureBaseAddr0 and on count bits.
constexpr uint32_t kBitsPerByte = 8;
// Codes of the units' fields.
constexpr uint32_t kDropInside = 2;                      // YUVMode KeyMode
constexpr uint32_t kTXCopy = 1;                          // TextureFormat Application
constexpr uint32_t kModulate = 0, kDecal = 1, kCopy = 3; // TextureColorMode Application
constexpr uint32_t kWithHighlight = 4;                   // added to those
constexpr uint32_t kBaseRGB = 0, kBaseRGBA = 1;          // TextureColorMode BaseFormat
// TextureColorMode bits that no driver turns on.
constexpr uint32_t kUnknownColourModes = 0x30;

Wrap DecodeWrap(uint32_t code, FaultCounts& faults) {
    if (code > static_cast<uint32_t>(Wrap::Mirror)) {
        ++faults.unmodelled["texture wrap code 3"];
        return Wrap::Repeat;
    }
    return static_cast<Wrap>(code);
}

TexelFormat FormatOrFault(std::optional<TexelFormat> format, uint8_t texelBits, FaultCounts& faults,
                          uint32_t code, uint32_t extension) {
    if (format) {
        return *format;
    }
    ++faults.unmodelled[fmt::format("texel format {:X}/{:X}", code, extension)];
    return TexelFormat{TexelFormat::Kind::Index, false, texelBits, {}};
}

// The application modes of Permedia and MX, and of TX when it does not copy.
void DecodeApplication(const RegisterFile& registers, TextureState& state, FaultCounts& faults) {
    state.applied = registers.Get(field::TextureColorMode_Enable) != 0;
    if (!state.applied) {
        return;
    }
    const uint32_t mode = registers.Get(field::TextureColorMode_Application);
    switch (mode & ~kWithHighlight) {
    case kModulate:
        state.application = TextureApplication::Modulate;
        break;
    case kDecal:
        state.application = TextureApplication::Decal;
        break;
    case kCopy:
        state.application = TextureApplication::Copy;
        break;
    default:
        ++faults.unmodelled[fmt::format("texture application {}", mode)];
        break;
    }
    state.highlighted =
        (mode & kWithHighlight) != 0 && registers.Get(field::TextureColorMode_Specular) != 0;
    if ((registers[tag::TextureColorMode] & kUnknownColourModes) != 0) {
        ++faults.unmodelled["texture colour mode bits 4-5"];
    }
    if (registers.Get(field::TextureColorMode_BaseFormatEnable) != 0) {
        const uint32_t base = registers.Get(field::TextureColorMode_BaseFormat);
        state.ignoreAlpha = base == kBaseRGB;
        if (base != kBaseRGB && base != kBaseRGBA) {
            ++faults.unmodelled[fmt::format("texture base format {}", base)];
        }
    }
}

void DecodePermediaMemory(const RegisterFile& registers, const Memories& memories,
                          const HostMemory& host, uint32_t texelBits, TextureState& state) {
    const uint32_t base = registers[tag::TextureBaseAddress];
    TextureLevel& level = state.levels[0];
    std::span<const uint8_t> memory = memories.frameBuffer;
    level.base = base & ~kTextureBaseInAGP;
    if ((base & kTextureBaseInAGP) != 0) {
        const uint64_t offset = uint64_t{base & ~kTextureBaseInAGP} * texelBits / kBitsPerByte;
        memory = host.From(registers.Aperture(reg::AGPTextureBase) + static_cast<uint32_t>(offset));
        level.base = 0;
    }
    state.memory = memory.data();
    state.bytes = static_cast<int64_t>(memory.size());
    state.patched = registers.Get(field::TextureMapFormat_Patched) != 0;
    level.pitch = PitchFromProducts(registers[tag::TextureMapFormat]);
    level.logWidth = registers.Get(field::TextureReadMode_Width);
    level.logHeight = registers.Get(field::TextureReadMode_Height);
    state.levelCount = 1;
}

void DecodePermedia(const RegisterFile& registers, const Memories& memories, const HostMemory& host,
                    TextureState& state, FaultCounts& faults) {
    const uint32_t size = registers.Get(field::TextureMapFormat_TexelSize);
    const std::optional<uint8_t> bits = PermediaTexelBits(size);
    if (!bits) {
        ++faults.unmodelled[fmt::format("texel size code {}", size)];
    }
    const uint8_t texelBits = bits.value_or(8);
    DecodePermediaMemory(registers, memories, host, texelBits, state);
    // One scale for both axes: S / Q and T / Q are texels already.
    state.scaleS = state.scaleT = static_cast<double>(int64_t{1} << kQFractionBits);
    state.wrapS = DecodeWrap(registers.Get(field::TextureReadMode_WrapS), faults);
    state.wrapT = DecodeWrap(registers.Get(field::TextureReadMode_WrapT), faults);
    state.magLinear = registers.Get(field::TextureReadMode_Filter) != 0;
    state.minFilter = state.magLinear ? MinFilter::Linear : MinFilter::Nearest;

    const uint32_t code = registers.Get(field::TextureDataFormat_Format);
    const uint32_t extension = registers.Get(field::TextureDataFormat_FormatExtension);
    const bool redHigh = registers.Get(field::TextureDataFormat_ColorOrder) != 0;
    const bool lookUp = registers.Get(field::TexelLUTMode_Enable) != 0;
    const bool yuv = registers.Get(field::YUVMode_Enable) != 0;
    state.format =
        FormatOrFault(yuv ? PermediaYUVFormat(code, extension, texelBits)
                          : PermediaTexelFormat(code, extension, redHigh, texelBits, lookUp),
                      texelBits, faults, code, extension);
    state.format.opaque = registers.Get(field::TextureDataFormat_NoAlpha) != 0;
    if (registers.Get(field::TextureDataFormat_KeyMode) != 0) {
        ++faults.unmodelled["texel key"];
    }
    const uint32_t keyMode = registers.Get(field::YUVMode_KeyMode);
    if (keyMode == kDropInside) {
        state.chroma = {ChromaKey::Action::DropInside,
                        ColourOfWord(registers[tag::ChromaLowerBound]),
                        ColourOfWord(registers[tag::ChromaUpperBound])};
    } else if (keyMode != 0) {
        ++faults.unmodelled[fmt::format("chroma test mode {}", keyMode)];
    }
    DecodeApplication(registers, state, faults);
}

// Maps lie in the local buffer, rows without gaps. Their layout is linear here, though the driver
// asks for patched downloads: no word tells the reading side which maps are patched.
void DecodeGlintMemory(const DeviceRow& chip, const RegisterFile& registers,
                       const Memories& memories, TextureState& state) {
    state.memory = memories.localBuffer.data();
    state.bytes = static_cast<int64_t>(memories.localBuffer.size());
    const uint32_t logWidth = registers.Get(field::GlintTextureReadMode_Width);
    const uint32_t logHeight = registers.Get(field::GlintTextureReadMode_Height);
    const bool mipMapped = chip.model == ChipModel::MX &&
                           registers.Get(field::GlintTextureReadMode_MipMap) != 0 &&
                           registers.Get(field::TextureAddressMode_LevelOfDetail) != 0;
    state.levelCount = mipMapped ? std::min(std::max(logWidth, logHeight) + 1, kMaxLevels) : 1;
    for (uint32_t i = 0; i < state.levelCount; ++i) {
        TextureLevel& level = state.levels[i];
        level.logWidth = logWidth - std::min(i, logWidth);
        level.logHeight = logHeight - std::min(i, logHeight);
        level.pitch = int64_t{1} << level.logWidth;
        level.base = registers[tag::TextureBaseAddr0 + i] / state.format.texelBits;
    }
}

void DecodeGlint(const DeviceRow& chip, const RegisterFile& registers, const Memories& memories,
                 TextureState& state, FaultCounts& faults) {
    const uint32_t logBits = registers.Get(field::GlintTextureReadMode_TexelSize);
    const uint32_t components = registers.Get(field::TextureFormat_Components);
    state.format = FormatOrFault(GlintTexelFormat(logBits, components,
                                                  registers.Get(field::TextureFormat_ColorOrder),
                                                  registers.Get(field::TextureFormat_RedHigh) != 0),
                                 8, faults, logBits, components);
    DecodeGlintMemory(chip, registers, memories, state);
    constexpr auto kTexel = static_cast<double>(1 << kTexelFractionBits);
    state.scaleS = kTexel * static_cast<double>(1 << state.levels[0].logWidth);
    state.scaleT = kTexel * static_cast<double>(1 << state.levels[0].logHeight);
    state.glintTexels = true;
    state.wrapS = DecodeWrap(registers.Get(field::GlintTextureReadMode_WrapS), faults);
    state.wrapT = DecodeWrap(registers.Get(field::GlintTextureReadMode_WrapT), faults);
    state.magLinear = registers.Get(field::GlintTextureReadMode_MagFilter) != 0;
    const uint32_t minFilter = registers.Get(field::GlintTextureReadMode_MinFilter);
    state.minFilter = static_cast<MinFilter>(minFilter);
    if (minFilter > static_cast<uint32_t>(MinFilter::LinearMipLinear)) {
        ++faults.unmodelled[fmt::format("minification filter {}", minFilter)];
        state.minFilter = MinFilter::Nearest;
    }
    if (chip.model == ChipModel::MX && registers.Get(field::TextureFilterMode_KeyTest) != 0) {
        state.chroma = {ChromaKey::Action::KeyAlpha,
                        ColourOfWord(registers[tag::TextureChromaLower]),
                        ColourOfWord(registers[tag::TextureChromaUpper])};
    }
    if (chip.model == ChipModel::TX && registers.Get(field::TextureFormat_Application) == kTXCopy) {
        state.applied = true;
        state.application = TextureApplication::Copy;
    } else {
        DecodeApplication(registers, state, faults);
    }
}

} // namespace

TextureState DecodeTexture(const DeviceRow& chip, const RegisterFile& registers,
                           const Memories& memories, const HostMemory& host,
                           const LookupTables& tables, FaultCounts& faults) {
    const auto on = [&registers](const Field& field) { return registers.Get(field) != 0; };
    TextureState state{};
    const bool asked =
        on(field::Render_Texture) && on(field::TextureAddressMode_Enable) &&
        on(chip.IsPermedia() ? field::TextureReadMode_Enable : field::GlintTextureReadMode_Enable);
    state.enabled = asked && chip.textures;
    if (!state.enabled) {
        if (asked) {
            ++faults.unmodelled["texture unit"];
        }
        return state;
    }
    state.perspective = on(field::TextureAddressMode_Perspective);
    state.centred = on(field::Render_SubPixelCorrection);
    if (chip.IsPermedia()) {
        DecodePermedia(registers, memories, host, state, faults);
    } else {
        DecodeGlint(chip, registers, memories, state, faults);
    }
    state.table = state.format.texelBits == 4 ? &tables.small : &tables.large;
    return state;
}

} // namespace board
