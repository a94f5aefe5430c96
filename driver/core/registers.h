#pragma once
// The driver's door to the chip's register aperture.
#include "chip/registers.h" // IWYU pragma: export
