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
    const uint32_t report = NextReport();
    reports_.push_back(Space());
    if (reports_.size() > reportLag_ + 1u) {
        reports_.pop_front();
    }
    return report;
}

uint32_t InputFifo::NextReport() const {
    uint32_t space = Space();
    if (reports_.size() > reportLag_) {
        // The oldest one leaves, and the next counts.
        space = std::min(space, reportLag_ == 0 ? space : reports_[1]);
    } else if (!reports_.empty()) {
        space = std::min(space, reports_.front());
    }
    return reportCap_ != 0 ? std::min(space, reportCap_) : space;
}

void InputFifo::Visit(StateVisitor& visit) {
    auto& [entries, reports, depth, reportLag, reportCap] = *this;
    std::vector<uint64_t> words;
    for (const RegisterWrite& write : entries) {
        words.insert(words.end(), {write.tag, write.data});
    }
    visit.List("entries", words, 2, [](const uint64_t* write) {
        return write[0] <= kTagMask && StateVisitor::Word32(&write[1]);
    });
    entries.clear();
    for (size_t i = 0; i < words.size(); i += 2) {
        entries.push_back({static_cast<uint32_t>(words[i]), static_cast<uint32_t>(words[i + 1])});
    }
    std::vector<uint64_t> spaces(reports.begin(), reports.end());
    visit.List("reports", spaces, 1, StateVisitor::Word32);
    reports.assign(spaces.begin(), spaces.end());
    visit.Value("depth", depth);
    visit.Value("reportLag", reportLag);
    visit.Value("reportCap", reportCap);
}

} // namespace board
