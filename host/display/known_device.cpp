#include "host/display/known_device.h"

#include <stdexcept>
#include <string>

namespace host {

const DeviceRow& KnownDevice(uint32_t deviceId) {
    const DeviceRow* device = FindDevice(deviceId);
    if (device == nullptr) {
        throw std::invalid_argument("no board has device id " + std::to_string(deviceId));
    }
    return *device;
}

} // namespace host
