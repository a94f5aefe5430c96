#pragma once
// Whoever wants to follow what the machine does: a capture, for instance. Nobody listens unless he
// says so, and listening changes nothing of what is done.
#include "host/observe/call_fields.h"

#include <cstdint>
#include <string>

namespace host {

class Display;
class Surface;
class WatchedMemory;

class Observer {
  public:
    // Listens from now on, until destroyed.
    Observer();
    virtual ~Observer();
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

    // Wants to know what the processor stores in memories: OnBoard and OnAgpMemory are told. Asked
    // when a display is made.
    virtual bool WatchesMemories() const { return true; }
    // A display's board has power, and nothing has been done to it yet. Its memories are told from
    // the processor's view of them; null: there is none.
    virtual void OnBoard(Display&, WatchedMemory& frameBuffer, WatchedMemory* localBuffer) = 0;
    // It is about to lose it.
    virtual void OnBoardGone(Display&) = 0;
    // Memory of the machine that the chip reads textures from.
    virtual void OnAgpMemory(Display&, uint32_t busAddress, WatchedMemory&) = 0;
    // The display has a mode; its first one, too.
    virtual void OnMode(Display&) = 0;
    virtual void OnSurface(Display&, const Surface&) = 0;
    virtual void OnSurfaceGone(Display&, const Surface&) = 0;
    // People call it by this name.
    virtual void OnSurfaceName(Display&, const Surface&, const std::string& name) = 0;
    // null: no Z buffer.
    virtual void OnContext(Display&, uint32_t handle, const Surface& target,
                           const Surface* zBuffer) = 0;
    virtual void OnContextGone(Display&, uint32_t handle) = 0;
    // The driver is called; it has returned. The call may be any display's.
    virtual void OnCall(const char* name, const CallFields& fields) = 0;
    virtual void OnCallEnd() = 0;
    // The two have changed memories.
    virtual void OnFlip(Display&, const Surface& current, const Surface& target) = 0;
    // A frame has been drawn.
    virtual void OnFrame(Display&) = 0;
    // Somebody reads a surface as a picture, which has this name.
    virtual void OnPicture(Display&, const Surface&, const std::string& name) = 0;
    // A step of a script begins.
    virtual void OnStep(uint32_t number, const std::string& kind) = 0;
};

// Somebody listens.
bool Observed();
// Somebody who watches memories does.
bool MemoriesWatched();

// The `index`th observer, or null behind the last.
Observer* ObserverAt(size_t index);

// Calls a function of every observer: Tell(&Observer::OnFrame, display).
template <class... Parameters, class... Arguments>
void Tell(void (Observer::*what)(Parameters...), Arguments&&... arguments) {
    for (size_t i = 0; Observer* one = ObserverAt(i); ++i) {
        (one->*what)(arguments...);
    }
}

} // namespace host
