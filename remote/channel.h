#pragma once
// Messages over file descriptors, as either end of the protocol sends and receives them.
#include "remote/protocol.h"

#include <chrono>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

namespace remote {

struct Message {
    Kind kind{};
    std::vector<uint8_t> payload;
};

// Why nothing more can be sent or received.
struct ChannelError : std::runtime_error {
    enum class Why {
        Late,     // the other side neither sends nor takes anything for too long
        Nonsense, // it sends what is no message: what() says why
    };
    ChannelError(Why reason, const std::string& what) : std::runtime_error(what), why(reason) {}

    Why why;
};

// Does not own its file descriptors. Throws ChannelError; std::system_error where the system
// refuses.
class Channel {
  public:
    using Clock = std::chrono::steady_clock;

    // Waits as long as it takes. Two descriptors, of whatever sort.
    Channel(int in, int out) : in_(in), out_(out) {}
    // One descriptor, a stream socket. What waits longer than `timeout` is late.
    Channel(int socket, std::chrono::milliseconds timeout);

    // A message that goes out with the next Flush, or before.
    void Post(Kind kind, std::span<const uint8_t> payload);
    // While it waits for the other side to take what is sent, it keeps what that side sends. To a
    // side that has closed its end nothing is sent: Next tells, behind what it sent before.
    void Flush();

    // The next message. None: the other side has closed its end, between two messages. Does not
    // flush.
    std::optional<Message> Next();
    // Next would not have to wait.
    bool HasNext() const;

    // How often Post and Next have been done.
    uint32_t Sent() const { return sent_; }
    uint32_t Received() const { return received_; }

    // Starts the time-out anew, as if at `now`.
    void Wind(Clock::time_point now = Clock::now()) { wound_ = now; }
    Clock::time_point Wound() const { return wound_; }

    // The first bytes that have come and were taken for no message, for people.
    std::span<const uint8_t> Unread() const;

  private:
    void CheckTime() const;
    // Reads once what there is, at least a byte. False at the end.
    bool Fill();

    const int in_, out_;
    const bool socket_ = false;
    const std::chrono::milliseconds timeout_{0};
    Clock::time_point wound_ = Clock::now();
    std::vector<uint8_t> toSend_;
    std::vector<uint8_t> got_; // bytes from `taken_` to `filled_` are yet to be read
    size_t taken_ = 0, filled_ = 0;
    uint32_t sent_ = 0, received_ = 0;
};

} // namespace remote
