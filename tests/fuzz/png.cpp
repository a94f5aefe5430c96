// PNGs, and the texels made of them. An input: such a file.
#include "tools/korv/images/png.h"

#include "host/ddraw/format.h"
#include "tests/fuzz/target.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/images/texels.h"

#include <sstream>

namespace fuzz {

void RunPng(Bytes bytes) {
    constexpr size_t kMostPixels = 4096;
    host::Picture picture;
    try {
        picture = korv::DecodePng({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    } catch (const korv::UserError&) {
        return;
    }
    const size_t pixels = size_t{picture.width} * picture.height;
    Expect(pixels != 0 && picture.rgba.size() == pixels * 4, "a picture without its pixels");
    if (pixels > kMostPixels) {
        return;
    }
    for (const DDPIXELFORMAT& format :
         {host::PaletteFormat(4), host::PaletteFormat(8), host::Format565(), host::Format4444()}) {
        const korv::TexelEncoder encode(format, picture, picture.At(0, 0));
        for (const host::Picture& level : korv::MipLevels(picture, 1)) {
            for (uint32_t i = 0; i < level.width && i < level.height; ++i) {
                const uint32_t texel = encode(level.At(i, i));
                Expect(format.dwRGBBitCount >= 32 || texel >> format.dwRGBBitCount == 0,
                       "a texel of more bits than its format");
            }
        }
    }
    // What is written is read as it was.
    std::ostringstream written;
    korv::WritePng(written, picture, korv::PngChannels::Rgba);
    Expect(korv::DecodePng(written.str()).rgba == picture.rgba, "another picture when written");
}

} // namespace fuzz
