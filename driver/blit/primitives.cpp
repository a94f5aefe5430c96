#include "driver/blit/primitives.h"

#include "driver/blit/pmblit32.h"
#include "driver/blit/pmblitfx.h"
#include "driver/blit/txblit32.h"
#include "driver/blit/txblitfx.h"
#include "driver/services/context.h"
#include "driver/texture/pmdownld.h"
#include "driver/texture/txdownld.h"
#include "driver/video/video.h"

CHIPRenderTable CHIPRender;

void SetupFnTable(DriverData* driver) {
    if (driver == nullptr || driver->ChipInfo == nullptr) {
        return;
    }
    CHIPRender.ModeKey = driver->ModeKey;
    CHIPRender.PackedCopyBlt =
        driver->PixelSize == PixelSize24 ? Packed24BitPermediaCopyBlt : PackedPermediaCopyBlt;
    CHIPRender.PatchedCopyBlt = PatchedPermediaCopyBlt;
    CHIPRender.StretchCopyBlt = PermediaStretchCopyBlt;
    CHIPRender.FastClear = FastPermediaClear;
    CHIPRender.FastLBClear = FastLBPermediaClear;
    CHIPRender.SourceChromaBlt = PermediaSourceChromaBlt;
    CHIPRender.YUVBlt = YUVtoRGB;
    if (driver->PixelSize == PixelSize8) {
        CHIPRender.PackedDisplayDownload = PermediaPacked8BitDownload;
    } else if (driver->PixelSize == PixelSize16) {
        CHIPRender.PackedDisplayDownload = PermediaPacked16BitDownload;
    }
    CHIPRender.PackedDownload = PermediaPackedDownload;
    CHIPRender.PatchedDownload = PermediaPatchedTextureDownload;
    CHIPRender.Bypass4BitDownload = PermediaBypass4BitPatchedTextureDownload;
    CHIPRender.ScreenCopyBlt =
        driver->ChipInfo->Family == FamilyPermedia ? vPermediaCopyBlt : PackedTXCopyBlt;
    CHIPRender.LBCopyBlt = vGlintLBCopyBltNative;
    CHIPRender.GlintClear = FastGlintClear;
    CHIPRender.GlintLBClear = FastLBGlintClear;
    CHIPRender.TXPatchedDownload = TXPatchedTextureDownload;
    CHIPRender.TXPackedDownload = TXPackedDownload;
    CHIPRender.MXChromaBlt = MXSourceChromaBlt;
    CHIPRender.MXStretchBlt = MXStretchCopyBlt;
}

void TakeChipFor2D(DriverData* driver) {
    if (driver->ModeKey != CHIPRender.ModeKey) {
        SetupFnTable(driver);
    }
    ChangeContext(driver, driver->ChipInfo, kContext2D);
}
