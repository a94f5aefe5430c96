#pragma once
// The rig for the members of a Delta setup unit.
#include "tests/driver/raster/del_reference.h"
#include "tests/driver/raster/setup_rig.h"

namespace test {

class DeltaRig : public SetupRig {
  public:
    explicit DeltaRig(bool dma = true) : SetupRig(dma) {
        chip.DeviceId = DevicePermedia;
        ctx.UseDelta = 1;
    }
};

} // namespace test
