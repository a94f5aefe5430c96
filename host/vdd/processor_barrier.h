#pragma once

namespace host {

// Returns when every thread of the process has passed a full memory barrier since the call. An
// interrupt does this to the processor that it stops; the interrupt handler here may run on a
// thread of its own and asks for it. On a kernel without the service only this thread passes one.
void SerialiseProcessors();

} // namespace host
