#include "host/trace/context_trace.h"

#include "driver/d3d/dcontext.h"
#include "driver/diag/korvtrace.h"
#include "host/driver_module.h"
#include "host/win32/sync.h"

#include <algorithm>

namespace host {

namespace {

bool IsTraced(const D3DContext& context) {
    return context.TraceEnabled != 0 && context.Stream.StartDMA == StartDMA_Trace;
}

} // namespace

bool TraceContexts() {
    if (!TheDriverModule().linked) {
        return false;
    }
    bool traced = false;
    for (D3DContext* context : ContextSlots) {
        if (context == nullptr || context->Magic != kContextMagic ||
            context->Stream.CommandMode != kCommandModeDMA) {
            continue;
        }
        context->TraceEnabled = 1;
        context->Stream.StartDMA = StartDMA_Trace;
        traced = true;
    }
    return traced;
}

bool TraceIsOpen() {
    // The trace alone makes the driver open such handles.
    return OpenSyncHandles() != 0;
}

void OpenTrace() {
    InitTrace();
}

uint32_t TracedContextAt(uint32_t physical) {
    for (const D3DContext* context : ContextSlots) {
        if (context == nullptr || !IsTraced(*context)) {
            continue;
        }
        const CommandStream& stream = context->Stream;
        const auto end = stream.SubBuffers + stream.SubBufferCount;
        if (stream.HardwareContext == context->Driver->ChipInfo->CurrentContext &&
            std::find_if(stream.SubBuffers, end, [physical](const SubBuffer& piece) {
                return piece.Physical == physical;
            }) != end) {
            return stream.HardwareContext;
        }
    }
    return 0;
}

} // namespace host
