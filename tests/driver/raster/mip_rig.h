#pragma once
// A texture with nine levels on the rig of a setup unit, told apart by their fields.
#include "tests/driver/raster/setup_rig.h"

#include <cstdint>
#include <vector>

namespace test {

// 256 by 128 texels; level n is at address 0x100000 + n.
template <class Base>
struct MipRig : Base {
    TextureRecord texture{};

    explicit MipRig(bool dma = true) : Base(dma) {
        texture.TexelCount = 256.0f * 256.0f;
        texture.LevelCount = 9;
        for (uint32_t n = 0; n < kMaxTextureLevels; ++n) {
            TextureLevel& level = texture.Levels[n];
            level.LogWidth = n < 8 ? 8 - n : 0;
            level.LogHeight = n < 7 ? 7 - n : 0;
            level.WidthScale = 1.0f / static_cast<float>(8u << n);
            level.HeightScale = 1.0f / static_cast<float>(16u << n);
            level.PP0 = n % 8;
            level.PP1 = (n + 1) % 8;
            level.PP2 = (n + 3) % 8;
            level.Address = 0x100000 + n;
        }
        this->ctx.CurrentTexture = &texture;
        this->ctx.TextureMagLinear = 1;
        this->ctx.TextureMinLinear = 0;
        this->ctx.Copies.TextureReadMode = 0xFFFFFFFF;
        this->ctx.Copies.TextureMapFormat = 0xFFFFFFFF;
    }

    // A random state with another number of levels, filters and copies.
    void Randomise(SetupRandom& random, uint32_t flags) {
        random.State(*this, flags);
        texture.LevelCount = 1 + random.Pick(9);
        this->ctx.TextureMagLinear = random.Pick(3);
        this->ctx.TextureMinLinear = random.Pick(3);
        this->ctx.Copies.TextureReadMode = random.Pick(0x40000);
        this->ctx.Copies.TextureMapFormat = random.Pick(0x40000);
    }
};

// A right-angled triangle `size` pixels wide and high over the texture coordinates 0 to `span`,
// with a positive determinant.
inline std::vector<D3DTLVERTEX> Corner(float size, float span) {
    std::vector<D3DTLVERTEX> v = {Vertex(100 + size, 100), Vertex(100, 100 + size),
                                  Vertex(100, 100)};
    v[0].tu = span;
    v[1].tv = span;
    return v;
}

// The level that the words program at their head.
inline uint32_t LevelOf(const Words& words) {
    EXPECT_EQ(words.at(0), t::TextureReadMode);
    EXPECT_EQ(words.at(2), t::TextureMapFormat);
    EXPECT_EQ(words.at(4), t::TextureBaseAddress);
    return words.at(5) - 0x100000;
}

} // namespace test
