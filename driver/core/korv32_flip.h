#pragma once
// Flip, lock, vertical blank, scan line and status: the entries by which DirectDraw asks about
// time.
#include "driver/core/driverdata.h"

// The flip in progress on the Glint family; one for all displays.
struct FlipRecord {
    uint32_t Surface;   // fpVidMem of the surface on show when the flip started
    uint32_t StartTime; // ms
    uint32_t Duration;  // one display frame in ms
    uint32_t InProgress;
    uint32_t DurationStale;
    uint32_t BlankPassed;  // a blank was seen after the beam had been outside blank
    uint32_t OutsideBlank; // the beam has been seen outside blank since the flip
    uint16_t FlipLine;     // scan line at the flip, 0 if in blank
};

extern FlipRecord flipRecord;
extern uint32_t bBlankReturn;

// 0, or DDERR_WASSTILLDRAWING while `surface` (fpVidMem; 0 = any) is tied up by a flip.
uint32_t updateFlipStatus(DriverData* driver, uint32_t surface);
// Sets flipRecord.Duration from the refresh rate.
void getDisplayDuration(DriverData* driver);

DWORD KORV_STDCALL Flip32(DDHAL_FLIPDATA* data);
DWORD KORV_STDCALL Lock32(DDHAL_LOCKDATA* data);
DWORD KORV_STDCALL WaitForVerticalBlank32(DDHAL_WAITFORVERTICALBLANKDATA* data);
DWORD KORV_STDCALL GetScanLine32(DDHAL_GETSCANLINEDATA* data);
DWORD KORV_STDCALL GetBltStatus32(DDHAL_GETBLTSTATUSDATA* data);
DWORD KORV_STDCALL GetFlipStatus32(DDHAL_GETFLIPSTATUSDATA* data);
