#pragma once
// The rig for the members of Permedia 2.
#include "tests/driver/raster/p2_reference.h"
#include "tests/driver/raster/setup_rig.h"

namespace test {

using P2Rig = SetupRig;

} // namespace test
