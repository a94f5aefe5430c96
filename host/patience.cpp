#include "host/patience.h"

#include "chip/registers.h"
#include "driver/core/chipinfo.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/time.h>

namespace host {

namespace {

// So many ticks pass before the length of a wait is reckoned.
constexpr uint64_t kLookEvery = 1u << 16;
// The timer of processor time, and how many of its signals may follow each other within one call
// and without a bus access.
constexpr long kSignalMicroseconds = 250'000;
constexpr uint32_t kMostSignals = 12;

uint64_t limit = 0; // microseconds
PatienceHook hook;
// Of calls on all threads; a call that began later is another one.
volatile uint32_t calls = 0;
const char* volatile nameOfCall = nullptr;
volatile uint32_t callsUnderWay = 0;

std::string Number(uint64_t number) {
    return std::to_string(number);
}

std::string QueueState(const patience::Bus* bus) {
    const volatile ChipInfo* chip = bus != nullptr ? bus->Chip() : nullptr;
    if (chip == nullptr || (chip->DMAState & DMAQueueOn) == 0) {
        return "a word of shared memory that nobody changes";
    }
    return "the DMA queue: its tail is expected to move from " + Number(chip->QueueTail) +
           " on, the head is at " + Number(chip->QueueHead) + " of " + Number(chip->QueueEnd) +
           (chip->QueueRunning != 0 ? ", a transfer runs" : ", no transfer runs");
}

std::string RegisterState(uint32_t offset, uint32_t value) {
    switch (offset) {
    case reg::InFIFOSpace:
        return "FIFO space: more is expected than InFIFOSpace tells, " + Number(value);
    case reg::DMACount:
        return "the end of a transfer: DMACount is expected to be 0, and is " + Number(value);
    case reg::OutFIFOWords:
        return "the output FIFO: words are expected, and OutFIFOWords is " + Number(value);
    case reg::OutFIFOWord:
        return "the output FIFO: a tag is expected, and the word is " + Number(value);
    case reg::LineCounter:
        return "the vertical retrace: LineCounter stays at " + Number(value);
    case reg::IntFlags:
        return "an interrupt flag, or the vertical retrace: IntFlags is " + Number(value);
    default: {
        char text[64];
        std::snprintf(text, sizeof text, "register 0x%04X: it is 0x%X", offset, value);
        return text;
    }
    }
}

// Registers that FIFO and DMA engine change, and nothing else.
bool IsOfUnits(uint32_t offset) {
    return offset == reg::InFIFOSpace || offset == reg::DMACount || offset == reg::OutFIFOWords ||
           offset == reg::OutFIFOWord;
}

[[noreturn]] void GiveUp(const char* call, const std::string& what, const std::string& howLong) {
    // It ends the program; nothing can go on from here.
    const PatienceHook told = std::move(hook);
    hook = nullptr;
    const std::string name = call;
    told((name.ends_with("DATA") ? "the callback of " : "") + name + " waits for " + what + ", " +
         howLong);
    std::abort();
}

std::string Seconds(uint64_t microseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%g s", static_cast<double>(microseconds) / 1e6);
    return text;
}

// A plain loop over shared memory never comes by the bus: it is told by the processor time.
void OnProcessorTime(int) {
    static uint32_t lastCall, lastAccess, signals;
    if (callsUnderWay == 0 || calls != lastCall || patience::begun != lastAccess ||
        patience::begun != patience::ended) {
        lastCall = calls;
        lastAccess = patience::begun;
        signals = 0;
        return;
    }
    if (++signals == kMostSignals && hook) {
        GiveUp(nameOfCall, QueueState(patience::watch.bus),
               "for " + Seconds(uint64_t{kMostSignals} * kSignalMicroseconds) +
                   " of processor time");
    }
}

void SetTimer(long microseconds) {
    const itimerval timer{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_VIRTUAL, &timer, nullptr);
}

} // namespace

void SetPatience(uint64_t microseconds, PatienceHook told) {
    static struct sigaction before;
    if (hook) {
        SetTimer(0);
        sigaction(SIGVTALRM, &before, nullptr);
    }
    limit = microseconds;
    hook = std::move(told);
    if (hook) {
        struct sigaction action {};
        action.sa_handler = OnProcessorTime;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(SIGVTALRM, &action, &before);
        SetTimer(limit != 0 ? kSignalMicroseconds : 0);
    }
}

namespace patience {

thread_local Watch watch;
volatile uint32_t begun = 0, ended = 0;

void Forget(const Bus* bus) {
    if (watch.bus == bus) {
        watch.bus = nullptr;
    }
}

void Look() {
    watch.lookAt = watch.ticks + kLookEvery;
    if (!hook) {
        return;
    }
    // Idle rounds that follow each other come from a loop over shared memory.
    const bool shared = watch.idles > 1;
    const uint32_t tick = watch.bus->Tick();
    const bool ofUnits = IsOfUnits(watch.offset);
    // With a clock that stands still nothing comes of waiting for the beam either.
    const bool inVain = !shared && (ofUnits || tick == 0) && watch.bus->AtRest(watch.ticks);
    const uint64_t waited = watch.ticks * std::max(tick, 1u);
    if (!inVain && (limit == 0 || waited < limit)) {
        return;
    }
    const bool before = watch.offsetBefore == reg::LineCounter;
    GiveUp(watch.call,
           shared   ? QueueState(watch.bus)
           : before ? RegisterState(watch.offsetBefore, watch.valueBefore)
                    : RegisterState(watch.offset, watch.value),
           inVain ? "and nothing on the board will change that"
                  : "for " + Seconds(waited) + " of the board's time");
}

void GotOn() {
    if (!watch.suspended) {
        watch.ticks = 0;
        watch.lookAt = kLookEvery;
    }
}

void BeginCall(const char* call) {
    const Bus* const bus = watch.bus;
    watch = {};
    watch.bus = bus;
    watch.inCall = true;
    watch.call = call;
    watch.lookAt = kLookEvery;
    calls = calls + 1;
    nameOfCall = call;
    callsUnderWay = callsUnderWay + 1;
}

void EndCall() {
    watch.inCall = false;
    callsUnderWay = callsUnderWay - 1;
}

} // namespace patience

} // namespace host
