#pragma once
#include "chip/devices.h"

#include <cstdint>

namespace host {

// The row of a ChipInfo.DeviceId. Throws std::invalid_argument for an id that no board has.
const DeviceRow& KnownDevice(uint32_t deviceId);

} // namespace host
