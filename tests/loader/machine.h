#pragma once
// A machine that runs once with the linked driver or with KORV32.dll, and what it left behind.
#include "driver/platform/d3dhal.h"
#include "tests/support/bus_events.h"
#include "tests/support_host/dll_path.h"
#include "tests/support_host/started_display.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test {

// Empty if both are equal, else the first place where they differ, with what led to it.
std::string Difference(const std::vector<BusEvent>& library, const std::vector<BusEvent>& dll);

enum class Driver { Library, Dll };
// This driver is the machine's from when it is switched on next.
void Choose(Driver driver);
// Switches the machine off and on with this driver.
void PowerOn(Driver driver);

struct Outcome {
    std::vector<BusEvent> events; // from before DriverInit on
    std::vector<uint8_t> picture, depth;
    std::string faults;
};

// A display that this driver has brought up, and what has happened on its bus.
class RecordedDisplay {
  public:
    RecordedDisplay(Driver driver, const host::DisplayConfig& config)
        : started_((Choose(driver), config), &recording_) {}

    host::Display& Display() { return started_.display; }
    host::DirectDraw& DirectDraw() { return started_.directDraw; }
    // Events and faults once the board has done all; nothing is recorded from then on.
    Outcome Finish();

  private:
    BusEvents recording_;
    StartedDisplay started_;
};

// A display of 320 by 240 pixels.
host::DisplayConfig SmallScreen(uint32_t deviceId);

// What the triangles are made of: shapes on the target with all states mixed, or shapes that reach
// the ends of what a single can hold.
enum class Numbers { Plain, Extreme };

// Powers on, brings the display up, and draws a seeded mixture of triangles if `triangles` is not
// 0.
Outcome Play(Driver driver, const host::DisplayConfig& config, uint32_t triangles = 0,
             uint32_t seed = 1, Numbers numbers = Numbers::Plain);

inline constexpr uint32_t kAllDevices[] = {DeviceSX,
                                           DeviceTX,
                                           DeviceMX,
                                           DevicePermedia,
                                           DevicePermediaSecond,
                                           DevicePermedia2,
                                           DevicePermedia2Second};
// The chips that draw without a setup unit.
inline constexpr uint32_t kDrawingDevices[] = {DeviceSX, DeviceTX, DeviceMX, DevicePermedia};

} // namespace test
