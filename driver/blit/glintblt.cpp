#include "driver/blit/glintblt.h"

#include "driver/core/korv32.h"

DWORD KORV_STDCALL GlintBlt32(DDHAL_BLTDATA* data) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    if (driver->ModeChanged != 0) {
        ChangeDDHAL32Mode(driver);
    }
    return DDHAL_DRIVER_NOTHANDLED;
}
