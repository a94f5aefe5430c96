#pragma once

namespace host {

// Switches the machine off and on: Win32, the mini VDD and the driver module start from nothing.
// Throws std::logic_error while a display exists, std::runtime_error if a DLL finds no room.
void PowerCycle();

} // namespace host
