#pragma once
// The register lists of the context table: which registers a client of the chip finds again as it
// left them.
#include <cstdint>
#include <vector>

namespace host {

// Aperture offsets of all registers that are state a client can set on this chip, in the order in
// which they are to be written back. `delta`: with a setup chip in front of it.
std::vector<uint16_t> StateRegisters(uint32_t deviceId, bool delta = false);

// The same without the interpolants' start values and steps: what drawing at screen level needs.
std::vector<uint16_t> ScreenRegisters(uint32_t deviceId, bool delta = false);

} // namespace host
