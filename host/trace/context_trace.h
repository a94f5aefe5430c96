#pragma once
// The driver's DMA trace as a debugger turns it on: in the records of the Direct3D contexts, which
// only the linked driver's are to be found.
#include <cstdint>

namespace host {

// Turns the trace on in every live context that sends by DMA. Contexts are made with the trace off.
// Whether there is such a context; never with a driver DLL.
bool TraceContexts();

// Whether the driver has the objects of a trace open. The end of any context closes them for all.
bool TraceIsOpen();

// Opens the trace tool's semaphores and record, which must be there, on the driver's side.
void OpenTrace();

// The hardware context that is in force, if it is a traced one's and the bus address `physical` is
// where one of its sub-buffers starts; else 0.
uint32_t TracedContextAt(uint32_t physical);

} // namespace host
