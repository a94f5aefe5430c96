#pragma once
// The hosted build's Win32: every entry that driver/platform/win32.h declares is defined in this
// directory. The headers beside this one let tests and the host steer and inspect it.

namespace host {

// Puts everything to power-on state: empty registry, no heaps, no devices, no named objects, one
// Pentium, clock at 0, free Win16 lock. Handles given out before are dead and are not given out
// again.
void ResetWin32();

} // namespace host
