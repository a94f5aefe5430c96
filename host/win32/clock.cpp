#include "host/win32/clock.h"

#include "driver/platform/win32.h"

namespace host::clock {

namespace {

struct State {
    uint32_t milliseconds = 0;
    std::function<uint64_t()> source;
    const void* owner = nullptr;
};

State& TheState() {
    static State state;
    return state;
}

} // namespace

void Set(uint32_t milliseconds) {
    TheState() = {milliseconds, nullptr, nullptr};
}

void Advance(uint32_t milliseconds) {
    Set(Now() + milliseconds);
}

void Follow(const void* owner, std::function<uint64_t()> microseconds) {
    TheState().source = std::move(microseconds);
    TheState().owner = owner;
}

void Unfollow(const void* owner) {
    if (TheState().owner == owner) {
        Set(Now());
    }
}

uint32_t Now() {
    const State& state = TheState();
    return state.source ? static_cast<uint32_t>(state.source() / 1000) : state.milliseconds;
}

void Reset() {
    Set(0);
}

} // namespace host::clock

extern "C" DWORD KORV_STDCALL timeGetTime() {
    return host::clock::Now();
}
