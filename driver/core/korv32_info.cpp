// What the board can do, as DirectDraw asks for it. Sees the rooms whose callbacks it hands out.
#include "driver/core/glintutl.h"
#include "driver/core/korv32.h"
#include "driver/core/registry.h"
#include "driver/heap/surface.h"
#include "driver/video/video.h"

namespace {

constexpr DWORD kStretchAndMirror =
    DDFXCAPS_BLTMIRRORLEFTRIGHT | DDFXCAPS_BLTMIRRORUPDOWN | DDFXCAPS_BLTSHRINKX |
    DDFXCAPS_BLTSHRINKXN | DDFXCAPS_BLTSHRINKY | DDFXCAPS_BLTSHRINKYN | DDFXCAPS_BLTSTRETCHX |
    DDFXCAPS_BLTSTRETCHXN | DDFXCAPS_BLTSTRETCHY | DDFXCAPS_BLTSTRETCHYN;
static_assert(kStretchAndMirror == 0x3FCC0);

bool HasAGP(const DriverData* driver) {
    return IsPermedia2(driver->ChipInfo) && (driver->BoardFlags & BoardOnAGP) != 0;
}

void AddPermediaCaps(const DriverData* driver, DDCORECAPS& caps) {
    caps.dwCaps |= DDCAPS_BLTFOURCC | DDCAPS_BLTSTRETCH | DDCAPS_COLORKEY | DDCAPS_CANBLTSYSMEM;
    caps.dwCKeyCaps = DDCKEYCAPS_SRCBLT | DDCKEYCAPS_SRCBLTCLRSPACE | DDCKEYCAPS_SRCBLTCLRSPACEYUV;
    caps.dwFXCaps = kStretchAndMirror;
    caps.ddsCaps.dwCaps |= DDSCAPS_TEXTURE;
    if (RegistrySwitchIsOne("Direct3DHAL.PermediaMip")) {
        caps.ddsCaps.dwCaps |= DDSCAPS_MIPMAP;
    }
    if (HasAGP(driver)) {
        caps.dwCaps2 = DDCAPS2_NONLOCALVIDMEM;
        caps.ddsCaps.dwCaps |= DDSCAPS_LOCALVIDMEM | DDSCAPS_NONLOCALVIDMEM;
    }
    caps.dwZBufferBitDepths = DDBD_16;
    caps.dwSVBCaps = DDCAPS_BLT;
}

void AddGlintCaps(const DriverData* driver, DDCORECAPS& caps) {
    const ChipInfo* chip = driver->ChipInfo;
    caps.dwCaps |= DDCAPS_CANBLTSYSMEM;
    caps.ddsCaps.dwCaps |= DDSCAPS_TEXTURE;
    caps.dwZBufferBitDepths = DDBD_16 | DDBD_32;
    caps.dwSVBCaps = DDCAPS_BLT;
    if (IsTX(chip) && RegistrySwitchIsOne("Direct3DHAL.ReportTransparency")) {
        caps.dwCaps |= DDCAPS_COLORKEY;
        caps.dwCKeyCaps = DDCKEYCAPS_SRCBLT | DDCKEYCAPS_SRCBLTCLRSPACE;
    }
    if (IsMX(chip)) {
        caps.dwCaps |= DDCAPS_COLORKEY | DDCAPS_BLTSTRETCH;
        caps.dwCKeyCaps = DDCKEYCAPS_SRCBLT | DDCKEYCAPS_SRCBLTCLRSPACE;
        caps.dwFXCaps = kStretchAndMirror;
        caps.ddsCaps.dwCaps |= DDSCAPS_MIPMAP;
    }
}

DDHAL_DDMISCELLANEOUSCALLBACKS MiscellaneousCallbacks(const DriverData* driver) {
    DDHAL_DDMISCELLANEOUSCALLBACKS table{};
    table.dwSize = sizeof(table);
    table.dwFlags = DDHAL_MISCCB32_GETHEAPALIGNMENT;
    table.GetHeapAlignment = GetHeapAlignment32;
    // The value itself is asked, not the switch in force, and only a value that is there counts.
    uint32_t rectAlloc;
    if (driver->HeapActive != 0 &&
        bGlintQueryRegistryValueUlong("Direct3DHAL.RectAlloc", &rectAlloc) != 0 && rectAlloc == 0) {
        table.dwFlags |= DDHAL_MISCCB32_GETAVAILDRIVERMEMORY;
        table.GetAvailDriverMemory = GetAvailDriverMemory32;
    }
    if (HasAGP(driver)) {
        table.dwFlags |= DDHAL_MISCCB32_UPDATENONLOCALHEAP;
        table.UpdateNonLocalHeap = UpdateNonLocalHeap32;
    }
    return table;
}

// Gives the caller as much of the record as it has room for.
template <class Record>
void Answer(DD_GETDRIVERINFODATA* data, const Record& record) {
    constexpr uint32_t kSize = sizeof(Record);
    const uint32_t bytes = data->dwExpectedSize < kSize ? data->dwExpectedSize : kSize;
    const auto* from = reinterpret_cast<const uint8_t*>(&record);
    auto* to = static_cast<uint8_t*>(data->lpvData);
    for (uint32_t i = 0; i < bytes; ++i) {
        // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): bytes of a whole record
        to[i] = from[i];
    }
    data->dwActualSize = kSize;
    data->ddRVal = DD_OK;
}

} // namespace

void GetDDHALInfo(DriverData* driver, DDHALINFO* info) {
    *info = {};
    info->dwSize = sizeof(DDHALINFO);
    setupRops(ropList95, rops, sizeof(ropList95));

    DDCORECAPS& caps = info->ddCaps;
    caps.dwCaps = DDCAPS_3D | DDCAPS_BLT | DDCAPS_BLTQUEUE | DDCAPS_GDI | DDCAPS_READSCANLINE |
                  DDCAPS_ALPHA | DDCAPS_BLTCOLORFILL | DDCAPS_BLTDEPTHFILL;
    caps.ddsCaps.dwCaps = DDSCAPS_ALPHA | DDSCAPS_FLIP | DDSCAPS_OFFSCREENPLAIN |
                          DDSCAPS_PRIMARYSURFACE | DDSCAPS_3DDEVICE | DDSCAPS_ZBUFFER;
    if (driver->ChipInfo->Family == FamilyPermedia) {
        AddPermediaCaps(driver, caps);
    } else if (driver->ChipInfo->Family == FamilyGlint) {
        AddGlintCaps(driver, caps);
    }
    caps.dwAlphaBltConstBitDepths = DDBD_2 | DDBD_4 | DDBD_8;
    caps.dwAlphaOverlayConstBitDepths = DDBD_2 | DDBD_4 | DDBD_8;
    caps.dwAlphaBltPixelBitDepths = DDBD_1 | DDBD_8;
    caps.dwAlphaOverlayPixelBitDepths = DDBD_1 | DDBD_8;
    caps.dwAlphaBltSurfaceBitDepths = DDBD_1 | DDBD_2 | DDBD_4 | DDBD_8;
    caps.dwAlphaOverlaySurfaceBitDepths = DDBD_1 | DDBD_2 | DDBD_4 | DDBD_8;
    for (uint32_t i = 0; i < sizeof(rops) / sizeof(rops[0]); ++i) {
        caps.dwRops[i] = rops[i];
    }
    // dwSVBRops stays empty although dwSVBCaps announces blits.
    info->GetDriverInfo = GetDriverInfo32;
    info->dwFlags |= DDHALINFO_GETDRIVERINFOSET;
}

DWORD KORV_STDCALL GetDriverInfo32(DD_GETDRIVERINFODATA* data) {
    const auto* driver = reinterpret_cast<const DriverData*>(data->dwContext);
    data->ddRVal = DDERR_CURRENTLYNOTAVAIL;
    if (IsEqualGuid(data->guidInfo, GUID_D3DCallbacks2)) {
        D3DHAL_CALLBACKS2 none{};
        none.dwSize = sizeof(none);
        Answer(data, none);
    } else if (IsEqualGuid(data->guidInfo, GUID_MiscellaneousCallbacks)) {
        Answer(data, MiscellaneousCallbacks(driver));
    } else if (IsEqualGuid(data->guidInfo, GUID_KernelCallbacks)) {
        DDHAL_DDKERNELCALLBACKS table{};
        table.dwSize = sizeof(table);
        table.dwFlags = DDHAL_KERNEL_SYNCSURFACEDATA | DDHAL_KERNEL_SYNCVIDEOPORTDATA;
        table.SyncSurfaceData = SyncSurfaceData32;
        table.SyncVideoPortData = SyncVideoPortData32;
        Answer(data, table);
    }
    return DDHAL_DRIVER_HANDLED;
}
