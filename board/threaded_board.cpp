#include "board/threaded_board.h"

#include <utility>

namespace board {

ThreadedBoard::ThreadedBoard(const Config& config) : Board(config, Pace::Rounds) {
    thread_ = std::thread([this] { Work(); });
}

ThreadedBoard::~ThreadedBoard() {
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void ThreadedBoard::Work() {
    std::unique_lock lock(mutex_);
    while (!stop_) {
        if (!HasWork()) {
            rest_.notify_all();
            wake_.wait(lock);
            continue;
        }
        Round();
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
    }
}

// Called by a round, so with the mutex held.
void ThreadedBoard::CallHandler(const std::function<void()>& handler) {
    handling_ = true;
    mutex_.unlock();
    handler();
    mutex_.lock();
    handling_ = false;
}

void ThreadedBoard::LetWork(std::unique_lock<std::mutex>& lock) {
    if (HasWork()) {
        lock.unlock();
        wake_.notify_one();
        std::this_thread::yield();
    }
}

uint32_t ThreadedBoard::Read(uint32_t offset) {
    std::unique_lock lock(mutex_);
    const uint32_t value = Board::Read(offset);
    LetWork(lock);
    return value;
}

void ThreadedBoard::Write(uint32_t offset, uint32_t value) {
    std::unique_lock lock(mutex_);
    Board::Write(offset, value);
    LetWork(lock);
}

void ThreadedBoard::WriteFifo(const uint32_t* words, size_t count) {
    std::unique_lock lock(mutex_);
    Board::WriteFifo(words, count);
    LetWork(lock);
}

void ThreadedBoard::Idle(uint32_t ticks) {
    {
        std::unique_lock lock(mutex_);
        Board::Idle(ticks);
        LetWork(lock);
    }
    std::this_thread::yield();
}

void ThreadedBoard::Advance(uint64_t microseconds) {
    std::unique_lock lock(mutex_);
    Board::Advance(microseconds);
    LetWork(lock);
}

void ThreadedBoard::Drain() {
    std::unique_lock lock(mutex_);
    if (std::this_thread::get_id() == thread_.get_id()) {
        Board::Drain();
        return;
    }
    wake_.notify_one();
    rest_.wait(lock, [this] { return !HasWork() && !handling_; });
}

void ThreadedBoard::MapMemory(uint32_t busAddress, const void* memory, size_t bytes) {
    const std::lock_guard lock(mutex_);
    Board::MapMemory(busAddress, memory, bytes);
}

void ThreadedBoard::SetMemoryReader(MemoryReader reader) {
    const std::lock_guard lock(mutex_);
    Board::SetMemoryReader(std::move(reader));
}

uint32_t ThreadedBoard::Peek(uint32_t offset) const {
    const std::lock_guard lock(mutex_);
    return Board::Peek(offset);
}

bool ThreadedBoard::InterruptLevel() const {
    const std::lock_guard lock(mutex_);
    return Board::InterruptLevel();
}

void ThreadedBoard::SetInterruptHandler(std::function<void()> handler) {
    const std::lock_guard lock(mutex_);
    Board::SetInterruptHandler(std::move(handler));
}

void ThreadedBoard::SetRecorder(BusRecorder* recorder) {
    const std::lock_guard lock(mutex_);
    Board::SetRecorder(recorder);
}

void ThreadedBoard::SetVideoSource(VideoSource* source) {
    const std::lock_guard lock(mutex_);
    Board::SetVideoSource(source);
}

bool ThreadedBoard::AtRest() const {
    const std::lock_guard lock(mutex_);
    return !HasWork() && !handling_;
}

void ThreadedBoard::SetTiming(const Timing& timing) {
    const std::lock_guard lock(mutex_);
    Board::SetTiming(timing);
}

uint32_t ThreadedBoard::ShownBase() const {
    const std::lock_guard lock(mutex_);
    return Board::ShownBase();
}

uint64_t ThreadedBoard::Microseconds() const {
    const std::lock_guard lock(mutex_);
    return Board::Microseconds();
}

Faults ThreadedBoard::FaultReport() const {
    const std::lock_guard lock(mutex_);
    return Board::FaultReport();
}

EntryCounts ThreadedBoard::Entered() const {
    const std::lock_guard lock(mutex_);
    return Board::Entered();
}

std::vector<uint8_t> ThreadedBoard::Save(Contents contents) {
    const std::lock_guard lock(mutex_);
    return Board::Save(contents);
}

std::optional<std::string> ThreadedBoard::Restore(std::span<const uint8_t> snapshot) {
    std::unique_lock lock(mutex_);
    std::optional<std::string> error = Board::Restore(snapshot);
    LetWork(lock);
    return error;
}

} // namespace board
