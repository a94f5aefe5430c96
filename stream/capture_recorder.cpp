#include "stream/capture_recorder.h"

#include "board/board.h"
#include "chip/registers.h"
#include "stream/checksum.h"
#include "stream/format.h"

#include <algorithm>
#include <utility>

namespace stream {

namespace {

constexpr uint32_t kWordBytes = 4;

// Behind `words` words from a bus address on, within the bus.
uint32_t EndOfWords(uint32_t first, uint32_t words) {
    return static_cast<uint32_t>(
        std::min<uint64_t>(first + uint64_t{words} * kWordBytes, 0xFFFFFFFF));
}

} // namespace

CaptureRecorder::CaptureRecorder(board::Board& board, std::ostream& out, const std::string& maker)
    : board_(&board), writer_(out, board.Configuration(), maker) {
    board.SetMonitor(this);
}

CaptureRecorder::~CaptureRecorder() {
    if (board_ != nullptr) {
        board_->SetMonitor(nullptr);
    }
}

void CaptureRecorder::Store(Memory memory, uint32_t offset, std::span<const uint8_t> bytes) {
    PutTicks(ticks_);
    while (!bytes.empty()) {
        Event event;
        event.kind = EventKind::Store;
        event.memory = memory;
        event.offset = offset;
        event.bytes = bytes.first(std::min<size_t>(bytes.size(), format::kMostStoreBytes));
        Emit(event);
        offset += static_cast<uint32_t>(event.bytes.size());
        bytes = bytes.subspan(event.bytes.size());
    }
}

void CaptureRecorder::BeforeActing() {
    if (findStores_) {
        findStores_();
    }
}

void CaptureRecorder::AfterActing() {
    if (acted_) {
        acted_();
    }
}

void CaptureRecorder::Put(Mark mark, bool checked) {
    BeforeActing();
    PutTicks(ticks_);
    if (checked) {
        const Checksums sums = ChecksumsOf(*board_);
        mark.Add("frameBuffer", sums.frameBuffer);
        mark.Add("localBuffer", sums.localBuffer);
        mark.Add("registers", sums.registers);
    }
    Emit(mark);
}

void CaptureRecorder::BeginCall(Mark call) {
    Put(std::move(call));
    inCall_ = true;
    fifoBatch_ = false;
}

void CaptureRecorder::EndCall() {
    if (inCall_) {
        Put(Mark(MarkKind::CallEnd));
        inCall_ = false;
    }
}

void CaptureRecorder::DisownWords(uint32_t first, uint32_t end) {
    if (first >= end) {
        return;
    }
    auto at = owned_.lower_bound(first);
    if (at != owned_.begin() && std::prev(at)->second.end > first) {
        const OwnedWords before = std::prev(at)->second;
        std::prev(at)->second.end = first;
        if (before.end > end) {
            owned_[end] = before;
        }
    }
    while (at != owned_.end() && at->first < end) {
        const OwnedWords of = at->second;
        at = owned_.erase(at);
        if (of.end > end) {
            owned_[end] = of;
        }
    }
}

void CaptureRecorder::OwnWords(uint32_t first, uint32_t end) {
    DisownWords(first, end);
    OwnRest(first, end);
}

void CaptureRecorder::OwnRest(uint32_t first, uint32_t end) {
    const uint64_t call = writer_.At().call - 1;
    auto at = owned_.upper_bound(first);
    if (at != owned_.begin()) {
        first = std::max(first, std::prev(at)->second.end);
    }
    while (first < end) {
        const uint32_t gapEnd = at != owned_.end() ? std::min(end, at->first) : end;
        if (first < gapEnd) {
            owned_[first] = {call, gapEnd};
        }
        if (at == owned_.end()) {
            return;
        }
        first = std::max(first, at->second.end);
        ++at;
    }
}

// Whose word lies at the address; it is taken.
uint64_t CaptureRecorder::OwnerOf(uint32_t busAddress) {
    const auto behind = owned_.upper_bound(busAddress);
    if (behind == owned_.begin() || std::prev(behind)->second.end <= busAddress) {
        return kNobody;
    }
    const uint64_t call = std::prev(behind)->second.call;
    DisownWords(busAddress, busAddress + kWordBytes);
    return call;
}

void CaptureRecorder::EndWords() {
    Flush();
    if (wordsOf_ == kNobody) {
        return;
    }
    if (const auto last = walker_.Cut(writer_.At().word)) {
        primitives_.push_back(*last);
    }
    Mark mark(MarkKind::Primitives);
    mark.Add("call", static_cast<int64_t>(wordsOf_));
    std::string list;
    for (const PrimitiveWords& one : primitives_) {
        list +=
            (list.empty() ? "" : " ") + std::to_string(one.first) + "+" + std::to_string(one.count);
    }
    mark.Add("words", std::move(list));
    Emit(mark);
    primitives_.clear();
    wordsOf_ = kNobody;
}

// A word of this call comes next.
void CaptureRecorder::FollowWord(uint32_t word, uint64_t call) {
    // A mark has a limited length.
    constexpr size_t kMostPrimitives = 2000;
    if (call != wordsOf_ || primitives_.size() == kMostPrimitives) {
        PutTicks(ticks_ == 0 ? 0 : ticks_ - 1);
        EndWords();
        wordsOf_ = call;
        if (call != kNobody) {
            Emit(Mark(MarkKind::Words).Add("call", static_cast<int64_t>(call)));
            walker_.Cut(writer_.At().word);
        }
    }
    if (const auto ended = walker_.Take(writer_.At().word, word)) {
        primitives_.push_back(*ended);
    }
}

// An access may let time pass in itself, with lines of video: those stand before what takes them.
void CaptureRecorder::Emit(const Event& event) {
    Flush();
    writer_.Put(event);
}

void CaptureRecorder::Emit(const Mark& mark) {
    Flush();
    writer_.Put(mark);
}

void CaptureRecorder::Flush() {
    if (waiting_) {
        writer_.Put(*waiting_);
        waiting_.reset();
    }
}

void CaptureRecorder::PutTime(EventKind kind, uint64_t amount) {
    const uint32_t limit =
        kind == EventKind::Ticks ? format::kMostTicks : format::kMostMicroseconds;
    while (amount != 0) {
        Event event;
        event.kind = kind;
        event.value = static_cast<uint32_t>(std::min<uint64_t>(amount, limit));
        writer_.Put(event);
        amount -= event.value;
    }
}

void CaptureRecorder::PutTicks(uint64_t ticks) {
    Flush();
    PutTime(EventKind::Clock, std::exchange(microseconds_, 0));
    ticks_ -= ticks;
    PutTime(EventKind::Ticks, ticks);
}

void CaptureRecorder::OnTick() {
    if (microseconds_ != 0) {
        PutTicks(0);
    }
    ++ticks_;
}

// The access that comes next has made the latest tick, unless that is written already. True if so.
bool CaptureRecorder::TakeTick() {
    Flush();
    if (ticks_ == 0) {
        return false;
    }
    PutTicks(ticks_ - 1);
    ticks_ = 0;
    return true;
}

void CaptureRecorder::Put(EventKind kind) {
    PutTicks(ticks_);
    Event event;
    event.kind = kind;
    Emit(event);
}

void CaptureRecorder::OnClock(uint64_t microseconds) {
    if (ticks_ != 0) {
        PutTicks(ticks_);
    }
    microseconds_ += microseconds;
}

void CaptureRecorder::OnUnits() {
    Put(EventKind::Units);
}

void CaptureRecorder::OnRead(uint32_t offset, uint32_t value) {
    Event event;
    event.kind = EventKind::Read;
    event.ticked = !TakeTick();
    event.offset = offset;
    event.value = value;
    Emit(event);
}

void CaptureRecorder::OnWrite(uint32_t offset, uint32_t value) {
    if (offset == reg::DMAAddress) {
        dmaRegister_ = value;
    } else if (offset == reg::DMACount) {
        PutTicks(ticks_ == 0 ? 0 : ticks_ - 1);
        if (inCall_ && !handling_) {
            OwnRest(dmaRegister_, EndOfWords(dmaRegister_, value));
        }
        Emit(Mark(MarkKind::Batch).Add("address", dmaRegister_).Add("words", value));
        dmaAddress_ = dmaRegister_;
    }
    Event event;
    event.kind = EventKind::Write;
    event.ticked = !TakeTick();
    event.offset = offset;
    event.value = value;
    waiting_ = event;
}

void CaptureRecorder::OnFifoWord(uint32_t word) {
    Flush();
    if (!fifoBatch_) {
        fifoBatch_ = true;
        PutTicks(ticks_ == 0 ? 0 : ticks_ - 1);
        Emit(Mark(MarkKind::Batch));
    }
    FollowWord(word, inCall_ ? writer_.At().call - 1 : kNobody);
    Event event;
    event.kind = EventKind::FifoWord;
    event.ticked = !TakeTick();
    event.value = word;
    waiting_ = event;
}

void CaptureRecorder::OnDmaWord(uint32_t word) {
    PutTicks(ticks_);
    fifoBatch_ = false;
    FollowWord(word, OwnerOf(dmaAddress_));
    Event event;
    event.kind = EventKind::DmaWord;
    event.offset = dmaAddress_;
    event.value = word;
    Emit(event);
    dmaAddress_ += kWordBytes;
}

void CaptureRecorder::OnDmaFault() {
    Put(EventKind::DmaFault);
}

void CaptureRecorder::OnInterrupt() {
    handling_ = true;
    Put(EventKind::Interrupt);
}

void CaptureRecorder::OnInterruptEnd() {
    handling_ = false;
    Put(EventKind::InterruptEnd);
}

void CaptureRecorder::OnMapMemory(uint32_t busAddress, uint32_t bytes) {
    PutTicks(ticks_);
    Event event;
    event.kind = EventKind::HostMemory;
    event.offset = busAddress;
    event.value = bytes;
    Emit(event);
}

void CaptureRecorder::OnTiming(const board::Timing& timing) {
    PutTicks(ticks_);
    Event event;
    event.kind = EventKind::Timing;
    event.timing = &timing;
    Emit(event);
}

void CaptureRecorder::OnVideoSource(const board::VideoSignal* signal) {
    PutTicks(ticks_);
    Event event;
    event.kind = EventKind::VideoSource;
    event.signal = signal;
    Emit(event);
}

void CaptureRecorder::OnVideoLine(uint64_t field, uint32_t line, std::span<const uint16_t> pixels) {
    if (ticks_ != 0 || microseconds_ != 0) {
        PutTicks(ticks_);
    }
    Event event;
    event.kind = EventKind::VideoLine;
    event.field = field;
    event.offset = line;
    event.pixels = pixels.first(std::min<size_t>(pixels.size(), format::kMostLinePixels));
    writer_.Put(event);
}

void CaptureRecorder::Finish() {
    if (board_ == nullptr) {
        return;
    }
    Flush();
    EndWords();
    Put(Mark(MarkKind::End), true);
    writer_.Finish();
    board_->SetMonitor(nullptr);
    board_ = nullptr;
}

} // namespace stream
