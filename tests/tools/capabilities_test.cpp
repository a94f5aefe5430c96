#include "tools/korv/chips/capabilities.h"
#include "tools/korv/chips/flag_names.h"

#include <gtest/gtest.h>

namespace korv {
namespace {

TEST(FlagNames, NameEachBitFromTheLowestUp) {
    EXPECT_EQ(NamesOf(0x13, flags::kBlend),
              (std::vector<std::string>{"D3DPBLENDCAPS_ZERO", "D3DPBLENDCAPS_ONE",
                                        "D3DPBLENDCAPS_SRCALPHA"}));
    EXPECT_EQ(NamesOf(0x500, flags::kBitDepths), (std::vector<std::string>{"DDBD_32", "DDBD_16"}));
    EXPECT_TRUE(NamesOf(0, flags::kBlend).empty());
}

TEST(FlagNames, BitsWithoutANameAreShownAsNumbers) {
    EXPECT_EQ(NamesOf(0x40000004, flags::kCompare),
              (std::vector<std::string>{"D3DPCMPCAPS_EQUAL", "0x40000000"}));
}

DDPIXELFORMAT Format(DWORD formatFlags, DWORD bits, DWORD red = 0, DWORD green = 0, DWORD blue = 0,
                     DWORD alpha = 0) {
    DDPIXELFORMAT format{};
    format.dwFlags = formatFlags;
    format.dwRGBBitCount = bits;
    format.dwRBitMask = red;
    format.dwGBitMask = green;
    format.dwBBitMask = blue;
    format.dwRGBAlphaBitMask = alpha;
    return format;
}

TEST(FormatName, TellsKindAndWidths) {
    EXPECT_EQ(FormatName(Format(DDPF_RGB, 16, 0xF800, 0x7E0, 0x1F)), "RGB565, 16 bits");
    EXPECT_EQ(FormatName(Format(DDPF_RGB | DDPF_ALPHAPIXELS, 8, 0x60, 0x1C, 3, 0x80)),
              "ARGB1232, 8 bits");
    EXPECT_EQ(FormatName(Format(DDPF_RGB | DDPF_PALETTEINDEXED4, 4)), "PAL4, 4 bits");
    EXPECT_EQ(FormatName(Format(DDPF_ZBUFFER, 16)), "Z16");
}

TEST(Capabilities, ListsWordsFlagsAndFormats) {
    DDSURFACEDESC formats[2]{};
    formats[0].ddpfPixelFormat = Format(DDPF_RGB, 16, 0x7C00, 0x3E0, 0x1F);
    formats[1].ddpfPixelFormat = Format(DDPF_RGB | DDPF_PALETTEINDEXED8, 8);
    D3DHAL_GLOBALDRIVERDATA device{};
    device.hwCaps.dcmColorModel = D3DCOLOR_RGB;
    device.hwCaps.dpcTriCaps.dwRasterCaps = 0xB1;
    device.hwCaps.dwDeviceZBufferBitDepth = 0x400;
    device.dwNumTextureFormats = 2;
    device.lpTextureFormats = formats;
    const std::string text = DescribeDevice(device);
    EXPECT_NE(text.find("dwRasterCaps                   0x000000B1\n"
                        "    D3DPRASTERCAPS_DITHER\n"
                        "    D3DPRASTERCAPS_ZTEST\n"
                        "    D3DPRASTERCAPS_SUBPIXEL\n"
                        "    D3DPRASTERCAPS_FOGVERTEX\n"),
              std::string::npos);
    EXPECT_NE(text.find("dwDeviceZBufferBitDepth        0x00000400\n    DDBD_16\n"),
              std::string::npos);
    EXPECT_NE(text.find("Texture formats: 2\n  RGB555, 16 bits\n  PAL8, 8 bits\n"),
              std::string::npos);
}

TEST(Capabilities, ListsRasterOperationsByNumber) {
    DDCORECAPS caps{};
    caps.dwRops[0] = 1;
    caps.dwRops[6] = 1u << 12;
    caps.dwRops[7] = 1u << 31;
    const std::string text = DescribeCaps(caps);
    EXPECT_NE(text.find("Raster operations\n  0x00\n  0xCC\n  0xFF\n"), std::string::npos);
}

} // namespace
} // namespace korv
