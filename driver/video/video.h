#pragma once
// Video port and overlay entries, the port's watchdog, and the blit that shows what it takes in.
#include "driver/core/driverdata.h"
#include "driver/core/records/private_surface.h"
#include "driver/platform/videoport.h"

// DriverData.VideoFlags.
enum VideoFlag : uint32_t {
    VideoHRefHigh = 0x1, // the two bits of the connection's polarity code
    VideoVRefHigh = 0x2,
    VideoInterlaced = 0x10,
    VideoInterleave = 0x20,
    VideoMirrorUpDown = 0x40,
    VideoMirrorLeftRight = 0x80,
    VideoNotInverted = 0x100,
    VideoVACT = 0x200, // the source marks its active pixels
};

// DirectDraw callbacks of the video port. No table with them is handed out. All answer handled but
// for creation and destruction, of which the runtime does its own part.

// ddRVal: DDERR_INVALIDPARAMS for a port that the chip doesn't have or can't take.
DWORD KORV_STDCALL CanCreateVideoPort32(DDHAL_CANCREATEVPORTDATA* data);
// Resets port and state, and keeps the description.
DWORD KORV_STDCALL CreateVideoPort32(DDHAL_CREATEVPORTDATA* data);
DWORD KORV_STDCALL DestroyVideoPort32(DDHAL_DESTROYVPORTDATA* data);
// Lets a running port fill the next buffer in turn.
DWORD KORV_STDCALL FlipVideoPort32(DDHAL_FLIPVPORTDATA* data);
DWORD KORV_STDCALL GetVideoPortBandwidth32(DDHAL_GETVPORTBANDWIDTHDATA* data);
DWORD KORV_STDCALL GetVideoPortInputFormats32(DDHAL_GETVPORTINPUTFORMATDATA* data);
// The count stays as it was for an input format that the port doesn't know.
DWORD KORV_STDCALL GetVideoPortOutputFormats32(DDHAL_GETVPORTOUTPUTFORMATDATA* data);
DWORD KORV_STDCALL GetVideoPortField32(DDHAL_GETVPORTFIELDDATA* data);
// ddRVal: DDERR_VIDEONOTACTIVE while the port is off.
DWORD KORV_STDCALL GetVideoPortLine32(DDHAL_GETVPORTLINEDATA* data);
DWORD KORV_STDCALL GetVideoPortConnectInfo32(DDHAL_GETVPORTCONNECTDATA* data);
// ddRVal: DDERR_WASSTILLDRAWING while the port fills the buffer handed out as current.
DWORD KORV_STDCALL GetVideoPortFlipStatus32(DDHAL_GETVPORTFLIPSTATUSDATA* data);
// Starts, changes or stops the port.
DWORD KORV_STDCALL UpdateVideoPort32(DDHAL_UPDATEVPORTDATA* data);
DWORD KORV_STDCALL WaitForVideoPortSync32(DDHAL_WAITFORVPORTSYNCDATA* data);
DWORD KORV_STDCALL GetVideoSignalStatus32(DDHAL_GETVPORTSIGNALDATA* data);

// Callbacks that have nothing to do on this hardware: ddRVal 0.
DWORD KORV_STDCALL SyncSurfaceData32(DDHAL_SYNCSURFACEDATA* data);
DWORD KORV_STDCALL SyncVideoPortData32(DDHAL_SYNCVIDEOPORTDATA* data);
DWORD KORV_STDCALL UpdateOverlay32(DDHAL_UPDATEOVERLAYDATA* data);

// Says whether the port still receives, and shuts it down when it has not for long. It takes no
// time of its own: each call compares line and buffer with the last sample. A nonzero `sampleNow`
// takes a new sample. Nonzero: the port runs.
uint32_t CheckVideoPortStatus(DriverData* driver, uint32_t sampleNow);

// A stretching copy of YUV data, in the form that CHIPRenderTable tells.
void YUVtoRGB(DriverData* driver, DDBLTFX* bltFX, PrivateSurfaceData* destPriv,
              PrivateSurfaceData* srcPriv, RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
              uint32_t srcOffset);

// The entries in the order in which a table takes them up.
struct VideoPortEntries {
    decltype(&CanCreateVideoPort32) CanCreateVideoPort;
    decltype(&CreateVideoPort32) CreateVideoPort;
    decltype(&DestroyVideoPort32) DestroyVideoPort;
    decltype(&FlipVideoPort32) FlipVideoPort;
    decltype(&GetVideoPortBandwidth32) GetVideoPortBandwidth;
    decltype(&GetVideoPortInputFormats32) GetVideoPortInputFormats;
    decltype(&GetVideoPortOutputFormats32) GetVideoPortOutputFormats;
    decltype(&GetVideoPortField32) GetVideoPortField;
    decltype(&GetVideoPortLine32) GetVideoPortLine;
    decltype(&GetVideoPortConnectInfo32) GetVideoPortConnectInfo;
    decltype(&GetVideoPortFlipStatus32) GetVideoPortFlipStatus;
    decltype(&UpdateVideoPort32) UpdateVideoPort;
    decltype(&WaitForVideoPortSync32) WaitForVideoPortSync;
    decltype(&GetVideoSignalStatus32) GetVideoSignalStatus;
    decltype(&SyncSurfaceData32) SyncSurfaceData;
    decltype(&SyncVideoPortData32) SyncVideoPortData;
    decltype(&UpdateOverlay32) UpdateOverlay;
};
static_assert(sizeof(VideoPortEntries) == 17 * 4);

inline constexpr VideoPortEntries kVideoPortEntries = {
    CanCreateVideoPort32,
    CreateVideoPort32,
    DestroyVideoPort32,
    FlipVideoPort32,
    GetVideoPortBandwidth32,
    GetVideoPortInputFormats32,
    GetVideoPortOutputFormats32,
    GetVideoPortField32,
    GetVideoPortLine32,
    GetVideoPortConnectInfo32,
    GetVideoPortFlipStatus32,
    UpdateVideoPort32,
    WaitForVideoPortSync32,
    GetVideoSignalStatus32,
    SyncSurfaceData32,
    SyncVideoPortData32,
    UpdateOverlay32,
};
