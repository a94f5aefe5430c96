#pragma once
// A plain rasteriser in doubles, written from what the interface promises and not from how the
// driver sets triangles up: what a picture of the same vertices should look like.
#include "driver/platform/d3dhal.h"
#include "tools/korv/reference/texture.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace korv::reference {

// The render states that matter for triangles.
struct DrawState {
    uint32_t cull = D3DCULL_NONE;
    bool gouraud = true;
    bool specular = false;
    bool zEnable = false;
    bool zWrite = true;
    uint32_t zFunc = D3DCMP_LESSEQUAL;
    bool fog = false;
    uint32_t fogColor = 0; // D3DCOLOR
    bool blend = false;
    uint32_t source = D3DBLEND_ONE;
    uint32_t dest = D3DBLEND_ZERO;
    bool stippledAlpha = false;
    std::shared_ptr<const Texture> texture;
    uint32_t filter = D3DFILTER_NEAREST; // that or D3DFILTER_LINEAR
    uint32_t address = D3DTADDRESS_WRAP;
    uint32_t textureBlend = D3DTBLEND_MODULATE;
    bool perspective = false;
    bool wrapU = false, wrapV = false; // the short way round from corner to corner
    bool operator==(const DrawState&) const = default;
};

struct Vertex {
    float x, y, z = 0;
    uint32_t color; // D3DCOLOR
    uint32_t specular = 0xFF000000;
    float rhw = 1, u = 0, v = 0;
};

struct Triangle3 {
    Vertex a, b, c;
    DrawState state;
};

using Channels = std::array<double, 3>; // red, green, blue, 0 to 255

// Which of a texture's levels a triangle takes by its detail.
enum class Levels { Largest, RoundedDown, Nearest };

// What the interface leaves to a chip, or a chip has of its own.
struct ChipTraits {
    // Colours of textured triangles are brightened on their way to the chip.
    bool brightensGouraud = false, brightensFlat = false;
    // How far below its middle a row is sampled, in pixels. Where the driver sets triangles up, the
    // values at the bottom corner's row go to the first row above it: half a pixel.
    double rowShift = 0;
    // Stippled alpha goes by the first corner's alpha, not the bottom one's.
    bool stipplesByFirst = false;
    // Specular light on a texture is lost.
    bool losesTexturedSpecular = false;
    Levels levels = Levels::Largest;
};

// A channel as a chip that brightens gets it: the root of its fraction of full scale, one less in
// green and one more in red.
double Brightened(uint32_t channel, int shift);

// Logarithm to base 2 of how many texels of the largest level lie along a pixel's side, by the
// areas of a triangle that has some.
double DetailOf(const Triangle3& triangle);

// Moves two corners' coordinates along one axis by whole repeats to where they are nearest to the
// first corner's.
void TakeShortWay(float first, float& second, float& third);

struct Image {
    uint32_t width, height;
    std::vector<uint8_t> rgba;
    const uint8_t* At(uint32_t x, uint32_t y) const { return &rgba[(y * width + x) * 4]; }
};

class Reference {
  public:
    Reference(uint32_t width, uint32_t height, uint32_t background, const ChipTraits& traits = {});
    // Over a picture.
    explicit Reference(const Image& background, const ChipTraits& traits = {});
    // `apron`: so many pixels around it are drawn too, with what would be there if it went on;
    // below 0: so many along its edges are left out.
    void Draw(const Triangle3& triangle, double apron = 0);

    // Samples across a pixel, each way: edges that pass between two pixel centres are seen too.
    static constexpr uint32_t kScale = 3;

    uint32_t Width() const { return width_; } // pixels
    uint32_t Height() const { return height_; }
    // Colour in the middle of a pixel.
    const Channels& At(uint32_t x, uint32_t y) const {
        return Sample(x * kScale + kScale / 2, y * kScale + kScale / 2);
    }
    const Channels& Sample(uint32_t sx, uint32_t sy) const {
        return colour_[sy * width_ * kScale + sx];
    }
    // Tells samples apart that were made by different triangles, or different layers of them.
    uint64_t LayersOf(uint32_t sx, uint32_t sy) const { return layers_[sy * width_ * kScale + sx]; }

  private:
    uint32_t width_, height_;
    ChipTraits traits_;
    // By samples.
    std::vector<Channels> colour_;
    std::vector<double> depth_;
    std::vector<uint64_t> layers_;
    uint64_t drawn_ = 0;
};

// What a comparison found; `ok` with an empty text when the picture holds.
struct Verdict {
    uint32_t bad = 0;      // pixels
    uint32_t compared = 0; // pixels
    std::string first;     // the first bad one
};

// Every pixel lies, channel by channel, within `tolerance` of colours that the reference shows
// there or one pixel away: edges may sit one pixel off, colours may not. The colours of `others`
// are as good: the same with aprons.
Verdict CompareWithinOnePixel(const Image& picture, const Reference& reference, double tolerance,
                              std::span<const Reference> others = {});

// Pixels whose whole 5 x 5 neighbourhood is of the same layers (no edge near) are within
// `tolerance` of the reference's own value.
Verdict CompareInteriors(const Image& picture, const Reference& reference, double tolerance);

} // namespace korv::reference
