#include "host/win32/dci.h"

namespace host {

namespace {

struct State {
    DCIRVAL result = DCI_OK;
    DciCalls calls;
};

State& TheState() {
    static State state;
    return state;
}

} // namespace

void SetDciResult(DCIRVAL result) {
    TheState().result = result;
}

const DciCalls& Dci() {
    return TheState().calls;
}

void ResetDci() {
    TheState() = {};
}

} // namespace host

using namespace host;

extern "C" DCIRVAL KORV_STDCALL DCIBeginAccess(DCISURFACEINFO* surface, int x, int y, int width,
                                               int height) {
    DciCalls& calls = TheState().calls;
    calls = {calls.begins + 1, calls.ends, surface, x, y, width, height};
    return TheState().result;
}

extern "C" void KORV_STDCALL DCIEndAccess(DCISURFACEINFO* surface) {
    ++TheState().calls.ends;
    TheState().calls.surface = surface;
}
