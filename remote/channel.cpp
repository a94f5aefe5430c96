#include "remote/channel.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>
#include <unistd.h>

namespace remote {

namespace {

constexpr size_t kSendAt = 256 * 1024; // bytes that wait
constexpr size_t kReadAtOnce = 64 * 1024;
// What a side may send that nobody has asked for while the other one sends.
constexpr size_t kMostUnread = 64u << 20;

[[noreturn]] void ThrowSystem(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

Channel::Channel(int socket, std::chrono::milliseconds timeout)
    : in_(socket), out_(socket), socket_(true), timeout_(timeout) {
    const auto milliseconds = timeout.count();
    const timeval limit{static_cast<time_t>(milliseconds / 1000),
                        static_cast<suseconds_t>(milliseconds % 1000 * 1000)};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

void Channel::CheckTime() const {
    if (socket_ && Clock::now() - wound_ >= timeout_) {
        throw ChannelError(
            ChannelError::Why::Late,
            fmt::format("no answer within {:g} s", static_cast<double>(timeout_.count()) / 1000));
    }
}

void Channel::Post(Kind kind, std::span<const uint8_t> payload) {
    const uint32_t header[] = {static_cast<uint32_t>(payload.size()), static_cast<uint32_t>(kind)};
    const auto* first = reinterpret_cast<const uint8_t*>(header);
    toSend_.insert(toSend_.end(), first, first + sizeof header);
    toSend_.insert(toSend_.end(), payload.begin(), payload.end());
    ++sent_;
    if (toSend_.size() >= kSendAt) {
        Flush();
    }
}

void Channel::Flush() {
    for (size_t done = 0; done != toSend_.size();) {
        const uint8_t* const from = toSend_.data() + done;
        const size_t bytes = toSend_.size() - done;
        const ssize_t taken = socket_ ? send(out_, from, bytes, MSG_NOSIGNAL | MSG_DONTWAIT)
                                      : write(out_, from, bytes);
        if (taken >= 0) {
            done += static_cast<size_t>(taken);
        } else if (errno == EPIPE || errno == ECONNRESET) {
            break;
        } else if (errno == EAGAIN && socket_) {
            pollfd both{out_, POLLIN | POLLOUT, 0};
            poll(&both, 1, static_cast<int>(timeout_.count()));
            if ((both.revents & POLLIN) != 0 && !Fill()) {
                break;
            }
            CheckTime();
        } else if (errno != EINTR) {
            ThrowSystem("cannot send");
        }
    }
    toSend_.clear();
}

bool Channel::Fill() {
    if (taken_ == filled_) {
        taken_ = filled_ = 0;
    }
    if (filled_ - taken_ > kMostUnread) {
        throw ChannelError(ChannelError::Why::Nonsense, "it sends without end");
    }
    if (got_.size() - filled_ < kReadAtOnce) {
        std::copy(got_.begin() + static_cast<ptrdiff_t>(taken_),
                  got_.begin() + static_cast<ptrdiff_t>(filled_), got_.begin());
        filled_ -= taken_;
        taken_ = 0;
        got_.resize(std::max(got_.size(), filled_ + kReadAtOnce));
    }
    while (true) {
        const ssize_t bytes = read(in_, got_.data() + filled_, got_.size() - filled_);
        if (bytes >= 0) {
            filled_ += static_cast<size_t>(bytes);
            return bytes != 0;
        }
        if (errno == ECONNRESET) {
            return false;
        }
        if (errno != EINTR && !(errno == EAGAIN && socket_)) {
            ThrowSystem("cannot receive");
        }
        CheckTime();
    }
}

bool Channel::HasNext() const {
    uint32_t bytes = 0;
    if (filled_ - taken_ < kHeaderBytes) {
        return false;
    }
    std::memcpy(&bytes, got_.data() + taken_, sizeof bytes);
    return filled_ - taken_ - kHeaderBytes >= bytes;
}

std::optional<Message> Channel::Next() {
    uint32_t header[2] = {};
    size_t needed = kHeaderBytes;
    while (true) {
        if (filled_ - taken_ >= kHeaderBytes) {
            std::memcpy(header, got_.data() + taken_, sizeof header);
            if (header[0] > kMostPayload) {
                throw ChannelError(ChannelError::Why::Nonsense,
                                   fmt::format("a message of {} bytes, at most {} were expected",
                                               header[0], kMostPayload));
            }
            needed = kHeaderBytes + header[0];
        }
        if (filled_ - taken_ >= needed) {
            break;
        }
        if (!Fill()) {
            if (filled_ == taken_) {
                return std::nullopt;
            }
            throw ChannelError(ChannelError::Why::Nonsense, "the end in the middle of a message");
        }
        CheckTime();
    }
    Message message{static_cast<Kind>(header[1]), {}};
    const auto first = got_.begin() + static_cast<ptrdiff_t>(taken_ + kHeaderBytes);
    message.payload.assign(first, first + header[0]);
    taken_ += needed;
    ++received_;
    return message;
}

std::span<const uint8_t> Channel::Unread() const {
    return std::span(got_).subspan(taken_, filled_ - taken_);
}

} // namespace remote
