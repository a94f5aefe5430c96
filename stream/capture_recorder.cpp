#include "stream/capture_recorder.h"

#include "board/board.h"
#include "chip/registers.h"
#include "stream/checksum.h"
#include "stream/format.h"

#include <algorithm>
#include <utility>

namespace stream {

namespace {

// Bus addresses that nothing lies behind.
constexpr uint32_t kOpenEnd = 0xFFFFFFFF;

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

void CaptureRecorder::OwnWords(uint32_t busAddress) {
    Flush();
    // What was there before has been overwritten.
    auto after = owned_.lower_bound(busAddress);
    if (after != owned_.begin()) {
        auto& before = std::prev(after)->second;
        before.end = std::min(before.end, busAddress);
    }
    const uint32_t end = after != owned_.end() ? after->first : kOpenEnd;
    owned_[busAddress] = {writer_.At().call - 1, end};
}

void CaptureRecorder::KeepWords(uint32_t busAddress, uint32_t busEnd) {
    const auto found = owned_.find(busAddress);
    if (found != owned_.end()) {
        found->second.end = std::min(found->second.end, busEnd);
        if (found->second.end <= busAddress) {
            owned_.erase(found);
        }
    }
}

// Whose word lies at the address; it is taken.
uint64_t CaptureRecorder::OwnerOf(uint32_t busAddress) {
    auto behind = owned_.upper_bound(busAddress);
    if (behind == owned_.begin()) {
        return inCall_ ? writer_.At().call - 1 : kNobody;
    }
    const auto found = std::prev(behind);
    const OwnedWords owner = found->second;
    if (busAddress >= owner.end) {
        return inCall_ ? writer_.At().call - 1 : kNobody;
    }
    owned_.erase(found);
    if (busAddress + 4 < owner.end) {
        owned_[busAddress + 4] = owner;
    }
    return owner.call;
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
    dmaAddress_ += 4;
}

void CaptureRecorder::OnDmaFault() {
    Put(EventKind::DmaFault);
}

void CaptureRecorder::OnInterrupt() {
    Put(EventKind::Interrupt);
}

void CaptureRecorder::OnInterruptEnd() {
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
