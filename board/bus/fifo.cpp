#include "board/bus/fifo.h"

#include <algorithm>

namespace board {

void InputFifo::Configure(uint32_t depth, uint32_t reportLag, uint32_t reportCap) {
    depth_ = depth;
    reportLag_ = reportLag;
    reportCap_ = reportCap;
    reports_.clear();
}

RegisterWrite InputFifo::Pop() {
    const RegisterWrite write = entries_.front();
    entries_.pop_front();
    return write;
}

uint32_t InputFifo::Space() const {
    return Full() ? 0 : depth_ - static_cast<uint32_t>(entries_.size());
}

uint32_t InputFifo::ReportSpace() {
    uint32_t space = Space();
    reports_.push_back(space);
    if (reports_.size() > reportLag_ + 1u) {
        reports_.pop_front();
    }
    space = std::min(space, reports_.front());
    return reportCap_ != 0 ? std::min(space, reportCap_) : space;
}

} // namespace board
