#pragma once
// The traced program's side of `korv trace`.
#include "board/recorder.h"
#include "tools/korv/capture/trace_objects.h"

#include <memory>

namespace korv::trace {

// While one lives, this program is traced: it sets in every Direct3D context what a debugger would
// set to turn the driver's lock-step on, and logs the words of the stream. One at a time.
class Client {
  public:
    // Throws std::runtime_error unless a tool of this session has made the objects.
    Client();
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Logs the events of one more board. Must not outlive the client.
    std::unique_ptr<board::BusRecorder> NewTap();

  private:
    class Tap;

    bool Listening() const { return record_->Active != 0; }
    void FollowContexts();
    void Join();
    void NoteReport();

    const std::shared_ptr<void> recordMemory_, logMemory_;
    volatile DMATraceRecord* const record_;
    WordLog* const log_;
    uint8_t streams_ = 0;
    // The batch under way.
    bool underWay_ = false;
    bool transferred_ = false;
    uint32_t transferStart_ = 0; // position in the log
    uint32_t address_ = 0;       // on the bus
};

// The tap of one more board if this program is traced, else null.
std::unique_ptr<board::BusRecorder> NewTap();

} // namespace korv::trace
