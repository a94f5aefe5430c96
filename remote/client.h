#pragma once
// A graphics board in another program: the client's side of the board protocol
// (docs/board-protocol.md).
#include "board/config.h"
#include "remote/channel.h"
#include "remote/program.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace board {
class VideoSource;
}

namespace remote {

// What went wrong with a board program; what() is one line that names the program, what happened
// and the request that it happened at.
struct Error : std::runtime_error {
    enum class Why {
        NotStarted, // it is no program that speaks the protocol
        Refused,    // it says that it cannot do what it was asked: it can be asked for other things
        Late,       // no answer in time
        Ended,      // it crashed, or ended without having been told
        Nonsense,   // it sent what is no answer
    };
    Error(Why reason, const std::string& what) : std::runtime_error(what), why(reason) {}
    // The program has been ended: each further call is refused with the same.
    bool IsFinal() const { return why != Why::Refused; }

    Why why;
};

// Hears of what the board does while it is asked for something. `accesses`: of the words or pairs
// of writes that are being sent so many came before.
class Listener {
  public:
    virtual ~Listener() = default;
    // The value of a read has come; what comes of the read follows.
    virtual void OnValue(uint32_t value) { (void)value; }
    // An interrupt that IntEnable lets through. With Wish::WaitAtInterrupts the board waits until
    // this returns, and may be accessed. Else it may not.
    virtual void OnInterrupt(uint32_t accesses) { (void)accesses; }
    // DMA has moved these words.
    virtual void OnMoved(uint32_t accesses, std::span<const uint32_t> words) {
        (void)accesses, (void)words;
    }
};

struct Status {
    uint64_t microseconds = 0; // since power-on
    uint32_t shownBase = 0;    // byte of the frame buffer
    bool idle = false, interruptUp = false;
};

// Which memories the board has mapped.
struct Mapped {
    bool frameBuffer = false, localBuffer = false;
};

// All functions throw Error. Requests without an answer may fail later: with the next that has one,
// or Sync.
class Client {
  public:
    struct Options {
        std::string program; // a command line of the shell
        // Not negative: such a program runs already, at the other end of this stream socket, which
        // is the client's from now on.
        int socket = -1;
        std::string name = "korv";
        // For each answer, in real time.
        std::chrono::milliseconds timeout{20'000};
    };

    // Starts the program and says hello.
    explicit Client(const Options& options);
    // Tells the program to end, and ends it by force if it does not soon.
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Who the board says it is, and what it is able to.
    const std::string& Name() const { return about_.name; }
    uint32_t Abilities() const { return about_.abilities; }
    bool IsAble(Ability ability) const { return (about_.abilities & ability) != 0; }
    bool HasChip(board::Chip chip) const {
        return (about_.chips >> static_cast<uint32_t>(chip) & 1) != 0;
    }
    uint32_t MostMemory() const { return about_.mostMemory; } // bytes

    // Hears of everything from now on; null: nobody.
    void SetListener(Listener* listener) { listener_ = listener; }
    // From now on each request is waited for until all that comes of it is done, as it is with
    // Wish::WaitAtInterrupts, and while a source of video is plugged in.
    void WaitForEach() { waitsForEach_ = true; }
    // INTERRUPTs so far, of all boards.
    uint64_t Interrupts() const { return interrupts_; }

    // Makes a board, which takes the place of the one before: the next case needs no new program.
    // `wishes`: Wish bits. The names are files to be memories; empty for none.
    Mapped Make(const board::Config& config, uint32_t wishes = 0,
                const std::string& frameBufferFile = {}, const std::string& localBufferFile = {});

    // Accesses at byte offsets of the register aperture.
    uint32_t Read(uint32_t offset);
    void Write(uint32_t offset, uint32_t value);
    // Words for the FIFO window.
    void Words(std::span<const uint32_t> words);
    // Returns when all that was sent has been done.
    void Sync();

    // Of memory 0 (frame buffer), 1 (local buffer) or a guest memory, at a byte offset.
    void Store(uint32_t memory, uint32_t offset, std::span<const uint8_t> bytes);
    void Fetch(uint32_t memory, uint32_t offset, std::span<uint8_t> to);
    // Memory of the machine that the board reads at a bus address; `memory` is a number from 2 to
    // 63, `file` what it lies in. True if the board has mapped that. No bytes: it is taken away.
    bool Guest(uint32_t memory, uint32_t busAddress, uint32_t bytes, const std::string& file = {});

    // Time without an access; at most kLongestAdvance microseconds of the board's clock.
    void Idle(uint32_t ticks);
    void Advance(uint32_t microseconds);
    // Lets at most `ticks` pass until the board is idle. False if it is not then.
    bool WaitIdle(uint32_t ticks);

    Status GetStatus();
    void SetTiming(const board::Timing& timing);
    // Plugs a source into the video port, null unplugs it. It must outlive its use.
    void SetVideoSource(board::VideoSource* source);
    // All that the board tells under names that begin so. Needs Ability::AnswersState.
    std::vector<std::pair<std::string, uint64_t>> State(const std::string& begin);

  private:
    struct About {
        std::string name;
        uint32_t abilities = 0, chips = 0, mostMemory = 0;
    };

    // What is being asked, for people.
    struct Asked {
        Kind kind = Kind::Hello;
        uint32_t first = 0, second = 0; // words of it
    };

    void Hello(const std::string& name);
    // Sends a request without an answer; where requests are waited for, waits until all is done.
    void Tell(const Asked& asked, std::span<const uint8_t> payload);
    // Sends a request and waits for its answer, and where requests are waited for and with
    // `whole`, until all is done.
    std::vector<uint8_t> Ask(const Asked& asked, std::span<const uint8_t> payload,
                             bool whole = false);
    // The same for an answer that is a word.
    uint32_t AskWord(const Asked& asked, std::span<const uint8_t> payload, bool whole = false);
    void Begin(const Asked& asked);
    // Waits for the answer to `request`, and acts on what comes before it. An ERROR about message
    // `number` is the answer, too, which is empty then; all errors are remembered.
    std::vector<uint8_t> Await(Kind request, std::optional<uint32_t> number = {});
    void ThrowRefusal();
    void OnNotice(const Message& message);
    void OnInterrupt(bool waits, uint32_t accesses);
    void SendField(uint64_t field);
    bool InStep() const { return waitsForEach_ || waits_ || source_ != nullptr; }
    // Throws unless it is able to, which is for `what`.
    void Need(Ability ability, const std::string& what) const;
    std::string Line(const std::string& what) const;
    [[noreturn]] void Lose(Error::Why why, const std::string& what);
    [[noreturn]] void LoseEnded();
    [[noreturn]] void Lose(const ChannelError& error);

    const Options options_;
    Program program_;
    Channel channel_;
    About about_;
    Listener* listener_ = nullptr;
    board::VideoSource* source_ = nullptr;
    bool waits_ = false, waitsForEach_ = false;
    uint64_t interrupts_ = 0;
    Asked asked_;
    std::optional<Error> lost_;    // why nothing more can be asked
    std::optional<Error> refusal_; // the first one that has not been thrown yet
};

} // namespace remote
