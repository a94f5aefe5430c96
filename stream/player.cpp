#include "stream/player.h"

#include "stream/error.h"

#include <algorithm>
#include <cstdio>
#include <deque>

namespace stream {

namespace {

std::string Hex(uint32_t value, int digits = 8) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

} // namespace

// What is plugged into the video port: it sends what it sent then. The board asks for a line within
// a tick; the line stands before the tick in the stream.
class Player::RecordedVideo final : public board::VideoSource {
  public:
    explicit RecordedVideo(Player& player) : player_(player) {}

    void SetSignal(const board::VideoSignal& signal) { signal_ = signal; }
    void Add(const Event& event) {
        lines_.push_back({event.field, event.offset, {event.pixels.begin(), event.pixels.end()}});
    }

    board::VideoSignal Signal() const override { return signal_; }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override {
        if (lines_.empty()) {
            player_.Differ("the video port takes a line that it did not take then");
            return;
        }
        if (lines_.front().field != field || lines_.front().line != line) {
            player_.Differ("the video port takes another line of video");
        }
        pixels = std::move(lines_.front().pixels);
        lines_.pop_front();
    }

    void Keep(Checkpoint& checkpoint) const {
        checkpoint.signal = signal_;
        checkpoint.lines = {lines_.begin(), lines_.end()};
    }
    void Return(const Checkpoint& checkpoint) {
        signal_ = checkpoint.signal;
        lines_ = {checkpoint.lines.begin(), checkpoint.lines.end()};
    }

  private:
    Player& player_;
    board::VideoSignal signal_;
    std::deque<ToldLine> lines_;
};

Player::Player(Source& source)
    : source_(source), board_(std::make_unique<board::PlayedBoard>(source.Board())),
      video_(std::make_unique<RecordedVideo>(*this)) {}

Player::~Player() = default;

void Player::Differ(std::string what) {
    if (differenceCount_++ < kDifferencesKept) {
        differences_.push_back({at_, std::move(what)});
    }
}

Checkpoint Player::Keep(const Checkpoint* before) {
    Checkpoint checkpoint;
    checkpoint.at = source_.At();
    checkpoint.state = board_->Save(board::Board::Contents::StateAlone);
    checkpoint.frameBuffer =
        PagedMemory(board_->FrameBuffer(), before != nullptr ? &before->frameBuffer : nullptr);
    checkpoint.localBuffer =
        PagedMemory(board_->LocalBuffer(), before != nullptr ? &before->localBuffer : nullptr);
    for (const auto& [address, bytes] : host_) {
        const PagedMemory* known = nullptr;
        if (before != nullptr && before->host.contains(address)) {
            known = &before->host.at(address);
        }
        checkpoint.host.emplace(address, PagedMemory(bytes, known));
    }
    video_->Keep(checkpoint);
    checkpoint.plugged = plugged_;
    checkpoint.linesPerSecond = linesPerSecond_;
    checkpoint.videoLines = videoLines_;
    checkpoint.latestRead = latestRead_;
    checkpoint.differences = differences_;
    checkpoint.differenceCount = differenceCount_;
    return checkpoint;
}

void Player::Return(const Checkpoint& checkpoint) {
    // A place by events lies before the marks behind it.
    if (checkpoint.at == Position{}) {
        source_.Seek({});
    } else if (!source_.Seek({Place::Kind::Event, checkpoint.at.event, {}}) ||
               source_.At() != checkpoint.at) {
        throw StreamError("it has changed: " + TextOf(checkpoint.at) + " is not there any more");
    }
    for (const auto& [address, bytes] : host_) {
        board_->MapMemory(address, nullptr, 0);
    }
    host_.clear();
    for (const auto& [address, memory] : checkpoint.host) {
        std::vector<uint8_t>& bytes = host_[address];
        bytes.resize(memory.Size());
        memory.CopyTo(bytes);
        board_->MapMemory(address, bytes.data(), bytes.size());
    }
    checkpoint.frameBuffer.CopyTo(board_->FrameBuffer());
    checkpoint.localBuffer.CopyTo(board_->LocalBuffer());
    plugged_ = checkpoint.plugged;
    linesPerSecond_ = checkpoint.linesPerSecond;
    videoLines_ = checkpoint.videoLines;
    board_->SetVideoSource(plugged_ ? video_.get() : nullptr);
    video_->Return(checkpoint);
    if (const auto wrong = board_->Restore(checkpoint.state)) {
        throw StreamError("the state at " + TextOf(checkpoint.at) +
                          " cannot be taken up: " + *wrong);
    }
    at_ = checkpoint.at;
    latestRead_ = checkpoint.latestRead;
    differences_ = checkpoint.differences;
    differenceCount_ = checkpoint.differenceCount;
}

bool Player::Next(Event& event) {
    at_ = source_.At();
    return source_.Next(event);
}

bool Player::Step(Event& event) {
    if (!Next(event)) {
        return false;
    }
    Play(event);
    return true;
}

bool Player::PlayTo(const Place& place) {
    if (place.kind == Place::Kind::Start || HasReached(place, source_.At())) {
        return true;
    }
    Event event;
    while (Step(event)) {
        if (IsAt(place, source_.At(), &event)) {
            return true;
        }
    }
    return place.kind == Place::Kind::End;
}

void Player::Play(const Event& event) {
    board::PlayedBoard& board = *board_;
    const bool access = event.kind == EventKind::Read || event.kind == EventKind::Write ||
                        event.kind == EventKind::FifoWord;
    if (access && !event.ticked) {
        board.PlayTicks(1);
    }
    switch (event.kind) {
    case EventKind::Read:
        latestRead_ = board.PlayRead(event.offset);
        if (latestRead_ != event.value) {
            Differ("register " + Hex(event.offset, 4) + " reads " + Hex(latestRead_) +
                   ", it read " + Hex(event.value) + " then");
        }
        break;
    case EventKind::Write:
        board.PlayWrite(event.offset, event.value);
        break;
    case EventKind::FifoWord:
        board.PlayFifoWord(event.value);
        break;
    case EventKind::DmaWord:
        PlayDmaWord(event);
        break;
    case EventKind::DmaFault:
        if (!board.NextDmaAddress()) {
            throw StreamError("a transfer ends that never began, at " + TextOf(at_));
        }
        board.PlayDmaFault();
        break;
    case EventKind::Ticks:
        PassTime(uint64_t{event.value} * board.Configuration().timing.microsecondsPerTick);
        board.PlayTicks(event.value);
        break;
    case EventKind::Clock:
        PassTime(event.value);
        board.PlayClock(event.value);
        break;
    case EventKind::Units:
        board.PlayUnits();
        break;
    case EventKind::Interrupt:
        if (!board.InterruptDue()) {
            Differ("no interrupt is due");
        }
        board.PlayInterrupt();
        break;
    case EventKind::InterruptEnd:
        board.PlayInterruptEnd();
        break;
    case EventKind::Timing:
        board.SetTiming(*event.timing);
        break;
    case EventKind::VideoSource:
        if (event.signal != nullptr) {
            video_->SetSignal(*event.signal);
        }
        plugged_ = event.signal != nullptr;
        linesPerSecond_ =
            plugged_ ? uint64_t{event.signal->fieldsPerSecond} * event.signal->linesPerField : 0;
        board.SetVideoSource(plugged_ ? video_.get() : nullptr);
        break;
    case EventKind::VideoLine:
        video_->Add(event);
        break;
    case EventKind::HostMemory: {
        std::vector<uint8_t>& memory = host_[event.offset];
        memory.assign(event.value, 0);
        board.MapMemory(event.offset, memory.data(), memory.size());
        break;
    }
    case EventKind::Store:
        PlayStore(event);
        break;
    case EventKind::State:
        if (const auto wrong = board.Restore(event.bytes)) {
            throw StreamError("the state at " + TextOf(at_) + " cannot be taken up: " + *wrong);
        }
        break;
    case EventKind::Mark:
        break;
    }
}

// A damaged capture must not keep the board counting lines of video for ever.
void Player::PassTime(uint64_t microseconds) {
    constexpr uint64_t kLongestSession = 1'000'000'000'000; // eleven days
    constexpr uint64_t kMostVideoLines = 1'000'000'000;     // nine hours of a usual source
    if (microseconds > kLongestSession - std::min(board_->Microseconds(), kLongestSession)) {
        throw StreamError("more time passes than a session may have, at " + TextOf(at_));
    }
    videoLines_ += microseconds / 1000 * linesPerSecond_ / 1000;
    if (videoLines_ > kMostVideoLines) {
        throw StreamError("more lines of video pass than a session may have, at " + TextOf(at_));
    }
}

void Player::PlayDmaWord(const Event& event) {
    const auto address = board_->NextDmaAddress();
    if (!address) {
        throw StreamError("a word by DMA without a transfer, at " + TextOf(at_));
    }
    if (*address != event.offset) {
        Differ("DMA is at bus address " + Hex(*address) + ", it was at " + Hex(event.offset) +
               " then");
    }
    board_->PlayDmaWord(event.value);
}

void Player::PlayStore(const Event& event) {
    std::span<uint8_t> memory;
    uint32_t offset = event.offset;
    if (event.memory == Memory::Host) {
        const auto behind = host_.upper_bound(offset);
        if (behind != host_.begin()) {
            auto& [start, bytes] = *std::prev(behind);
            memory = bytes;
            offset -= start;
        }
    } else {
        memory =
            event.memory == Memory::FrameBuffer ? board_->FrameBuffer() : board_->LocalBuffer();
    }
    if (offset > memory.size() || event.bytes.size() > memory.size() - offset) {
        throw StreamError("the processor stores behind the end of a memory, at " + TextOf(at_));
    }
    std::ranges::copy(event.bytes, memory.begin() + offset);
}

} // namespace stream
