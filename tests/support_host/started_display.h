#pragma once
// A display that the driver has brought up on a machine just switched on, and the runtime on it.
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"
#include "host/display/machine.h"
#include "host/inspect/unwaited.h"

#include <stdexcept>
#include <string>

namespace test {

class StartedDisplay {
  public:
    // `recorder` hears all from before DriverInit on.
    explicit StartedDisplay(const host::DisplayConfig& config,
                            board::BusRecorder* recorder = nullptr)
        : display(SwitchedOn(config)), directDraw(Started(recorder)) {}

    // What the board complains of; empty when healthy.
    std::string Faults() { return host::UnexpectedFaults(display.Board()).Describe(); }

    host::Display display;
    host::DirectDraw directDraw;

  private:
    static const host::DisplayConfig& SwitchedOn(const host::DisplayConfig& config) {
        host::PowerCycle();
        return config;
    }
    host::Display& Started(board::BusRecorder* recorder) {
        display.Board().SetRecorder(recorder);
        if (!display.Start()) {
            throw std::runtime_error("the driver refused the display");
        }
        return display;
    }
};

} // namespace test
