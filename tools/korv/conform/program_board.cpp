#include "tools/korv/conform/program_board.h"

#include "chip/registers.h"
#include "remote/client.h"

#include <algorithm>

namespace korv::conform {

namespace {

using stream::EventKind;
using stream::Memory;

// For a board to come to its end: more than any case needs.
constexpr uint32_t kMostTicks = 1'000'000;

uint32_t NumberOf(Memory memory) {
    return memory == Memory::FrameBuffer ? remote::kFrameBuffer : remote::kLocalBuffer;
}

std::vector<uint8_t> Fetched(remote::Client& client, uint32_t memory, uint32_t bytes) {
    std::vector<uint8_t> fetched(bytes);
    for (size_t at = 0; at < fetched.size();) {
        const size_t part = std::min<size_t>(fetched.size() - at, remote::kMostBlock);
        client.Fetch(memory, static_cast<uint32_t>(at), std::span(fetched).subspan(at, part));
        at += part;
    }
    return fetched;
}

} // namespace

ProgramBoard::ProgramBoard(std::string program, std::chrono::milliseconds timeout)
    : program_(std::move(program)), timeout_(timeout) {}

ProgramBoard::~ProgramBoard() = default;

remote::Client& ProgramBoard::Running() {
    if (client_ == nullptr) {
        remote::Client::Options options;
        options.program = program_;
        options.name = "korv conform";
        options.timeout = timeout_;
        client_ = std::make_unique<remote::Client>(options);
    }
    return *client_;
}

std::string ProgramBoard::LackFor(const Case& one) {
    try {
        const remote::Client& client = Running();
        const auto has = [&one](auto&& step) { return std::ranges::any_of(one.steps, step); };
        if (!client.HasChip(one.config.chip)) {
            return "the program says that it is no such chip";
        }
        if (!client.IsAble(remote::DoesDma) && has([](const Step& step) {
                return step.kind == EventKind::Write && step.offset == reg::DMACount;
            })) {
            return "the program says that it does no DMA";
        }
        if (!client.IsAble(remote::HasClock) &&
            has([](const Step& step) { return step.kind == EventKind::Clock; })) {
            return "the program says that its clock goes by itself";
        }
        return {};
    } catch (const remote::Error& error) {
        throw SubjectError(error.what());
    }
}

std::string ProgramBoard::Name() {
    try {
        return Running().Name();
    } catch (const remote::Error& error) {
        throw SubjectError(error.what());
    }
}

Outcome ProgramBoard::Run(const Case& one, size_t steps) {
    try {
        return Play(one, steps);
    } catch (const remote::Error& error) {
        if (error.IsFinal()) {
            client_.reset();
        }
        throw SubjectError(error.what());
    }
}

Outcome ProgramBoard::Play(const Case& one, size_t steps) {
    remote::Client& client = Running();
    client.Make(one.config);
    const uint64_t interruptsBefore = client.Interrupts();
    Outcome outcome;
    std::vector<uint32_t> words;
    struct Guest {
        uint32_t number, address, bytes;
    };
    std::vector<Guest> guests;
    const auto send = [&] {
        if (!words.empty()) {
            client.Words(words);
            words.clear();
        }
    };
    for (size_t i = 0; i < steps; ++i) {
        const Step& step = one.steps[i];
        if (step.kind == EventKind::FifoWord) {
            words.push_back(step.value);
            continue;
        }
        send();
        switch (step.kind) {
        case EventKind::Write:
            client.Write(step.offset, step.value);
            break;
        case EventKind::Read:
            outcome.reads.push_back(client.Read(step.offset));
            break;
        case EventKind::Ticks:
            client.Idle(step.value);
            break;
        case EventKind::Clock:
            client.Advance(step.value);
            break;
        case EventKind::HostMemory: {
            const auto number = static_cast<uint32_t>(remote::kFirstGuest + guests.size());
            client.Guest(number, step.offset, step.value);
            guests.push_back({number, step.offset, step.value});
            break;
        }
        case EventKind::Store:
            if (step.memory != Memory::Host) {
                client.Store(NumberOf(step.memory), step.offset, step.bytes);
                break;
            }
            for (const Guest& guest : guests) {
                if (step.offset >= guest.address &&
                    step.offset - guest.address + step.bytes.size() <= guest.bytes) {
                    client.Store(guest.number, step.offset - guest.address, step.bytes);
                }
            }
            break;
        default:
            break;
        }
    }
    send();
    if (!client.WaitIdle(kMostTicks)) {
        throw SubjectError("it is not idle when all is done");
    }
    outcome.frameBuffer = Fetched(client, remote::kFrameBuffer, one.config.frameBufferBytes);
    outcome.localBuffer = Fetched(client, remote::kLocalBuffer, one.config.localBufferBytes);
    outcome.interrupts = static_cast<uint32_t>(client.Interrupts() - interruptsBefore);
    return outcome;
}

} // namespace korv::conform
