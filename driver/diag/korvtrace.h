#pragma once
// Running every DMA batch in lock-step with an outside trace tool.
#include "driver/core/stream.h"

// StartDMA, then waits for the chip after the batch.
int32_t StartDMA_Trace(DriverData* driver, uint32_t context, uint32_t count, uint32_t physical,
                       uint32_t* linear, uint32_t reserved);
// Closes an open trace; does nothing without one.
void TermTrace();
