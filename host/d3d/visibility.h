#pragma once
// The visibility question: would any pixel of some triangles pass the depth test? The driver has
// operations for it that none of its entries calls.
#include "driver/platform/d3dhal.h"

#include <span>

namespace host {

class Device3D;

// Asks the driver's operation for the device's kind of chip, with the states in force: 1 for yes, 0
// for no. Nothing is drawn. Only with the linked driver; throws std::logic_error otherwise.
uint32_t AskVisibility(Device3D& device, std::span<const D3DTLVERTEX> vertices,
                       std::span<const D3DTRIANGLE> records);

} // namespace host
