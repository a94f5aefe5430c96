#include "remote/server.h"

#include "board/recorder.h"
#include "board/video/video_source.h"
#include "chip/registers.h"
#include "remote/board_state.h"
#include "remote/memories.h"
#include "remote/refusal.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <optional>
#include <utility>

namespace remote {

namespace {

constexpr uint32_t kMostMemory = 256u << 20;
constexpr uint32_t kMostFieldRate = 200, kMostFieldLines = 2000;

// What a board has to be able to do for a request, and how that is called.
struct Needed {
    Kind kind;
    Ability ability;
    const char* what;
};
constexpr Needed kNeeded[] = {{Kind::Timing, HasTiming, "keeps no timing"},
                              {Kind::Guest, DoesDma, "does no DMA"},
                              {Kind::Video, TakesVideo, "takes no video"},
                              {Kind::State, AnswersState, "does not tell its state"}};

// The client has left, or has said that it does.
struct Ended {};

// Bytes that were no message, or none to be answered.
struct Nonsense {
    ErrorCode code;
    std::string text;
};

bool IsAccess(uint32_t offset) {
    return offset < reg::ApertureBytes && offset % sizeof(uint32_t) == 0;
}

void CheckOffset(uint32_t offset) {
    if (!IsAccess(offset)) {
        throw Refusal{ErrorCode::BadArgument,
                      fmt::format("offset 0x{:X}: a multiple of 4 below 0x{:X} was expected",
                                  offset, uint32_t{reg::ApertureBytes})};
    }
}

void CheckLength(const Parts& parts) {
    if (parts.Short()) {
        throw Refusal{ErrorCode::Nonsense, "the message is too short"};
    }
}

// Whole words of what has been sent; what is behind the last one is nonsense.
std::span<const uint32_t> WordsOf(std::span<const uint8_t> bytes, size_t atOnce) {
    if (bytes.size() % (atOnce * sizeof(uint32_t)) != 0) {
        throw Refusal{ErrorCode::Nonsense, fmt::format("{} bytes: a multiple of {} was expected",
                                                       bytes.size(), atOnce * sizeof(uint32_t))};
    }
    return {reinterpret_cast<const uint32_t*>(bytes.data()), bytes.size() / sizeof(uint32_t)};
}

board::Timing ReadTiming(Parts& parts) {
    board::Timing timing;
    for (uint32_t* word : {&timing.fifoDepth, &timing.fifoDrainPerTick, &timing.fifoTicksPerEntry,
                           &timing.pixelsPerTick, &timing.fifoReportLag, &timing.fifoReportCap,
                           &timing.dmaWordsPerTick, &timing.interruptLatency,
                           &timing.strayOutputWords, &timing.microsecondsPerTick}) {
        *word = parts.Word();
    }
    return timing;
}

void CheckConfig(const board::Config& config) {
    if (const std::optional<std::string> problem = config.Problem()) {
        throw Refusal{ErrorCode::BadConfig, *problem};
    }
}

class Server final : private board::BusRecorder, private board::VideoSource {
  public:
    Server(int in, int out, const ServerOptions& options) : options_(options), channel_(in, out) {}

    std::string Run() {
        try {
            Hello();
            while (true) {
                Obey(Next(), true);
            }
        } catch (const Ended&) {
            channel_.Flush();
            return "";
        } catch (const ChannelError& error) {
            return GiveUp(ErrorCode::Nonsense, error.what(), channel_.Received());
        } catch (const Nonsense& error) {
            return GiveUp(error.code, error.text, channel_.Received() - 1);
        }
    }

  private:
    Message Next() {
        if (!channel_.HasNext()) {
            channel_.Flush();
        }
        std::optional<Message> message = channel_.Next();
        if (!message) {
            throw Ended();
        }
        return std::move(*message);
    }

    // Tells the client of nonsense, if it still listens.
    std::string GiveUp(ErrorCode code, const std::string& text, uint32_t number) {
        SendError(code, text, number, 0);
        channel_.Flush();
        return text;
    }

    void Answer(Kind request, const Payload& payload = {}) { Send(AnswerTo(request), payload); }
    void Answer(Kind request, uint32_t word) {
        Payload payload;
        Answer(request, payload.Word(word));
    }
    void Send(Kind kind, const Payload& payload) {
        FlushMoved();
        channel_.Post(kind, payload.All());
    }
    void SendError(ErrorCode code, const std::string& text, uint32_t number, uint32_t kind) {
        Payload payload;
        Send(Kind::Error,
             payload.Word(static_cast<uint32_t>(code)).Word(number).Word(kind).Text(text));
    }

    void Hello();
    // `whole`: the board waits for nothing.
    void Obey(Message message, bool whole);
    void Do(const Message& message, bool whole);
    void Make(Parts& parts);
    void Store(Parts& parts);
    void Fetch(Parts& parts);
    void Guest(Parts& parts);
    void Drain(uint32_t ticks);
    void Video(Parts& parts);
    void TellStatus();
    void TellState(std::string_view begin);

    bool IsAble(Ability ability) const { return (options_.abilities & ability) != 0; }
    board::Board& TheBoard() {
        if (board_ == nullptr) {
            throw Refusal{ErrorCode::NotNow, "there is no board yet: MAKE was expected"};
        }
        return *board_;
    }
    // A file to be mapped; none for a board that maps none.
    std::string File(std::string_view name) const {
        return std::string(IsAble(MapsMemory) ? name : std::string_view());
    }
    void CheckTime(uint64_t ticks, uint64_t length) const;

    // Waits for RESUME, and meanwhile serves what may come before it.
    void OnInterrupt();
    // Words that DMA has moved and that have not been told.
    void FlushMoved();

    void OnRead(uint32_t offset, uint32_t value) override;
    void OnWrite(uint32_t offset, uint32_t value) override;
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;
    board::VideoSignal Signal() const override { return signal_; }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override;

    const ServerOptions& options_;
    Channel channel_;
    Memories memories_; // the board's, which goes first
    std::unique_ptr<board::Board> board_;
    uint32_t wishes_ = 0;
    uint32_t accesses_ = 0;       // of the message under way
    std::vector<uint32_t> moved_; // words
    board::VideoSignal signal_;
    std::optional<uint64_t> field_; // of which lines_ has the lines
    std::map<uint32_t, std::vector<uint16_t>> lines_;
};

void Server::Hello() {
    const Message message = Next();
    Parts parts(message.payload);
    if (message.kind != Kind::Hello || parts.Text(kMagic.size()) != kMagic) {
        throw Nonsense{ErrorCode::Nonsense, "the first message is no HELLO"};
    }
    const uint32_t low = parts.Word(), high = parts.Word();
    if (parts.Short()) {
        throw Nonsense{ErrorCode::Nonsense, "the HELLO is too short"};
    }
    if (low > kVersion || high < kVersion) {
        const std::string text =
            fmt::format("versions {} to {} of the protocol, {} was expected", low, high, kVersion);
        throw Nonsense{ErrorCode::Version, text};
    }
    Payload hello;
    hello.Text(kMagic)
        .Word(kVersion)
        .Word(options_.abilities)
        .Word((1u << std::size(kDevices)) - 1)
        .Word(kMostMemory)
        .Text(options_.name);
    Answer(Kind::Hello, hello);
}

void Server::Obey(Message message, bool whole) {
    const uint32_t number = channel_.Received() - 1;
    const auto kind = static_cast<uint32_t>(message.kind);
    message.kind = static_cast<Kind>(kind & ~kAndSync);
    const uint32_t accesses = std::exchange(accesses_, 0);
    try {
        Do(message, whole);
    } catch (const Refusal& refusal) {
        SendError(refusal.code, refusal.text, number, kind);
    } catch (const std::bad_alloc&) {
        SendError(ErrorCode::NoMemory, "no memory left", number, kind);
    }
    if ((kind & kAndSync) != 0) {
        Answer(Kind::Sync);
    }
    FlushMoved();
    accesses_ = accesses;
}

void Server::Do(const Message& message, bool whole) {
    Parts parts(message.payload);
    if (message.kind == Kind::Make || message.kind == Kind::Timing || message.kind == Kind::Video ||
        message.kind == Kind::End) {
        if (!whole) {
            throw Refusal{ErrorCode::NotNow, "the board waits for RESUME"};
        }
    }
    for (const Needed& needed : kNeeded) {
        if (message.kind == needed.kind && !IsAble(needed.ability)) {
            throw Refusal{ErrorCode::NotAble, fmt::format("this board {}", needed.what)};
        }
    }
    const auto word = [&] {
        const uint32_t value = parts.Word();
        CheckLength(parts);
        return value;
    };
    switch (message.kind) {
    case Kind::Make:
        Make(parts);
        break;
    case Kind::Read: {
        const uint32_t offset = word();
        CheckOffset(offset);
        TheBoard().Read(offset); // answered by OnRead
        break;
    }
    case Kind::Write: {
        const std::span<const uint32_t> pairs = WordsOf(parts.Rest(), 2);
        for (size_t i = 0; i < pairs.size(); i += 2) {
            CheckOffset(pairs[i]);
        }
        for (size_t i = 0; i < pairs.size(); i += 2) {
            TheBoard().Write(pairs[i], pairs[i + 1]);
        }
        break;
    }
    case Kind::Words: {
        const std::span<const uint32_t> words = WordsOf(parts.Rest(), 1);
        TheBoard().WriteFifo(words.data(), words.size());
        break;
    }
    case Kind::Sync:
        Answer(Kind::Sync);
        break;
    case Kind::Store:
        Store(parts);
        break;
    case Kind::Fetch:
        Fetch(parts);
        break;
    case Kind::Idle: {
        const uint32_t ticks = word();
        CheckTime(ticks, TheBoard().Configuration().timing.microsecondsPerTick);
        TheBoard().Idle(ticks);
        break;
    }
    case Kind::Advance: {
        const uint32_t microseconds = word();
        CheckTime(microseconds, 1);
        TheBoard().Advance(microseconds);
        break;
    }
    case Kind::Drain:
        Drain(word());
        break;
    case Kind::Status:
        TellStatus();
        break;
    case Kind::Guest:
        Guest(parts);
        break;
    case Kind::Video:
        Video(parts);
        break;
    case Kind::Timing: {
        board::Config changed = TheBoard().Configuration();
        changed.timing = ReadTiming(parts);
        CheckLength(parts);
        CheckConfig(changed);
        TheBoard().SetTiming(changed.timing);
        break;
    }
    case Kind::State:
        TellState(parts.RestAsText());
        break;
    case Kind::End:
        Answer(Kind::End);
        throw Ended();
    case Kind::Hello:
    case Kind::Resume:
    case Kind::Line:
        throw Refusal{ErrorCode::NotNow, fmt::format("no {} was expected", NameOf(message.kind))};
    default:
        throw Refusal{ErrorCode::UnknownKind, fmt::format("there is no message of kind {}",
                                                          static_cast<uint32_t>(message.kind))};
    }
}

void Server::Make(Parts& parts) {
    board::Config config;
    // What is no chip stays none when it is cut to the width of the enumeration.
    config.chip = static_cast<board::Chip>(std::min(parts.Word(), 255u));
    config.setupUnit = parts.Word() != 0;
    for (uint32_t* word : {&config.frameBufferBytes, &config.localBufferBytes, &config.refreshRate,
                           &config.linesTotal, &config.linesBlank}) {
        *word = parts.Word();
    }
    config.timing = ReadTiming(parts);
    const uint32_t wishes = parts.Word();
    const std::string frameFile = File(parts.Name());
    const std::string localFile = File(parts.Name());
    CheckLength(parts);
    CheckConfig(config);
    board::Timing usual;
    usual.microsecondsPerTick = config.timing.microsecondsPerTick;
    if (!IsAble(HasTiming) && config.timing != usual) {
        throw Refusal{ErrorCode::NotAble, "this board keeps no timing"};
    }
    if (!IsAble(WaitsAtInterrupts) && (wishes & WaitAtInterrupts) != 0) {
        throw Refusal{ErrorCode::NotAble, "this board does not wait at interrupts"};
    }

    board_.reset();
    field_.reset();
    moved_.clear();
    wishes_ = wishes;
    memories_.Begin(config, frameFile, localFile);
    const board::LentMemories lent = memories_.Lent();
    board_ =
        options_.make ? options_.make(config, lent) : std::make_unique<board::Board>(config, lent);
    board_->SetRecorder(this);
    board_->SetInterruptHandler([this] { OnInterrupt(); });
    Answer(Kind::Make, (lent.frameBuffer.empty() ? 0 : 1u) | (lent.localBuffer.empty() ? 0 : 2u));
}

void Server::Store(Parts& parts) {
    const uint32_t memory = parts.Word(), offset = parts.Word();
    CheckLength(parts);
    const std::span<const uint8_t> bytes = parts.Rest();
    std::ranges::copy(bytes, memories_.Part(TheBoard(), memory, offset, bytes.size()).begin());
}

void Server::Fetch(Parts& parts) {
    const uint32_t memory = parts.Word(), offset = parts.Word(), bytes = parts.Word();
    CheckLength(parts);
    if (bytes > kMostBlock) {
        throw Refusal{ErrorCode::BadArgument,
                      fmt::format("{} bytes: at most {} were expected", bytes, kMostBlock)};
    }
    const std::span<const uint8_t> from = memories_.Part(TheBoard(), memory, offset, bytes);
    Payload payload;
    Answer(Kind::Fetch, payload.Bytes(from.data(), from.size()));
}

void Server::Guest(Parts& parts) {
    const uint32_t memory = parts.Word(), busAddress = parts.Word(), bytes = parts.Word();
    const std::string file = File(parts.RestAsText());
    CheckLength(parts);
    Answer(Kind::Guest, memories_.SetGuest(TheBoard(), memory, busAddress, bytes, file) ? 1 : 0);
}

void Server::CheckTime(uint64_t ticks, uint64_t length) const {
    if (ticks * std::max<uint64_t>(length, 1) > kLongestAdvance) {
        throw Refusal{ErrorCode::BadArgument,
                      fmt::format("more time than {} microseconds at once", kLongestAdvance)};
    }
}

void Server::Drain(uint32_t ticks) {
    board::Board& board = TheBoard();
    CheckTime(ticks, board.Configuration().timing.microsecondsPerTick);
    for (; ticks != 0 && !board.AtRest(); --ticks) {
        board.Idle(1);
    }
    Answer(Kind::Drain, board.AtRest() ? 1 : 0);
}

void Server::TellStatus() {
    const board::Board& board = TheBoard();
    Payload payload;
    Answer(Kind::Status, payload.Long(board.Microseconds())
                             .Word(board.ShownBase())
                             .Word((board.AtRest() ? kIsIdle : 0) |
                                   (board.InterruptLevel() ? kInterruptIsUp : 0)));
}

void Server::TellState(std::string_view begin) {
    Payload payload;
    for (const auto& [name, value] : StateOf(TheBoard(), begin)) {
        payload.Long(value).Name(name);
    }
    Answer(Kind::State, payload);
}

// --- video ---

void Server::Video(Parts& parts) {
    board::Board& board = TheBoard();
    field_.reset();
    if (parts.AtEnd()) {
        board.SetVideoSource(nullptr);
        return;
    }
    board::VideoSignal signal;
    signal.fieldsPerSecond = parts.Word();
    signal.linesPerField = parts.Word();
    signal.portWidth = parts.Word();
    signal.lineReferenceHigh = parts.Word() != 0;
    signal.fieldReferenceHigh = parts.Word() != 0;
    CheckLength(parts);
    if (signal.fieldsPerSecond < 1 || signal.fieldsPerSecond > kMostFieldRate ||
        signal.linesPerField < 1 || signal.linesPerField > kMostFieldLines ||
        (signal.portWidth != 8 && signal.portWidth != 16)) {
        throw Refusal{ErrorCode::BadArgument,
                      fmt::format("{} fields of {} lines by {} bits: 1 to {} of 1 to {} by 8 or 16 "
                                  "were expected",
                                  signal.fieldsPerSecond, signal.linesPerField, signal.portWidth,
                                  kMostFieldRate, kMostFieldLines)};
    }
    signal_ = signal;
    board.SetVideoSource(this);
}

void Server::Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) {
    if (field_ != field) {
        lines_.clear();
        Payload payload;
        Send(Kind::Field, payload.Long(field));
        channel_.Flush();
        for (Message message = Next(); message.kind != Kind::Resume; message = Next()) {
            Parts parts(message.payload);
            const uint64_t of = parts.Long();
            const uint32_t number = parts.Word();
            const std::span<const uint8_t> bytes = parts.Rest();
            if (message.kind != Kind::Line || parts.Short() || bytes.size() % 2 != 0 ||
                of != field || number >= signal_.linesPerField) {
                SendError(ErrorCode::NotNow,
                          fmt::format("lines 0 to {} of field {}, or RESUME, were expected",
                                      signal_.linesPerField - 1, field),
                          channel_.Received() - 1, static_cast<uint32_t>(message.kind));
                continue;
            }
            std::vector<uint16_t>& to = lines_[number];
            to.resize(bytes.size() / 2);
            if (!to.empty()) {
                std::memcpy(to.data(), bytes.data(), bytes.size());
            }
        }
        field_ = field;
    }
    if (const auto found = lines_.find(line); found != lines_.end()) {
        pixels = found->second;
    }
}

// --- what comes of accesses ---

void Server::OnInterrupt() {
    const bool waits = (wishes_ & WaitAtInterrupts) != 0;
    Payload payload;
    Send(Kind::Interrupt, payload.Word(waits ? 1 : 0).Word(accesses_));
    if (waits) {
        for (Message message = Next(); message.kind != Kind::Resume; message = Next()) {
            Obey(std::move(message), false);
        }
    }
}

void Server::FlushMoved() {
    for (size_t first = 0; first < moved_.size(); first += kMostWords) {
        const auto part =
            std::span(moved_).subspan(first, std::min<size_t>(moved_.size() - first, kMostWords));
        Payload payload;
        payload.Word(accesses_).Bytes(part.data(), part.size_bytes());
        channel_.Post(Kind::Moved, payload.All());
    }
    moved_.clear();
}

void Server::OnRead(uint32_t, uint32_t value) {
    Answer(Kind::Read, value);
}

void Server::OnWrite(uint32_t, uint32_t) {
    FlushMoved();
    ++accesses_;
}

void Server::OnFifoWord(uint32_t) {
    FlushMoved();
    ++accesses_;
}

void Server::OnDmaWord(uint32_t word) {
    if ((wishes_ & TellMoved) != 0) {
        moved_.push_back(word);
    }
}

} // namespace

std::string Serve(int in, int out, const ServerOptions& options) {
    return Server(in, out, options).Run();
}

} // namespace remote
