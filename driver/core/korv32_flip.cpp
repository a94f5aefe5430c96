#include "driver/core/korv32_flip.h"

#include "driver/core/dma.h"
#include "driver/core/records/d3d_context.h"
#include "driver/heap/surface_format.h"
#include "driver/services/context.h"

FlipRecord flipRecord;
uint32_t bBlankReturn;

namespace {

constexpr uint32_t kRetraceFlag = field::IntFlags_Retrace.Mask();
constexpr uint32_t kBankBoundary = 4u << 20;
constexpr uint32_t kLowBank = 0xFE;  // ScreenBank: visible image below 4 MB
constexpr uint32_t kHighBank = 0xFF; // from there on

bool IsGlint(const DriverData* driver) {
    return driver->ChipInfo->Family == FamilyGlint;
}

bool InBlank(DriverData* driver) {
    const uint32_t end =
        driver->ChipInfo->Family == FamilyPermedia ? reg::BlankEndPermedia : reg::BlankEndGlint;
    const uint32_t line = ReadChip(driver->Registers, reg::LineCounter);
    return line < ReadChip(driver->Registers, end);
}

// The beam's line below the blank. The subtrahend is the Glint register on every chip.
uint32_t ScanLine(DriverData* driver) {
    const uint32_t line = ReadChip(driver->Registers, reg::LineCounter);
    return line - ReadChip(driver->Registers, reg::BlankEndGlint);
}

bool DMARuns(DriverData* driver) {
    return ReadChip(driver->Registers, reg::DMACount) != 0;
}

bool WithinOneFrame() {
    return timeGetTime() - flipRecord.StartTime <= flipRecord.Duration;
}

uint32_t PermediaFlipStatus(DriverData* driver) {
    const ChipInfo* chip = driver->ChipInfo;
    const bool retraced = (chip->Flags & VBlankByInterrupt) != 0
                              ? (chip->Flags & VBlankSeen) != 0
                              : (ReadChip(driver->Registers, reg::IntFlags) & kRetraceFlag) != 0;
    return retraced ? DD_OK : DDERR_WASSTILLDRAWING;
}

void ShowOnPermedia(DriverData* driver, uint32_t offset) {
    WriteChip(driver->Registers, reg::ScreenBasePermedia, offset >> 3);
    if ((driver->ChipInfo->Flags & VBlankByInterrupt) != 0) {
        ClearFlag(driver->ChipInfo, VBlankSeen);
    } else {
        WriteChip(driver->Registers, reg::IntFlags, kRetraceFlag);
    }
}

void ShowOnGlint(DriverData* driver, uint32_t offset) {
    WriteChip(driver->Registers, reg::ScreenBaseGlint, offset >> 13);
    if (IsGlintWithTextures(driver->ChipInfo)) {
        WriteChip(driver->Registers, reg::ScreenBank,
                  offset < kBankBoundary ? kLowBank : kHighBank);
    }
}

void NoteFlip(DriverData* driver, uint32_t surface) {
    flipRecord.StartTime = timeGetTime();
    flipRecord.InProgress = 1;
    flipRecord.BlankPassed = 0;
    flipRecord.Surface = surface;
    if (InBlank(driver)) {
        flipRecord.FlipLine = 0;
        flipRecord.OutsideBlank = 0;
    } else {
        flipRecord.FlipLine = static_cast<uint16_t>(ScanLine(driver));
        flipRecord.OutsideBlank = 1;
    }
}

// The context that last aimed at the surface, or null; one that has ended since counts as none.
D3DContext* LiveOwner(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    const PrivateSurfaceData* record = PrivateOf(surface);
    return record != nullptr && IsListed(record->OwnerContext) ? record->OwnerContext : nullptr;
}

// Sends what the surface's owner has pending beyond its head, whoever holds the chip.
void FlushOwner(DriverData* driver, D3DContext* ctx) {
    if (!HasWordsBeyondHead(driver->ChipInfo, ctx)) {
        return;
    }
    const uint32_t own = ctx->Stream.HardwareContext;
    const uint32_t holder = driver->ChipInfo->CurrentContext;
    ChangeContext(driver, driver->ChipInfo, own);
    SendSubBufferDirect(driver, ctx);
    ChangeContext(driver, driver->ChipInfo, holder);
}

// Byte position of pixel column `left`.
uint32_t ColumnOffset(uint32_t left, uint32_t bits) {
    switch (bits) {
    case 4:
        return left >> 1;
    case 24:
        return left * 3;
    default:
        return left << ShiftLookup[bits >> 3];
    }
}

} // namespace

uint32_t updateFlipStatus(DriverData* driver, uint32_t surface) {
    if (DXGlobals.NoVBlankWait != 0) {
        return DD_OK;
    }
    if (driver->ChipInfo->Family == FamilyPermedia) {
        return PermediaFlipStatus(driver);
    }
    if (flipRecord.DurationStale != 0) {
        getDisplayDuration(driver);
        flipRecord.DurationStale = 0;
    }
    if (flipRecord.InProgress == 0 || (surface != 0 && surface != flipRecord.Surface)) {
        return DD_OK;
    }
    if (InBlank(driver)) {
        if (flipRecord.OutsideBlank == 1) {
            // The record stays in progress: only the next look outside the blank ends it.
            flipRecord.BlankPassed = 1;
            return DD_OK;
        }
        if (WithinOneFrame()) {
            return DDERR_WASSTILLDRAWING;
        }
    } else if (flipRecord.BlankPassed != 1) {
        flipRecord.OutsideBlank = 1;
        const bool wrapped = ScanLine(driver) < flipRecord.FlipLine;
        if (!wrapped && WithinOneFrame()) {
            return DDERR_WASSTILLDRAWING;
        }
    }
    flipRecord.InProgress = 0;
    return DD_OK;
}

void getDisplayDuration(DriverData* driver) {
    flipRecord.Duration = 1000u / driver->ChipInfo->RefreshRate;
}

DWORD KORV_STDCALL Flip32(DDHAL_FLIPDATA* data) {
    DriverData* driver = DriverOf(data->lpDD);
    const uint32_t status = updateFlipStatus(driver, 0);
    if (status != DD_OK) {
        data->ddRVal = status;
        return DDHAL_DRIVER_HANDLED;
    }
    if (DMARuns(driver)) {
        data->ddRVal = DDERR_WASSTILLDRAWING;
        return DDHAL_DRIVER_HANDLED;
    }
    SyncChip(driver);
    driver->TargetLost = 1;
    if (DXGlobals.NoFlip == 1) {
        data->ddRVal = DD_OK;
        return DDHAL_DRIVER_HANDLED;
    }
    const uint32_t offset =
        data->lpSurfTarg->lpGbl->fpVidMem - reinterpret_cast<uint32_t>(driver->FrameBufferBase);
    if (IsGlint(driver)) {
        ShowOnGlint(driver, offset);
        NoteFlip(driver, data->lpSurfCurr->lpGbl->fpVidMem);
    } else if (driver->ChipInfo->Family == FamilyPermedia) {
        ShowOnPermedia(driver, offset);
    }
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL Lock32(DDHAL_LOCKDATA* data) {
    DriverData* driver = DriverOf(data->lpDD);
    DDRAWI_DDRAWSURFACE_LCL* surface = data->lpDDSurface;
    DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    if (updateFlipStatus(driver, global->fpVidMem) != DD_OK ||
        ((data->dwFlags & DDLOCK_WAIT) == 0 && DMARuns(driver))) {
        data->ddRVal = DDERR_WASSTILLDRAWING;
        return DDHAL_DRIVER_HANDLED;
    }
    if (D3DContext* owner = LiveOwner(surface)) {
        FlushOwner(driver, owner);
    }
    uint32_t address = global->fpVidMem;
    if (data->bHasRect != 0) {
        const uint32_t bits =
            HasOwnFormat(surface) ? global->ddpfSurface.dwRGBBitCount : driver->PixelDepthBits;
        address += static_cast<uint32_t>(data->rArea.top * global->lPitch);
        address += ColumnOffset(static_cast<uint32_t>(data->rArea.left), bits);
    }
    data->lpSurfData = reinterpret_cast<void*>(address);
    SyncChip(driver);
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL WaitForVerticalBlank32(DDHAL_WAITFORVERTICALBLANKDATA* data) {
    DriverData* driver = DriverOf(data->lpDD);
    if (DXGlobals.NoVBlankWait != 0) {
        bBlankReturn = bBlankReturn == 0 ? 1 : 0;
        data->ddRVal = DD_OK;
        data->bIsInVB = bBlankReturn;
        return DDHAL_DRIVER_HANDLED;
    }
    switch (data->dwFlags) {
    case DDWAITVB_BLOCKBEGIN:
        while (InBlank(driver)) {
        }
        while (!InBlank(driver)) {
        }
        break;
    case DDWAITVB_BLOCKEND:
        while (!InBlank(driver)) {
        }
        while (InBlank(driver)) {
        }
        break;
    case DDWAITVB_I_TESTVB:
        data->bIsInVB = InBlank(driver) ? 1 : 0;
        break;
    default:
        return DDHAL_DRIVER_NOTHANDLED;
    }
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetScanLine32(DDHAL_GETSCANLINEDATA* data) {
    DriverData* driver = DriverOf(data->lpDD);
    if (InBlank(driver)) {
        data->dwScanLine = 0;
        data->ddRVal = DDERR_VERTICALBLANKINPROGRESS;
    } else {
        data->dwScanLine = ScanLine(driver);
        data->ddRVal = DD_OK;
    }
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetBltStatus32(DDHAL_GETBLTSTATUSDATA* data) {
    DriverData* driver = DriverOf(data->lpDD);
    uint32_t status = DD_OK;
    if (data->dwFlags == DDGBS_CANBLT) {
        status = updateFlipStatus(driver, data->lpDDSurface->lpGbl->fpVidMem);
    }
    if (status == DD_OK && DMARuns(driver)) {
        status = DDERR_WASSTILLDRAWING;
    }
    data->ddRVal = status;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetFlipStatus32(DDHAL_GETFLIPSTATUSDATA* data) {
    DriverData* driver = DriverOf(data->lpDD);
    uint32_t status = updateFlipStatus(driver, 0);
    if (data->dwFlags == DDGFS_CANFLIP && status == DD_OK && DMARuns(driver)) {
        status = DDERR_WASSTILLDRAWING;
    }
    data->ddRVal = status;
    return DDHAL_DRIVER_HANDLED;
}
