// The watchdog of the video port.
#include "driver/core/chipbus.h"
#include "driver/video/video.h"

namespace {

constexpr uint32_t kSampleTicks = 470000; // of FreeRunningTimer
constexpr uint32_t kMaxFailures = 50;

} // namespace

uint32_t CheckVideoPortStatus(DriverData* driver, uint32_t sampleNow) {
    if (driver->VideoPortActive == 0) {
        return 0;
    }
    const uint32_t now = ReadChip(driver->Registers, reg::FreeRunningTimer);
    if (sampleNow != 0) {
        driver->VideoNeedSample = 1;
    }
    if (driver->VideoNeedSample != 0) {
        driver->VideoLastTime = now;
        driver->VideoLastLine = ReadChip(driver->Registers, reg::VSCurrentLine);
        driver->VideoLastBuffer = ReadChip(driver->Registers, reg::VSCurrentBuffer);
        driver->VideoNeedSample = 0;
        return 1;
    }
    // The sum wraps with the timer, so a sample near its end counts as old at once.
    if (now <= driver->VideoLastTime + kSampleTicks) {
        return driver->VideoPortActive;
    }
    const bool stuck = ReadChip(driver->Registers, reg::VSCurrentLine) == driver->VideoLastLine &&
                       ReadChip(driver->Registers, reg::VSCurrentBuffer) == driver->VideoLastBuffer;
    driver->VideoFailures = stuck ? driver->VideoFailures + 1 : 0;
    driver->VideoNeedSample = 1;
    if (driver->VideoFailures > kMaxFailures) {
        driver->VideoPortActive = 0;
    }
    return driver->VideoPortActive;
}
