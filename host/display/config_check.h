#pragma once
// What the machines have that this driver runs on.
#include "host/display/display.h"

#include <stdexcept>
#include <string>

namespace host {

// A field that no machine can have so. `what()` names the bounds, but not the field.
struct ConfigError : std::invalid_argument {
    ConfigError(std::string name, const std::string& what)
        : std::invalid_argument(what), field(std::move(name)) {}

    std::string field; // as in scripts: "dmaBuffers", "timing/fifoDepth"
};

// Throws ConfigError for a field out of its bounds, and std::invalid_argument for a device, depth
// or size that no board has.
void CheckConfig(const DisplayConfig& config);

// Throws ConfigError where a display cannot stand beside another: the driver reads the registry of
// the display that was started last for every context that it makes, and may cut either's DMA
// buffers by the other's registry.
void CheckBeside(const DisplayConfig& config, const DisplayConfig& other);

// The part of it that a mode change can break.
void CheckMode(const DisplayConfig& config);

// Bytes behind the screen that the driver's heap has in the rectangular layout, for the exported
// services alone; the runtime has all before them.
inline constexpr uint32_t kServiceHeapBytes = 256 * 1024;

} // namespace host
