#pragma once
// What stands below KORV32: the mini VDD, and the records that it and the display driver have
// filled.
#include <cstdint>

extern "C" {
#include "packaging/windows95/include/korv32.h"
}

namespace chk {

class Report;

// Asks the mini VDD for the records of a display and tells of them. Null if there are none to look
// at.
const KorvDriverData* CheckDisplay(Report& report, uint32_t number);

// Runs the checks of bring-up in their order, up to the first that fails.
void BringUp(Report& report, uint32_t number);

} // namespace chk
