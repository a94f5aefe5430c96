#include "tools/korv/chips/capabilities.h"

#include "tools/korv/chips/flag_names.h"

#include <fmt/format.h>

#include <bit>
#include <iterator>

namespace korv {

namespace {

class Listing {
  public:
    void Heading(std::string_view heading) { fmt::format_to(Out(), "{}\n", heading); }
    void Word(std::string_view field, uint32_t word) {
        fmt::format_to(Out(), "  {:<30} 0x{:08X}\n", field, word);
    }
    void Flags(std::string_view field, uint32_t word, std::span<const FlagName> table) {
        Word(field, word);
        for (const std::string& name : NamesOf(word, table)) {
            fmt::format_to(Out(), "    {}\n", name);
        }
    }
    void Number(std::string_view field, uint32_t value) {
        fmt::format_to(Out(), "  {:<30} {}\n", field, value);
    }
    void Line(std::string_view line) { fmt::format_to(Out(), "  {}\n", line); }
    std::string Take() { return std::move(text_); }

  private:
    std::back_insert_iterator<std::string> Out() { return std::back_inserter(text_); }
    std::string text_;
};

void ListPrimitive(Listing& list, std::string_view heading, const D3DPRIMCAPS& caps) {
    list.Heading(heading);
    list.Flags("dwMiscCaps", caps.dwMiscCaps, flags::kMisc);
    list.Flags("dwRasterCaps", caps.dwRasterCaps, flags::kRaster);
    list.Flags("dwZCmpCaps", caps.dwZCmpCaps, flags::kCompare);
    list.Flags("dwSrcBlendCaps", caps.dwSrcBlendCaps, flags::kBlend);
    list.Flags("dwDestBlendCaps", caps.dwDestBlendCaps, flags::kBlend);
    list.Flags("dwAlphaCmpCaps", caps.dwAlphaCmpCaps, flags::kCompare);
    list.Flags("dwShadeCaps", caps.dwShadeCaps, flags::kShade);
    list.Flags("dwTextureCaps", caps.dwTextureCaps, flags::kTexture);
    list.Flags("dwTextureFilterCaps", caps.dwTextureFilterCaps, flags::kFilter);
    list.Flags("dwTextureBlendCaps", caps.dwTextureBlendCaps, flags::kTextureBlend);
    list.Flags("dwTextureAddressCaps", caps.dwTextureAddressCaps, flags::kAddress);
    list.Number("dwStippleWidth", caps.dwStippleWidth);
    list.Number("dwStippleHeight", caps.dwStippleHeight);
}

std::string_view ColourModelName(D3DCOLORMODEL model) {
    return model == D3DCOLOR_RGB ? "D3DCOLOR_RGB" : model == D3DCOLOR_MONO ? "D3DCOLOR_MONO" : "";
}

} // namespace

std::string FormatName(const DDPIXELFORMAT& format) {
    const uint32_t bits = format.dwRGBBitCount;
    if (format.dwFlags & DDPF_ZBUFFER) {
        return fmt::format("Z{}", bits);
    }
    if (format.dwFlags & DDPF_FOURCC) {
        std::string code;
        for (int i = 0; i < 4; ++i) {
            code += static_cast<char>(format.dwFourCC >> (8 * i));
        }
        return code;
    }
    std::string name;
    if (format.dwFlags & (DDPF_PALETTEINDEXED4 | DDPF_PALETTEINDEXED8)) {
        name = fmt::format("PAL{}", bits);
    } else {
        const auto width = [](uint32_t mask) { return std::popcount(mask); };
        const std::string colours = fmt::format("{}{}{}", width(format.dwRBitMask),
                                                width(format.dwGBitMask), width(format.dwBBitMask));
        name = format.dwFlags & DDPF_ALPHAPIXELS
                   ? fmt::format("ARGB{}{}", width(format.dwRGBAlphaBitMask), colours)
                   : "RGB" + colours;
    }
    return fmt::format("{}, {} bits", name, bits);
}

std::string DescribeCaps(const DDCORECAPS& caps) {
    Listing list;
    list.Heading("DirectDraw");
    list.Flags("dwCaps", caps.dwCaps, flags::kDDCaps);
    list.Flags("dwCaps2", caps.dwCaps2, flags::kDDCaps2);
    list.Flags("dwCKeyCaps", caps.dwCKeyCaps, flags::kColourKey);
    list.Flags("dwFXCaps", caps.dwFXCaps, flags::kFx);
    list.Flags("ddsCaps", caps.ddsCaps.dwCaps, flags::kSurface);
    list.Flags("dwZBufferBitDepths", caps.dwZBufferBitDepths, flags::kBitDepths);
    list.Flags("dwAlphaBltConstBitDepths", caps.dwAlphaBltConstBitDepths, flags::kBitDepths);
    list.Flags("dwAlphaBltPixelBitDepths", caps.dwAlphaBltPixelBitDepths, flags::kBitDepths);
    list.Flags("dwAlphaBltSurfaceBitDepths", caps.dwAlphaBltSurfaceBitDepths, flags::kBitDepths);
    list.Flags("dwAlphaOverlayConstBitDepths", caps.dwAlphaOverlayConstBitDepths,
               flags::kBitDepths);
    list.Flags("dwAlphaOverlayPixelBitDepths", caps.dwAlphaOverlayPixelBitDepths,
               flags::kBitDepths);
    list.Flags("dwAlphaOverlaySurfaceBitDepths", caps.dwAlphaOverlaySurfaceBitDepths,
               flags::kBitDepths);
    list.Flags("dwSVBCaps", caps.dwSVBCaps, flags::kDDCaps);
    // A raster operation has its bit in word (number / 32) of the map.
    list.Heading("Raster operations");
    for (uint32_t rop = 0; rop < DD_ROP_SPACE * 32; ++rop) {
        if (caps.dwRops[rop / 32] >> (rop % 32) & 1) {
            list.Line(fmt::format("0x{:02X}", rop));
        }
    }
    return list.Take();
}

std::string DescribeDevice(const D3DHAL_GLOBALDRIVERDATA& device) {
    const D3DDEVICEDESC& caps = device.hwCaps;
    Listing list;
    list.Heading("Direct3D device");
    list.Flags("dwFlags", caps.dwFlags, flags::kDescription);
    list.Word("dcmColorModel", caps.dcmColorModel);
    if (const auto name = ColourModelName(caps.dcmColorModel); !name.empty()) {
        list.Line(fmt::format("  {}", name));
    }
    list.Flags("dwDevCaps", caps.dwDevCaps, flags::kDevice);
    list.Flags("dwDeviceRenderBitDepth", caps.dwDeviceRenderBitDepth, flags::kBitDepths);
    list.Flags("dwDeviceZBufferBitDepth", caps.dwDeviceZBufferBitDepth, flags::kBitDepths);
    list.Number("dwMaxBufferSize", caps.dwMaxBufferSize);
    list.Number("dwMaxVertexCount", caps.dwMaxVertexCount);
    ListPrimitive(list, "Lines", caps.dpcLineCaps);
    ListPrimitive(list, "Triangles", caps.dpcTriCaps);
    list.Heading(fmt::format("Texture formats: {}", device.dwNumTextureFormats));
    for (uint32_t i = 0; i < device.dwNumTextureFormats; ++i) {
        list.Line(FormatName(device.lpTextureFormats[i].ddpfPixelFormat));
    }
    return list.Take();
}

} // namespace korv
