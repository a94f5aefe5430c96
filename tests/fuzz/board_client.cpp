// The client's side of the board protocol. An input: a byte, the number of bytes that say what is
// asked; these; then all that the board sends, its answer to HELLO included.
#include "board/video/video_source.h"
#include "remote/client.h"
#include "tests/fuzz/input.h"

#include <array>
#include <sys/socket.h>
#include <unistd.h>

namespace fuzz {

namespace {

constexpr size_t kMostSent = 48u << 10; // what a socket keeps

class Asker final : private remote::Listener, private board::VideoSource {
  public:
    Asker(Bytes questions, int socket) : questions_(questions), client_(Options(socket)) {
        client_.SetListener(this);
    }

    void Run() {
        for (int left = 64; left != 0 && !questions_.AtEnd(); --left) {
            try {
                Ask();
            } catch (const remote::Error& error) {
                Expect(error.what()[0] != '\0', "an error without a text");
                Expect(std::string_view(error.what()).find('\n') == std::string_view::npos,
                       "an error of several lines");
                if (error.IsFinal()) {
                    return;
                }
            }
        }
    }

  private:
    static remote::Client::Options Options(int socket) {
        remote::Client::Options options;
        options.program = "fuzzer";
        options.socket = socket;
        return options;
    }

    void OnInterrupt(uint32_t) override {
        if (interrupts_++ < 8) {
            client_.Read(0);
        }
    }
    board::VideoSignal Signal() const override { return {50, 20, 8, true, true}; }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override {
        pixels.assign(line % 5, static_cast<uint16_t>(field));
    }

    void Ask() {
        const uint8_t what = questions_.Byte();
        const uint32_t number = questions_.Byte();
        switch (what % 16) {
        case 0:
            client_.Make({}, number & 3);
            break;
        case 1:
            client_.Read(number * 4);
            break;
        case 2:
            client_.Write(number * 4, number);
            break;
        case 3:
            client_.Words(std::array{number, number + 1});
            break;
        case 4:
            client_.Sync();
            break;
        case 5:
            client_.Store(number % 4, number, std::array<uint8_t, 3>{1, 2, 3});
            break;
        case 6: {
            std::array<uint8_t, 16> room;
            client_.Fetch(number % 4, number, std::span(room).first(number % 16));
            break;
        }
        case 7:
            client_.Guest(number % 64, number << 12, 4096);
            break;
        case 8:
            client_.Idle(number);
            break;
        case 9:
            client_.Advance(number);
            break;
        case 10:
            client_.WaitIdle(number);
            break;
        case 11:
            client_.GetStatus();
            break;
        case 12:
            client_.SetTiming({});
            break;
        case 13:
            client_.SetVideoSource(number % 2 != 0 ? this : nullptr);
            break;
        case 14:
            client_.State("fault");
            break;
        default:
            client_.WaitForEach();
            break;
        }
    }

    Input questions_;
    remote::Client client_;
    int interrupts_ = 0;
};

} // namespace

void RunBoardClient(Bytes bytes) {
    Input input(bytes);
    const Bytes questions = input.Take(input.Byte());
    const Bytes answers = input.Take(kMostSent);
    int ends[2];
    Expect(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0, "no socket to be had");
    Expect(send(ends[1], answers.data(), answers.size(), MSG_DONTWAIT) ==
               static_cast<ssize_t>(answers.size()),
           "a socket takes too little");
    close(ends[1]);
    try {
        Asker(questions, ends[0]).Run();
    } catch (const remote::Error&) {
        // It was refused at HELLO.
    }
}

} // namespace fuzz
