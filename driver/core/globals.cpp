#include "driver/core/globals.h"

#include "driver/blit/primitives.h"
#include "driver/core/glintutl.h"
#include "driver/core/k32exp.h"
#include "driver/core/korv32.h"
#include "driver/core/korv32_flip.h"
#include "driver/core/registry.h"
#include "driver/d3d/dcontext.h"
#include "driver/d3d/direct3d.h"
#include "driver/diag/korvtrace.h"
#include "driver/heap/linalloc.h"

namespace {

template <class T>
DriverGlobal Zeroed(const char* name, T& global) {
    return {name, &global, sizeof(T), nullptr};
}

template <class T>
DriverGlobal Filled(const char* name, T& global, const T& initial) {
    return {name, &global, sizeof(T), &initial};
}

} // namespace

std::span<const DriverGlobal> DriverGlobals() {
    static const D3DDEVICEDESC permediaCaps = PermediaCaps;
    static const D3DDEVICEDESC txCaps = TXCaps;
    static const D3DDEVICEDESC sxCaps = SXCaps;
    static const DDHAL_DDEXEBUFCALLBACKS exeBufCallbacks = myD3DExeBufCallbacks;
    static const DriverGlobal globals[] = {
        Zeroed("CHIPRender", CHIPRender),
        Zeroed("ContextSlots", ContextSlots),
        Zeroed("D3DInitialised", D3DInitialised),
        Zeroed("DXGlobals", DXGlobals),
        Zeroed("FreeLibrary16", FreeLibrary16),
        Zeroed("GetProcAddress16", GetProcAddress16),
        Zeroed("GetpWin16Lock", GetpWin16Lock),
        Zeroed("HeapStats", HeapStats),
        Zeroed("LoadLibrary16", LoadLibrary16),
        Filled("PermediaCaps", PermediaCaps, permediaCaps),
        Filled("SXCaps", SXCaps, sxCaps),
        Filled("TXCaps", TXCaps, txCaps),
        Zeroed("VxDCall", VxDCall),
        Zeroed("alignment", alignment),
        Zeroed("bBlankReturn", bBlankReturn),
        Zeroed("bHALInitialisedOnce", bHALInitialisedOnce),
        Zeroed("basePtr", basePtr),
        Zeroed("flipRecord", flipRecord),
        Zeroed("functionList", functionList),
        Zeroed("hmod", hmod),
        Zeroed("lpD3DContextList", lpD3DContextList),
        Filled("myD3DExeBufCallbacks", myD3DExeBufCallbacks, exeBufCallbacks),
        Zeroed("pDriverData", pDriverData),
        Zeroed("pointer", pointer),
        Zeroed("registryKey", registryKey),
        Zeroed("rops", rops),
    };
    return globals;
}

void ResetDriverGlobals() {
    TermTrace();
    for (const DriverGlobal& global : DriverGlobals()) {
        if (global.Initial != nullptr) {
            __builtin_memcpy(global.Address, global.Initial, global.Bytes);
        } else {
            __builtin_memset(global.Address, 0, global.Bytes);
        }
    }
}
