#pragma once
// Accesses that the processor is not allowed, for those who took the rights away to hear of them.
#include <ucontext.h>

namespace host {

// Hears of faults from its construction to its destruction. The first one there brings the handler
// of the signal and a stack for it, the last one takes both away again; what nobody answers for
// goes to whoever had the signal before.
class FaultHandler {
  public:
    FaultHandler();
    virtual ~FaultHandler();
    FaultHandler(const FaultHandler&) = delete;
    FaultHandler& operator=(const FaultHandler&) = delete;

    // An access to `address` was refused. True if it is answered for: the instruction at `context`
    // runs next, the same one unless that was changed. Called in a signal handler, of this thread's
    // own making; another fault may come in it.
    virtual bool OnFault(void* address, ucontext_t* context) = 0;
};

} // namespace host
