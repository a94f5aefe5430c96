// Starting and stopping of the video port.
#include "driver/core/bits.h"
#include "driver/core/dma.h"
#include "driver/video/port_driver.h"
#include "driver/video/video.h"

namespace {

constexpr uint32_t kVideoInterrupt = field::IntEnable_Video.Mask();
constexpr uint32_t kFirstLine = 17;
constexpr uint32_t kFirstPixel = 155;
constexpr uint32_t kLastPixel = 2047;

// VSControl_Format: how wide the incoming words are.
constexpr uint32_t kFormat8Bits = 3;
constexpr uint32_t kFormat16Bits = 4;

bool Has(const DriverData* driver, VideoFlag flag) {
    return (driver->VideoFlags & flag) != 0;
}

bool IsEightBitPort(const DriverData* driver) {
    return driver->VideoPortDesc.VideoPortType.dwPortWidth == 8;
}

void EnableVideoInterrupt(ChipRegisters* registers) {
    WriteChip(registers, reg::IntEnable, ReadChip(registers, reg::IntEnable) | kVideoInterrupt);
}

// Code by which the port shrinks an axis: it can halve, quarter, and go down to an eighth.
uint32_t PrescaleCode(uint32_t field, uint32_t prescaled) {
    if (prescaled == 0) {
        return 0;
    }
    switch (field / prescaled) {
    case 2:
        return 1;
    case 4:
        return 2;
    case 8:
        return 3;
    default:
        return 0;
    }
}

// Takes up a buffer under the number `index`.
void TakeBuffer(DriverData* driver, const DDRAWI_DDRAWSURFACE_LCL* surface, uint32_t index) {
    driver->VideoBase[index] = surface->lpGbl->fpVidMem;
    if ((surface->ddsCaps.dwCaps & DDSCAPS_FRONTBUFFER) != 0) {
        driver->VideoCurrentBuffer = index;
    }
}

// The port flips by itself among the listed surfaces. No more than the chip has room for count.
uint32_t TakeListedBuffers(DriverData* driver, const DDHAL_UPDATEVPORTDATA* data) {
    uint32_t count = data->dwNumAutoflip != 0 ? data->dwNumAutoflip : 1;
    if (count > kMaxVideoBuffers) {
        count = kMaxVideoBuffers;
    }
    for (uint32_t i = 0; i < count; ++i) {
        TakeBuffer(driver, data->lplpDDSurface[i]->lpLcl, i);
    }
    return count;
}

// The chain of attached surfaces, back to the first or to its end.
uint32_t TakeAttachedBuffers(DriverData* driver, const DDRAWI_DDRAWSURFACE_LCL* first) {
    uint32_t count = 0;
    const DDRAWI_DDRAWSURFACE_LCL* surface = first;
    do {
        TakeBuffer(driver, surface, count);
        ++count;
        surface = surface->lpAttachList != nullptr ? surface->lpAttachList->lpAttached : nullptr;
    } while (surface != nullptr && surface != first && count < kMaxVideoBuffers);
    return count;
}

uint32_t ControlWord(const DriverData* driver) {
    const bool hrefHigh = Has(driver, VideoHRefHigh);
    return field::VSControl_Format.Put(0, IsEightBitPort(driver) ? kFormat8Bits : kFormat16Bits) |
           field::VSControl_HRefHigh.Put(0, hrefHigh) |
           field::VSControl_VRefHigh.Put(0, Has(driver, VideoVRefHigh)) |
           field::VSControl_HRefLow.Put(0, !hrefHigh) | field::VSControl_AlwaysSet.Mask() |
           field::VSControl_NotInverted.Put(0, Has(driver, VideoNotInverted)) |
           field::VSControl_Interleave.Put(0, Has(driver, VideoInterleave));
}

uint32_t StreamControlWord(const DriverData* driver, uint32_t scaleX, uint32_t scaleY) {
    return field::VSStreamControl_Enable.Mask() |
           field::VSStreamControl_ThreeBuffers.Put(0, driver->VideoSurfaceCount == 3) |
           field::VSStreamControl_ScaleX.Put(0, scaleX) |
           field::VSStreamControl_ScaleY.Put(0, scaleY) |
           field::VSStreamControl_MirrorX.Put(0, Has(driver, VideoMirrorLeftRight)) |
           field::VSStreamControl_MirrorY.Put(0, Has(driver, VideoMirrorUpDown)) |
           field::VSStreamControl_Interleave.Put(0, Has(driver, VideoInterleave));
}

void WritePixelRange(const DriverData* driver) {
    uint32_t start = 0;
    uint32_t end = kLastPixel;
    if (!Has(driver, VideoVACT)) {
        // A port of 16 bits counts each pixel twice.
        const uint32_t shift = IsEightBitPort(driver) ? 0 : 1;
        start = kFirstPixel << shift;
        end = (driver->VideoWidth + kFirstPixel) << shift;
    }
    WriteChip(driver->Registers, reg::VSStartPixel, start);
    WriteChip(driver->Registers, reg::VSEndPixel, end);
}

void Start(DriverData* driver, const DDHAL_UPDATEVPORTDATA* data) {
    ChipRegisters* registers = driver->Registers;
    const DDVIDEOPORTINFO& info = *data->lpVideoInfo;
    const DDRAWI_DDRAWSURFACE_LCL* first = data->lplpDDSurface[0]->lpLcl;
    const auto pitch = static_cast<uint32_t>(first->lpGbl->lPitch);
    PollFIFOSpace(registers, 16);
    StopReceiving(driver);

    // Without a front buffer the flag word itself is left here and goes to the chip.
    driver->VideoCurrentBuffer = info.dwVPFlags;
    driver->VideoSurfaceCount = (info.dwVPFlags & DDVP_AUTOFLIP) != 0
                                    ? TakeListedBuffers(driver, data)
                                    : TakeAttachedBuffers(driver, first);
    driver->VideoHeight = driver->VideoPortDesc.dwFieldHeight;
    driver->VideoWidth = driver->VideoPortDesc.dwFieldWidth;
    driver->VideoStartLine = kFirstLine;
    uint32_t scaleX = 0;
    uint32_t scaleY = 0;
    if ((info.dwVPFlags & DDVP_PRESCALE) != 0) {
        scaleX = PrescaleCode(driver->VideoWidth, info.dwPrescaleWidth);
        scaleY = PrescaleCode(driver->VideoHeight, info.dwPrescaleHeight);
    }
    const bool upDown = (info.dwVPFlags & DDVP_MIRRORUPDOWN) != 0;
    if (upDown) {
        // The port writes upwards from the line below the picture. All bases move, used or not.
        const uint32_t lines = scaleY != 0 ? info.dwPrescaleHeight : driver->VideoHeight;
        for (uint32_t& base : driver->VideoBase) {
            base += pitch * lines;
        }
    }
    AssignBits(driver->VideoFlags, VideoInterleave, (info.dwVPFlags & DDVP_INTERLEAVE) != 0);
    AssignBits(driver->VideoFlags, VideoMirrorUpDown, upDown);
    AssignBits(driver->VideoFlags, VideoMirrorLeftRight,
               (info.dwVPFlags & DDVP_MIRRORLEFTRIGHT) != 0);

    WriteChip(registers, reg::VSControl, ControlWord(driver));
    WriteChip(registers, reg::VSStreamControl, StreamControlWord(driver, scaleX, scaleY));
    WriteChip(registers, reg::VSNextBuffer, driver->VideoCurrentBuffer);
    WriteChip(registers, reg::VSBufferStride, pitch >> 3);
    WriteChip(registers, reg::VSStartLine, kFirstLine);
    WriteChip(registers, reg::VSEndLine, driver->VideoHeight + kFirstLine);
    WritePixelRange(driver);
    const auto frameBuffer = reinterpret_cast<uint32_t>(driver->FrameBufferBase);
    for (uint32_t i = 0; i < kMaxVideoBuffers; ++i) {
        WriteChip(registers, reg::VSBufferBase[i], (driver->VideoBase[i] - frameBuffer) >> 3);
    }
    EnableVideoInterrupt(registers);
    driver->VideoPortActive = 1;
    driver->VideoNeedSample = 1;
    driver->VideoFailures = 0;
}

void Stop(DriverData* driver) {
    PollFIFOSpace(driver->Registers, 2);
    driver->VideoPortActive = 0;
    driver->VideoNeedSample = 1;
    driver->VideoFailures = 0;
    // Also here: the interrupt is never turned off again.
    EnableVideoInterrupt(driver->Registers);
    StopReceiving(driver);
}

} // namespace

DWORD KORV_STDCALL UpdateVideoPort32(DDHAL_UPDATEVPORTDATA* data) {
    DriverData* driver = VideoDriverOf(data);
    switch (data->dwFlags) {
    case DDRAWI_VPORTSTOP:
        Stop(driver);
        break;
    case DDRAWI_VPORTSTART:
    case DDRAWI_VPORTUPDATE:
        Start(driver, data);
        break;
    default:
        break;
    }
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}
