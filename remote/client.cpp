#include "remote/client.h"

#include "board/values/register_names.h"
#include "board/video/video_source.h"
#include "chip/devices.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <system_error>

namespace remote {

namespace {

using Why = Error::Why;
using std::chrono::milliseconds;

// Time for a program to end by itself when it has been told to, or has closed its end.
constexpr milliseconds kTimeToEnd{1000};
// Of what is no answer, and of what the board says, for people.
constexpr size_t kShownBytes = 40, kMostText = 400;

Kind AndSync(Kind kind) {
    return static_cast<Kind>(static_cast<uint32_t>(kind) | kAndSync);
}

std::span<const uint8_t> BytesOf(std::span<const uint32_t> words) {
    return {reinterpret_cast<const uint8_t*>(words.data()), words.size_bytes()};
}

// What is no letter becomes a dot.
std::string Shown(std::span<const uint8_t> bytes, size_t most = kMostText) {
    std::string text;
    for (const uint8_t byte : bytes.first(std::min(bytes.size(), most))) {
        if (byte == '\n' || byte == '\r') {
            break;
        }
        text += byte >= ' ' && byte < 0x7F ? static_cast<char>(byte) : '.';
    }
    return text;
}

void AddTiming(Payload& payload, const board::Timing& timing) {
    for (const uint32_t word :
         {timing.fifoDepth, timing.fifoDrainPerTick, timing.fifoTicksPerEntry, timing.pixelsPerTick,
          timing.fifoReportLag, timing.fifoReportCap, timing.dmaWordsPerTick,
          timing.interruptLatency, timing.strayOutputWords, timing.microsecondsPerTick}) {
        payload.Word(word);
    }
}

} // namespace

Client::Client(const Options& options)
    : options_(options),
      program_(options.socket < 0 ? Program(options.program) : Program(options.socket)),
      channel_(program_.Socket(), options.timeout) {
    Hello(options.name);
}

Client::~Client() {
    try {
        if (!lost_) {
            channel_.Wind();
            channel_.Post(Kind::End, {});
            channel_.Flush();
        }
    } catch (const std::exception&) {
        // It is ended by force then.
    }
    program_.Close(lost_ ? milliseconds(0) : std::min(options_.timeout, kTimeToEnd));
}

void Client::Hello(const std::string& name) {
    Payload hello;
    hello.Text(kMagic).Word(kVersion).Word(kVersion).Text(name);
    const std::vector<uint8_t> answer = Ask({Kind::Hello}, hello.All());
    Parts parts(answer);
    const std::string_view magic = parts.Text(kMagic.size());
    const uint32_t version = parts.Word();
    about_.abilities = parts.Word();
    about_.chips = parts.Word();
    about_.mostMemory = parts.Word();
    about_.name = Shown(parts.Rest());
    if (magic != kMagic || parts.Short() || version != kVersion) {
        Lose(Why::NotStarted, "its answer is no HELLO of version 1");
    }
}

std::string Client::Line(const std::string& what) const {
    std::string at(NameOf(asked_.kind));
    switch (asked_.kind) {
    case Kind::Read:
    case Kind::Write:
        at += " of " + board::OffsetName(asked_.first);
        break;
    case Kind::Words:
        at = fmt::format("{} WORDS", asked_.first);
        break;
    case Kind::Store:
    case Kind::Fetch:
        at += fmt::format(" in memory {} at 0x{:X}", asked_.first, asked_.second);
        break;
    default:
        break;
    }
    return fmt::format("board program '{}': {} (at {}, message {})", options_.program, what, at,
                       channel_.Sent() == 0 ? 0 : channel_.Sent() - 1);
}

void Client::Lose(Why why, const std::string& what) {
    const bool hello = asked_.kind == Kind::Hello && why != Why::Late;
    lost_ = Error(hello ? Why::NotStarted : why, Line(what));
    program_.Stop(milliseconds(0));
    throw *lost_;
}

void Client::LoseEnded() {
    program_.Stop(std::min(options_.timeout, kTimeToEnd));
    const bool unknown =
        asked_.kind == Kind::Hello && (program_.ExitCode() == 126 || program_.ExitCode() == 127);
    Lose(Why::Ended, unknown ? "the shell cannot start it" : program_.Ending());
}

void Client::Lose(const ChannelError& error) {
    if (error.why == ChannelError::Why::Late) {
        Lose(Why::Late, error.what());
    }
    const std::string shown = Shown(channel_.Unread(), kShownBytes);
    Lose(Why::Nonsense, asked_.kind == Kind::Hello
                            ? fmt::format("it does not speak the board protocol: '{}'", shown)
                            : fmt::format("it sends nonsense, {}", error.what()));
}

void Client::Begin(const Asked& asked) {
    if (lost_) {
        throw *lost_;
    }
    asked_ = asked;
    channel_.Wind();
}

void Client::Tell(const Asked& asked, std::span<const uint8_t> payload) {
    Begin(asked);
    try {
        channel_.Post(InStep() ? AndSync(asked.kind) : asked.kind, payload);
        if (InStep()) {
            channel_.Flush();
            Await(Kind::Sync);
        }
    } catch (const ChannelError& error) {
        Lose(error);
    }
    ThrowRefusal();
}

std::vector<uint8_t> Client::Ask(const Asked& asked, std::span<const uint8_t> payload, bool whole) {
    Begin(asked);
    std::vector<uint8_t> answer;
    try {
        whole = whole && InStep();
        channel_.Post(whole ? AndSync(asked.kind) : asked.kind, payload);
        channel_.Flush();
        answer = Await(asked.kind, channel_.Sent() - 1);
        if (whole) {
            Await(Kind::Sync);
        }
    } catch (const ChannelError& error) {
        Lose(error);
    }
    ThrowRefusal();
    return answer;
}

uint32_t Client::AskWord(const Asked& asked, std::span<const uint8_t> payload, bool whole) {
    const std::vector<uint8_t> answer = Ask(asked, payload, whole);
    Parts parts(answer);
    const uint32_t word = parts.Word();
    if (parts.Short()) {
        Lose(Why::Nonsense, "its answer is too short");
    }
    return word;
}

std::vector<uint8_t> Client::Await(Kind request, std::optional<uint32_t> number) {
    while (true) {
        std::optional<Message> message = channel_.Next();
        if (!message) {
            LoseEnded();
        }
        if (message->kind == AnswerTo(request)) {
            if (request == Kind::Read && listener_ != nullptr) {
                listener_->OnValue(Parts(message->payload).Word());
            }
            return std::move(message->payload);
        }
        if (message->kind != Kind::Error) {
            OnNotice(*message);
            continue;
        }
        Parts parts(message->payload);
        parts.Word(); // the code: the text says it, too
        const uint32_t about = parts.Word();
        const auto kind = static_cast<Kind>(parts.Word() & ~kAndSync);
        const std::string text =
            fmt::format("{} is refused: {}", NameOf(kind), Shown(parts.Rest()));
        if (asked_.kind == Kind::Hello) {
            Lose(Why::NotStarted, text);
        }
        if (!refusal_) {
            refusal_ = Error(Why::Refused, Line(text));
        }
        if (about == number) {
            return {};
        }
    }
}

void Client::ThrowRefusal() {
    if (refusal_) {
        const Error error = *refusal_;
        refusal_.reset();
        throw error;
    }
}

void Client::OnNotice(const Message& message) {
    Parts parts(message.payload);
    switch (message.kind) {
    case Kind::Interrupt: {
        const bool waits = parts.Word() != 0;
        OnInterrupt(waits, parts.Word());
        break;
    }
    case Kind::Moved: {
        const uint32_t accesses = parts.Word();
        const std::span<const uint8_t> bytes = parts.Rest();
        std::vector<uint32_t> words(bytes.size() / sizeof(uint32_t));
        std::copy_n(bytes.data(), words.size() * sizeof(uint32_t),
                    reinterpret_cast<uint8_t*>(words.data()));
        if (listener_ != nullptr) {
            listener_->OnMoved(accesses, words);
        }
        break;
    }
    case Kind::Field:
        SendField(parts.Long());
        break;
    default:
        if (asked_.kind == Kind::Hello) {
            Lose(Why::NotStarted, "it does not speak the board protocol: no HELLO answers ours");
        }
        Lose(Why::Nonsense, fmt::format("it sends a message of kind 0x{:X} that was not asked for",
                                        static_cast<uint32_t>(message.kind)));
    }
}

void Client::OnInterrupt(bool waits, uint32_t accesses) {
    ++interrupts_;
    if (waits && !waits_) {
        Lose(Why::Nonsense, "it waits at an interrupt, which it was not asked to");
    }
    if (listener_ != nullptr) {
        const Asked asked = asked_;
        const Channel::Clock::time_point wound = channel_.Wound();
        const Channel::Clock::time_point start = Channel::Clock::now();
        try {
            listener_->OnInterrupt(accesses);
        } catch (const Error& error) {
            if (error.IsFinal()) {
                throw;
            }
            refusal_ = error; // for whoever asked for what led here
        }
        asked_ = asked;
        // The time that the handler took is not the board's.
        channel_.Wind(wound + (Channel::Clock::now() - start));
    }
    if (waits) {
        channel_.Post(Kind::Resume, {});
        channel_.Flush();
    }
}

void Client::SendField(uint64_t field) {
    if (source_ == nullptr) {
        Lose(Why::Nonsense, "it asks for video, and no source is plugged in");
    }
    const uint32_t lines = source_->Signal().linesPerField;
    std::vector<uint16_t> pixels;
    for (uint32_t line = 0; line < lines; ++line) {
        pixels.clear();
        source_->Line(field, line, pixels);
        if (!pixels.empty()) {
            Payload payload;
            payload.Long(field).Word(line).Bytes(pixels.data(), pixels.size() * sizeof(uint16_t));
            channel_.Post(Kind::Line, payload.All());
        }
    }
    channel_.Post(Kind::Resume, {});
    channel_.Flush();
}

void Client::Need(Ability ability, const std::string& what) const {
    if (!IsAble(ability)) {
        throw Error(Why::Refused, fmt::format("board program '{}': it is not able to {}",
                                              options_.program, what));
    }
}

Mapped Client::Make(const board::Config& config, uint32_t wishes,
                    const std::string& frameBufferFile, const std::string& localBufferFile) {
    if (!HasChip(config.chip)) {
        throw Error(Why::Refused, fmt::format("board program '{}': it has no {}", options_.program,
                                              DeviceOf(config.chip).name));
    }
    board::Timing usual;
    usual.microsecondsPerTick = config.timing.microsecondsPerTick;
    if (config.timing != usual) {
        Need(HasTiming, "keep a timing");
    }
    if ((wishes & WaitAtInterrupts) != 0) {
        Need(WaitsAtInterrupts, "wait at interrupts");
    }
    waits_ = false;
    source_ = nullptr;
    Payload payload;
    for (const uint32_t word :
         {static_cast<uint32_t>(config.chip), uint32_t{config.setupUnit}, config.frameBufferBytes,
          config.localBufferBytes, config.refreshRate, config.linesTotal, config.linesBlank}) {
        payload.Word(word);
    }
    AddTiming(payload, config.timing);
    payload.Word(wishes).Name(frameBufferFile).Name(localBufferFile);
    const uint32_t mapped = AskWord({Kind::Make}, payload.All());
    waits_ = (wishes & WaitAtInterrupts) != 0;
    return {(mapped & 1) != 0, (mapped & 2) != 0};
}

uint32_t Client::Read(uint32_t offset) {
    Payload payload;
    return AskWord({Kind::Read, offset}, payload.Word(offset).All(), true);
}

void Client::Write(uint32_t offset, uint32_t value) {
    const uint32_t pair[] = {offset, value};
    Tell({Kind::Write, offset}, BytesOf(pair));
}

void Client::Words(std::span<const uint32_t> words) {
    while (!words.empty()) {
        const auto part = words.first(std::min<size_t>(words.size(), kMostWords));
        Tell({Kind::Words, static_cast<uint32_t>(part.size())}, BytesOf(part));
        words = words.subspan(part.size());
    }
}

void Client::Sync() {
    Ask({Kind::Sync}, {});
}

void Client::Store(uint32_t memory, uint32_t offset, std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto part = bytes.first(std::min<size_t>(bytes.size(), kMostBlock));
        Begin({Kind::Store, memory, offset});
        Payload payload;
        payload.Word(memory).Word(offset).Bytes(part.data(), part.size());
        try {
            channel_.Post(Kind::Store, payload.All());
        } catch (const ChannelError& error) {
            Lose(error);
        }
        bytes = bytes.subspan(part.size());
        offset += static_cast<uint32_t>(part.size());
    }
}

void Client::Fetch(uint32_t memory, uint32_t offset, std::span<uint8_t> to) {
    while (!to.empty()) {
        const auto part = to.first(std::min<size_t>(to.size(), kMostBlock));
        Payload payload;
        payload.Word(memory).Word(offset).Word(static_cast<uint32_t>(part.size()));
        const std::vector<uint8_t> bytes = Ask({Kind::Fetch, memory, offset}, payload.All());
        if (bytes.size() != part.size()) {
            Lose(Why::Nonsense,
                 fmt::format("it sends {} bytes instead of {}", bytes.size(), part.size()));
        }
        std::memcpy(part.data(), bytes.data(), bytes.size());
        to = to.subspan(part.size());
        offset += static_cast<uint32_t>(part.size());
    }
}

bool Client::Guest(uint32_t memory, uint32_t busAddress, uint32_t bytes, const std::string& file) {
    Need(DoesDma, "read memory of the machine");
    Payload payload;
    payload.Word(memory).Word(busAddress).Word(bytes).Text(file);
    return AskWord({Kind::Guest}, payload.All()) != 0;
}

void Client::Idle(uint32_t ticks) {
    Payload payload;
    Tell({Kind::Idle}, payload.Word(ticks).All());
}

void Client::Advance(uint32_t microseconds) {
    Payload payload;
    Tell({Kind::Advance}, payload.Word(microseconds).All());
}

bool Client::WaitIdle(uint32_t ticks) {
    Payload payload;
    return AskWord({Kind::Drain}, payload.Word(ticks).All()) != 0;
}

Status Client::GetStatus() {
    const std::vector<uint8_t> answer = Ask({Kind::Status}, {});
    Parts parts(answer);
    Status status;
    status.microseconds = parts.Long();
    status.shownBase = parts.Word();
    const uint32_t flags = parts.Word();
    if (parts.Short()) {
        Lose(Why::Nonsense, "its answer is too short");
    }
    status.idle = (flags & kIsIdle) != 0;
    status.interruptUp = (flags & kInterruptIsUp) != 0;
    return status;
}

void Client::SetTiming(const board::Timing& timing) {
    Need(HasTiming, "keep a timing");
    Payload payload;
    AddTiming(payload, timing);
    Tell({Kind::Timing}, payload.All());
}

void Client::SetVideoSource(board::VideoSource* source) {
    Payload payload;
    if (source != nullptr) {
        Need(TakesVideo, "take video");
        const board::VideoSignal signal = source->Signal();
        payload.Word(signal.fieldsPerSecond)
            .Word(signal.linesPerField)
            .Word(signal.portWidth)
            .Word(signal.lineReferenceHigh)
            .Word(signal.fieldReferenceHigh);
    }
    source_ = source;
    Tell({Kind::Video}, payload.All());
}

std::vector<std::pair<std::string, uint64_t>> Client::State(const std::string& begin) {
    Need(AnswersState, "tell its state");
    Payload payload;
    const std::vector<uint8_t> answer = Ask({Kind::State}, payload.Text(begin).All());
    std::vector<std::pair<std::string, uint64_t>> values;
    for (Parts parts(answer); !parts.AtEnd();) {
        const uint64_t value = parts.Long();
        values.emplace_back(parts.Name(), value);
        if (parts.Short()) {
            Lose(Why::Nonsense, "its answer is too short");
        }
    }
    return values;
}

} // namespace remote
