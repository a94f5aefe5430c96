#pragma once
// The input FIFO: register writes that wait for the pipeline.
#include "board/values/registers.h"
#include "board/values/state_visitor.h"

#include <cstdint>
#include <deque>

namespace board {

class InputFifo {
  public:
    // `depth` in entries. Reports of the free space are held back by `reportLag` reads and cut at
    // `reportCap` entries (0 = uncut). Waiting entries stay.
    void Configure(uint32_t depth, uint32_t reportLag, uint32_t reportCap);

    bool Empty() const { return entries_.empty(); }
    bool Full() const { return entries_.size() >= depth_; }
    void Push(RegisterWrite write) { entries_.push_back(write); }
    RegisterWrite Pop();

    // Free entries now.
    uint32_t Space() const;
    // Free entries as the processor reads them: never more than there are, and, with a lag, never
    // more than there were that many reads ago.
    uint32_t ReportSpace();
    // What ReportSpace would say.
    uint32_t NextReport() const;
    void Visit(StateVisitor& visit);

  private:
    std::deque<RegisterWrite> entries_;
    std::deque<uint32_t> reports_; // spaces at the latest reads, oldest first
    uint32_t depth_ = 0;
    uint32_t reportLag_ = 0;
    uint32_t reportCap_ = 0;
};

} // namespace board
