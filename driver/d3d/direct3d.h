#pragma once
// What the Direct3D side of a display announces: capabilities, entry points, texture formats.
#include "driver/core/driverdata.h"

#include <cstdint>

// Capabilities by chip. Creating a driver adds to them what its chip and switches allow, for good.
extern D3DDEVICEDESC PermediaCaps;
extern D3DDEVICEDESC TXCaps;
extern D3DDEVICEDESC SXCaps;

// Kept, but never handed out: execute buffers stay with the runtime.
extern DDHAL_DDEXEBUFCALLBACKS myD3DExeBufCallbacks;

// Makes the display's Direct3D records. Outputs: the global data and the callbacks, or null where
// Direct3D is switched off or memory is short; the execute-buffer callbacks are always null.
void D3DHALCreateDriver(DriverData* driver, D3DHAL_GLOBALDRIVERDATA** globalData,
                        D3DHAL_CALLBACKS** callbacks, DDHAL_DDEXEBUFCALLBACKS** exeBufCallbacks);

// Fill DriverData.TextureFormats by chip and switches; the number of formats.
uint32_t BuildTextureFormatsPermedia(DriverData* driver);
uint32_t BuildTextureFormatsTX(DriverData* driver);
