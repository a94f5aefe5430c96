#include "host/remote/remote_board.h"

#include "board/recorder.h"
#include "board/values/register_names.h"
#include "chip/registers.h"
#include "host/remote/fetched_memory.h"
#include "remote/board_state.h"
#include "remote/client.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <stdexcept>
#include <utility>

namespace host {

namespace {

// Ticks of one DRAIN: each is answered soon, however long the board takes in all.
constexpr uint32_t kDrainTicks = 1u << 16;

LostBoardHook lostBoard;

bool InFifoWindow(uint32_t offset) {
    return offset >= reg::FIFOWindow && offset < reg::FIFOWindow + reg::FIFOPageBytes;
}

// Does it, and tells of the loss if the board is lost with it.
template <class Action>
auto Safely(const Action& action) {
    try {
        return action();
    } catch (const remote::Error& error) {
        if (lostBoard) {
            lostBoard(error.what());
        }
        throw;
    }
}

} // namespace

void SetLostBoardHook(LostBoardHook hook) {
    lostBoard = std::move(hook);
}

std::unique_ptr<ProgramBoard> StartBoard(const board::Config& config, const BoardProgram& program) {
    return std::make_unique<RemoteBoard>(config, program);
}

// The other program, and what is shared with it.
class RemoteBoard::Link final : private remote::Listener {
  public:
    Link(const board::Config& config, const BoardProgram& program)
        : maps_(program.maps), client_({.program = program.command, .timeout = program.timeout}),
          waits_(client_.IsAble(remote::WaitsAtInterrupts)) {
        frameBuffer_.file = remote::MappedFile::Create(config.frameBufferBytes);
        localBuffer_.file = remote::MappedFile::Create(config.localBufferBytes);
        if (!frameBuffer_.file.IsThere() ||
            (config.localBufferBytes != 0 && !localBuffer_.file.IsThere())) {
            throw std::runtime_error("no room for the board's memories");
        }
        client_.SetListener(this);
        client_.WaitForEach();
        const uint32_t wishes = (waits_ ? uint32_t{remote::WaitAtInterrupts} : 0) |
                                (client_.IsAble(remote::DoesDma) ? uint32_t{remote::TellMoved} : 0);
        const remote::Mapped mapped =
            client_.Make(config, wishes, NameOf(frameBuffer_), NameOf(localBuffer_));
        Take(frameBuffer_, remote::kFrameBuffer, mapped.frameBuffer);
        Take(localBuffer_, remote::kLocalBuffer, mapped.localBuffer);
    }

    board::LentMemories Lent() const {
        return {frameBuffer_.file.Bytes(), localBuffer_.file.Bytes()};
    }
    remote::Client& Client() { return client_; }
    const remote::Status& Status() {
        if (!status_) {
            status_ = client_.GetStatus();
        }
        return *status_;
    }

    // Stands around a request by which the board acts.
    template <class Action>
    void Act(const Action& action) {
        Push();
        {
            const Acting acting(*this);
            Safely(action);
        }
        TellUpTo(told_.words.size());
        AnswerLateInterrupts();
    }

    uint32_t Read(uint32_t offset) {
        const Access access(*this, {.read = true, .offset = offset});
        uint32_t value = 0;
        Act([&] { value = client_.Read(offset); });
        return value;
    }
    void Write(uint32_t offset, uint32_t value) {
        const Access access(*this, {.offset = offset, .words = {&value, 1}});
        Act([&] { client_.Write(offset, value); });
    }
    void Words(std::span<const uint32_t> words) {
        const Access access(*this, {.offset = reg::FIFOWindow, .words = words});
        Act([&] { client_.Words(words); });
    }

    std::span<uint8_t> NewGuestMemory(size_t bytes) {
        Shared& shared = guest_.emplace_back();
        shared.file = remote::MappedFile::Create(bytes);
        if (!shared.file.IsThere()) {
            guest_.pop_back();
            throw std::runtime_error("no room for memory that the board reads");
        }
        return shared.file.Bytes();
    }
    void MapGuest(uint32_t busAddress, const void* memory, size_t bytes) {
        if (!client_.IsAble(remote::DoesDma)) {
            return; // a driver that does without DMA does not need it
        }
        for (uint32_t i = 0; i < guest_.size(); ++i) {
            Shared& shared = guest_[i];
            if (bytes == 0 ? shared.busAddress == busAddress
                           : shared.file.Bytes().data() == memory) {
                Push();
                const bool mapped =
                    client_.Guest(remote::kFirstGuest + i, busAddress, static_cast<uint32_t>(bytes),
                                  bytes == 0 ? "" : NameOf(shared));
                shared.busAddress.reset();
                shared.fetched.reset();
                if (bytes != 0) {
                    shared.busAddress = busAddress;
                    Take(shared, remote::kFirstGuest + i, mapped);
                }
                return;
            }
        }
        if (bytes != 0) {
            throw std::logic_error("the board's program can read memory of its guest alone");
        }
    }

    board::BusRecorder* recorder = nullptr;
    std::function<void()> handler;

  private:
    struct Shared {
        remote::MappedFile file;
        std::unique_ptr<FetchedMemory> fetched; // null: the board has mapped it
        std::optional<uint32_t> busAddress;     // where it is mapped
    };
    // An access under way, as a recorder is to be told of it.
    struct Told {
        bool read = false;
        uint32_t offset = 0;
        std::span<const uint32_t> words; // that are written there
        size_t told = 0;                 // so many of them
    };
    // Makes an access the one under way. Those of an interrupt handler come in the middle of
    // another one.
    class Access {
      public:
        Access(Link& link, const Told& told)
            : link_(link), before_(std::exchange(link.told_, told)) {}
        ~Access() { link_.told_ = before_; }
        Access(const Access&) = delete;
        Access& operator=(const Access&) = delete;

      private:
        Link& link_;
        const Told before_;
    };
    // What is known of memories and status counts neither while the board acts, as far as an
    // interrupt handler sees it, nor behind.
    class Acting {
      public:
        explicit Acting(Link& link) : link_(link) { link_.Forget(); }
        ~Acting() { link_.Forget(); }
        Acting(const Acting&) = delete;
        Acting& operator=(const Acting&) = delete;

      private:
        Link& link_;
    };

    std::string NameOf(const Shared& shared) const {
        return maps_ && shared.file.IsThere() ? shared.file.Path() : "";
    }
    // Decides how a memory is shared.
    void Take(Shared& shared, uint32_t number, bool mapped) {
        if (mapped || !shared.file.IsThere()) {
            return;
        }
        FetchedMemory::Fetch fetch;
        if (number < remote::kFirstGuest) {
            fetch = [this, number](uint32_t offset, std::span<uint8_t> to) {
                Safely([&] { client_.Fetch(number, offset, to); });
            };
        }
        shared.fetched = std::make_unique<FetchedMemory>(shared.file, std::move(fetch));
    }

    void Push() {
        Safely([&] {
            PushOne(frameBuffer_, remote::kFrameBuffer);
            PushOne(localBuffer_, remote::kLocalBuffer);
            for (uint32_t i = 0; i < guest_.size(); ++i) {
                PushOne(guest_[i], remote::kFirstGuest + i);
            }
        });
    }
    void PushOne(const Shared& shared, uint32_t number) {
        if (shared.fetched) {
            shared.fetched->Push([&](uint32_t offset, std::span<const uint8_t> bytes) {
                client_.Store(number, offset, bytes);
            });
        }
    }
    void Forget() {
        status_.reset();
        for (const Shared* shared : {&frameBuffer_, &localBuffer_}) {
            if (shared->fetched) {
                shared->fetched->Forget();
            }
        }
    }

    void TellUpTo(size_t accesses) {
        const size_t end = std::min(accesses, told_.words.size());
        for (; told_.told < end; ++told_.told) {
            const uint32_t word = told_.words[told_.told];
            if (recorder != nullptr) {
                if (InFifoWindow(told_.offset)) {
                    recorder->OnFifoWord(word);
                } else {
                    recorder->OnWrite(told_.offset, word);
                }
            }
        }
    }
    void OnValue(uint32_t value) override {
        if (recorder != nullptr && told_.read) {
            recorder->OnRead(told_.offset, value);
        }
    }
    void OnMoved(uint32_t accesses, std::span<const uint32_t> words) override {
        TellUpTo(accesses);
        if (recorder != nullptr) {
            for (const uint32_t word : words) {
                recorder->OnDmaWord(word);
            }
        }
    }
    void OnInterrupt(uint32_t accesses) override {
        TellUpTo(accesses);
        if (!waits_) {
            interrupted_ = true;
            return;
        }
        CallHandler();
        Push();
        Forget();
    }
    // Those at which the board did not wait.
    void AnswerLateInterrupts() {
        if (!handling_) {
            handling_ = true;
            while (std::exchange(interrupted_, false)) {
                CallHandler();
            }
            handling_ = false;
        }
    }
    void CallHandler() {
        // It may be replaced while it runs.
        if (const std::function<void()> call = handler) {
            const Access none(*this, {});
            call();
        }
    }

    const bool maps_;
    remote::Client client_;
    const bool waits_; // the board does, at interrupts
    bool interrupted_ = false, handling_ = false;
    Shared frameBuffer_, localBuffer_;
    std::deque<Shared> guest_;
    std::optional<remote::Status> status_; // since the board acted last
    Told told_;
};

RemoteBoard::RemoteBoard(const board::Config& config, const BoardProgram& program)
    : RemoteBoard(config, std::make_unique<Link>(config, program)) {}

RemoteBoard::RemoteBoard(const board::Config& config, std::unique_ptr<Link> link)
    : ProgramBoard(config, Pace::Played, link->Lent()), link_(std::move(link)) {}

RemoteBoard::~RemoteBoard() = default;

bool RemoteBoard::DoesDma() const {
    return link_->Client().IsAble(remote::DoesDma);
}

std::span<uint8_t> RemoteBoard::NewGuestMemory(size_t bytes) {
    return link_->NewGuestMemory(bytes);
}

uint32_t RemoteBoard::Read(uint32_t offset) {
    return link_->Read(offset);
}

void RemoteBoard::Write(uint32_t offset, uint32_t value) {
    link_->Write(offset, value);
}

uint32_t RemoteBoard::Peek(uint32_t offset) const {
    const std::string name = "register." + board::OffsetName(offset);
    const auto state = Safely([&] { return link_->Client().State(name); });
    const auto found = std::ranges::find(state, name, &remote::NamedValue::first);
    return found != state.end() ? static_cast<uint32_t>(found->second) : 0;
}

bool RemoteBoard::InterruptLevel() const {
    return Safely([&] { return link_->Status().interruptUp; });
}

void RemoteBoard::WriteFifo(const uint32_t* words, size_t count) {
    for (std::span<const uint32_t> rest(words, count); !rest.empty();) {
        const auto part = rest.first(std::min<size_t>(rest.size(), remote::kMostWords));
        link_->Words(part);
        rest = rest.subspan(part.size());
    }
}

void RemoteBoard::Idle(uint32_t ticks) {
    const uint32_t most =
        remote::kLongestAdvance / std::max(Configuration().timing.microsecondsPerTick, 1u);
    while (ticks != 0) {
        const uint32_t part = std::min(ticks, most);
        link_->Act([&] { link_->Client().Idle(part); });
        ticks -= part;
    }
}

void RemoteBoard::MapMemory(uint32_t busAddress, const void* memory, size_t bytes) {
    Safely([&] { link_->MapGuest(busAddress, memory, bytes); });
}

void RemoteBoard::SetMemoryReader(MemoryReader) {
    throw std::logic_error("a board's program asks nobody for memory");
}

void RemoteBoard::SetInterruptHandler(std::function<void()> handler) {
    link_->handler = std::move(handler);
}

void RemoteBoard::SetRecorder(board::BusRecorder* recorder) {
    link_->recorder = recorder;
}

void RemoteBoard::SetVideoSource(board::VideoSource* source) {
    if (source != nullptr || link_->Client().IsAble(remote::TakesVideo)) {
        link_->Act([&] { link_->Client().SetVideoSource(source); });
    }
}

uint32_t RemoteBoard::ShownBase() const {
    return Safely([&] { return link_->Status().shownBase; });
}

uint64_t RemoteBoard::Microseconds() const {
    return Safely([&] { return link_->Status().microseconds; });
}

void RemoteBoard::Advance(uint64_t microseconds) {
    // Whole ticks: a part of one that is left over counts with the next call.
    const uint32_t length = std::max(Configuration().timing.microsecondsPerTick, 1u);
    const uint32_t most = remote::kLongestAdvance - remote::kLongestAdvance % length;
    do {
        const auto part = static_cast<uint32_t>(std::min<uint64_t>(microseconds, most));
        link_->Act([&] { link_->Client().Advance(part); });
        microseconds -= part;
    } while (microseconds != 0);
}

void RemoteBoard::Drain() {
    const uint32_t length = std::max(Configuration().timing.microsecondsPerTick, 1u);
    const uint32_t ticks = std::min(kDrainTicks, remote::kLongestAdvance / length);
    for (bool idle = false; !idle;) {
        link_->Act([&] { idle = link_->Client().WaitIdle(ticks); });
    }
}

bool RemoteBoard::AtRest() const {
    return Safely([&] { return link_->Status().idle; });
}

void RemoteBoard::SetTiming(const board::Timing& timing) {
    link_->Act([&] { link_->Client().SetTiming(timing); });
    Board::SetTiming(timing);
}

board::Faults RemoteBoard::FaultReport() const {
    return Safely([&] {
        return link_->Client().IsAble(remote::AnswersState)
                   ? remote::FaultsIn(link_->Client().State("fault."))
                   : board::Faults{};
    });
}

board::EntryCounts RemoteBoard::Entered() const {
    return Safely([&] {
        return link_->Client().IsAble(remote::AnswersState)
                   ? remote::EntriesIn(link_->Client().State("entered."))
                   : board::EntryCounts{};
    });
}

std::vector<uint8_t> RemoteBoard::Save(Contents) {
    throw std::logic_error("the state of a board's program is its own");
}

std::optional<std::string> RemoteBoard::Restore(std::span<const uint8_t>) {
    return "the state of a board's program is its own";
}

} // namespace host
