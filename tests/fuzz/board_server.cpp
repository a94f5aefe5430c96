// The board's side of the board protocol. An input: what a client sends behind its HELLO.
#include "remote/server.h"
#include "tests/fuzz/target.h"
#include "tests/fuzz/work_limit.h"

#include <cstring>
#include <fcntl.h>
#include <new>
#include <vector>

namespace fuzz {

namespace {

constexpr uint32_t kMostMemory = 1u << 20;

std::vector<uint8_t> WithHello(Bytes bytes) {
    remote::Payload hello;
    hello.Text(remote::kMagic).Word(remote::kVersion).Word(remote::kVersion).Text("fuzzer");
    const uint32_t header[] = {static_cast<uint32_t>(hello.All().size()),
                               static_cast<uint32_t>(remote::Kind::Hello)};
    std::vector<uint8_t> all(sizeof header);
    std::memcpy(all.data(), header, sizeof header);
    all.insert(all.end(), hello.All().begin(), hello.All().end());
    all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

} // namespace

void RunBoardServer(Bytes bytes) {
    static MemoryFile in;
    static const int out = open("/dev/null", O_WRONLY | O_CLOEXEC);
    in.Set(WithHello(bytes));
    DrawingLimit drawing;
    TickLimit ticks;
    remote::ServerOptions options;
    // A client names files: those of this machine are none of the fuzzer's business.
    options.abilities = remote::kAllAbilities & ~uint32_t{remote::MapsMemory};
    options.make = [&](const board::Config& config, const board::LentMemories& memories) {
        if (config.frameBufferBytes > kMostMemory || config.localBufferBytes > kMostMemory) {
            throw std::bad_alloc();
        }
        auto board = std::make_unique<board::Board>(config, memories);
        board->SetProbe(&drawing);
        board->SetMonitor(&ticks);
        return board;
    };
    try {
        remote::Serve(in.Descriptor(), out, options);
    } catch (const OutOfWork&) {
    }
}

} // namespace fuzz
