#include "board/texture/texel_format.h"

namespace board {

namespace {

// Codes of indexed texels.
constexpr uint32_t kIndex8 = 14;
constexpr uint32_t kIndex4 = 15;
// Codes of YUV texels, with the extension bit.
constexpr uint32_t kYUV411 = 2;
constexpr uint32_t kYUV422 = 3;

// FormatOfCode's codes for the layouts of TX and MX.
struct Code {
    uint32_t code, extension;
};
constexpr Code k8888{0, 0}, k565{0, 1}, k1555{1, 0}, k4444{2, 0}, k332{5, 0}, k1232{9, 0};

} // namespace

std::optional<uint8_t> PermediaTexelBits(uint32_t code) {
    switch (code) {
    case 0:
        return 8;
    case 1:
        return 16;
    case 2:
        return 32;
    case 3:
        return 4;
    case 4:
        return 24;
    default:
        return std::nullopt;
    }
}

std::optional<TexelFormat> PermediaTexelFormat(uint32_t code, uint32_t extension, bool redHigh,
                                               uint8_t texelBits, bool lookUp) {
    if (code == kIndex8 || code == kIndex4) {
        return TexelFormat{
            lookUp ? TexelFormat::Kind::Table : TexelFormat::Kind::Index, false, texelBits, {}};
    }
    if (extension != 0 && (code == kYUV411 || code == kYUV422)) {
        return std::nullopt;
    }
    const std::optional<PixelFormat> layout = FormatOfCode(code, extension, redHigh);
    if (!layout) {
        return std::nullopt;
    }
    return TexelFormat{TexelFormat::Kind::Direct, false, texelBits, *layout};
}

std::optional<TexelFormat> PermediaYUVFormat(uint32_t code, uint32_t extension, uint8_t texelBits) {
    if (code != kYUV422 || extension == 0 || texelBits != 16) {
        return std::nullopt;
    }
    return TexelFormat{TexelFormat::Kind::YUV, true, texelBits, {}};
}

std::optional<TexelFormat> GlintTexelFormat(uint32_t logBits, uint32_t components, uint32_t order,
                                            bool redHigh) {
    const auto bits = static_cast<uint8_t>(1u << logBits);
    // Alpha belongs to formats of four components.
    const bool opaque = components != 3;
    if (components == 0) {
        return TexelFormat{TexelFormat::Kind::Word, false, bits, {}};
    }
    const auto direct = [&](Code code) {
        return TexelFormat{TexelFormat::Kind::Direct, opaque, bits,
                           *FormatOfCode(code.code, code.extension, redHigh)};
    };
    const TexelFormat indexed{TexelFormat::Kind::Table, false, bits, {}};
    switch (bits) {
    case 4:
        return indexed;
    case 8:
        return order != 0 ? indexed : direct(opaque ? k332 : k1232);
    case 16:
        return direct(order != 0 ? k1555 : opaque ? k565 : k4444);
    case 32:
        return direct(k8888);
    default:
        return std::nullopt;
    }
}

} // namespace board
