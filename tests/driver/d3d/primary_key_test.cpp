// The colour key of a texture that is the primary is read in the display's format.
#include "driver/texture/textures.h"
#include "driver/texture/textures_bind.h"
#include "tests/driver/d3d/state_support.h"

namespace test {
namespace {

Words KeyedBinding(const StateChip& chip, uint32_t caps) {
    WatchedContext c(chip);
    ContextSlots[3] = c.ctx;
    c.ctx->ContextHandle = 3;
    RigSurface& surface = c.rig.MakeSurface(64, 64, DDSCAPS_TEXTURE | DDSCAPS_VIDEOMEMORY | caps,
                                            PixelSize16, 0x40000);
    c.rig.directDraw.vmiData.ddpfDisplay.dwFlags = DDPF_RGB;
    c.rig.directDraw.vmiData.ddpfDisplay.dwRBitMask = 0xF800;
    c.rig.directDraw.vmiData.ddpfDisplay.dwRGBAlphaBitMask = 0;
    surface.local.dwFlags |= DDRAWISURF_HASPIXELFORMAT | DDRAWISURF_HASCKEYSRCBLT;
    surface.Global().ddpfSurface.dwFlags = DDPF_RGB;
    surface.Global().ddpfSurface.dwRBitMask = 0x7C00;
    surface.local.ddckCKSrcBlt = {0x8410, 0x8410};
    D3DHAL_TEXTURECREATEDATA data{};
    data.dwhContext = 3;
    data.lpDDS = &surface.interface;
    TextureCreate(&data);
    c.ctx->TextureHandle = data.dwHandle;
    c.Take();
    if (chip.IsGlint()) {
        ChangeTextureMX(c.ctx);
    } else {
        ChangeTexturePermedia(c.ctx);
    }
    return c.Take();
}

uint32_t DataOf(const Words& pairs, uint32_t tagNumber) {
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
        if (pairs[i] == tagNumber) {
            return pairs[i + 1];
        }
    }
    return 0xEEEEEEEE;
}

TEST(PrimaryKey, GoesByTheDisplaysFormat) {
    // 0x8410 is 16, 32, 16 in 5:6:5 and 1, 1, 0, 16 in 5:5:5 with an alpha bit.
    for (const StateChip& chip :
         {StateChip{"MX", DeviceMX, false}, StateChip{"Permedia", DevicePermedia, true},
          StateChip{"Permedia2", DevicePermedia2, true}}) {
        SCOPED_TRACE(chip.name);
        const uint32_t upper = chip.IsGlint() ? 0x09D : 0x1E1;
        const uint32_t lower = chip.IsGlint() ? 0x09E : 0x1E2;
        const Words primary = KeyedBinding(chip, DDSCAPS_PRIMARYSURFACE);
        EXPECT_EQ(DataOf(primary, lower), 0x00808080u);
        EXPECT_EQ(DataOf(primary, upper), 0xFF878787u);
        const Words other = KeyedBinding(chip, 0);
        EXPECT_EQ(DataOf(other, lower), 0x00800008u);
        EXPECT_EQ(DataOf(other, upper), 0xFF87070Fu);
    }
}

} // namespace
} // namespace test
