// The video port's life, its flips, and what can be asked of it while it runs.
#include "driver/video/video.h"

#include "driver/core/dma.h"
#include "driver/video/port_driver.h"

namespace {

constexpr DWORD kMaxExtent = 2048;
constexpr DWORD kRefusedConnections =
    DDVPCONNECT_DOUBLECLOCK | DDVPCONNECT_SHAREEVEN | DDVPCONNECT_SHAREODD;
static_assert(kRefusedConnections == 0xC1);

bool CanTake(const DDVIDEOPORTDESC& description) {
    const DDVIDEOPORTCONNECT& connection = description.VideoPortType;
    return description.dwVideoPortID == 0 && description.dwFieldWidth <= kMaxExtent &&
           description.dwVBIWidth <= kMaxExtent && description.dwFieldHeight <= kMaxExtent &&
           !IsEqualGuid(connection.guidTypeID, DDVPTYPE_CCIR656) &&
           !IsEqualGuid(connection.guidTypeID, DDVPTYPE_BROOKTREE) &&
           !IsEqualGuid(connection.guidTypeID, DDVPTYPE_PHILIPS) &&
           (connection.dwPortWidth == 8 || connection.dwPortWidth == 16) &&
           (connection.dwFlags & kRefusedConnections) == 0;
}

uint32_t PolarityOf(const GUID& connection) {
    if (IsEqualGuid(connection, DDVPTYPE_E_HREFH_VREFH)) {
        return VideoHRefHigh | VideoVRefHigh;
    }
    if (IsEqualGuid(connection, DDVPTYPE_E_HREFH_VREFL)) {
        return VideoHRefHigh;
    }
    if (IsEqualGuid(connection, DDVPTYPE_E_HREFL_VREFH)) {
        return VideoVRefHigh;
    }
    return 0;
}

uint32_t FlagsOf(const DDVIDEOPORTCONNECT& connection) {
    uint32_t flags = PolarityOf(connection.guidTypeID);
    if ((connection.dwFlags & DDVPCONNECT_INTERLACED) != 0) {
        flags |= VideoInterlaced;
    }
    if ((connection.dwFlags & DDVPCONNECT_VACT) != 0) {
        flags |= VideoVACT;
    }
    if ((connection.dwFlags & DDVPCONNECT_INVERTPOLARITY) == 0) {
        flags |= VideoNotInverted;
    }
    return flags;
}

void ResetPort(DriverData* driver) {
    driver->VideoSurfaceCount = 0;
    for (uint32_t& base : driver->VideoBase) {
        base = 0;
    }
    driver->VideoFlags = 0;
    driver->VideoStartLine = 0;
    driver->VideoHeight = 0;
    driver->VideoWidth = 0;
    driver->VideoCurrentBuffer = 0;
    driver->VideoPortActive = 0;
    driver->VideoNeedSample = 0;
    driver->VideoLastLine = 0;
    driver->VideoLastBuffer = 0;
    driver->VideoLastTime = 0;
    driver->VideoFailures = 0;
    driver->VideoPortCreated = 0;
    driver->VideoPortDesc = {};
    PollFIFOSpace(driver->Registers, 2);
    StopReceiving(driver);
}

bool FillsCurrentBuffer(DriverData* driver) {
    return ReadChip(driver->Registers, reg::VSCurrentBuffer) == driver->VideoCurrentBuffer;
}

} // namespace

DWORD KORV_STDCALL CanCreateVideoPort32(DDHAL_CANCREATEVPORTDATA* data) {
    data->ddRVal = CanTake(*data->lpDDVideoPortDesc) ? DD_OK : DDERR_INVALIDPARAMS;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL CreateVideoPort32(DDHAL_CREATEVPORTDATA* data) {
    DriverData* driver = VideoDriverOf(data);
    ResetPort(driver);
    driver->VideoPortDesc = *data->lpDDVideoPortDesc;
    driver->VideoPortCreated = 1;
    driver->VideoFlags = FlagsOf(driver->VideoPortDesc.VideoPortType);
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_NOTHANDLED;
}

DWORD KORV_STDCALL DestroyVideoPort32(DDHAL_DESTROYVPORTDATA* data) {
    ResetPort(VideoDriverOf(data));
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_NOTHANDLED;
}

DWORD KORV_STDCALL FlipVideoPort32(DDHAL_FLIPVPORTDATA* data) {
    DriverData* driver = VideoDriverOf(data);
    if (driver->VideoPortActive == 1) {
        ++driver->VideoCurrentBuffer;
        // A port started without a front buffer may count from above the last one, and goes on.
        if (driver->VideoCurrentBuffer == driver->VideoSurfaceCount) {
            driver->VideoCurrentBuffer = 0;
        }
        SyncChip(driver);
        PollFIFOSpace(driver->Registers, 1);
        WriteChip(driver->Registers, reg::VSNextBuffer, driver->VideoCurrentBuffer);
    }
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetVideoPortField32(DDHAL_GETVPORTFIELDDATA* data) {
    if (VideoDriverOf(data)->VideoPortActive != 0) {
        data->bField = 1;
    } else {
        data->ddRVal = DDERR_VIDEONOTACTIVE;
    }
    // Also for a port that is off: the entry reports success in every case.
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetVideoPortLine32(DDHAL_GETVPORTLINEDATA* data) {
    DriverData* driver = VideoDriverOf(data);
    if (driver->VideoPortActive != 0) {
        data->dwLine = ReadChip(driver->Registers, reg::VSCurrentLine);
        data->ddRVal = DD_OK;
    } else {
        data->ddRVal = DDERR_VIDEONOTACTIVE;
    }
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetVideoPortFlipStatus32(DDHAL_GETVPORTFLIPSTATUSDATA* data) {
    DriverData* driver = VideoDriverOf(data);
    const bool filling = driver->VideoPortActive != 0 && FillsCurrentBuffer(driver) &&
                         CheckVideoPortStatus(driver, 0) != 0;
    data->ddRVal = filling ? DDERR_WASSTILLDRAWING : DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL WaitForVideoPortSync32(DDHAL_WAITFORVPORTSYNCDATA* data) {
    data->ddRVal = E_NOTIMPL;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetVideoSignalStatus32(DDHAL_GETVPORTSIGNALDATA* data) {
    DriverData* driver = VideoDriverOf(data);
    const bool receives = !FillsCurrentBuffer(driver) || CheckVideoPortStatus(driver, 1) != 0;
    data->dwStatus = receives ? DDVPSQ_SIGNALOK : DDVPSQ_NOSIGNAL;
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL SyncSurfaceData32(DDHAL_SYNCSURFACEDATA* data) {
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL SyncVideoPortData32(DDHAL_SYNCVIDEOPORTDATA* data) {
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

// There is no overlay.
DWORD KORV_STDCALL UpdateOverlay32(DDHAL_UPDATEOVERLAYDATA* data) {
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}
