#include "host/display/machine.h"

#include "host/driver_module.h"
#include "host/vdd/minivdd.h"
#include "host/win32/win32.h"

#include <stdexcept>

namespace host {

void PowerCycle() {
    if (TheMiniVdd().Displays() != 0) {
        throw std::logic_error("a display is still running");
    }
    ResetWin32();
    TheMiniVdd().Reset();
    LoadDriver();
}

} // namespace host
