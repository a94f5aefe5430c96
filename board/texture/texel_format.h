#pragma once
// Texel formats: from the bits of a texel to a colour.
#include "board/texture/lookup_table.h"
#include "board/texture/yuv.h"
#include "board/values/format.h"

#include <cstdint>
#include <optional>

namespace board {

struct TexelFormat {
    enum class Kind : uint8_t {
        Direct, // channels by `layout`
        Table,  // an index into the lookup table
        Index,  // an index that stays one: it fills red, green and blue
        Word,   // a colour word as it stands
        YUV,    // half of a pair; its bits come with the pair's colour (yuv.h)
    };
    Kind kind;
    bool opaque;       // alpha is 255 whatever the texel says
    uint8_t texelBits; // 4, 8, 16, 24 or 32
    PixelFormat layout;
};

// TextureMapFormat's texel size code in bits, none for unknown codes.
std::optional<uint8_t> PermediaTexelBits(uint32_t code);

// The format of a Permedia texture by its code and extension bit; texels are `texelBits` wide. With
// `lookUp` indexed formats go through the lookup table. None for codes that are not modelled.
std::optional<TexelFormat> PermediaTexelFormat(uint32_t code, uint32_t extension, bool redHigh,
                                               uint8_t texelBits, bool lookUp);

// The format of a Permedia texture that is converted from YUV, by the same codes. None for what is
// no YUV, or of another kind than pairs of pixels.
std::optional<TexelFormat> PermediaYUVFormat(uint32_t code, uint32_t extension, uint8_t texelBits);

// The format of a TX or MX texture by the logarithm of its texel's bits, and TextureFormat's
// components and order. None for combinations that are not modelled.
std::optional<TexelFormat> GlintTexelFormat(uint32_t logBits, uint32_t components, uint32_t order,
                                            bool redHigh);

// Colour of a texel, channels widened to 8 bits.
inline Colour TexelColour(const TexelFormat& format, const LookupTable& table, uint32_t texel) {
    Colour colour{};
    switch (format.kind) {
    case TexelFormat::Kind::Direct:
        colour = ExpandPixel(format.layout, texel);
        break;
    case TexelFormat::Kind::Table:
        colour = table.Entry(texel);
        break;
    case TexelFormat::Kind::Index: {
        // Wider ones come of formats that are not modelled.
        const auto index = static_cast<int32_t>(texel & 0xFF);
        colour = {index, index, index, 255};
        break;
    }
    case TexelFormat::Kind::Word:
        colour = ColourOfWord(texel);
        break;
    case TexelFormat::Kind::YUV:
        colour = ColourOfYUV(texel);
        break;
    }
    if (format.opaque) {
        colour.alpha = 255;
    }
    return colour;
}

// What the chroma test sees of a texel: fields at the top of their bytes, the bits below 0. Tables
// and whole words as they are.
inline Colour TexelKey(const TexelFormat& format, const LookupTable& table, uint32_t texel) {
    return format.kind == TexelFormat::Kind::Direct ? PixelFields(format.layout, texel)
                                                    : TexelColour(format, table, texel);
}

} // namespace board
