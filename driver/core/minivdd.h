#pragma once
// The mini VDD, asked by requests of one call each.
#include "driver/platform/minivdd.h" // IWYU pragma: export

#include <cstdint>

// One request to the mini VDD, which is opened and closed around it. 0 on failure.
int32_t DoIOCTL(uint32_t code, void* in, uint32_t inSize, void* out, uint32_t outSize,
                uint32_t* returnedBytes);
