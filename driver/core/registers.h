#pragma once
// The driver's door to the chip's register aperture.
#include "chip/aperture.h" // IWYU pragma: export
