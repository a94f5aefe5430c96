#pragma once
// How texels and colours meet: the codes that render states choose and bindings look at.
#include <cstdint>

// TextureColorMode's colour field, on all chips but TX: the texel alone.
inline constexpr uint32_t kColorModeCopy = 3;
// TextureFormat's colour field, which does the same on TX.
inline constexpr uint32_t kTXModulate = 0;
inline constexpr uint32_t kTXCopy = 1;
