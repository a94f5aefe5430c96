#include "driver/blit/pmdirecx.h"

#include "driver/core/korv32.h"

CHIPRenderTable CHIPRender;

void SetupFnTable(DriverData* driver) {
    if (driver == nullptr || driver->ChipInfo == nullptr) {
        return;
    }
    CHIPRender.ModeKey = driver->ModeKey;
}

DWORD KORV_STDCALL PermediaBlt32(DDHAL_BLTDATA* data) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    if (driver->ModeChanged != 0) {
        ChangeDDHAL32Mode(driver);
    }
    return DDHAL_DRIVER_NOTHANDLED;
}
