#pragma once
// Waits of the driver that never end. The driver has no limit of its own: it polls a register or a
// word of shared memory until the chip, or the queue's handler, has moved on. Here such a wait is
// noticed, so that a board that never answers ends the program with a line instead of hanging it.
#include <cstdint>
#include <functional>
#include <string>

struct ChipInfo;

namespace host {

// Told of a wait that has become too long: the call, what it waits for and what is there. Called in
// the middle of the driver, in a signal handler too, so it must end the program.
using PatienceHook = std::function<void(const std::string& wait)>;

// From now on a call may poll for so long between two writes to the chip, in microseconds of the
// board's clock (a tick counts as one at least), and may use some seconds of processor time without
// any access to the bus; 0 microseconds: for ever. A wait that nothing on the board can end is told
// at once. No hook: nothing is told.
void SetPatience(uint64_t microseconds, PatienceHook hook);

// What DriverCall and the bus of a display tell. Only the thread in a call is watched, and not
// while the interrupt handler has it.
namespace patience {

// What a wait is judged by, of one display.
class Bus {
  public:
    explicit Bus(const ChipInfo* chip) : chip_(chip) {}
    const ChipInfo* Chip() const { return chip_; }
    // Length of a tick in microseconds of the board's clock.
    virtual uint32_t Tick() const = 0;
    // No tick changes what InFIFOSpace, DMACount and the output FIFO read, however many follow.
    virtual bool AtRest(uint64_t ticksWaited) const = 0;

  protected:
    ~Bus() = default;

  private:
    const ChipInfo* chip_;
};

struct Watch {
    bool inCall = false;    // a call is under way on this thread
    bool suspended = false; // the interrupt handler runs on it
    const char* call = nullptr;
    uint32_t offset = 0, value = 0;             // read last
    uint32_t offsetBefore = 0, valueBefore = 0; // read before that
    uint32_t idles = 0;                         // in a row, behind that
    uint64_t ticks = 0, lookAt = 0;             // since the last write
    const Bus* bus = nullptr;                   // used last
};
extern thread_local Watch watch;

// Accesses of any thread; those that have not ended are under way.
extern volatile uint32_t begun, ended;

// The display's bus goes away.
void Forget(const Bus* bus);

// Decides whether the wait is too long.
void Look();

inline void Pass(uint32_t ticks) {
    watch.ticks += ticks;
    if (watch.ticks >= watch.lookAt) {
        Look();
    }
}

inline void OnRead(uint32_t offset, uint32_t value) {
    if (watch.inCall && !watch.suspended) {
        if (watch.offset != offset) {
            watch.offsetBefore = watch.offset;
            watch.valueBefore = watch.value;
        }
        watch.offset = offset;
        watch.value = value;
        watch.idles = 0;
        Pass(1);
    }
}

inline void OnIdle(uint32_t rounds) {
    if (watch.inCall && !watch.suspended) {
        ++watch.idles;
        Pass(rounds);
    }
}

// A write: the driver has got on.
void GotOn();

// Stands around an access, so that the time that the board takes is not the driver's.
class Access {
  public:
    explicit Access(const Bus* bus) {
        begun = begun + 1;
        watch.bus = bus;
    }
    ~Access() { ended = ended + 1; }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;
};

// Stands around a run of the interrupt handler.
class Suspended {
  public:
    Suspended() : before_(watch.suspended) { watch.suspended = true; }
    ~Suspended() { watch.suspended = before_; }
    Suspended(const Suspended&) = delete;
    Suspended& operator=(const Suspended&) = delete;

  private:
    const bool before_;
};

void BeginCall(const char* call);
void EndCall();

} // namespace patience

} // namespace host
