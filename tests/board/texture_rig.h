#pragma once
// A board with a map in its texture memory and a 64 pixels wide 32-bit target for raw colours.
#include "tests/board/rig.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace rig {

inline constexpr uint32_t kTexture = 0x2000;
inline constexpr uint32_t kWrapClamp = 0, kWrapRepeat = 1, kWrapMirror = 2;
inline constexpr uint32_t kModulate = 0, kDecal = 1, kCopy = 3;
// Permedia's texel size codes.
inline constexpr uint32_t kTexel8 = 0, kTexel16 = 1, kTexel32 = 2, kTexel4 = 3, kTexel24 = 4;

// Where maps are put: bytes from the start of the frame buffer or of the local buffer.
inline constexpr uint32_t kMapPlace = 0x8000;

// A colour word: red in the low byte.
constexpr uint32_t Rgba(uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha) {
    return red | green << 8 | blue << 16 | alpha << 24;
}

inline uint32_t Fixed(double value, uint32_t fractionBits) {
    return static_cast<uint32_t>(
        static_cast<int64_t>(std::floor(std::ldexp(value, static_cast<int>(fractionBits)) + 0.5)));
}

class TextureRig : public Rig {
  public:
    explicit TextureRig(board::Chip which = board::Chip::Permedia2)
        : TextureRig(SmallConfig(which)) {}
    explicit TextureRig(const board::Config& config) : Rig(config), chip(config.chip) {
        Send({{tag::FBReadMode, kPitch64},
              {tag::FBReadPixel, k32Bits},
              {tag::PixelSize, 0},
              {tag::FBWriteMode, 1},
              {tag::Color, 0xFFFFFFFF}});
    }

    bool IsPermedia() const {
        return chip == board::Chip::Permedia || chip == board::Chip::Permedia2;
    }
    uint8_t* Map() {
        return (IsPermedia() ? board.FrameBuffer() : board.LocalBuffer()).data() + kMapPlace;
    }
    template <typename T>
    void SetTexels(const std::vector<T>& texels) {
        std::memcpy(Map(), texels.data(), texels.size() * sizeof(T));
    }

    // A map of 32-bit texels, red in the low byte, rows 2^logWidth texels apart, at least 32 on
    // Permedia. `wrap` holds for both axes.
    void Bind32(uint32_t logWidth, uint32_t logHeight, uint32_t wrap, bool linear,
                uint32_t application = kCopy) {
        width = 1u << logWidth;
        if (IsPermedia()) {
            Send({{tag::TextureBaseAddress, kMapPlace / 4},
                  {tag::TextureMapFormat, kTexel32 << 19 | (logWidth < 5 ? 1 : logWidth - 4)},
                  {tag::TextureDataFormat, 0},
                  {tag::TextureReadMode, 1 | wrap << 1 | wrap << 3 | logWidth << 9 |
                                             logHeight << 13 | (linear ? 1u << 17 : 0)},
                  {tag::TextureAddressMode, 1},
                  {tag::TextureColorMode, 1 | application << 1}});
            return;
        }
        Send({{tag::TextureBaseAddr0, kMapPlace * 8},
              {tag::TextureFormat, 3 << 3},
              {tag::GlintTextureReadMode, 1 | logWidth << 1 | logHeight << 5 | 5 << 9 |
                                              (linear ? 1u << 14 | 1u << 15 : 0) | wrap << 18 |
                                              wrap << 20},
              {tag::TextureAddressMode, 3},
              {tag::TextureColorMode, 1 | application << 1}});
    }

    // S and T in texels: their values at the first pixel and their steps.
    void Coordinates(double s, double dsdx, double t, double dtdy) {
        const uint32_t bits = IsPermedia() ? 20 : 30;
        const double unit = IsPermedia() ? 1 : width;
        Send({{tag::SStart, Fixed(s / unit, bits)},
              {tag::dSdx, Fixed(dsdx / unit, bits)},
              {tag::dSdyDom, 0},
              {tag::TStart, Fixed(t / unit, bits)},
              {tag::dTdx, 0},
              {tag::dTdyDom, Fixed(dtdy / unit, bits)},
              {tag::QStart, 1u << 30},
              {tag::dQdx, 0},
              {tag::dQdyDom, 0}});
    }

    // Sends a map's texels one to one to the target's corner.
    void DrawMap(uint32_t columns, uint32_t rows, uint32_t renderBits = 0) {
        Coordinates(0, 1, 0, 1);
        Rectangle(0, 0, static_cast<int>(columns), static_cast<int>(rows), kTexture | renderBits);
    }

    board::Chip chip;
    uint32_t width = 1; // texels of the map, its height must be the same on Glint
};

} // namespace rig
